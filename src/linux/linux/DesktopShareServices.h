// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/ShareServices.h>

namespace velmor {

/// Passes files on by the programs of the desktop: its e-mail client by xdg-email, the program for a kind of
/// file by xdg-open, the file manager by its D-Bus interface. Without a file manager on the bus the folder is
/// opened.
class DesktopShareServices final : public ShareServices
{
public:
    bool sendByEmail(const std::filesystem::path& file) override;
    bool open(const std::filesystem::path& file) override;
    bool showInFileManager(const std::filesystem::path& file) override;
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/LoginItem.h>

#include <filesystem>

namespace velmor {

/// The program's file among those that the desktop starts at login. It counts as enabled where it is there
/// and neither it nor the desktop's settings say otherwise in it. Main thread.
class AutostartLoginItem final : public LoginItem
{
public:
    /// \param configFolder the user's base folder for configuration.
    /// \param program path of the executable.
    AutostartLoginItem(const std::filesystem::path& configFolder, std::filesystem::path program);

    bool isEnabled() const override;
    bool registerItem() override;
    bool unregisterItem() override;

private:
    std::filesystem::path m_file;
    std::filesystem::path m_program;
};

} // namespace velmor

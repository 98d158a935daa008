// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace velmor {

/// What the desktop can do with a file that the user wants to pass on. Main thread. Each returns at once,
/// whether the program that is to do it could be started. What comes of it then is between that program and
/// the user.
class ShareServices
{
public:
    virtual ~ShareServices() = default;

    /// Begins an e-mail with the file attached.
    virtual bool sendByEmail(const std::filesystem::path& file) = 0;

    /// Opens the file in the user's program for its kind.
    virtual bool open(const std::filesystem::path& file) = 0;

    /// Shows the file in its folder.
    virtual bool showInFileManager(const std::filesystem::path& file) = 0;
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace velmor {

/// The user's base folders, after the XDG Base Directory rules: a variable that isn't an absolute path
/// counts as not set.
struct BaseFolders
{
    std::filesystem::path home;                    ///< $HOME
    std::filesystem::path data;                    ///< $XDG_DATA_HOME
    std::filesystem::path config;                  ///< $XDG_CONFIG_HOME
    std::filesystem::path cache;                   ///< $XDG_CACHE_HOME
    std::vector<std::filesystem::path> systemData; ///< $XDG_DATA_DIRS, the most important one first.

    /// As the environment has them now.
    static BaseFolders current();

    /// The user's data folder, then the system's.
    std::vector<std::filesystem::path> allData() const;
};

/// Where the program keeps what is its own. A folder is made, with those above it, for its user alone
/// (0700) by createFolder().
struct ProgramFolders
{
    std::filesystem::path data;     ///< Sessions.
    std::filesystem::path cache;    ///< What can be made again.
    std::filesystem::path defaults; ///< The defaults store.

    static ProgramFolders in(const BaseFolders& base);

    /// The file of a defaults suite that other programs read too.
    std::filesystem::path suite(const std::string& name) const { return defaults / (name + ".sqlite"); }
};

/// Makes the folder where it is missing. One that is there keeps its rights.
std::error_code createFolder(const std::filesystem::path& folder);

} // namespace velmor

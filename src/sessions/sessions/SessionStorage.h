// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>

namespace velmor {

/// Where the history and the journals lie.
class SessionStorage
{
public:
    /// The program's own folder, "Velmor" in the folder where the user's applications keep their data.
    static SessionStorage inApplicationSupport(const std::filesystem::path& applicationSupport);

    /// A folder of somebody's choice.
    static SessionStorage inFolder(const std::filesystem::path& folder);

    /// Sessions live in memory only.
    static SessionStorage nowhere();

    /// The folder, which is created where it is missing; a failure is printed for the program's own.
    /// The folder is returned all the same: writing to it fails then, and reports. Absent for sessions
    /// that live in memory only.
    std::optional<std::filesystem::path> folder() const;

private:
    enum class Kind { applicationSupport, chosenFolder, memory };

    SessionStorage(Kind kind, std::filesystem::path folder);

    Kind m_kind;
    std::filesystem::path m_folder;
};

} // namespace velmor

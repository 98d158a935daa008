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
    /// That there is no such folder at all is a programming error.
    static SessionStorage inApplicationSupport(const std::filesystem::path& applicationSupport);

    /// Whether a history that is loaded is thinned with age.
    enum class Retention { bySettings, none };

    /// A folder of somebody's choice.
    static SessionStorage inFolder(const std::filesystem::path& folder,
                                   Retention retention = Retention::bySettings);

    /// Sessions live in memory only.
    static SessionStorage nowhere();

    /// The folder, which is created where it is missing; a failure is printed for the program's own.
    /// The folder is returned all the same: writing to it fails then, and reports. Absent for sessions
    /// that live in memory only.
    std::optional<std::filesystem::path> folder() const;

    Retention retention() const { return m_retention; }

    bool isMemory() const { return m_kind == Kind::memory; }

private:
    enum class Kind { applicationSupport, chosenFolder, memory };

    SessionStorage(Kind kind, std::filesystem::path folder, Retention retention);

    Kind m_kind;
    std::filesystem::path m_folder;
    Retention m_retention;
};

} // namespace velmor

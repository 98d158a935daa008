// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// What a desktop file says of a program.
struct DesktopEntry
{
    std::string id; ///< The file's name below its folder without ".desktop", parts joined by "-".
    std::filesystem::path file;
    std::string name;    ///< In the user's language.
    std::string program; ///< As programName() has it; empty for one that another program starts.
    std::string icon;    ///< Name in the icon theme, or path; may be empty.
    bool isShown = true; ///< Whether menus list it.
};

/// Reads the text of a desktop file. Absent for what describes no program, or one that is taken away.
std::optional<DesktopEntry> desktopEntryFromText(std::string_view text, std::string id,
                                                 std::filesystem::path file);

/// The desktop's programs, as their desktop files describe them. Main thread.
class DesktopEntries
{
public:
    /// \param dataFolders the most important one first; files lie in "applications" below them.
    explicit DesktopEntries(const std::vector<std::filesystem::path>& dataFolders);

    /// Reads the files again if any of their folders has changed.
    void refresh();

    const DesktopEntry* withID(const std::string& id) const;

    /// The entry of that program, whatever its version.
    const DesktopEntry* ofProgram(std::string_view program) const;

    /// By identifier.
    const std::map<std::string, DesktopEntry>& all() const { return m_entries; }

private:
    using Times = std::map<std::filesystem::path, std::filesystem::file_time_type>;

    void read();
    void readFolder(const std::filesystem::path& folder, std::map<std::string, bool>& seen);

    std::vector<std::filesystem::path> m_folders;
    Times m_folderTimes; ///< Of the folders, and of those in them, when they were read.
    std::map<std::string, DesktopEntry> m_entries;
    std::map<std::string, std::string, std::less<>> m_idsByProgram;
    std::multimap<std::string, std::string, std::less<>> m_idsByVersionlessProgram;
};

} // namespace velmor

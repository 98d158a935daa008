// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopEntries.h>

#include <base/FileText.h>
#include <base/Text.h>
#include <linux/KeyFile.h>
#include <linux/ProgramName.h>

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace velmor {

namespace {

constexpr auto group = "Desktop Entry";
constexpr std::string_view extension = ".desktop";

/// Shorter names without their version are too much alike.
constexpr std::size_t shortestVersionlessName = 3;

std::vector<std::string> wordsOf(const std::string& command)
{
    std::vector<std::string> words;
    int count = 0;
    char** parsed = nullptr;
    if (!::g_shell_parse_argv(command.c_str(), &count, &parsed, nullptr))
        return words;
    for (int i = 0; i < count; ++i) {
        const std::string_view word = parsed[i];
        // What files or addresses are put in for is of no interest.
        if (!word.starts_with('%'))
            words.emplace_back(word);
    }
    ::g_strfreev(parsed);
    return words;
}

/// When the folder was last changed. Within a tick of the file system's clock it may be changed again
/// without a trace: one that was changed just now has a time that is never seen again.
std::filesystem::file_time_type reliableTime(const std::filesystem::path& folder)
{
    std::error_code error;
    const auto time = std::filesystem::last_write_time(folder, error);
    const bool isRecent =
        !error && std::filesystem::file_time_type::clock::now() - time < std::chrono::seconds(2);
    return isRecent ? std::filesystem::file_time_type::max() : time;
}

std::string_view versionOf(std::string_view program)
{
    program.remove_prefix(withoutVersion(program).size());
    const auto digit = program.find_first_of("0123456789");
    return digit == std::string_view::npos ? std::string_view() : program.substr(digit);
}

} // namespace

std::optional<DesktopEntry> desktopEntryFromText(std::string_view text, std::string id,
                                                 std::filesystem::path file)
{
    const auto keys = KeyFile::fromText(text);
    if (!keys || keys->text(group, "Type") != "Application" || keys->flag(group, "Hidden").value_or(false))
        return std::nullopt;
    DesktopEntry entry;
    entry.id = std::move(id);
    entry.file = std::move(file);
    entry.name = keys->localText(group, "Name").value_or(entry.id);
    entry.program = programName({}, wordsOf(keys->text(group, "Exec").value_or("")));
    entry.icon = keys->text(group, "Icon").value_or("");
    entry.isShown = !keys->flag(group, "NoDisplay").value_or(false);
    return entry;
}

DesktopEntries::DesktopEntries(const std::vector<std::filesystem::path>& dataFolders)
{
    for (const auto& folder : dataFolders)
        m_folders.push_back(folder / "applications");
    read();
}

void DesktopEntries::refresh()
{
    const bool isUnchanged = std::ranges::all_of(m_folderTimes, [](const auto& folder) {
        std::error_code error;
        return std::filesystem::last_write_time(folder.first, error) == folder.second;
    });
    if (!isUnchanged)
        read();
}

const DesktopEntry* DesktopEntries::withID(const std::string& id) const
{
    const auto found = m_entries.find(id);
    return found != m_entries.end() ? &found->second : nullptr;
}

const DesktopEntry* DesktopEntries::ofProgram(std::string_view program) const
{
    if (const auto found = m_idsByProgram.find(program); found != m_idsByProgram.end())
        return withID(found->second);
    // Of several versions the one is meant whose number the program's begins with: "ardour8" runs as
    // "ardour-8.6.0".
    const auto [first, last] = m_idsByVersionlessProgram.equal_range(lowerCase(withoutVersion(program)));
    const DesktopEntry* any = nullptr;
    for (auto id = first; id != last; ++id) {
        const DesktopEntry* entry = withID(id->second);
        if (versionOf(program).starts_with(versionOf(entry->program)))
            return entry;
        any = entry;
    }
    return any;
}

void DesktopEntries::read()
{
    m_folderTimes.clear();
    m_entries.clear();
    m_idsByProgram.clear();
    m_idsByVersionlessProgram.clear();
    std::map<std::string, bool> seen;
    for (const auto& folder : m_folders)
        readFolder(folder, seen);
    for (const auto& [id, entry] : m_entries) {
        if (entry.program.empty())
            continue;
        m_idsByProgram.emplace(entry.program, id);
        const std::string_view versionless = withoutVersion(entry.program);
        if (versionless.size() >= shortestVersionlessName)
            m_idsByVersionlessProgram.emplace(lowerCase(versionless), id);
    }
}

void DesktopEntries::readFolder(const std::filesystem::path& folder, std::map<std::string, bool>& seen)
{
    // A folder that isn't there has the earliest time, and is noticed when it comes.
    std::error_code error;
    m_folderTimes[folder] = reliableTime(folder);
    constexpr auto options = std::filesystem::directory_options::skip_permission_denied;
    for (auto i = std::filesystem::recursive_directory_iterator(folder, options, error);
         !error && i != std::filesystem::recursive_directory_iterator(); i.increment(error)) {
        const auto& path = i->path();
        std::error_code ignored;
        if (i->is_directory(ignored)) {
            m_folderTimes[path] = reliableTime(path);
            continue;
        }
        if (path.extension() != extension)
            continue;
        std::string id = path.lexically_relative(folder).replace_extension().string();
        std::ranges::replace(id, '/', '-');
        // A file hides those of the same name in less important folders, also one that takes them away.
        if (!seen.emplace(id, true).second)
            continue;
        if (auto entry = desktopEntryFromText(fileText(path, ignored), id, path))
            m_entries.emplace(std::move(id), *std::move(entry));
    }
}

} // namespace velmor

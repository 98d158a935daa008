// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/Directories.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmor {

namespace {

std::filesystem::path absoluteFrom(const char* variable)
{
    const char* value = std::getenv(variable);
    const std::filesystem::path path = value ? value : "";
    return path.is_absolute() ? path : std::filesystem::path();
}

std::filesystem::path homeFolder()
{
    if (const auto home = absoluteFrom("HOME"); !home.empty())
        return home;
    const passwd* user = ::getpwuid(::getuid());
    return user && user->pw_dir ? user->pw_dir : "/";
}

std::filesystem::path folderOr(const char* variable, const char* belowHome)
{
    const auto folder = absoluteFrom(variable);
    return !folder.empty() ? folder : homeFolder() / belowHome;
}

std::vector<std::filesystem::path> absolutePathsIn(std::string_view list)
{
    std::vector<std::filesystem::path> paths;
    while (!list.empty()) {
        const auto length = std::min(list.find(':'), list.size());
        const std::filesystem::path path = list.substr(0, length);
        if (path.is_absolute())
            paths.push_back(path);
        list.remove_prefix(std::min(length + 1, list.size()));
    }
    return paths;
}

} // namespace

BaseFolders BaseFolders::current()
{
    BaseFolders folders;
    folders.home = homeFolder();
    folders.data = folderOr("XDG_DATA_HOME", ".local/share");
    folders.config = folderOr("XDG_CONFIG_HOME", ".config");
    folders.cache = folderOr("XDG_CACHE_HOME", ".cache");
    const char* systemData = std::getenv("XDG_DATA_DIRS");
    folders.systemData = absolutePathsIn(systemData ? systemData : "");
    if (folders.systemData.empty())
        folders.systemData = {"/usr/local/share", "/usr/share"};
    return folders;
}

std::vector<std::filesystem::path> BaseFolders::allData() const
{
    std::vector<std::filesystem::path> folders = {data};
    folders.insert(folders.end(), systemData.begin(), systemData.end());
    return folders;
}

ProgramFolders ProgramFolders::in(const BaseFolders& base)
{
    return {base.data / "Velmor", base.cache / "Velmor", base.config / "Velmor"};
}

std::error_code createFolder(const std::filesystem::path& folder)
{
    if (::mkdir(folder.c_str(), S_IRWXU) == 0)
        return {};
    if (errno == ENOENT && folder.has_relative_path()) {
        if (const auto error = createFolder(folder.parent_path()))
            return error;
        if (::mkdir(folder.c_str(), S_IRWXU) == 0)
            return {};
    }
    const int error = errno;
    std::error_code ignored;
    if (error == EEXIST && std::filesystem::is_directory(folder, ignored))
        return {};
    return {error, std::generic_category()};
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionStorage.h>

#include <base/Print.h>

#include <fmt/format.h>

#include <system_error>
#include <utility>

namespace velmor {

SessionStorage::SessionStorage(Kind kind, std::filesystem::path folder, Retention retention)
    : m_kind(kind)
    , m_folder(std::move(folder))
    , m_retention(retention)
{}

SessionStorage SessionStorage::inApplicationSupport(const std::filesystem::path& applicationSupport)
{
    if (applicationSupport.empty())
        stopOnProgrammingError("no Application Support directory");
    return {Kind::applicationSupport, applicationSupport / "Velmor", Retention::bySettings};
}

SessionStorage SessionStorage::inFolder(const std::filesystem::path& folder, Retention retention)
{
    return {Kind::chosenFolder, folder, retention};
}

SessionStorage SessionStorage::nowhere()
{
    return {Kind::memory, {}, Retention::bySettings};
}

std::optional<std::filesystem::path> SessionStorage::folder() const
{
    if (isMemory())
        return std::nullopt;
    std::error_code error;
    if (!std::filesystem::exists(m_folder, error))
        std::filesystem::create_directories(m_folder, error);
    if (error && m_kind == Kind::applicationSupport)
        printUnmarkedLine(fmt::format("⚠️ Velmor: failed to create Application Support directory: {}",
                                      error.message()));
    return m_folder;
}

} // namespace velmor

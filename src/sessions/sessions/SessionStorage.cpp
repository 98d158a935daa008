// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionStorage.h>

#include <base/Print.h>

#include <fmt/format.h>

#include <system_error>
#include <utility>

namespace velmor {

SessionStorage::SessionStorage(Kind kind, std::filesystem::path folder)
    : m_kind(kind)
    , m_folder(std::move(folder))
{}

SessionStorage SessionStorage::inApplicationSupport(const std::filesystem::path& applicationSupport)
{
    return {Kind::applicationSupport, applicationSupport / "Velmor"};
}

SessionStorage SessionStorage::inFolder(const std::filesystem::path& folder)
{
    return {Kind::chosenFolder, folder};
}

SessionStorage SessionStorage::nowhere()
{
    return {Kind::memory, {}};
}

std::optional<std::filesystem::path> SessionStorage::folder() const
{
    if (m_kind == Kind::memory)
        return std::nullopt;
    std::error_code error;
    if (!std::filesystem::exists(m_folder, error))
        std::filesystem::create_directories(m_folder, error);
    if (error && m_kind == Kind::applicationSupport)
        printUnmarkedLine(
            fmt::format("⚠️ Velmor: failed to create Application Support directory: {}", error.message()));
    return m_folder;
}

} // namespace velmor

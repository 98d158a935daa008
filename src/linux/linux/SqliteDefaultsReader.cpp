// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/SqliteDefaultsReader.h>

#include <linux/DefaultsEncoding.h>
#include <linux/SqliteDatabase.h>

#include <sqlite3.h>

#include <utility>
#include <variant>

namespace velmor {

namespace {

/// How long a reader waits for a writer that is setting its log up or folding it back.
constexpr int busyTimeoutMilliseconds = 2000;

} // namespace

SqliteDefaultsReader::SqliteDefaultsReader(std::filesystem::path file)
    : m_file(std::move(file))
{}

std::optional<DefaultsValue> SqliteDefaultsReader::value(std::string_view key) const
{
    sqlite3* opened = nullptr;
    // For writing, as reading a log takes a part in its index; nothing is created.
    const int result = ::sqlite3_open_v2(m_file.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    const Database database(opened);
    if (result != SQLITE_OK)
        return std::nullopt;
    ::sqlite3_busy_timeout(database.get(), busyTimeoutMilliseconds);
    const Statement statement = prepared(database.get(), "SELECT type, value FROM defaults WHERE key = ?1");
    if (!statement)
        return std::nullopt;
    bindValue(statement.get(), 1, key);
    if (::sqlite3_step(statement.get()) != SQLITE_ROW)
        return std::nullopt;
    const DatabaseColumn type = columnOf(statement.get(), 0);
    const auto* typeText = std::get_if<std::string_view>(&type);
    return typeText ? decodeDefaultsValue(*typeText, columnOf(statement.get(), 1)) : std::nullopt;
}

} // namespace velmor

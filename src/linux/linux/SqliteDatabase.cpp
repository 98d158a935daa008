// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/SqliteDatabase.h>

#include <sqlite3.h>

namespace velmor {

void CloseDatabase::operator()(sqlite3* database) const
{
    ::sqlite3_close_v2(database);
}

void FinalizeStatement::operator()(sqlite3_stmt* statement) const
{
    ::sqlite3_finalize(statement);
}

Statement prepared(sqlite3* database, const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    ::sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return Statement(statement);
}

DatabaseColumn columnOf(sqlite3_stmt* statement, int index)
{
    switch (::sqlite3_column_type(statement, index)) {
    case SQLITE_INTEGER:
        return std::int64_t(::sqlite3_column_int64(statement, index));
    case SQLITE_FLOAT:
        return ::sqlite3_column_double(statement, index);
    case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(::sqlite3_column_text(statement, index));
        return std::string_view(text, static_cast<std::size_t>(::sqlite3_column_bytes(statement, index)));
    }
    case SQLITE_BLOB: {
        const auto* bytes = static_cast<const std::byte*>(::sqlite3_column_blob(statement, index));
        return std::span(bytes, static_cast<std::size_t>(::sqlite3_column_bytes(statement, index)));
    }
    default:
        return std::monostate();
    }
}

} // namespace velmor

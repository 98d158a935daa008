// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/SqliteDatabase.h>

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace velmor {

namespace {

struct Binder
{
    sqlite3_stmt* statement;
    int index;

    void operator()(std::monostate) const { ::sqlite3_bind_null(statement, index); }
    void operator()(std::int64_t number) const { ::sqlite3_bind_int64(statement, index, number); }
    void operator()(double number) const { ::sqlite3_bind_double(statement, index, number); }
    void operator()(std::string_view text) const
    {
        // SQLite takes a null pointer for NULL, not for an empty text.
        ::sqlite3_bind_text64(statement, index, text.data() ? text.data() : "", text.size(), SQLITE_STATIC,
                              SQLITE_UTF8);
    }
    void operator()(const std::string& text) const
    {
        ::sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    void operator()(std::span<const std::byte> blob) const
    {
        if (blob.empty())
            ::sqlite3_bind_zeroblob(statement, index, 0);
        else
            ::sqlite3_bind_blob64(statement, index, blob.data(), blob.size(), SQLITE_STATIC);
    }
};

} // namespace

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

void bindValue(sqlite3_stmt* statement, int index, const DatabaseColumn& value)
{
    std::visit(Binder{statement, index}, value);
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/DefaultsEncoding.h>

#include <memory>

struct sqlite3;
struct sqlite3_stmt;

namespace velmor {

struct CloseDatabase
{
    void operator()(sqlite3* database) const;
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

struct FinalizeStatement
{
    void operator()(sqlite3_stmt* statement) const;
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

/// Null where the database refuses it.
Statement prepared(sqlite3* database, const char* sql);

/// Gives a statement the value of one of its parameters, counted from 1. A borrowed value lasts as long as
/// the statement runs.
void bindValue(sqlite3_stmt* statement, int index, const DatabaseColumn& value);

/// A column of the row that a statement has come to; borrowed until its next step.
DatabaseColumn columnOf(sqlite3_stmt* statement, int index);

} // namespace velmor

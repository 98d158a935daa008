// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <functional>
#include <string>

namespace velmor {

/// How a command ends: the exit status.
enum class ExitStatus {
    done = 0,
    failed = 1, ///< Anything that has no status of its own.
    invalidArgument = 2,
    appNotReady = 3, ///< Or it can't be reached at all.
    monitoringUnavailable = 4,
    sessionAlreadyActive = 5,
    sessionNotActive = 6,
};

/// A method that the running instance offers.
struct Method
{
    const char* interface;
    const char* name;
};

/// What a call has brought.
struct Answer
{
    ExitStatus status = ExitStatus::done;
    std::string error;   ///< In words, unless it is done.
    QVariantMap results; ///< By the names that the interface gives them.
};

/// Calls a method and waits for its answer; an instance is started where the bus can do that.
Answer call(const Method& method, const QVariantList& arguments = {});

/// Hands every change of the levels on, until the running instance ends. \return how that was.
Answer followLevels(const std::function<void(const QVariantMap&)>& onLevels);

/// A value of the bus as JSON is written from it, with arrays and dictionaries unpacked.
QVariant unpacked(const QVariant& value);

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
// How outcomes of a check for updates show in a test's output.
#pragma once

#include <platform/SoftwareUpdater.h>

#include <ostream>

namespace velmor {

inline void PrintTo(const UpToDate& outcome, std::ostream* stream)
{
    *stream << "up to date: " << outcome.version;
}

inline void PrintTo(const AvailableUpdate& outcome, std::ostream* stream)
{
    *stream << "available: " << outcome.version << ", " << outcome.page << ", " << outcome.notes;
}

inline void PrintTo(const UpdateCheckFailure& outcome, std::ostream* stream)
{
    *stream << "failed: " << outcome.reason;
}

} // namespace velmor

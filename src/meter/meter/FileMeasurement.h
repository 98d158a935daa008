// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <meter/Options.h>
#include <meter/Summary.h>

#include <functional>

namespace velmor {

/// Measures a file in virtual time: each block arrives when its last frame has sounded, ticks fall on
/// every 0.1 seconds, and the measurement ends with the first tick at or after the file's end.
/// \param progress gets the share that is done, 0 to 1, now and then; true from it stops the
/// measurement, with no files written and no summary.
/// \throws MeterError
std::optional<Summary> measureFile(const Options& options, const std::function<bool(double share)>& progress);

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <meter/Options.h>

#include <string>

namespace velmor {

/// Writes the pink noise of the calibrations as a WAV file: 32-bit floats, 44100 Hz, the same on two
/// channels. \throws MeterError
void writeNoise(const Options& options);

/// Analyses a recording of that noise as the program does with its microphone.
/// \return the profile as JSON, or as a page for people. \throws MeterError
std::string analyzeMicResponse(const Options& options);

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <meter/Options.h>
#include <meter/Summary.h>

#include <csignal>
#include <string>

namespace velmor {

/// Measures a live input in real time, for the time that the options say or until `interrupted` is
/// not 0. A signal handler sets it.
/// \throws MeterError also when the input is lost along the way.
Summary measureLive(const Options& options, const volatile std::sig_atomic_t& interrupted);

/// The input devices, as text for people or as a JSON array. \throws MeterError
std::string deviceList(bool json);

} // namespace velmor

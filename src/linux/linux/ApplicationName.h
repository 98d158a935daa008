// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Under which the session bus knows the program.
namespace velmor::ApplicationName {

inline constexpr auto busName = "dev.brightfen.velmor";
inline constexpr auto objectPath = "/dev/brightfen/velmor";
inline constexpr auto interface = "org.freedesktop.Application";

/// The error of a call to an instance that is ending: the next one takes it.
inline constexpr auto endingError = "dev.brightfen.velmor.Error.Ending";

} // namespace velmor::ApplicationName

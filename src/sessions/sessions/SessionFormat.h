// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/JsonError.h>
#include <base/JsonWriter.h>
#include <sessions/Session.h>

#include <simdjson.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmor {

/// The history file: a JSON array of sessions, printed for people. Dates lose their fractions of a
/// second. Absent when a number is not finite.
std::optional<std::string> encodedHistory(std::span<const Session> sessions);

/// Reads a history file. Strict: a key that must be there and isn't, a value of another type or a date
/// with a fraction fails the whole; so does anything that is no JSON, also where it is not looked at.
/// Fields that came later have defaults. A text with `jsonSpareCapacity` bytes of room is not copied.
/// \throws JsonError
std::vector<Session> decodedHistory(std::string text);

/// The same for an array in somebody else's text that is being read. Moments that a history can't hold
/// are the nearest that it can. \throws JsonError, simdjson::simdjson_error
std::vector<Session> decodedForeignSessions(simdjson::ondemand::array array);

/// The session's own members, without its readings, into an object that the caller has begun.
void writeSessionFields(JsonWriter& json, const Session& session);

/// A moment of a running session as one line, without its end: the session as it would be if it ended
/// here, in the history's form, but with those readings alone that are new. Absent when a number is not
/// finite.
std::optional<std::string> encodedMoment(const Session& state, std::span<const SPLReading> newReadings);

/// Reads what encodedMoment() wrote. \throws JsonError
Session decodedMoment(std::string text);

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <exposure/DoseLevel.h>
#include <exposure/PauseState.h>
#include <integrations/Url.h>
#include <sessions/Session.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace velmor {

/// What a reply carries: texts by key.
using URLParameters = std::map<std::string, std::string, std::less<>>;

/// The figures of a reply as the texts that travel. Levels in dB, doses in percent, both with one decimal
/// and a point whatever the user's language; dates in ISO 8601, UTC, whole seconds.
namespace VelmorURLResponseHelpers {

/// Only the levels that are given.
URLParameters splParams(std::optional<double> dba, std::optional<double> dbc, std::optional<double> peakDBA);

/// A dose below 0 counts as 0, and so does what remains of it beyond 100.
URLParameters doseParams(double today, DoseLevel level, std::int64_t peakCount135, std::int64_t peakCount137,
                         std::int64_t peakCount140, std::int64_t peakDBACount115);

/// "safe", "caution", "warning", "danger".
std::string levelString(DoseLevel level);

/// \param session absent while none runs.
URLParameters sessionParams(const std::optional<Session>& session, Date now);

/// A pause whose end has come is none.
URLParameters pauseParams(const PauseState& pause, Date now);

/// Everything in one.
URLParameters stateParams(const URLParameters& spl, const URLParameters& dose, const URLParameters& session,
                          const PauseState& pause, Date now);

/// The URL with the parameters behind its own, by key. Absent where the URL does not part into components.
std::optional<Url> appendingParams(const Url& url, const URLParameters& params);

/// The reply on success: the parameters, and "result" unless it is among them.
std::optional<Url> successURL(const Url& base, const URLParameters& params);

std::optional<Url> errorURL(const Url& base, std::string_view code, std::string_view message);

} // namespace VelmorURLResponseHelpers

} // namespace velmor

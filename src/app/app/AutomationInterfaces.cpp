// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AutomationInterfaces.h>

#include <app/VelmorIntents.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace velmor::AutomationInterfaces {

namespace {

using Case = VelmorIntentError::Case;

std::string errorName(Case which)
{
    const std::string prefix = "dev.brightfen.velmor.Error.";
    switch (which) {
    case Case::invalidArgument:
        return prefix + "InvalidArgument";
    case Case::appNotReady:
        return prefix + "AppNotReady";
    case Case::monitoringUnavailable:
        return prefix + "MonitoringUnavailable";
    case Case::sessionAlreadyActive:
        return prefix + "SessionAlreadyActive";
    case Case::sessionNotActive:
        return prefix + "SessionNotActive";
    }
    return prefix + "Failed";
}

/// The same function with the errors of intents as those of the bus.
std::function<BusValues(const BusValues&)> answering(std::function<BusValues(const BusValues&)> call)
{
    return [call = std::move(call)](const BusValues& arguments) {
        try {
            return call(arguments);
        } catch (const VelmorIntentError& error) {
            throw BusError(errorName(error.which()), error.what());
        }
    };
}

/// What every result has behind its own values.
std::vector<BusArgument> withDisplay(std::vector<BusArgument> own)
{
    own.insert(own.end(), {{"title", "s"}, {"subtitle", "s"}, {"dialog", "s"}});
    return own;
}

template <typename Value>
BusValues withDisplay(BusValues own, const IntentResult<Value>& result)
{
    const DisplayRepresentation display = result.value.displayRepresentation();
    own.insert(own.end(), {display.title, display.subtitle, result.dialog});
    return own;
}

BusValues values(const IntentResult<VelmorPauseSnapshot>& result)
{
    std::vector<std::int64_t> resumeInSeconds;
    if (result.value.resumeInSeconds)
        resumeInSeconds.push_back(*result.value.resumeInSeconds);
    return withDisplay({result.value.id, result.value.paused, resumeInSeconds}, result);
}

/// An optional number is an array of one or none.
const std::vector<BusArgument> pauseArguments =
    withDisplay({{"id", "s"}, {"paused", "b"}, {"resumeInSeconds", "ax"}});

BusMethod getCurrentSPL(const VelmorIntentSupport& support)
{
    return {std::string(GetCurrentSPLIntent::name),
            {},
            withDisplay({{"id", "s"}, {"dba", "d"}, {"dbc", "d"}, {"peakDBA", "d"}}),
            answering([&support](const BusValues&) {
                const auto result = GetCurrentSPLIntent().perform(support);
                const auto& value = result.value;
                return withDisplay({value.id, value.dba, value.dbc, value.peakDBA}, result);
            })};
}

BusMethod getTodaysDose(const VelmorIntentSupport& support)
{
    return {std::string(GetTodaysDoseIntent::name),
            {},
            withDisplay({{"id", "s"},
                         {"dosePercent", "d"},
                         {"remainingPercent", "d"},
                         {"doseLevel", "s"},
                         {"peakCount135", "x"},
                         {"peakCount137", "x"},
                         {"peakCount140", "x"},
                         {"peakCount115DBA", "x"}}),
            answering([&support](const BusValues&) {
                const auto result = GetTodaysDoseIntent().perform(support);
                const auto& value = result.value;
                return withDisplay({value.id, value.dosePercent, value.remainingPercent, value.doseLevel,
                                    value.peakCount135, value.peakCount137, value.peakCount140,
                                    value.peakCount115DBA},
                                   result);
            })};
}

BusMethod getMonitoringStats(const VelmorIntentSupport& support)
{
    return {std::string(GetMonitoringStatsIntent::name),
            {},
            withDisplay({{"id", "s"},
                         {"streakDays", "x"},
                         {"todayDosePercent", "d"},
                         {"weeklyAvgDosePercent", "d"},
                         {"weeklySessionCount", "x"},
                         {"weeklyWarningDayCount", "x"}}),
            answering([&support](const BusValues&) {
                const auto result = GetMonitoringStatsIntent().perform(support);
                const auto& value = result.value;
                return withDisplay({value.id, value.streakDays, value.todayDosePercent,
                                    value.weeklyAvgDosePercent, value.weeklySessionCount,
                                    value.weeklyWarningDayCount},
                                   result);
            })};
}

BusMethod startMixingSession(const VelmorIntentSupport& support)
{
    return {std::string(StartMixingSessionIntent::name),
            {{"daw", "s"}},
            {{"dialog", "s"}},
            answering([&support](const BusValues& arguments) -> BusValues {
                StartMixingSessionIntent intent;
                intent.daw = std::get<std::string>(arguments[0]);
                return {intent.perform(support)};
            })};
}

BusMethod endMixingSession(const VelmorIntentSupport& support)
{
    return {std::string(EndMixingSessionIntent::name),
            {},
            withDisplay({{"id", "s"},
                         {"finalDosePercent", "d"},
                         {"daw", "s"},
                         {"elapsedSeconds", "x"},
                         {"peakDBA", "d"},
                         {"peakDBC", "d"}}),
            answering([&support](const BusValues&) {
                const auto result = EndMixingSessionIntent().perform(support);
                const auto& value = result.value;
                return withDisplay({value.id, value.finalDosePercent, value.daw, value.elapsedSeconds,
                                    value.peakDBA, value.peakDBC},
                                   result);
            })};
}

BusMethod pauseMonitoring(const VelmorIntentSupport& support)
{
    return {std::string(PauseMonitoringIntent::name),
            {{"durationMinutes", "x"}},
            pauseArguments,
            answering([&support](const BusValues& arguments) {
                PauseMonitoringIntent intent;
                intent.durationMinutes = std::get<std::int64_t>(arguments[0]);
                return values(intent.perform(support));
            })};
}

BusMethod resumeMonitoring(const VelmorIntentSupport& support)
{
    return {std::string(ResumeMonitoringIntent::name),
            {},
            pauseArguments,
            answering(
                [&support](const BusValues&) { return values(ResumeMonitoringIntent().perform(support)); })};
}

BusDictionary describedParameter(BusDictionary described, const std::string& name,
                                 const IntentParameter& parameter)
{
    described["parameter"] = name;
    described["parameterTitle"] = std::string(parameter.title);
    described["parameterDescription"] = std::string(parameter.description);
    described["parameterSummary"] = std::string(parameter.summary);
    return described;
}

template <typename Intent>
BusDictionary description()
{
    return {{"intent", std::string(Intent::name)}, {"title", std::string(Intent::title)}};
}

template <typename Intent>
BusDictionary description(const std::string& parameterName, const IntentParameter& parameter)
{
    return describedParameter(description<Intent>(), parameterName, parameter);
}

BusMethod listIntents()
{
    return {"ListIntents", {}, {{"intents", "aa{sv}"}}, [](const BusValues&) -> BusValues {
                return {std::vector<BusDictionary>{
                    description<GetCurrentSPLIntent>(), description<GetTodaysDoseIntent>(),
                    description<GetMonitoringStatsIntent>(),
                    description<StartMixingSessionIntent>("daw", StartMixingSessionIntent::dawParameter),
                    description<EndMixingSessionIntent>(),
                    description<PauseMonitoringIntent>("durationMinutes",
                                                       PauseMonitoringIntent::durationParameter),
                    description<ResumeMonitoringIntent>()}};
            }};
}

BusMethod listShortcuts()
{
    return {"ListShortcuts", {}, {{"shortcuts", "aa{sv}"}}, [](const BusValues&) -> BusValues {
                std::vector<BusDictionary> rows;
                for (const VelmorAppShortcut& shortcut : velmorAppShortcuts) {
                    rows.push_back({{"intent", std::string(shortcut.intent)},
                                    {"phrases", std::vector{shortcut.phrase(0), shortcut.phrase(1)}},
                                    {"shortTitle", std::string(shortcut.shortTitle)},
                                    {"symbol", std::string(shortcut.symbol)}});
                }
                return {rows};
            }};
}

} // namespace

BusInterface intents(const VelmorIntentSupport& support)
{
    return {"dev.brightfen.velmor.Intents1",
            {getCurrentSPL(support), getTodaysDose(support), getMonitoringStats(support),
             startMixingSession(support), endMixingSession(support), pauseMonitoring(support),
             resumeMonitoring(support), listIntents(), listShortcuts()},
            {}};
}

BusInterface focusFilter(const VelmorIntentSupport& support, VelmorSessionFocusFilter& filter)
{
    BusMethod perform = {"Perform", {{"daw", "s"}}, {}, [&filter](const BusValues& arguments) -> BusValues {
                             const auto& daw = std::get<std::string>(arguments[0]);
                             filter.perform(daw.empty() ? std::nullopt : std::optional(daw));
                             return {};
                         }};
    BusMethod describe = {
        "Describe", {}, {{"filter", "a{sv}"}}, [](const BusValues&) -> BusValues {
            return {describedParameter({{"title", std::string(VelmorSessionFocusFilter::title)}}, "daw",
                                       VelmorSessionFocusFilter::dawParameter)};
        }};
    BusMethod getSettings = {"GetSettings",
                             {},
                             {{"enabled", "b"}, {"daw", "s"}, {"display", "s"}},
                             answering([&support](const BusValues&) -> BusValues {
                                 const auto hub = support.resolve();
                                 const std::string daw = hub->settings.focusFilterDAW;
                                 return {hub->settings.focusFilterEnabled.get(), daw,
                                         VelmorSessionFocusFilter::displayRepresentation(daw)};
                             })};
    BusMethod setEnabled = {
        "SetEnabled", {{"enabled", "b"}}, {}, answering([&support](const BusValues& arguments) -> BusValues {
            support.resolve()->settings.focusFilterEnabled = std::get<bool>(arguments[0]);
            return {};
        })};
    BusMethod setDAW = {
        "SetDAW", {{"daw", "s"}}, {}, answering([&support](const BusValues& arguments) -> BusValues {
            support.resolve()->settings.focusFilterDAW = std::get<std::string>(arguments[0]);
            return {};
        })};
    return {"dev.brightfen.velmor.FocusFilter1",
            {std::move(perform), std::move(describe), std::move(getSettings), std::move(setEnabled),
             std::move(setDAW)},
            {}};
}

BusDictionary levels(const VelmorIntentSupport& support)
{
    const auto hub = support.appState();
    if (!hub)
        return {};
    const bool isRunning = hub->audioService.isRunning;
    const bool isPaused = hub->pauseService.isCurrentlyPaused(hub->now());
    BusDictionary levels = {
        {"running", isRunning},
        {"paused", isPaused},
        {"dosePercent", hub->doseCalculator.dosePercentage.get()},
        {"doseLevel", std::string(rawValue(hub->doseCalculator.doseLevel.get()))},
    };
    if (isRunning) {
        levels["dBA"] = hub->audioService.currentSPL.get();
        levels["dBC"] = hub->audioService.currentDBC.get();
        levels["peakDBA"] = hub->audioService.peakDBA.get();
        levels["peakDBC"] = hub->audioService.peakDBC.get();
    }
    if (isRunning && !isPaused && hub->referenceTracker.settings.get().enabled)
        levels["zone"] = std::string(rawValue(hub->referenceTracker.currentZone.get()));
    return levels;
}

} // namespace velmor::AutomationInterfaces

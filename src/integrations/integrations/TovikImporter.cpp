// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/TovikImporter.h>

#include <base/FileText.h>
#include <base/JsonError.h>
#include <base/JsonRecord.h>
#include <base/JsonStream.h>
#include <base/Text.h>
#include <base/Vocabulary.h>
#include <discipline/MonitoringAlertSettings.h>
#include <discipline/ReferenceLevelSettings.h>
#include <exposure/DoseCalculator.h>
#include <integrations/Constants.h>
#include <level/MicFrequencyCorrection.h>

#include <fmt/format.h>
#include <unicode/brkiter.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

namespace velmor {

ImportError::ImportError(Reason reason, const std::string& message)
    : std::runtime_error(message)
    , m_reason(reason)
{}

ImportError ImportError::fileUnreadable(std::string_view underlying)
{
    return {Reason::fileUnreadable, fmt::format("Couldn't read the export file: {}", underlying)};
}

ImportError ImportError::malformedJSON(std::string_view underlying)
{
    return {Reason::malformedJSON, fmt::format("The export file is not valid JSON: {}", underlying)};
}

ImportError ImportError::unsupportedSchemaVersion(std::int64_t found, std::int64_t supported)
{
    return {
        Reason::unsupportedSchemaVersion,
        fmt::format("This export uses schema version {}; Velmor understands version {}. Update Velmor and "
                    "try again.",
                    found, supported)};
}

ImportError ImportError::fileTooLarge(std::uintmax_t bytes)
{
    constexpr std::uintmax_t bytesPerMiB = 1048576;
    return {Reason::fileTooLarge,
            fmt::format("Export file is too large ({} MiB). Tovik exports are typically under 50 MiB.",
                        bytes / bytesPerMiB)};
}

ImportError ImportError::sessionActive()
{
    return {Reason::sessionActive,
            "End the current session before importing — re-importing during a live session could overwrite "
            "session data."};
}

namespace TovikImporter {

namespace {

constexpr std::size_t longestShortString = 256;
constexpr std::size_t longestDAWName = 64;
constexpr std::size_t longestBundleID = 255;
constexpr double lowestOffset = 60.0;
constexpr double highestOffset = 120.0;
constexpr double highestDosePercent = 1000.0;
constexpr double plausibleSeconds = 157788000.0; // five years of 365.25 days
constexpr double longestOffTargetWindowSec = 86400.0;
constexpr double widestOffTargetToleranceDB = 60.0;
constexpr double lowestTarget = 60.0;
constexpr double highestTarget = 95.0;
constexpr double widestTolerance = 30.0;

/// So many characters as people count them: a letter with its accents is one.
std::string firstCharacters(const std::string& text, std::size_t count)
{
    // No character is shorter than a byte.
    if (text.size() <= count)
        return text;
    const auto unicode = icu::UnicodeString::fromUTF8(text);
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    std::int32_t end = unicode.moveIndex32(0, static_cast<std::int32_t>(count));
    // Without the tables of a language's characters those of Unicode are counted.
    if (U_SUCCESS(status)) {
        characters->setText(unicode);
        end = characters->next(static_cast<std::int32_t>(count));
        if (end == icu::BreakIterator::DONE)
            return text;
    }
    std::string first;
    unicode.tempSubString(0, end).toUTF8String(first);
    return first;
}

std::optional<DefaultsValue> sanitized(const std::string& value)
{
    return sanitizedShortString(value);
}

std::optional<DefaultsValue> sanitized(double value)
{
    return clampedCalibrationOffset(value);
}

std::optional<DefaultsValue> sanitized(bool value)
{
    return value;
}

/// Writes the record under the key, unless it could not be read again: its moments may lie beyond what is.
template <typename Record>
bool storeRecord(DefaultsStore& defaults, std::string_view key, const Record& record)
{
    const auto json = encodedJson(record);
    if (!json || !decodedJson<Record>(*json))
        return false;
    defaults.set(key, dataOf(*json));
    return true;
}

void applyUserDefaults(const std::optional<UserDefaultsBlock>& block, const Stores& stores)
{
    if (!block)
        return;
    const auto apply = [&](const auto& row) {
        const auto& value = *block.*row.second;
        const auto wanted = value ? sanitized(*value) : std::nullopt;
        if (wanted)
            stores.defaults.set(row.first, *wanted);
    };
    std::apply([&](const auto&... rows) { (apply(rows), ...); }, jsonMembers<UserDefaultsBlock>);
}

void applyMonitoringAlertSettings(const std::optional<MonitoringAlertBlock>& block, const Stores& stores)
{
    if (!block)
        return;
    MonitoringAlertSettingsStore store(stores.defaults);
    MonitoringAlertSettings settings = store.load();
    settings.driftAlertEnabled = block->driftAlertEnabled.value_or(settings.driftAlertEnabled);
    settings.offTargetAlertEnabled = block->offTargetAlertEnabled.value_or(settings.offTargetAlertEnabled);
    if (block->offTargetDirection) {
        settings.offTargetDirection = valueFromRaw(offTargetDirections, *block->offTargetDirection)
                                          .value_or(settings.offTargetDirection);
    }
    if (const auto window = aboveZero(block->offTargetWindowSec))
        settings.offTargetWindowSec = std::min(*window, longestOffTargetWindowSec);
    if (const auto tolerance = aboveZero(block->offTargetToleranceDB))
        settings.offTargetToleranceDB = std::min(*tolerance, widestOffTargetToleranceDB);
    store.save(settings);
}

void applyReferenceLevelSettings(const std::optional<ReferenceLevelBlock>& block, const Stores& stores)
{
    if (!block)
        return;
    ReferenceLevelSettingsStore store(stores.defaults);
    ReferenceLevelSettings settings = store.load();
    settings.enabled = block->enabled.value_or(settings.enabled);
    if (block->target && std::isfinite(*block->target))
        settings.target = std::clamp(*block->target, lowestTarget, highestTarget);
    if (const auto tolerance = aboveZero(block->tolerance))
        settings.tolerance = std::min(*tolerance, widestTolerance);
    if (block->presetID)
        settings.presetID = sanitizedShortString(*block->presetID);
    store.save(settings);
}

std::int64_t applyCustomDAWs(const std::optional<std::vector<CustomDAW>>& list, const Stores& stores)
{
    if (!list || list->empty())
        return 0;
    DefaultsDictionary names;
    for (const CustomDAW& daw : *list) {
        if (!isValidBundleID(daw.bundleID) || Constants::knownDAWBundleIDs.contains(daw.bundleID))
            continue;
        std::string name = sanitizedDAWName(daw.name);
        if (!name.empty())
            names.insert_or_assign(daw.bundleID, std::move(name));
    }
    const auto count = static_cast<std::int64_t>(names.size());
    stores.defaults.set(Constants::customDAWsKey, std::move(names));
    return count;
}

std::int64_t applyTargetCalibrations(const std::optional<std::vector<TargetCalibrationRecord>>& list,
                                     const Stores& stores)
{
    if (!list || list->empty())
        return 0;
    TargetCalibrationStore::Records records;
    for (const TargetCalibrationRecord& record : *list)
        records.insert_or_assign(record.outputDeviceUID, record);
    const bool isStored = storeRecord(stores.defaults, TargetCalibrationStore::defaultsKey, records);
    return isStored ? static_cast<std::int64_t>(records.size()) : 0;
}

std::int64_t applyCalibrationProfiles(const std::optional<std::vector<CalibrationSavedProfile>>& list,
                                      const Stores& stores)
{
    if (!list || list->empty())
        return 0;
    constexpr auto key = CalibrationProfileStore::defaultsKey;
    using Profiles = std::vector<CalibrationSavedProfile>;
    const auto data = stores.defaults.get<DefaultsData>(key);
    const auto present = data ? decodedJson<Profiles>(textOf(*data)) : std::nullopt;
    std::map<Uuid, CalibrationSavedProfile> byID;
    for (const auto& profile : present.value_or(Profiles()))
        byID.insert_or_assign(profile.id, profile);
    for (const auto& profile : *list) {
        auto& taken = byID.insert_or_assign(profile.id, profile).first->second;
        // It is going to be the offset one day.
        taken.levelOffsetAtSave = clampedCalibrationOffset(profile.levelOffsetAtSave).value_or(lowestOffset);
    }
    Profiles profiles;
    for (auto& [id, profile] : byID)
        profiles.push_back(std::move(profile));
    std::ranges::stable_sort(profiles, std::ranges::greater(), &CalibrationSavedProfile::savedDate);
    return storeRecord(stores.defaults, key, profiles) ? static_cast<std::int64_t>(list->size()) : 0;
}

bool applyMicFrequencyCorrection(const std::optional<MicFrequencyCorrectionBlock>& block,
                                 const Stores& stores)
{
    if (!block)
        return false;
    if (block->enabled)
        stores.defaults.set(MicFrequencyCorrection::enabledKey, *block->enabled);
    return block->profile &&
           storeRecord(stores.defaults, MicFrequencyCorrection::profileKey, *block->profile);
}

void applySessions(std::optional<std::vector<Session>> sessions, const Stores& stores, ImportResult& result)
{
    if (!sessions)
        return;
    std::erase_if(*sessions, [&](const Session& session) {
        return !isPlausibleSessionDate(session.startDate, stores.now);
    });
    stores.sessions.mergeSessions(*sessions);
    std::set<Date> days;
    for (const Session& session : *sessions)
        days.insert(stores.calendar.startOfDay(session.startDate));
    result.sessionCount = static_cast<std::int64_t>(sessions->size());
    result.historyDays = static_cast<std::int64_t>(days.size());
}

} // namespace

std::string sanitizedShortString(std::string_view text)
{
    return firstCharacters(withoutControls(text), longestShortString);
}

std::string sanitizedDAWName(std::string_view text)
{
    const std::string printable = withoutControls(text);
    return firstCharacters(std::string(trimmed(printable)), longestDAWName);
}

bool isValidBundleID(std::string_view bundleID)
{
    constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
    return bundleID.size() <= longestBundleID && bundleID.find('.') != std::string_view::npos &&
           bundleID.find_first_not_of(allowed) == std::string_view::npos;
}

std::optional<double> clampedCalibrationOffset(double offset)
{
    if (!std::isfinite(offset))
        return std::nullopt;
    return std::clamp(offset, lowestOffset, highestOffset);
}

double clampedDosePercent(double percent)
{
    return std::clamp(percent, 0.0, highestDosePercent);
}

bool isPlausibleSessionDate(Date date, Date now)
{
    return std::abs(secondsBetween(date, now)) <= plausibleSeconds;
}

bool applyTodayDose(const std::optional<TodayDoseBlock>& block, const Stores& stores)
{
    // A dose of another day is never carried over.
    if (!block || block->date != dayText(stores.calendar.localTime(stores.now)))
        return false;
    if (block->dosePercent && std::isfinite(*block->dosePercent))
        stores.defaults.set(DoseKeys::accumulatedDose, clampedDosePercent(*block->dosePercent) / 100);
    stores.defaults.set(DoseKeys::doseDate, stores.now);
    const auto applyCount = [&](std::string_view key, const std::optional<std::int64_t>& count) {
        if (count && *count >= 0)
            stores.defaults.set(key, *count);
    };
    applyCount(DoseKeys::peakCount135, block->peakCount135);
    applyCount(DoseKeys::peakCount137, block->peakCount137);
    applyCount(DoseKeys::peakCount140, block->peakCount140);
    applyCount(DoseKeys::peakDBACount115, block->peakDBACount115);
    return true;
}

ImportResult importFromFile(const std::filesystem::path& path, const Stores& stores)
{
    if (stores.sessions.currentSession.get())
        throw ImportError::sessionActive();
    std::error_code unknownSize;
    const std::uintmax_t size = std::filesystem::file_size(path, unknownSize);
    if (!unknownSize && size > mostBytes)
        throw ImportError::fileTooLarge(size);

    std::error_code error;
    std::string text = fileText(path, error, jsonSpareCapacity);
    if (error)
        throw ImportError::fileUnreadable(error.message());
    // The file may have grown, or its size may have been a lie.
    if (text.size() > mostBytes)
        throw ImportError::fileTooLarge(text.size());

    ExportFile file;
    try {
        file = decodedExportFile(std::move(text));
    } catch (const JsonError& malformed) {
        throw ImportError::malformedJSON(malformed.what());
    }
    if (file.schemaVersion != supportedSchemaVersion)
        throw ImportError::unsupportedSchemaVersion(file.schemaVersion, supportedSchemaVersion);

    // From here on nothing fails, and nothing is taken back.
    ImportResult result;
    applyUserDefaults(file.userDefaults, stores);
    applyMonitoringAlertSettings(file.monitoringAlertSettings, stores);
    applyReferenceLevelSettings(file.referenceLevelSettings, stores);
    result.customDAWCount = applyCustomDAWs(file.customDAWBundleIDs, stores);
    result.targetCalibrationCount = applyTargetCalibrations(file.targetCalibrations, stores);
    result.calibrationProfileCount = applyCalibrationProfiles(file.calibrationProfiles, stores);
    result.micCorrectionRestored = applyMicFrequencyCorrection(file.micFrequencyCorrection, stores);
    applySessions(std::move(file.sessions), stores, result);
    result.todayDoseRestored = applyTodayDose(file.todayDose, stores);
    stores.defaults.set(welcomeShownKey, true);
    result.sourceVersion = file.exportedFromTovikVersion.value_or("");
    result.sourceBuild = file.exportedFromTovikBuild.value_or("");
    return result;
}

} // namespace TovikImporter

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/TovikExportFile.h>

#include <base/JsonRecord.h>
#include <base/JsonStream.h>
#include <sessions/SessionFormat.h>

#include <fmt/format.h>

#include <initializer_list>
#include <string_view>

namespace velmor {

namespace ondemand = simdjson::ondemand;

namespace {

/// Every sample of every block runs through the taps of a correction: more of them than this no machine keeps
/// up with.
constexpr std::size_t mostTaps = 8192;

/// Curves and texts are drawn on the screen, again and again.
constexpr std::size_t mostCurvePoints = 8192;
constexpr std::size_t longestText = 4096; // bytes

void read(ondemand::value& value, std::int64_t& number)
{
    number = value.get_int64();
}

void read(ondemand::value& value, std::string& text)
{
    text = std::string_view(value.get_string());
}

void read(ondemand::value& value, std::vector<Session>& sessions)
{
    sessions = decodedForeignSessions(value.get_array());
}

/// The text of an object or array. What is neither is no block.
std::string_view blockText(ondemand::value& value)
{
    if (ondemand::json_type(value.type()) == ondemand::json_type::array) {
        ondemand::array array = value.get_array();
        return array.raw_json();
    }
    ondemand::object object = value.get_object();
    return object.raw_json();
}

template <typename Block>
void read(ondemand::value& value, Block& block)
{
    block = decodedJsonOrThrow<Block>(blockText(value), JsonDates::iso);
}

template <typename Value>
void read(ondemand::value& value, std::optional<Value>& wanted)
{
    if (isJsonNull(value))
        wanted.reset();
    else
        read(value, wanted.emplace());
}

void check(const std::optional<MicCorrectionProfile>& correction)
{
    if (correction && correction->taps.size() > mostTaps)
        throw JsonError(fmt::format("a correction has {} taps", correction->taps.size()));
    if (correction && correction->correctionCurve.size() > mostCurvePoints)
        throw JsonError(fmt::format("a curve has {} points", correction->correctionCurve.size()));
}

void checkTexts(std::initializer_list<const std::string*> texts)
{
    for (const std::string* const text : texts) {
        if (text->size() > longestText)
            throw JsonError(fmt::format("a text has {} bytes", text->size()));
    }
}

void checkSizes(const ExportFile& file)
{
    if (file.micFrequencyCorrection)
        check(file.micFrequencyCorrection->profile);
    if (file.calibrationProfiles) {
        for (const CalibrationSavedProfile& profile : *file.calibrationProfiles) {
            check(profile.freqProfile);
            checkTexts({&profile.label, &profile.deviceUID, &profile.deviceName});
        }
    }
    if (file.targetCalibrations) {
        for (const TargetCalibrationRecord& record : *file.targetCalibrations)
            checkTexts({&record.outputDeviceUID, &record.outputDeviceName, &record.knobNote});
    }
    if (file.sessions) {
        for (const Session& session : *file.sessions)
            checkTexts({&session.dawName});
    }
}

constexpr auto members = std::tuple(
    std::pair("schemaVersion", &ExportFile::schemaVersion),
    std::pair("exportedFromTovikVersion", &ExportFile::exportedFromTovikVersion),
    std::pair("exportedFromTovikBuild", &ExportFile::exportedFromTovikBuild),
    std::pair("userDefaults", &ExportFile::userDefaults), std::pair("sessions", &ExportFile::sessions),
    std::pair("targetCalibrations", &ExportFile::targetCalibrations),
    std::pair("calibrationProfiles", &ExportFile::calibrationProfiles),
    std::pair("micFrequencyCorrection", &ExportFile::micFrequencyCorrection),
    std::pair("monitoringAlertSettings", &ExportFile::monitoringAlertSettings),
    std::pair("referenceLevelSettings", &ExportFile::referenceLevelSettings),
    std::pair("customDAWBundleIDs", &ExportFile::customDAWBundleIDs),
    std::pair("todayDose", &ExportFile::todayDose));

template <typename Member>
void readNamed(std::string_view name, ondemand::value& value, Member& member)
{
    try {
        read(value, member);
    } catch (const simdjson::simdjson_error& error) {
        throw JsonError(fmt::format("{}: {}", name, error.what()));
    } catch (const JsonError& error) {
        throw JsonError(fmt::format("{}: {}", name, error.what()));
    }
}

/// \return whether the file has a member of that name.
bool readMember(ExportFile& file, std::string_view key, ondemand::value& value)
{
    const auto readIfNamed = [&](const auto& row) {
        if (key != row.first)
            return false;
        readNamed(row.first, value, file.*row.second);
        return true;
    };
    return std::apply([&](const auto&... rows) { return (readIfNamed(rows) || ...); }, members);
}

} // namespace

ExportFile decodedExportFile(std::string text)
{
    ExportFile file = readJsonStream(std::move(text), [](ondemand::document& document) {
        ExportFile contents;
        bool hasVersion = false;
        for (auto field : document.get_object()) {
            // The text of the key goes with the next text that is read.
            const std::string key(std::string_view(field.unescaped_key()));
            ondemand::value value = field.value();
            if (!readMember(contents, key, value))
                checkJson(value);
            hasVersion = hasVersion || key == "schemaVersion";
        }
        if (!hasVersion)
            throw JsonError("\"schemaVersion\" is missing");
        return contents;
    });
    checkSizes(file);
    return file;
}

} // namespace velmor

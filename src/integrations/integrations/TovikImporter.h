// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/Date.h>
#include <integrations/TovikExportFile.h>
#include <platform/DefaultsStore.h>
#include <sessions/SessionManager.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmor {

/// What an import has brought.
struct ImportResult
{
    std::int64_t sessionCount = 0;
    std::int64_t targetCalibrationCount = 0;
    std::int64_t calibrationProfileCount = 0;
    bool micCorrectionRestored = false;
    std::int64_t customDAWCount = 0;
    std::int64_t historyDays = 0; ///< Local days on which imported sessions began.
    bool todayDoseRestored = false;
    std::string sourceVersion; ///< Of Tovik; empty where the file doesn't say.
    std::string sourceBuild;   ///< The same.

    bool operator==(const ImportResult&) const = default;
};

/// Why nothing was imported. The message is for the user.
class ImportError : public std::runtime_error
{
public:
    enum class Reason {
        fileUnreadable,
        malformedJSON,
        unsupportedSchemaVersion,
        fileTooLarge,
        sessionActive
    };

    static ImportError fileUnreadable(std::string_view underlying);
    static ImportError malformedJSON(std::string_view underlying);
    static ImportError unsupportedSchemaVersion(std::int64_t found, std::int64_t supported);
    static ImportError fileTooLarge(std::uintmax_t bytes);
    static ImportError sessionActive();

    Reason reason() const { return m_reason; }

private:
    ImportError(Reason reason, const std::string& message);

    Reason m_reason;
};

/// Takes over what Tovik, this program's predecessor, has exported: writes it to the places where this
/// program keeps its state. Tells nobody: the owners of those places have to read them anew. Main thread.
namespace TovikImporter {

/// Whether the user has been welcomed. Set by every import.
inline constexpr std::string_view welcomeShownKey = "Velmor.welcomeShown";

inline constexpr std::uintmax_t mostBytes = 67108864; ///< 64 MiB
inline constexpr std::int64_t supportedSchemaVersion = 1;

/// Where the program keeps its state.
struct Stores
{
    DefaultsStore& defaults;
    SessionManager& sessions;
    const Calendar& calendar;
    Date now;
};

/// Reads the whole file and takes over what is in it. Values beyond their ranges are limited or left out, as
/// each of the functions below says; what cannot be stored is left out. \throws ImportError; then nothing has
/// been changed.
ImportResult importFromFile(const std::filesystem::path& file, const Stores& stores);

/// Without control characters, at most 256 characters as people count them. \param text UTF-8.
std::string sanitizedShortString(std::string_view text);

/// Without control characters and without white space at its ends, at most 64 characters. \param text UTF-8.
std::string sanitizedDAWName(std::string_view text);

/// Has less than 256 characters and a dot, and between the dots nothing but Latin letters, digits, "-" and
/// "_".
bool isValidBundleID(std::string_view bundleID);

/// 60 to 120 dB; absent for what is not finite.
std::optional<double> clampedCalibrationOffset(double offset);

/// 0 to 1000 %.
double clampedDosePercent(double percent);

/// At most five years away, in the past or the future.
bool isPlausibleSessionDate(Date date, Date now);

/// Takes the dose of the day of the export over, if that is today. \return whether it is.
bool applyTodayDose(const std::optional<TodayDoseBlock>& block, const Stores& stores);

} // namespace TovikImporter

} // namespace velmor

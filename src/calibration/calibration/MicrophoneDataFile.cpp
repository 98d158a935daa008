// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/MicrophoneDataFile.h>

#include <base/FileText.h>
#include <base/Text.h>
#include <calibration/FilterCheck.h>
#include <calibration/MicResponseAnalysis.h>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

namespace velmor {

namespace {

constexpr std::uintmax_t largestFile = 1024 * 1024;
constexpr double lowestFrequency = 1.0;
constexpr double highestFrequency = 1e6;

/// A microphone's data go further than this; numbers that don't are in another unit.
constexpr double leastHighestFrequency = 5000.0;
constexpr double largestGainDB = 100.0;

/// Text before its end or the first of the characters; what follows stays in `text`.
std::string_view takeUntil(std::string_view& text, std::string_view characters)
{
    const std::size_t end = std::min(text.find_first_of(characters), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return taken;
}

std::optional<double> number(std::string_view text, bool hasDecimalCommas)
{
    std::string digits(text);
    if (hasDecimalCommas)
        std::ranges::replace(digits, ',', '.');
    std::string_view rest = digits;
    if (rest.starts_with('+'))
        rest.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
    if (error != std::errc() || end != rest.data() + rest.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

/// The columns of a line, without what parts them.
std::vector<std::string_view> columns(std::string_view line, std::string_view separators)
{
    std::vector<std::string_view> parts;
    while (!line.empty()) {
        const std::string_view part = trimmed(takeUntil(line, separators));
        const bool isBlank = separators == " ";
        if (!part.empty() || !isBlank)
            parts.push_back(part);
    }
    // A line may end with what parts columns.
    while (!parts.empty() && parts.back().empty())
        parts.pop_back();
    return parts;
}

bool beginsWithNumber(std::string_view line)
{
    if (line.starts_with('+') || line.starts_with('-'))
        line.remove_prefix(1);
    if (line.starts_with('.') || line.starts_with(','))
        line.remove_prefix(1);
    return !line.empty() && line.front() >= '0' && line.front() <= '9';
}

/// From a line like "Sens Factor =-1.2dB, SERNO: 7001234".
std::optional<double> sensFactor(std::string_view line)
{
    const std::string lower = lowerCase(line);
    const std::size_t name = lower.find("sens factor");
    if (name == std::string::npos)
        return std::nullopt;
    std::string_view rest = std::string_view(lower).substr(name + std::string_view("sens factor").size());
    rest = trimmed(rest);
    if (!rest.starts_with('=') && !rest.starts_with(':'))
        return std::nullopt;
    rest = trimmed(rest.substr(1));
    if (rest.starts_with('+'))
        rest.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
    if (error != std::errc() || !std::isfinite(value))
        return std::nullopt;
    // "-1,2" is not -1.
    const std::string_view after = rest.substr(static_cast<std::size_t>(end - rest.data()));
    const bool isCutOff = after.size() > 1 && after[0] == ',' && after[1] >= '0' && after[1] <= '9';
    return isCutOff ? std::nullopt : std::optional(value);
}

MicrophoneDataError errorAt(std::size_t lineNumber, std::string_view what)
{
    return MicrophoneDataError(fmt::format("line {}: {}", lineNumber, what));
}

/// Reads the lines with numbers, and keeps what tells later whether they were understood.
class PointReader
{
public:
    void read(std::string_view line, std::size_t lineNumber)
    {
        const bool hasTabs = line.find_first_of("\t;") != std::string_view::npos;
        const bool hasCommas = line.find(',') != std::string_view::npos;
        const std::vector<std::string_view> parts = columns(line, hasTabs ? "\t;" : hasCommas ? "," : " ");
        if (parts.size() < 2)
            throw errorAt(lineNumber, "a frequency without a gain");
        if (parts.size() > 3)
            throw errorAt(lineNumber, "more than a frequency, a gain and a phase");
        if (points.empty())
            m_columnCount = parts.size();
        else if (parts.size() != m_columnCount)
            throw errorAt(lineNumber, "another number of columns than before");
        double values[3] = {};
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const auto value = number(parts[i], hasTabs);
            if (!value)
                throw errorAt(lineNumber, "not a frequency, a gain and perhaps a phase");
            values[i] = *value;
        }
        add({values[0], values[1]}, lineNumber);
        m_hasCommasOnly = m_hasCommasOnly || (hasCommas && !hasTabs);
        m_hasPoints = m_hasPoints || line.find('.') != std::string_view::npos;
        m_hasFractionsOnly = m_hasFractionsOnly && parts.size() == 3 &&
                             parts[2].find_first_not_of("0123456789") == std::string_view::npos;
    }

    /// "1000,-0,3" may be a gain of -0 and a phase of 3, and -0.3 to one who writes decimals with commas.
    bool isAmbiguous() const { return m_hasCommasOnly && !m_hasPoints && m_hasFractionsOnly; }

    std::vector<MicrophoneData::Point> points;

private:
    void add(MicrophoneData::Point point, std::size_t lineNumber)
    {
        if (!(point.frequency >= lowestFrequency) || point.frequency > highestFrequency)
            throw errorAt(lineNumber, "a frequency that no microphone hears");
        if (std::abs(point.gainDB) > largestGainDB)
            throw errorAt(lineNumber, "a gain beyond 100 dB");
        if (!points.empty() && !(point.frequency > points.back().frequency))
            throw errorAt(lineNumber, "the frequency is not above the one before it");
        points.push_back(point);
    }

    std::size_t m_columnCount = 0;
    bool m_hasCommasOnly = false;
    bool m_hasPoints = false;
    bool m_hasFractionsOnly = true;
};

/// The response relative to that at 1 kHz.
std::vector<FrequencyCurvePoint> relativeResponse(const std::vector<MicrophoneData::Point>& points)
{
    std::vector<FrequencyCurvePoint> curve;
    curve.reserve(points.size());
    for (const MicrophoneData::Point& point : points)
        curve.push_back({static_cast<float>(point.frequency), static_cast<float>(point.gainDB)});
    const auto reference = static_cast<float>(curveGainDB(curve, calibrationFrequency));
    for (FrequencyCurvePoint& point : curve)
        point.gainDB -= reference;
    return curve;
}

} // namespace

MicrophoneData parseMicrophoneData(std::string_view text)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    PointReader reader;
    std::optional<double> factor;
    for (std::size_t lineNumber = 1; !text.empty(); ++lineNumber) {
        const std::string_view line = trimmed(takeUntil(text, "\n"));
        if (beginsWithNumber(line))
            reader.read(line, lineNumber);
        else if (!factor)
            factor = sensFactor(line);
    }
    const auto& points = reader.points;
    if (points.size() < 2)
        throw MicrophoneDataError("fewer than two lines with a frequency and a gain");
    if (reader.isAmbiguous())
        throw MicrophoneDataError(
            "commas part the columns and may be decimal ones as well: write decimals with points");
    if (points.front().frequency > calibrationFrequency || points.back().frequency < leastHighestFrequency)
        throw MicrophoneDataError("doesn't reach from 1 kHz to 5 kHz: are its frequencies in Hz?");
    return {reader.points, factor};
}

MicrophoneData readMicrophoneData(const std::string& path)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error)
        throw MicrophoneDataError(error.message());
    if (size > largestFile)
        throw MicrophoneDataError("larger than a megabyte: not a microphone's data");
    const std::string text = fileText(path, error);
    if (error)
        throw MicrophoneDataError(error.message());
    return parseMicrophoneData(text);
}

MicCorrectionProfile correctionOf(const MicrophoneData& data, double sampleRate, Date now)
{
    using namespace MicResponse;
    const std::vector<FrequencyCurvePoint> response = relativeResponse(data.points);
    Gains gains(binCount, 1.0F);
    for (std::size_t k = 1; k < binCount; ++k) {
        const double frequency = static_cast<double>(k) * sampleRate / double(fftSize);
        gains[k] = static_cast<float>(std::pow(10.0, -curveGainDB(response, frequency) / 20));
    }
    limitAndTaper(gains, sampleRate);
    MicCorrectionProfile profile{{}, sampleRate, now, displayCurve(gains, sampleRate)};

    const auto transform = RealTransform::make(fftSize);
    if (!transform)
        throw MicrophoneDataError("FFT setup unavailable");
    const std::vector<float> impulse = impulseResponse(gains, *transform);
    const std::vector<float> window = normalizedHannWindow(tapCount);
    for (std::size_t j = 0; j < tapCount; ++j)
        profile.taps.push_back(impulse[(j + fftSize - tapCount / 2) % fftSize] * window[j]);
    const double excess = filterGainDB(profile.taps, sampleRate, calibrationFrequency);
    for (float& tap : profile.taps)
        tap *= static_cast<float>(std::pow(10.0, -excess / 20));
    return profile;
}

} // namespace velmor

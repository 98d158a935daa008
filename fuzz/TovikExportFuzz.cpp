// SPDX-License-Identifier: GPL-3.0-or-later
// An export file of the predecessor: whatever it holds either changes nothing, or leaves stores that their
// owners read again, with every value in its range.
#include <base/Print.h>
#include <base/VirtualMainLoop.h>
#include <calibration/CalibrationProfileStore.h>
#include <calibration/TargetCalibrationStore.h>
#include <exposure/DoseCalculator.h>
#include <integrations/TovikImporter.h>
#include <level/MicFrequencyCorrection.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/FakeNotificationCenter.h>
#include <support/TemporaryFolder.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace velmor;
    setPrintedLines(PrintedLines::nowhere);
    static const test::TemporaryFolder folder;
    static const Calendar calendar = Calendar::inZone("UTC").value();
    const auto file = folder / "export.json";
    test::writeFile(file, {reinterpret_cast<const char*>(data), size});
    VirtualMainLoop loop(dateFromIsoText("2026-03-02T09:00:00Z").value());
    MemoryDefaultsStore defaults;
    test::FakeNotificationCenter notifications;
    SessionManager sessions(loop, defaults, calendar, notifications, SessionStorage::nowhere(),
                            SessionManager::Bundle::none);
    ImportResult result;
    try {
        result = TovikImporter::importFromFile(file, {defaults, sessions, calendar, loop.now()});
    } catch (const ImportError&) {
        if (!defaults.values().empty() || !sessions.sessionHistory.get().empty())
            std::abort();
        return 0;
    }
    const auto offset = defaults.get<double>("calibrationOffset");
    const auto dose = defaults.get<double>(DoseKeys::accumulatedDose);
    if ((offset && !(*offset >= 60 && *offset <= 120)) || (dose && !(*dose >= 0 && *dose <= 10)))
        std::abort();
    const TargetCalibrationStore targets(defaults);
    const CalibrationProfileStore profiles(loop, defaults);
    const MicFrequencyCorrection correction(defaults);
    const auto count = [](const auto& values) { return static_cast<std::int64_t>(values.size()); };
    if (count(targets.recordsByDeviceUID.get()) != result.targetCalibrationCount ||
        count(profiles.profiles.get()) > result.calibrationProfileCount ||
        correction.profile.get().has_value() != result.micCorrectionRestored ||
        count(sessions.sessionHistory.get()) > result.sessionCount)
        std::abort();
    return 0;
}

// SPDX-License-Identifier: GPL-3.0-or-later
// What lies under the key of the target calibrations: it either reads as none, or as records that are told in
// words, written, and read back as the same.
#include <base/Print.h>
#include <calibration/CalibrationTexts.h>
#include <calibration/TargetCalibrationStore.h>
#include <platform/MemoryDefaultsStore.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace velmor;
    setPrintedLines(PrintedLines::nowhere);
    MemoryDefaultsStore defaults;
    defaults.set(TargetCalibrationStore::defaultsKey, dataOf({reinterpret_cast<const char*>(data), size}));
    TargetCalibrationStore store(defaults);
    for (const auto& [uid, record] : store.recordsByDeviceUID.get()) {
        static_cast<void>(record.isStale(Date()));
        if (CalibrationTexts::calibrationAge(record, Date()).empty() ||
            CalibrationTexts::calibratedFor(record).empty())
            std::abort();
        static_cast<void>(CalibrationTexts::targetMismatch(record, 79));
    }
    if (store.recordsByDeviceUID.get().empty())
        return 0;
    // Removing rewrites the rest, one record or all.
    const std::string uid = store.recordsByDeviceUID.get().begin()->first;
    store.remove(uid);
    const TargetCalibrationStore again(defaults);
    if (again.record(uid) || again.recordsByDeviceUID.get().size() != store.recordsByDeviceUID.get().size())
        std::abort();
    return 0;
}

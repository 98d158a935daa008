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
    const auto count = store.recordsByDeviceUID.get().size();
    store.remove("no such output, which fuzzing doesn't guess");
    if (TargetCalibrationStore(defaults).recordsByDeviceUID.get().size() != count)
        std::abort();
    return 0;
}

// SPDX-License-Identifier: GPL-3.0-or-later
// What lies under the keys of the microphone's correction and of the saved profiles: it either does not
// decode, or decodes to what is written and read back as the same, and can be checked and applied to sound.
#include <base/VirtualMainLoop.h>
#include <calibration/CalibrationProfileStore.h>
#include <calibration/CalibrationTrust.h>
#include <calibration/FilterCheck.h>
#include <level/BlockProcessor.h>
#include <level/MicFrequencyCorrection.h>
#include <platform/MemoryDefaultsStore.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

using namespace velmor;

void useCorrection(const DefaultsData& stored)
{
    MemoryDefaultsStore defaults;
    defaults.set(MicFrequencyCorrection::profileKey, stored);
    defaults.set(MicFrequencyCorrection::enabledKey, true);
    MicFrequencyCorrection correction(defaults);
    const auto profile = correction.profile.get();
    if (!profile)
        return;
    if (!std::isfinite(filterDeparture(*profile)))
        std::abort();
    BlockProcessor processor(94);
    processor.setMicFreqCorrection(&correction);
    processor.prepare(48000);
    std::array<float, 1024> block;
    block.fill(0.5F);
    processor.process(block.data(), block.size());
    processor.process(block.data(), block.size());
    if (!std::isfinite(processor.smoothedDBA()) || !std::isfinite(processor.smoothedDBC()))
        std::abort();
    correction.save(*profile);
    if (MicFrequencyCorrection(defaults).profile.get()->taps != profile->taps)
        std::abort();
}

void useSavedProfiles(const DefaultsData& stored)
{
    static VirtualMainLoop loop{Date()};
    MemoryDefaultsStore defaults;
    defaults.set(CalibrationProfileStore::defaultsKey, stored);
    CalibrationProfileStore store(loop, defaults);
    if (store.profiles.get().empty())
        return;
    MicFrequencyCorrection correction(defaults);
    CalibrationProfileStore::apply(store.profiles.get().front(), correction);
    const auto count = store.profiles.get().size();
    store.remove(makeUuid());
    if (CalibrationProfileStore(loop, defaults).profiles.get().size() != count)
        std::abort();
}

void useCalibrationRecord(const DefaultsData& stored)
{
    MemoryDefaultsStore defaults;
    defaults.set(CalibrationTrustService::defaultsKey, stored);
    CalibrationTrustService trust(defaults);
    if (!trust.record())
        return;
    CalibrationFacts facts;
    facts.offset = trust.record()->offset;
    facts.chain.volumeGain = 0.5;
    facts.chain.correctionGainDB = 1;
    trust.update(facts);
    trust.trust.get().ageInDays(Date());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const DefaultsData stored = dataOf({reinterpret_cast<const char*>(data), size});
    useCorrection(stored);
    useSavedProfiles(stored);
    useCalibrationRecord(stored);
    return 0;
}

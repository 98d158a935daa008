// SPDX-License-Identifier: GPL-3.0-or-later
// What lies under the widget record's key: it either does not decode, or decodes to a record that can be
// written and read back as the same, and of which a line can be made.
#include <integrations/VelmorWidgetSnapshot.h>
#include <platform/MemoryDefaultsStore.h>
#include <widget/WidgetLine.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace velmor;
    static const Calendar calendar = Calendar::inZone("Europe/Berlin").value();
    const auto decoded = VelmorWidgetSnapshot::decoded({reinterpret_cast<const char*>(data), size});
    if (!decoded)
        return 0;
    const WidgetLine line(*decoded, calendar, decoded->updatedAt);
    if (line.text().empty() || line.json() == "{}")
        std::abort();
    MemoryDefaultsStore suite;
    decoded->save(suite);
    // The moment has the precision of a double that counts seconds.
    VelmorWidgetSnapshot again = VelmorWidgetSnapshot::load(suite);
    const double driftSeconds = secondsBetween(decoded->updatedAt, again.updatedAt);
    if (driftSeconds > 1e-6 || driftSeconds < -1e-6)
        std::abort();
    again.updatedAt = decoded->updatedAt;
    if (again != *decoded)
        std::abort();
    return 0;
}

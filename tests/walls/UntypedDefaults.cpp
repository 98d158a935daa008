// SPDX-License-Identifier: GPL-3.0-or-later
#include <platform/MemoryDefaultsStore.h>

bool read(const velmor::DefaultsStore& store);
bool read(const velmor::DefaultsStore& store)
{
#ifdef VELMOR_ALLOWED
    return store.get<bool>("key").value_or(false);
#else
    return store.get<short>("key").value_or(0) != 0;
#endif
}

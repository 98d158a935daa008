// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/SettingsSchema.h>

#include <gio/gio.h>

#include <algorithm>

namespace velmor {

bool areSettingsInstalled(const char* schemaID, std::initializer_list<const char*> keys)
{
    GSettingsSchemaSource* const source = g_settings_schema_source_get_default();
    GSettingsSchema* const schema =
        source ? g_settings_schema_source_lookup(source, schemaID, TRUE) : nullptr;
    if (!schema)
        return false;
    const bool hasKeys = std::ranges::all_of(
        keys, [schema](const char* key) { return g_settings_schema_has_key(schema, key) != FALSE; });
    g_settings_schema_unref(schema);
    return hasKeys;
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <initializer_list>

namespace velmor {

/// Whether GSettings of that schema are installed, with these keys. Asking for settings that aren't would end
/// the program.
bool areSettingsInstalled(const char* schemaID, std::initializer_list<const char*> keys);

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/BusInterface.h>

#include <string>
#include <string_view>

class QString;
class QVariant;

namespace velmor {

QString qText(std::string_view text);
std::string text(const QString& text);

/// Once, before anything else travels.
void registerBusTypes();

/// As Qt sends it.
QVariant variantFrom(const BusValue& value);

/// As it has arrived: a Boolean, any whole number, a double, a text or texts. Anything else is an empty
/// dictionary.
BusValue valueFrom(const QVariant& variant);

} // namespace velmor

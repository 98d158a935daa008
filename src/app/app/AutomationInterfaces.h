// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/VelmorIntentSupport.h>
#include <app/VelmorSessionFocusFilter.h>
#include <platform/BusInterface.h>

namespace velmor {

/// What other programs may ask of this one on the session bus. docs/d-bus.md tells them how.
namespace AutomationInterfaces {

/// A method for each intent, with the texts for display, and the lists of intents and shortcuts. Errors are
/// named after the cases of VelmorIntentError.
BusInterface intents(const VelmorIntentSupport& support);

/// The Focus filter, and whether Do Not Disturb calls it.
BusInterface focusFilter(const VelmorIntentSupport& support, VelmorSessionFocusFilter& filter);

/// The levels of this moment, for those who follow them. A value that isn't measured is left out.
BusDictionary levels(const VelmorIntentSupport& support);

} // namespace AutomationInterfaces

} // namespace velmor

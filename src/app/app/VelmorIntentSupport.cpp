// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/VelmorIntentSupport.h>

#include <integrations/VelmorIntentRecords.h>

namespace velmor {

std::shared_ptr<AppState> VelmorIntentSupport::resolve() const
{
    auto appState = m_appState.lock();
    if (!appState)
        throw VelmorIntentError(VelmorIntentError::Case::appNotReady);
    return appState;
}

} // namespace velmor

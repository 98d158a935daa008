// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppSettings.h>
#include <ui/SettingsPage.h>

namespace velmor {

/// What the floating panel shows, and how it opens and closes.
class SettingsPanelTab final : public SettingsPage
{
public:
    explicit SettingsPanelTab(AppSettings& settings);
};

} // namespace velmor

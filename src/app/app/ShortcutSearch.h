// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/IntentActions.h>
#include <app/VelmorIntentSupport.h>
#include <app/VelmorIntents.h>
#include <platform/DesktopSearch.h>

#include <optional>
#include <string_view>
#include <vector>

namespace velmor {

/// Finds the shortcuts by their phrases. Those that read show their answer as the result itself; the others
/// are performed when they are chosen. Main thread.
class ShortcutSearch final : public SearchSource
{
public:
    ShortcutSearch(const VelmorIntentSupport& support, IntentActions& actions);

    /// Each word that was typed is the begin of one of the phrase's words. Case and ASCII punctuation don't
    /// count, and less than three letters find nothing, nor does more than a line of text.
    std::vector<SearchResult> find(std::string_view text) const override;
    std::optional<SearchResult> result(std::string_view id) const override;
    void choose(std::string_view id) override { m_actions.perform(id); }

private:
    SearchResult shown(const VelmorAppShortcut& shortcut) const;

    const VelmorIntentSupport& m_support;
    IntentActions& m_actions;
};

} // namespace velmor

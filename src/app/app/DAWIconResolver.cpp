// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/DAWIconResolver.h>

#include <integrations/Constants.h>

#include <algorithm>

namespace velmor {

std::optional<ApplicationIcon> DAWIconResolver::icon(const std::string& dawName)
{
    if (const auto cached = m_iconCache.find(dawName); cached != m_iconCache.end())
        return cached->second;
    const auto bundleID = bundleIDOf(dawName);
    const auto location = bundleID ? m_workspace.applicationLocation(*bundleID) : std::nullopt;
    const auto icon = location ? m_workspace.icon(*location) : std::nullopt;
    if (icon)
        m_iconCache.emplace(dawName, *icon);
    return icon;
}

std::optional<std::string> DAWIconResolver::bundleIDOf(const std::string& dawName) const
{
    const auto hasTheName = [&dawName](const auto& entry) { return entry.second == dawName; };
    const auto& known = Constants::knownDAWBundleIDs;
    if (const auto found = std::ranges::find_if(known, hasTheName); found != known.end())
        return found->first;
    const auto custom = m_defaults.get<DefaultsDictionary>(Constants::customDAWsKey);
    if (!custom)
        return std::nullopt;
    const auto found = std::ranges::find_if(*custom, hasTheName);
    return found != custom->end() ? std::optional(found->first) : std::nullopt;
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DefaultsStore.h>
#include <platform/Workspace.h>

#include <map>
#include <optional>
#include <string>

namespace velmor {

/// Turns the displayed name of a workstation back into its icon. Main thread.
class DAWIconResolver
{
public:
    DAWIconResolver(const Workspace& workspace, const DefaultsStore& defaults)
        : m_workspace(workspace)
        , m_defaults(defaults)
    {}

    /// Absent for a name that no entry has, and for a program that isn't installed: such a name is looked
    /// up again each time.
    std::optional<ApplicationIcon> icon(const std::string& dawName);

    void clearCache() { m_iconCache.clear(); }

private:
    std::optional<std::string> bundleIDOf(const std::string& dawName) const;

    const Workspace& m_workspace;
    const DefaultsStore& m_defaults;
    std::map<std::string, ApplicationIcon> m_iconCache; ///< By name.
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/DefaultsStore.h>
#include <platform/Workspace.h>

#include <string>

namespace velmor {

/// Hands the position of the monitor controller to one of the three reference slots of a monitor control
/// program. Nothing comes back from there. Main thread.
class VeskIntegration
{
public:
    static constexpr int slotCount = 3;

    VeskIntegration(Workspace& workspace, DefaultsStore& defaults);

    /// Whether some program opens its URLs. It is not started by this.
    bool isInstalled() const;

    /// Opens the URL that has a level saved. \param slot 1 to 3. \param dBSPL 0 to 140. False for values
    /// beyond these, and where no program takes the URL; true says not that anything was saved.
    bool saveReference(int slot, const std::string& name, double dBSPL);

    /// The slot that was last sent to; 0 before the first.
    int lastUsedSlot() const;
    void setLastUsedSlot(int slot);

    /// The slot to begin with: the last one, or the second.
    int initialSlot() const;

    /// What a calibration for a level is called, as in K-14 for 79 dBA.
    static std::string suggestedName(double targetDBA);

private:
    Workspace& m_workspace;
    DefaultsStore& m_defaults;
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/SoftwareUpdater.h>

namespace velmor::test {

/// Looks for no new versions.
class NoSoftwareUpdater final : public SoftwareUpdater
{
public:
    void checkForUpdates() override {}
    Subscription onOutcome(const std::function<void(const UpdateOutcome&)>&) override { return {}; }
};

} // namespace velmor::test

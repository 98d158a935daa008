// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SettingsDriver.h"

#include <support/PopoverStates.h>

#include <gtest/gtest.h>

#include <QSpinBox>
#include <QTest>

#include <memory>
#include <optional>

namespace velmor::test {

/// The settings window over a hub in memory, driven by its controls.
class SettingsFixture : public ::testing::Test, protected SettingsDriver
{
protected:
    ~SettingsFixture() override { window.reset(); }

    void open(SettingsTab tab)
    {
        window = std::make_unique<SettingsView>(*posed.hub, posed.host.defaults, posed.host.workspace,
                                                [this] { ++importerRequests; });
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        window->select(tab);
        QCoreApplication::processEvents();
    }

    /// Lets the hub tell the window.
    void settle()
    {
        posed.settle();
        QTest::qWait(150);
    }

    template <typename Value>
    std::optional<Value> stored(const char* key) const
    {
        return posed.host.defaults.template get<Value>(key);
    }

    PosedHub posed;
    int importerRequests = 0;
};

} // namespace velmor::test

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Calendar.h>
#include <base/VirtualMainLoop.h>
#include <exposure/DoseCalculator.h>
#include <platform/MemoryDefaultsStore.h>
#include <sessions/SessionManager.h>
#include <support/FakeNotificationCenter.h>
#include <support/TemporaryFolder.h>

#include <memory>
#include <optional>
#include <string>

namespace velmor::test {

/// What a session manager lives on: a folder, a store, a clock.
struct SessionWorld
{
    using Bundle = SessionManager::Bundle;

    TemporaryFolder folder;
    VirtualMainLoop loop{dateFromIsoText("2026-03-02T09:00:00Z").value()};
    MemoryDefaultsStore defaults;
    Calendar calendar = Calendar::inZone("UTC").value();
    FakeNotificationCenter notifications;
    DoseCalculator dose{loop, defaults, calendar};

    std::unique_ptr<SessionManager> manager(std::optional<SessionStorage> storage = {},
                                            Bundle bundle = Bundle::installed)
    {
        return std::make_unique<SessionManager>(loop, defaults, calendar, notifications,
                                                storage.value_or(SessionStorage::inFolder(folder.path())),
                                                bundle);
    }

    std::filesystem::path historyFile() const { return folder / "sessions.json"; }
    std::string history() const { return contentOf(historyFile()); }

    /// A session of a minute, from start to end.
    void runSession(SessionManager& sessions, const std::string& name, double level = 80)
    {
        sessions.startSession(name);
        for (int i = 0; i < 6; ++i) {
            loop.runFor(10);
            sessions.updateCurrentSession(level, level + 3, level + 20, level + 10, 0);
            sessions.addReading(level, level + 3, 0, Zone::onTarget);
            sessions.recordProgress(dose, {});
        }
        sessions.endSession(dose, {});
    }
};

} // namespace velmor::test

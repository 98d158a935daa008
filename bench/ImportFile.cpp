// SPDX-License-Identifier: GPL-3.0-or-later
// Imports an export file into stores of its own, and prints how many milliseconds that took and the most
// memory that this process had, in MiB.
#include "ProcessFigures.h"

#include <base/VirtualMainLoop.h>
#include <integrations/TovikImporter.h>
#include <platform/MemoryDefaultsStore.h>
#include <support/FakeNotificationCenter.h>
#include <support/TemporaryFolder.h>

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>

#include <unistd.h>

int main(int argumentCount, char** arguments)
{
    using namespace velmor;
    if (argumentCount != 2)
        return 2;
    const test::TemporaryFolder folder;
    VirtualMainLoop loop(dateFromIsoText("2026-03-02T09:00:00Z").value());
    MemoryDefaultsStore defaults;
    const Calendar calendar = Calendar::inZone("UTC").value();
    test::FakeNotificationCenter notifications;
    SessionManager sessions(loop, defaults, calendar, notifications,
                            SessionStorage::inFolder(folder.path(), SessionStorage::Retention::none),
                            SessionManager::Bundle::none);
    const auto begin = std::chrono::steady_clock::now();
    const ImportResult result =
        TovikImporter::importFromFile(arguments[1], {defaults, sessions, calendar, loop.now()});
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
    fmt::print("{} {}\n", taken.count(), bench::memory(::getpid(), "VmHWM"));
    return result.sessionCount > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

// SPDX-License-Identifier: GPL-3.0-or-later
// Runs sessions through the hub, one after the other, as fast as they go, until it is killed. Notes how
// far it has come in a page shared with the test.
#include <base/Print.h>
#include <support/HubHost.h>
#include <support/SessionPage.h>

#include <chrono>
#include <string>

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3)
        return 2;
    using namespace velmor;
    setPrintedLines(PrintedLines::nowhere);
    test::SessionPage page(arguments[2]);
    test::HubHost host;
    host.loop.setClock(host.loop.now() + std::chrono::seconds(page->secondsPassed.load()));
    host.storage = SessionStorage::inFolder(arguments[1]);
    AppState hub(host.host());
    page->isReady = 1;
    while (true) {
        page->readings = 0;
        ++page->started;
        hub.startSession("session " + std::to_string(page->started.load()));
        page->isRunning = 1;
        // Few enough for sessions to end before the kill.
        for (int reading = 0; reading < 6; ++reading) {
            test::setLevels(hub, 80 + reading % 7, 85);
            host.loop.runFor(10);
            page->secondsPassed += 10;
            ++page->readings;
        }
        hub.endSession();
        ++page->ended;
        page->isRunning = 0;
    }
}

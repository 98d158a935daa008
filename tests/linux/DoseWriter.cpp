// SPDX-License-Identifier: GPL-3.0-or-later
// Adds dose ten times a second, as the hub does, until it is killed. Notes the dose that it has in
// memory in a page shared with the test.
#include <exposure/DoseCalculator.h>
#include <linux/PollMainLoop.h>
#include <linux/SqliteDefaultsStore.h>
#include <support/DosePage.h>

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 4)
        return 2;
    using namespace velmor;
    test::DosePage page(arguments[2]);
    const Calendar calendar = Calendar::inZone(arguments[3]).value();
    PollMainLoop loop;
    SqliteDefaultsStore defaults(loop, arguments[1]);
    DoseCalculator calculator(loop, defaults, calendar);
    calculator.restorePersistedDose();
    page->restoredDose = calculator.accumulatedDose;
    page->restoredPeakCount = calculator.peakCount135;
    const Timer timer = loop.every(0.1, [&] {
        calculator.addMeasurement(100, 100, 136, 100, loop.now());
        page->dose = calculator.accumulatedDose;
        page->peakCount = calculator.peakCount135;
    });
    page->isReady = 1;
    loop.run();
}

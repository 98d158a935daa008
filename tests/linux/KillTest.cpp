// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>
#include <exposure/DoseCalculator.h>
#include <linux/SqliteDefaultsStore.h>
#include <support/DosePage.h>
#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <random>
#include <thread>

namespace velmor {
namespace {

using namespace std::chrono_literals;

TEST(KilledProcess, HasLostAtMostTwoTenthsOfASecondOfExposureAndNothingElse)
{
    const test::TemporaryFolder folder;
    const std::string file = folder / "defaults.sqlite";
    const std::string pageFile = folder / "page";
    test::DosePage page(pageFile.c_str());
    const std::string program = test::programPath("velmor-dose-writer");
    // A zone in which no midnight is near, which would begin the dose anew.
    const auto sinceMidnight = std::chrono::system_clock::now().time_since_epoch() % 24h;
    const std::string zone = sinceMidnight < 12h ? "UTC" : "Etc/GMT+12";
    const Calendar calendar = Calendar::inZone(zone).value();

    // Something else that must survive.
    {
        VirtualMainLoop loop(std::chrono::system_clock::now());
        SqliteDefaultsStore(loop, file).set("name", std::string("Mix room"));
    }

    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 generator(seed);
    std::uniform_int_distribution<int> milliseconds(0, 700);
    // 15 minutes are allowed at 100 dBA.
    constexpr double dosePerSecond = 1.0 / 900;
    double doseBefore = 0;
    std::int64_t countBefore = 0;
    for (int round = 0; round < 50; ++round) {
        page->isReady = 0;
        page->dose = 0;
        page->peakCount = 0;
        const pid_t process = test::spawn({program, file, pageFile, zone}, folder / "output");
        for (int i = 0; i < 2000 && page->isReady == 0; ++i)
            std::this_thread::sleep_for(5ms);
        ASSERT_EQ(page->isReady, 1) << "the writer did not start";
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds(generator)));
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
        EXPECT_EQ(test::contentOf(folder / "output"), "") << "round " << round;

        // What it had in memory; before its first tick that is what it had restored.
        const double dose = std::max(page->dose.load(), page->restoredDose.load());
        const std::int64_t count = std::max(page->peakCount.load(), page->restoredPeakCount.load());
        EXPECT_GE(page->restoredDose, doseBefore - 0.2 * dosePerSecond) << "round " << round;
        EXPECT_LE(page->restoredDose, doseBefore) << "round " << round;
        EXPECT_GE(page->restoredPeakCount, countBefore - 2) << "round " << round;
        doseBefore = dose;
        countBefore = count;
    }

    VirtualMainLoop loop(std::chrono::system_clock::now());
    SqliteDefaultsStore defaults(loop, file);
    DoseCalculator calculator(loop, defaults, calendar);
    calculator.restorePersistedDose();
    EXPECT_GT(calculator.accumulatedDose, 5 * dosePerSecond);
    EXPECT_GE(calculator.accumulatedDose, doseBefore - 0.2 * dosePerSecond);
    EXPECT_EQ(defaults.get<std::string>("name"), "Mix room");
    EXPECT_THAT(folder.names(), testing::Not(testing::Contains(testing::HasSubstr("damaged"))));
}

} // namespace
} // namespace velmor

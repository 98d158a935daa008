// SPDX-License-Identifier: GPL-3.0-or-later
#include <integrations/VelmorWidgetSnapshot.h>
#include <linux/PollMainLoop.h>
#include <linux/SqliteDefaultsReader.h>
#include <linux/SqliteDefaultsStore.h>
#include <support/CapturedOutput.h>
#include <support/NumberedSnapshot.h>
#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>

namespace velmor {
namespace {

class SnapshotSharingTest : public testing::Test
{
protected:
    test::TemporaryFolder folder;
    const std::filesystem::path file = folder / "suite.sqlite";
    const SqliteDefaultsReader reader{file};
};

TEST_F(SnapshotSharingTest, AReaderSeesWholeRecordsInTheirOrderWhileTenThousandAreWritten)
{
    constexpr int count = 10000;
    {
        PollMainLoop loop;
        SqliteDefaultsStore suite(loop, file);
        test::numberedSnapshot(0).save(suite);
    }
    const pid_t writer =
        test::spawn({test::programPath("velmor-snapshot-writer"), file, std::to_string(count)});
    int last = 0;
    int reads = 0;
    int changes = 0;
    bool hasEnded = false;
    while (!hasEnded) {
        // The last read comes after the end.
        hasEnded = ::waitpid(writer, nullptr, WNOHANG) != 0;
        const auto snapshot = VelmorWidgetSnapshot::load(reader);
        const int number = static_cast<int>(snapshot.streakDays);
        ASSERT_TRUE(snapshot.hasData()) << "read " << reads << " after " << last;
        ASSERT_EQ(snapshot, test::numberedSnapshot(number));
        ASSERT_GE(number, last);
        changes += number != last ? 1 : 0;
        last = number;
        ++reads;
    }
    EXPECT_EQ(last, count);
    EXPECT_GT(changes, 100);
    RecordProperty("reads", reads);
}

TEST_F(SnapshotSharingTest, WithoutAFileOrWithAnotherOneThereIsNoRecordAndNothingIsMade)
{
    EXPECT_EQ(VelmorWidgetSnapshot::load(reader), VelmorWidgetSnapshot());
    EXPECT_TRUE(folder.names().empty());
    test::writeFile(file, "no database at all, but long enough to be looked at as one would be");
    EXPECT_EQ(VelmorWidgetSnapshot::load(reader), VelmorWidgetSnapshot());
    EXPECT_EQ(folder.names(), std::vector<std::string>{"suite.sqlite"});
}

TEST_F(SnapshotSharingTest, ASuiteThatCanNotBeWrittenIsNotTalkedAbout)
{
    test::CapturedOutput output;
    {
        PollMainLoop loop;
        SqliteDefaultsStore suite(loop, folder / "missing/suite.sqlite", SqliteDefaultsStore::Trouble::kept);
        VelmorWidgetSnapshot::sample(Date()).save(suite);
    }
    test::writeFile(file, "damaged, and long enough for the first page of a database to be looked for in it");
    {
        PollMainLoop loop;
        SqliteDefaultsStore suite(loop, file, SqliteDefaultsStore::Trouble::kept);
        test::numberedSnapshot(7).save(suite);
    }
    EXPECT_EQ(VelmorWidgetSnapshot::load(reader), test::numberedSnapshot(7));
    EXPECT_EQ(output.text(), "");
}

TEST_F(SnapshotSharingTest, AReaderThatIsToldSeesTheRecordThatItIsToldOf)
{
    PollMainLoop loop;
    SqliteDefaultsStore suite(loop, file);
    constexpr int count = 200;
    int told = 0;
    std::vector<int> late;
    const std::function<void(int)> write = [&](int number) {
        test::numberedSnapshot(number).save(suite);
        suite.whenWritten([&, number] {
            if (VelmorWidgetSnapshot::load(reader).streakDays < number)
                late.push_back(number);
            if (++told == count)
                loop.quit();
        });
    };
    // Several in a turn, and some while others are being written.
    for (int i = 1; i <= count; i += 2) {
        loop.after(i * 1e-4, [&, i] {
            write(i);
            write(i + 1);
        });
    }
    loop.run();
    EXPECT_EQ(late, std::vector<int>());
    // With nothing to write it is told as well.
    suite.whenWritten([&] { loop.quit(); });
    loop.run();
}

TEST_F(SnapshotSharingTest, ADatabaseOfAnotherKindIsSetAside)
{
    sqlite3* database = nullptr;
    ::sqlite3_open(file.c_str(), &database);
    ::sqlite3_exec(database, "CREATE TABLE defaults(key TEXT, type TEXT, value)", nullptr, nullptr, nullptr);
    ::sqlite3_close(database);
    {
        PollMainLoop loop;
        SqliteDefaultsStore suite(loop, file, SqliteDefaultsStore::Trouble::kept);
        test::numberedSnapshot(3).save(suite);
    }
    EXPECT_EQ(VelmorWidgetSnapshot::load(reader), test::numberedSnapshot(3));
}

} // namespace
} // namespace velmor

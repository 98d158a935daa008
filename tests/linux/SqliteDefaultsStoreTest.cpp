// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/VirtualMainLoop.h>
#include <linux/SqliteDefaultsStore.h>
#include <support/SmallDisk.h>
#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace velmor {
namespace {

using test::contentOf;
using test::TemporaryFolder;
using test::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

constexpr uid_t ordinaryUser = 65534;

/// Root may write everywhere: steps down to somebody else for a while.
class AsOrdinaryUser
{
public:
    AsOrdinaryUser()
    {
        if (m_isRoot) {
            EXPECT_EQ(::seteuid(ordinaryUser), 0);
        }
    }
    ~AsOrdinaryUser()
    {
        if (m_isRoot) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }

private:
    bool m_isRoot = ::geteuid() == 0;
};

class SqliteDefaultsStoreTest : public testing::Test
{
protected:
    /// One number that another program reads from the file.
    int readByAnother(const std::string& sql) const
    {
        sqlite3* database = nullptr;
        ::sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
        sqlite3_stmt* statement = nullptr;
        ::sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr);
        int number = -1;
        if (statement && ::sqlite3_step(statement) == SQLITE_ROW)
            number = ::sqlite3_column_int(statement, 0);
        ::sqlite3_finalize(statement);
        ::sqlite3_close(database);
        return number;
    }

    void executeByAnother(const std::string& sql) const
    {
        sqlite3* database = nullptr;
        ::sqlite3_open(file.c_str(), &database);
        EXPECT_EQ(::sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
        ::sqlite3_close(database);
    }

    std::unique_ptr<SqliteDefaultsStore> open() { return std::make_unique<SqliteDefaultsStore>(loop, file); }

    /// What opening the store prints.
    std::string openPrinting(std::unique_ptr<SqliteDefaultsStore>& store)
    {
        CaptureStdout();
        store = open();
        return GetCapturedStdout();
    }

    VirtualMainLoop loop{dateFromIsoText("2026-03-02T09:00:00Z").value()};
    TemporaryFolder folder;
    const std::filesystem::path file = folder / "defaults.sqlite";
};

TEST_F(SqliteDefaultsStoreTest, ValuesOfEachTypeSurviveARestart)
{
    const Date date = loop.now() + std::chrono::nanoseconds(1);
    const DefaultsData data = {std::byte(0), std::byte(1), std::byte(255)};
    {
        const auto store = open();
        store->set("yes", true);
        store->set("no", false);
        store->set("count", std::int64_t(-5));
        store->set("level", 94.0);
        store->set("name", std::string("Größe"));
        store->set("empty", std::string());
        store->set("data", data);
        store->set("noData", DefaultsData());
        store->set("date", date);
        loop.runPosted();
    }
    const auto store = open();
    EXPECT_EQ(store->get<bool>("yes"), true);
    EXPECT_EQ(store->get<bool>("no"), false);
    EXPECT_EQ(store->get<std::int64_t>("count"), -5);
    EXPECT_EQ(store->get<double>("level"), 94.0);
    EXPECT_EQ(store->get<std::string>("name"), "Größe");
    EXPECT_EQ(store->get<std::string>("empty"), "");
    EXPECT_EQ(store->get<DefaultsData>("data"), data);
    EXPECT_EQ(store->get<DefaultsData>("noData"), DefaultsData());
    EXPECT_EQ(store->get<Date>("date"), date);
}

TEST_F(SqliteDefaultsStoreTest, AMissingKeyDiffersFromAStoredFalseAndTypesAreKeptApart)
{
    const auto store = open();
    EXPECT_EQ(store->value("flag"), std::nullopt);
    store->set("flag", false);
    EXPECT_EQ(store->value("flag"), DefaultsValue(false));
    EXPECT_EQ(store->get<std::int64_t>("flag"), std::nullopt);
    EXPECT_EQ(store->get<double>("flag"), std::nullopt);
    store->set("flag", std::int64_t(0));
    EXPECT_EQ(store->get<bool>("flag"), std::nullopt);
    EXPECT_EQ(store->get<std::int64_t>("flag"), 0);
}

TEST_F(SqliteDefaultsStoreTest, RemovedKeysStayAway)
{
    {
        const auto store = open();
        store->set("a", true);
        store->set("b", true);
        loop.runPosted();
        store->remove("a");
        store->remove("never there");
        EXPECT_EQ(store->value("a"), std::nullopt);
    }
    const auto store = open();
    EXPECT_EQ(store->value("a"), std::nullopt);
    EXPECT_EQ(store->value("b"), DefaultsValue(true));
}

TEST_F(SqliteDefaultsStoreTest, ChangesAreVisibleAtOnceAndCommittedTogetherAfterTheTurn)
{
    const auto store = open();
    store->set("a", std::int64_t(1));
    store->set("b", std::int64_t(1));
    store->set("a", std::int64_t(2));
    EXPECT_EQ(store->get<std::int64_t>("a"), 2);
    EXPECT_EQ(readByAnother("SELECT count(*) FROM defaults"), 0);

    // A reader that looks all the time sees none of the turn's changes or all of them.
    for (int i = 0; i < 200; ++i)
        store->set("key " + std::to_string(i), true);
    loop.runPosted();
    int count = 0;
    while (count == 0)
        count = readByAnother("SELECT count(*) FROM defaults");
    EXPECT_EQ(count, 202);
    EXPECT_EQ(readByAnother("SELECT value FROM defaults WHERE key = 'a'"), 2);
}

TEST_F(SqliteDefaultsStoreTest, TheFilesAreForTheirOwnerAlone)
{
    writeFile(file, "");
    ::chmod(file.c_str(), 0644);
    const auto store = open();
    store->set("a", true);
    loop.runPosted();
    store->flush();
    ASSERT_THAT(folder.names(), ElementsAre("defaults.sqlite", "defaults.sqlite-shm", "defaults.sqlite-wal"));
    for (const auto& name : folder.names()) {
        struct stat status = {};
        ::stat((folder / name).c_str(), &status);
        EXPECT_EQ(status.st_mode & 0777, 0600U) << name;
    }
}

TEST_F(SqliteDefaultsStoreTest, TheFilesRowsAreReadableAndAForeignOneIsNoValue)
{
    {
        open()->set("level", 94.0);
    }
    executeByAnother("INSERT INTO defaults VALUES('odd', 'integer', 'text'), ('kind', 'colour', 1),"
                     "('blob', x'00', 1), ('nothing', 'double', NULL)");
    const auto store = open();
    EXPECT_EQ(store->get<double>("level"), 94.0);
    EXPECT_EQ(readByAnother("SELECT count(*) FROM defaults WHERE key = 'level' AND type = 'double'"), 1);
    for (const char* key : {"odd", "kind", "blob", "nothing"})
        EXPECT_EQ(store->value(key), std::nullopt) << key;
    EXPECT_EQ(readByAnother("SELECT count(*) FROM defaults"), 5);
}

TEST_F(SqliteDefaultsStoreTest, AFileThatIsNoDatabaseIsSetAsideWithOneLine)
{
    const std::string garbage(5000, '?');
    writeFile(file, garbage);
    std::unique_ptr<SqliteDefaultsStore> store;
    const std::string aside = file.native() + ".damaged-2026-03-02T09:00:00Z";
    EXPECT_EQ(openPrinting(store), "[Velmor] Defaults store " + file.native() +
                                       " is damaged (file is not a database) — set aside as " + aside + "\n");
    EXPECT_EQ(contentOf(aside), garbage);
    EXPECT_EQ(store->value("a"), std::nullopt);
    store->set("a", true);
    store.reset();

    // A second time within the second: another name, and nothing is lost.
    writeFile(file, garbage);
    EXPECT_THAT(openPrinting(store), HasSubstr("set aside as " + aside + "-2\n"));
    EXPECT_EQ(contentOf(aside + "-2"), garbage);
}

TEST_F(SqliteDefaultsStoreTest, ADamagedDatabaseIsSetAside)
{
    {
        const auto store = open();
        for (int i = 0; i < 500; ++i)
            store->set("key " + std::to_string(i), std::string(100, 'x'));
        loop.runPosted();
    }
    std::string content = contentOf(file);
    ASSERT_GT(content.size(), 20000U);
    content.replace(9000, 4000, 4000, '\xA5');
    writeFile(file, content);
    std::unique_ptr<SqliteDefaultsStore> store;
    EXPECT_THAT(openPrinting(store), HasSubstr("is damaged"));
    EXPECT_EQ(store->value("key 1"), std::nullopt);
    EXPECT_EQ(contentOf(file.native() + ".damaged-2026-03-02T09:00:00Z"), content);
    store->set("a", true);
    store.reset();
    EXPECT_EQ(openPrinting(store), "");
    EXPECT_EQ(store->value("a"), DefaultsValue(true));
}

TEST_F(SqliteDefaultsStoreTest, ADatabaseOfSomethingElseIsSetAside)
{
    executeByAnother("CREATE TABLE defaults(something INTEGER)");
    std::unique_ptr<SqliteDefaultsStore> store;
    EXPECT_THAT(openPrinting(store), HasSubstr("is damaged (no such column: key) — set aside as "));
    store->set("a", true);
    store.reset();
    EXPECT_EQ(open()->value("a"), DefaultsValue(true));
}

TEST_F(SqliteDefaultsStoreTest, TheFileTruncatedAtAnyLengthOpens)
{
    {
        const auto store = open();
        store->set("a", true);
        store->set("b", std::string(300, 'x'));
        loop.runPosted();
    }
    const std::string content = contentOf(file);
    ASSERT_GE(content.size(), 8192U);
    for (std::size_t length = 0; length < content.size(); length += 61) {
        const TemporaryFolder other;
        writeFile(other / "defaults.sqlite", std::string_view(content).substr(0, length));
        CaptureStdout();
        {
            SqliteDefaultsStore store(loop, other / "defaults.sqlite");
            store.set("c", true);
        }
        SqliteDefaultsStore again(loop, other / "defaults.sqlite");
        EXPECT_EQ(again.value("c"), DefaultsValue(true)) << length;
        GetCapturedStdout();
    }
}

TEST_F(SqliteDefaultsStoreTest, AFolderInTheFilesPlaceCostsOneLineAndMemoryGoesOn)
{
    std::filesystem::create_directory(file);
    std::unique_ptr<SqliteDefaultsStore> store;
    EXPECT_EQ(openPrinting(store), "[Velmor] Defaults store " + file.native() +
                                       " can't be written (Is a directory) — settings are kept in memory\n");
    CaptureStdout();
    store->set("a", true);
    EXPECT_EQ(store->value("a"), DefaultsValue(true));
    loop.runPosted();
    store->flush();
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_TRUE(std::filesystem::is_directory(file));
}

TEST_F(SqliteDefaultsStoreTest, AReadOnlyFolderCostsOneLineAndWhatIsStoredIsStillRead)
{
    {
        open()->set("a", true);
    }
    ::chmod(file.c_str(), 0444);
    ::chmod(folder.path().c_str(), 0555);
    const AsOrdinaryUser user;
    std::unique_ptr<SqliteDefaultsStore> store;
    EXPECT_EQ(openPrinting(store),
              "[Velmor] Defaults store " + file.native() +
                  " can't be written (Permission denied) — settings are kept in memory\n");
    EXPECT_EQ(store->value("a"), DefaultsValue(true));
    CaptureStdout();
    store->set("b", true);
    EXPECT_EQ(store->value("b"), DefaultsValue(true));
    loop.runPosted();
    store.reset();
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_THAT(folder.names(), ElementsAre("defaults.sqlite"));
}

TEST_F(SqliteDefaultsStoreTest, AFolderThatIsNotThereCostsOneLine)
{
    CaptureStdout();
    SqliteDefaultsStore store(loop, folder / "nowhere/defaults.sqlite");
    store.set("a", true);
    loop.runPosted();
    store.flush();
    EXPECT_EQ(store.value("a"), DefaultsValue(true));
    const std::string lines = GetCapturedStdout();
    EXPECT_THAT(lines, HasSubstr("(No such file or directory) — settings are kept in memory\n"));
    EXPECT_EQ(std::ranges::count(lines, '\n'), 1);
    EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(SqliteDefaultsStoreTest, AFullDiskCostsOneLineAndWhatWasChangedIsWrittenWhenThereIsSpace)
{
    const test::SmallDisk disk(folder.path(), "200k");
    // Not every container lets its processes mount, not even in a view of their own.
    if (!disk.problem().empty())
        GTEST_SKIP() << "no file system of its own: " << disk.problem();

    auto store = open();
    store->set("a", std::int64_t(1));
    loop.runPosted();
    store->flush();
    writeFile(folder / "filler", std::string(300000, 'f'));
    CaptureStdout();
    for (int i = 0; i < 3; ++i) {
        store->set("a", std::int64_t(2 + i));
        store->set("b", std::string(20000, static_cast<char>('x' + i)));
        loop.runPosted();
        store->flush();
    }
    const std::string lines = GetCapturedStdout();
    EXPECT_THAT(lines, HasSubstr(" — settings are kept in memory\n"));
    EXPECT_EQ(std::ranges::count(lines, '\n'), 1) << lines;
    EXPECT_EQ(store->get<std::int64_t>("a"), 4);

    std::filesystem::remove(folder / "filler");
    store->set("c", true);
    loop.runPosted();
    store.reset();
    store = open();
    EXPECT_EQ(store->get<std::int64_t>("a"), 4);
    EXPECT_EQ(store->get<std::string>("b"), std::string(20000, 'z'));
    EXPECT_EQ(store->get<bool>("c"), true);
    store.reset();
}

TEST_F(SqliteDefaultsStoreTest, WhatCouldNotBeWrittenIsTriedAgainAtTheEnd)
{
    std::filesystem::create_directory(file);
    std::unique_ptr<SqliteDefaultsStore> store;
    openPrinting(store);
    store->set("a", true);
    loop.runPosted();
    store->flush();
    std::filesystem::remove(file);
    store.reset();
    EXPECT_EQ(open()->value("a"), DefaultsValue(true));
}

TEST_F(SqliteDefaultsStoreTest, ADatabaseThatAnotherHoldsForAWhileIsWrittenLater)
{
    const auto store = open();
    sqlite3* other = nullptr;
    ::sqlite3_open(file.c_str(), &other);
    ASSERT_EQ(::sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    store->set("a", true);
    loop.runPosted();
    CaptureStdout();
    store->flush();
    EXPECT_THAT(GetCapturedStdout(), HasSubstr("(database is locked) — settings are kept in memory\n"));
    ASSERT_EQ(::sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr), SQLITE_OK);
    ::sqlite3_close(other);
    store->set("b", true);
    loop.runPosted();
    store->flush();
    EXPECT_EQ(readByAnother("SELECT count(*) FROM defaults"), 2);
}

TEST_F(SqliteDefaultsStoreTest, ALogWhoseDatabaseIsGoneIsKept)
{
    {
        const auto store = open();
        store->set("a", true);
        loop.runPosted();
        store->flush();
        std::filesystem::copy_file(file.native() + "-wal", folder / "log");
    }
    const std::string log = contentOf(folder / "log");
    ASSERT_FALSE(log.empty());
    for (const bool isEmpty : {false, true}) {
        std::filesystem::remove(file);
        if (isEmpty)
            writeFile(file, "");
        writeFile(file.native() + "-wal", log);
        std::unique_ptr<SqliteDefaultsStore> store;
        const std::string aside = file.native() + ".damaged-2026-03-02T09:00:00Z" + (isEmpty ? "-2" : "");
        EXPECT_EQ(openPrinting(store), "[Velmor] Defaults store " + file.native() +
                                           " is damaged (its log has no database) — set aside as " + aside +
                                           "\n");
        EXPECT_EQ(contentOf(aside + "-wal"), log);
        EXPECT_EQ(store->value("a"), std::nullopt);
    }
}

TEST_F(SqliteDefaultsStoreTest, ADamagedDatabaseIsSetAsideWithItsLogAsItWasFound)
{
    {
        const auto store = open();
        for (int i = 0; i < 500; ++i)
            store->set("key " + std::to_string(i), std::string(100, 'x'));
    }
    std::string database, log;
    {
        const auto store = open();
        store->set("key 1", true);
        loop.runPosted();
        store->flush();
        database = contentOf(file);
        log = contentOf(file.native() + "-wal");
    }
    ASSERT_FALSE(log.empty());
    database.replace(20000, 20000, 20000, '\xA5');
    writeFile(file, database);
    writeFile(file.native() + "-wal", log);
    std::unique_ptr<SqliteDefaultsStore> store;
    EXPECT_THAT(openPrinting(store), HasSubstr("is damaged"));
    const std::string aside = file.native() + ".damaged-2026-03-02T09:00:00Z";
    EXPECT_TRUE(contentOf(aside) == database);
    EXPECT_TRUE(contentOf(aside + "-wal") == log);
}

TEST_F(SqliteDefaultsStoreTest, TheLogIsInWriteAheadMode)
{
    {
        open()->set("a", true);
    }
    // Kept in the file's header: 2 for a write-ahead log, 1 for a rollback journal.
    EXPECT_EQ(contentOf(file)[18], 2);
    EXPECT_EQ(contentOf(file)[19], 2);
}

TEST_F(SqliteDefaultsStoreTest, AStoreThatIsGoneLeavesNoTaskBehind)
{
    {
        const auto store = open();
        store->set("a", true);
    }
    loop.runPosted();
    EXPECT_EQ(open()->value("a"), DefaultsValue(true));
}

} // namespace
} // namespace velmor

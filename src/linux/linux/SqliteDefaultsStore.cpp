// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/SqliteDefaultsStore.h>

#include <base/Print.h>
#include <linux/DefaultsEncoding.h>
#include <linux/SqliteDatabase.h>

#include <sqlite3.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmor {

namespace {

using Changes = std::map<std::string, std::optional<DefaultsValue>, std::less<>>;

constexpr auto upsertSql = "INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) "
                           "ON CONFLICT(key) DO UPDATE SET type = ?2, value = ?3";

/// How long a commit waits for another process that writes the same database.
constexpr int busyTimeoutMilliseconds = 2000;

/// Result codes of a host that can't be written or read now, as against a file that is damaged.
bool isTroubleOfTheHost(int resultCode)
{
    switch (resultCode & 0xFF) {
    case SQLITE_PERM:
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_NOMEM:
    case SQLITE_READONLY:
    case SQLITE_IOERR:
    case SQLITE_FULL:
    case SQLITE_CANTOPEN:
    case SQLITE_PROTOCOL:
    case SQLITE_AUTH:
        return true;
    default:
        return false;
    }
}

/// What became of reading a database file.
struct Opened
{
    Database database;
    MemoryDefaultsStore::Values values;
    int resultCode = SQLITE_OK;
    std::string error;

    bool succeeded() const { return resultCode == SQLITE_OK; }
};

/// Executes SQL of our own that returns no rows of interest. \return whether it succeeded.
bool execute(Opened& opened, const char* sql)
{
    opened.resultCode = ::sqlite3_exec(opened.database.get(), sql, nullptr, nullptr, nullptr);
    if (!opened.succeeded())
        opened.error = ::sqlite3_errmsg(opened.database.get());
    return opened.succeeded();
}

/// Steps through the rows of a query. \return whether it came to the last one.
bool forEachRow(Opened& opened, const char* sql, const std::function<void(sqlite3_stmt*)>& row)
{
    const Statement statement = prepared(opened.database.get(), sql);
    int result = statement ? SQLITE_ROW : ::sqlite3_errcode(opened.database.get());
    while (statement && (result = ::sqlite3_step(statement.get())) == SQLITE_ROW)
        row(statement.get());
    if (result != SQLITE_DONE) {
        opened.resultCode = ::sqlite3_extended_errcode(opened.database.get());
        opened.error = ::sqlite3_errmsg(opened.database.get());
    }
    return result == SQLITE_DONE;
}

void readValues(Opened& opened)
{
    bool isSound = true;
    const bool wasChecked = forEachRow(opened, "PRAGMA quick_check(1)", [&](sqlite3_stmt* row) {
        const auto column = columnOf(row, 0);
        const auto* verdict = std::get_if<std::string_view>(&column);
        isSound = isSound && verdict && *verdict == "ok";
    });
    if (wasChecked && !isSound) {
        opened.resultCode = SQLITE_CORRUPT;
        opened.error = "database disk image is malformed";
    }
    if (!opened.succeeded())
        return;
    forEachRow(opened, "SELECT key, type, value FROM defaults", [&](sqlite3_stmt* row) {
        const auto key = columnOf(row, 0);
        const auto type = columnOf(row, 1);
        const auto* keyText = std::get_if<std::string_view>(&key);
        const auto* typeText = std::get_if<std::string_view>(&type);
        if (!keyText || !typeText)
            return;
        if (auto value = decodeDefaultsValue(*typeText, columnOf(row, 2)))
            opened.values.emplace(*keyText, std::move(*value));
    });
}

Opened openForWriting(const std::filesystem::path& file)
{
    Opened opened;
    // SQLite would create the file with the rights that the umask leaves.
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        opened.resultCode = SQLITE_CANTOPEN;
        opened.error = std::generic_category().message(errno);
        return opened;
    }
    ::fchmod(descriptor, S_IRUSR | S_IWUSR);
    ::close(descriptor);

    sqlite3* database = nullptr;
    opened.resultCode = ::sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
    opened.database.reset(database);
    if (!opened.succeeded()) {
        opened.error = ::sqlite3_errmsg(database);
        return opened;
    }
    ::sqlite3_busy_timeout(database, busyTimeoutMilliseconds);
    // A database that turns out to be damaged is left as it was found, its log included.
    ::sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    if (execute(opened, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                        "CREATE TABLE IF NOT EXISTS defaults"
                        "(key TEXT PRIMARY KEY, type TEXT NOT NULL, value) WITHOUT ROWID"))
        readValues(opened);
    if (opened.succeeded() && !prepared(database, upsertSql)) {
        // A table of another kind is damage; a disk that fails is not.
        opened.resultCode = ::sqlite3_extended_errcode(database);
        opened.error = ::sqlite3_errmsg(database);
    }
    if (opened.succeeded())
        ::sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    return opened;
}

/// Opens the file just to see what it holds. A database without a log is read as it lies there: the
/// ordinary way would have to create files beside it.
Opened openForReading(const std::filesystem::path& file)
{
    Opened opened;
    std::error_code ignored;
    const bool hasLog = std::filesystem::exists(file.native() + "-wal", ignored);
    std::string escaped;
    for (const char c : file.native()) {
        if (c == '%' || c == '?' || c == '#')
            escaped += fmt::format("%{:02X}", static_cast<unsigned>(c));
        else
            escaped += c;
    }
    const std::string uri = "file:" + escaped + (hasLog ? "?mode=ro" : "?mode=ro&immutable=1");
    sqlite3* database = nullptr;
    opened.resultCode =
        ::sqlite3_open_v2(uri.c_str(), &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    opened.database.reset(database);
    if (opened.succeeded())
        readValues(opened);
    return opened;
}

/// A log whose database is gone holds what was last written; SQLite would delete it.
bool hasOrphanedLog(const std::filesystem::path& file)
{
    std::error_code error;
    const bool hasDatabase =
        std::filesystem::exists(file, error) && std::filesystem::file_size(file, error) > 0;
    const auto logSize = std::filesystem::file_size(file.native() + "-wal", error);
    return !hasDatabase && !error && logSize > 0;
}

/// Moves the database and what SQLite keeps beside it to a name that is not taken, the log first: left
/// alone it would be deleted. \return that name; empty where the file could not be moved.
std::filesystem::path setAside(const std::filesystem::path& file, Date now)
{
    std::error_code error;
    std::filesystem::path target = file.native() + ".damaged-" + isoText(now);
    const auto isTaken = [&error](const std::filesystem::path& name) {
        return std::filesystem::exists(name, error) || std::filesystem::exists(name.native() + "-wal", error);
    };
    for (int attempt = 2; isTaken(target); ++attempt)
        target = fmt::format("{}.damaged-{}-{}", file.native(), isoText(now), attempt);
    for (const char* suffix : {"-wal", "-shm", ""}) {
        const std::filesystem::path part = file.native() + suffix;
        if (!std::filesystem::exists(part, error))
            continue;
        std::filesystem::rename(part, target.native() + suffix, error);
        if (error)
            return {};
    }
    return target;
}

/// Opens the store's file, setting a damaged one aside. Reports what went wrong.
Opened openStore(const std::filesystem::path& file, Date now, SqliteDefaultsStore::Trouble trouble)
{
    const bool isPrinted = trouble == SqliteDefaultsStore::Trouble::printed;
    Opened opened;
    if (hasOrphanedLog(file)) {
        opened.resultCode = SQLITE_CORRUPT;
        opened.error = "its log has no database";
    } else {
        opened = openForWriting(file);
    }
    if (!opened.succeeded() && !isTroubleOfTheHost(opened.resultCode)) {
        const std::string damage = opened.error;
        opened.database.reset();
        const auto asideName = setAside(file, now);
        if (!asideName.empty()) {
            if (isPrinted) {
                printLine("Defaults store {} is damaged ({}) — set aside as {}", file.native(), damage,
                          asideName.native());
            }
            opened = openForWriting(file);
        }
    }
    if (!opened.succeeded()) {
        if (isPrinted) {
            printLine("Defaults store {} can't be written ({}) — settings are kept in memory", file.native(),
                      opened.error);
        }
        opened.database.reset();
        opened.values = openForReading(file).values;
    }
    return opened;
}

} // namespace

/// Owns the database and the thread that commits to it.
class SqliteDefaultsStore::Writer
{
public:
    /// \param database null where the file can't be written now: it is tried again with each change.
    Writer(MainLoop& loop, Database database, std::filesystem::path file, Trouble trouble)
        : m_loop(loop)
        , m_file(std::move(file))
        , m_isPrinted(trouble == Trouble::printed)
        , m_isFailing(database == nullptr)
    {
        use(std::move(database));
        m_thread = std::thread([this] { run(); });
    }

    ~Writer()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_ends = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }

    /// Main thread.
    void add(Changes&& changes)
    {
        {
            const std::lock_guard lock(m_mutex);
            for (auto& [key, value] : changes)
                m_waiting.insert_or_assign(key, std::move(value));
            ++m_added;
        }
        m_wake.notify_all();
    }

    /// Main thread. The task runs there once all that was added so far has been tried.
    void whenTried(Task task)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_tasks.emplace_back(m_added, std::move(task));
            if (m_triedUpTo != m_added)
                return;
        }
        postTasks();
    }

    /// Main thread. Returns when all that is not committed has been tried.
    void wait()
    {
        std::unique_lock lock(m_mutex);
        if (m_triedUpTo == m_added && !m_waiting.empty())
            ++m_added;
        m_wake.notify_all();
        m_tried.wait(lock, [this] { return m_triedUpTo == m_added; });
    }

private:
    void run()
    {
        std::unique_lock lock(m_mutex);
        while (true) {
            m_wake.wait(lock, [this] { return m_ends || m_triedUpTo != m_added; });
            if (m_triedUpTo == m_added)
                return;
            Changes changes = std::exchange(m_waiting, {});
            const auto upTo = m_added;
            lock.unlock();
            const bool isCommitted = commit(changes);
            lock.lock();
            // What could not be written goes along with the next change, unless that has replaced it.
            if (!isCommitted)
                m_waiting.merge(changes);
            m_triedUpTo = upTo;
            m_tried.notify_all();
            lock.unlock();
            postTasks();
            lock.lock();
        }
    }

    /// Hands the tasks whose time has come to the main thread. Any thread.
    void postTasks()
    {
        const std::lock_guard lock(m_mutex);
        while (!m_tasks.empty() && m_tasks.front().first <= m_triedUpTo) {
            m_loop.post(std::move(m_tasks.front().second));
            m_tasks.pop_front();
        }
    }

    void use(Database database)
    {
        m_database = std::move(database);
        if (!m_database)
            return;
        m_upsert = prepared(m_database.get(), upsertSql);
        m_delete = prepared(m_database.get(), "DELETE FROM defaults WHERE key = ?1");
    }

    bool commit(const Changes& changes)
    {
        if (!m_database) {
            Opened opened = openForWriting(m_file);
            if (!opened.succeeded())
                return false;
            use(std::move(opened.database));
        }
        bool isDone = begin();
        for (const auto& [key, value] : changes)
            isDone = isDone && (value ? write(key, *value) : erase(key));
        isDone = isDone && execute("COMMIT");
        if (isDone) {
            m_isFailing = false;
            return true;
        }
        const std::string error = ::sqlite3_errmsg(m_database.get());
        execute("ROLLBACK");
        if (!std::exchange(m_isFailing, true) && m_isPrinted)
            printLine("Defaults store {} can't be written ({}) — settings are kept in memory",
                      m_file.native(), error);
        return false;
    }

    bool begin() { return execute("BEGIN IMMEDIATE"); }

    bool write(const std::string& key, const DefaultsValue& value)
    {
        bindValue(m_upsert.get(), 1, std::string_view(key));
        bindValue(m_upsert.get(), 2, typeName(value));
        bindValue(m_upsert.get(), 3, encodedDefaultsValue(value));
        return finish(m_upsert.get());
    }

    bool erase(const std::string& key)
    {
        bindValue(m_delete.get(), 1, std::string_view(key));
        return finish(m_delete.get());
    }

    bool finish(sqlite3_stmt* statement)
    {
        if (!statement)
            return false;
        ::sqlite3_step(statement);
        return ::sqlite3_reset(statement) == SQLITE_OK;
    }

    bool execute(const char* sql)
    {
        return ::sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    }

    MainLoop& m_loop;
    const std::filesystem::path m_file;
    const bool m_isPrinted;
    Database m_database;
    Statement m_upsert;
    Statement m_delete;
    bool m_isFailing; ///< The trouble has been printed.

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_tried;
    Changes m_waiting;
    std::deque<std::pair<std::uint64_t, Task>> m_tasks; ///< By how much must have been tried.
    std::uint64_t m_added = 0;
    std::uint64_t m_triedUpTo = 0;
    bool m_ends = false;
    std::thread m_thread;
};

SqliteDefaultsStore::SqliteDefaultsStore(MainLoop& loop, std::filesystem::path file, Trouble trouble)
    : m_loop(loop)
{
    Opened opened = openStore(file, loop.now(), trouble);
    m_values = MemoryDefaultsStore(std::move(opened.values));
    m_writer = std::make_unique<Writer>(loop, std::move(opened.database), std::move(file), trouble);
}

SqliteDefaultsStore::~SqliteDefaultsStore()
{
    flush();
}

std::optional<DefaultsValue> SqliteDefaultsStore::value(std::string_view key) const
{
    return m_values.value(key);
}

void SqliteDefaultsStore::set(std::string_view key, DefaultsValue value)
{
    if (m_values.value(key) == value)
        return;
    m_values.set(key, value);
    change(key, std::move(value));
}

void SqliteDefaultsStore::remove(std::string_view key)
{
    if (!m_values.value(key))
        return;
    m_values.remove(key);
    change(key, std::nullopt);
}

void SqliteDefaultsStore::whenWritten(Task task)
{
    handOver();
    m_writer->whenTried(std::move(task));
}

void SqliteDefaultsStore::flush()
{
    handOver();
    m_writer->wait();
}

void SqliteDefaultsStore::change(std::string_view key, std::optional<DefaultsValue> value)
{
    if (m_changesOfThisTurn.empty())
        m_loop.post(m_lifetime.guarded([this] { handOver(); }));
    m_changesOfThisTurn.insert_or_assign(std::string(key), std::move(value));
}

void SqliteDefaultsStore::handOver()
{
    if (!m_changesOfThisTurn.empty())
        m_writer->add(std::exchange(m_changesOfThisTurn, {}));
}

} // namespace velmor

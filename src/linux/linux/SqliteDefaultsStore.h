// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <platform/DefaultsStore.h>
#include <platform/MemoryDefaultsStore.h>

#include <filesystem>
#include <memory>

namespace velmor {

/// The defaults store in an SQLite database, readable by its user alone (0600).
///
/// All values are held in memory; changes are visible at once. Those of one turn of the loop are
/// committed together, right after it, on a thread of the store's own: the main thread never waits for
/// the disk. While the disk is slower than the turns, some of them share a commit.
///
/// A file that is damaged or no database is set aside under another name, with one printed line, and
/// the store begins empty. Where the disk can't be written, one line is printed and the store goes on
/// in memory; it tries again, with all that is not written yet, at each further change and at the end.
class SqliteDefaultsStore final : public DefaultsStore
{
public:
    /// Whether what goes wrong is printed.
    enum class Trouble { printed, kept };

    /// Reads the file, or creates it; its folder must exist.
    SqliteDefaultsStore(MainLoop& loop, std::filesystem::path file, Trouble trouble = Trouble::printed);

    /// Commits what is left, as flush().
    ~SqliteDefaultsStore() override;

    std::optional<DefaultsValue> value(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;

    /// Runs the task in a later turn of the loop, once every change so far is committed, or has failed to be:
    /// other processes see it then.
    void whenWritten(Task task);

    /// Waits until every change so far is committed, or has failed once more to be. For the end of the
    /// program; otherwise nobody waits for the disk.
    void flush();

private:
    class Writer;

    void change(std::string_view key, std::optional<DefaultsValue> value);
    void handOver();

    MainLoop& m_loop;
    MemoryDefaultsStore m_values;
    std::map<std::string, std::optional<DefaultsValue>, std::less<>> m_changesOfThisTurn;
    std::unique_ptr<Writer> m_writer;
    Lifetime m_lifetime;
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Uuid.h>
#include <sessions/Session.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include <sys/types.h>

namespace velmor {

/// The journal of one running session, from which it can be restored after a crash or a loss of power.
/// Each line holds the whole state of a moment with a checksum before it, so that a damaged line costs
/// only the readings in it. What was appended survives the end of the process at once; a thread of the
/// journal's own brings it to the disk. Main thread.
class SessionJournal
{
public:
    /// The file comes with the first moment.
    SessionJournal(const std::filesystem::path& folder, const Uuid& id);
    ~SessionJournal();
    SessionJournal(const SessionJournal&) = delete;
    SessionJournal& operator=(const SessionJournal&) = delete;

    /// Appends a moment, whole or not at all. What could not be written is tried again with the next
    /// one.
    /// \param state what the session would be if it ended here, with all its readings.
    /// \return why it could not be written; false-like where it could.
    std::error_code append(const Session& state);

    const std::filesystem::path& file() const { return m_path; }

private:
    class Disk;

    std::error_code open();
    void close();

    std::filesystem::path m_path;
    int m_file = -1;
    off_t m_size = 0; ///< Of what was written whole.
    std::size_t m_writtenReadings = 0;
    std::unique_ptr<Disk> m_disk;
};

/// What is left of journals: for the start of the program and for the end of a session.
namespace SessionJournals {

/// A journal that nobody is writing.
struct Left
{
    std::filesystem::path file;

    /// As of the last moment in it, with all its readings; absent if it holds none that can be read.
    std::optional<Session> session;
};

/// The journals in a folder, those of the oldest sessions first.
std::vector<Left> leftIn(const std::filesystem::path& folder);

/// What a journal's text tells; absent if no line of it can be read.
std::optional<Session> sessionFrom(std::string_view text);

/// Renames a journal that holds nothing that can be read, so that it is not looked at again. An empty
/// one is left: somebody may be about to write it.
void setAside(const std::filesystem::path& file);

} // namespace SessionJournals

} // namespace velmor

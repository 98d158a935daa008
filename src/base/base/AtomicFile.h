// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace velmor {

/// Replaces a file whole or not at all. What is written goes to a temporary file in the target's
/// folder; commit() brings it to the disk and puts it in the target's place. A target that is a link is
/// replaced itself, what it points to stays.
///
/// After a failure further operations do nothing; the first error is kept. Without a successful
/// commit() the temporary file is gone when the object is, and the target is as it was; where only
/// the last step failed, syncing the folder, the target is new, but may be the old one again after a
/// loss of power.
class AtomicFile
{
public:
    /// Who may read the file.
    enum class Readers {
        /// The user alone (0600): what the program keeps for itself.
        owner,
        /// What the user takes away: a new file as the user's umask has it, one that was there as it was. A
        /// target that is a link stays, and what it points to is replaced.
        asUsual
    };

    /// Creates the temporary file. Fails also where the target is something that must not be
    /// replaced: a folder, a device, a pipe.
    explicit AtomicFile(const std::filesystem::path& target, Readers readers = Readers::owner);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Appends. Buffered: an error may show at a later call.
    void write(std::string_view text);

    /// Whether the target now is the new file, on the disk.
    [[nodiscard]] bool commit();

    /// The first failure so far; false-like when there was none.
    std::error_code error() const { return m_error; }

    /// Removes what writers that were killed have left in a folder: temporary files that nobody has
    /// written to for an hour.
    static void removeLeftovers(const std::filesystem::path& folder);

private:
    void flush();
    void writeOut(std::string_view text);
    void failWithErrno();
    void removeTemporary();

    std::string m_targetName;
    std::string m_temporaryName;
    int m_folder = -1;
    int m_file = -1;
    std::string m_buffer;
    std::error_code m_error;
};

} // namespace velmor

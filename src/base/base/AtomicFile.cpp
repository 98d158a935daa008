// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/AtomicFile.h>

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <random>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmor {

namespace {

constexpr std::size_t bufferCapacity = 65536;
constexpr int attemptsForAFreeName = 100;
constexpr std::string_view temporaryPrefix = ".velmor-";
constexpr std::string_view temporarySuffix = ".tmp";

/// Repeats a system call for as long as a signal interrupts it.
template <typename Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// What a path leads to when it names a link, also where nothing is there yet.
std::filesystem::path linkTarget(std::filesystem::path path)
{
    constexpr int longestChain = 40;
    std::error_code error;
    for (int i = 0; i < longestChain && std::filesystem::is_symlink(path, error); ++i) {
        const std::filesystem::path next = std::filesystem::read_symlink(path, error);
        if (error)
            break;
        path = path.parent_path() / next;
    }
    return path;
}

} // namespace

AtomicFile::AtomicFile(const std::filesystem::path& named, Readers readers)
{
    const std::filesystem::path target = readers == Readers::asUsual ? linkTarget(named) : named;
    m_targetName = target.filename().native();
    const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
    m_folder = uninterrupted([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (m_folder < 0) {
        failWithErrno();
        return;
    }

    struct stat present = {};
    const bool isThere = ::fstatat(m_folder, m_targetName.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0;
    if (isThere) {
        if (S_ISDIR(present.st_mode))
            m_error = std::make_error_code(std::errc::is_a_directory);
        else if (!S_ISREG(present.st_mode) && !S_ISLNK(present.st_mode))
            m_error = std::make_error_code(std::errc::invalid_argument);
        if (m_error)
            return;
    } else if (m_targetName.empty()) {
        m_error = std::make_error_code(std::errc::is_a_directory);
        return;
    }

    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    const mode_t mode =
        readers == Readers::owner ? ownerOnly : ownerOnly | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    std::random_device random;
    for (int attempt = 0; attempt < attemptsForAFreeName && m_file < 0; ++attempt) {
        m_temporaryName = fmt::format("{}{:08x}{}", temporaryPrefix, random(), temporarySuffix);
        m_file = uninterrupted([&] {
            return ::openat(m_folder, m_temporaryName.c_str(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        });
        if (m_file < 0 && errno != EEXIST)
            break;
    }
    if (m_file < 0) {
        m_temporaryName.clear();
        failWithErrno();
        return;
    }
    // The umask may have taken more away than it should.
    if (readers == Readers::owner)
        ::fchmod(m_file, ownerOnly);
    else if (isThere && S_ISREG(present.st_mode))
        ::fchmod(m_file, present.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO));
}

AtomicFile::~AtomicFile()
{
    removeTemporary();
    if (m_folder >= 0)
        ::close(m_folder);
}

void AtomicFile::write(std::string_view text)
{
    if (m_error)
        return;
    if (text.size() >= bufferCapacity) {
        flush();
        writeOut(text);
        return;
    }
    m_buffer += text;
    if (m_buffer.size() >= bufferCapacity)
        flush();
}

bool AtomicFile::commit()
{
    flush();
    if (m_error)
        return false;
    if (uninterrupted([&] { return ::fsync(m_file); }) != 0) {
        failWithErrno();
        return false;
    }
    // Some network file systems report a failed write only here.
    if (::close(std::exchange(m_file, -1)) != 0) {
        failWithErrno();
        return false;
    }
    if (::renameat(m_folder, m_temporaryName.c_str(), m_folder, m_targetName.c_str()) != 0) {
        failWithErrno();
        return false;
    }
    m_temporaryName.clear();
    // A file system that can't sync a folder says EINVAL; the rename is then as durable as it gets.
    if (uninterrupted([&] { return ::fsync(m_folder); }) != 0 && errno != EINVAL) {
        failWithErrno();
        return false;
    }
    return true;
}

void AtomicFile::removeLeftovers(const std::filesystem::path& folder)
{
    const auto limit = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().native();
        std::error_code ignored;
        if (name.starts_with(temporaryPrefix) && name.ends_with(temporarySuffix) &&
            entry->last_write_time(ignored) < limit && !ignored)
            std::filesystem::remove(entry->path(), ignored);
    }
}

void AtomicFile::flush()
{
    writeOut(m_buffer);
    m_buffer.clear();
}

void AtomicFile::writeOut(std::string_view rest)
{
    while (!m_error && !rest.empty()) {
        const ssize_t written = uninterrupted([&] { return ::write(m_file, rest.data(), rest.size()); });
        if (written < 0)
            failWithErrno();
        else if (written == 0)
            m_error = std::make_error_code(std::errc::io_error);
        else
            rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

void AtomicFile::failWithErrno()
{
    m_error = std::error_code(errno, std::generic_category());
    removeTemporary();
}

void AtomicFile::removeTemporary()
{
    if (m_file >= 0)
        ::close(std::exchange(m_file, -1));
    if (!m_temporaryName.empty())
        ::unlinkat(m_folder, m_temporaryName.c_str(), 0);
    m_temporaryName.clear();
}

} // namespace velmor

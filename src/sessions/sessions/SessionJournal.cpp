// SPDX-License-Identifier: GPL-3.0-or-later
#include <sessions/SessionJournal.h>

#include <base/FileText.h>
#include <base/Print.h>
#include <sessions/SessionFormat.h>

#include <boost/crc.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <span>
#include <stop_token>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmor {

namespace {

constexpr std::string_view namePrefix = "session-";
constexpr std::string_view nameSuffix = ".journal";
constexpr std::size_t checksumDigits = 8;

std::uint32_t checksum(std::string_view text)
{
    boost::crc_32_type crc;
    crc.process_bytes(text.data(), text.size());
    return crc.checksum();
}

/// \param line without its end.
std::optional<Session> momentFrom(std::string_view line)
{
    if (line.size() <= checksumDigits || line[checksumDigits] != ' ')
        return std::nullopt;
    std::uint32_t expected = 0;
    const char* const digitsEnd = line.data() + checksumDigits;
    if (std::from_chars(line.data(), digitsEnd, expected, 16).ptr != digitsEnd)
        return std::nullopt;
    const std::string_view json = line.substr(checksumDigits + 1);
    if (checksum(json) != expected)
        return std::nullopt;
    try {
        return decodedMoment(std::string(json));
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

std::error_code errnoCode()
{
    return {errno, std::generic_category()};
}

/// Whether the writer of the journal is alive: it holds a lock, which ends with its process.
bool isBeingWritten(const std::filesystem::path& file)
{
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (descriptor < 0)
        return false;
    const bool isLocked = ::flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    ::close(descriptor);
    return isLocked;
}

} // namespace

/// Brings a file to the disk whenever it is told that there is something new in it, and keeps nobody
/// waiting meanwhile.
class SessionJournal::Disk
{
public:
    Disk(int file, int folder)
        : m_file(file)
        , m_folder(folder)
    {
        m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }
    ~Disk()
    {
        m_thread = {}; // Asks it to stop, and waits.
        if (m_folder >= 0)
            ::close(m_folder);
    }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    void takeUp()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_hasNews = true;
        }
        m_wakeUp.notify_one();
    }

private:
    void run(const std::stop_token& stop)
    {
        bool isNamed = false;
        while (true) {
            {
                std::unique_lock lock(m_mutex);
                if (!m_wakeUp.wait(lock, stop, [this] { return m_hasNews; }))
                    return;
                m_hasNews = false;
            }
            ::fdatasync(m_file);
            // A new file is only as durable as its name.
            if (m_folder >= 0 && !isNamed)
                isNamed = ::fsync(m_folder) == 0;
        }
    }

    int m_file;
    int m_folder;
    std::mutex m_mutex;
    std::condition_variable_any m_wakeUp;
    bool m_hasNews = false;
    std::jthread m_thread;
};

SessionJournal::SessionJournal(const std::filesystem::path& folder, const Uuid& id)
    : m_path(folder / fmt::format("{}{}{}", namePrefix, uuidText(id), nameSuffix))
{}

SessionJournal::~SessionJournal()
{
    close();
}

void SessionJournal::close()
{
    m_disk.reset();
    if (m_file >= 0)
        ::close(std::exchange(m_file, -1));
}

std::error_code SessionJournal::open()
{
    m_file = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW,
                    S_IRUSR | S_IWUSR);
    if (m_file < 0)
        return errnoCode();
    // Who looks for journals that were left holds it for a moment only.
    ::flock(m_file, LOCK_EX);
    m_size = ::lseek(m_file, 0, SEEK_END);
    try {
        m_disk = std::make_unique<Disk>(
            m_file, ::open(m_path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    } catch (const std::system_error&) {
        // Without another thread the system brings the file to the disk in its own time.
    }
    return {};
}

std::error_code SessionJournal::append(const Session& state)
{
    const auto json = encodedMoment(state, std::span(state.readings).subspan(m_writtenReadings));
    if (!json)
        return std::make_error_code(std::errc::argument_out_of_domain);

    if (m_file < 0) {
        if (const auto error = open())
            return error;
    }
    // The line break comes first: whatever lies before it, this line is one.
    const std::string line = fmt::format("\n{:08x} {}", checksum(*json), *json);
    const ssize_t written = ::write(m_file, line.data(), line.size());
    if (written != std::ssize(line)) {
        const auto error = written < 0 ? errnoCode() : std::make_error_code(std::errc::no_space_on_device);
        if (m_size > 0) {
            [[maybe_unused]] const int truncated = ::ftruncate(m_file, m_size);
        } else {
            close();
            ::unlink(m_path.c_str()); // Nobody needs a journal of nothing.
        }
        return error;
    }
    m_size += written;
    m_writtenReadings = state.readings.size();
    if (m_disk)
        m_disk->takeUp();
    return {};
}

std::optional<Session> SessionJournals::sessionFrom(std::string_view text)
{
    std::optional<Session> session;
    std::vector<SPLReading> readings;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        auto moment = momentFrom(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!moment || (session && session->id != moment->id))
            continue;
        readings.insert(readings.end(), moment->readings.begin(), moment->readings.end());
        session = std::move(moment);
    }
    if (session)
        session->readings = std::move(readings);
    return session;
}

std::vector<SessionJournals::Left> SessionJournals::leftIn(const std::filesystem::path& folder)
{
    std::vector<Left> journals;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().native();
        if (!name.starts_with(namePrefix) || !name.ends_with(nameSuffix) || isBeingWritten(entry->path()))
            continue;
        std::error_code unreadable;
        const std::string text = fileText(entry->path(), unreadable);
        if (!unreadable)
            journals.push_back({entry->path(), sessionFrom(text)});
    }
    std::ranges::sort(journals, {}, [](const Left& journal) {
        return journal.session ? journal.session->startDate : Date::min();
    });
    return journals;
}

void SessionJournals::setAside(const std::filesystem::path& file)
{
    std::error_code error;
    if (std::filesystem::file_size(file, error) == 0 || error)
        return;
    auto name = file;
    name += ".damaged";
    std::filesystem::rename(file, name, error);
    if (!error)
        printLine("A session's journal can't be read and is kept as {}", name.native());
}

} // namespace velmor

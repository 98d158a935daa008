// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/TimeZoneWatch.h>

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include <sys/inotify.h>
#include <unistd.h>

namespace velmor {

TimeZoneWatch::TimeZoneWatch(DescriptorMainLoop& loop, std::function<void()> onChange,
                             const std::filesystem::path& folder)
    : m_onChange(std::move(onChange))
    , m_descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (m_descriptor < 0)
        return;
    // The files are put in place whole, as links or by renaming.
    ::inotify_add_watch(m_descriptor, folder.c_str(), IN_MOVED_TO | IN_CREATE | IN_CLOSE_WRITE | IN_DELETE);
    m_watch = loop.watch(m_descriptor, [this] { readEvents(); });
}

TimeZoneWatch::~TimeZoneWatch()
{
    m_watch.reset();
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void TimeZoneWatch::readEvents()
{
    bool isOurs = false;
    alignas(inotify_event) std::array<char, 4096> buffer = {};
    ssize_t size = 0;
    while ((size = ::read(m_descriptor, buffer.data(), buffer.size())) > 0) {
        for (std::size_t offset = 0; offset < static_cast<std::size_t>(size);) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + offset);
            const std::string_view name = event->len > 0 ? event->name : "";
            isOurs = isOurs || name == "localtime" || name == "timezone";
            offset += sizeof(inotify_event) + event->len;
        }
    }
    if (isOurs)
        m_onChange();
}

} // namespace velmor

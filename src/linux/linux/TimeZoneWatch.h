// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <linux/DescriptorMainLoop.h>

#include <filesystem>
#include <functional>
#include <memory>

namespace velmor {

/// Tells when the system is set to another time zone. Main thread.
class TimeZoneWatch
{
public:
    /// \param folder that holds "localtime" and "timezone"; a test may have another one. Where it can't be
    /// watched, nothing is told.
    TimeZoneWatch(DescriptorMainLoop& loop, std::function<void()> onChange,
                  const std::filesystem::path& folder = "/etc");
    ~TimeZoneWatch();
    TimeZoneWatch(const TimeZoneWatch&) = delete;
    TimeZoneWatch& operator=(const TimeZoneWatch&) = delete;

private:
    void readEvents();

    std::function<void()> m_onChange;
    int m_descriptor;
    std::unique_ptr<DescriptorWatch> m_watch;
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/Journal.h>

// The place in this file is not worth a field.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <array>
#include <string>

#include <sys/uio.h>

namespace velmor {

// The default level of a log is that of ordinary but significant conditions, LOG_NOTICE.
void Journal::log(std::string_view subsystem, std::string_view category, std::string_view message)
{
    std::array fields = {"MESSAGE=" + std::string(message), std::string("PRIORITY=5"),
                         std::string("SYSLOG_IDENTIFIER=velmor"), "SUBSYSTEM=" + std::string(subsystem),
                         "CATEGORY=" + std::string(category)};
    std::array<iovec, fields.size()> parts = {};
    for (std::size_t i = 0; i < fields.size(); ++i)
        parts[i] = {fields[i].data(), fields[i].size()};
    ::sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

} // namespace velmor

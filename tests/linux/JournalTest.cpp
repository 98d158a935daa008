// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/Journal.h>
#include <support/SmallDisk.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmor {
namespace {

using testing::HasSubstr;

// The journal's own socket is in a place that can't be chosen: the test has a view of the files of its own.
TEST(Journal, SubsystemAndCategoryAreFields)
{
    const test::SmallDisk disk("/run", "1m");
    // Not every container lets its processes mount, not even in a view of their own.
    if (!disk.problem().empty())
        GTEST_SKIP() << "no place for a journal: " << disk.problem();
    std::filesystem::create_directories("/run/systemd/journal");
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "/run/systemd/journal/socket"};
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);

    Journal().log("dev.brightfen.velmor.focus", "VelmorSessionFocusFilter",
                  "starting Velmor session for\nA=B");

    std::array<char, 4096> datagram = {};
    const auto size = ::recv(socket, datagram.data(), datagram.size(), 0);
    ::close(socket);
    ASSERT_GT(size, 0);
    const std::string entry(datagram.data(), static_cast<std::size_t>(size));
    EXPECT_THAT(entry, HasSubstr("SUBSYSTEM=dev.brightfen.velmor.focus\n"));
    EXPECT_THAT(entry, HasSubstr("CATEGORY=VelmorSessionFocusFilter\n"));
    EXPECT_THAT(entry, HasSubstr("PRIORITY=5\n"));
    EXPECT_THAT(entry, HasSubstr("SYSLOG_IDENTIFIER=velmor\n"));
    // A line break within is no end of a field: the journal's form for that has the length in front.
    using namespace std::string_literals;
    EXPECT_THAT(entry, HasSubstr("MESSAGE\n\x1F\0\0\0\0\0\0\0starting Velmor session for\nA=B\n"s));
}

} // namespace
} // namespace velmor

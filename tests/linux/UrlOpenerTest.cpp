// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/PollMainLoop.h>
#include <linux/UrlOpener.h>
#include <support/CapturedOutput.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>

namespace velmor {
namespace {

class UrlOpenerTest : public testing::Test
{
protected:
    /// What an opener has left behind is no later test's child.
    void TearDown() override
    {
        while (::waitpid(-1, nullptr, 0) > 0) {
        }
    }

    /// A program that is told to open URLs: writes its arguments down, and then does something.
    std::string program(const std::string& afterwards = "")
    {
        const auto file = folder / "open";
        test::writeFile(file, "#!/bin/sh\nprintf '%s|%s\\n' \"$#\" \"$1\" >> " +
                                  (folder / "opened").native() + "\n" + afterwards + "\n");
        ::chmod(file.c_str(), 0700);
        return file;
    }

    std::string opened() const { return test::contentOf(folder / "opened"); }

    /// Runs the loop until something holds, for ten seconds at most. \return whether it does.
    template <typename Question>
    bool runUntil(Question question)
    {
        bool holds = false;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        const Timer check = loop.every(0.01, [&] {
            holds = question();
            if (holds || std::chrono::steady_clock::now() > end)
                loop.quit();
        });
        loop.run();
        return holds;
    }

    test::TemporaryFolder folder;
    PollMainLoop loop;
};

TEST_F(UrlOpenerTest, AUrlIsOneArgumentAndNoShellSeesIt)
{
    UrlOpener opener(loop, program());
    const std::string url = "app://x?a=$(touch%20y);b=`z`&c='d'&e=*!~";
    opener.open(url);
    EXPECT_TRUE(runUntil([&] { return opened() == "1|" + url + "\n"; })) << opened();
}

TEST_F(UrlOpenerTest, UrlsAreOpenedInTheirOrder)
{
    UrlOpener opener(loop, program("case \"$1\" in *1) sleep 0.3;; esac"));
    std::string expected;
    for (int i = 1; i <= 10; ++i) {
        opener.open("app://" + std::to_string(i));
        expected += "1|app://" + std::to_string(i) + "\n";
    }
    EXPECT_TRUE(runUntil([&] { return opened() == expected; })) << opened();
}

TEST_F(UrlOpenerTest, OneThatLivesOnHoldsTheNextUpForAShortTime)
{
    UrlOpener opener(loop, program("case \"$1\" in *first) exec sleep 4;; esac"));
    const auto start = std::chrono::steady_clock::now();
    opener.open("app://first");
    opener.open("app://second");
    EXPECT_TRUE(runUntil([&] { return opened() == "1|app://first\n1|app://second\n"; })) << opened();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1900));
}

TEST_F(UrlOpenerTest, WithoutSuchAProgramItSaysSoOnceAndGoesOnWhenThereIsOne)
{
    test::CapturedOutput output;
    UrlOpener opener(loop, folder / "open");
    opener.open("app://1");
    opener.open("app://2");
    program();
    opener.open("app://3");
    EXPECT_TRUE(runUntil([&] { return opened() == "1|app://3\n"; })) << opened();
    EXPECT_EQ(output.text(),
              "[Velmor] " + (folder / "open").native() + " can't be started — URLs are not opened\n");
}

TEST_F(UrlOpenerTest, AtTheEndThoseThatWaitAreOpenedWithoutWaiting)
{
    {
        UrlOpener opener(loop, program("sleep 1"));
        opener.open("app://1");
        opener.open("app://2");
        opener.open("app://3");
    }
    EXPECT_TRUE(runUntil([&] { return std::ranges::count(opened(), '\n') == 3; })) << opened();
}

TEST_F(UrlOpenerTest, NoChildIsLeftUnreaped)
{
    UrlOpener opener(loop, program());
    for (int i = 0; i < 5; ++i)
        opener.open("app://x");
    EXPECT_TRUE(runUntil([&] { return opened().size() == 5 * std::string("1|app://x\n").size(); }));
    // The question itself reaps nothing.
    EXPECT_TRUE(runUntil([] {
        siginfo_t info = {};
        return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
    }));
}

TEST_F(UrlOpenerTest, AFloodIsCutOff)
{
    test::CapturedOutput output;
    // Those that wait at the end write nothing down.
    const auto file = folder / "open";
    test::writeFile(file, "#!/bin/sh\nsleep 1\n");
    ::chmod(file.c_str(), 0700);
    UrlOpener opener(loop, file);
    for (int i = 0; i < 102; ++i)
        opener.open("app://" + std::to_string(i));
    // One is being opened, a hundred wait.
    EXPECT_EQ(output.text(), "[Velmor] too many URLs to open at once — app://101 dropped\n");
}

} // namespace
} // namespace velmor

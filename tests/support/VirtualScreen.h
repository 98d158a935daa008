// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/PrivateAudioSession.h>
#include <support/TemporaryFolder.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace velmor::test {

/// A screen in memory, the DISPLAY of the environment from then on.
class VirtualScreen
{
public:
    explicit VirtualScreen(const std::string& size)
    {
        m_server = std::make_unique<Companion>(
            std::vector<std::string>{"Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0", size},
            m_log);
        PrivateAudioSession::waitUntil([&] { return !number().empty(); });
        if (number().empty())
            m_problem = "no screen: " + contentOf(m_log);
        else
            ::setenv("DISPLAY", (":" + number()).c_str(), 1);
    }

    /// Why it could not be started; empty if it was.
    const std::string& problem() const { return m_problem; }

    void end() { m_server.reset(); }

private:
    /// What the server has found; empty before. Numbers that are taken cost a line of complaint each, the
    /// last line is the one.
    std::string number() const
    {
        const std::string text = contentOf(m_log);
        if (!text.ends_with("\n"))
            return "";
        const std::size_t before = text.rfind('\n', text.size() - 2);
        const std::string line = before == std::string::npos ? text : text.substr(before + 1);
        return line.find_first_not_of("0123456789") == line.size() - 1 ? line.substr(0, line.size() - 1) : "";
    }

    TemporaryFolder m_folder;
    std::string m_log = m_folder / "display";
    std::unique_ptr<Companion> m_server;
    std::string m_problem;
};

} // namespace velmor::test

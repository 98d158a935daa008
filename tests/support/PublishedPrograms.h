// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/PrivateAudioSession.h>
#include <support/RunProgram.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace velmor::test {

/// Tells the desktop of a session about the programs of the build, as an installation does, and about one of
/// the test's own that opens `testapp:` and writes down what it is given.
class PublishedPrograms
{
public:
    explicit PublishedPrograms(const PrivateAudioSession& session)
        : m_opened(session / "opened")
    {
        const std::filesystem::path share =
            std::filesystem::path(programPath("velmor")).parent_path() / "../share";
        const auto applications = session / "data/applications";
        std::filesystem::create_directories(applications);
        std::filesystem::copy_file(share / "applications/dev.brightfen.velmor.desktop",
                                   applications / "dev.brightfen.velmor.desktop");
        std::filesystem::copy_file(share / "dbus-1/services/dev.brightfen.velmor.service",
                                   session / "services/dev.brightfen.velmor.service");
        const auto handler = session / "testapp";
        writeFile(handler, "#!/bin/sh\nprintf '%s\\n' \"$@\" >> " + m_opened.native() + "\n");
        ::chmod(handler.c_str(), 0700);
        writeFile(applications / "testapp.desktop",
                  "[Desktop Entry]\nType=Application\nName=Test\nExec=" + handler.native() +
                      " %u\nMimeType=x-scheme-handler/testapp;\n");
        run({"update-desktop-database", applications});
        bus("ReloadConfig", {});
        // What the bus starts is to find the screen and the session.
        std::string environment = "{";
        for (const char* name : {"DISPLAY", "DBUS_SESSION_BUS_ADDRESS"}) {
            if (const char* value = std::getenv(name))
                environment += "'" + std::string(name) + "': '" + value + "', ";
        }
        environment.replace(environment.size() - 2, 2, "}");
        bus("UpdateActivationEnvironment", {environment});
    }

    /// What `testapp:` URLs were opened, one a line.
    std::string opened() const { return contentOf(m_opened); }

private:
    static void bus(const std::string& method, const std::vector<std::string>& arguments)
    {
        std::vector<std::string> command = {"gdbus",
                                            "call",
                                            "--session",
                                            "--dest",
                                            "org.freedesktop.DBus",
                                            "--object-path",
                                            "/org/freedesktop/DBus",
                                            "--method",
                                            "org.freedesktop.DBus." + method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        if (run(command).status != 0)
            throw std::runtime_error("the bus refused " + method);
    }

    std::filesystem::path m_opened;
};

} // namespace velmor::test

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>

namespace velmor::test {

/// A process that ends with the object.
class Companion
{
public:
    explicit Companion(const std::vector<std::string>& command, const std::string& logFile = "/dev/null")
        : m_process(spawn(command, logFile, logFile))
    {}
    ~Companion()
    {
        if (m_process > 0)
            endBy(SIGTERM);
    }
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;

    void kill() const { ::kill(m_process, SIGKILL); }

    pid_t process() const { return m_process; }

    /// Whether it has ended by itself.
    bool hasEnded() const
    {
        siginfo_t state = {};
        return ::waitid(P_PID, static_cast<id_t>(m_process), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               state.si_pid == m_process;
    }

    /// Asks it to end, and waits for it; one that takes five seconds is killed.
    /// \return its exit status; negative for the number of the signal that ended it.
    int endBy(int signal)
    {
        ::kill(m_process, signal);
        // One that was stopped takes no other signal.
        ::kill(m_process, SIGCONT);
        return waitForEnd();
    }

    /// Waits for it to end by itself; one that takes longer is killed.
    /// \return as endBy()
    int waitForEnd(int seconds = 5)
    {
        int status = 0;
        bool hasEnded = false;
        for (int i = 0; i < seconds * 100 && !hasEnded; ++i) {
            hasEnded = ::waitpid(m_process, &status, WNOHANG) != 0;
            if (!hasEnded)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (!hasEnded) {
            ::kill(m_process, SIGKILL);
            ::waitpid(m_process, &status, 0);
        }
        m_process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t m_process;
};

/// A D-Bus session, a PipeWire and a WirePlumber of the test's own, in a folder of its own. The test's
/// environment points to them while the object lives.
class PrivateAudioSession
{
public:
    PrivateAudioSession()
    {
        ::chmod(m_folder.path().c_str(), 0700);
        for (const auto& [name, value] : {std::pair("XDG_RUNTIME_DIR", m_folder.path().native()),
                                          std::pair("HOME", m_folder.path().native()),
                                          std::pair("XDG_CONFIG_HOME", (m_folder / "config").native()),
                                          std::pair("XDG_STATE_HOME", (m_folder / "state").native()),
                                          std::pair("XDG_DATA_HOME", (m_folder / "data").native()),
                                          std::pair("XDG_CACHE_HOME", (m_folder / "cache").native()),
                                          std::pair("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + socket("bus")),
                                          std::pair("PIPEWIRE_RUNTIME_DIR", m_folder.path().native())})
            ::setenv(name, value.c_str(), 1);
        // The machine's own services are not started on it, but those that a test puts into this folder.
        std::filesystem::create_directory(m_folder / "services");
        writeFile(
            m_folder / "bus.conf",
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
            "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig><type>session</type><listen>unix:path=" +
                socket("bus") + "</listen><servicedir>" + (m_folder / "services").native() +
                "</servicedir><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
        try {
            m_bus = std::make_unique<Companion>(
                std::vector<std::string>{"dbus-daemon", "--config-file=" + (m_folder / "bus.conf").native(),
                                         "--nofork", "--nopidfile"},
                log("bus"));
            waitForFile("bus");
            keepHardwareOut();
            startPipeWire();
        } catch (const std::runtime_error& error) {
            m_problem = error.what();
        }
    }
    ~PrivateAudioSession()
    {
        m_wirePlumber.reset();
        m_pipeWire.reset();
        m_bus.reset();
    }
    PrivateAudioSession(const PrivateAudioSession&) = delete;
    PrivateAudioSession& operator=(const PrivateAudioSession&) = delete;

    /// Why the session could not be started; empty if it was.
    const std::string& problem() const { return m_problem; }

    std::filesystem::path operator/(const char* name) const { return m_folder / name; }

    /// A virtual microphone of two channels. What is played into its inputs comes out of it.
    void createMicrophone(const std::string& name) { createNode(name, "Audio/Source/Virtual", "FL FR"); }

    /// A virtual device of any class. \return when it has its ports.
    void createNode(const std::string& name, const std::string& mediaClass, const std::string& positions,
                    const std::string& properties = {})
    {
        run({"pw-cli", "create-node", "adapter",
             "{ factory.name=support.null-audio-sink node.name=" + name +
                 " node.description=\"Test Microphone\" media.class=" + mediaClass +
                 " object.linger=true audio.position=[" + positions + "] " + properties + " }"});
        waitUntil([&] {
            replaceCrashedSessionManager();
            return run({"pw-link", "-i"}).output.find(name + ":") != std::string::npos;
        });
    }

    /// Any other device too; all of that name.
    void removeMicrophone(const std::string& name) const
    {
        waitUntil([&] {
            run({"pw-cli", "destroy", name});
            return run({"pw-cli", "ls", "Node"}).output.find("node.name = \"" + name + '"') ==
                   std::string::npos;
        });
    }

    /// Plays a sound file of two channels into the microphone until the result is destroyed. The
    /// session manager links players to loudspeakers only, so the ports are linked here.
    std::unique_ptr<Companion> playInto(const std::string& microphone, const std::string& file,
                                        const std::string& portPrefix = "input") const
    {
        const std::string name = "player-of-" + microphone;
        auto player = std::make_unique<Companion>(
            std::vector<std::string>{"pw-cat", "--playback", "--target", "0", "--properties",
                                     "{ node.name=" + name + " }", file},
            log(name));
        for (const std::string channel : {"FL", "FR"}) {
            waitUntil([&] {
                return run({"pw-link", name + ":output_" + channel,
                            microphone + ":" + portPrefix + "_" + channel})
                           .status == 0;
            });
        }
        return player;
    }

    /// Nobody links streams to devices from then on.
    void endSessionManager() { m_wirePlumber.reset(); }

    /// As systemd does on a desktop. That of Debian 12 may crash when a device goes that it is just setting
    /// up.
    void replaceCrashedSessionManager()
    {
        if (!m_wirePlumber || !m_wirePlumber->hasEnded())
            return;
        ++m_crashes;
        startSessionManager();
    }

    /// How often the session manager was replaced.
    int crashes() const { return m_crashes; }

    /// The session's bus ends, as with the desktop's session.
    void endBus() { m_bus.reset(); }

    /// Ends PipeWire as a crash does.
    void killPipeWire()
    {
        m_pipeWire->kill();
        m_wirePlumber.reset();
        m_pipeWire.reset();
    }

    /// Starts it again, with a new session manager; no device is there then.
    void startPipeWire()
    {
        // A socket that was left behind would look like one that is ready.
        std::filesystem::remove(m_folder / "pipewire-0");
        m_pipeWire = std::make_unique<Companion>(std::vector<std::string>{"pipewire"}, log("pipewire"));
        waitForFile("pipewire-0");
        startSessionManager();
    }

    /// Repeats the question every 20 ms until it is answered with yes, at most 10 seconds long.
    template <typename Question>
    static bool waitUntil(Question question)
    {
        for (int i = 0; i < 500; ++i) {
            if (question())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

private:
    void startSessionManager()
    {
        m_wirePlumber =
            std::make_unique<Companion>(std::vector<std::string>{"wireplumber"}, log("wireplumber"));
        if (!waitUntil([] {
                return run({"pw-cli", "ls", "Client"}).output.find("WirePlumber") != std::string::npos;
            }))
            throw std::runtime_error("wireplumber did not come up");
    }

    std::string socket(const char* name) const { return (m_folder / name).native(); }
    std::string log(const std::string& name) const { return (m_folder / (name + ".log")).native(); }

    /// The machine's own devices take no part, nor what watches over them: the monitor of Bluetooth
    /// ends the session manager where no login service runs.
    void keepHardwareOut() const
    {
        const auto configuration = m_folder / "config/wireplumber";
        std::filesystem::create_directories(configuration / "main.lua.d");
        std::filesystem::create_directories(configuration / "bluetooth.lua.d");
        writeFile(configuration / "main.lua.d/80-test.lua",
                  "alsa_monitor.enabled = false\nlibcamera_monitor.enabled = false\nv4l2_monitor.enabled = "
                  "false\n");
        writeFile(configuration / "bluetooth.lua.d/80-test.lua", "bluez_monitor.enabled = false\n");
    }

    void waitForFile(const char* name) const
    {
        if (!waitUntil([&] { return std::filesystem::exists(m_folder / name); }))
            throw std::runtime_error(std::string(name) + " did not appear");
    }

    TemporaryFolder m_folder;
    std::unique_ptr<Companion> m_bus;
    std::unique_ptr<Companion> m_pipeWire;
    std::unique_ptr<Companion> m_wirePlumber;
    int m_crashes = 0;
    std::string m_problem;
};

} // namespace velmor::test

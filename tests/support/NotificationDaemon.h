// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/PrivateAudioSession.h>
#include <support/RunProgram.h>
#include <support/VirtualScreen.h>

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace velmor::test {

/// What the daemon has been given.
struct ReceivedNotification
{
    std::string number; ///< The daemon's own; one that replaces another has its number.
    std::string urgency;
    std::string summary;
    std::string body; ///< As it came over the bus, markup and all; line breaks are " / ".
};

/// A real notification daemon on a screen of its own, on the bus of the environment.
class NotificationDaemon
{
public:
    NotificationDaemon()
    {
        if (!m_screen.problem().empty()) {
            m_problem = m_screen.problem();
            return;
        }
        writeFile(m_folder / "note", "#!/bin/sh\n"
                                     "body=$(printf %s \"$DUNST_BODY\" | tr '\\n' '~' | sed 's|~| / |g')\n"
                                     "printf '%s\\t%s\\t%s\\t%s\\n' \"$DUNST_ID\" \"$DUNST_URGENCY\" "
                                     "\"$DUNST_SUMMARY\" \"$body\" >> " +
                                         (m_folder / "received").native() + "\n");
        ::chmod((m_folder / "note").c_str(), 0700);
        writeFile(m_folder / "dunstrc",
                  "[global]\nsort = false\nstack_duplicates = false\nhistory_length = 100\n"
                  "markup = full\nformat = \"%s\\n%b\"\nnotification_limit = 50\n[every]\nsummary = \"*\"\n"
                  "script = " +
                      (m_folder / "note").native() + "\n");
        start();
    }

    /// Why it could not be started; empty if it was.
    const std::string& problem() const { return m_problem; }

    /// Takes the daemon and all else that is on the screen with it.
    void endScreen() { m_screen.end(); }

    void start()
    {
        m_daemon = std::make_unique<Companion>(
            std::vector<std::string>{"dunst", "-conf", (m_folder / "dunstrc").native()}, m_folder / "log");
        if (!PrivateAudioSession::waitUntil([] { return run({"dunstctl", "is-paused"}).status == 0; }))
            m_problem = "no notification daemon";
    }

    void stop() { m_daemon.reset(); }

    /// Ends it without a chance to do anything more.
    void kill()
    {
        m_daemon->endBy(SIGKILL);
        m_daemon.reset();
    }

    /// It is there, and does nothing any more until it is stopped.
    void freeze() const { ::kill(m_daemon->process(), SIGSTOP); }

    /// All that it has shown since the first start.
    std::vector<ReceivedNotification> received() const
    {
        std::vector<ReceivedNotification> notifications;
        std::istringstream lines(contentOf(m_folder / "received"));
        for (std::string line; std::getline(lines, line);) {
            ReceivedNotification notification;
            std::istringstream fields(line);
            for (std::string* field :
                 {&notification.number, &notification.urgency, &notification.summary, &notification.body})
                std::getline(fields, *field, '\t');
            notifications.push_back(notification);
        }
        return notifications;
    }

    std::vector<std::string> summaries() const
    {
        std::vector<std::string> summaries;
        for (const ReceivedNotification& notification : received())
            summaries.push_back(notification.summary);
        return summaries;
    }

    /// Presses the button of the notification that shows; the last one there is.
    static void pressButton() { run({"dunstctl", "action", "0"}); }

    static void closeAll() { run({"dunstctl", "close-all"}); }

private:
    TemporaryFolder m_folder;
    VirtualScreen m_screen{"800x600x24"};
    std::unique_ptr<Companion> m_daemon;
    std::string m_problem;
};

} // namespace velmor::test

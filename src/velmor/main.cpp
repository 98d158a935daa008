// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AppState.h>
#include <base/Calendar.h>
#include <base/Print.h>
#include <linux/AlertSound.h>
#include <linux/ApplicationInstance.h>
#include <linux/AutostartLoginItem.h>
#include <linux/DesktopNotificationCenter.h>
#include <linux/Directories.h>
#include <linux/PipeWireCapture.h>
#include <linux/PipeWireGraph.h>
#include <linux/ProcessWorkspace.h>
#include <linux/QtMainLoop.h>
#include <linux/SqliteDefaultsStore.h>
#include <linux/TimeZoneWatch.h>

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace velmor;

/// How long a server may take for what is said at the end.
constexpr double lastNotificationSeconds = 1.0;

/// Asks the program to end when the desktop does, so that a running session is kept. A second signal of a
/// kind has its usual effect until the program is about to end.
class EndOnSignals
{
public:
    EndOnSignals(MainLoop& loop, const Task& end)
    {
        // Never destroyed: a handler may be under way on any thread.
        s_bell = loop.doorbell(end).release();
        handle([](int) {
            const int error = errno;
            s_bell->ring();
            errno = error;
        });
    }
    ~EndOnSignals() { handle(SIG_IGN); }
    EndOnSignals(const EndOnSignals&) = delete;
    EndOnSignals& operator=(const EndOnSignals&) = delete;

private:
    static void handle(void (*handler)(int))
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            ::sigaction(signal, &action, nullptr);
    }

    static inline Doorbell* s_bell = nullptr;
};

/// Started with its standard streams closed, the program would take its own files for them. A reader of
/// its lines that has gone away must not end it.
void prepareStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
    std::signal(SIGPIPE, SIG_IGN);
}

void create(const std::filesystem::path& folder)
{
    if (const auto error = createFolder(folder))
        printLine("{}: {}", folder.native(), error.message());
}

std::filesystem::path ownProgram()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

int run(int argumentCount, char** arguments)
{
    prepareStandardStreams();
    const QCoreApplication application(argumentCount, arguments);
    QtMainLoop loop;

    const EndOnSignals endOnSignals(loop, [] { QCoreApplication::quit(); });

    // The session bus ends with the desktop's session.
    const ApplicationInstance instance(
        {.onActivate = [] { printLine("activated"); }, .onBusLost = [] { QCoreApplication::quit(); }});
    if (instance.role() == ApplicationInstance::Role::another)
        return EXIT_SUCCESS;
    if (instance.role() == ApplicationInstance::Role::unanswered)
        return EXIT_FAILURE;

    const BaseFolders baseFolders = BaseFolders::current();
    const ProgramFolders folders = ProgramFolders::in(baseFolders);
    for (const auto& folder : {folders.data, folders.cache, folders.defaults})
        create(folder);

    SqliteDefaultsStore defaults(loop, folders.defaults / "defaults.sqlite");
    Calendar calendar = Calendar::current();
    PipeWireGraph graph(loop);
    PipeWireCapture capture(loop, graph);
    AlertSound alertSound(loop, graph, baseFolders.allData());
    DesktopNotificationCenter notificationCenter(
        loop, [&](const std::string& name, NotificationSound kind) { alertSound.play(name, kind); });
    AutostartLoginItem loginItem(baseFolders.config, ownProgram());
    ProcessWorkspace workspace(loop, baseFolders.allData());

    AppState hub({loop, capture, graph, defaults, calendar, notificationCenter, loginItem, workspace,
                  SessionStorage::inApplicationSupport(baseFolders.data), SessionManager::Bundle::installed});
    const TimeZoneWatch timeZoneWatch(loop, [&] {
        calendar = Calendar::current();
        hub.timeZoneChanged();
    });
    const int status = QCoreApplication::exec();
    hub.endForGood();
    notificationCenter.flush(lastNotificationSeconds);
    return status;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    try {
        return run(argumentCount, arguments);
    } catch (const std::exception& error) {
        printLine("{}", error.what());
        return EXIT_FAILURE;
    }
}

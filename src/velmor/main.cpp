// SPDX-License-Identifier: GPL-3.0-or-later
#include <app/AppState.h>
#include <app/AutomationInterfaces.h>
#include <app/FocusFollower.h>
#include <app/IntentActions.h>
#include <app/ShortcutSearch.h>
#include <app/VelmorIntentSupport.h>
#include <app/VelmorSessionFocusFilter.h>
#include <base/Calendar.h>
#include <base/Print.h>
#include <integrations/VelmorWidgetSnapshot.h>
#include <linux/AlertSound.h>
#include <linux/ApplicationInstance.h>
#include <linux/ApplicationName.h>
#include <linux/AutostartLoginItem.h>
#include <linux/BusWidgetCenter.h>
#include <linux/DesktopColorSchemes.h>
#include <linux/DesktopDoNotDisturb.h>
#include <linux/DesktopNotificationCenter.h>
#include <linux/DesktopShareServices.h>
#include <linux/Directories.h>
#include <linux/FeedUpdater.h>
#include <linux/Journal.h>
#include <linux/LevelStream.h>
#include <linux/PipeWireCapture.h>
#include <linux/PipeWireGraph.h>
#include <linux/PipeWirePlayback.h>
#include <linux/ProcessWorkspace.h>
#include <linux/QtMainLoop.h>
#include <linux/RunningInstance.h>
#include <linux/SearchService.h>
#include <linux/SqliteDefaultsStore.h>
#include <linux/StandardStreams.h>
#include <linux/TimeZoneWatch.h>
#include <ui/VelmorApp.h>
#include <ui/WebAddresses.h>

#include <CLI/CLI.hpp>
#include <QApplication>
#include <QCoreApplication>
#include <QLatin1String>
#include <QSessionManager>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

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

/// What the command line asks for.
struct Arguments
{
    std::vector<std::string> urls;
    std::string action;
};

/// Ends the program after a help text or a mistake.
Arguments parsedArguments(int argumentCount, char** arguments)
{
    Arguments parsed;
    CLI::App program("Keeps account of what your ears are exposed to. With something to do, has the running "
                     "instance do it, and ends.");
    program.add_option("URL", parsed.urls, "velmor:// URLs to open");
    program.add_option("--action", parsed.action, "an action of the desktop entry, as EndMixingSession");
    try {
        program.parse(argumentCount, arguments);
    } catch (const CLI::Error& error) {
        std::exit(program.exit(error));
    }
    return parsed;
}

bool isSet(const char* name)
{
    const char* const value = std::getenv(name);
    return value && *value;
}

/// Whether there should be a screen to show something on.
bool hasDisplay()
{
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

/// What is chosen where the screen that should be there can't be reached.
constexpr auto platformWithoutScreen = "offscreen";

/// Wayland lets no program place its windows. Through the X server that most of its desktops bring along, the
/// popover opens at the item. For this program alone: what it starts finds its own way.
std::unique_ptr<QApplication> makeApplication(int& argumentCount, char** arguments)
{
    constexpr auto choice = "QT_QPA_PLATFORM";
    const bool isOurs = !isSet(choice);
    if (isOurs) {
        const std::string platforms =
            std::string(isSet("DISPLAY") ? "xcb;" : "") + (isSet("WAYLAND_DISPLAY") ? "wayland;" : "");
        ::setenv(choice, (platforms + platformWithoutScreen).c_str(), /*overwrite=*/1);
    }
    auto application = std::make_unique<QApplication>(argumentCount, arguments);
    if (isOurs)
        ::unsetenv(choice);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setDesktopFileName(QString::fromLatin1(ApplicationName::busName));
    // The login item starts it with the next session, where the user wants that.
    const auto neverRestart = [](QSessionManager& manager) {
        manager.setRestartHint(QSessionManager::RestartNever);
    };
    QObject::connect(application.get(), &QGuiApplication::saveStateRequest, neverRestart);
    QObject::connect(application.get(), &QGuiApplication::commitDataRequest, neverRestart);
    return application;
}

/// The desktop program itself.
/// \param hasWindows false without a screen: all but the windows works then.
int runDesktop(bool hasWindows)
{
    QtMainLoop loop;

    bool isEnding = false;
    const EndOnSignals endOnSignals(loop, [&] {
        // Once: what follows the first may wait in a loop of its own.
        if (!std::exchange(isEnding, true))
            QCoreApplication::exit();
    });

    // The session bus ends with the desktop's session. Calls are answered once the loop runs.
    std::function<void(const std::string&)> performAction;
    std::function<void()> show;
    ApplicationInstance instance({.onActivate =
                                      [&] {
                                          printLine("activated");
                                          show();
                                      },
                                  .onAction = [&](const std::string& action) { performAction(action); },
                                  .onBusLost = [] { QCoreApplication::exit(); }});
    if (instance.role() == ApplicationInstance::Role::another)
        return EXIT_SUCCESS;
    if (instance.role() == ApplicationInstance::Role::unanswered)
        return EXIT_FAILURE;

    const BaseFolders baseFolders = BaseFolders::current();
    const ProgramFolders folders = ProgramFolders::in(baseFolders);
    for (const auto& folder : {folders.data, folders.cache, folders.defaults})
        create(folder);

    SqliteDefaultsStore defaults(loop, folders.defaults / "defaults.sqlite");
    SqliteDefaultsStore widgetSuite(loop, folders.suite(VelmorWidgetSnapshot::appGroupID),
                                    SqliteDefaultsStore::Trouble::kept);
    Calendar calendar = Calendar::current();
    PipeWireGraph graph(loop);
    PipeWireCapture capture(loop, graph);
    PipeWirePlayback playback(loop, graph);
    AlertSound alertSound(loop, graph, baseFolders.allData());
    DesktopDoNotDisturb doNotDisturb;
    DesktopNotificationCenter notificationCenter(loop, [&](const std::string& name, NotificationSound kind) {
        if (!doNotDisturb.isOn() || kind == NotificationSound::critical)
            alertSound.play(name, kind);
    });
    AutostartLoginItem loginItem(baseFolders.config, ownProgram());
    ProcessWorkspace workspace(loop, baseFolders.allData());
    BusWidgetCenter widgetCenter(instance.object(), widgetSuite);

    AppState hub({loop, capture, graph, playback, defaults, calendar, notificationCenter, loginItem,
                  workspace, SessionStorage::inApplicationSupport(baseFolders.data),
                  SessionManager::Bundle::installed, &widgetSuite, &widgetCenter, &instance});
    const TimeZoneWatch timeZoneWatch(loop, [&] {
        calendar = Calendar::current();
        hub.timeZoneChanged();
    });

    VelmorIntentSupport intentSupport;
    intentSupport.registerAppState(hub);
    IntentActions intentActions(intentSupport, notificationCenter);
    performAction = [&](const std::string& action) { intentActions.perform(action); };
    Journal journal;
    VelmorSessionFocusFilter focusFilter(intentSupport, journal);
    const FocusFollower focusFollower(hub, doNotDisturb, focusFilter);
    instance.object().offer(AutomationInterfaces::intents(intentSupport));
    instance.object().offer(AutomationInterfaces::focusFilter(intentSupport, focusFilter));
    const LevelStream levelStream(loop, instance.object(),
                                  [&] { return AutomationInterfaces::levels(intentSupport); });
    ShortcutSearch shortcutSearch(intentSupport, intentActions);
    const SearchService searchService(shortcutSearch);

    FeedUpdater updater(loop, {web_addresses::updateFeed, web_addresses::updateKey, VELMOR_VERSION});
    DesktopShareServices shareServices;
    DesktopColorSchemes colorSchemes(baseFolders);
    std::unique_ptr<VelmorApp> windows;
    show = [&] {
        notificationCenter.add({.identifier = "velmor.windowless",
                                .title = "Velmor runs without windows",
                                .body = "It was started where there was no screen. End process " +
                                        std::to_string(::getpid()) + " and start it again."});
    };
    if (hasWindows) {
        windows = std::make_unique<VelmorApp>(
            VelmorApp::Needs{hub, defaults, notificationCenter, workspace, updater, colorSchemes,
                             shareServices, baseFolders.cache, [] { QCoreApplication::exit(); }});
        show = [&] { windows->activate(); };
    }

    const int status = QCoreApplication::exec();
    // What has come in before is still done.
    QCoreApplication::processEvents();
    windows.reset();
    hub.endForGood();
    widgetCenter.flush();
    // All is kept: another instance may begin while this one says its last words.
    defaults.flush();
    instance.giveUpName();
    notificationCenter.flush(lastNotificationSeconds);
    return status;
}

int run(int argumentCount, char** arguments)
{
    prepareStandardStreams();
    const Arguments wanted = parsedArguments(argumentCount, arguments);
    const bool isClient = !wanted.urls.empty() || !wanted.action.empty();
    if (!isClient && hasDisplay()) {
        const auto application = makeApplication(argumentCount, arguments);
        const bool isChosen = isSet("QT_QPA_PLATFORM");
        const bool hasScreen =
            isChosen || QGuiApplication::platformName() != QLatin1String(platformWithoutScreen);
        if (!hasScreen)
            printLine("the screen cannot be reached");
        return runDesktop(hasScreen);
    }
    const QCoreApplication application(argumentCount, arguments);
    if (!isClient)
        return runDesktop(false);
    const RunningInstance running(ownProgram());
    const bool isOpened = wanted.urls.empty() || running.open(wanted.urls);
    const bool isDone = wanted.action.empty() || running.activateAction(wanted.action);
    // Without the end of Qt's static objects: its bus thread may be using them.
    std::_Exit(isOpened && isDone ? EXIT_SUCCESS : EXIT_FAILURE);
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

// SPDX-License-Identifier: GPL-3.0-or-later
// The desktop program with its windows, under a screen in memory, beside a tray host that does nothing: from
// the start to the item, from the click to the digest, and its share of a core over a minute of a session.
#include "ProcessFigures.h"

#include <linux/PollMainLoop.h>
#include <linux/SqliteDefaultsStore.h>
#include <sessions/SessionFormat.h>
#include <support/NoShareServices.h>
#include <support/NoSoftwareUpdater.h>
#include <support/PopoverStates.h>
#include <support/PrivateAudioSession.h>
#include <support/Sound.h>
#include <support/TemporaryFolder.h>
#include <support/VirtualScreen.h>
#include <support/WriteSound.h>
#include <support/YearOfSessions.h>
#include <ui/CalendarGrid.h>
#include <ui/HistoryWindowView.h>
#include <ui/MenuBarView.h>
#include <ui/Popover.h>
#include <ui/SessionList.h>
#include <ui/SessionReportSharing.h>
#include <ui/SessionReportWindowRoot.h>
#include <ui/SettingsView.h>

#include <QApplication>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QScrollBar>
#include <QWindow>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <unistd.h>

namespace velmor {
namespace {

using test::Companion;
using test::PrivateAudioSession;

constexpr int settlingSeconds = 5;
constexpr int measuredSeconds = 60;

bool waitFor(const std::function<bool()>& condition, int milliseconds = 10'000)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition() && clock.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return condition();
}

/// Gathers the item, asks for its pictures as hosts do, and clicks on it.
class TrayHost final : public QDBusVirtualObject
{
public:
    TrayHost()
        : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("tray host")))
    {
        m_bus.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
        m_bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    }
    ~TrayHost() override { QDBusConnection::disconnectFromBus(QStringLiteral("tray host")); }
    TrayHost(const TrayHost&) = delete;
    TrayHost& operator=(const TrayHost&) = delete;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.member() == QStringLiteral("RegisterStatusNotifierItem")) {
            m_item = message.arguments().value(0).toString();
            QDBusMessage get = call("org.freedesktop.DBus.Properties", "GetAll");
            get << QStringLiteral("org.kde.StatusNotifierItem");
            auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(get), this);
            connect(watcher, &QDBusPendingCallWatcher::finished, this, [this] { isShown = true; });
        }
        return connection.send(message.createReply());
    }

    void click()
    {
        QDBusMessage activate = call("org.kde.StatusNotifierItem", "Activate");
        activate << 600 << 10;
        m_bus.asyncCall(activate);
    }

    bool isShown = false;

private:
    QDBusMessage call(const char* interface, const char* method) const
    {
        return QDBusMessage::createMethodCall(m_item, QStringLiteral("/StatusNotifierItem"),
                                              QString::fromLatin1(interface), QString::fromLatin1(method));
    }

    QDBusConnection m_bus;
    QString m_item;
};

/// The year's sessions, and the settings of somebody who keeps them all with their readings.
void prepareUser(const PrivateAudioSession& session)
{
    const auto folder = session / "data/Velmor";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "sessions.json") << encodedHistory(test::year()).value();
    std::filesystem::create_directories(session / "config/Velmor");
    PollMainLoop loop;
    SqliteDefaultsStore defaults(loop, session / "config/Velmor/defaults.sqlite");
    for (const char* const days : {"sessionDetailedRetentionDays", "sessionTotalRetentionDays"})
        defaults.set(days, std::int64_t(3650));
}

void startToTray(benchmark::State& state)
{
    PrivateAudioSession session;
    if (!session.problem().empty()) {
        state.SkipWithError(session.problem().c_str());
        return;
    }
    prepareUser(session);
    for (auto _ : state) {
        TrayHost host;
        const auto start = std::chrono::steady_clock::now();
        const Companion program({VELMOR_PROGRAM}, (session / "velmor.log").native());
        if (!waitFor([&] { return host.isShown; }))
            state.SkipWithError("no item");
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}
BENCHMARK(startToTray)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

/// In this process, with everything in it: from the click to the window that has been painted.
void clickToDigest(benchmark::State& state)
{
    struct Painted final : QObject
    {
        bool isPainted = false;
        bool eventFilter(QObject*, QEvent* event) override
        {
            isPainted = isPainted || event->type() == QEvent::Paint;
            return false;
        }
    };
    test::PosedHub posed;
    test::popoverStates()[1].pose(posed);
    posed.settle();
    test::NoSoftwareUpdater updater;
    CheckForUpdatesViewModel model(updater);
    FloatingPanelWindowRegistry panels([](AppState&) { return new QWidget; });
    for (auto _ : state) {
        state.PauseTiming();
        {
            // Each time the first one.
            auto* const view = new MenuBarView(*posed.hub, model, panels, {});
            Popover popover(view);
            Painted painted;
            view->installEventFilter(&painted);
            state.ResumeTiming();
            popover.toggle(QPoint(600, 10));
            waitFor([&] { return painted.isPainted; });
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}
BENCHMARK(clickToDigest)->Iterations(30)->Unit(benchmark::kMillisecond);

/// The history of a year, as its window has it.
struct OpenedHistory
{
    /// \param readings of each session; none for about a hundred.
    explicit OpenedHistory(std::optional<int> readings = {})
    {
        std::vector<Session> history = test::year();
        for (std::size_t i = 0; readings && i < history.size(); ++i)
            history[i].readings =
                test::sampleSession(history[i].startDate, *readings, static_cast<unsigned>(i)).readings;
        // As though the newest were of today.
        const auto shift = posed.host.loop.now() - history.front().startDate - std::chrono::hours(2);
        for (Session& session : history) {
            session.startDate += std::chrono::duration_cast<Date::duration>(shift);
            *session.endDate += std::chrono::duration_cast<Date::duration>(shift);
            for (SPLReading& reading : session.readings)
                reading.timestamp += std::chrono::duration_cast<Date::duration>(shift);
        }
        posed.history(std::move(history));
    }

    template <typename View>
    View& part() const
    {
        for (QWidget* const widget : window->findChildren<QWidget*>()) {
            if (auto* const found = dynamic_cast<View*>(widget))
                return *found;
        }
        std::abort();
    }

    void open()
    {
        window = std::make_unique<HistoryWindowView>(*posed.hub, sharing);
        window->resize(900, 900);
        window->show();
        while (!window->windowHandle()->isExposed())
            QCoreApplication::processEvents();
        window->repaint();
    }

    const test::TemporaryFolder folder;
    test::PosedHub posed;
    test::NoShareServices shareServices;
    SessionReportSharing sharing{*posed.hub, shareServices, folder.path()};
    std::unique_ptr<HistoryWindowView> window;
};

/// From the command to the window that has been painted, with a year of sessions.
void openHistory(benchmark::State& state)
{
    OpenedHistory history;
    for (auto _ : state) {
        history.open();
        state.PauseTiming();
        history.window.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(openHistory)->Iterations(20)->Unit(benchmark::kMillisecond);

/// From the last seven days to the year of sessions, painted.
void chooseTheYear(benchmark::State& state)
{
    OpenedHistory history;
    history.open();
    auto& grid = history.part<CalendarGrid>();
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(&grid, &event);
    };
    for (auto _ : state) {
        state.PauseTiming();
        press(Qt::Key_Right, Qt::NoModifier);
        for (int i = 0; i < 11; ++i)
            press(Qt::Key_PageUp, Qt::ShiftModifier);
        history.window->repaint();
        state.ResumeTiming();
        press(Qt::Key_PageUp, Qt::ShiftModifier);
        history.window->repaint();
    }
}
BENCHMARK(chooseTheYear)->Iterations(20)->Unit(benchmark::kMillisecond);

/// The year's list by 60 pixels a frame, each drawn as the system asks for it.
void scroll(benchmark::State& state, OpenedHistory& history)
{
    history.open();
    auto& grid = history.part<CalendarGrid>();
    QKeyEvent up(QEvent::KeyPress, Qt::Key_PageUp, Qt::ShiftModifier);
    for (int i = 0; i < 12; ++i)
        QCoreApplication::sendEvent(&grid, &up);
    QScrollBar& bar = *history.part<SessionList>().verticalScrollBar();
    QCoreApplication::processEvents();
    double longest = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        bar.setValue(bar.value() + 60);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        const std::chrono::duration<double, std::milli> frame = std::chrono::steady_clock::now() - start;
        longest = std::max(longest, frame.count());
    }
    state.counters["longest_ms"] = longest;
}

void scrollTheYear(benchmark::State& state)
{
    OpenedHistory history;
    scroll(state, history);
}
BENCHMARK(scrollTheYear)->Iterations(1000)->Unit(benchmark::kMillisecond);

/// From the command to the window that has been painted, on the Audio tab.
void openSettings(benchmark::State& state)
{
    test::PosedHub posed;
    posed.history(test::year());
    for (auto _ : state) {
        auto window =
            std::make_unique<SettingsView>(*posed.hub, posed.host.defaults, posed.host.workspace, [] {});
        window->show();
        while (!window->windowHandle()->isExposed())
            QCoreApplication::processEvents();
        window->repaint();
        state.PauseTiming();
        window.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(openSettings)->Iterations(20)->Unit(benchmark::kMillisecond);

/// The same of sessions of eight hours each, as charts of many readings take longest.
void scrollLongSessions(benchmark::State& state)
{
    OpenedHistory history(2880);
    scroll(state, history);
}
BENCHMARK(scrollLongSessions)->Iterations(1000)->Unit(benchmark::kMillisecond);

enum class Digest { closed, open };

void minuteOfASession(benchmark::State& state, Digest digest)
{
    PrivateAudioSession session;
    if (!session.problem().empty()) {
        state.SkipWithError(session.problem().c_str());
        return;
    }
    prepareUser(session);
    session.createMicrophone("testmic");
    // Levels that change all the time.
    std::vector<float> tone = test::sine(1000, 0.5, 48000, 90 * 48000);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] *= static_cast<float>(0.2 + 0.8 * static_cast<double>(i / 4800 % 10) / 10);
    test::writeSound(session / "tones.wav", {tone, tone}, 48000);
    const auto player = session.playInto("testmic", session / "tones.wav");
    std::filesystem::copy_file("/bin/sleep", session / "reaper");
    TrayHost host;
    const Companion program({VELMOR_PROGRAM}, (session / "velmor.log").native());
    const Companion workstation({(session / "reaper").native(), "1000"});
    waitFor([&] { return host.isShown; });
    if (digest == Digest::open)
        host.click();
    for (auto _ : state) {
        waitFor([] { return false; }, settlingSeconds * 1000);
        const double timeBefore = bench::processorSeconds(program.process());
        const double memoryBefore = bench::memory(program.process(), "VmRSS");
        waitFor([] { return false; }, measuredSeconds * 1000);
        const double time = bench::processorSeconds(program.process()) - timeBefore;
        state.counters["percent_of_a_core"] = 100 * time / measuredSeconds;
        state.counters["peak_MiB"] = bench::memory(program.process(), "VmHWM");
        state.counters["growth_MiB"] = bench::memory(program.process(), "VmRSS") - memoryBefore;
    }
}
/// In this process, an hour of a session on the hub's own clock with the digest open: a level each tenth of a
/// second, a picture each second, each minute closed and opened anew, each ten minutes with a report. The
/// half hour before fills what remembers the last half hour.
void hourWithTheDigest(benchmark::State& state)
{
    constexpr int halfHour = 1800;
    const test::TemporaryFolder folder;
    test::PosedHub posed;
    posed.history(test::year());
    test::NoShareServices shareServices;
    SessionReportSharing sharing(*posed.hub, shareServices, folder.path());
    test::NoSoftwareUpdater updater;
    CheckForUpdatesViewModel model(updater);
    FloatingPanelWindowRegistry panels([](AppState&) { return new QWidget; });
    auto* const view = new MenuBarView(*posed.hub, model, panels, {});
    Popover popover(view);
    const auto pass = [&](int second) {
        for (int tenth = 0; tenth < 10; ++tenth) {
            const double level = 70 + (second * 10 + tenth) % 200 / 10.0;
            test::setLevels(*posed.hub, level, level + 4);
            posed.host.loop.runFor(0.1);
        }
        view->refresh();
        view->repaint();
        QCoreApplication::processEvents();
        if (second % 60 == 0) {
            popover.close();
            popover.openAsWindow();
        }
        if (second % 600 == 0) {
            SessionReportWindowRoot report(*posed.hub, test::year()[0].id, sharing);
            report.resize(760, 720);
            report.show();
            report.repaint();
            QCoreApplication::processEvents();
        }
    };
    for (auto _ : state) {
        posed.session("REAPER");
        for (int second = 0; second < halfHour; ++second)
            pass(second);
        const double before = bench::memory(::getpid(), "VmRSS");
        for (int second = halfHour; second < 3 * halfHour; ++second)
            pass(second);
        state.counters["growth_MiB"] = bench::memory(::getpid(), "VmRSS") - before;
        state.counters["dose"] = posed.hub->doseCalculator.dosePercentage.get();
    }
}
BENCHMARK(hourWithTheDigest)->Iterations(1)->Unit(benchmark::kSecond);

BENCHMARK_CAPTURE(minuteOfASession, digestClosed, Digest::closed)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(minuteOfASession, digestOpen, Digest::open)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
} // namespace velmor

int main(int argumentCount, char** arguments)
{
    const velmor::test::VirtualScreen screen("1280x1024x24");
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    ::unsetenv("WAYLAND_DISPLAY");
    const QApplication application(argumentCount, arguments);
    benchmark::Initialize(&argumentCount, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

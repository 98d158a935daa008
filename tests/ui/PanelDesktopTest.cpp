// SPDX-License-Identifier: GPL-3.0-or-later
// The floating panel beside a workstation on real desktops, used by the pointer of the screen: openbox on
// X11, and sway, which has a layer shell.
#include "ReportDesktop.h"

#include <platform/MemoryDefaultsStore.h>
#include <support/PopoverStates.h>
#include <ui/FloatingPanelWindow.h>
#include <ui/FloatingPanelWindowRegistry.h>
#include <ui/Style.h>

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPixmap>
#include <QPointer>
#include <QScreen>

#include <gmock/gmock.h>

#include <functional>

namespace velmor {
namespace {

using test::contentOf;
using test::desktop;
using test::waitFor;
using testing::HasSubstr;

constexpr auto frameKey = "Window Frame VelmorFloatingPanel";
constexpr auto startPlace = "600 100 320 360";
constexpr QPoint start(600, 100);
constexpr QPoint insideOfWorkstation(100, 560);

/// What stands for a workstation writes what it is told to a file.
class PanelDesktop : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!desktop->problem.empty()) {
            if (test::packagesMustBeThere())
                FAIL() << desktop->problem;
            // Without its packages there is no screen to test on; where CI runs they are installed.
            GTEST_SKIP() << "it can't be started here: " << desktop->problem;
        }
        m_defaults.set(frameKey, std::string(startPlace));
        pointer({"mousemove", "5", "5"});
    }

    void TearDown() override
    {
        if (m_panel)
            m_panel->close();
        QTest::qWait(0);
    }

    static std::string pointer(std::vector<std::string> words)
    {
        words.insert(words.begin(), "xdotool");
        return test::run(words).output;
    }

    void open()
    {
        m_panels.show(*m_posed.hub);
        ASSERT_NE(m_panel, nullptr);
        // Until it has grown.
        QTest::qWait(600);
    }

    void click(const QPoint& place, const char* times = "1")
    {
        pointer({"mousemove", std::to_string(place.x()), std::to_string(place.y()), "click", "--repeat",
                 times, "--delay", "60", "1"});
        QTest::qWait(300);
    }

    void drag(const QPoint& from, const QPoint& distance)
    {
        pointer({"mousemove", std::to_string(from.x()), std::to_string(from.y()), "mousedown", "1"});
        QTest::qWait(100);
        constexpr int steps = 4;
        for (int i = 0; i < steps; ++i) {
            pointer({"mousemove_relative", "--", std::to_string(distance.x() / steps),
                     std::to_string(distance.y() / steps)});
            QTest::qWait(50);
        }
        pointer({"mouseup", "1"});
        QTest::qWait(300);
    }

    void type(const char* text)
    {
        pointer({"type", "--delay", "30", text});
        pointer({"key", "Return"});
    }

    /// Whether the screen shows the panel's ground at a place of the panel that has nothing on it.
    bool isSeenAt(const QPoint& panel) const
    {
        const QPoint bare = panel + QPoint(6, 120);
        const QImage screen =
            QGuiApplication::primaryScreen()->grabWindow(0, bare.x(), bare.y(), 1, 1).toImage();
        return screen.pixelColor(0, 0) == shadesOf(appearanceOf(m_panel->palette())).page;
    }

    std::string typed() const { return contentOf(desktop->folder / "typed"); }

    std::vector<std::string> workstation() const
    {
        return {"sh", "-c", "cat > '" + (desktop->folder / "typed").native() + "'"};
    }

    test::PosedHub m_posed;
    MemoryDefaultsStore m_defaults;
    QPointer<FloatingPanelWindow> m_panel;
    FloatingPanelWindowRegistry m_panels{[this](AppState& hub) -> QWidget* {
        m_panel = new FloatingPanelWindow(hub, m_defaults);
        return m_panel;
    }};
};

class PanelOnX11 : public PanelDesktop
{
protected:
    void SetUp() override
    {
        PanelDesktop::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        m_manager = std::make_unique<test::Companion>(std::vector<std::string>{"openbox"});
        std::vector<std::string> command = {"xterm", "-geometry", "60x10+20+500", "-e"};
        for (const std::string& word : workstation())
            command.push_back(word);
        m_workstation = std::make_unique<test::Companion>(command);
        // The manager may have come after it.
        ASSERT_TRUE(waitFor([this] {
            click(insideOfWorkstation);
            return pointer({"getactivewindow", "getwindowpid"}) ==
                   std::to_string(m_workstation->process()) + "\n";
        }));
        m_workstationWindow = activeWindow();
    }

    /// Of _NET_ACTIVE_WINDOW.
    static std::string activeWindow() { return pointer({"getactivewindow"}); }

    std::unique_ptr<test::Companion> m_manager;
    std::unique_ptr<test::Companion> m_workstation;
    std::string m_workstationWindow;
};

TEST_F(PanelOnX11, AClickLeavesTheWorkstationActiveAndTheKeysWithIt)
{
    open();
    EXPECT_TRUE(isSeenAt(start));
    EXPECT_EQ(activeWindow(), m_workstationWindow);
    click(start + QPoint(40, 40));
    EXPECT_EQ(activeWindow(), m_workstationWindow);
    drag(start + QPoint(200, 40), {-80, 60});
    EXPECT_EQ(activeWindow(), m_workstationWindow);
    type("still mixing");
    EXPECT_TRUE(waitFor([this] { return typed() == "still mixing\n"; })) << typed();
    EXPECT_TRUE(m_panels.isOpen);
}

TEST_F(PanelOnX11, IsMovedByItsBackgroundAndComesBackThere)
{
    open();
    ASSERT_TRUE(isSeenAt(start));
    drag(start + QPoint(200, 40), {-80, 60});
    const QPoint moved = start + QPoint(-80, 60);
    EXPECT_EQ(m_panel->pos(), moved);
    EXPECT_TRUE(isSeenAt(moved));
    click(moved + QPoint(40, 40), "2");
    EXPECT_TRUE(waitFor([this] { return !m_panels.isOpen && !m_panel; }));
    open();
    EXPECT_EQ(m_panel->pos(), moved);
    EXPECT_TRUE(isSeenAt(moved));
}

TEST_F(PanelOnX11, IsOnAllDesktops)
{
    open();
    pointer({"set_desktop", "2"});
    EXPECT_TRUE(waitFor([] { return pointer({"get_desktop"}) == "2\n"; }));
    QTest::qWait(200);
    EXPECT_TRUE(isSeenAt(start));
    pointer({"set_desktop", "0"});
}

class PanelOnLayerShell : public PanelDesktop
{
protected:
    void SetUp() override
    {
        PanelDesktop::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        const auto configuration = m_folder / "sway.conf";
        test::writeFile(configuration, "xwayland disable\noutput * mode 1280x1024\n"
                                       "output * bg #39424e solid_color\ndefault_border none\n");
        const auto runtime = m_folder / "run";
        std::filesystem::create_directory(runtime);
        ::chmod(m_folder.path().c_str(), 0755);
        ::chmod(runtime.c_str(), 0700);
        std::vector<std::string> command;
        // It starts for nobody who is root.
        if (::geteuid() == 0) {
            constexpr auto nobody = 65534;
            ASSERT_EQ(::chown(runtime.c_str(), nobody, nobody), 0);
            command = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
        }
        for (const std::string& word :
             {std::string("env"), "XDG_RUNTIME_DIR=" + runtime.native(), "HOME=" + runtime.native(),
              std::string("WLR_BACKENDS=x11"), std::string("WLR_RENDERER=pixman"), std::string("sway"),
              std::string("-c"), configuration.native()})
            command.push_back(word);
        m_compositor = std::make_unique<test::Companion>(command, m_folder / "sway.log");
        ASSERT_TRUE(waitFor([&] {
            for (const auto& entry : std::filesystem::directory_iterator(runtime)) {
                const std::string name = entry.path().filename().native();
                if (name.starts_with("sway-ipc."))
                    m_ipc = entry.path().native();
                else if (name.starts_with("wayland-") && !name.ends_with(".lock"))
                    m_display = entry.path().native();
            }
            return !m_ipc.empty() && !m_display.empty();
        })) << contentOf(m_folder / "sway.log");
        ::setenv("WAYLAND_DISPLAY", m_display.c_str(), 1);
        std::vector<std::string> terminal = {"foot"};
        for (const std::string& word : workstation())
            terminal.push_back(word);
        m_workstation = std::make_unique<test::Companion>(terminal, m_folder / "foot.log");
        ASSERT_TRUE(waitFor([this] { return focused() == "foot"; })) << contentOf(m_folder / "foot.log");
    }

    void TearDown() override
    {
        PanelDesktop::TearDown();
        m_workstation.reset();
        m_compositor.reset();
        ::unsetenv("WAYLAND_DISPLAY");
    }

    std::string ask(const std::vector<std::string>& words) const
    {
        std::vector<std::string> command = {"swaymsg", "--socket", m_ipc, "--raw"};
        command.insert(command.end(), words.begin(), words.end());
        return test::run(command).output;
    }

    /// The application that has the keyboard.
    std::string focused() const
    {
        const std::function<QString(const QJsonObject&)> find = [&](const QJsonObject& node) -> QString {
            if (node[u"focused"].toBool())
                return node[u"app_id"].toString();
            for (const QJsonValue& inner : node[u"nodes"].toArray())
                if (const QString found = find(inner.toObject()); !found.isEmpty())
                    return found;
            return {};
        };
        const std::string tree = ask({"-t", "get_tree"});
        return find(QJsonDocument::fromJson(QByteArray::fromStdString(tree)).object()).toStdString();
    }

    test::TemporaryFolder m_folder;
    std::string m_ipc;
    std::string m_display;
    std::unique_ptr<test::Companion> m_compositor;
    std::unique_ptr<test::Companion> m_workstation;
};

TEST_F(PanelOnLayerShell, IsAboveAFullScreenWindowAndLeavesItTheKeyboard)
{
    EXPECT_THAT(ask({"fullscreen", "enable"}), HasSubstr("\"success\": true"));
    open();
    ASSERT_TRUE(waitFor([this] { return isSeenAt(start); }));
    EXPECT_EQ(focused(), "foot");
    click(start + QPoint(40, 40));
    EXPECT_EQ(focused(), "foot");
    type("still mixing");
    EXPECT_TRUE(waitFor([this] { return typed() == "still mixing\n"; })) << typed();
    EXPECT_TRUE(isSeenAt(start));
}

TEST_F(PanelOnLayerShell, GoesAsFarAsThePointerAndComesBackThere)
{
    open();
    ASSERT_TRUE(waitFor([this] { return isSeenAt(start); }));
    drag(start + QPoint(200, 40), {-80, 60});
    const QPoint moved = start + QPoint(-80, 60);
    EXPECT_EQ(m_panel->pos(), moved);
    EXPECT_TRUE(isSeenAt(moved));
    EXPECT_EQ(focused(), "foot");
    click(moved + QPoint(40, 40), "2");
    EXPECT_TRUE(waitFor([this] { return !m_panels.isOpen && !m_panel; }));
    open();
    EXPECT_TRUE(waitFor([&] { return isSeenAt(moved); }));
}

TEST_F(PanelOnLayerShell, IsOnEveryWorkspace)
{
    open();
    ASSERT_TRUE(waitFor([this] { return isSeenAt(start); }));
    ask({"workspace", "5"});
    QTest::qWait(300);
    EXPECT_TRUE(isSeenAt(start));
}

TEST_F(PanelOnLayerShell, GrowsDownwardWithWhatItShows)
{
    open();
    const int before = m_panel->height();
    m_posed.session("REAPER");
    QTest::qWait(600);
    EXPECT_GT(m_panel->height(), before);
    EXPECT_EQ(m_panel->pos(), start);
    EXPECT_TRUE(isSeenAt(start));
}

TEST_F(PanelOnLayerShell, IsClosedWhenTheCompositorEnds)
{
    open();
    ASSERT_TRUE(waitFor([this] { return isSeenAt(start); }));
    m_workstation.reset();
    m_compositor.reset();
    EXPECT_TRUE(waitFor([this] { return !m_panels.isOpen; }));
    EXPECT_FALSE(LayerSurface::isOffered());
}

} // namespace
} // namespace velmor

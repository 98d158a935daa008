// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <support/PrivateAudioSession.h>
#include <support/SmallDisk.h>
#include <support/TemporaryFolder.h>
#include <support/VirtualScreen.h>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QTest>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace velmor::test {

inline constexpr int patienceMilliseconds = 10'000;

/// What the process has from its start on: a screen, a bus, folders and a disk that nothing can be written
/// to.
struct Desktop
{
    TemporaryFolder folder;
    std::filesystem::path disk;
    std::unique_ptr<SmallDisk> smallDisk;
    std::unique_ptr<VirtualScreen> screen;
    std::unique_ptr<Companion> bus;
    std::string problem;

    Desktop()
    {
        disk = folder / "read-only disk";
        std::filesystem::create_directory(disk);
        smallDisk = std::make_unique<SmallDisk>(disk, "1m");
        ::setenv("XDG_RUNTIME_DIR", (folder / "run").c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
        ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
        for (const char* name : {"run", "config", "data", "data/applications"})
            std::filesystem::create_directory(folder / name);
        ::chmod((folder / "run").c_str(), 0700);
        ::unsetenv("WAYLAND_DISPLAY");
        // Whatever desktop the test is started on, this is none of them.
        for (const char* name :
             {"XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "KDE_FULL_SESSION", "GNOME_DESKTOP_SESSION_ID",
              "MATE_DESKTOP_SESSION_ID", "QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS",
              "QT_AUTO_SCREEN_SCALE_FACTOR", "QT_FONT_DPI"})
            ::unsetenv(name);
        ::setenv("QT_QPA_PLATFORM", "xcb", 1);
        ::setenv("QT_STYLE_OVERRIDE", "fusion", 1);
        registerHandlers();
        screen = std::make_unique<VirtualScreen>("1280x1024x24");
        problem = screen->problem();
        startBus();
    }

    std::string log() const { return contentOf(folder / "opened"); }

private:
    /// A program for PDF files and one for mail, which note what they are given.
    void registerHandlers() const
    {
        const auto script = folder / "handler";
        writeFile(script, "#!/bin/sh\nprintf '%s\\n' \"$*\" >> '" + (folder / "opened").native() + "'\n");
        ::chmod(script.c_str(), 0700);
        for (const auto& [name, type] : {std::pair("viewer", "application/pdf;inode/directory"),
                                         std::pair("mail", "x-scheme-handler/mailto")})
            writeFile(folder.path() / "data/applications" / (std::string(name) + ".desktop"),
                      "[Desktop Entry]\nType=Application\nName=" + std::string(name) +
                          "\nExec=" + script.native() + " " + name + " %u\nMimeType=" + type + ";\n");
        writeFile(folder / "config/mimeapps.list",
                  "[Default Applications]\napplication/pdf=viewer.desktop\ninode/directory=viewer.desktop\n"
                  "x-scheme-handler/mailto=mail.desktop\n");
    }

    void startBus()
    {
        const auto socket = folder / "run/bus";
        const std::string address = "unix:path=" + socket.native();
        // No program of the machine is started by it.
        const auto configuration = folder / "bus.conf";
        writeFile(
            configuration,
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
            "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig><type>session</type><listen>" +
                address +
                "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
        bus = std::make_unique<Companion>(
            std::vector<std::string>{"dbus-daemon", "--nofork", "--config-file=" + configuration.native()});
        if (!PrivateAudioSession::waitUntil([&] { return std::filesystem::exists(socket); }))
            problem = "no bus";
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    }
};

inline Desktop* desktop = nullptr;

template <typename Condition>
bool waitFor(Condition condition)
{
    return QTest::qWaitFor(condition, patienceMilliseconds);
}

/// The visible window of a kind; null if none comes.
template <typename Window>
Window* waitForWindow()
{
    Window* found = nullptr;
    (void)waitFor([&found] {
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (auto* const wanted = qobject_cast<Window*>(window); wanted && wanted->isVisible())
                found = wanted;
        }
        return found != nullptr;
    });
    return found;
}

/// A file manager that notes what it is to show.
class FileManager final : public QDBusVirtualObject
{
public:
    FileManager()
        : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("file manager")))
    {
        EXPECT_TRUE(m_bus.registerVirtualObject(QStringLiteral("/org/freedesktop/FileManager1"), this));
        EXPECT_TRUE(m_bus.registerService(QStringLiteral("org.freedesktop.FileManager1")));
    }
    ~FileManager() override
    {
        m_bus.unregisterService(QStringLiteral("org.freedesktop.FileManager1"));
        QDBusConnection::disconnectFromBus(QStringLiteral("file manager"));
    }
    FileManager(const FileManager&) = delete;
    FileManager& operator=(const FileManager&) = delete;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        shown = message.arguments().value(0).toStringList();
        return connection.send(message.createReply());
    }

    QStringList shown;

private:
    QDBusConnection m_bus;
};

} // namespace velmor::test

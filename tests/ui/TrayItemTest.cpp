// SPDX-License-Identifier: GPL-3.0-or-later
#include "ReportDesktop.h"

#include <support/PopoverStates.h>
#include <ui/TrayItem.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");

/// What gathers the items of a desktop, on a connection of its own.
class Watcher final : public QDBusVirtualObject
{
public:
    Watcher()
        : bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("tray host")))
    {
        bus.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
        EXPECT_TRUE(bus.registerService(watcherName));
    }
    ~Watcher() override
    {
        bus.unregisterService(watcherName);
        QDBusConnection::disconnectFromBus(QStringLiteral("tray host"));
    }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.member() == QStringLiteral("RegisterStatusNotifierItem"))
            items.append(message.arguments().value(0).toString());
        return connection.send(message.createReply());
    }

    QDBusConnection bus;
    QStringList items;
};

/// Hears one of the item's signals.
class SignalCounter final : public QObject
{
    Q_OBJECT

public:
    explicit SignalCounter(const QString& signal)
    {
        QDBusConnection::sessionBus().connect(QString(), QStringLiteral("/StatusNotifierItem"),
                                              QStringLiteral("org.kde.StatusNotifierItem"), signal, this,
                                              SLOT(heard()));
    }

    int count = 0;

public slots:
    void heard() { ++count; }
};

class TrayItemTest : public testing::Test
{
protected:
    void makeItem()
    {
        item = std::make_unique<TrayItem>(
            *posed.hub, schemes,
            SceneActions{.openSettings = [this] { opened.emplace_back("settings"); },
                         .openHistory = [this] { opened.emplace_back("history"); },
                         .openReport = {},
                         .terminate = [this] { opened.emplace_back("end"); }},
            TrayItem::Callbacks{.onOpen = [this] { opened.emplace_back("open"); },
                                .onClick = [this](const std::optional<QPoint>&) { ++clicks; },
                                .isDigestOpen = [this] { return isDigestOpen; }});
    }

    /// Calls the item as a host does, and waits for its answer.
    QDBusMessage call(const char* path, const char* interface, const char* method,
                      const QVariantList& arguments = {})
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(watcher->items.last(), QString::fromLatin1(path),
                                           QString::fromLatin1(interface), QString::fromLatin1(method));
        message.setArguments(arguments);
        const QDBusPendingCall pending = watcher->bus.asyncCall(message);
        EXPECT_TRUE(waitFor([&] { return pending.isFinished(); })) << method;
        return pending.reply();
    }

    QVariant property(const char* name)
    {
        const QDBusMessage reply =
            call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                 {QStringLiteral("org.kde.StatusNotifierItem"), QString::fromLatin1(name)});
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }

    /// The title and the text of the tool tip.
    QStringList toolTip()
    {
        const auto argument = property("ToolTip").value<QDBusArgument>();
        QString icon;
        QString title;
        QString text;
        argument.beginStructure();
        argument >> icon;
        argument.beginArray();
        argument.endArray();
        argument >> title >> text;
        argument.endStructure();
        return {title, text};
    }

    struct Entry
    {
        int id = 0;
        QString label;
    };

    static void read(const QDBusArgument& argument, std::vector<Entry>& entries)
    {
        Entry entry;
        QVariantMap properties;
        argument.beginStructure();
        argument >> entry.id >> properties;
        entry.label = properties.value(QStringLiteral("label")).toString();
        entries.push_back(entry);
        argument.beginArray();
        while (!argument.atEnd()) {
            QDBusVariant child;
            argument >> child;
            read(child.variant().value<QDBusArgument>(), entries);
        }
        argument.endArray();
        argument.endStructure();
    }

    std::vector<Entry> menu()
    {
        const QDBusMessage reply =
            call("/MenuBar", "com.canonical.dbusmenu", "GetLayout", {0, -1, QStringList()});
        EXPECT_EQ(reply.signature().toStdString(), "u(ia{sv}av)");
        std::vector<Entry> entries;
        read(reply.arguments().value(1).value<QDBusArgument>(), entries);
        return entries;
    }

    int idOf(const char* label)
    {
        for (const Entry& entry : menu()) {
            if (entry.label == QString::fromLatin1(label))
                return entry.id;
        }
        return 0;
    }

    void choose(int id)
    {
        call("/MenuBar", "com.canonical.dbusmenu", "Event",
             {id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(0)), 0U});
        QTest::qWait(20);
    }

    /// Lets the item follow the hub.
    void pass()
    {
        posed.settle();
        QTest::qWait(300);
    }

    struct NoSchemes final : ColorSchemes
    {
        std::optional<bool> areWindowsDark() const override { return {}; }
        std::optional<bool> arePanelsDark() const override { return {}; }
        Subscription onChange(const std::function<void()>&) override { return {}; }
    };

    PosedHub posed;
    NoSchemes schemes;
    std::vector<std::string> opened;
    int clicks = 0;
    bool isDigestOpen = false;
    std::unique_ptr<Watcher> watcher = std::make_unique<Watcher>();
    std::unique_ptr<TrayItem> item;
};

TEST_F(TrayItemTest, RegistersAndSaysWhatItIs)
{
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    EXPECT_EQ(watcher->items.size(), 1);
    EXPECT_EQ(property("Category").toString(), QStringLiteral("ApplicationStatus"));
    EXPECT_EQ(property("Id").toString(), QStringLiteral("velmor"));
    EXPECT_EQ(property("Title").toString(), QStringLiteral("Velmor"));
    EXPECT_EQ(property("Status").toString(), QStringLiteral("Active"));
    // Without it Xfce's panel and waybar would open the menu at a click.
    ASSERT_TRUE(property("ItemIsMenu").isValid());
    EXPECT_FALSE(property("ItemIsMenu").toBool());
    EXPECT_EQ(property("Menu").value<QDBusObjectPath>().path(), QStringLiteral("/MenuBar"));
    EXPECT_EQ(property("IconName").toString(), QString());
}

TEST_F(TrayItemTest, PicturesTravelInTheOrderOfTheNetwork)
{
    posed.hub->settings.menuBarDisplayMode = MenuBarDisplayMode::iconAndDBA;
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    const auto argument = property("IconPixmap").value<QDBusArgument>();
    const QList<QImage> wanted = trayPictures(MenuBarLabel::of(*posed.hub), TrayForm::square,
                                              appearanceOf(QApplication::palette()), 1);
    int count = 0;
    argument.beginArray();
    while (!argument.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray bytes;
        argument.beginStructure();
        argument >> width >> height >> bytes;
        argument.endStructure();
        ASSERT_LT(count, wanted.size());
        const QImage image = wanted[count++].convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(QSize(width, height), image.size());
        ASSERT_EQ(bytes.size(), 4 * width * height);
        const auto at = [&](int i) { return static_cast<int>(static_cast<unsigned char>(bytes[i])); };
        for (int i = 0; i < width * height; i += 7) {
            const QRgb pixel = image.pixel(i % width, i / width);
            EXPECT_EQ(at(4 * i), qAlpha(pixel));
            EXPECT_EQ(at(4 * i + 1), qRed(pixel));
            EXPECT_EQ(at(4 * i + 2), qGreen(pixel));
            EXPECT_EQ(at(4 * i + 3), qBlue(pixel));
        }
    }
    argument.endArray();
    EXPECT_EQ(count, wanted.size());
}

TEST_F(TrayItemTest, TheTipHasLevelDoseAndSession)
{
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    EXPECT_EQ(toolTip(), QStringList({QStringLiteral("Velmor · not measuring"),
                                      QStringLiteral("Dose 0.0% · Safe\nNo session")}));
    posed.session("A & B");
    posed.dose(71.26);
    setLevels(*posed.hub, 78.44, 82.06);
    posed.hub->pauseService.pause({}, posed.hub->now());
    // It rests for two seconds after each change.
    ASSERT_TRUE(waitFor([&] {
        posed.settle();
        return toolTip().value(0).contains(QStringLiteral("78.4"));
    }));
    EXPECT_EQ(toolTip(), QStringList({QStringLiteral("Velmor · 78.4 dBA · 82.1 dBC · paused"),
                                      QStringLiteral("Dose 71.3% · Warning\nSession A &amp; B · 0m")}));
    // The last change is told too.
    posed.hub->endSession();
    posed.hub->pauseService.resume();
    posed.settle();
    ASSERT_TRUE(waitFor([&] { return toolTip().value(0) == QStringLiteral("Velmor · not measuring"); }));
}

TEST_F(TrayItemTest, TheTipStaysAsItIsWhileTheDigestIsOpen)
{
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    isDigestOpen = true;
    posed.session("REAPER");
    QTest::qWait(2500);
    EXPECT_TRUE(toolTip().value(1).endsWith(QStringLiteral("No session")));
    // Nothing else has to change for it to follow then.
    isDigestOpen = false;
    ASSERT_TRUE(waitFor([&] { return toolTip().value(1).contains(QStringLiteral("Session REAPER")); }));
}

TEST_F(TrayItemTest, PublishesFourTimesASecondAtMostAndOnlyWhatChanges)
{
    posed.hub->settings.menuBarDisplayMode = MenuBarDisplayMode::dBA;
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    posed.session("REAPER");
    // Past the second announcement to a host that has just begun.
    QTest::qWait(1700);
    SignalCounter icons(QStringLiteral("NewIcon"));
    for (int i = 0; i < 30; ++i) {
        setLevels(*posed.hub, 60 + 0.01 * i, 70);
        posed.settle();
        QTest::qWait(10);
    }
    // All of them are a 60.
    EXPECT_LE(icons.count, 1);
    icons.count = 0;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; clock.elapsed() < 1000; ++i) {
        setLevels(*posed.hub, 60 + i % 30, 70);
        posed.settle();
        QTest::qWait(10);
    }
    EXPECT_GE(icons.count, 2);
    EXPECT_LE(icons.count, clock.elapsed() / 250 + 1);
}

TEST_F(TrayItemTest, TheMenuHasTheEverydayCommandsWithTheirOwnNumbers)
{
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    QStringList labels;
    for (const Entry& entry : menu()) {
        if (!entry.label.isEmpty())
            labels.append(entry.label);
    }
    EXPECT_EQ(labels,
              QStringList({QStringLiteral("Open Velmor"), QStringLiteral("Start Session"),
                           QStringLiteral("Pause Monitoring"), QStringLiteral("15 Minutes"),
                           QStringLiteral("30 Minutes"), QStringLiteral("60 Minutes"),
                           QStringLiteral("2 Hours"), QStringLiteral("Until Resumed"),
                           QStringLiteral("History"), QStringLiteral("Settings"), QStringLiteral("Quit")}));
    const int quit = idOf("Quit");
    const int start = idOf("Start Session");
    choose(start);
    ASSERT_TRUE(posed.hub->sessionManager.currentSession.get());
    EXPECT_EQ(posed.hub->sessionManager.currentSession.get()->dawName, "Manual Session");
    pass();
    // A host that still shows the earlier menu does not end what has just begun.
    EXPECT_NE(idOf("End Session"), start);
    choose(start);
    EXPECT_TRUE(posed.hub->sessionManager.currentSession.get());
    choose(idOf("60 Minutes"));
    EXPECT_TRUE(posed.hub->pauseService.isPaused);
    EXPECT_EQ(posed.hub->pauseService.pauseUntil.get(), posed.hub->now() + std::chrono::hours(1));
    pass();
    EXPECT_EQ(idOf("Quit"), quit);
    choose(idOf("Resume Monitoring"));
    EXPECT_FALSE(posed.hub->pauseService.isPaused);
    choose(idOf("End Session"));
    EXPECT_FALSE(posed.hub->sessionManager.currentSession.get());
    for (const char* const label : {"Open Velmor", "History", "Settings", "Quit"})
        choose(idOf(label));
    EXPECT_EQ(opened, (std::vector<std::string>{"open", "history", "settings", "end"}));
}

TEST_F(TrayItemTest, WhatIsNotInTheMenuIsAnError)
{
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    EXPECT_EQ(call("/MenuBar", "com.canonical.dbusmenu", "GetLayout", {999, -1, QStringList()}).type(),
              QDBusMessage::ErrorMessage);
    EXPECT_EQ(
        call("/MenuBar", "com.canonical.dbusmenu", "GetProperty", {999, QStringLiteral("label")}).type(),
        QDBusMessage::ErrorMessage);
    EXPECT_EQ(call("/MenuBar", "com.canonical.dbusmenu", "Event",
                   {999, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(0)), 0U})
                  .type(),
              QDBusMessage::ErrorMessage);
    EXPECT_EQ(call("/MenuBar", "com.canonical.dbusmenu", "AboutToShow", {0}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_TRUE(opened.empty());
}

TEST_F(TrayItemTest, ADoubleClickIsOneClick)
{
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    // Of two calls that a busy machine has kept apart, both count.
    QElapsedTimer clock;
    do {
        QTest::qWait(350);
        clicks = 0;
        clock.start();
        call("/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate", {10, 10});
        call("/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate", {10, 10});
    } while (clock.elapsed() > 250);
    EXPECT_EQ(clicks, 1);
    QTest::qWait(350);
    call("/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate", {10, 10});
    EXPECT_EQ(clicks, 2);
}

TEST_F(TrayItemTest, ComesBackWithThePanel)
{
    makeItem();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    std::vector<bool> shown;
    item->onShownChange = [&] { shown.push_back(item->isShown()); };
    watcher.reset();
    ASSERT_TRUE(waitFor([&] { return !item->isShown(); }));
    watcher = std::make_unique<Watcher>();
    ASSERT_TRUE(waitFor([&] { return item->isShown(); }));
    EXPECT_EQ(watcher->items.size(), 1);
    EXPECT_EQ(shown, (std::vector<bool>{false, true}));
}

TEST_F(TrayItemTest, APanelThatStartsLaterFindsIt)
{
    watcher.reset();
    makeItem();
    QTest::qWait(200);
    EXPECT_FALSE(item->isShown());
    watcher = std::make_unique<Watcher>();
    EXPECT_TRUE(waitFor([&] { return item->isShown(); }));
}

} // namespace
} // namespace velmor

#include "TrayItemTest.moc"

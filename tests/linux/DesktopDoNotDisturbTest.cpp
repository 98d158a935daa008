// SPDX-License-Identifier: GPL-3.0-or-later
#include "DesktopSettingsFixture.h"
#include "XfceConfiguration.h"

#include <linux/DesktopDoNotDisturb.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QObject>
#include <QVariantMap>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A notification server that says whether it is inhibited, as Plasma's does.
class InhibitableServer final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
    Q_PROPERTY(bool Inhibited MEMBER m_isInhibited)

public:
    explicit InhibitableServer(bool isInhibited)
        : m_isInhibited(isInhibited)
    {
        m_bus.registerObject("/org/freedesktop/Notifications", this, QDBusConnection::ExportAllProperties);
        m_bus.registerService("org.freedesktop.Notifications");
    }
    ~InhibitableServer() override { QDBusConnection::disconnectFromBus("server"); }

    void inhibit(bool isInhibited)
    {
        m_isInhibited = isInhibited;
        QDBusMessage changed = QDBusMessage::createSignal(
            "/org/freedesktop/Notifications", "org.freedesktop.DBus.Properties", "PropertiesChanged");
        changed << "org.freedesktop.Notifications" << QVariantMap{{"Inhibited", isInhibited}}
                << QStringList();
        m_bus.send(changed);
    }

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "server");
    bool m_isInhibited;
};

class DesktopDoNotDisturbTest : public test::DesktopSettingsFixture
{
protected:
    void TearDown() override { doNotDisturb.reset(); }

    void follow()
    {
        doNotDisturb = std::make_unique<DesktopDoNotDisturb>();
        m_changes = doNotDisturb->onChange([this](bool isOn) { changes.push_back(isOn); });
        settle();
    }

    /// Long enough for whatever is on its way.
    static void settle()
    {
        runUntil([] { return false; }, 300);
    }

    /// Until so many changes have come, or ten seconds have passed; and until no more come.
    void settleAfter(std::size_t count)
    {
        runUntil([&] { return changes.size() >= count; }, 10000);
        settle();
    }

    std::unique_ptr<DesktopDoNotDisturb> doNotDisturb;
    std::vector<bool> changes;

private:
    Subscription m_changes;
};

TEST_F(DesktopDoNotDisturbTest, OnADesktopWithoutAnyItIsOff)
{
    follow();
    EXPECT_FALSE(doNotDisturb->isOn());
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(DesktopDoNotDisturbTest, ThePropertyOfTheServerIsFollowed)
{
    InhibitableServer server(false);
    follow();
    server.inhibit(true);
    settleAfter(1);
    EXPECT_TRUE(doNotDisturb->isOn());
    server.inhibit(false);
    settleAfter(2);
    EXPECT_THAT(changes, ElementsAre(true, false));
}

TEST_F(DesktopDoNotDisturbTest, WhatWasOnBeforeIsOnWithoutAChange)
{
    InhibitableServer server(true);
    follow();
    EXPECT_TRUE(doNotDisturb->isOn());
    EXPECT_THAT(changes, IsEmpty());
    server.inhibit(false);
    settleAfter(1);
    EXPECT_THAT(changes, ElementsAre(false));
}

TEST_F(DesktopDoNotDisturbTest, AServerThatComesLaterIsAsked)
{
    follow();
    const InhibitableServer server(true);
    settle();
    EXPECT_TRUE(doNotDisturb->isOn());
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(DesktopDoNotDisturbTest, AServerThatRestartsHasNotChangedTheUsersMind)
{
    auto server = std::make_unique<InhibitableServer>(false);
    follow();
    server->inhibit(true);
    settleAfter(1);
    server.reset();
    settle();
    EXPECT_TRUE(doNotDisturb->isOn());
    server = std::make_unique<InhibitableServer>(true);
    settle();
    EXPECT_THAT(changes, ElementsAre(true));
    server.reset();
    server = std::make_unique<InhibitableServer>(false);
    settleAfter(2);
    EXPECT_THAT(changes, ElementsAre(true, false));
}

TEST_F(DesktopDoNotDisturbTest, XfcesConfigurationCountsInItsOwnSession)
{
    ::setenv("XDG_CURRENT_DESKTOP", "XFCE", 1);
    follow();
    test::XfceConfiguration configuration({{"xfce4-notifyd/do-not-disturb", true}});
    settle();
    EXPECT_TRUE(doNotDisturb->isOn());
    EXPECT_THAT(changes, IsEmpty());
    emit configuration.PropertyRemoved("xfce4-notifyd", "/do-not-disturb");
    settleAfter(1);
    emit configuration.PropertyChanged("xfce4-notifyd", "/do-not-disturb", QDBusVariant(true));
    emit configuration.PropertyChanged("xfce4-notifyd", "/theme", QDBusVariant(false));
    emit configuration.PropertyChanged("another", "/do-not-disturb", QDBusVariant(false));
    settleAfter(2);
    EXPECT_THAT(changes, ElementsAre(false, true));
}

TEST_F(DesktopDoNotDisturbTest, XfcesConfigurationDoesNotCountElsewhere)
{
    const test::XfceConfiguration configuration({{"xfce4-notifyd/do-not-disturb", true}});
    follow();
    EXPECT_FALSE(doNotDisturb->isOn());
}

TEST_F(DesktopDoNotDisturbTest, GnomesSettingIsFollowed)
{
    ::setenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME", 1);
    const auto showBanners = [](const char* value) {
        return test::run({"gsettings", "set", "org.gnome.desktop.notifications", "show-banners", value})
            .status;
    };
    ASSERT_EQ(showBanners("true"), 0);
    follow();
    EXPECT_FALSE(doNotDisturb->isOn());
    ASSERT_EQ(showBanners("false"), 0);
    settleAfter(1);
    EXPECT_TRUE(doNotDisturb->isOn());
    ASSERT_EQ(showBanners("true"), 0);
    settleAfter(2);
    EXPECT_THAT(changes, ElementsAre(true, false));
}

} // namespace
} // namespace velmor

#include "DesktopDoNotDisturbTest.moc"

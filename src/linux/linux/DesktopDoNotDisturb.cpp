// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopDoNotDisturb.h>

#include <linux/CurrentDesktop.h>
#include <linux/NotificationBanners.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <boost/signals2/signal.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>

namespace velmor {

namespace {

const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString server = QStringLiteral("org.freedesktop.Notifications");
const QString serverPath = QStringLiteral("/org/freedesktop/Notifications");

/// A property of the notification server.
struct ServerProperty
{
    QString interface;
    QString name;
};

const std::array serverProperties = {
    ServerProperty{server, QStringLiteral("Inhibited")}, // Plasma
    ServerProperty{QStringLiteral("org.dunstproject.cmd0"), QStringLiteral("paused")},
};

const QString xfconf = QStringLiteral("org.xfce.Xfconf");
const QString xfconfPath = QStringLiteral("/org/xfce/Xfconf");
const QString xfceChannel = QStringLiteral("xfce4-notifyd");
const QString xfceProperty = QStringLiteral("/do-not-disturb");

/// The errors of a call that nobody has answered.
const QStringList unanswered = {
    QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"),
    QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown"),
    QStringLiteral("org.freedesktop.DBus.Error.NoReply"),
    QStringLiteral("org.freedesktop.DBus.Error.Disconnected"),
    QStringLiteral("org.freedesktop.DBus.Error.Timeout"),
    QStringLiteral("org.freedesktop.DBus.Error.TimedOut"),
};

constexpr std::size_t xfceSource = serverProperties.size();
constexpr std::size_t gnomeSource = xfceSource + 1;
constexpr std::size_t sourceCount = gnomeSource + 1;

} // namespace

class DesktopDoNotDisturb::Sources final : public QObject
{
    Q_OBJECT

public:
    Sources()
        : m_banners([this](bool areShown) { take(gnomeSource, !areShown); })
    {
        m_known[gnomeSource] = !m_banners.areShown();
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.connect(server, serverPath, properties, QStringLiteral("PropertiesChanged"), this,
                    SLOT(serverChanged(QString, QVariantMap, QStringList)));
        connect(&m_serverWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& owner) {
                    if (!owner.isEmpty())
                        askServer();
                });
        askServer();
        // What Xfce has stored counts in its own session only.
        if (!isCurrentDesktop("XFCE"))
            return;
        bus.connect(xfconf, xfconfPath, xfconf, QStringLiteral("PropertyChanged"), this,
                    SLOT(xfceChanged(QString, QString, QDBusVariant)));
        bus.connect(xfconf, xfconfPath, xfconf, QStringLiteral("PropertyRemoved"), this,
                    SLOT(xfceRemoved(QString, QString)));
        connect(&m_xfconfWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& owner) {
                    if (!owner.isEmpty())
                        askXfce();
                });
        askXfce();
    }

    bool isOn() const
    {
        return std::ranges::any_of(
            m_known, [](const std::optional<bool>& isOnThere) { return isOnThere.value_or(false); });
    }

    boost::signals2::signal<void(bool)> changed;

private slots:
    void serverChanged(const QString& interface, const QVariantMap& values, const QStringList& invalidated)
    {
        for (std::size_t i = 0; i < serverProperties.size(); ++i) {
            const ServerProperty& property = serverProperties[i];
            if (property.interface != interface)
                continue;
            if (values.contains(property.name))
                take(i, values.value(property.name).toBool());
            else if (invalidated.contains(property.name))
                askServer();
        }
    }

    void xfceChanged(const QString& channel, const QString& property, const QDBusVariant& value)
    {
        if (channel == xfceChannel && property == xfceProperty)
            take(xfceSource, value.variant().toBool());
    }

    void xfceRemoved(const QString& channel, const QString& property)
    {
        if (channel == xfceChannel && property == xfceProperty)
            take(xfceSource, false);
    }

private:
    void askServer()
    {
        for (std::size_t i = 0; i < serverProperties.size(); ++i) {
            QDBusMessage get =
                QDBusMessage::createMethodCall(server, serverPath, properties, QStringLiteral("Get"));
            get << serverProperties[i].interface << serverProperties[i].name;
            ask(i, get);
        }
    }

    void askXfce()
    {
        QDBusMessage get =
            QDBusMessage::createMethodCall(xfconf, xfconfPath, xfconf, QStringLiteral("GetProperty"));
        get << xfceChannel << xfceProperty;
        ask(xfceSource, get);
    }

    /// Nobody is started for a question. One that nobody has answered leaves things as they are: a server
    /// that restarts has not changed the user's mind. An answer that there is no such thing is a no.
    void ask(std::size_t source, QDBusMessage& get)
    {
        get.setAutoStartService(false);
        auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(get), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, source, watcher] {
            const QDBusPendingReply<QDBusVariant> reply = *watcher;
            watcher->deleteLater();
            if (reply.isError() && unanswered.contains(reply.error().name()))
                return;
            const bool isOnThere = !reply.isError() && reply.value().variant().toBool();
            // What was on before anybody looked has not just gone on.
            if (!m_known[source])
                m_known[source] = isOnThere;
            take(source, isOnThere);
        });
    }

    void take(std::size_t source, bool isOnThere)
    {
        const bool wasOn = isOn();
        m_known[source] = isOnThere;
        if (isOn() != wasOn)
            changed(isOn());
    }

    std::array<std::optional<bool>, sourceCount> m_known; ///< What each has said last.
    NotificationBanners m_banners;
    QDBusServiceWatcher m_serverWatcher{server, QDBusConnection::sessionBus(),
                                        QDBusServiceWatcher::WatchForOwnerChange};
    QDBusServiceWatcher m_xfconfWatcher{xfconf, QDBusConnection::sessionBus(),
                                        QDBusServiceWatcher::WatchForOwnerChange};
};

DesktopDoNotDisturb::DesktopDoNotDisturb()
    : m_sources(std::make_unique<Sources>())
{}

DesktopDoNotDisturb::~DesktopDoNotDisturb() = default;

bool DesktopDoNotDisturb::isOn() const
{
    return m_sources->isOn();
}

Subscription DesktopDoNotDisturb::onChange(const std::function<void(bool isOn)>& callback)
{
    return m_sources->changed.connect(callback);
}

} // namespace velmor

#include "DesktopDoNotDisturb.moc"

// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopDoNotDisturb.h>

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
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.connect(QString(), serverPath, properties, QStringLiteral("PropertiesChanged"), this,
                    SLOT(serverChanged(QString, QVariantMap, QStringList)));
        bus.connect(QString(), xfconfPath, xfconf, QStringLiteral("PropertyChanged"), this,
                    SLOT(xfceChanged(QString, QString, QDBusVariant)));
        // Another server may have another mind.
        connect(&m_serverWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString&) { askServer(); });
        askServer();
        askXfce();
        m_on[gnomeSource] = !m_banners.areShown();
    }

    bool isOn() const
    {
        return std::ranges::any_of(m_on, [](bool on) { return on; });
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

    /// A question to a service that isn't there, or has no such thing, is answered with no. Nobody is
    /// started for it.
    void ask(std::size_t source, QDBusMessage& get)
    {
        get.setAutoStartService(false);
        auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(get), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, source, watcher] {
            const QDBusPendingReply<QDBusVariant> reply = *watcher;
            take(source, !reply.isError() && reply.value().variant().toBool());
            watcher->deleteLater();
        });
    }

    void take(std::size_t source, bool isOnThere)
    {
        const bool wasOn = isOn();
        m_on[source] = isOnThere;
        if (isOn() != wasOn)
            changed(isOn());
    }

    std::array<bool, sourceCount> m_on = {};
    NotificationBanners m_banners;
    QDBusServiceWatcher m_serverWatcher{server, QDBusConnection::sessionBus(),
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

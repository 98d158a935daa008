// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopDoNotDisturb.h>

#include <linux/NotificationBanners.h>
#include <linux/XfceSettings.h>

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

    /// Nobody is started for a question. One that nobody has answered leaves things as they are: a server
    /// that restarts has not changed the user's mind. An answer that there is no such thing is a no.
    void ask(std::size_t source, QDBusMessage& get)
    {
        get.setAutoStartService(false);
        auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(get), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, source, watcher] {
            const QDBusPendingReply<QDBusVariant> reply = *watcher;
            watcher->deleteLater();
            if (reply.isError() && isUnanswered(reply.error()))
                return;
            takeAnswer(source, !reply.isError() && reply.value().variant().toBool());
        });
    }

    /// What was on before anybody looked has not just gone on.
    void takeAnswer(std::size_t source, bool isOnThere)
    {
        if (!m_known[source])
            m_known[source] = isOnThere;
        take(source, isOnThere);
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
    XfceSettings m_xfce{{{QStringLiteral("xfce4-notifyd"), QStringLiteral("/do-not-disturb")}},
                        [this](std::size_t, const std::optional<QVariant>& value, bool hasChanged) {
                            const bool isOnThere = value && value->toBool();
                            if (hasChanged)
                                take(xfceSource, isOnThere);
                            else
                                takeAnswer(xfceSource, isOnThere);
                        }};
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

// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/XfceSettings.h>

#include <linux/CurrentDesktop.h>

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMetaType>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace velmor {

namespace {

const QString service = QStringLiteral("org.xfce.Xfconf");
const QString path = QStringLiteral("/org/xfce/Xfconf");

const QStringList unanswered = {
    QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"),
    QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown"),
    QStringLiteral("org.freedesktop.DBus.Error.NoReply"),
    QStringLiteral("org.freedesktop.DBus.Error.Disconnected"),
    QStringLiteral("org.freedesktop.DBus.Error.Timeout"),
    QStringLiteral("org.freedesktop.DBus.Error.TimedOut"),
};

} // namespace

bool isUnanswered(const QDBusError& error)
{
    return unanswered.contains(error.name());
}

XfceSettings::XfceSettings(std::vector<Property> properties, Told told)
    : m_properties(std::move(properties))
    , m_told(std::move(told))
    , m_service(service, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForOwnerChange)
{
    if (!isCurrentDesktop("XFCE"))
        return;
    // A slot is looked for by the names of its types; this one's is not known by itself.
    qRegisterMetaType<QDBusVariant>();
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(service, path, service, QStringLiteral("PropertyChanged"), this,
                SLOT(changed(QString, QString, QDBusVariant)));
    bus.connect(service, path, service, QStringLiteral("PropertyRemoved"), this,
                SLOT(removed(QString, QString)));
    const auto askAll = [this] {
        for (std::size_t i = 0; i < m_properties.size(); ++i)
            ask(i);
    };
    connect(&m_service, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [askAll](const QString&, const QString&, const QString& owner) {
                if (!owner.isEmpty())
                    askAll();
            });
    askAll();
}

void XfceSettings::changed(const QString& channel, const QString& name, const QDBusVariant& value)
{
    tell({channel, name}, value.variant());
}

void XfceSettings::removed(const QString& channel, const QString& name)
{
    tell({channel, name}, std::nullopt);
}

void XfceSettings::tell(const Property& property, const std::optional<QVariant>& value)
{
    const auto found = std::ranges::find(m_properties, property);
    if (found != m_properties.end())
        m_told(static_cast<std::size_t>(found - m_properties.begin()), value, true);
}

void XfceSettings::ask(std::size_t property)
{
    QDBusMessage get = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("GetProperty"));
    get << m_properties[property].channel << m_properties[property].name;
    // Nobody is started for a question.
    get.setAutoStartService(false);
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(get), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, property, watcher] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        watcher->deleteLater();
        if (reply.isError() && isUnanswered(reply.error()))
            return;
        m_told(property, reply.isError() ? std::nullopt : std::optional(reply.value().variant()), false);
    });
}

} // namespace velmor

#include "moc_XfceSettings.cpp"

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>

#include <utility>

namespace velmor::test {

/// Xfce's configuration on the session bus, as far as a test needs it.
class XfceConfiguration final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.xfce.Xfconf")

public:
    /// \param values by channel and property in one; all others are false.
    explicit XfceConfiguration(QMap<QString, QVariant> values)
        : m_values(std::move(values))
    {
        m_bus.registerObject("/org/xfce/Xfconf", this,
                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
        m_bus.registerService("org.xfce.Xfconf");
    }
    ~XfceConfiguration() override { QDBusConnection::disconnectFromBus("xfconf"); }

public slots:
    QDBusVariant GetProperty(const QString& channel, const QString& property)
    {
        return QDBusVariant(m_values.value(channel + property, false));
    }

signals:
    void PropertyChanged(const QString& channel, const QString& property, const QDBusVariant& value);
    void PropertyRemoved(const QString& channel, const QString& property);

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "xfconf");
    QMap<QString, QVariant> m_values;
};

} // namespace velmor::test

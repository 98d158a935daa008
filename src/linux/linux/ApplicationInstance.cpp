// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ApplicationInstance.h>

#include <base/Print.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <utility>

namespace velmor {

namespace {

const QString name = QStringLiteral("dev.brightfen.velmor");
const QString objectPath = QStringLiteral("/dev/brightfen/velmor");
const QString applicationInterface = QStringLiteral("org.freedesktop.Application");

constexpr int activationTimeoutMilliseconds = 2000;

/// One that is just ending may still have the name, and answer no more.
constexpr int tries = 3;

} // namespace

class ApplicationInstance::Service final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit Service(Callbacks callbacks)
        : m_callbacks(std::move(callbacks))
    {}

public slots:
    // The names are the interface's own.
    Q_SCRIPTABLE void Activate(const QVariantMap&) { m_callbacks.onActivate(); }
    Q_SCRIPTABLE void Open(const QStringList&, const QVariantMap&) { m_callbacks.onActivate(); }
    Q_SCRIPTABLE void ActivateAction(const QString&, const QVariantList&, const QVariantMap&)
    {
        m_callbacks.onActivate();
    }

    void busLost() { m_callbacks.onBusLost(); }

private:
    Callbacks m_callbacks;
};

ApplicationInstance::ApplicationInstance(Callbacks callbacks)
    : m_service(std::make_unique<Service>(std::move(callbacks)))
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), m_service.get(),
                SLOT(busLost()));
    // The object comes first: whoever finds the name finds it too.
    bus.registerObject(objectPath, m_service.get(), QDBusConnection::ExportScriptableSlots);
    for (int i = 0; i < tries; ++i) {
        if (bus.registerService(name)) {
            m_role = Role::first;
            return;
        }
        QDBusMessage activate = QDBusMessage::createMethodCall(name, objectPath, applicationInterface,
                                                               QStringLiteral("Activate"));
        activate << QVariantMap();
        if (bus.call(activate, QDBus::Block, activationTimeoutMilliseconds).type() ==
            QDBusMessage::ReplyMessage) {
            m_role = Role::another;
            return;
        }
    }
    // A bus that refuses the name, as in a sandbox, leaves it without an owner.
    if (!bus.interface()->isServiceRegistered(name))
        return;
    m_role = Role::unanswered;
    printLine("another instance is running and does not answer");
}

ApplicationInstance::~ApplicationInstance()
{
    if (m_role == Role::first)
        QDBusConnection::sessionBus().unregisterService(name);
    QDBusConnection::sessionBus().unregisterObject(objectPath);
}

} // namespace velmor

#include "ApplicationInstance.moc"

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

constexpr int activationTimeoutMilliseconds = 5000;

/// One that is just ending may still have the name, and answer no more.
constexpr int tries = 3;

} // namespace

class ApplicationInstance::Service final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit Service(std::function<void()> onActivate)
        : m_onActivate(std::move(onActivate))
    {}

public slots:
    // The names are the interface's own.
    void Activate(const QVariantMap&) { m_onActivate(); }
    void Open(const QStringList&, const QVariantMap&) { m_onActivate(); }
    void ActivateAction(const QString&, const QVariantList&, const QVariantMap&) { m_onActivate(); }

private:
    std::function<void()> m_onActivate;
};

ApplicationInstance::ApplicationInstance(std::function<void()> onActivate)
    : m_service(std::make_unique<Service>(std::move(onActivate)))
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    // The object comes first: whoever finds the name finds it too.
    bus.registerObject(objectPath, m_service.get(), QDBusConnection::ExportAllSlots);
    for (int i = 0; i < tries; ++i) {
        if (bus.registerService(name)) {
            m_role = Role::first;
            return;
        }
        QDBusMessage activate = QDBusMessage::createMethodCall(name, objectPath, applicationInterface,
                                                               QStringLiteral("Activate"));
        activate << QVariantMap();
        m_role = Role::another;
        if (bus.call(activate, QDBus::Block, activationTimeoutMilliseconds).type() ==
            QDBusMessage::ReplyMessage)
            return;
    }
    printLine("another instance is running and does not answer");
}

ApplicationInstance::~ApplicationInstance()
{
    if (m_role == Role::first)
        QDBusConnection::sessionBus().unregisterService(name);
    if (m_role != Role::alone)
        QDBusConnection::sessionBus().unregisterObject(objectPath);
}

} // namespace velmor

#include "ApplicationInstance.moc"

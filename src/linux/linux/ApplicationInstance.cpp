// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ApplicationInstance.h>

#include <base/Print.h>
#include <linux/ApplicationName.h>
#include <linux/BusValues.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <utility>

namespace velmor {

namespace {

constexpr int activationTimeoutMilliseconds = 2000;

/// One that is just ending may still have the name, and answer no more.
constexpr int tries = 3;

std::string withCodedSpaces(const std::string& text)
{
    std::string result;
    for (const char c : text) {
        if (c == ' ')
            result += "%20";
        else
            result += c;
    }
    return result;
}

} // namespace

class ApplicationInstance::BusWatch final : public QObject
{
    Q_OBJECT

public:
    explicit BusWatch(std::function<void()> onBusLost)
        : m_onBusLost(std::move(onBusLost))
    {}

public slots:
    void busLost() { m_onBusLost(); }

private:
    std::function<void()> m_onBusLost;
};

ApplicationInstance::ApplicationInstance(Callbacks callbacks)
    : m_callbacks(std::move(callbacks))
    , m_object(ApplicationName::objectPath)
    , m_busWatch(std::make_unique<BusWatch>(m_callbacks.onBusLost))
{
    m_object.offer(application());
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                m_busWatch.get(), SLOT(busLost()));
    // The object is there already: whoever finds the name finds it too.
    const QString name = qText(ApplicationName::busName);
    for (int i = 0; i < tries; ++i) {
        if (bus.registerService(name)) {
            m_role = Role::first;
            return;
        }
        QDBusMessage activate =
            QDBusMessage::createMethodCall(name, qText(ApplicationName::objectPath),
                                           qText(ApplicationName::interface), QStringLiteral("Activate"));
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
    giveUpName();
    // Comes back when all that was said before has left.
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected())
        bus.interface()->isServiceRegistered(qText(ApplicationName::busName));
}

void ApplicationInstance::giveUpName()
{
    m_isEnding = true;
    if (std::exchange(m_role, Role::alone) == Role::first)
        QDBusConnection::sessionBus().unregisterService(qText(ApplicationName::busName));
}

Subscription ApplicationInstance::onOpen(const std::function<void(const std::vector<std::string>&)>& callback)
{
    return m_opened.connect(callback);
}

BusInterface ApplicationInstance::application()
{
    const auto unlessEnding = [this](std::function<void(const BusValues&)> handle) {
        return [this, handle = std::move(handle)](const BusValues& arguments) -> BusValues {
            if (m_isEnding)
                throw BusError(ApplicationName::endingError, "Velmor is ending.");
            handle(arguments);
            return {};
        };
    };
    BusMethod activate = {"Activate",
                          {{"platform_data", "a{sv}"}},
                          {},
                          unlessEnding([this](const BusValues&) { m_callbacks.onActivate(); })};
    BusMethod open = {"Open",
                      {{"uris", "as"}, {"platform_data", "a{sv}"}},
                      {},
                      unlessEnding([this](const BusValues& arguments) {
                          auto texts = std::get<std::vector<std::string>>(arguments[0]);
                          for (std::string& text : texts)
                              text = withCodedSpaces(text);
                          m_opened(texts);
                      })};
    BusMethod activateAction = {"ActivateAction",
                                {{"action_name", "s"}, {"parameter", "av"}, {"platform_data", "a{sv}"}},
                                {},
                                unlessEnding([this](const BusValues& arguments) {
                                    m_callbacks.onAction(std::get<std::string>(arguments[0]));
                                })};
    return {
        ApplicationName::interface, {std::move(activate), std::move(open), std::move(activateAction)}, {}};
}

} // namespace velmor

#include "ApplicationInstance.moc"

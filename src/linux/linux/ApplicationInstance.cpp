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

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

namespace velmor {

namespace {

constexpr int activationTimeoutMilliseconds = 2000;

constexpr std::chrono::seconds lookInterval(1);

/// As long as the program may take to end after the bus. Only the session in progress is written then.
constexpr std::chrono::seconds lastPatience(5);

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

/// Looks from a thread of its own whether the bus is still there. Qt 6.4 may miss its end, the signal of it
/// as well, when that comes while a call is being sent; and whoever waits for the answer, as Qt's windows do
/// at the start, then waits for ever. A program that stayed would go on measuring beside the one of the next
/// desktop session.
class ApplicationInstance::BusWatch
{
public:
    explicit BusWatch(const std::function<void()>& onBusLost)
        : m_thread([this, onBusLost](const std::stop_token& stop) { watch(stop, onBusLost); })
    {}

private:
    void watch(const std::stop_token& stop, const std::function<void()>& onBusLost)
    {
        const QDBusConnection bus = QDBusConnection::sessionBus();
        while (bus.isConnected()) {
            if (waitOrStop(stop, lookInterval))
                return;
        }
        QMetaObject::invokeMethod(&m_mainThread, onBusLost, Qt::QueuedConnection);
        if (waitOrStop(stop, lastPatience))
            return;
        printLine("the session bus has ended, and the program waits for its answer");
        // The journal keeps the session for the next start.
        std::_Exit(EXIT_FAILURE);
    }

    bool waitOrStop(const std::stop_token& stop, std::chrono::seconds time)
    {
        std::unique_lock lock(m_mutex);
        m_stopped.wait_for(lock, stop, time, [] { return false; });
        return stop.stop_requested();
    }

    QObject m_mainThread;
    std::mutex m_mutex;
    std::condition_variable_any m_stopped;
    std::jthread m_thread;
};

ApplicationInstance::ApplicationInstance(Callbacks callbacks)
    : m_callbacks(std::move(callbacks))
    , m_object(ApplicationName::objectPath)
{
    m_object.offer(application());
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    m_busWatch = std::make_unique<BusWatch>(m_callbacks.onBusLost);
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

// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/DesktopNotificationCenter.h>

#include <base/Lifetime.h>
#include <linux/NotificationMessage.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QEventLoop>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace velmor {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");
constexpr auto desktopEntry = "dev.brightfen.velmor";

/// As many wait for a server; of more, the oldest are of no use any more.
constexpr std::size_t longestQueue = 100;

/// As many can still be answered.
constexpr std::size_t rememberedNotifications = 100;

constexpr int triesOfANotification = 2;

constexpr int flushCheckMilliseconds = 10;

/// The server decides how long a notification shows.
constexpr int serversOwnTimeout = -1;

QDBusMessage call(const char* method)
{
    return QDBusMessage::createMethodCall(service, objectPath, service, QString::fromLatin1(method));
}

QString qText(const std::string& text)
{
    return QString::fromStdString(text);
}

/// Whether the call failed for want of a server: it may be made again when there is one.
bool isServerMissing(const QDBusError& error)
{
    switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::NoServer:
    case QDBusError::NoReply:
    case QDBusError::Disconnected:
    case QDBusError::NoNetwork:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return true;
    default:
        // A server that can't be started has an error of its own for each reason.
        return error.name().startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn")) ||
               error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    }
}

} // namespace

class DesktopNotificationCenter::Server final : public QObject
{
    Q_OBJECT

public:
    Server(MainLoop& loop, PlaySound playSound)
        : m_loop(loop)
        , m_playSound(std::move(playSound))
        , m_bus(QDBusConnection::sessionBus())
        , m_watcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange)
    {
        connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& owner) { serverChanged(owner); });
        m_bus.connect(service, objectPath, service, QStringLiteral("ActionInvoked"), this,
                      SLOT(actionInvoked(uint, QString)));
        m_bus.connect(service, objectPath, service, QStringLiteral("NotificationClosed"), this,
                      SLOT(notificationClosed(uint, uint)));
    }

    /// Whether all that could be sent has been.
    bool isIdle() const { return !m_isCalling; }

    void setDelegate(NotificationDelegate* delegate) { m_delegate = delegate; }

    void setCategories(std::vector<NotificationCategory> categories)
    {
        m_categories.clear();
        for (NotificationCategory& category : categories)
            m_categories.insert_or_assign(category.identifier, std::move(category));
    }

    void add(const NotificationRequest& request)
    {
        // One that is under way is replaced when it has got its number.
        std::erase_if(m_waiting,
                      [&](const auto& other) { return other.request.identifier == request.identifier; });
        m_waiting.push_back({request});
        if (m_waiting.size() > longestQueue)
            m_waiting.pop_front();
        sendNext();
    }

private slots:
    void actionInvoked(uint number, const QString& action)
    {
        const auto shown = m_shown.find(number);
        if (shown == m_shown.end())
            return;
        // Not in the middle of the bus's delivery.
        m_loop.post(m_lifetime.guarded([this, request = shown->second, key = action.toStdString()] {
            if (m_delegate)
                m_delegate->respond({key, request.categoryIdentifier, request.userInfo}, [] {});
        }));
    }

    /// Some servers tell of the end before they tell of the action that ended it.
    void notificationClosed(uint number, uint)
    {
        std::erase_if(m_numbers, [number](const auto& entry) { return entry.second == number; });
    }

private:
    struct Waiting
    {
        NotificationRequest request;
        int tries = 0; ///< That a server took and did not answer.
    };

    void serverChanged(const QString& owner)
    {
        // Its numbers are nobody's now, or another program's.
        m_numbers.clear();
        m_shown.clear();
        m_capabilities.reset();
        m_owner = owner;
        ++m_changesOfServer;
        if (!owner.isEmpty())
            sendNext();
    }

    NotificationCategory categoryOf(const NotificationRequest& request) const
    {
        const auto found = m_categories.find(request.categoryIdentifier);
        return found != m_categories.end() ? found->second : NotificationCategory();
    }

    /// One call at a time: so they come in order, and one that replaces another knows its number.
    void sendNext()
    {
        // Without a bus no call is ever answered.
        if (m_isCalling || m_waiting.empty() || !m_bus.isConnected())
            return;
        m_isCalling = true;
        if (!m_capabilities)
            askForCapabilities();
        else
            sendFirst();
    }

    void askForCapabilities()
    {
        await(call("GetCapabilities"), [this](const QDBusPendingCall& answer) {
            const QDBusPendingReply<QStringList> reply = answer;
            if (reply.isError() && isServerMissing(reply.error()))
                return false;
            const QStringList list = reply.isError() ? QStringList() : reply.value();
            if (isOfPresentServer(reply.reply()))
                m_capabilities = {list.contains(QLatin1String("actions")),
                                  list.contains(QLatin1String("body-markup")),
                                  list.contains(QLatin1String("sound"))};
            return true;
        });
    }

    void sendFirst()
    {
        const Waiting waiting = m_waiting.front();
        const NotificationRequest& request = waiting.request;
        m_waiting.pop_front();
        const NotificationMessage message =
            notificationMessage(request, categoryOf(request), *m_capabilities);
        const auto earlier = m_numbers.find(request.identifier);
        QStringList actions;
        for (const std::string& text : message.actions)
            actions << qText(text);
        QVariantMap hints;
        hints[QStringLiteral("urgency")] = QVariant::fromValue(message.urgency);
        hints[QStringLiteral("desktop-entry")] = QString::fromLatin1(desktopEntry);
        if (message.isSoundOurs)
            // Ours is played: two at once would be louder than either is meant to be.
            hints[QStringLiteral("suppress-sound")] = true;
        else
            hints[QStringLiteral("sound-name")] = qText(message.soundName);
        QDBusMessage notify = call("Notify");
        notify << QStringLiteral("Velmor") << (earlier != m_numbers.end() ? earlier->second : 0U)
               << QString::fromLatin1(desktopEntry) << qText(message.summary) << qText(message.body)
               << actions << hints << serversOwnTimeout;
        await(notify, [this, waiting, message](const QDBusPendingCall& answer) {
            const QDBusPendingReply<uint> reply = answer;
            if (reply.isError() && isServerMissing(reply.error())) {
                m_capabilities.reset();
                keepForLater(waiting, reply.error());
                return false;
            }
            if (!reply.isError() && isOfPresentServer(reply.reply()))
                noteShown(reply.value(), waiting.request);
            if (!reply.isError() && message.isSoundOurs)
                m_playSound(message.soundName, waiting.request.sound);
            return true;
        });
    }

    bool isOfPresentServer(const QDBusMessage& reply) const
    {
        return m_owner.isEmpty() || reply.service() == m_owner;
    }

    void noteShown(uint number, const NotificationRequest& request)
    {
        m_numbers[request.identifier] = number;
        m_shown[number] = request;
        while (m_shown.size() > rememberedNotifications)
            m_shown.erase(m_shown.begin());
    }

    /// Until a server appears, or the next notification tries again. A newer one of its identifier stands
    /// for it. One that two servers took and did not answer may be what ends them.
    void keepForLater(Waiting waiting, const QDBusError& error)
    {
        if (error.type() != QDBusError::ServiceUnknown && ++waiting.tries >= triesOfANotification)
            return;
        const bool isReplaced = std::ranges::any_of(m_waiting, [&](const auto& other) {
            return other.request.identifier == waiting.request.identifier;
        });
        if (!isReplaced)
            m_waiting.push_front(std::move(waiting));
    }

    /// \param answered tells whether there is a server, so that the next call may follow. Where there was
    /// none, but another has come meanwhile, that one is tried.
    template <typename Answered>
    void await(const QDBusMessage& message, Answered answered)
    {
        auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this,
                [this, watcher, answered, changesBefore = m_changesOfServer] {
                    watcher->deleteLater();
                    m_isCalling = false;
                    const bool isThere = answered(*watcher);
                    const bool isAnotherThere = changesBefore != m_changesOfServer && !m_owner.isEmpty();
                    if (isThere || isAnotherThere)
                        sendNext();
                });
    }

    MainLoop& m_loop;
    PlaySound m_playSound;
    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    NotificationDelegate* m_delegate = nullptr;
    std::map<std::string, NotificationCategory> m_categories;
    std::deque<Waiting> m_waiting;
    bool m_isCalling = false;
    QString m_owner; ///< The present server's name on the bus; empty while it is not known.
    int m_changesOfServer = 0;
    std::optional<NotificationCapabilities> m_capabilities; ///< Of the present server, once it has told.
    std::map<std::string, uint> m_numbers;                  ///< Of those that show, by identifier.
    std::map<uint, NotificationRequest> m_shown;            ///< By the server's number.
    Lifetime m_lifetime;
};

DesktopNotificationCenter::DesktopNotificationCenter(MainLoop& loop, PlaySound playSound)
    : m_server(std::make_unique<Server>(loop, std::move(playSound)))
{}

DesktopNotificationCenter::~DesktopNotificationCenter() = default;

void DesktopNotificationCenter::flush(double seconds)
{
    QEventLoop events;
    QTimer::singleShot(std::chrono::duration_cast<std::chrono::milliseconds>(nanosecondsFrom(seconds)),
                       &events, &QEventLoop::quit);
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, [&] {
        if (m_server->isIdle())
            events.quit();
    });
    check.start(flushCheckMilliseconds);
    events.exec();
}

void DesktopNotificationCenter::setDelegate(NotificationDelegate* delegate)
{
    m_server->setDelegate(delegate);
}

void DesktopNotificationCenter::setCategories(std::vector<NotificationCategory> categories)
{
    m_server->setCategories(std::move(categories));
}

void DesktopNotificationCenter::add(const NotificationRequest& request)
{
    m_server->add(request);
}

} // namespace velmor

#include "DesktopNotificationCenter.moc"

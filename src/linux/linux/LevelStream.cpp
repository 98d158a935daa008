// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/LevelStream.h>

#include <linux/BusValues.h>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QString>

#include <utility>

namespace velmor {

namespace {

constexpr auto interfaceName = "dev.brightfen.velmor.Live1";
constexpr auto signalName = "Levels";
constexpr double shortestIntervalSeconds = 0.1;

/// More are refused: each is watched over.
constexpr std::size_t mostListeners = 100;

} // namespace

LevelStream::LevelStream(MainLoop& loop, BusObject& object, std::function<BusDictionary()> levels)
    : m_loop(loop)
    , m_object(object)
    , m_levels(std::move(levels))
    , m_watcher(std::make_unique<QDBusServiceWatcher>())
{
    m_watcher->setConnection(QDBusConnection::sessionBus());
    m_watcher->setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(m_watcher.get(), &QDBusServiceWatcher::serviceUnregistered,
                     [this](const QString& name) { unsubscribe(text(name)); });
    BusMethod subscribeMethod = {"Subscribe", {}, {}, [this](const BusValues&) -> BusValues {
                                     subscribe(m_object.caller());
                                     return {};
                                 }};
    BusMethod unsubscribeMethod = {"Unsubscribe", {}, {}, [this](const BusValues&) -> BusValues {
                                       unsubscribe(m_object.caller());
                                       return {};
                                   }};
    m_object.offer({interfaceName,
                    {std::move(subscribeMethod), std::move(unsubscribeMethod)},
                    {{signalName, {{"levels", "a{sv}"}}}}});
}

LevelStream::~LevelStream() = default;

void LevelStream::subscribe(const std::string& listener)
{
    if (m_listeners.size() >= mostListeners && !m_listeners.contains(listener))
        throw BusError("org.freedesktop.DBus.Error.LimitsExceeded", "too many subscribers");
    if (m_listeners.insert(listener).second)
        m_watcher->addWatchedService(qText(listener));
    // The new one has to learn what the others know.
    m_lastSent.reset();
    if (!m_timer)
        m_timer = m_loop.every(shortestIntervalSeconds, [this] { send(); });
}

void LevelStream::unsubscribe(const std::string& listener)
{
    if (m_listeners.erase(listener) == 0)
        return;
    m_watcher->removeWatchedService(qText(listener));
    if (m_listeners.empty())
        m_timer.reset();
}

void LevelStream::send()
{
    BusDictionary levels = m_levels();
    // Nothing is known any more while the program ends.
    if (levels.empty() || m_lastSent == levels)
        return;
    m_object.emitSignal(interfaceName, signalName, {levels});
    m_lastSent = std::move(levels);
}

} // namespace velmor

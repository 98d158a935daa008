// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/MainLoop.h>
#include <linux/BusObject.h>
#include <platform/BusInterface.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

class QDBusServiceWatcher;

namespace velmor {

/// Sends the levels to those who have subscribed, by a signal of the interface dev.brightfen.velmor.Live1: a
/// tenth of a second after the subscription, and then at each change, ten times a second at most. Nothing is
/// read or sent while nobody has subscribed; whoever leaves the bus has not. Main thread.
class LevelStream
{
public:
    /// \param levels what is sent.
    LevelStream(MainLoop& loop, BusObject& object, std::function<BusDictionary()> levels);
    ~LevelStream();
    LevelStream(const LevelStream&) = delete;
    LevelStream& operator=(const LevelStream&) = delete;

private:
    void subscribe(const std::string& listener);
    void unsubscribe(const std::string& listener);
    void send();

    MainLoop& m_loop;
    BusObject& m_object;
    std::function<BusDictionary()> m_levels;
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    std::set<std::string> m_listeners;
    std::optional<BusDictionary> m_lastSent;
    Timer m_timer;
};

} // namespace velmor

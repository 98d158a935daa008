// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Lifetime.h>
#include <base/MainLoop.h>
#include <linux/UpdateFeed.h>
#include <platform/SoftwareUpdater.h>

#include <boost/signals2/signal.hpp>

#include <functional>
#include <memory>
#include <string>

namespace velmor {

/// Where new versions are told of, and to whom. With any of it missing or unusable nothing is ever asked.
struct UpdateFeedSettings
{
    std::string address;        ///< Of the feed, an https URL; empty for none.
    std::string publicKey;      ///< Of those who sign the feed, 64 hexadecimal digits; empty for none.
    std::string currentVersion; ///< As "1.2.3".

    bool operator==(const UpdateFeedSettings&) const = default;
};

/// Asks a signed feed over HTTPS, and only when told to: it looks for nothing by itself and installs
/// nothing. The server learns the program's name and version and no more. Each failure is printed too. Needs
/// Qt's event loop. Main thread; may be destroyed during a check, but not by those to whom it announces
/// something.
class FeedUpdater final : public SoftwareUpdater
{
public:
    /// A check in which a server doesn't answer is given up.
    static constexpr double longestCheckSeconds = 15;

    FeedUpdater(MainLoop& loop, UpdateFeedSettings settings, double timeoutSeconds = longestCheckSeconds);
    ~FeedUpdater() override;

    void checkForUpdates() override;
    Subscription onOutcome(const std::function<void(const UpdateOutcome&)>& callback) override;

private:
    class Download;

    void take(const std::string& document);
    void failed(const std::string& reason);
    void finish(const UpdateOutcome& outcome);

    MainLoop& m_loop;
    UpdateFeedSettings m_settings;
    double m_timeoutSeconds;
    PublicKey m_key{};
    std::unique_ptr<Download> m_download; ///< The one that is under way.
    boost::signals2::signal<void(const UpdateOutcome&)> m_outcome;
    Lifetime m_lifetime;
};

} // namespace velmor

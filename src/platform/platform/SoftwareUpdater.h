// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Observable.h>

#include <functional>
#include <string>
#include <variant>

namespace velmor {

/// There is nothing newer than the version that runs.
struct UpToDate
{
    std::string version; ///< The one that runs.

    bool operator==(const UpToDate&) const = default;
};

/// A version that can be had.
struct AvailableUpdate
{
    std::string version; ///< As "1.2.3".
    std::string notes;   ///< What is new, plain text of any number of lines; may be empty.
    std::string page;    ///< The https URL of the web page where it is to be had.

    bool operator==(const AvailableUpdate&) const = default;
};

/// Nothing is known about new versions.
struct UpdateCheckFailure
{
    std::string reason; ///< One sentence for the user.

    bool operator==(const UpdateCheckFailure&) const = default;
};

/// What has come of a check.
using UpdateOutcome = std::variant<UpToDate, AvailableUpdate, UpdateCheckFailure>;

/// Finds out whether there is a newer version of the program. Installs nothing. Main thread.
class SoftwareUpdater : public ObservableObject
{
public:
    virtual ~SoftwareUpdater() = default;

    /// False while a check is under way, and where there is nothing that could be asked. Assigned by the
    /// updater alone.
    Published<bool> canCheckForUpdates{*this, false};

    /// The user wants to know now. The outcome is announced in a later turn of the loop. Does nothing while
    /// canCheckForUpdates is false.
    virtual void checkForUpdates() = 0;

    /// Calls back with the outcome of each check, after canCheckForUpdates has become true again.
    [[nodiscard]] virtual Subscription
    onOutcome(const std::function<void(const UpdateOutcome&)>& callback) = 0;
};

} // namespace velmor

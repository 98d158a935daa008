// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/SoftwareUpdater.h>

#include <QWidget>

#include <functional>
#include <string>

namespace velmor {

/// Tells the user what has come of a look for a new version. Closes itself; nothing is installed.
class UpdateWindow final : public QWidget
{
public:
    /// \param openPage opens the web page where the new version is.
    UpdateWindow(const UpdateOutcome& outcome, std::function<void(const std::string& url)> openPage);
};

} // namespace velmor

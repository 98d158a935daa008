// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <platform/Workspace.h>

#include <QIcon>
#include <QString>

namespace velmor {

/// Null where the desktop's theme has none of that name.
inline QIcon programIcon(const ApplicationIcon& icon)
{
    const QString name = QString::fromStdString(icon.name);
    return name.startsWith(QLatin1Char('/')) ? QIcon(name) : QIcon::fromTheme(name);
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSize>
#include <QString>
#include <QWidget>

namespace velmor {

/// A window whose content this version does not have, which says so.
class LaterScene final : public QWidget
{
public:
    struct Scene
    {
        QString title;
        QString text;
        QSize size; ///< Invalid for a window that is as large as its content.
    };

    static Scene settings();

    explicit LaterScene(const Scene& scene);
};

} // namespace velmor

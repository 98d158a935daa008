// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <map>

namespace velmor {

/// Shows and hides the parts of a view. While the view is held still, nothing in it moves: a part that goes
/// leaves its place empty, and one that comes waits, unless its place is still there. Main thread.
class Gates
{
public:
    /// \param part of which the same gates decide each time.
    void set(QWidget& part, bool isOpen);

    /// \param isStill lets go of what has waited when it turns false.
    void hold(bool isStill);

private:
    struct Gate
    {
        bool isOpen = false;
        bool hasPlace = false;
    };

    void apply(QWidget& part, Gate& gate) const;

    std::map<QWidget*, Gate> m_gates;
    bool m_isStill = false;
};

} // namespace velmor

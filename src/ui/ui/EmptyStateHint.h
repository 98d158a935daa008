// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

namespace velmor {

/// What the floating panel says where the user has hidden all of its sections.
class EmptyStateHint final : public QWidget
{
public:
    EmptyStateHint();
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <QWidget>

#include <cstdint>

namespace velmor {

/// A count with its symbol, seen where there is something to count.
class CountLabel final : public QWidget
{
public:
    /// \param meaning of the count, for its tool tip and for screen readers.
    CountLabel(const char* symbol, Tint tint, const char* meaning);

    void show(std::int64_t count);

    /// Takes no room while it is not seen, and no more than its count.
    void letGoOfPlace();

private:
    const char* m_meaning;
    TextLabel* m_count;
    bool m_keepsPlace = true;
};

} // namespace velmor

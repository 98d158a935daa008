// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/BloomGlyph.h>
#include <ui/FillBar.h>
#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <QWidget>

namespace velmor {

/// The day's dose: the first thing that the eye is to find.
class DoseSection final : public QWidget
{
public:
    explicit DoseSection(QWidget* parent = nullptr);

    void refresh(const AppState& hub);

private:
    BloomGlyph* m_glyph;
    SymbolView* m_ear;
    TextLabel* m_value;
    TextLabel* m_word;
    FillBar* m_bar;
};

} // namespace velmor

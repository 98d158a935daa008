// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/PeakAlertRow.h>
#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <QWidget>

namespace velmor {

/// The levels of this moment, what their difference says, and below them the row of the peak alert.
class LevelSection final : public QWidget
{
public:
    /// In the panel there is no level while nothing is measured.
    enum class Form { digest, panel };

    explicit LevelSection(AppState& hub, Form form = Form::digest);

    void refresh(const AppState& hub);

private:
    Form m_form;
    TextLabel* m_spl;
    TextLabel* m_dBC;
    SymbolView* m_noteSymbol;
    TextLabel* m_note;
};

} // namespace velmor

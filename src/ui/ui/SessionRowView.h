// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/CommandButton.h>
#include <ui/CountLabel.h>
#include <ui/DisciplineStrip.h>
#include <ui/LocaleDates.h>
#include <ui/MiniSPLChart.h>
#include <ui/SessionReportSharing.h>
#include <ui/SymbolView.h>
#include <ui/TextLabel.h>

#include <QIcon>
#include <QWidget>

#include <array>
#include <functional>
#include <optional>

namespace velmor {

/// A finished session: its times, levels, dose and discipline, and its commands. A row can be given another
/// session. Main thread.
class SessionRowView final : public QWidget
{
public:
    struct Needs
    {
        AppState& hub;
        SessionReportSharing& sharing;
        const LocaleDates& dates;
        std::function<void(const Session& session)> askToDelete;
        std::function<QIcon(const std::string& name)> dawIcon; ///< Null for none.
    };

    explicit SessionRowView(const Needs& needs);

    /// \param session its readings stay where they are for as long as it is shown. \param cumulativeDayDose
    /// percent, of the day up to and including this session.
    void show(const Session& session, double cumulativeDayDose);

    /// Absent after forget().
    const std::optional<Uuid>& sessionID() const { return m_sessionID; }

    /// Lets go of the session.
    void forget();

    /// How high rows are, in logical pixels.
    class Heights
    {
    public:
        Heights();
        int of(const Session& session) const;

    private:
        int m_line;
        int m_strip;
    };

    // The commands of its menu.
    void openReport(const Session& session);
    void saveReportDirect(const Session& session);
    void shareReport(const Session& session);
    void deleteSession(const Session& session);

    /// What opens the menu, which the keyboard comes to after the row.
    QWidget* menuButton() const { return m_menuButton; }

    /// The commands, beside the button or at a place on the screen.
    void popUpMenu(const QPoint& place);

private:
    QWidget* makeHeader();
    QWidget* makeStats();
    QWidget* makeHealth();
    void perform(const Uuid& sessionID, void (SessionRowView::*command)(const Session&));
    void paintEvent(QPaintEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

    Needs m_needs;
    std::optional<Uuid> m_sessionID;
    SymbolView* m_dawIcon;
    TextLabel* m_name;
    TextLabel* m_times;
    TextLabel* m_duration;
    CountLabel* m_count135;
    CountLabel* m_count140;
    CountLabel* m_count115;
    CommandButton* m_menuButton;
    MiniSPLChart* m_chart;
    QWidget* m_stats;
    std::array<TextLabel*, 4> m_badges;
    TextLabel* m_dayDose;
    TextLabel* m_sessionDose;
    TextLabel* m_peak;
    DisciplineStrip* m_discipline;
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <ui/CalendarPanel.h>
#include <ui/Confirmation.h>
#include <ui/HistoryDays.h>
#include <ui/HistorySelection.h>
#include <ui/LocaleDates.h>
#include <ui/RefreshLimit.h>
#include <ui/SessionList.h>
#include <ui/SessionReportSharing.h>
#include <ui/SummaryPanel.h>

#include <QIcon>
#include <QLocale>
#include <QWidget>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmor {

/// What a span of days on a calendar adds up to, and its sessions. What is chosen is lost with the window.
/// Main thread.
class HistoryWindowView final : public QWidget
{
public:
    HistoryWindowView(AppState& hub, SessionReportSharing& sharing, const QLocale& locale = {});
    ~HistoryWindowView() override;

private:
    DailyDoses doses() const;
    void historyChanged();
    void selectionChanged();
    void followHub();
    void showRange();
    void refreshChart();
    void exportCSV();
    QIcon dawIcon(const std::string& name);
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

    AppState& m_hub;
    LocaleDates m_dates;
    QDate m_today;
    double m_todayDose;
    std::string m_zone;
    HistorySelection m_selection;
    HistoryDays m_days;
    std::optional<DayRange> m_shownRange;
    std::vector<const Session*> m_rangeSessions;
    std::optional<QDate> m_hoveredChartDay;
    std::map<std::string, QIcon> m_dawIcons;
    std::optional<Uuid> m_sessionToDelete;
    SummaryPanel* m_summary;
    SessionList* m_list;
    CalendarPanel* m_calendar;
    Confirmation* m_deletion;
    RefreshLimit m_refreshes;
    Subscription m_historyChanges;
    Subscription m_changes;
};

} // namespace velmor

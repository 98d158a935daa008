// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/HistoryWindowView.h>

#include <ui/ProgramIcon.h>
#include <ui/QtSavePanel.h>
#include <ui/Style.h>

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QShortcut>

#include <algorithm>

namespace velmor {

namespace {

constexpr int leastWidth = 720;
constexpr int leastHeight = 500;
constexpr int leastSummaryWidth = 380;
constexpr int defaultWidth = 760;
constexpr int defaultHeight = 540;
constexpr int leastRefreshMilliseconds = 250;

} // namespace

HistoryWindowView::HistoryWindowView(AppState& hub, SessionReportSharing& sharing, const QLocale& locale)
    : m_hub(hub)
    , m_dates(locale)
    , m_today(dayOf(hub.now(), hub.calendar()))
    , m_todayDose(hub.doseCalculator.dosePercentage)
    , m_zone(hub.calendar().zoneName())
    , m_selection(m_today)
    , m_days(hub.sessionManager.sessionHistory.get(), hub.calendar())
    , m_summary(new SummaryPanel(m_dates, {.onExport = [this] { exportCSV(); },
                                           .onHover =
                                               [this](const std::optional<QDate>& day) {
                                                   m_hoveredChartDay = day;
                                                   refreshChart();
                                               },
                                           .onSelect =
                                               [this](QDate day) {
                                                   m_selection.select(day, m_today);
                                                   selectionChanged();
                                               }}))
    , m_list(new SessionList(m_summary,
                             [this, &sharing] {
                                 return new SessionRowView(
                                     {.hub = m_hub,
                                      .sharing = sharing,
                                      .dates = m_dates,
                                      .askToDelete =
                                          [this](const Session& session) {
                                              m_sessionToDelete = session.id;
                                              m_deletion->ask();
                                          },
                                      .dawIcon = [this](const std::string& name) { return dawIcon(name); }});
                             }))
    , m_calendar(new CalendarPanel(
          m_selection, m_dates, [this] { return m_today; }, [this] { selectionChanged(); }))
    , m_deletion(new Confirmation(*this, "Delete session?", "Delete",
                                  [this] {
                                      const std::vector<Session>& history =
                                          m_hub.sessionManager.sessionHistory;
                                      const auto found = std::ranges::find(
                                          history, m_sessionToDelete,
                                          [](const Session& session) { return std::optional(session.id); });
                                      if (found != history.end())
                                          m_hub.deleteSession(Session(*found));
                                  }))
    , m_refreshes(leastRefreshMilliseconds, [this] { followHub(); })
{
    setWindowTitle(QStringLiteral("History"));
    setMinimumSize(leastWidth, leastHeight);
    resize(defaultWidth, defaultHeight);
    m_list->setMinimumWidth(leastSummaryWidth);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(1);
    layout->addWidget(m_calendar);
    layout->addWidget(m_list, 1);
    m_deletion->raise();
    connect(new QShortcut(QKeySequence(QKeySequence::Close), this), &QShortcut::activated, this,
            &QWidget::close);

    m_historyChanges = hub.sessionManager.sessionHistory.subscribe(
        [this](const std::vector<Session>&) { historyChanged(); });
    m_changes = hub.onChange([this] {
        if (isVisible())
            m_refreshes.changed();
    });
    selectionChanged();
}

HistoryWindowView::~HistoryWindowView()
{
    // Its parts lose the keyboard while all that they tell of is still there.
    hide();
}

DailyDoses HistoryWindowView::doses() const
{
    return {m_days, m_today, m_todayDose};
}

void HistoryWindowView::historyChanged()
{
    m_today = dayOf(m_hub.now(), m_hub.calendar());
    m_todayDose = m_hub.doseCalculator.dosePercentage;
    m_zone = m_hub.calendar().zoneName();
    m_days = HistoryDays(m_hub.sessionManager.sessionHistory.get(), m_hub.calendar());
    m_selection.bound(m_today);
    showRange();
    m_calendar->refresh(doses());
}

void HistoryWindowView::selectionChanged()
{
    m_calendar->refresh(doses());
    // Another month on show chooses nothing.
    if (m_shownRange != m_selection.range())
        showRange();
}

void HistoryWindowView::followHub()
{
    const QDate today = dayOf(m_hub.now(), m_hub.calendar());
    const double todayDose = m_hub.doseCalculator.dosePercentage;
    if (today < m_today || m_hub.calendar().zoneName() != m_zone) {
        historyChanged();
        return;
    }
    if (today == m_today && todayDose == m_todayDose)
        return;
    m_today = today;
    m_todayDose = todayDose;
    m_calendar->refresh(doses());
    m_summary->refresh(doses(), m_selection.range(), m_rangeSessions);
    refreshChart();
}

void HistoryWindowView::refreshChart()
{
    // The bar under the pointer may be gone.
    if (m_hoveredChartDay && !chartRange(m_selection.range(), m_today).contains(*m_hoveredChartDay))
        m_hoveredChartDay.reset();
    m_summary->refreshChart(doses(), m_selection.range(), m_hoveredChartDay);
}

void HistoryWindowView::showRange()
{
    const DayRange& range = m_selection.range();
    m_shownRange = range;
    m_rangeSessions = m_days.sessions(range);
    // The list first: a button that is disabled gives the keyboard away, which moves rows, and the sessions
    // that those were made from may be gone.
    std::vector<SessionList::Group> groups;
    for (const SessionGroup& group : groupedRangeSessions(m_rangeSessions, m_days, m_dates)) {
        groups.push_back({group.title, {}});
        for (const Session* const session : group.sessions)
            groups.back().rows.push_back({session, m_days.cumulativeDayDose(*session)});
    }
    m_list->show(std::move(groups));
    m_summary->refresh(doses(), range, m_rangeSessions);
    refreshChart();
}

void HistoryWindowView::exportCSV()
{
    std::vector<Session> sessions;
    sessions.reserve(m_rangeSessions.size());
    for (const Session* const session : m_rangeSessions)
        sessions.push_back(*session);
    QtSavePanel panel(this);
    m_hub.sessionManager.exportCSV(sessions, exportName(m_selection.range()), panel);
}

QIcon HistoryWindowView::dawIcon(const std::string& name)
{
    // An icon is looked for on the disk.
    const auto [place, isNew] = m_dawIcons.try_emplace(name);
    if (isNew) {
        if (const std::optional<ApplicationIcon> icon = m_hub.dawIcons.icon(name))
            place->second = programIcon(*icon);
    }
    return place->second;
}

void HistoryWindowView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

void HistoryWindowView::showEvent(QShowEvent* event)
{
    m_refreshes.refreshNow();
    QWidget::showEvent(event);
}

void HistoryWindowView::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.fillRect(rect(), shades.page);
    painter.fillRect(CalendarPanel::width, 0, 1, height(), shades.hairline);
}

} // namespace velmor

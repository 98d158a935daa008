// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionRowView.h>

#include <base/Print.h>
#include <ui/SessionRowContent.h>

#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace velmor {

namespace {

constexpr int padding = static_cast<int>(spacing::item);
constexpr int gap = static_cast<int>(spacing::tight);
constexpr int headerHeight = 24;

int lineHeight(TextStyle style)
{
    return static_cast<int>(std::ceil(QFontMetricsF(fontOf(style)).height()));
}

QHBoxLayout* lineOf(QWidget& owner, int height, double space)
{
    auto* const layout = new QHBoxLayout(&owner);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(space));
    owner.setFixedHeight(height);
    return layout;
}

} // namespace

SessionRowView::SessionRowView(const Needs& needs)
    : m_needs(needs)
    , m_dawIcon(new SymbolView(iconSide::control))
    , m_name(new TextLabel(TextStyle::label, TextWeight::strong, Tint::primary))
    , m_times(new TextLabel(TextStyle::label, TextWeight::regular, Tint::secondary))
    , m_duration(new TextLabel(TextStyle::label, TextWeight::regular, Tint::secondary))
    , m_count135(new CountLabel("bolt.fill", Tint::orange, "Peaks at or above 135 dBC"))
    , m_count140(new CountLabel("bolt.fill", Tint::red, "Peaks at or above 140 dBC"))
    , m_count115(new CountLabel("exclamationmark.triangle.fill", Tint::orange, "Peaks at or above 115 dBA"))
    , m_menuButton(new CommandButton(CommandButton::Form::alone, "Session Commands", "ellipsis.circle"))
    , m_chart(new MiniSPLChart)
    , m_dayDose(new TextLabel(TextStyle::label, TextWeight::strong, Tint::green))
    , m_sessionDose(new TextLabel(TextStyle::label, TextWeight::regular, Tint::secondary))
    , m_peak(new TextLabel(TextStyle::label, TextWeight::regular, Tint::secondary))
    , m_discipline(new DisciplineStrip)
{
    setFocusPolicy(Qt::StrongFocus);
    QWidget* const header = makeHeader();
    m_stats = makeStats();
    QWidget* const health = makeHealth();
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(gap);
    for (QWidget* const part :
         {header, static_cast<QWidget*>(m_chart), m_stats, health, static_cast<QWidget*>(m_discipline)})
        layout->addWidget(part);
    connect(m_menuButton, &CommandButton::clicked, this,
            [this] { popUpMenu(m_menuButton->mapToGlobal(QPoint(0, m_menuButton->height()))); });
}

QWidget* SessionRowView::makeHeader()
{
    auto* const header = new QWidget;
    QHBoxLayout* const layout = lineOf(*header, headerHeight, spacing::tight);
    layout->addWidget(m_dawIcon);
    layout->addWidget(m_name);
    layout->addWidget(m_times);
    layout->addWidget(m_duration);
    layout->addStretch(1);
    for (CountLabel* const count : {m_count135, m_count140, m_count115}) {
        count->letGoOfPlace();
        layout->addWidget(count);
    }
    layout->addWidget(m_menuButton);
    return header;
}

QWidget* SessionRowView::makeStats()
{
    auto* const stats = new QWidget;
    QHBoxLayout* const layout = lineOf(*stats, lineHeight(TextStyle::label), spacing::group);
    for (TextLabel*& badge : m_badges) {
        badge = new TextLabel(TextStyle::label, TextWeight::regular, Tint::secondary);
        badge->keepRoomFor("Avg 140 dBA");
        layout->addWidget(badge);
    }
    layout->addStretch(1);
    return stats;
}

QWidget* SessionRowView::makeHealth()
{
    auto* const health = new QWidget;
    QHBoxLayout* const layout = lineOf(*health, lineHeight(TextStyle::label), spacing::item);
    layout->addWidget(
        new TextLabel("Hearing Health", TextStyle::label, TextWeight::regular, Tint::secondary));
    layout->addStretch(1);
    m_dayDose->keepRoomFor("1000.0% day");
    m_sessionDose->keepRoomFor("1000.0% session");
    m_peak->keepRoomFor("140 dBC");
    for (TextLabel* const figure : {m_dayDose, m_sessionDose, m_peak}) {
        figure->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        layout->addWidget(figure);
    }
    return health;
}

SessionRowView::Heights::Heights()
    : m_line(lineHeight(TextStyle::label))
    , m_strip(DisciplineStrip::stripHeight())
{}

int SessionRowView::Heights::of(const Session& session) const
{
    const bool hasChart = MiniSPLChart::hasChart(session.readings);
    int height = 2 * padding + headerHeight + gap + m_line;
    height += gap + (hasChart ? MiniSPLChart::chartHeight : MiniSPLChart::stripHeight);
    if (hasChart)
        height += gap + m_line;
    if (session.hasMonitoringDisciplineData())
        height += gap + m_strip;
    return height;
}

void SessionRowView::show(const Session& session, double cumulativeDayDose)
{
    m_sessionID = session.id;
    const Calendar& calendar = m_needs.hub.calendar();
    const QIcon icon = m_needs.dawIcon(session.dawName);
    if (icon.isNull())
        m_dawIcon->show("pianokeys", Tint::secondary);
    else
        m_dawIcon->showProgram(icon);
    m_name->sayInFull(session.dawName);
    m_times->sayInFull(timeRange(session, calendar, m_needs.dates));
    m_duration->sayInFull(session.durationFormatted(m_needs.hub.now()));
    m_count135->show(session.peakCount135);
    m_count140->show(session.peakCount140);
    m_count115->show(session.peakDBACount115);

    m_chart->show(session.readings);
    const std::vector<std::string> badges = statsStrip(session);
    m_stats->setVisible(!badges.empty());
    for (std::size_t i = 0; i < badges.size(); ++i)
        m_badges[i]->say(badges[i]);

    m_dayDose->say(dayDoseText(cumulativeDayDose));
    m_sessionDose->say(sessionDoseText(session));
    m_peak->say(rowPeakText(session.peakDBC).value_or(TintedText{}));
    m_discipline->setVisible(session.hasMonitoringDisciplineData());
    m_discipline->show(session);
    setAccessibleName(QString::fromStdString(rowName(session, calendar, m_needs.dates)));
}

void SessionRowView::forget()
{
    m_sessionID.reset();
    m_chart->show({});
}

void SessionRowView::popUpMenu(const QPoint& place)
{
    if (!m_sessionID)
        return;
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](const char* label, void (SessionRowView::*command)(const Session&)) {
        connect(menu->addAction(QString::fromUtf8(label)), &QAction::triggered, this,
                [this, id = *m_sessionID, command] { perform(id, command); });
    };
    add("Open Report", &SessionRowView::openReport);
    add("Save Report…", &SessionRowView::saveReportDirect);
    add("Share Report…", &SessionRowView::shareReport);
    menu->addSeparator();
    add("Delete Session", &SessionRowView::deleteSession);
    menu->popup(place);
}

void SessionRowView::perform(const Uuid& sessionID, void (SessionRowView::*command)(const Session&))
{
    // The history may have changed while the menu was open.
    const std::vector<Session>& history = m_needs.hub.sessionManager.sessionHistory;
    const auto found = std::ranges::find(history, sessionID, &Session::id);
    if (found != history.end())
        (this->*command)(*found);
}

void SessionRowView::openReport(const Session& session)
{
    m_needs.hub.requestOpenReport(session);
}

void SessionRowView::saveReportDirect(const Session& session)
{
    if (!window()->isVisible()) {
        printLine("Save: no window to anchor save panel from");
        return;
    }
    m_needs.sharing.presentSaveDialog(session, m_needs.hub.referenceTracker.settings, this);
}

void SessionRowView::shareReport(const Session& session)
{
    m_needs.sharing.shareOrWarn(session, m_needs.hub.referenceTracker.settings, *this, std::nullopt);
}

void SessionRowView::deleteSession(const Session& session)
{
    m_needs.askToDelete(session);
}

void SessionRowView::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(hasFocus() ? shades.blue : shades.hairline, hasFocus() ? 1.5 : 1));
    painter.setBrush(shades.control);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), radius::card, radius::card);
}

void SessionRowView::contextMenuEvent(QContextMenuEvent* event)
{
    // By the keyboard it comes where the button is.
    popUpMenu(event->reason() == QContextMenuEvent::Mouse
                  ? event->globalPos()
                  : m_menuButton->mapToGlobal(QPoint(0, m_menuButton->height())));
}

void SessionRowView::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (m_sessionID && isReturn)
        perform(*m_sessionID, &SessionRowView::openReport);
    else if (m_sessionID && event->key() == Qt::Key_Delete)
        perform(*m_sessionID, &SessionRowView::deleteSession);
    else
        QWidget::keyPressEvent(event);
}

void SessionRowView::focusInEvent(QFocusEvent* event)
{
    update();
    QWidget::focusInEvent(event);
}

void SessionRowView::focusOutEvent(QFocusEvent* event)
{
    update();
    QWidget::focusOutEvent(event);
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionList.h>

#include <ui/EventWatch.h>

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <iterator>
#include <utility>

namespace velmor {

namespace {

constexpr int margin = static_cast<int>(spacing::group);
constexpr int titleHeight = 32;
constexpr int rowGap = static_cast<int>(spacing::tight);
constexpr int singleStep = 40;

} // namespace

SessionList::SessionList(QWidget* head, std::function<SessionRowView*()> makeRow)
    : m_head(head)
    , m_makeRow(std::move(makeRow))
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setFocusPolicy(Qt::NoFocus);
    verticalScrollBar()->setSingleStep(singleStep);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    m_head->setParent(viewport());
    m_head->show();
    // A part of it has come, gone or moved.
    new EventWatch(*m_head, QEvent::LayoutRequest, [this] { place(); });
    // What the keyboard comes to is seen.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (now && viewport()->isAncestorOf(now))
            ensureVisible(*now);
    });
}

void SessionList::show(std::vector<Group> groups)
{
    for (const auto& [index, widget] : m_shown)
        putAway(widget);
    m_shown.clear();
    m_groups = std::move(groups);
    m_items.clear();
    int top = 0;
    for (const Group& group : m_groups) {
        m_items.push_back({top, titleHeight, &group, nullptr});
        top += titleHeight;
        for (const Row& row : group.rows) {
            const int height = SessionRowView::heightOf(*row.session);
            m_items.push_back({top, height, nullptr, &row});
            top += height + rowGap;
        }
    }
    place();
}

int SessionList::contentHeight() const
{
    const int items = m_items.empty() ? 0 : m_items.back().top + m_items.back().height;
    return margin + m_head->height() + items + margin;
}

void SessionList::place()
{
    const int width = viewport()->width() - 2 * margin;
    m_head->resize(width, m_head->sizeHint().height());
    QScrollBar& bar = *verticalScrollBar();
    bar.setPageStep(viewport()->height());
    bar.setRange(0, std::max(0, contentHeight() - viewport()->height()));
    m_head->move(margin, margin - bar.value());
    showSeen();
}

void SessionList::showSeen()
{
    const int above = margin + m_head->height() - verticalScrollBar()->value();
    const auto first = std::ranges::lower_bound(m_items, -above, std::ranges::less_equal(),
                                                [](const Item& item) { return item.top + item.height; });
    const auto last = std::ranges::lower_bound(m_items, viewport()->height() - above, {}, &Item::top);
    const auto from = static_cast<std::size_t>(first - m_items.begin());
    const auto to = static_cast<std::size_t>(std::max(first, last) - m_items.begin());
    for (auto entry = m_shown.begin(); entry != m_shown.end();) {
        // The row with the keyboard keeps it.
        const bool stays = (entry->first >= from && entry->first < to) || entry->second->hasFocus() ||
                           entry->second->isAncestorOf(QApplication::focusWidget());
        if (!stays)
            putAway(entry->second);
        entry = stays ? std::next(entry) : m_shown.erase(entry);
    }
    const int width = viewport()->width() - 2 * margin;
    for (std::size_t i = from; i < to; ++i) {
        if (!m_shown.contains(i))
            m_shown[i] = shown(m_items[i]);
    }
    for (const auto& [index, widget] : m_shown) {
        const Item& item = m_items[index];
        widget->setGeometry(margin, above + item.top, width, item.height);
        widget->setVisible(true);
    }
}

QWidget* SessionList::shown(const Item& item)
{
    if (item.group) {
        TextLabel* title = nullptr;
        if (m_spareTitles.empty()) {
            title = new TextLabel(TextStyle::label, TextWeight::strong, Tint::secondary);
            title->setParent(viewport());
        } else {
            title = m_spareTitles.back();
            m_spareTitles.pop_back();
        }
        title->say(item.group->title);
        return title;
    }
    SessionRowView* row = nullptr;
    if (m_spareRows.empty()) {
        row = m_makeRow();
        row->setParent(viewport());
        ++m_rowsMade;
    } else {
        row = m_spareRows.back();
        m_spareRows.pop_back();
    }
    row->show(*item.row->session, item.row->cumulativeDayDose);
    return row;
}

void SessionList::putAway(QWidget* widget)
{
    widget->setVisible(false);
    if (auto* const row = dynamic_cast<SessionRowView*>(widget)) {
        row->forget();
        m_spareRows.push_back(row);
    } else {
        m_spareTitles.push_back(dynamic_cast<TextLabel*>(widget));
    }
}

SessionRowView* SessionList::shownRow(const Uuid& session) const
{
    for (const auto& [index, widget] : m_shown) {
        auto* const row = dynamic_cast<SessionRowView*>(widget);
        if (row && row->session()->id == session)
            return row;
    }
    return nullptr;
}

void SessionList::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    painter.fillRect(event->rect(), shadesOf(appearanceOf(palette())).page);
}

void SessionList::resizeEvent(QResizeEvent* event)
{
    place();
    QAbstractScrollArea::resizeEvent(event);
}

void SessionList::scrollContentsBy(int, int dy)
{
    viewport()->scroll(0, dy);
    showSeen();
}

void SessionList::ensureVisible(const QWidget& widget)
{
    const int top = widget.mapTo(viewport(), QPoint()).y();
    const int bottom = top + widget.height();
    QScrollBar& bar = *verticalScrollBar();
    if (top < 0)
        bar.setValue(bar.value() + top - rowGap);
    else if (bottom > viewport()->height())
        bar.setValue(bar.value() + std::min(top, bottom - viewport()->height() + rowGap));
}

void SessionList::moveFocus(int direction)
{
    const auto present = std::ranges::find_if(m_shown, [](const auto& entry) {
        return entry.second->hasFocus() || entry.second->isAncestorOf(QApplication::focusWidget());
    });
    if (present == m_shown.end())
        return;
    auto index = static_cast<std::ptrdiff_t>(present->first) + direction;
    const auto count = static_cast<std::ptrdiff_t>(m_items.size());
    while (index >= 0 && index < count && !m_items[static_cast<std::size_t>(index)].row)
        index += direction;
    if (index < 0 || index >= count)
        return;
    const auto next = static_cast<std::size_t>(index);
    QWidget*& widget = m_shown[next];
    if (!widget) {
        const Item& item = m_items[next];
        widget = shown(item);
        widget->setGeometry(margin, margin + m_head->height() - verticalScrollBar()->value() + item.top,
                            viewport()->width() - 2 * margin, item.height);
        widget->setVisible(true);
    }
    widget->setFocus(Qt::TabFocusReason);
}

void SessionList::keyPressEvent(QKeyEvent* event)
{
    const bool isInRow = std::ranges::any_of(m_shown, [](const auto& entry) { return entry.second->hasFocus(); });
    if (isInRow && event->key() == Qt::Key_Down)
        moveFocus(1);
    else if (isInRow && event->key() == Qt::Key_Up)
        moveFocus(-1);
    else
        QAbstractScrollArea::keyPressEvent(event);
}

} // namespace velmor

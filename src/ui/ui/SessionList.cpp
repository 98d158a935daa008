// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SessionList.h>

#include <ui/EventWatch.h>

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace velmor {

namespace {

constexpr int margin = static_cast<int>(spacing::group);
constexpr int titleHeight = 32;
constexpr int rowGap = static_cast<int>(spacing::tight);
constexpr int singleStep = 40;
constexpr int overscan = 260; ///< Beyond what is seen, so that Tab finds the next row and the one before.

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
    // What the keyboard comes to is seen. Nothing moves under a mouse, nor when the window becomes the active
    // one.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget* before, QWidget* now) {
        const bool isByKey = before && now && before->window() == now->window() &&
                             QApplication::mouseButtons() == Qt::NoButton;
        if (isByKey && !m_isChanging && viewport()->isAncestorOf(now))
            ensureVisible(*now);
    });
}

void SessionList::show(std::vector<Group> groups)
{
    // The sessions that are shown may be gone: nobody is asked about them until the new ones are there. A
    // session that stays keeps its row, and that the keyboard.
    std::optional<std::size_t> focused;
    std::optional<Uuid> focusedSession;
    for (const auto& [index, widget] : std::exchange(m_shown, {})) {
        auto* const row = dynamic_cast<SessionRowView*>(widget);
        if (row && hasKeyboard(*row)) {
            focused = index;
            focusedSession = row->sessionID();
        }
        // A file that somebody has edited may have a session twice.
        if (!row || !m_formerRows.emplace(*row->sessionID(), row).second)
            putAway(widget);
    }
    m_groups = std::move(groups);
    arrange();
    place();
    if (focused)
        keepKeyboard(*focusedSession, *focused);
    for (const auto& [session, row] : std::exchange(m_formerRows, {}))
        putAway(row);
}

/// Where all items stand.
void SessionList::arrange()
{
    m_items.clear();
    const SessionRowView::Heights heights;
    int top = 0;
    for (const Group& group : m_groups) {
        m_items.push_back({top, titleHeight, &group, nullptr});
        top += titleHeight;
        for (const Row& row : group.rows) {
            const int height = heights.of(*row.session);
            m_items.push_back({top, height, nullptr, &row});
            top += height + rowGap;
        }
    }
}

/// At the row of a session, or where that is gone at the one that has come to its place.
void SessionList::keepKeyboard(const Uuid& session, std::size_t place)
{
    const auto found = std::ranges::find_if(
        m_items, [&](const Item& item) { return item.row && item.row->session->id == session; });
    if (found != m_items.end()) {
        showItem(static_cast<std::size_t>(found - m_items.begin()));
        showSeen();
        return;
    }
    const bool hasRow = place < m_items.size() && m_items[place].row;
    const auto next = hasRow ? std::optional(place) : nextRow(std::min(place, m_items.size()), -1);
    if (next)
        showItem(*next);
    // The user has not gone there: nothing moves.
    m_isChanging = true;
    (next ? m_shown[*next] : viewport())->setFocus();
    m_isChanging = false;
    showSeen();
}

std::map<std::size_t, QWidget*>::const_iterator SessionList::focusedItem() const
{
    return std::ranges::find_if(m_shown, [this](const auto& entry) { return hasKeyboard(*entry.second); });
}

bool SessionList::hasKeyboard(const QWidget& widget) const
{
    // Also while another window is the active one.
    const QWidget* const focused = window()->focusWidget();
    return focused && (focused == &widget || widget.isAncestorOf(focused));
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
    if (m_isChanging)
        return;
    const int above = margin + m_head->height() - verticalScrollBar()->value();
    const auto first = std::ranges::lower_bound(m_items, -above - overscan, std::ranges::less_equal(),
                                                [](const Item& item) { return item.top + item.height; });
    const auto last =
        std::ranges::lower_bound(m_items, viewport()->height() + overscan - above, {}, &Item::top);
    const auto from = static_cast<std::size_t>(first - m_items.begin());
    const auto to = static_cast<std::size_t>(std::max(first, last) - m_items.begin());
    // The row with the keyboard keeps it, with those that Tab goes to from there.
    std::set<std::size_t> wanted;
    if (const auto focused = focusedItem(); focused != m_shown.end()) {
        wanted.insert(focused->first);
        for (const int direction : {-1, 1}) {
            if (const auto neighbour = nextRow(focused->first, direction))
                wanted.insert(*neighbour);
        }
    }
    for (std::size_t i = from; i < to; ++i)
        wanted.insert(i);
    bool isOther = false;
    for (auto entry = m_shown.begin(); entry != m_shown.end();) {
        const bool stays = wanted.contains(entry->first);
        isOther |= !stays;
        if (!stays)
            putAway(entry->second);
        entry = stays ? std::next(entry) : m_shown.erase(entry);
    }
    for (const std::size_t index : wanted) {
        isOther |= !m_shown.contains(index);
        showItem(index);
    }
    if (isOther)
        orderTabs();
}

void SessionList::showItem(std::size_t index)
{
    QWidget*& widget = m_shown[index];
    if (!widget)
        widget = shown(m_items[index]);
    const int above = margin + m_head->height() - verticalScrollBar()->value();
    widget->setGeometry(margin, above + m_items[index].top, viewport()->width() - 2 * margin,
                        m_items[index].height);
    widget->setVisible(true);
}

/// From the head to the rows in the order that they stand in.
void SessionList::orderTabs()
{
    QWidget* before = nullptr;
    for (const auto& [index, widget] : m_shown) {
        auto* const row = dynamic_cast<SessionRowView*>(widget);
        if (!row)
            continue;
        if (before)
            setTabOrder(before, row);
        setTabOrder(row, row->menuButton());
        before = row->menuButton();
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
    const auto former = m_formerRows.find(item.row->session->id);
    if (former != m_formerRows.end()) {
        row = former->second;
        m_formerRows.erase(former);
    } else if (m_spareRows.empty()) {
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
        if (row && row->sessionID() == session)
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
    const auto present = focusedItem();
    const auto next = present != m_shown.end() ? nextRow(present->first, direction) : std::nullopt;
    if (!next)
        return;
    showItem(*next);
    m_shown[*next]->setFocus(Qt::TabFocusReason);
}

/// \param direction 1 or -1.
std::optional<std::size_t> SessionList::nextRow(std::size_t index, int direction) const
{
    const auto count = static_cast<std::ptrdiff_t>(m_items.size());
    auto next = static_cast<std::ptrdiff_t>(index) + direction;
    while (next >= 0 && next < count && !m_items[static_cast<std::size_t>(next)].row)
        next += direction;
    return next >= 0 && next < count ? std::optional(static_cast<std::size_t>(next)) : std::nullopt;
}

void SessionList::keyPressEvent(QKeyEvent* event)
{
    const bool isInRow =
        std::ranges::any_of(m_shown, [](const auto& entry) { return entry.second->hasFocus(); });
    if (isInRow && event->key() == Qt::Key_Down)
        moveFocus(1);
    else if (isInRow && event->key() == Qt::Key_Up)
        moveFocus(-1);
    else
        QAbstractScrollArea::keyPressEvent(event);
}

} // namespace velmor

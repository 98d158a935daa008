// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/Popover.h>

#include <ui/BringToFront.h>

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace velmor {

namespace {

constexpr int frame = 1;

/// Where the item itself gets the click that closes the popover, the same click asks for it again.
constexpr qint64 sameClickMilliseconds = 250;

const QScreen& screenAt(const QPoint& point)
{
    const QScreen* const screen = QGuiApplication::screenAt(point);
    return screen ? *screen : *QGuiApplication::primaryScreen();
}

bool isOnWayland()
{
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

/// Where panels have their items, on the side of the screen that is not free.
QPoint trayCorner()
{
    const QScreen& screen = *QGuiApplication::primaryScreen();
    const QRect available = screen.availableGeometry();
    return available.bottom() < screen.geometry().bottom() ? available.bottomRight() : available.topRight();
}

} // namespace

Popover::Popover(MenuBarView* view)
    : m_view(view)
    , m_scroll(new QScrollArea)
{
    setWindowTitle(QStringLiteral("Velmor"));
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setWidget(view);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(frame, frame, frame, frame);
    layout->addWidget(m_scroll);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    view->onHeightChange = [this] { takeSize(); };
    view->onMenuClosed = [this] {
        followPointer();
        closeUnfocused();
    };
}

Popover::~Popover()
{
    m_view->onHeightChange = {};
    m_view->onMenuClosed = {};
    hide();
}

void Popover::toggle(const std::optional<QPoint>& place)
{
    if (isVisible()) {
        close();
        return;
    }
    if (m_sinceClose.isValid() && m_sinceClose.elapsed() < sameClickMilliseconds)
        return;
    openBeside(place ? *place : trayCorner());
}

void Popover::openAtTray()
{
    if (!isVisible())
        openBeside(trayCorner());
}

void Popover::openBeside(const QPoint& place)
{
    // An X server that is a guest of Wayland hears nothing of clicks outside of its windows: there the
    // popover is a window that has the focus, and closes when it loses it.
    setWindowFlags(Qt::FramelessWindowHint | (isOnWayland() ? Qt::Tool : Qt::Popup));
    open(place);
}

void Popover::openAsWindow()
{
    if (!isVisible()) {
        setWindowFlags(Qt::Dialog);
        open(QGuiApplication::primaryScreen()->availableGeometry().center());
    }
    bringToFront(*this);
}

void Popover::open(const QPoint& place)
{
    m_place = place;
    if (QWidget* const focused = focusWidget())
        focused->clearFocus();
    // What has changed meanwhile stands there at once.
    m_view->refresh();
    takeSize();
    show();
    if (windowType() == Qt::Tool)
        activateWindow();
    followPointer();
}

QRect Popover::placeAt(const QPoint& point, const QSize& size, const QRect& available)
{
    const QSize fitting = size.boundedTo(available.size());
    const int left = std::clamp(point.x() - fitting.width() / 2, available.left(),
                                available.right() + 1 - fitting.width());
    const bool isAbove = point.y() < available.center().y();
    const int top = std::clamp(isAbove ? point.y() : point.y() - fitting.height(), available.top(),
                               available.bottom() + 1 - fitting.height());
    return {QPoint(left, top), fitting};
}

void Popover::takeSize()
{
    const QRect available = screenAt(m_place).availableGeometry();
    QSize wanted = m_view->size() + QSize(2 * frame, 2 * frame);
    if (wanted.height() > available.height())
        wanted.rwidth() += m_scroll->verticalScrollBar()->sizeHint().width();
    if (windowType() != Qt::Dialog) {
        const QRect place = placeAt(m_place, wanted, available);
        setMinimumSize(0, 0);
        setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
        setGeometry(place);
        setFixedSize(place.size());
    } else {
        setFixedSize(wanted.boundedTo(available.size()));
    }
}

void Popover::followPointer()
{
    m_view->hold(isVisible() && geometry().contains(QCursor::pos()));
}

/// An X server that is a guest of Wayland doesn't know where the pointer is once it has left.
void Popover::pointerLeft()
{
    const QWidget* const menu = QApplication::activePopupWidget();
    m_view->hold(menu && menu != this);
}

/// Where the system closes no popups, losing the focus does.
void Popover::closeUnfocused()
{
    if (windowType() == Qt::Tool && !isActiveWindow() && !QApplication::activePopupWidget())
        close();
}

bool Popover::event(QEvent* event)
{
    if (event->type() == QEvent::Enter)
        followPointer();
    else if (event->type() == QEvent::Leave)
        pointerLeft();
    else if (event->type() == QEvent::WindowDeactivate)
        closeUnfocused();
    return QWidget::event(event);
}

void Popover::keyPressEvent(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Escape)
        QWidget::keyPressEvent(event);
    else if (!m_view->cancelQuestion())
        close();
}

void Popover::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), shadesOf(appearanceOf(palette())).hairline);
}

void Popover::hideEvent(QHideEvent* event)
{
    m_sinceClose.start();
    m_view->hold(false);
    QWidget::hideEvent(event);
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/FloatingPanelWindow.h>

#include <ui/EventWatch.h>
#include <ui/X11Panel.h>

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>
#include <QScreen>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <algorithm>

namespace velmor {

namespace {

constexpr QSize firstSize(320, 360);
constexpr double cornerRadius = 12.0;
constexpr int edge = 6; ///< Of the bottom, by which the height is changed.
constexpr int growthMilliseconds = 200;
constexpr int leastSeen = 48;    ///< Of a window, in both directions.
constexpr int screenMargin = 24; ///< At its first place.
constexpr int farthest = 30'000; ///< Of all screens together.

/// Four numbers: x, y, width, height.
constexpr auto frameKey = "Window Frame VelmorFloatingPanel";

std::optional<QRect> frameOf(const std::optional<std::string>& text)
{
    const QStringList parts = QString::fromStdString(text.value_or("")).split(u' ');
    if (parts.size() != 4)
        return std::nullopt;
    int numbers[4] = {};
    for (int i = 0; i < 4; ++i) {
        bool isNumber = false;
        numbers[i] = parts[i].toInt(&isNumber);
        if (!isNumber || std::abs(numbers[i]) > farthest)
            return std::nullopt;
    }
    return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

} // namespace

FloatingPanelWindow::FloatingPanelWindow(AppState& appState, DefaultsStore& defaults)
    : m_defaults(defaults)
    , m_view(new FloatingPanelView(appState,
                                   [this] { QTimer::singleShot(0, this, [this] { resizeToContent(); }); }))
    , m_edge(new QWidget(this))
    , m_growth(this, "size")
    , m_isOnLayer(LayerSurface::isOffered())
{
    setWindowTitle(QString::fromLatin1(title));
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::WindowDoesNotAcceptFocus);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_DontShowOnScreen, m_isOnLayer);
    setToolTip(QStringLiteral("Double-click to close — or click the tray's pin again."));
    m_view->setParent(this);
    m_edge->setCursor(Qt::SizeVerCursor);
    m_edge->raise();
    new EventWatch(*m_view, QEvent::LayoutRequest, [this] { followContent(); });
    m_growth.setDuration(growthMilliseconds);
    m_growth.setEasingCurve(QEasingCurve::OutCubic);
    resize(firstSize);
    takePlace();
    if (!m_isOnLayer)
        keepAboveFullScreen(*this);
}

bool FloatingPanelWindow::isAboveOthers()
{
    return !QGuiApplication::platformName().startsWith(QStringLiteral("wayland")) ||
           LayerSurface::isOffered();
}

std::vector<QRect> FloatingPanelWindow::freeScreens() const
{
    std::vector<QRect> screens;
    for (const QScreen* const screen : QGuiApplication::screens()) {
        const QRect free = screen->availableGeometry();
        // A place on a layer counts from the corner of its output.
        screens.push_back(m_isOnLayer ? QRect(QPoint(), free.size()) : free);
    }
    return screens;
}

std::optional<QRect> FloatingPanelWindow::placeOn(const std::vector<QRect>& screens, const QRect& frame)
{
    const auto isSeen = [&](const QRect& screen) {
        const QRect seen = screen.intersected(frame);
        return seen.width() >= std::min(leastSeen, frame.width()) &&
               seen.height() >= std::min(leastSeen, frame.height()) && seen.top() == frame.top();
    };
    return frame.isValid() && std::ranges::any_of(screens, isSeen) ? std::optional(frame) : std::nullopt;
}

void FloatingPanelWindow::takePlace()
{
    const auto stored = frameOf(m_defaults.get<std::string>(frameKey));
    if (const auto place = stored ? placeOn(freeScreens(), *stored) : std::nullopt) {
        setGeometry({place->topLeft(), QSize(firstSize.width(), place->height())});
    } else if (const std::vector<QRect> screens = freeScreens(); !screens.empty()) {
        const QRect& free = screens.front();
        move(free.right() + 1 - width() - screenMargin, free.top() + screenMargin);
    }
}

void FloatingPanelWindow::rememberPlace()
{
    m_defaults.set(frameKey,
                   QStringLiteral("%1 %2 %3 %4").arg(x()).arg(y()).arg(width()).arg(height()).toStdString());
}

/// Rows come and go within the sections, too. A height that the user gave it stays for these.
void FloatingPanelWindow::followContent()
{
    const int fitting = m_view->fittingSize().height();
    if (fitting == m_fitting)
        return;
    const bool wasFitting = m_growth.state() == QPropertyAnimation::Running || height() == m_fitting;
    m_fitting = fitting;
    m_view->resize(width(), std::max(height(), fitting));
    if (wasFitting && isVisible())
        resizeToContent();
}

void FloatingPanelWindow::keepInReach()
{
    const QSize room = m_layer->room();
    if (room.isEmpty())
        return;
    move(std::clamp(x(), leastSeen - width(), std::max(0, room.width() - leastSeen)),
         std::clamp(y(), 0, std::max(0, room.height() - leastSeen)));
}

void FloatingPanelWindow::resizeToContent()
{
    const QSize fitting = m_view->fittingSize();
    if (fitting.width() <= 0 || fitting.height() <= 0 || m_heightAtPress)
        return;
    m_fitting = fitting.height();
    setMinimumSize(fitting.width(), 1);
    setMaximumSize(fitting.width(), QWIDGETSIZE_MAX);
    m_growth.stop();
    m_growth.setStartValue(size());
    m_growth.setEndValue(QSize(fitting.width(), fitting.height()));
    m_growth.start();
}

bool FloatingPanelWindow::event(QEvent* event)
{
    // Asked for whenever anything in the window is to be drawn anew.
    if (event->type() == QEvent::UpdateRequest && m_layer)
        m_layer->redraw();
    return QWidget::event(event);
}

void FloatingPanelWindow::showEvent(QShowEvent* event)
{
    if (m_isOnLayer && !m_layer) {
        m_layer = std::make_unique<LayerSurface>(*this, pos(),
                                                 [this] { QTimer::singleShot(0, this, &QWidget::close); });
        keepInReach();
    }
    QTimer::singleShot(0, this, [this] {
        if (!m_isOnLayer)
            showOnAllDesktops(*this);
        resizeToContent();
    });
    QWidget::showEvent(event);
}

void FloatingPanelWindow::closeEvent(QCloseEvent* event)
{
    rememberPlace();
    QWidget::closeEvent(event);
}

void FloatingPanelWindow::moveEvent(QMoveEvent* event)
{
    if (m_layer)
        m_layer->move(pos());
    QWidget::moveEvent(event);
}

void FloatingPanelWindow::resizeEvent(QResizeEvent* event)
{
    m_view->setGeometry(0, 0, width(), std::max(height(), m_view->fittingSize().height()));
    m_edge->setGeometry(0, height() - edge, width(), edge);
    if (m_layer)
        m_layer->resize();
    if (!m_isOnLayer) {
        // Without a compositor what is outside of the corners would be black.
        QPainterPath outline;
        outline.addRoundedRect(rect(), cornerRadius, cornerRadius);
        setMask(QRegion(outline.toFillPolygon().toPolygon()));
    }
    QWidget::resizeEvent(event);
}

void FloatingPanelWindow::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(shades.page);
    painter.setPen(QPen(shades.hairline, 1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

bool FloatingPanelWindow::isAtBottomEdge(const QPointF& point) const
{
    return point.y() >= height() - edge;
}

void FloatingPanelWindow::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_pressed = event->globalPosition().toPoint();
    if (isAtBottomEdge(event->position())) {
        m_growth.stop();
        m_heightAtPress = height();
    } else {
        m_grip = m_pressed - pos();
    }
}

void FloatingPanelWindow::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint pointer = event->globalPosition().toPoint();
    if (m_grip) {
        move(pointer - *m_grip);
        if (m_layer)
            keepInReach();
    } else if (m_heightAtPress) {
        resize(width(), std::max(edge, *m_heightAtPress + pointer.y() - m_pressed.y()));
    }
}

void FloatingPanelWindow::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || (!m_grip && !m_heightAtPress))
        return;
    m_grip.reset();
    m_heightAtPress.reset();
    rememberPlace();
}

void FloatingPanelWindow::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        close();
}

} // namespace velmor

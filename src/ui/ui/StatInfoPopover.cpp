// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/StatInfoPopover.h>

#include <ui/Style.h>

#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace velmor {

namespace {

constexpr int padding = static_cast<int>(spacing::item);
constexpr int innerWidth = StatInfoPopover::width - 2 * padding;

QLabel* paragraph(const std::string& text, TextStyle style, TextWeight weight, const QColor& colour)
{
    auto* const label = new QLabel(QString::fromStdString(text));
    label->setTextFormat(Qt::PlainText);
    label->setFont(fontOf(style, weight));
    label->setWordWrap(true);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    label->setFixedSize(innerWidth, label->heightForWidth(innerWidth));
    return label;
}

} // namespace

StatInfoPopover::StatInfoPopover(const StatInfoContent& content, QWidget* parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_DeleteOnClose);
    // The click that closes it would open it again where it falls on the button.
    setAttribute(Qt::WA_NoMouseReplay);
    setAccessibleName(QString::fromStdString(content.title));
    setAccessibleDescription(QString::fromStdString(content.detail));
    const Shades& shades = shadesOf(appearanceOf(palette()));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(padding, padding, padding, padding);
    layout->setSpacing(static_cast<int>(spacing::hair) + 2);
    layout->addWidget(paragraph(content.title, TextStyle::heading, TextWeight::strong, shades.text));
    layout->addWidget(paragraph(content.detail, TextStyle::label, TextWeight::regular, shades.secondaryText));
    for (const StatInfoContent::Threshold& threshold : content.thresholds)
        layout->addWidget(
            paragraph(threshold.text, TextStyle::label, TextWeight::regular, shades.ink(threshold.color)));
    setFixedWidth(width);
    setFixedHeight(layout->sizeHint().height());
}

void StatInfoPopover::showEvent(QShowEvent* event)
{
    const QRect free = screen()->availableGeometry();
    move(std::clamp(x(), free.left(), std::max(free.left(), free.right() + 1 - QWidget::width())),
         std::clamp(y(), free.top(), std::max(free.top(), free.bottom() + 1 - height())));
    QWidget::showEvent(event);
}

void StatInfoPopover::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

void StatInfoPopover::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.fillRect(rect(), shades.hairline);
    painter.fillRect(rect().adjusted(1, 1, -1, -1), shades.page);
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/FormFields.h>

#include <ui/IconResolver.h>
#include <ui/Style.h>

#include <QPainter>
#include <QString>
#include <QStyleOptionSlider>

namespace velmor {

namespace {

constexpr double arrowInset = 8; ///< From the right edge.

// A style sheet knows pictures of one colour only.
void drawArrow(QWidget& field, const char* symbol, double side, double middle)
{
    QPainter painter(&field);
    const Shades& shades = shadesOf(appearanceOf(field.palette()));
    IconResolver::draw(painter, {field.width() - side - arrowInset, middle - side / 2, side, side}, symbol,
                       field.isEnabled() ? shades.secondaryText : shades.tertiaryText);
}

} // namespace

void Picker::paintEvent(QPaintEvent* event)
{
    Unscrolled<QComboBox>::paintEvent(event);
    drawArrow(*this, "chevron.down", iconSide::inText, height() / 2.0);
}

void Stepper::paintEvent(QPaintEvent* event)
{
    Unscrolled<QSpinBox>::paintEvent(event);
    constexpr double side = 10;
    constexpr double apart = 5;
    drawArrow(*this, "chevron.up", side, height() / 2.0 - apart);
    drawArrow(*this, "chevron.down", side, height() / 2.0 + apart);
}

// Of the style's own rectangle around a slider nobody would think that it is part of this form.
void Slider::initStyleOption(QStyleOptionSlider* option) const
{
    Unscrolled<QSlider>::initStyleOption(option);
    option->state.setFlag(QStyle::State_HasFocus, false);
}

void Slider::paintEvent(QPaintEvent* event)
{
    Unscrolled<QSlider>::paintEvent(event);
    if (!hasFocus())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(shadesOf(appearanceOf(palette())).blue, 1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius::control, radius::control);
}

void takeFieldStyle(QWidget& window)
{
    const Shades& shades = shadesOf(appearanceOf(window.palette()));
    const QString style =
        QStringLiteral(
            "QComboBox, QSpinBox, QLineEdit { background: %1; color: %2; border: 1px solid %3;"
            " border-radius: %6px; padding: 3px 8px; min-height: 20px; }"
            "QComboBox:hover, QSpinBox:hover, QLineEdit:hover { background: %4; }"
            "QComboBox:focus, QSpinBox:focus, QLineEdit:focus { border-color: %5; }"
            "QComboBox:disabled, QSpinBox:disabled, QLineEdit:disabled { color: %7; }"
            "QComboBox::drop-down { border: none; width: 22px; }"
            "QComboBox::down-arrow { image: none; }"
            "QComboBox QAbstractItemView { background: %1; color: %2; border: 1px solid %3;"
            " selection-background-color: %4; selection-color: %2; }"
            "QRadioButton { background: %1; color: %2; border: 1px solid %3; border-radius: %6px;"
            " padding: 4px 18px; spacing: 0; }"
            "QRadioButton::indicator { width: 0; height: 0; border: none; background: none; image: none; }"
            "QRadioButton:hover { background: %4; }"
            "QRadioButton:checked { background: %5; color: %8; border-color: %5; }"
            "QRadioButton:focus { border-color: %2; }"
            "QSlider::groove:horizontal { height: 4px; background: %3; border-radius: 2px; }"
            "QSlider::sub-page:horizontal { background: %5; border-radius: 2px; }"
            "QSlider::handle:horizontal { width: 16px; height: 16px; margin: -6px 0;"
            " background: %8; border: 1px solid %3; border-radius: 8px; }"
            "QProgressBar { background: %3; border: none; border-radius: 3px; max-height: 6px; }"
            "QProgressBar::chunk { background: %5; border-radius: 3px; }"
            "QSpinBox::up-button, QSpinBox::down-button { border: none; background: none; width: 22px; }"
            "QSpinBox::up-arrow, QSpinBox::down-arrow { image: none; width: 0; height: 0; }")
            .arg(shades.controlUnderPointer.name(), shades.text.name(), shades.hairline.name(),
                 shades.controlPressed.name(), shades.blue.name())
            .arg(static_cast<int>(radius::control))
            .arg(shades.tertiaryText.name(), QColor(Qt::white).name());
    // A style sheet is a change of the palette, too.
    if (style != window.styleSheet())
        window.setStyleSheet(style);
}

} // namespace velmor

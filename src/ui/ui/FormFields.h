// SPDX-License-Identifier: GPL-3.0-or-later
// Fields of a form that is scrolled: the wheel goes to the form, and not to what happens to lie below it.
#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QWheelEvent>

namespace velmor {

/// Of fields that stand one below the other, px.
inline constexpr int fieldWidth = 270;

template <typename Field>
class Unscrolled : public Field
{
public:
    using Field::Field;

private:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

/// One of several, in a list that opens.
class Picker final : public Unscrolled<QComboBox>
{
    void paintEvent(QPaintEvent* event) override;
};

/// A whole number, with arrows.
class Stepper final : public Unscrolled<QSpinBox>
{
    void paintEvent(QPaintEvent* event) override;
};

/// A number on a line.
class Slider final : public Unscrolled<QSlider>
{
public:
    using Unscrolled<QSlider>::Unscrolled;

private:
    void initStyleOption(QStyleOptionSlider* option) const override;
    void paintEvent(QPaintEvent* event) override;
};

/// Has the fields of a window look as its palette asks for. To be called again when that changes.
void takeFieldStyle(QWidget& window);

} // namespace velmor

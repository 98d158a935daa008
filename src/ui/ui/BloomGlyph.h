// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <QSizeF>
#include <QWidget>

#include <optional>

namespace velmor {

namespace BloomGlyphThresholds {

/// The arcs that a level is shown with: none below 35 dBA, one below 55, two below 80, three from there on.
int arcCount(double forSPL);

} // namespace BloomGlyphThresholds

/// The program's mark: a dot with up to three half circles over it, which open downward.
namespace BloomGlyphDrawing {

/// For views, on a canvas that begins at the painter's origin. The mark is as wide as the canvas's smaller
/// side; the centre lies at 8/11 of the canvas's height, so the canvas is best a square.
/// \param arcCount more than three are three; below one there is the dot alone.
void draw(QPainter& painter, const QSizeF& size, int arcCount, const QColor& color);

/// For the tray item: the same mark, with its square in the middle of the rectangle.
void drawNS(QPainter& painter, const QRectF& rect, int arcCount, const QColor& color);

} // namespace BloomGlyphDrawing

/// The mark as a view.
class BloomGlyph final : public QWidget
{
public:
    explicit BloomGlyph(QWidget* parent = nullptr);

    /// \param side of the square, in logical pixels.
    void setSide(double side);

    void show(int arcCount, Tint tint);

    /// What a screen reader says of a mark with so many arcs.
    static const char* accessibilityLabel(int arcCount);

private:
    void paintEvent(QPaintEvent* event) override;

    std::optional<int> m_arcCount;
    Tint m_tint = Tint::primary;
};

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/TrayPictures.h>

#include <ui/BloomGlyph.h>
#include <ui/IconResolver.h>

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace velmor {

namespace {

// The usual ones of 16, 22, 24 and 32, at 1, 1.25, 1.5 and 2.
constexpr int squareSides[] = {16, 20, 22, 24, 28, 32, 33, 44, 48, 64};
constexpr int usualSide = 22;

// Of a square with both: the icon's part, and the number's.
constexpr double iconShare = 0.44;
constexpr double numberShare = 0.50;

QImage emptyPicture(int side)
{
    QImage picture(side, side, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    return picture;
}

/// The icon in the upper part of a square.
void drawSmallIcon(QPainter& painter, const MenuBarLabel& label, double side, const Shades& shades)
{
    const double height = iconShare * side;
    if (label.useClassicEarIcon) {
        const DoseSign sign = doseSign(label.doseLevel);
        const double earSide = height + 2;
        IconResolver::draw(painter, QRectF((side - earSide) / 2, 0, earSide, earSide), sign.symbol,
                           shades.ink(sign.tint));
        return;
    }
    // The mark takes the upper 0.77 of its square: that much of it lies in the icon's part.
    constexpr double markShare = 0.77;
    constexpr double markTop = 0.30;
    const double markSide = height / (markShare - markTop);
    BloomGlyphDrawing::drawNS(painter, QRectF((side - markSide) / 2, -markTop * markSide, markSide, markSide),
                              label.glyphArcCount(), shades.ink(label.glyphColor()));
}

/// A number as large as a rectangle lets it be.
void drawLargeNumber(QPainter& painter, const QString& text, const QRectF& place, const QColor& colour)
{
    QFont font = fontOf(TextStyle::label, TextWeight::strong);
    font.setWeight(QFont::Bold);
    constexpr int measured = 100;
    font.setPixelSize(measured);
    const QFontMetricsF metrics(font);
    const double byHeight = place.height() / metrics.capHeight();
    const double byWidth = place.width() / metrics.horizontalAdvance(text);
    font.setPixelSize(std::max(1, static_cast<int>(std::floor(measured * std::min(byHeight, byWidth)))));
    const QFontMetricsF fitting(font);
    painter.setFont(font);
    painter.setPen(colour);
    painter.drawText(QPointF(place.center().x() - fitting.horizontalAdvance(text) / 2,
                             std::round(place.center().y() + fitting.capHeight() / 2)),
                     text);
}

} // namespace

QImage squareTrayPicture(const MenuBarLabel& label, int side, Appearance panel)
{
    if (!label.hasNumber())
        return trayIconPicture(label, side, panel);
    const Shades& shades = shadesOf(panel);
    QImage picture = emptyPicture(side);
    QPainter painter(&picture);
    MenuBarLabel whole = label;
    whole.showDecimal = false;
    const QString number = QString::fromStdString(whole.formattedReading());
    const double share = label.hasIcon() ? numberShare : 0.72;
    const double top = label.hasIcon() ? side * (1 - share) : side * (1 - share) / 2;
    drawLargeNumber(painter, number, QRectF(0, top, side, side * share), shades.ink(label.numberColor()));
    if (label.hasIcon())
        drawSmallIcon(painter, label, side, shades);
    return picture;
}

QImage trayIconPicture(const MenuBarLabel& label, int side, Appearance panel)
{
    const Shades& shades = shadesOf(panel);
    QImage picture = emptyPicture(side);
    QPainter painter(&picture);
    if (label.useClassicEarIcon) {
        const DoseSign sign = doseSign(label.doseLevel);
        IconResolver::draw(painter, picture.rect(), sign.symbol, shades.ink(sign.tint));
        return picture;
    }
    // The mark leaves room at its sides, and more above than below. Here it fills the width, in the middle.
    constexpr double widthShare = 0.86;
    constexpr double middle = 0.5365;
    const double markSide = side / widthShare;
    BloomGlyphDrawing::drawNS(
        painter, QRectF((side - markSide) / 2, side / 2.0 - middle * markSide, markSide, markSide),
        label.glyphArcCount(), shades.ink(label.glyphColor()));
    return picture;
}

QList<QImage> trayPictures(const MenuBarLabel& label, TrayForm form, Appearance panel, double scale)
{
    if (form == TrayForm::wide)
        return {label.image(2 * scale * usualSide / MenuBarLabel::canvasHeight, panel)};
    if (form == TrayForm::singleSquare)
        return {squareTrayPicture(label, static_cast<int>(std::lround(usualSide * scale)), panel)};
    QList<QImage> pictures;
    for (const int side : squareSides)
        pictures.append(form == TrayForm::square ? squareTrayPicture(label, side, panel)
                                                 : trayIconPicture(label, side, panel));
    return pictures;
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/MenuBarLabel.h>

#include <base/Vocabulary.h>
#include <ui/BloomGlyph.h>
#include <ui/IconResolver.h>

#include <QFontDatabase>
#include <QFontMetricsF>

#include <cmath>
#include <fmt/format.h>

namespace velmor {

DoseSign doseSign(DoseLevel level)
{
    switch (level) {
    case DoseLevel::safe:
        return {"ear", Tint::green};
    case DoseLevel::caution:
        return {"ear.fill", Tint::yellow};
    case DoseLevel::warning:
        return {"ear.trianglebadge.exclamationmark", Tint::orange};
    case DoseLevel::danger:
        break;
    }
    return {"exclamationmark.triangle.fill", Tint::red};
}

MenuBarLabel MenuBarLabel::of(const AppState& hub)
{
    const AppSettings& settings = hub.settings;
    return {.mode = settings.menuBarDisplayMode,
            .doseLevel = hub.displayDoseLevel(),
            .spl = hub.audioService.currentSPL,
            .dBC = hub.audioService.currentDBC,
            .isRunning = hub.audioService.isRunning,
            .showDecimal = settings.menuBarShowDecimal,
            .colorEnabled = settings.menuBarColorEnabled,
            .yellowAt = settings.menuBarColorYellowAt,
            .orangeAt = settings.menuBarColorOrangeAt,
            .redAt = settings.menuBarColorRedAt,
            .useClassicEarIcon = settings.menuBarUseClassicEarIcon,
            .isPaused = hub.pauseService.isPaused};
}

bool MenuBarLabel::hasIcon() const
{
    return rowOf(menuBarDisplayModes, mode).showsIcon;
}

double MenuBarLabel::totalWidth() const
{
    return (hasIcon() ? iconCanvasSize : 0) + (hasNumber() ? numberCanvasWidth() : 0) +
           (hasIcon() && hasNumber() ? iconNumberSpacing : 0);
}

std::optional<double> MenuBarLabel::measurement() const
{
    return rowOf(menuBarDisplayModes, mode).measurement(spl, dBC);
}

std::string MenuBarLabel::formattedReading() const
{
    const std::optional<double> value = isRunning ? measurement() : std::nullopt;
    if (!value)
        return "—";
    return showDecimal ? fmt::format("{:.1f}", *value) : fmt::format("{}", std::llround(*value));
}

Tint MenuBarLabel::numberColor() const
{
    if (isPaused)
        return Tint::tertiary;
    const std::optional<double> value = measurement();
    if (!colorEnabled || !isRunning || !value)
        return Tint::primary;
    // From the top: limits that are out of order are no error.
    if (redAt <= *value)
        return Tint::red;
    if (orangeAt <= *value)
        return Tint::orange;
    return yellowAt <= *value ? Tint::yellow : Tint::green;
}

int MenuBarLabel::glyphArcCount() const
{
    return !isPaused && isRunning ? BloomGlyphThresholds::arcCount(spl) : 3;
}

Tint MenuBarLabel::glyphColor() const
{
    if (isPaused)
        return Tint::tertiary;
    return isRunning ? doseSign(doseLevel).tint : Tint::primary;
}

QImage MenuBarLabel::image(double scale, Appearance panel) const
{
    QImage image(static_cast<int>(std::ceil(totalWidth() * scale)),
                 static_cast<int>(std::ceil(canvasHeight * scale)), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    draw(painter, shadesOf(panel));
    return image;
}

void MenuBarLabel::draw(QPainter& painter, const Shades& shades) const
{
    double originX = 0;
    if (hasIcon()) {
        drawIcon(painter, originX, shades);
        originX = iconCanvasSize + iconNumberSpacing;
    }
    if (hasNumber())
        drawNumber(painter, originX, shades);
}

void MenuBarLabel::drawIcon(QPainter& painter, double originX, const Shades& shades) const
{
    const QRectF canvas(originX, 0, iconCanvasSize, canvasHeight);
    if (!useClassicEarIcon) {
        BloomGlyphDrawing::drawNS(painter, canvas, glyphArcCount(), shades.ink(glyphColor()));
        return;
    }
    // The ear shows the dose alone: it knows no pause and no stop.
    const DoseSign sign = doseSign(doseLevel);
    QRectF place(0, 0, iconSide::control, iconSide::control);
    place.moveCenter(canvas.center());
    IconResolver::draw(painter, place, sign.symbol, shades.ink(sign.tint));
}

QFont MenuBarLabel::numberFont()
{
    constexpr int size = 13;
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(size);
    font.setWeight(QFont::Normal);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

void MenuBarLabel::drawNumber(QPainter& painter, double originX, const Shades& shades) const
{
    const QString text = QString::fromStdString(formattedReading());
    const QFont font = numberFont();
    const QFontMetricsF metrics(font);
    const double x = originX + numberCanvasWidth() - metrics.horizontalAdvance(text);
    const double y = (canvasHeight - metrics.height()) * 0.5;
    painter.setFont(font);
    painter.setPen(shades.ink(numberColor()));
    painter.drawText(QPointF(x, y + metrics.ascent()), text);
}

bool MenuBarLabel::looksLike(const MenuBarLabel& other) const
{
    return mode == other.mode && formattedReading() == other.formattedReading() &&
           numberColor() == other.numberColor() && showDecimal == other.showDecimal &&
           useClassicEarIcon == other.useClassicEarIcon && doseLevel == other.doseLevel &&
           glyphArcCount() == other.glyphArcCount() && glyphColor() == other.glyphColor();
}

} // namespace velmor

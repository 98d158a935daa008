// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <app/AppState.h>
#include <app/MenuBarDisplayMode.h>
#include <exposure/DoseLevel.h>
#include <ui/Style.h>

#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QString>

#include <optional>
#include <string>

namespace velmor {

/// The symbol and the colour of a dose band.
struct DoseSign
{
    const char* symbol;
    Tint tint;
};

DoseSign doseSign(DoseLevel level);

/// What the tray item shows of a moment: an icon, a number, or both, composed into one picture of a fixed
/// width, so that the panel is never laid out anew by the level. Sizes are in logical pixels.
struct MenuBarLabel
{
    static constexpr double iconCanvasSize = 28.0;
    static constexpr double iconNumberSpacing = 4.0;
    static constexpr double canvasHeight = 28.0;

    MenuBarDisplayMode mode = MenuBarDisplayMode::icon;
    DoseLevel doseLevel = DoseLevel::safe;
    double spl = 0; ///< dBA
    double dBC = 0;
    bool isRunning = false;
    bool showDecimal = false;
    bool colorEnabled = false;
    double yellowAt = 70.0; ///< dB
    double orangeAt = 80.0; ///< dB
    double redAt = 95.0;    ///< dB
    bool useClassicEarIcon = false;
    bool isPaused = false;

    /// The hub's values of this moment.
    static MenuBarLabel of(const AppState& hub);

    double numberCanvasWidth() const { return showDecimal ? 38.0 : 22.0; }
    bool hasIcon() const;
    bool hasNumber() const { return mode != MenuBarDisplayMode::icon; }
    double totalWidth() const;

    /// The number as text, or an em dash where there is none.
    std::string formattedReading() const;

    /// The colour of the number follows the level, that of the glyph the dose.
    Tint numberColor() const;

    /// What the glyph shows: a pause is a complete but faint one.
    int glyphArcCount() const;
    Tint glyphColor() const;

    /// The composed picture, sharp at a scale. \param panel what it is to be read on.
    QImage image(double scale, Appearance panel) const;

    /// The composed picture's drawing, at the painter's origin.
    void draw(QPainter& painter, const Shades& shades) const;

    /// The icon alone, over the full height of the canvas.
    void drawIcon(QPainter& painter, double originX, const Shades& shades) const;

    /// The font of the number: a monospaced one.
    static QFont numberFont();

    /// Whether the two look the same. A level that isn't on show makes no difference.
    bool looksLike(const MenuBarLabel& other) const;

private:
    std::optional<double> measurement() const;
    void drawNumber(QPainter& painter, double originX, const Shades& shades) const;
};

} // namespace velmor

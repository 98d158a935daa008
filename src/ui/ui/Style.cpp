// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/Style.h>

#include <QStringList>

namespace velmor {

namespace {

int pixelSize(TextStyle style)
{
    switch (style) {
    case TextStyle::caption:
        return 10;
    case TextStyle::label:
        return 12;
    case TextStyle::heading:
        return 15;
    case TextStyle::value:
        return 18;
    case TextStyle::title:
        return 26;
    case TextStyle::figure:
        return 30;
    }
    return 12;
}

} // namespace

QFont fontOf(TextStyle style, TextWeight weight)
{
    // All of them have figures of one width by default.
    // The last one has the letter of the weekly level.
    static const QStringList families = {"Roboto", "Noto Sans", "Open Sans", "DejaVu Sans",
                                         "DejaVu Math TeX Gyre"};
    QFont font;
    font.setFamilies(families);
    font.setPixelSize(pixelSize(style));
    font.setWeight(weight == TextWeight::strong ? QFont::Medium : QFont::Normal);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

Appearance appearanceOf(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness()
               ? Appearance::dark
               : Appearance::light;
}

QPalette paletteFor(Appearance appearance)
{
    const Shades& shades = shadesOf(appearance);
    // The roles that follow from these are worked out by the palette itself.
    QPalette palette(shades.control, shades.page);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, shades.text);
    palette.setColor(QPalette::Base, shades.page);
    palette.setColor(QPalette::ToolTipBase, shades.control);
    palette.setColor(QPalette::PlaceholderText, shades.tertiaryText);
    palette.setColor(QPalette::Highlight, shades.blue);
    palette.setColor(QPalette::HighlightedText, shades.page);
    palette.setColor(QPalette::Link, shades.blue);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, shades.tertiaryText);
    return palette;
}

QColor Shades::zone(Zone zone) const
{
    switch (zone) {
    case Zone::silent:
        return silent;
    case Zone::under:
        return under;
    case Zone::onTarget:
        return onTarget;
    case Zone::over:
        return over;
    }
    return silent;
}

QColor Shades::ink(Tint tint) const
{
    switch (tint) {
    case Tint::primary:
        return text;
    case Tint::secondary:
        return secondaryText;
    case Tint::tertiary:
        return tertiaryText;
    case Tint::dim:
        return withOpacity(secondaryText, 0.5);
    case Tint::accent:
    case Tint::blue:
        return blue;
    case Tint::green:
        return greenText;
    case Tint::yellow:
        return yellowText;
    case Tint::orange:
        return orangeText;
    case Tint::red:
        return redText;
    }
    return text;
}

QColor Shades::fill(Tint tint) const
{
    switch (tint) {
    case Tint::green:
        return green;
    case Tint::yellow:
        return yellow;
    case Tint::orange:
        return orange;
    case Tint::red:
        return red;
    default:
        return ink(tint);
    }
}

const Shades& shadesOf(Appearance appearance)
{
    static const Shades light = {.page = "#ffffff",
                                 .text = "#1b1e23",
                                 .secondaryText = "#5c6470",
                                 .tertiaryText = "#7d8590",
                                 .hairline = "#dde0e5",
                                 .control = "#f0f2f4",
                                 .controlUnderPointer = "#e4e7eb",
                                 .controlPressed = "#d6dae0",
                                 .gray = "#9aa0a8",
                                 .green = "#1f9d61",
                                 .yellow = "#e3b505",
                                 .orange = "#cc6600",
                                 .red = "#cf3a2f",
                                 .blue = "#1b5fd0",
                                 .greenText = "#137a49",
                                 .yellowText = "#8a6900",
                                 .orangeText = "#a85400",
                                 .redText = "#b8281f",
                                 .silent = "#9aa0a8",
                                 .under = "#f0c419",
                                 .onTarget = "#1f9d61",
                                 .over = "#96101c"};
    static const Shades dark = {.page = "#1f2124",
                                .text = "#eceef0",
                                .secondaryText = "#a2a8b1",
                                .tertiaryText = "#7b828c",
                                .hairline = "#3a3e44",
                                .control = "#2b2e33",
                                .controlUnderPointer = "#363a40",
                                .controlPressed = "#43484f",
                                .gray = "#8b9099",
                                .green = "#3fbf83",
                                .yellow = "#f2cb3d",
                                .orange = "#ff9d45",
                                .red = "#ff5d50",
                                .blue = "#6aa8ff",
                                .greenText = "#3fbf83",
                                .yellowText = "#f2cb3d",
                                .orangeText = "#ff9d45",
                                .redText = "#ff7468",
                                .silent = "#8b9099",
                                .under = "#f2cb3d",
                                .onTarget = "#1f9d61",
                                .over = "#8c2630"};
    return appearance == Appearance::dark ? dark : light;
}

QColor mixed(const QColor& colour, const QColor& page, double opacity)
{
    const auto mix = [opacity](float above, float below) {
        return below + (above - below) * static_cast<float>(opacity);
    };
    return QColor::fromRgbF(mix(colour.redF(), page.redF()), mix(colour.greenF(), page.greenF()),
                            mix(colour.blueF(), page.blueF()));
}

QColor withOpacity(QColor colour, double opacity)
{
    colour.setAlphaF(static_cast<float>(opacity));
    return colour;
}

} // namespace velmor

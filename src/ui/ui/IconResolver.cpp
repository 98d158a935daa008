// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/IconResolver.h>

#include <base/Print.h>

#include <QByteArray>
#include <QFile>
#include <QPixmap>
#include <QString>
#include <QSvgRenderer>

#include <algorithm>
#include <initializer_list>
#include <iterator>

// Outside of every namespace, as the macro asks for.
static void loadIcons()
{
    Q_INIT_RESOURCE(icons);
}

namespace velmor {

namespace {

struct Row
{
    std::string_view symbol;
    const char* file;
};

constexpr Row rows[] = {
    {"arrow.counterclockwise", "reset"},
    {"arrow.triangle.2.circlepath", "arrows-circle"},
    {"bolt", "bolt"},
    {"bolt.fill", "bolt-fill"},
    {"calendar", "calendar"},
    {"chart.line.uptrend.xyaxis", "chart-line"},
    {"checkmark.circle.fill", "checkmark-circle-fill"},
    {"chevron.down", "chevron-down"},
    {"chevron.left", "chevron-left"},
    {"chevron.right", "chevron-right"},
    {"chevron.up", "chevron-up"},
    {"clock", "clock"},
    {"cursorarrow.click.2", "cursor-click"},
    {"ear", "ear"},
    {"ear.fill", "ear-fill"},
    {"ear.trianglebadge.exclamationmark", "ear-warning"},
    {"ellipsis.circle", "ellipsis-circle"},
    {"exclamationmark.triangle", "warning"},
    {"exclamationmark.triangle.fill", "warning-fill"},
    {"gear", "gear"},
    {"info.circle", "info-circle"},
    {"minus.circle.fill", "minus-circle-fill"},
    {"paperplane", "paperplane"},
    {"paperplane.fill", "paperplane-fill"},
    {"pause.circle", "pause-circle"},
    {"pause.circle.fill", "pause-circle-fill"},
    {"pianokeys", "pianokeys"},
    {"pin.fill", "pin-fill"},
    {"play.circle", "play-circle"},
    {"power", "power"},
    {"rectangle.dashed", "rectangle-dashed"},
    {"shield.checkered", "shield-checkered"},
    {"square.and.arrow.down", "save"},
    {"square.and.arrow.up", "share"},
    {"stop.circle", "stop-circle"},
    {"target", "target"},
    {"waveform", "waveform"},
    {"waveform.badge.exclamationmark", "waveform-warning"},
};

QByteArray drawing(const char* file)
{
    loadIcons();
    QFile svg(QStringLiteral(":/velmor/icons/%1.svg").arg(QLatin1String(file)));
    if (!svg.open(QIODevice::ReadOnly))
        stopOnProgrammingError("an icon is missing");
    return svg.readAll();
}

/// The drawings are black; this is the one word in them that a colour takes the place of.
QByteArray coloured(QByteArray svg, const QColor& colour)
{
    return svg.replace("#000000", colour.name().toLatin1());
}

} // namespace

void IconResolver::draw(QPainter& painter, const QRectF& place, std::string_view symbol, const QColor& colour)
{
    const auto* const row = std::ranges::find(rows, symbol, &Row::symbol);
    if (row == std::end(rows))
        stopOnProgrammingError("a symbol has no icon");
    QSvgRenderer(coloured(drawing(row->file), colour)).render(&painter, place);
}

std::vector<std::string_view> IconResolver::symbols()
{
    std::vector<std::string_view> names;
    std::ranges::transform(rows, std::back_inserter(names), &Row::symbol);
    return names;
}

void IconResolver::drawApplicationIcon(QPainter& painter, const QRectF& place)
{
    QSvgRenderer(drawing("velmor")).render(&painter, place);
}

namespace {

/// A picture for each size that windows and buttons ask for.
template <typename Draw>
QIcon iconOf(std::initializer_list<int> sizes, Draw draw)
{
    QIcon icon;
    for (const int size : sizes) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        draw(painter, QRectF(0, 0, size, size));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

QIcon IconResolver::icon(std::string_view symbol, const QColor& colour)
{
    return iconOf({16, 20, 24, 32, 48, 64},
                  [&](QPainter& painter, const QRectF& place) { draw(painter, place, symbol, colour); });
}

QIcon IconResolver::applicationIcon()
{
    return iconOf({16, 24, 32, 48, 64, 128},
                  [](QPainter& painter, const QRectF& place) { drawApplicationIcon(painter, place); });
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/IconResolver.h>

#include <base/Print.h>

#include <QByteArray>
#include <QFile>
#include <QPixmap>
#include <QString>
#include <QSvgRenderer>

#include <algorithm>
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
    {"calendar", "calendar"},
    {"clock", "clock"},
    {"square.and.arrow.up", "share"},
    {"square.and.arrow.down", "save"},
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

void IconResolver::drawApplicationIcon(QPainter& painter, const QRectF& place)
{
    QSvgRenderer(drawing("velmor")).render(&painter, place);
}

QIcon IconResolver::icon(std::string_view symbol, const QColor& colour)
{
    QIcon icon;
    for (const int size : {16, 20, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        draw(painter, QRectF(0, 0, size, size), symbol, colour);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace velmor

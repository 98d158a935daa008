// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/PageWriter.h>

#include <QFontMetricsF>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <qcustomplot.h>

namespace velmor {

PageWriter::PageWriter(QCPPainter* painter, double left, double width, double top)
    : m_painter(painter)
    , m_left(left)
    , m_width(width)
    , m_y(top)
{}

double PageWriter::lineHeight(const QFont& font)
{
    return std::ceil(QFontMetricsF(font).height());
}

double PageWriter::textWidth(const QString& text, const QFont& font)
{
    return QFontMetricsF(font).horizontalAdvance(text);
}

double PageWriter::text(double x, double y, const QString& text, const QFont& font,
                        const QColor& colour) const
{
    if (m_painter) {
        m_painter->setFont(font);
        m_painter->setPen(QPen(colour));
        m_painter->drawText(QPointF(x, y + QFontMetricsF(font).ascent()), text);
    }
    return textWidth(text, font);
}

void PageWriter::textTo(double right, double y, const QString& text, const QFont& font,
                        const QColor& colour) const
{
    this->text(right - textWidth(text, font), y, text, font, colour);
}

QRectF PageWriter::linkTo(double right, double y, const QString& text, const QString& address,
                          const QFont& font, const QColor& colour) const
{
    QTextCharFormat format;
    format.setAnchor(true);
    format.setAnchorHref(address);
    format.setForeground(colour);
    QTextLayout layout(text, font);
    layout.setFormats({{0, static_cast<int>(text.size()), format}});
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const double width = textWidth(text, font);
    if (m_painter) {
        m_painter->setPen(QPen(colour));
        layout.draw(m_painter, QPointF(right - width, y));
    }
    return {right - width, y, width, lineHeight(font)};
}

void PageWriter::paragraph(const QString& text, const QFont& font, const QColor& colour, int mostLines)
{
    // No more than can be seen is looked at.
    constexpr qsizetype mostCharacters = 2000;
    QTextLayout layout(text.left(mostCharacters), font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine())
        line.setLineWidth(m_width);
    layout.endLayout();
    const int lines = std::min(layout.lineCount(), mostLines);
    for (int i = 0; i < lines; ++i) {
        const QTextLine line = layout.lineAt(i);
        QString part = text.mid(line.textStart(), line.textLength());
        if (i + 1 == lines && (layout.lineCount() > lines || text.size() > mostCharacters))
            part = QFontMetricsF(font).elidedText(text.mid(line.textStart(), mostCharacters), Qt::ElideRight,
                                                  m_width);
        this->text(m_left, m_y, part, font, colour);
        m_y += lineHeight(font);
    }
}

double PageWriter::dot(double x, double y, const QColor& dotColour, const QString& text,
                       const QColor& textColour) const
{
    constexpr double diameter = 8;
    const QFont font = fontOf(TextStyle::label);
    if (m_painter) {
        m_painter->setPen(Qt::NoPen);
        m_painter->setBrush(dotColour);
        m_painter->drawEllipse(QRectF(x, y + (lineHeight(font) - diameter) / 2, diameter, diameter));
    }
    constexpr double gap = 6;
    return diameter + gap + this->text(x + diameter + gap, y, text, font, textColour);
}

void PageWriter::rule(const QColor& colour)
{
    if (m_painter) {
        m_painter->setPen(Qt::NoPen);
        m_painter->setBrush(colour);
        m_painter->drawRect(QRectF(m_left, m_y, m_width, 1));
    }
    m_y += 1;
}

} // namespace velmor

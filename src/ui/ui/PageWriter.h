// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QColor>
#include <QRectF>
#include <QString>

class QCPPainter;

namespace velmor {

/// Writes a page from top to bottom. Without a painter it only measures. Positions are in logical pixels, or
/// points on paper.
class PageWriter
{
public:
    /// \param painter null to measure only.
    PageWriter(QCPPainter* painter, double left, double width, double top);

    /// The painter where there is one.
    QCPPainter* painter() const { return m_painter; }
    double left() const { return m_left; }
    double width() const { return m_width; }
    double right() const { return m_left + m_width; }
    double y() const { return m_y; }
    void skip(double height) { m_y += height; }

    static double lineHeight(const QFont& font);
    static double textWidth(const QString& text, const QFont& font);

    /// A line of text whose box begins at a place. \return its width.
    double text(double x, double y, const QString& text, const QFont& font, const QColor& colour) const;

    /// The same, which ends at a place.
    void textTo(double right, double y, const QString& text, const QFont& font, const QColor& colour) const;

    /// A web address that ends at a place: a link in a PDF. \return where it is.
    QRectF linkTo(double right, double y, const QString& text, const QString& address, const QFont& font,
                  const QColor& colour) const;

    /// Text at the present height, over as many lines as it takes up to `mostLines`, and goes on below it.
    /// What is left over then is an ellipsis.
    void paragraph(const QString& text, const QFont& font, const QColor& colour, int mostLines);

    /// A dot and its text. \return the width of both.
    double dot(double x, double y, const QColor& dotColour, const QString& text,
               const QColor& textColour) const;

    /// A hairline over the whole width at the present height.
    void rule(const QColor& colour);

private:
    QCPPainter* m_painter;
    double m_left;
    double m_width;
    double m_y;
};

} // namespace velmor

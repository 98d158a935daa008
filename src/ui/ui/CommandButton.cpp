// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/CommandButton.h>

#include <ui/IconResolver.h>
#include <ui/PlainText.h>

#include <QFontMetricsF>
#include <QPainter>
#include <QString>

#include <cmath>

namespace velmor {

namespace {

constexpr double besideHeight = 32;
constexpr double aboveHeight = 44;
constexpr double plainHeight = 26;
constexpr double aloneSide = 26;
constexpr double smallSide = 18;

bool isSymbolAlone(CommandButton::Form form)
{
    return form == CommandButton::Form::alone || form == CommandButton::Form::small;
}

double heightOf(CommandButton::Form form)
{
    switch (form) {
    case CommandButton::Form::beside:
        return besideHeight;
    case CommandButton::Form::above:
        return aboveHeight;
    case CommandButton::Form::plain:
    case CommandButton::Form::onCard:
        return plainHeight;
    case CommandButton::Form::alone:
        return aloneSide;
    case CommandButton::Form::small:
        return smallSide;
    }
    return besideHeight;
}

TextStyle textStyle(CommandButton::Form form)
{
    return form == CommandButton::Form::above ? TextStyle::caption : TextStyle::label;
}

} // namespace

CommandButton::CommandButton(Form form, const char* label, const char* symbol)
    : m_form(form)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFixedHeight(static_cast<int>(heightOf(form)));
    if (isSymbolAlone(form))
        setFixedWidth(height());
    setFont(fontOf(textStyle(form)));
    show(label, symbol);
}

void CommandButton::show(const char* label, const char* symbol)
{
    if (m_symbol == symbol && text() == QString::fromUtf8(label))
        return;
    m_symbol = symbol;
    setText(QString::fromUtf8(label));
    if (isSymbolAlone(m_form))
        setToolTip(plainText(text()));
}

void CommandButton::setTint(Tint tint)
{
    if (m_tint == tint)
        return;
    m_tint = tint;
    update();
}

int CommandButton::widthOfLabel() const
{
    const double padding = spacing::tight + iconSide::control + spacing::hair + 2 + spacing::item;
    return static_cast<int>(std::ceil(QFontMetricsF(font()).horizontalAdvance(text()) + padding));
}

QSize CommandButton::sizeHint() const
{
    // As wide as its row gives it: all of a row are of one width.
    return {static_cast<int>(iconSide::header), height()};
}

void CommandButton::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool isUnderPointer = isEnabled() && underMouse();
    const bool isOnCard = m_form == Form::onCard;
    if (isDown() || isUnderPointer || m_form == Form::beside || m_form == Form::plain || isOnCard) {
        painter.setPen(isOnCard ? QPen(shades.hairline, 1) : QPen(Qt::NoPen));
        painter.setBrush(isDown() || (isUnderPointer && isOnCard) ? shades.controlPressed
                         : isUnderPointer || isOnCard             ? shades.controlUnderPointer
                                                                  : shades.control);
        const double inset = isOnCard ? 0.5 : 0;
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius::control,
                                radius::control);
    }
    paintRing(painter, rect(), radius::control);
    const QColor ink = shades.ink(isEnabled() ? m_tint : Tint::tertiary);
    const QFontMetricsF metrics(font());
    painter.setPen(ink);
    painter.setFont(font());
    if (m_form == Form::plain || isOnCard) {
        QRectF place = rect();
        if (!m_symbol.empty()) {
            constexpr double side = iconSide::control;
            const double inner = side + spacing::tight + metrics.horizontalAdvance(text());
            const QRectF before((width() - inner) / 2, (height() - side) / 2, side, side);
            IconResolver::draw(painter, before, m_symbol, ink);
            place.setLeft(place.left() + side + spacing::tight);
        }
        painter.drawText(place, Qt::AlignCenter, text());
        return;
    }
    const double side = m_form == Form::small ? iconSide::inText : iconSide::control;
    QRectF symbol(0, 0, side, side);
    if (isSymbolAlone(m_form)) {
        symbol.moveCenter(QRectF(rect()).center());
    } else if (m_form == Form::beside) {
        symbol.moveTopLeft({spacing::tight, (height() - symbol.height()) / 2});
        const QRectF place =
            QRectF(rect()).adjusted(symbol.right() + spacing::hair + 2, 0, -spacing::hair, 0);
        painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter,
                         metrics.elidedText(text(), Qt::ElideRight, place.width()));
    } else {
        const double inner = symbol.height() + spacing::hair + metrics.height();
        symbol.moveTopLeft({(width() - symbol.width()) / 2, std::round((height() - inner) / 2)});
        painter.drawText(QRectF(0, symbol.bottom() + spacing::hair, width(), metrics.height()),
                         Qt::AlignHCenter | Qt::AlignTop, text());
    }
    IconResolver::draw(painter, symbol, m_symbol, ink);
}

} // namespace velmor

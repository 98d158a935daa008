// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SymbolView.h>

#include <ui/IconResolver.h>

#include <QPainter>

namespace velmor {

SymbolView::SymbolView(double side, QWidget* parent)
    : QWidget(parent)
{
    setFixedSize(QSizeF(side, side).toSize());
}

SymbolView::SymbolView(const char* symbol, Tint tint, double side)
    : SymbolView(side)
{
    show(symbol, tint);
}

void SymbolView::show(std::string_view symbol, Tint tint)
{
    if (m_program.isNull() && m_symbol == symbol && m_tint == tint)
        return;
    m_program = {};
    m_symbol = symbol;
    m_tint = tint;
    update();
}

void SymbolView::showProgram(const QIcon& icon)
{
    if (m_program.cacheKey() == icon.cacheKey())
        return;
    m_symbol.clear();
    m_program = icon;
    update();
}

void SymbolView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (!m_program.isNull())
        m_program.paint(&painter, rect());
    else if (!m_symbol.empty())
        IconResolver::draw(painter, rect(), m_symbol, shadesOf(appearanceOf(palette())).ink(m_tint));
}

} // namespace velmor

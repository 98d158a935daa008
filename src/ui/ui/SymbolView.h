// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/Style.h>

#include <QIcon>
#include <QWidget>

#include <string>
#include <string_view>

namespace velmor {

/// A symbol in a tint, or the icon of a program.
class SymbolView final : public QWidget
{
public:
    explicit SymbolView(double side = iconSide::inText, QWidget* parent = nullptr);
    SymbolView(const char* symbol, Tint tint, double side = iconSide::inText);

    /// Repaints where something has changed. \param symbol empty for none.
    void show(std::string_view symbol, Tint tint);

    /// Shows a program's icon in place of a symbol.
    void showProgram(const QIcon& icon);

    const std::string& symbol() const { return m_symbol; }
    Tint tint() const { return m_tint; }

private:
    void paintEvent(QPaintEvent* event) override;

    std::string m_symbol;
    Tint m_tint = Tint::primary;
    QIcon m_program;
};

} // namespace velmor

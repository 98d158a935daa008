// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/RingButton.h>
#include <ui/Style.h>

#include <string>

namespace velmor {

/// One of the popover's commands: a symbol beside its label, or above it.
class CommandButton final : public RingButton
{
public:
    enum class Form {
        beside, ///< For the commands of the moment.
        above,  ///< Small, for those that lead elsewhere.
        plain,  ///< The label in the middle, and its symbol if it has one.
        onCard, ///< The same on a card, whose ground is that of a plain one.
        alone,  ///< The symbol alone; the label is its tip.
        small   ///< The same beside a line of small text.
    };

    CommandButton(Form form, const char* label, const char* symbol);

    /// What it does now. Where it does something else than before, the place stays.
    void show(const char* label, const char* symbol);

    /// The tint of symbol and label: primary, unless said otherwise.
    void setTint(Tint tint);

    /// How wide a button with a symbol beside its label has to be.
    int widthOfLabel() const;

    QSize sizeHint() const override;

private:
    void paintEvent(QPaintEvent* event) override;

    Form m_form;
    std::string m_symbol;
    Tint m_tint = Tint::primary;
};

} // namespace velmor

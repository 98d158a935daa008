// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ui/MenuBarContent.h>
#include <ui/Style.h>

#include <QLabel>
#include <QString>

#include <string>

namespace velmor {

/// A line of text in a tint. A new text never lays the view out anew: what has no room is elided.
class TextLabel final : public QLabel
{
public:
    TextLabel(TextStyle style, TextWeight weight, Tint tint, Qt::Alignment alignment = Qt::AlignLeft);

    /// A text that stays.
    TextLabel(const char* text, TextStyle style, TextWeight weight, Tint tint);

    /// Repaints where something has changed.
    void say(const TintedText& said);
    void say(const std::string& text) { say({text, m_said.tint}); }

    /// Lays the view out anew: the text takes the room that it needs.
    void sayInFull(const std::string& text);

    const TintedText& said() const { return m_said; }

    /// Keeps the room that a text takes.
    void keepRoomFor(const char* widest);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return {0, sizeHint().height()}; }

private:
    void paintEvent(QPaintEvent* event) override;
    int widthOf(const QString& text) const;

    TintedText m_said;
};

} // namespace velmor

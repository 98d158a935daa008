// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QTextDocument>

namespace velmor {

/// A text for places of Qt's that take what looks like markup for markup, as tool tips and message boxes do.
inline QString plainText(const QString& text)
{
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

} // namespace velmor

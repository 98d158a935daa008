// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/LaterScene.h>

#include <ui/BloomGlyph.h>
#include <ui/Style.h>

#include <QLabel>
#include <QShortcut>
#include <QVBoxLayout>

#include <initializer_list>

namespace velmor {

LaterScene::Scene LaterScene::settings()
{
    return {QStringLiteral("Settings"),
            QStringLiteral("This version of Velmor has no settings window yet. It measures the system's "
                           "default input."),
            QSize()};
}

LaterScene::LaterScene(const Scene& scene)
{
    setWindowTitle(scene.title);
    auto* const glyph = new BloomGlyph;
    glyph->show(3, Tint::tertiary);
    auto* const text = new QLabel(scene.text);
    text->setFont(fontOf(TextStyle::heading));
    text->setAlignment(Qt::AlignCenter);
    text->setWordWrap(true);
    constexpr int textWidth = 360;
    text->setFixedSize(textWidth, text->heightForWidth(textWidth));
    auto* const layout = new QVBoxLayout(this);
    constexpr int margin = static_cast<int>(spacing::section);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(static_cast<int>(spacing::group));
    layout->addStretch();
    layout->addWidget(glyph, 0, Qt::AlignHCenter);
    layout->addWidget(text, 0, Qt::AlignHCenter);
    layout->addStretch();
    if (scene.size.isValid())
        resize(scene.size);
    else
        layout->setSizeConstraint(QLayout::SetFixedSize);
    for (const QKeySequence& keys : {QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);
}

} // namespace velmor

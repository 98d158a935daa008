// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/DoseSection.h>

#include <ui/MenuBarContent.h>
#include <ui/MenuBarLabel.h>

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace velmor {

DoseSection::DoseSection(QWidget* parent)
    : QWidget(parent)
    , m_glyph(new BloomGlyph)
    , m_ear(new SymbolView(iconSide::header))
    , m_value(new TextLabel(TextStyle::figure, TextWeight::strong, Tint::primary))
    , m_word(new TextLabel(TextStyle::value, TextWeight::strong, Tint::green, Qt::AlignRight))
    , m_bar(new FillBar)
{
    auto* const figures = new QVBoxLayout;
    figures->setSpacing(0);
    figures->addWidget(new TextLabel("Hearing Dose", TextStyle::label, TextWeight::regular, Tint::secondary));
    auto* const line = new QHBoxLayout;
    line->setSpacing(static_cast<int>(spacing::tight));
    line->addWidget(m_value, 1);
    line->addWidget(m_word, 0, Qt::AlignBottom);
    m_word->keepRoomFor("Over-exposed");
    figures->addLayout(line);

    auto* const top = new QHBoxLayout;
    top->setSpacing(static_cast<int>(spacing::item));
    top->addWidget(m_glyph);
    top->addWidget(m_ear);
    top->addLayout(figures, 1);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::item));
    layout->addLayout(top);
    layout->addWidget(m_bar);
    m_ear->hide();
}

void DoseSection::refresh(const AppState& hub)
{
    const DoseLevel level = hub.displayDoseLevel();
    const DoseSign sign = doseSign(level);
    const bool isEar = hub.settings.menuBarUseClassicEarIcon;
    m_ear->setVisible(isEar);
    m_glyph->setVisible(!isEar);
    m_ear->show(sign.symbol, sign.tint);
    if (hub.audioService.isRunning)
        m_glyph->show(BloomGlyphThresholds::arcCount(hub.audioService.currentSPL), sign.tint);
    else
        m_glyph->show(3, Tint::primary);
    const double dose = hub.doseCalculator.dosePercentage;
    m_value->say(doseText(dose));
    m_word->say({std::string(label(level)), sign.tint});
    m_bar->show(doseFill(dose), sign.tint);
    const QString name =
        QStringLiteral("Dose %1, %2").arg(m_value->accessibleName(), m_word->accessibleName());
    if (m_bar->accessibleName() != name) {
        m_bar->setAccessibleName(name);
        m_ear->setAccessibleName(name);
    }
}

} // namespace velmor

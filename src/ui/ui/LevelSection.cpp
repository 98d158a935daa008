// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/LevelSection.h>

#include <ui/MenuBarContent.h>
#include <ui/SectionTitle.h>

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace velmor {

LevelSection::LevelSection(AppState& hub, Form form)
    : m_form(form)
    , m_spl(new TextLabel(TextStyle::title, TextWeight::strong, Tint::primary))
    , m_dBC(new TextLabel(TextStyle::value, TextWeight::regular, Tint::secondary, Qt::AlignRight))
    , m_noteSymbol(new SymbolView)
    , m_note(new TextLabel(TextStyle::label, TextWeight::regular, Tint::yellow, Qt::AlignRight))
{
    m_note->keepRoomFor("LF gap +100");
    m_note->setToolTip(QStringLiteral("The C-weighted level is this much above the A-weighted one: low "
                                      "frequencies that A-weighting hides."));
    auto* const title = new SectionTitle("Current Level");
    title->addToEnd(m_noteSymbol);
    title->addToEnd(m_note);

    auto* const levels = new QHBoxLayout;
    levels->setSpacing(static_cast<int>(spacing::tight));
    levels->addWidget(m_spl, 1);
    levels->addWidget(m_dBC, 1, Qt::AlignBottom);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::hair));
    layout->addWidget(title);
    layout->addLayout(levels);
    layout->addWidget(new PeakAlertRow(hub.audioService));
}

void LevelSection::refresh(const AppState& hub)
{
    const double spl = hub.audioService.currentSPL;
    const double dBC = hub.audioService.currentDBC;
    const bool hasLevel = m_form == Form::digest || hub.audioService.isRunning;
    m_spl->say(levelText(hasLevel ? std::optional(spl) : std::nullopt, "dBA"));
    m_dBC->say(levelText(hasLevel ? std::optional(dBC) : std::nullopt, "dBC"));
    const std::optional<SymbolText> note = lowFrequencyNote(spl, dBC);
    m_noteSymbol->setAccessibleName(!note                        ? QString()
                                    : note->tint == Tint::orange ? QStringLiteral("Large low-frequency gap")
                                                                 : QStringLiteral("Low-frequency gap"));
    m_noteSymbol->show(note ? note->symbol : "", note ? note->tint : Tint::yellow);
    m_note->say(note ? TintedText{note->text, note->tint} : TintedText{});
}

} // namespace velmor

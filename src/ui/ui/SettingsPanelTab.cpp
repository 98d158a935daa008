// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsPanelTab.h>

#include <ui/FloatingPanelWindow.h>
#include <ui/SymbolView.h>

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace velmor {

namespace {

QWidget* way(const char* symbol, const char* title, const char* text)
{
    auto* const row = new QWidget;
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(static_cast<int>(spacing::item));
    layout->addWidget(new SymbolView(symbol, Tint::secondary, iconSide::control), 0, Qt::AlignTop);
    auto* const both = new QVBoxLayout;
    both->setSpacing(static_cast<int>(spacing::hair));
    both->addWidget(new Paragraph(title, TextStyle::label, TextWeight::strong, Tint::primary));
    both->addWidget(new Paragraph(text));
    layout->addLayout(both, 1);
    return row;
}

} // namespace

SettingsPanelTab::SettingsPanelTab(AppSettings& settings)
{
    SettingsSection& panel = addSection("Floating Measurement Panel");
    panel.addText(
        "Pin the measurement panel as a floating window so it stays visible above your DAW. Open it from the "
        "tray's pin icon. Choose which sections appear below.");
    if (!FloatingPanelWindow::isAboveOthers())
        panel.add(new Paragraph(
            "This desktop offers neither the layer shell nor X11. The panel is an ordinary window "
            "here: others may cover it, and a click on it takes the keyboard.",
            TextStyle::label, TextWeight::regular, Tint::orange));

    SettingsSection& closing = addSection("How to close");
    closing.add(way(
        "pin.fill", "Click the pin icon again",
        "The pin in the tray popover is a toggle — click to open, click to close. Filled when the panel is "
        "open."));
    closing.add(way("cursorarrow.click.2", "Double-click the panel",
                    "Anywhere on the panel's surface dismisses it. Single clicks pass through normally."));

    SettingsSection& sections = addSection("Sections");
    addSwitch(sections, "Hearing dose summary", settings.panelShowsDose);
    addSwitch(sections, "Current SPL (dBA / dBC)", settings.panelShowsCurrentSPL);
    addSwitch(sections, "Monitoring discipline", settings.panelShowsDiscipline);
    addSwitch(sections, "Leq / Ln statistics", settings.panelShowsLeq);
    addSwitch(sections, "Active session", settings.panelShowsActiveSession);
    addSwitch(sections, "Today's summary", settings.panelShowsToday);
    sections.addFooter(
        "Sections that depend on context — Active session, Monitoring Discipline, the live SPL row — "
        "auto-hide when there's nothing to show, even when their toggle is on.");
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/SettingsView.h>

#include <ui/FormFields.h>
#include <ui/SettingsAudioTab.h>
#include <ui/SettingsDAWsTab.h>
#include <ui/SettingsGeneralTab.h>
#include <ui/SettingsPanelTab.h>
#include <ui/SettingsReferenceTab.h>
#include <ui/SettingsSafetyTab.h>
#include <ui/SettingsTabButton.h>

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QShortcut>
#include <QVBoxLayout>

#include <utility>
#include <variant>

namespace velmor {

namespace {

constexpr int defaultHeight = 620;
constexpr int leastHeight = 360;
constexpr int barPadding = static_cast<int>(spacing::tight);
constexpr int leastRefreshMilliseconds = 100;

} // namespace

SettingsView::SettingsView(AppState& hub, DefaultsStore& defaults, Workspace& workspace,
                           const std::function<void()>& showImporter)
    : m_hub(hub)
    , m_vesk(workspace, defaults)
    , m_stack(new QStackedWidget)
    , m_refreshes(leastRefreshMilliseconds,
                  [this] { m_tabs.at(static_cast<std::size_t>(m_selectedTab)).page->refresh(); })
    , m_changes(hub.onChange([this] {
        if (isVisible())
            m_refreshes.changed();
    }))
{
    setWindowTitle(QStringLiteral("Settings"));
    setFixedWidth(width);
    setMinimumHeight(leastHeight);
    resize(width, defaultHeight);
    auto* const bar = new QHBoxLayout;
    bar->setContentsMargins(barPadding, barPadding, barPadding, barPadding);
    bar->setSpacing(static_cast<int>(spacing::hair));
    const auto openUrl = [&workspace](const std::string& url) { workspace.open(url); };
    addTab("Audio", "waveform", *bar, [this, &hub, &defaults, openUrl] {
        return new SettingsAudioTab({hub, defaults, m_vesk, openUrl});
    });
    addTab("Safety", "shield.checkered", *bar, [&hub] { return new SettingsSafetyTab(hub.settings); });
    addTab("Reference", "target", *bar,
           [this, &hub] { return new SettingsReferenceTab(hub, [this] { select(SettingsTab::audio); }); });
    addTab("DAWs", "pianokeys", *bar, [&hub, &workspace] { return new SettingsDAWsTab(hub, workspace); });
    addTab("Panel", "pin.fill", *bar, [&hub] { return new SettingsPanelTab(hub.settings); });
    addTab("General", "gear", *bar,
           [&hub, openUrl, showImporter] { return new SettingsGeneralTab(hub, openUrl, showImporter); });
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(1);
    layout->addLayout(bar);
    layout->addWidget(m_stack, 1);
    connect(new QShortcut(QKeySequence(QKeySequence::Close), this), &QShortcut::activated, this,
            &QWidget::close);
    takeFieldStyle(*this);
    select(SettingsTab::audio);
}

void SettingsView::addTab(const char* label, const char* symbol, QLayout& bar,
                          std::function<SettingsPage*()> make)
{
    auto* const button = new SettingsTabButton(label, symbol);
    const auto kind = static_cast<SettingsTab>(m_tabs.size());
    connect(button, &SettingsTabButton::toggled, this, [this, kind](bool isChosen) {
        if (isChosen)
            select(kind);
    });
    m_tabs.push_back({button, std::move(make), nullptr});
    bar.addWidget(button);
}

void SettingsView::select(SettingsTab kind)
{
    Tab& tab = m_tabs.at(static_cast<std::size_t>(kind));
    // The others would make the window open late.
    if (!tab.page) {
        tab.page = tab.make();
        m_stack->addWidget(tab.page);
    }
    m_selectedTab = kind;
    tab.button->setChecked(true);
    m_stack->setCurrentWidget(tab.page);
    // And with none of the fields: what is typed by mistake changes nothing.
    tab.button->setFocus(Qt::OtherFocusReason);
    m_refreshes.refreshNow();
}

void SettingsView::closeEvent(QCloseEvent* event)
{
    // What is heard or listens has its only buttons here.
    if (m_hub.micResponseService.isInProgress())
        m_hub.micResponseService.cancel();
    if (std::holds_alternative<TargetCalibration::Playing>(m_hub.targetCalibrationService.state.get()))
        m_hub.targetCalibrationService.cancel();
    if (m_hub.calibratorService.isListening())
        m_hub.calibratorService.cancel();
    m_hub.pinkNoisePlayer.stop();
    QWidget::closeEvent(event);
}

void SettingsView::showEvent(QShowEvent* event)
{
    m_refreshes.refreshNow();
    QWidget::showEvent(event);
}

void SettingsView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        takeFieldStyle(*this);
    QWidget::changeEvent(event);
}

void SettingsView::paintEvent(QPaintEvent*)
{
    const Shades& shades = shadesOf(appearanceOf(palette()));
    QPainter painter(this);
    painter.fillRect(rect(), shades.page);
    painter.fillRect(0, m_stack->y() - 1, QWidget::width(), 1, shades.hairline);
}

} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
// Shows every small view in every state, side by side, and the popover in the states of a day.
#include "Appearances.h"
#include <support/NoSoftwareUpdater.h>
#include <support/PopoverStates.h>
#include <ui/BloomGlyph.h>
#include <ui/CommandButton.h>
#include <ui/FillBar.h>
#include <ui/IconResolver.h>
#include <ui/MenuBarView.h>
#include <ui/StatisticCell.h>
#include <ui/TrayPictures.h>
#include <ui/ZoneStrip.h>

#include <CLI/CLI.hpp>
#include <QApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QScrollArea>
#include <QVBoxLayout>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace velmor;
using namespace velmor::test;

constexpr int gap = static_cast<int>(spacing::group);

QWidget* row(const std::vector<QWidget*>& parts)
{
    auto* const widget = new QWidget;
    auto* const layout = new QHBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(gap);
    for (QWidget* const part : parts)
        layout->addWidget(part, 0, Qt::AlignVCenter);
    layout->addStretch();
    return widget;
}

QWidget* picture(const QImage& image)
{
    auto* const label = new QLabel;
    label->setPixmap(QPixmap::fromImage(image));
    return label;
}

QWidget* glyphs()
{
    std::vector<QWidget*> parts;
    for (const Tint tint :
         {Tint::green, Tint::yellow, Tint::orange, Tint::red, Tint::primary, Tint::tertiary}) {
        for (int arcs = 0; arcs <= 3; ++arcs) {
            auto* const glyph = new BloomGlyph;
            glyph->show(arcs, tint);
            parts.push_back(glyph);
        }
    }
    return row(parts);
}

std::vector<MenuBarLabel> labels()
{
    std::vector<MenuBarLabel> all;
    for (const auto& mode : menuBarDisplayModes) {
        all.push_back({.mode = mode.value, .spl = 78.4, .dBC = 84.5, .isRunning = true});
        all.push_back({.mode = mode.value,
                       .doseLevel = DoseLevel::warning,
                       .spl = 96.2,
                       .dBC = 101.7,
                       .isRunning = true,
                       .showDecimal = true,
                       .colorEnabled = true});
        all.push_back({.mode = mode.value});
        all.push_back({.mode = mode.value, .spl = 61, .dBC = 66, .isRunning = true, .isPaused = true});
        all.push_back({.mode = mode.value,
                       .doseLevel = DoseLevel::caution,
                       .spl = 88,
                       .dBC = 92,
                       .isRunning = true,
                       .colorEnabled = true,
                       .useClassicEarIcon = true});
    }
    return all;
}

QWidget* trayImages(Appearance appearance, double scale)
{
    std::vector<QWidget*> parts;
    for (const MenuBarLabel& label : labels())
        parts.push_back(picture(label.image(scale, appearance)));
    return row(parts);
}

QWidget* squareImages(Appearance appearance, int side)
{
    std::vector<QWidget*> parts;
    for (const MenuBarLabel& label : labels())
        parts.push_back(picture(squareTrayPicture(label, side, appearance)));
    return row(parts);
}

QWidget* symbols(double side)
{
    std::vector<QWidget*> parts;
    for (const std::string_view symbol : IconResolver::symbols()) {
        auto* const view = new SymbolView(side);
        view->show(symbol, Tint::primary);
        parts.push_back(view);
    }
    return row(parts);
}

QWidget* bars()
{
    std::vector<QWidget*> parts;
    for (const auto& [fill, tint] :
         {std::pair(0.0, Tint::green), std::pair(0.234, Tint::green), std::pair(0.55, Tint::yellow),
          std::pair(0.84, Tint::orange), std::pair(1.0, Tint::red)}) {
        auto* const bar = new FillBar;
        bar->setFixedWidth(120);
        bar->show(fill, tint);
        parts.push_back(bar);
    }
    for (const ZoneShares& shares :
         {ZoneShares{}, zoneShares(1, 8, 1), zoneShares(3, 1, 0), zoneShares(0, 1, 9)}) {
        auto* const strip = new ZoneStrip;
        strip->setFixedWidth(120);
        strip->show(shares);
        parts.push_back(strip);
    }
    return row(parts);
}

QWidget* cells()
{
    auto* const empty = new StatisticCell("Leq 10m", "");
    auto* const full = new StatisticCell("L90", "");
    full->show(64.7);
    auto* const beside = new CommandButton(CommandButton::Form::beside, "Resume Monitoring", "play.circle");
    auto* const focused = new CommandButton(CommandButton::Form::beside, "End Session", "stop.circle");
    auto* const pressed =
        new CommandButton(CommandButton::Form::beside, "Reset Dose", "arrow.counterclockwise");
    pressed->setDown(true);
    auto* const above = new CommandButton(CommandButton::Form::above, "Settings", "gear");
    auto* const tinted = new CommandButton(CommandButton::Form::above, "Panel", "pin.fill");
    tinted->setTint(Tint::accent);
    auto* const disabled =
        new CommandButton(CommandButton::Form::above, "Updates", "arrow.triangle.2.circlepath");
    disabled->setEnabled(false);
    for (QWidget* const button : {beside, focused, pressed})
        button->setFixedWidth(144);
    for (QWidget* const button : {above, tinted, disabled})
        button->setFixedWidth(58);
    return row({empty, full, beside, focused, pressed, above, tinted, disabled});
}

/// A popover on a hub of its own.
class PosedPopover final : public QWidget
{
public:
    explicit PosedPopover(const PopoverState& state)
        : m_checkForUpdates(m_updater)
        , m_registry([](AppState&) { return new QWidget; })
    {
        state.pose(m_posed);
        m_posed.settle();
        m_view = new MenuBarView(*m_posed.hub, m_checkForUpdates, m_registry, {});
        auto* const layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(m_view);
        layout->addStretch();
    }
    ~PosedPopover() override { delete m_view; }

private:
    PosedHub m_posed;
    test::NoSoftwareUpdater m_updater;
    CheckForUpdatesViewModel m_checkForUpdates;
    FloatingPanelWindowRegistry m_registry;
    MenuBarView* m_view;
};

QWidget* popovers()
{
    std::vector<QWidget*> parts;
    for (const PopoverState& state : popoverStates())
        parts.push_back(new PosedPopover(state));
    QWidget* const widget = row(parts);
    for (QWidget* const part : parts)
        widget->layout()->setAlignment(part, Qt::AlignTop);
    return widget;
}

QWidget* gallery(Appearance appearance)
{
    auto* const page = new QWidget;
    auto* const layout = new QVBoxLayout(page);
    layout->setContentsMargins(gap, gap, gap, gap);
    layout->setSpacing(gap);
    layout->addWidget(glyphs());
    for (const double scale : {1.0, 2.0})
        layout->addWidget(trayImages(appearance, scale));
    for (const int side : {22, 32, 48})
        layout->addWidget(squareImages(appearance, side));
    for (const double side : {iconSide::inText, iconSide::control, 24.0})
        layout->addWidget(symbols(side));
    layout->addWidget(bars());
    layout->addWidget(cells());
    layout->addWidget(popovers());
    layout->addStretch();
    return page;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    bool isDark = false;
    std::string file;
    CLI::App program("Shows the program's views in their states.");
    program.add_flag("--dark", isDark, "in the dark appearance");
    program.add_option("--save", file, "save a picture and end");
    CLI11_PARSE(program, argumentCount, arguments);

    const QApplication application(argumentCount, arguments);
    const Appearance appearance = isDark ? Appearance::dark : Appearance::light;
    QApplication::setPalette(paletteOf(appearance));
    if (!file.empty()) {
        const std::unique_ptr<QWidget> page(gallery(appearance));
        return page->grab().save(QString::fromStdString(file)) ? 0 : 1;
    }
    QScrollArea window;
    window.setWindowTitle(QStringLiteral("Velmor Gallery"));
    window.setWidget(gallery(appearance));
    window.resize(1280, 900);
    window.show();
    return QApplication::exec();
}

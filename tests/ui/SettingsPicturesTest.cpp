// SPDX-License-Identifier: GPL-3.0-or-later
// The settings, both calibrations in their states, the hand-off and the floating panel against reviewed
// pictures.
#include "Images.h"
#include "SettingsFixture.h"

#include <platform/MemoryDefaultsStore.h>
#include <support/Sound.h>
#include <ui/FloatingPanelWindow.h>
#include <ui/MicResponseForm.h>
#include <ui/SendToVeskSheet.h>
#include <ui/SettingsPage.h>
#include <ui/TargetCalibrationForm.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QPainter>
#include <QScrollBar>

#include <array>
#include <ostream>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;

constexpr std::array tabNames = {"audio", "safety", "reference", "daws", "panel", "general"};

class SettingsPictures : public SettingsFixture, public testing::WithParamInterface<Appearance>
{
protected:
    SettingsPictures() { QApplication::setPalette(paletteFor(GetParam())); }
    ~SettingsPictures() override { QApplication::setPalette(QPalette()); }

    void expectAsReviewed(const QImage& image, const char* name) const
    {
        expectReference(image,
                        QStringLiteral("settings-%1-%2")
                            .arg(QLatin1String(name), GetParam() == Appearance::dark ? "dark" : "light"));
    }

    static QImage picture(QWidget& widget)
    {
        QImage image(widget.size(), QImage::Format_RGB32);
        // Wherever tests before have left the pointer.
        for (QWidget* const part : widget.findChildren<QWidget*>())
            part->setAttribute(Qt::WA_UnderMouse, false);
        // Of what a mask leaves out.
        image.fill(Qt::gray);
        widget.render(&image);
        return image;
    }

    /// The card that a form is on, on the window's ground.
    template <typename Form>
    QImage card() const
    {
        QCoreApplication::processEvents();
        for (QWidget* const widget : window->findChildren<QWidget*>()) {
            if (dynamic_cast<Form*>(widget)) {
                QWidget* const section = widget->parentWidget()->parentWidget();
                return picture(*window).copy(QRect(section->mapTo(window.get(), QPoint()), section->size()));
            }
        }
        throw std::runtime_error("no such form");
    }

    /// High enough for all of the tab that is shown.
    void unroll()
    {
        const QScrollBar& bar =
            *dynamic_cast<SettingsPage&>(*window->findChild<QStackedWidget*>()->currentWidget())
                 .verticalScrollBar();
        for (int i = 0; i < 5 && bar.maximum() > 0; ++i) {
            window->resize(window->QWidget::width(), window->height() + bar.maximum());
            QTest::qWait(20);
        }
    }

    static QImage below(const std::vector<QImage>& images)
    {
        int height = 0;
        for (const QImage& image : images)
            height += image.height() + gap;
        QImage all(images.front().width(), height, QImage::Format_RGB32);
        all.fill(Qt::gray);
        QPainter painter(&all);
        int top = 0;
        for (const QImage& image : images) {
            painter.drawImage(0, top, image);
            top += image.height() + gap;
        }
        return all;
    }

    void target(double dBA)
    {
        ReferenceLevelSettings settings = posed.hub->referenceTracker.settings;
        settings.target = dBA;
        posed.hub->referenceTracker.settings = settings;
    }

    static constexpr int gap = 8;
    const MicCorrectionProfile room{
        {1.0F},
        48000,
        {},
        {{20, 0}, {400, 0.5F}, {800, -1.5F}, {1500, -5}, {3000, 1}, {6000, 4}, {9000, 2}, {20000, 0}}};
};

TEST_P(SettingsPictures, TabsAreAsReviewed)
{
    posed.history({newSession("REAPER", posed.host.loop.now() - std::chrono::hours(24 * 200))});
    posed.hub->settings.sessionTotalRetentionDays = 90;
    posed.host.defaults.set("micLocationNote", std::string("On the desk, 1m behind the listening position"));
    open(SettingsTab::audio);
    for (std::size_t i = 0; i < tabNames.size(); ++i) {
        window->select(static_cast<SettingsTab>(i));
        window->resize(window->QWidget::width(), 600);
        settle();
        unroll();
        expectAsReviewed(picture(*window), tabNames.at(i));
    }
}

TEST_P(SettingsPictures, TheResponseIsAsReviewed)
{
    open(SettingsTab::audio);
    window->resize(window->QWidget::width(), 3000);
    settle();
    std::vector<QImage> states = {card<MicResponseForm>()};
    press("Measure Response");
    settle();
    states.push_back(card<MicResponseForm>());
    posed.host.loop.runFor(1.1);
    for (int i = 0; i < 100; ++i) {
        posed.host.audio.engine().deliver(sine(1000, 0.1, 48000, 1024));
        posed.settle();
    }
    settle();
    states.push_back(card<MicResponseForm>());
    press("Cancel");
    settle();
    posed.host.playback.prepareEngine = [](FakePlaybackEngine& engine) { engine.startError = "busy"; };
    press("Measure Response");
    settle();
    states.push_back(card<MicResponseForm>());
    press("Dismiss");
    settle();
    posed.hub->micFreqCorrection.save(room);
    settle();
    states.push_back(card<MicResponseForm>());
    expectAsReviewed(below(states), "response");
}

TEST_P(SettingsPictures, TheReferenceLevelIsAsReviewed)
{
    posed.host.workspace.openedSchemes = {"vesk"};
    open(SettingsTab::audio);
    window->resize(window->QWidget::width(), 3000);
    settle();
    std::vector<QImage> states = {card<TargetCalibrationForm>()};
    press("Run Calibration Wizard");
    for (const double level : {0.0, 74.6, 79.2, 82.4}) {
        setLevels(*posed.hub, level, level + 2);
        settle();
        states.push_back(card<TargetCalibrationForm>());
    }
    press("Capture position");
    settle();
    states.push_back(card<TargetCalibrationForm>());
    press("Save calibration");
    settle();
    states.push_back(card<TargetCalibrationForm>());
    press("Done");
    settle();
    posed.host.loop.setClock(posed.host.loop.now() + std::chrono::hours(24 * 91));
    target(85);
    settle();
    states.push_back(card<TargetCalibrationForm>());
    posed.host.playback.prepareEngine = [](FakePlaybackEngine& engine) { engine.startError = "busy"; };
    press("Recalibrate");
    settle();
    states.push_back(card<TargetCalibrationForm>());
    expectAsReviewed(below(states), "reference-level");
}

TEST_P(SettingsPictures, TheHandOffIsAsReviewed)
{
    posed.host.workspace.openedSchemes = {"vesk"};
    posed.hub->targetCalibrationStore.save(
        {posed.host.loop.now(), "", "System Default", 79.0, 3, 79.2, "11 o'clock dot"});
    open(SettingsTab::audio);
    press("Send to Vesk");
    settle();
    expectAsReviewed(picture(*window->findChild<SendToVeskSheet*>()), "hand-off");
}

TEST_P(SettingsPictures, ThePanelIsAsReviewed)
{
    MemoryDefaultsStore defaults;
    posed.session("REAPER");
    posed.dose(42);
    setLevels(*posed.hub, 81.3, 86.1, 121);
    const auto panel = [&] {
        FloatingPanelWindow shown(*posed.hub, defaults);
        shown.show();
        settle();
        QTest::qWait(400);
        return picture(shown);
    };
    const QImage full = panel();
    AppSettings& settings = posed.hub->settings;
    for (Setting<bool>* const setting :
         {&settings.panelShowsDose, &settings.panelShowsCurrentSPL, &settings.panelShowsDiscipline,
          &settings.panelShowsLeq, &settings.panelShowsActiveSession, &settings.panelShowsToday})
        *setting = false;
    expectAsReviewed(below({full, panel()}), "floating-panel");
}

INSTANTIATE_TEST_SUITE_P(Appearances, SettingsPictures, testing::Values(Appearance::light, Appearance::dark),
                         [](const auto& kind) { return kind.param == Appearance::dark ? "dark" : "light"; });

} // namespace
} // namespace velmor

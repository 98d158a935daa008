// SPDX-License-Identifier: GPL-3.0-or-later
#include "SettingsFixture.h"

#include <ui/SettingsContent.h>
#include <ui/SettingsPage.h>
#include <ui/Switch.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>

#include <cstdint>
#include <utility>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class SettingsTest : public SettingsFixture
{};

TEST_F(SettingsTest, OpensOnAudioAndGoesFromTabToTab)
{
    open(SettingsTab::audio);
    SettingsView fresh(*posed.hub, posed.host.defaults, posed.host.workspace, [] {});
    EXPECT_EQ(fresh.selectedTab(), SettingsTab::audio);
    EXPECT_EQ(fresh.QWidget::width(), 500);
    const std::pair<const char*, SettingsTab> tabs[] = {
        {"Safety", SettingsTab::safety},   {"Reference", SettingsTab::reference},
        {"DAWs", SettingsTab::daws},       {"Panel", SettingsTab::panel},
        {"General", SettingsTab::general}, {"Audio", SettingsTab::audio}};
    for (const auto& [label, tab] : tabs) {
        press(label);
        EXPECT_EQ(window->selectedTab(), tab) << label;
    }
    // Arrow keys go on.
    QTest::keyClick(&control<QAbstractButton>("Audio"), Qt::Key_Right);
    EXPECT_EQ(window->selectedTab(), SettingsTab::safety);
}

TEST_F(SettingsTest, TheMigrationAsksForTheImporter)
{
    open(SettingsTab::general);
    EXPECT_THAT(texts(),
                testing::Contains("Have an export file from Tovik? Click to import your sessions, settings, "
                                  "and calibrations."));
    EXPECT_EQ(importerRequests, 0);
    press("Import data from Tovik…");
    EXPECT_EQ(importerRequests, 1);
}

TEST_F(SettingsTest, EachSwitchWritesItsKey)
{
    const struct
    {
        SettingsTab tab;
        const char* label;
        const char* key;
    } switches[] = {
        {SettingsTab::general, "Auto-start sessions when DAW launches", "autoStartSessions"},
        {SettingsTab::general, "Show one decimal", "menuBarShowDecimal"},
        {SettingsTab::general, "Color-code reading by level", "menuBarColorEnabled"},
        {SettingsTab::general, "Use classic ear icon", "menuBarUseClassicEarIcon"},
        {SettingsTab::general, "Break through Do Not Disturb", "timeSensitiveNotifications"},
        {SettingsTab::panel, "Hearing dose summary", "panelShowsDose"},
        {SettingsTab::panel, "Current SPL (dBA / dBC)", "panelShowsCurrentSPL"},
        {SettingsTab::panel, "Monitoring discipline", "panelShowsDiscipline"},
        {SettingsTab::panel, "Leq / Ln statistics", "panelShowsLeq"},
        {SettingsTab::panel, "Active session", "panelShowsActiveSession"},
        {SettingsTab::panel, "Today's summary", "panelShowsToday"},
        {SettingsTab::safety, "Use max(dBA, dBC) for dose calculation", "conservativeDoseMode"},
        {SettingsTab::safety, "Monitor C-weighted peak levels", "peakMonitoringEnabled"},
        {SettingsTab::reference, "Track time on reference level", "MonitoringDiscipline.enabled"},
        {SettingsTab::reference, "Notify me when monitoring drifts up over time",
         "MonitoringAlerts.driftEnabled"},
        {SettingsTab::reference, "Notify me when I'm sustained outside the band",
         "MonitoringAlerts.offTargetEnabled"},
    };
    for (const auto& each : switches) {
        open(each.tab);
        const bool before = control<Switch>(each.label).isChecked();
        press(each.label);
        EXPECT_EQ(stored<bool>(each.key), !before) << each.label;
        settle();
        EXPECT_EQ(control<Switch>(each.label).isChecked(), !before) << each.label;
        QTest::keyClick(&control<Switch>(each.label), Qt::Key_Space);
        EXPECT_EQ(stored<bool>(each.key), before) << each.label;
    }
}

TEST_F(SettingsTest, TheLoginItemIsWhatTheSystemSays)
{
    open(SettingsTab::general);
    press("Launch at Login");
    EXPECT_EQ(posed.host.loginItem.calls.back(), "register");
    settle();
    EXPECT_TRUE(control<Switch>("Launch at Login").isChecked());
    posed.host.loginItem.refuses = true;
    press("Launch at Login");
    settle();
    EXPECT_TRUE(control<Switch>("Launch at Login").isChecked());
}

TEST_F(SettingsTest, TheTrayHasFiveDisplays)
{
    open(SettingsTab::general);
    EXPECT_EQ(choices("Display"),
              QStringList({"Icon only", "Live dBA", "Live dBC", "Icon + dBA", "Icon + dBC"}));
    const char* const modes[] = {"icon", "dBA", "dBC", "iconAndDBA", "iconAndDBC"};
    for (int i = 4; i >= 0; --i) {
        choose("Display", i);
        EXPECT_EQ(stored<std::string>("menuBarDisplayMode"), modes[i]);
    }
}

TEST_F(SettingsTest, ThresholdsOfColourKeepTheirOrder)
{
    open(SettingsTab::general);
    EXPECT_THAT(texts(), Not(Contains("Orange at")));
    press("Color-code reading by level");
    settle();
    auto& orange = control<QSpinBox>("Orange at");
    EXPECT_EQ(orange.text(), QStringLiteral("80 dB"));
    for (int i = 0; i < 30; ++i)
        QTest::keyClick(&orange, Qt::Key_Up);
    EXPECT_EQ(stored<double>("menuBarColorOrangeAt"), 94.0);
    settle();
    auto& yellow = control<QSpinBox>("Yellow at");
    EXPECT_EQ(yellow.minimum(), 30);
    EXPECT_EQ(yellow.maximum(), 93);
    auto& red = control<QSpinBox>("Red at");
    EXPECT_EQ(red.minimum(), 95);
    EXPECT_EQ(red.maximum(), 140);
    QTest::keyClick(&yellow, Qt::Key_Up);
    EXPECT_EQ(stored<double>("menuBarColorYellowAt"), 71.0);
    QTest::keyClick(&red, Qt::Key_Up);
    EXPECT_EQ(stored<double>("menuBarColorRedAt"), 96.0);
    settle();
    EXPECT_EQ(orange.minimum(), 72);
    EXPECT_EQ(orange.maximum(), 95);
}

TEST(SettingsContent, OrangeStopsOneBelowRed)
{
    EXPECT_EQ(orangeRange(70, 95), (StepRange{71, 94}));
    EXPECT_EQ(yellowRange(80), (StepRange{30, 79}));
    EXPECT_EQ(redRange(80), (StepRange{81, 140}));
}

TEST_F(SettingsTest, KeepingSessionsIsNoShorterThanKeepingTheirReadings)
{
    open(SettingsTab::general);
    auto& detailed = control<QSpinBox>("Keep detailed time-series for");
    auto& total = control<QSpinBox>("Keep sessions for");
    EXPECT_EQ(detailed.minimum(), 1);
    EXPECT_EQ(detailed.maximum(), 90);
    EXPECT_EQ(detailed.value(), 14);
    EXPECT_EQ(total.minimum(), 14);
    EXPECT_EQ(total.maximum(), 365);
    EXPECT_EQ(total.value(), 90);
    QTest::keyClick(&detailed, Qt::Key_Up);
    EXPECT_EQ(stored<std::int64_t>("sessionDetailedRetentionDays"), 15);
    settle();
    EXPECT_EQ(total.minimum(), 15);
    detailed.setValue(3);
    settle();
    EXPECT_EQ(total.minimum(), 7);
    total.setValue(7);
    EXPECT_EQ(stored<std::int64_t>("sessionTotalRetentionDays"), 7);
    // Beyond what sessions are kept for, those are kept as long.
    settle();
    detailed.setValue(40);
    settle();
    EXPECT_EQ(total.minimum(), 40);
    EXPECT_EQ(total.value(), 40);
    EXPECT_EQ(stored<std::int64_t>("sessionTotalRetentionDays"), 40);
}

TEST_F(SettingsTest, AValueBeyondItsRangeIsShownAsItIsStored)
{
    posed.hub->settings.sessionTotalRetentionDays = 5;
    posed.hub->settings.menuBarColorEnabled = true;
    posed.hub->settings.menuBarColorRedAt = 150;
    open(SettingsTab::general);
    auto& total = control<QSpinBox>("Keep sessions for");
    EXPECT_EQ(total.value(), 5);
    EXPECT_EQ(stored<std::int64_t>("sessionTotalRetentionDays"), 5);
    EXPECT_EQ(control<QSpinBox>("Red at").value(), 150);
    QTest::keyClick(&total, Qt::Key_Up);
    EXPECT_EQ(stored<std::int64_t>("sessionTotalRetentionDays"), 14);
    settle();
    EXPECT_EQ(total.value(), 14);
    EXPECT_EQ(total.minimum(), 14);
}

TEST_F(SettingsTest, WhatIsTypedIsOneNumberAlsoWhileLevelsCome)
{
    posed.session("REAPER");
    open(SettingsTab::general);
    auto& total = control<QSpinBox>("Keep sessions for");
    total.setFocus();
    total.selectAll();
    for (const char digit : {'3', '6', '5'}) {
        QTest::keyClick(&total, digit);
        setLevels(*posed.hub, 80.0 + digit, 85);
        settle();
        EXPECT_EQ(stored<std::int64_t>("sessionTotalRetentionDays").value_or(90), 90);
    }
    QTest::keyClick(&total, Qt::Key_Return);
    EXPECT_EQ(stored<std::int64_t>("sessionTotalRetentionDays"), 365);
}

TEST_F(SettingsTest, ColoursFollowTheDesktopWhileItIsOpen)
{
    QApplication::setPalette(paletteFor(Appearance::light));
    open(SettingsTab::general);
    const auto paragraph = [this] { return window->findChild<QLabel*>(); };
    const QString light = window->styleSheet();
    ASSERT_NE(paragraph(), nullptr);
    EXPECT_EQ(paragraph()->palette().color(QPalette::WindowText), shadesOf(Appearance::light).text);
    QApplication::setPalette(paletteFor(Appearance::dark));
    QTest::qWait(50);
    EXPECT_EQ(paragraph()->palette().color(QPalette::WindowText), shadesOf(Appearance::dark).text);
    EXPECT_NE(window->styleSheet(), light);
    QApplication::setPalette(QPalette());
}

TEST_F(SettingsTest, ALowerLimitShowsWhatItCostsAndDeletesNothing)
{
    std::vector<Session> history;
    for (const int days : {1, 20, 30, 40})
        history.push_back(sampleSession(posed.host.loop.now() - std::chrono::hours(24 * days), 3,
                                        static_cast<unsigned>(days)));
    posed.history(history);
    open(SettingsTab::general);
    const auto warning = HasSubstr("will be deleted on next launch");
    EXPECT_THAT(texts(), Not(Contains(warning)));
    control<QSpinBox>("Keep sessions for").setValue(25);
    settle();
    EXPECT_THAT(texts(), Contains("2 sessions older than 25 days will be deleted on next launch."));
    EXPECT_EQ(posed.hub->sessionManager.sessionHistory.get().size(), 4U);
    control<QSpinBox>("Keep sessions for").setValue(90);
    settle();
    EXPECT_THAT(texts(), Not(Contains(warning)));
}

TEST_F(SettingsTest, PresetsWriteTargetAndName)
{
    open(SettingsTab::reference);
    EXPECT_EQ(choices("Target"),
              QStringList({"73 dBA — Mastering", "79 dBA — K-14 Mixing", "83 dBA — K-12 / Broadcast",
                           "85 dBA — K-20 / Dolby / Film", "Custom"}));
    const std::pair<const char*, double> presets[] = {
        {"mastering", 73.0}, {"k14", 79.0}, {"k12", 83.0}, {"k20", 85.0}};
    for (const int index : {3, 2, 0, 1}) {
        choose("Target", index);
        EXPECT_EQ(stored<std::string>("MonitoringDiscipline.presetID"), presets[index].first);
        EXPECT_EQ(stored<double>("MonitoringDiscipline.target"), presets[index].second);
    }
    settle();
    EXPECT_THAT(texts(), Contains("On-target band: 76 – 82 dBA"));
    choose("Target", 4);
    settle();
    EXPECT_EQ(stored<std::string>("MonitoringDiscipline.presetID"), "custom");
    EXPECT_EQ(stored<double>("MonitoringDiscipline.target"), 85.0);
    QTest::keyClick(&control<QSpinBox>("Custom target"), Qt::Key_Down);
    EXPECT_EQ(stored<double>("MonitoringDiscipline.target"), 84.0);
}

TEST_F(SettingsTest, TolerancesAndAlertsWriteTheirKeys)
{
    open(SettingsTab::reference);
    EXPECT_EQ(choices("Tolerance"),
              QStringList({"±2 dB (strict)", "±3 dB (recommended)", "±5 dB (relaxed)"}));
    choose("Tolerance", 2);
    EXPECT_EQ(stored<double>("MonitoringDiscipline.tolerance"), 5.0);
    settle();
    EXPECT_THAT(texts(), Contains("On-target band: 74 – 84 dBA"));
    EXPECT_EQ(choices("Direction"),
              QStringList({"Both directions", "Under target only", "Over target only"}));
    choose("Direction", 2);
    EXPECT_EQ(stored<std::string>("MonitoringAlerts.offTargetDirection"), "overOnly");
    EXPECT_EQ(choices("Window"), QStringList({"5 minutes", "10 minutes", "15 minutes (recommended)",
                                              "20 minutes", "30 minutes"}));
    choose("Window", 4);
    EXPECT_EQ(stored<double>("MonitoringAlerts.offTargetWindowSec"), 1800.0);
    EXPECT_EQ(choices("Tolerance", 1),
              QStringList({"±3 dB (strict)", "±5 dB (recommended)", "±7 dB (relaxed)"}));
    choose("Tolerance", 2, 1);
    EXPECT_EQ(stored<double>("MonitoringAlerts.offTargetToleranceDB"), 7.0);
}

TEST_F(SettingsTest, AValueThatIsNoneOfTheChoicesStaysUntilOneIsChosen)
{
    ReferenceLevelSettings settings = posed.hub->referenceTracker.settings;
    settings.tolerance = 4;
    posed.hub->referenceTracker.settings = settings;
    open(SettingsTab::reference);
    EXPECT_EQ(control<QComboBox>("Tolerance").currentIndex(), -1);
    EXPECT_THAT(texts(), Contains("On-target band: 75 – 83 dBA"));
    settle();
    EXPECT_EQ(stored<double>("MonitoringDiscipline.tolerance"), 4.0);
}

TEST_F(SettingsTest, TheCalibrationStatusLeadsToAudio)
{
    open(SettingsTab::reference);
    EXPECT_THAT(texts(), Contains("Not yet calibrated to your listening position."));
    press("Run calibration wizard");
    EXPECT_EQ(window->selectedTab(), SettingsTab::audio);
    posed.hub->targetCalibrationStore.save({posed.host.loop.now(), "", "System Default", 79, 3, 79.2, ""});
    window->select(SettingsTab::reference);
    settle();
    EXPECT_THAT(texts(), Not(Contains("Not yet calibrated to your listening position.")));
}

TEST_F(SettingsTest, CustomWorkstationsAreAddedAndRemoved)
{
    posed.host.workspace.launch("reaper-like");
    open(SettingsTab::daws);
    EXPECT_THAT(texts(), Contains("REAPER"));
    EXPECT_FALSE(control<QAbstractButton>("Add DAW").isEnabled());
    choose("Running or installed", 1);
    EXPECT_EQ(control<QLineEdit>("Bundle ID").text(), QStringLiteral("reaper-like"));
    control<QLineEdit>("Name").setText(" My DAW ");
    press("Add DAW");
    EXPECT_EQ(stored<DefaultsDictionary>("Velmor.customDAWBundleIDs"),
              (DefaultsDictionary{{"reaper-like", "My DAW"}}));
    settle();
    EXPECT_THAT(texts(), Contains("My DAW"));
    EXPECT_EQ(control<QLineEdit>("Name").text(), QString());
    press("Remove My DAW");
    settle();
    EXPECT_EQ(stored<DefaultsDictionary>("Velmor.customDAWBundleIDs"), DefaultsDictionary());
    EXPECT_THAT(texts(), Not(Contains("My DAW")));
    EXPECT_THROW(control<QAbstractButton>("Remove REAPER"), std::runtime_error);
}

TEST_F(SettingsTest, AWorkstationThatIsWatchedAlreadyIsNotAddedAgain)
{
    open(SettingsTab::daws);
    control<QLineEdit>("Name").setText("Mine");
    control<QLineEdit>("Bundle ID").setText("com.cockos.reaper");
    press("Add DAW");
    EXPECT_THAT(texts(), Contains("REAPER is watched already."));
    EXPECT_EQ(control<QLineEdit>("Name").text(), QStringLiteral("Mine"));
    EXPECT_EQ(stored<DefaultsDictionary>("Velmor.customDAWBundleIDs"), std::nullopt);
    control<QLineEdit>("Bundle ID").setText("mine");
    EXPECT_THAT(texts(), Not(Contains("REAPER is watched already.")));
}

TEST_F(SettingsTest, EverythingThatCanBeOperatedHasAName)
{
    for (const SettingsTab tab : {SettingsTab::audio, SettingsTab::safety, SettingsTab::reference,
                                  SettingsTab::daws, SettingsTab::panel, SettingsTab::general}) {
        open(tab);
        for (const QWidget* const widget : window->findChildren<QWidget*>()) {
            if (widget->focusPolicy() == Qt::NoFocus || !widget->isVisibleTo(window.get()) ||
                qobject_cast<const QLineEdit*>(widget) != nullptr)
                continue;
            const auto* const button = qobject_cast<const QAbstractButton*>(widget);
            const auto* const label = qobject_cast<const QLabel*>(widget);
            const QString name = button ? button->text() : label ? label->text() : widget->accessibleName();
            EXPECT_FALSE(name.isEmpty()) << widget->metaObject()->className() << static_cast<int>(tab);
        }
    }
}

} // namespace
} // namespace velmor

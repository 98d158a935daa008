// SPDX-License-Identifier: GPL-3.0-or-later
#include "Images.h"

#include <support/PopoverStates.h>
#include <support/TemporaryFolder.h>
#include <ui/SymbolView.h>
#include <ui/TextLabel.h>
#include <ui/WelcomeView.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr auto fresh = "I'm new — fresh start";
constexpr auto importFromTovik = "Import from Tovik…";

class WelcomeViewTest : public testing::Test
{
protected:
    WelcomeViewTest() { open(); }

    void open()
    {
        view = std::make_unique<WelcomeView>(*posed.hub, posed.host.defaults, [this] { ++dismissals; });
        view->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(view.get()));
    }

    /// The visible buttons, in their order.
    std::vector<std::string> buttons() const
    {
        std::vector<std::string> labels;
        for (const QPushButton* const button : view->findChildren<QPushButton*>()) {
            if (button->isVisibleTo(view.get()) && button->window() == view.get())
                labels.push_back(button->text().toStdString());
        }
        return labels;
    }

    void press(const char* label) const
    {
        for (QPushButton* const button : view->findChildren<QPushButton*>()) {
            if (button->text() == QString::fromUtf8(label) && button->isVisibleTo(view.get()))
                return QTest::mouseClick(button, Qt::LeftButton);
        }
        FAIL() << "no button " << label;
    }

    std::vector<std::string> texts() const
    {
        std::vector<std::string> all;
        for (const QLabel* const label : view->findChildren<QLabel*>()) {
            if (!label->isVisibleTo(view.get()) || label->window() != view.get())
                continue;
            const auto* const line = dynamic_cast<const TextLabel*>(label);
            all.push_back(line ? line->said().text : label->text().toStdString());
        }
        return all;
    }

    std::vector<std::string> symbols() const
    {
        std::vector<std::string> all;
        for (const QWidget* const widget : view->findChildren<QWidget*>()) {
            const auto* const symbol = dynamic_cast<const SymbolView*>(widget);
            if (symbol && symbol->isVisibleTo(view.get()))
                all.push_back(symbol->symbol());
        }
        return all;
    }

    QFileDialog* dialog() const { return view->findChild<QFileDialog*>(); }

    /// Presses the button and answers the open panel.
    void choose(const std::filesystem::path& file) const
    {
        press(importFromTovik);
        ASSERT_TRUE(dialog());
        emit dialog()->fileSelected(QString::fromStdString(file.native()));
        closePanel();
    }

    void closePanel() const
    {
        dialog()->reject();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ASSERT_FALSE(dialog());
    }

    void importText(const std::string& text)
    {
        writeFile(folder / "export.json", text);
        choose(folder / "export.json");
    }

    bool isShown() const { return posed.host.defaults.get<bool>("Velmor.welcomeShown").value_or(false); }

    TemporaryFolder folder;
    PosedHub posed;
    int dismissals = 0;
    std::unique_ptr<WelcomeView> view;
};

TEST_F(WelcomeViewTest, ItGreetsAndOffersBoth)
{
    EXPECT_EQ(view->windowTitle(), "Welcome to Velmor");
    EXPECT_EQ(view->size(), QSize(480, 320));
    EXPECT_THAT(texts(),
                AllOf(Contains("Welcome to Velmor."),
                      Contains("Renamed from Tovik — same app, fresh identity."),
                      Contains("Did you use Tovik before? Click below to import your sessions, settings, and "
                               "calibrations from your Tovik export file.")));
    EXPECT_THAT(buttons(), ElementsAre(fresh, importFromTovik));
}

TEST_F(WelcomeViewTest, ReturnImportsWhetherOrNotSomethingHasTheFocus)
{
    QTest::keyClick(view->focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(dialog());
    closePanel();
    view->focusWidget()->clearFocus();
    QTest::keyClick(view.get(), Qt::Key_Return);
    EXPECT_TRUE(dialog());
}

TEST_F(WelcomeViewTest, TheWindowHasTheSizeOfWhatIsInIt)
{
    EXPECT_EQ(view->minimumSize(), view->maximumSize());
    importText(R"({"schemaVersion":1,"exportedFromTovikVersion":"3.2","customDAWBundleIDs":)"
               R"([{"bundleID":"org.x.y","name":"Y"}],"todayDose":{"date":"2026-03-02"}})");
    EXPECT_EQ(view->width(), 480);
    EXPECT_EQ(view->minimumSize(), view->maximumSize());
    // All of it has its place, and as much is left below the button as at the sides.
    int lowest = 0;
    for (const QWidget* const child : view->findChildren<QWidget*>()) {
        if (child->isVisibleTo(view.get()) && child->window() == view.get())
            lowest = std::max(lowest, child->mapTo(view.get(), QPoint(0, child->height())).y());
    }
    EXPECT_EQ(lowest, view->height() - 28);
}

TEST_F(WelcomeViewTest, AFreshStartSuppressesTheWindow)
{
    press(fresh);
    EXPECT_EQ(dismissals, 1);
    EXPECT_TRUE(isShown());
}

TEST_F(WelcomeViewTest, TheOpenPanelAsksForOneJsonFileInTheDownloads)
{
    // As the user has set it, and not where it is on the machine of the test.
    const QString downloads = QString::fromStdString((folder / "Loaded").native());
    ASSERT_TRUE(QDir().mkpath(downloads));
    writeFile(folder / "user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"" + downloads.toStdString() + "\"\n");
    const QByteArray configuration = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", (folder / ".").c_str());
    press(importFromTovik);
    const QFileDialog& panel = *dialog();
    EXPECT_EQ(panel.windowTitle(), "Choose an Tovik export file");
    EXPECT_EQ(panel.fileMode(), QFileDialog::ExistingFile);
    EXPECT_THAT(panel.nameFilters(), ElementsAre("Tovik export files (*.json)"));
    EXPECT_TRUE(panel.isModal());
    EXPECT_EQ(panel.directory(), QDir(downloads));
    configuration.isEmpty() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", configuration);
}

TEST_F(WelcomeViewTest, ASuccessShowsWhatCameAndIsDone)
{
    importText(
        R"({"schemaVersion":1,"exportedFromTovikVersion":"3.2","exportedFromTovikBuild":"118",)"
        R"("customDAWBundleIDs":[{"bundleID":"org.x.y","name":"Y"}],"todayDose":{"date":"2026-03-02"}})");
    EXPECT_THAT(texts(), AllOf(Contains("Import complete"), Contains("• 1 custom DAW"),
                               Contains("• Today's dose carried forward"), Contains("From Tovik 3.2 (118)"),
                               Not(Contains("Couldn't import"))));
    EXPECT_THAT(buttons(), ElementsAre("Done"));
    EXPECT_TRUE(isShown());
    EXPECT_EQ(dismissals, 0);
    QTest::keyClick(view->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(WelcomeViewTest, AnEmptyImportIsCompleteWithoutLines)
{
    importText(R"({"schemaVersion":1})");
    EXPECT_THAT(texts(), Contains("Import complete"));
    EXPECT_THAT(symbols(), ElementsAre("checkmark.circle.fill"));
    for (const std::string& text : texts()) {
        EXPECT_THAT(text, Not(HasSubstr("•")));
        EXPECT_THAT(text, Not(HasSubstr("From Tovik")));
    }
    EXPECT_EQ(view->importResult(), ImportResult());
}

TEST_F(WelcomeViewTest, AnImportDuringASessionSaysSoAndLeavesBothButtons)
{
    posed.session("REAPER");
    importText(R"({"schemaVersion":1})");
    EXPECT_THAT(texts(), AllOf(Contains("Couldn't import"),
                               Contains("End the current session before importing — re-importing during a "
                                        "live session could overwrite session data.")));
    EXPECT_THAT(buttons(), ElementsAre(fresh, importFromTovik));
    EXPECT_FALSE(isShown());
}

TEST_F(WelcomeViewTest, ASessionThatBeginsWhileThePanelIsOpenRefusesTheImport)
{
    writeFile(folder / "export.json", R"({"schemaVersion":1})");
    press(importFromTovik);
    posed.session("REAPER");
    emit dialog()->fileSelected(QString::fromStdString((folder / "export.json").native()));
    EXPECT_EQ(view->importError(),
              "End the current session before importing — re-importing during a live session could overwrite "
              "session data.");
    EXPECT_THAT(buttons(), ElementsAre(fresh, importFromTovik));
}

TEST_F(WelcomeViewTest, CancellingThePanelAfterAFailureLeavesTheErrorCleared)
{
    EXPECT_THAT(symbols(), IsEmpty());
    importText("nonsense");
    EXPECT_THAT(texts(), Contains("Couldn't import"));
    EXPECT_THAT(symbols(), ElementsAre("exclamationmark.triangle.fill"));
    press(importFromTovik);
    EXPECT_THAT(texts(), Not(Contains("Couldn't import")));
    closePanel();
    EXPECT_EQ(view->importError(), std::nullopt);
    EXPECT_THAT(texts(), Not(Contains("Couldn't import")));
    EXPECT_THAT(buttons(), ElementsAre(fresh, importFromTovik));
}

TEST_F(WelcomeViewTest, AfterAFailureTheUserMayTryAgain)
{
    choose(folder / "missing.json");
    EXPECT_THAT(texts(), Contains("Couldn't read the export file: No such file or directory"));
    importText(R"({"schemaVersion":1})");
    EXPECT_THAT(texts(), AllOf(Contains("Import complete"), Not(Contains("Couldn't import"))));
}

// Else the hub would write its old figures over the imported ones until the window is dismissed.
TEST_F(WelcomeViewTest, WhatCameIsTakenUpAtOnce)
{
    posed.dose(80);
    importText(R"({"schemaVersion":1,"userDefaults":{"calibrationOffset":101.5},)"
               R"("todayDose":{"date":"2026-03-02","dosePercent":12.5}})");
    posed.settle();
    EXPECT_EQ(posed.hub->settings.calibrationOffset.get(), 101.5);
    EXPECT_EQ(posed.hub->doseCalculator.dosePercentage.get(), 12.5);
    posed.session("REAPER");
    setLevels(*posed.hub, 85, 85);
    posed.host.loop.runFor(288);
    // 288 seconds of the 8 hours that are allowed at 85 dBA: 1 %.
    EXPECT_NEAR(posed.host.defaults.get<double>("DoseCalculator.accumulatedDose").value_or(0), 0.135, 0.0001);
}

TEST_F(WelcomeViewTest, ACalibrationThatIsUnderWayEndsWithTheImportAndNotWithoutOne)
{
    posed.hub->measureMicResponse();
    ASSERT_TRUE(posed.hub->micResponseService.isInProgress());
    importText(R"({"schemaVersion":2})");
    posed.settle();
    EXPECT_TRUE(posed.hub->micResponseService.isInProgress());
    importText(R"({"schemaVersion":1})");
    posed.settle();
    EXPECT_FALSE(posed.hub->micResponseService.isInProgress());
}

TEST_F(WelcomeViewTest, TheSummaryCountsEachWordByItself)
{
    ImportResult result;
    EXPECT_THAT(importSummary(result), IsEmpty());
    result.sessionCount = 1;
    result.historyDays = 3;
    EXPECT_THAT(importSummary(result), ElementsAre("• 1 session (3 days of history)"));
    result.sessionCount = 12;
    result.historyDays = 1;
    result.targetCalibrationCount = 1;
    result.calibrationProfileCount = 1;
    result.customDAWCount = 2;
    EXPECT_THAT(importSummary(result),
                ElementsAre("• 12 sessions (1 day of history)", "• 1 reference-level calibration",
                            "• 1 saved calibration profile", "• 2 custom DAWs"));
    result = {0, 2, 3, true, 0, 5, true, "3.2", ""};
    EXPECT_THAT(importSummary(result),
                ElementsAre("• 2 reference-level calibrations", "• 3 saved calibration profiles",
                            "• Mic frequency correction restored", "• Today's dose carried forward",
                            "From Tovik 3.2"));
    result = {};
    result.sourceBuild = "118";
    EXPECT_THAT(importSummary(result), IsEmpty());
    result.sourceVersion = std::string(300, '3');
    EXPECT_THAT(importSummary(result), ElementsAre("From Tovik " + std::string(256, '3') + " (118)"));
}

TEST_F(WelcomeViewTest, AVersionOfAnyLengthLeavesTheWindowItsWidth)
{
    importText(R"({"schemaVersion":1,"exportedFromTovikVersion":")" + std::string(5000, 'W') +
               R"(\n<b>x</b>"})");
    QCoreApplication::processEvents();
    EXPECT_EQ(view->width(), 480);
    EXPECT_LT(view->height(), 500);
    for (const QLabel* const label : view->findChildren<QLabel*>()) {
        if (label->isVisibleTo(view.get())) {
            EXPECT_LE(label->mapTo(view.get(), QPoint(label->width(), 0)).x(), 480);
        }
    }
}

class WelcomePictures : public WelcomeViewTest, public testing::WithParamInterface<Appearance>
{
protected:
    ~WelcomePictures() override { QApplication::setPalette(QPalette()); }

    void expectAsReviewed(const char* name) const
    {
        QTest::qWait(50);
        QImage image(view->size(), QImage::Format_RGB32);
        view->render(&image);
        expectReference(image,
                        QStringLiteral("welcome-%1-%2")
                            .arg(QLatin1String(name), GetParam() == Appearance::dark ? "dark" : "light"));
    }
};

TEST_P(WelcomePictures, ItsStatesAreAsReviewed)
{
    QApplication::setPalette(paletteFor(GetParam()));
    open();
    expectAsReviewed("first");
    importText(R"({"schemaVersion":2})");
    expectAsReviewed("failed");
    const std::string session =
        R"({"id":"0123ABCD-EF45-4789-8ABC-DEF012345678","startDate":"2026-03-01T08:00:00Z",)"
        R"("dawName":"REAPER","averageSPL":78,"peakSPL":90,"doseAccumulated":2,"readings":[]})";
    importText(
        R"({"schemaVersion":1,"exportedFromTovikVersion":"3.2","exportedFromTovikBuild":"118","sessions":[)" +
        session +
        R"(],"customDAWBundleIDs":[{"bundleID":"org.x.y","name":"Y"},{"bundleID":"org.x.z","name":"Z"}],)"
        R"("todayDose":{"date":"2026-03-02","dosePercent":12.5}})");
    expectAsReviewed("imported");
}

INSTANTIATE_TEST_SUITE_P(Appearances, WelcomePictures, testing::Values(Appearance::light, Appearance::dark),
                         [](const auto& kind) { return kind.param == Appearance::dark ? "dark" : "light"; });

} // namespace
} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
// The history window in its states against reviewed pictures.
#include "Images.h"

#include <support/NoShareServices.h>
#include <support/PopoverStates.h>
#include <support/TemporaryFolder.h>
#include <ui/CalendarGrid.h>
#include <ui/HistoryWindowView.h>
#include <ui/RangeDoseChart.h>
#include <ui/StatInfoPopover.h>

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QPainter>
#include <QTest>

#include <cmath>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace velmor {
namespace {

using namespace velmor::test;

enum class State { empty, month, year, hovered, help, anchor, confirmation };

struct Picture
{
    State state;
    const char* name;

    friend void PrintTo(const Picture& picture, std::ostream* out) { *out << picture.name; }
};

constexpr Picture pictures[] = {
    {State::empty, "empty"},
    {State::month, "month"},
    {State::year, "year"},
    {State::hovered, "hovered"},
    {State::help, "help"},
    {State::anchor, "anchor"},
    {State::confirmation, "confirmation"},
};

/// A mix of a bit more than an hour around the reference level.
Session mix(Date start, const char* name, unsigned seed)
{
    std::mt19937 random(seed);
    const auto between = [&](double low, double high) {
        return low + (high - low) * static_cast<double>(random() % 10'000) / 10'000;
    };
    Session session = newSession(name, start);
    for (auto& byte : session.id)
        byte = static_cast<std::uint8_t>(random());
    const int readings = static_cast<int>(between(200, 520));
    const double level = between(75, 82);
    session.monitoringTarget = 79;
    session.monitoringTolerance = 3;
    for (int i = 0; i < readings; ++i) {
        const double dBA = level + 3 * std::sin(i / 37.0) + between(-2, 2) + (random() % 40 == 0 ? 8 : 0);
        const Zone zone = classifyLevel(dBA, 79, 3);
        session.readings.push_back({start + std::chrono::seconds(10 * (i + 1)), dBA, 0, dBA + 4, zone});
        (zone == Zone::onTarget ? session.timeOnTargetSec
         : zone == Zone::over   ? session.timeOverSec
                                : session.timeUnderSec) += 10;
        session.peakSPL = std::fmax(session.peakSPL, dBA + 4);
    }
    session.timeSilentSec = 320;
    session.endDate = start + std::chrono::seconds(10 * readings);
    session.averageSPL = level;
    session.peakDBC = session.peakSPL + between(14, 42);
    session.peakCount135 = session.peakDBC >= 135 ? 3 : 0;
    session.doseAccumulated = 100.0 * readings * 10 / 28'800 * std::pow(2, (level + 2 - 85) / 3);
    return session;
}

void pose(PosedHub& posed, State state)
{
    if (state == State::empty)
        return;
    const Calendar& calendar = posed.hub->calendar();
    const Date today = calendar.startOfDay(posed.host.loop.now());
    std::vector<Session> history;
    const int days = state == State::year ? 365 : 40;
    for (int i = 1; i < days; ++i) {
        if (i % 7 == 3 || i % 7 == 4)
            continue;
        const Date morning = *calendar.addingDays(today + std::chrono::hours(9), -i);
        history.push_back(mix(morning + std::chrono::hours(5), i % 3 == 0 ? "Bitwig Studio" : "REAPER",
                              static_cast<unsigned>(2 * i)));
        history.push_back(mix(morning, "REAPER", static_cast<unsigned>(2 * i + 1)));
    }
    posed.history(std::move(history));
    posed.dose(12.5);
}

template <typename View>
View& part(QWidget& window)
{
    for (QWidget* const widget : window.findChildren<QWidget*>()) {
        if (auto* const found = dynamic_cast<View*>(widget))
            return *found;
    }
    throw std::runtime_error("no such part");
}

QAbstractButton& button(QWidget& window, const char* text)
{
    for (QAbstractButton* const found : window.findChildren<QAbstractButton*>()) {
        if (found->text() == QString::fromUtf8(text))
            return *found;
    }
    throw std::runtime_error("no such button");
}

void bring(const PosedHub& posed, HistoryWindowView& window, State state)
{
    auto& grid = part<CalendarGrid>(window);
    auto& chart = part<RangeDoseChart>(window);
    switch (state) {
    case State::empty:
        break;
    case State::month:
        button(window, "30 days").click();
        button(window, "Previous Month").click();
        break;
    case State::year:
        QTest::keyClick(&grid, Qt::Key_Right);
        for (int i = 0; i < 12; ++i)
            QTest::keyClick(&grid, Qt::Key_PageUp, Qt::ShiftModifier);
        break;
    case State::hovered:
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(&chart, Qt::Key_Left);
        break;
    case State::help:
        button(window, "About EU weekly (L𝒈,w)").click();
        break;
    case State::anchor:
        button(window, "Previous Month").click();
        QTest::mouseClick(&grid, Qt::LeftButton, {}, {5 * 41 + 12, 2 * 39 + 12});
        break;
    case State::confirmation:
        part<SessionRowView>(window).deleteSession(posed.hub->sessionManager.sessionHistory.get().front());
        break;
    }
}

class HistoryPictures : public testing::TestWithParam<Picture>
{};

TEST_P(HistoryPictures, AreAsReviewed)
{
    const TemporaryFolder folder;
    PosedHub posed;
    pose(posed, GetParam().state);
    NoShareServices shareServices;
    SessionReportSharing sharing(*posed.hub, shareServices, folder.path());
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        QApplication::setPalette(paletteFor(appearance));
        HistoryWindowView window(*posed.hub, sharing, QLocale(QLocale::English, QLocale::UnitedStates));
        window.resize(860, 900);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        bring(posed, window, GetParam().state);
        QTest::qWait(350);
        for (const int scale : {1, 2}) {
            QImage image(window.size() * scale, QImage::Format_RGB32);
            image.setDevicePixelRatio(scale);
            window.render(&image);
            if (QWidget* const help = QApplication::activePopupWidget())
                help->render(&image, window.mapFromGlobal(help->pos()));
            image.setDevicePixelRatio(1);
            expectReference(image, QStringLiteral("history-%1-%2-%3x")
                                       .arg(QLatin1String(GetParam().name),
                                            appearance == Appearance::dark ? "dark" : "light")
                                       .arg(scale));
        }
        if (QWidget* const help = QApplication::activePopupWidget())
            help->close();
    }
    QApplication::setPalette(QPalette());
}

INSTANTIATE_TEST_SUITE_P(Window, HistoryPictures, testing::ValuesIn(pictures),
                         [](const auto& picture) { return picture.param.name; });

} // namespace
} // namespace velmor

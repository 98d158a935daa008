// SPDX-License-Identifier: GPL-3.0-or-later
// What the window shows of ranges, against the history file as another program would read it.
#include "HistoryWindowFixture.h"

#include <sessions/SessionFormat.h>
#include <support/YearOfSessions.h>

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <random>

namespace velmor {
namespace {

using namespace velmor::test;

/// What the file says of a day in Berlin.
struct FileDay
{
    double dose = 0;
    double onTarget = 0;
    double active = 0;
    double peakSPL = 0;
    double peakDBC = 0;
    int sessions = 0;
    qint64 impulses = 0;
};

std::map<QDate, FileDay> daysOfFile(const std::filesystem::path& path)
{
    QFile file(QString::fromStdString(path.native()));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("no history");
    const QTimeZone berlin("Europe/Berlin");
    std::map<QDate, FileDay> days;
    for (const QJsonValue& value : QJsonDocument::fromJson(file.readAll()).array()) {
        const QJsonObject session = value.toObject();
        if (!session.contains("endDate"))
            continue;
        const QDateTime start = QDateTime::fromString(session["startDate"].toString(), Qt::ISODate);
        FileDay& day = days[start.toTimeZone(berlin).date()];
        const double onTarget = session["timeOnTargetSec"].toDouble();
        day.dose += session["doseAccumulated"].toDouble();
        day.onTarget += onTarget;
        day.active += onTarget + session["timeUnderSec"].toDouble() + session["timeOverSec"].toDouble();
        day.peakSPL = std::max(day.peakSPL, session["peakSPL"].toDouble());
        day.peakDBC = std::max(day.peakDBC, session["peakDBC"].toDouble());
        day.impulses += session["peakCount135"].toInteger();
        ++day.sessions;
    }
    return days;
}

/// The seven figures as they are to be read, and the counts.
QStringList expectedTexts(const std::map<QDate, FileDay>& days, QDate first, QDate last, QDate today,
                          double liveDose)
{
    FileDay sum;
    double weekly = 0;
    for (QDate date = first; date <= last; date = date.addDays(1)) {
        const auto found = days.find(date);
        const FileDay day = found != days.end() ? found->second : FileDay();
        const double dose = date == today ? liveDose : day.dose;
        sum.dose += dose;
        sum.onTarget += day.onTarget;
        sum.active += day.active;
        sum.peakSPL = std::max(sum.peakSPL, day.peakSPL);
        sum.peakDBC = std::max(sum.peakDBC, day.peakDBC);
        sum.impulses += day.impulses;
        sum.sessions += day.sessions;
        // All of the dose is eight hours at 85 dBA, and half of it at 3 dB less.
        if (dose > 0)
            weekly += std::pow(10, 8.5) * std::pow(dose / 100, 0.3 / std::log10(2.0));
    }
    const auto count = first.daysTo(last) + 1;
    const auto number = [](double value, int decimals) { return QString::number(value, 'f', decimals); };
    QStringList texts = {
        "Total dose: " + number(sum.dose, 1) + "%",
        "Avg per day: " + number(sum.dose / static_cast<double>(count), 1) + "%",
        QString("EU weekly (L𝒈,w): ") + (count < 5 || weekly == 0
                                             ? QString("≥5 days needed")
                                             : number(10 * std::log10(weekly / 5), 1) + " dBA"),
        QString("On target: ") +
            (sum.active < 30 ? QString("≥30s needed") : number(100 * sum.onTarget / sum.active, 0) + "%"),
        QString("Peak dBA: ") + (sum.sessions == 0 ? QString("—") : number(sum.peakSPL, 0) + " dBA"),
        QString("Peak dBC: ") + (sum.sessions == 0 ? QString("—") : number(sum.peakDBC, 0) + " dBC"),
        QString("Impulses ≥135 dBC: ") +
            (sum.impulses == 0 ? QString("None") : "×" + QString::number(sum.impulses)),
        "Cumulative " + number(sum.dose, 1) + "%  of " + QString::number(count) + "×100%",
        QString::number(count) + (count == 1 ? " day" : " days"),
        QString::number(sum.sessions) + (sum.sessions == 1 ? " session" : " sessions"),
    };
    return texts;
}

class HistoryRangesTest : public HistoryWindowTest
{
protected:
    /// A year in Berlin, with days off and some without an end.
    static std::vector<Session> history()
    {
        std::vector<Session> kept;
        for (std::size_t i = 0; i < year().size(); ++i) {
            const std::size_t day = i / 5;
            if (day % 7 == 2 || day % 7 == 3 || day % 40 < 9 || i % 3 == 0)
                continue;
            kept.push_back(year()[i]);
            kept.back().readings.resize(std::min<std::size_t>(kept.back().readings.size(), 3));
            if (i % 50 == 7)
                kept.back().endDate.reset();
            if (i % 4 == 1)
                kept.back().timeOnTargetSec = kept.back().timeUnderSec = kept.back().timeOverSec = 3;
        }
        return kept;
    }

    void openYear()
    {
        const std::filesystem::path path = folder.path() / "sessions.json";
        std::ofstream(path) << encodedHistory(history()).value();
        days = daysOfFile(path);
        host.storage = SessionStorage::inFolder(folder.path(), SessionStorage::Retention::none);
        hub = std::make_unique<AppState>(host.host());
        hub->doseCalculator.overrideDose(17.37);
        host.loop.runPosted();
        hubSharing = std::make_unique<SessionReportSharing>(*hub, shareServices, folder.path());
        window = std::make_unique<HistoryWindowView>(*hub, *hubSharing,
                                                     QLocale(QLocale::English, QLocale::UnitedStates));
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        displayed = present;
    }

    void TearDown() override { window.reset(); }

    /// Goes to the day's month and taps the day.
    void choose(QDate day)
    {
        const auto months = [](QDate date) { return 12 * date.year() + date.month(); };
        const int steps = months(day) - months(displayed);
        for (int i = 0; i < std::abs(steps); ++i)
            QTest::mouseClick(button(steps < 0 ? "Previous Month" : "Next Month"), Qt::LeftButton);
        tap(day);
        displayed = day;
    }

    /// All that a screen reader finds beside what is written.
    QStringList said() const
    {
        QStringList found;
        for (const QWidget* const widget : window->findChildren<QWidget*>()) {
            if (widget->isVisibleTo(window.get()))
                found.push_back(widget->accessibleName());
        }
        for (const std::string& text : texts())
            found.push_back(QString::fromStdString(text));
        return found;
    }

    const QDate present{2026, 12, 31};
    HubHost host{"2026-12-31T22:30:00Z", "Europe/Berlin"};
    std::unique_ptr<AppState> hub;
    std::unique_ptr<SessionReportSharing> hubSharing;
    std::map<QDate, FileDay> days;
    QDate displayed;
};

TEST_F(HistoryRangesTest, FiftyRangesAddUpToWhatTheFileSays)
{
    openYear();
    std::mt19937 random(7);
    const auto between = [&](int low, int high) { return std::uniform_int_distribution(low, high)(random); };
    for (int i = 0; i < 50; ++i) {
        // Short and long ones; some end today.
        const int length = i % 2 == 0 ? between(1, 9) : between(10, 150);
        const QDate last = present.addDays(i % 5 == 0 ? 0 : -between(0, 220));
        const QDate first = last.addDays(1 - length);
        const bool isBackwards = i % 3 == 0;
        choose(isBackwards ? last : first);
        choose(isBackwards ? first : last);
        const QStringList shown = said();
        for (const QString& text : expectedTexts(days, first, last, present, 17.37))
            EXPECT_TRUE(shown.contains(text)) << text.toStdString() << " from "
                                              << first.toString(Qt::ISODate).toStdString() << ", " << length;
    }
}

} // namespace
} // namespace velmor

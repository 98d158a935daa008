// SPDX-License-Identifier: GPL-3.0-or-later
#include "Appearances.h"
#include "Images.h"

#include <support/ReportSamples.h>
#include <ui/SessionReportView.h>

#include <QFontInfo>
#include <QFontMetricsF>
#include <QImage>
#include <QPixmap>

#include <gtest/gtest.h>

namespace velmor {
namespace {

struct Sample
{
    const char* name;
    Session (*session)();
};

constexpr auto longName =
    "Dolby Atmos Film Re-Recording Template 7.1.4 with Dialogue, Music and Effects Stems "
    "(Stage B, printmaster, version 12 final, do not touch)";

const Sample samples[] = {
    {"normal", [] { return test::mixingSession(750); }},
    {"no-readings", [] { return test::withoutReadings(test::mixingSession(750)); }},
    {"no-discipline", [] { return test::withoutDiscipline(test::mixingSession(120)); }},
    {"eight-hours", [] { return test::restlessSession(); }},
    {"long-name", [] { return test::withName(test::mixingSession(300), longName); }},
};

TEST(ReportFonts, AreThoseOfTheReviewedPictures)
{
    EXPECT_EQ(QFontInfo(fontOf(TextStyle::label)).family(), "Roboto")
        << "fonts-roboto-unhinted is not installed";
    const QFontMetricsF metrics(fontOf(TextStyle::value));
    for (const QChar digit : QStringLiteral("0123456789"))
        EXPECT_EQ(metrics.horizontalAdvance(digit), metrics.horizontalAdvance(QLatin1Char('0')));
}

class ReportImage : public testing::TestWithParam<std::tuple<Sample, Appearance>>
{};

TEST_P(ReportImage, LooksAsItWasReviewed)
{
    const auto& [sample, appearance] = GetParam();
    SessionReportView view(sample.session(), {}, test::sampleCircumstances());
    view.setPalette(test::paletteOf(appearance));
    test::expectReference(view.grab().toImage(), QStringLiteral("report-%1-%2")
                                                     .arg(QLatin1String(sample.name),
                                                          appearance == Appearance::dark ? "dark" : "light"));
}

INSTANTIATE_TEST_SUITE_P(Samples, ReportImage,
                         testing::Combine(testing::ValuesIn(samples),
                                          testing::Values(Appearance::light, Appearance::dark)),
                         [](const auto& found) {
                             std::string name = std::get<0>(found.param).name;
                             std::erase(name, '-');
                             return name + (std::get<1>(found.param) == Appearance::dark ? "Dark" : "Light");
                         });

} // namespace
} // namespace velmor

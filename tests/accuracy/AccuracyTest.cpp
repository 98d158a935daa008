// SPDX-License-Identifier: GPL-3.0-or-later
#include <support/PublishedPrograms.h>
#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace velmor {
namespace {

// What is printed is measured here and now; that the limits are kept is the program's own status.
TEST(Accuracy, IsWithinItsLimitsAndAsThePageSays)
{
    const auto measured = test::run({test::programPath("velmor-accuracy")});
    EXPECT_EQ(measured.status, 0);
    const std::string page = test::contentOf(VELMOR_ACCURACY_PAGE);
    std::istringstream lines(measured.output);
    int rows = 0;
    for (std::string line; std::getline(lines, line); ++rows)
        EXPECT_NE(page.find(line), std::string::npos) << line;
    EXPECT_GT(rows, 100);
}

} // namespace
} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
// What a spreadsheet makes of the exported file: the real program opens it and writes what it has read.
#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace velmor {
namespace {

/// Where the program isn't installed.
bool isMissing()
{
    return test::run({"sh", "-c", "command -v soffice"}).status != 0;
}

/// The value of an attribute in a tag; empty without it.
std::string attribute(const std::string& tag, const std::string& name)
{
    const std::size_t at = tag.find(" " + name + "=\"");
    if (at == std::string::npos)
        return "";
    const std::size_t begin = at + name.size() + 3;
    return tag.substr(begin, tag.find('"', begin) - begin);
}

/// A row of a sheet as the program has read it: numbers as numbers, everything else as it is shown.
std::vector<std::string> cells(const std::string& row)
{
    std::vector<std::string> cells;
    const std::string begin = "<table:table-cell";
    for (std::size_t at = row.find(begin); at != std::string::npos; at = row.find(begin, at + 1)) {
        const std::string tag = row.substr(at, row.find('>', at) - at);
        const std::size_t next = row.find(begin, at + 1);
        const std::string content = row.substr(at, next == std::string::npos ? next : next - at);
        std::string text = attribute(tag, "office:value");
        if (text.empty()) {
            const std::size_t paragraph = content.find("<text:p>");
            if (paragraph != std::string::npos)
                text = content.substr(paragraph + 8, content.find("</text:p>") - paragraph - 8);
        }
        const std::string repeated = attribute(tag, "table:number-columns-repeated");
        cells.insert(cells.end(), repeated.empty() ? 1 : std::stoul(repeated), text);
    }
    // What the sheet has beyond the last figure.
    while (!cells.empty() && cells.back().empty())
        cells.pop_back();
    return cells;
}

/// The row that holds a text.
std::string rowWith(const std::string& sheet, const std::string& text)
{
    const std::size_t found = sheet.find(text);
    const std::size_t begin = sheet.rfind("<table:table-row", found);
    return found == std::string::npos ? ""
                                      : sheet.substr(begin, sheet.find("</table:table-row>", begin) - begin);
}

TEST(Spreadsheet, OpensTheFileWithTheRightColumns)
{
    if (isMissing()) {
        if (test::packagesMustBeThere())
            FAIL() << "soffice is not installed";
        // It is large, and what is measured needs none of it; where CI runs it is installed.
        GTEST_SKIP() << "soffice is not installed";
    }
    const test::TemporaryFolder folder;
    const auto file = folder / "sessions.csv";
    std::filesystem::copy_file(std::filesystem::path(VELMOR_SESSIONS_GOLDEN) / "csv-utc.csv", file);
    // Comma, double quote, UTF-8, from the first line, numbers as in the United States.
    const auto outcome = test::run(
        {"soffice", "--headless", "-env:UserInstallation=file://" + (folder / "profile").native(),
         "--infilter=CSV:44,34,76,1,,1033", "--convert-to", "fods", "--outdir", folder.path(), file});
    ASSERT_EQ(outcome.status, 0) << outcome.error;
    const std::string sheet = test::contentOf(folder / "sessions.fods");
    const std::vector<std::string> header = cells(rowWith(sheet, "<text:p>Daily totals"));
    EXPECT_EQ(header, std::vector<std::string>{"Daily totals"});
    const std::vector<std::string> titles = cells(rowWith(sheet, "<text:p>DAW</text:p>"));
    ASSERT_EQ(titles.size(), 24U);
    EXPECT_EQ(titles.front(), "Date");
    EXPECT_EQ(titles[20], "Impulses ≥135 dBC");
    EXPECT_EQ(titles.back(), "Dose %");
    // A name with a comma and quotes is one cell, and figures are numbers in the columns of their titles.
    const std::vector<std::string> row = cells(rowWith(sheet, "<text:p>Pro, &quot;X&quot;</text:p>"));
    ASSERT_EQ(row.size(), 24U);
    const std::vector<std::string> levels(row.begin() + 5, row.begin() + 20);
    EXPECT_EQ(levels, (std::vector<std::string>{"0.8", "82.3", "95", "141.2", "", "", "", "", "83", "3", "10",
                                                "30", "5", "0", "67"}));
    EXPECT_EQ(row[20], "7");
    EXPECT_EQ(row[23], "102");
}

} // namespace
} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Text.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

TEST(Text, TrimsSeparatorsAndLineControlsAtBothEnds)
{
    EXPECT_EQ(trimmed("  Logic Pro\t\n"), "Logic Pro");
    EXPECT_EQ(trimmed("\v\f\r\u0085\u00A0\u1680\u2000\u200A\u2028\u2029\u202F\u205F\u3000x\u3000\u0085"),
              "x");
    EXPECT_EQ(trimmed(" \u2003 "), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(Text, KeepsWhatIsNoWhiteSpace)
{
    // A zero width space, a word joiner and other control characters are none of it.
    EXPECT_EQ(trimmed("\u200Bx\u2060"), "\u200Bx\u2060");
    EXPECT_EQ(trimmed("\b\x1F"), "\b\x1F");
    EXPECT_EQ(trimmed("a  b"), "a  b");
    // Its last byte is that of a line separator.
    EXPECT_EQ(trimmed("\u20A8"), "\u20A8");
}

TEST(Text, WhatIsNoUtf8IsReplacedByteByByte)
{
    EXPECT_EQ(validUtf8("Abhörraum – \xF0\x9F\x8E\xA7"), "Abhörraum – \xF0\x9F\x8E\xA7");
    EXPECT_EQ(validUtf8("Abh\xF6rraum"), "Abh\uFFFDrraum");
    EXPECT_EQ(validUtf8("\xC3"), "\uFFFD");
    EXPECT_EQ(validUtf8("\xC0\x80\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(validUtf8(""), "");
}

TEST(Text, NothingOfATextLeadsATerminalAstray)
{
    EXPECT_EQ(forTerminal("a\x1B[2Jb\r\n\x7F"), "a[2Jb");
    EXPECT_EQ(forTerminal("a\u009B2Jb\u0085"), "a2Jb");
    // The same bytes within other characters.
    EXPECT_EQ(forTerminal("ü\u00A0\u2080ß"), "ü\u00A0\u2080ß");
}

TEST(Text, LowersLatinLettersOnly)
{
    EXPECT_EQ(lowerCase("VELMOR-Ä1"), "velmor-Ä1");
}

} // namespace
} // namespace velmor

// SPDX-License-Identifier: GPL-3.0-or-later
#include <base/Uuid.h>

#include <gtest/gtest.h>

namespace velmor {
namespace {

TEST(Uuid, TheTextIsCanonicalInUpperCaseAndReadsBack)
{
    const auto uuid = uuidFromText("0123abcd-EF45-4789-8aBc-def012345678");
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuidText(*uuid), "0123ABCD-EF45-4789-8ABC-DEF012345678");
    EXPECT_EQ(uuidFromText(uuidText(*uuid)), uuid);
    EXPECT_EQ(uuid->data[0], 0x01);
    EXPECT_EQ(uuid->data[15], 0x78);
}

TEST(Uuid, NewOnesDifferAndAreOfVersion4)
{
    const Uuid a = makeUuid();
    EXPECT_NE(a, makeUuid());
    EXPECT_EQ(uuidText(a)[14], '4');
    EXPECT_EQ(uuidText(a).size(), 36U);
}

TEST(Uuid, OtherTextsAreNone)
{
    for (const char* text : {"", "0123abcd", "0123abcdef45-4789-8abc-def0-12345678",
                             "0123abcd-ef45-4789-8abc-def01234567", "0123abcd-ef45-4789-8abc-def0123456789",
                             "0123abcd-ef45-4789-8abc-def01234567g", "{0123abcd-ef45-4789-8abc-def012345678}",
                             "0123abcdef4547898abcdef012345678", " 123abcd-ef45-4789-8abc-def012345678"})
        EXPECT_FALSE(uuidFromText(text)) << text;
}

} // namespace
} // namespace velmor

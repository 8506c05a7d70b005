#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "foundation/array.h"
#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/ptr.h"
#include "foundation/string.h"

TEST(Round, HalvesGoAwayFromZero) {
    EXPECT_EQ(Round(0.5f), 1);
    EXPECT_EQ(Round(-0.5f), -1);
    EXPECT_EQ(Round(2.5), 3);
    EXPECT_EQ(Round(-2.5), -3);
    EXPECT_EQ(Round(2.4999f), 2);
}

TEST(FixedStrings, CopyTruncatesAndAlwaysTerminates) {
    char field[260];
    const std::string longer(300, 'x');
    LStrCopy(field, longer.c_str());
    EXPECT_EQ(std::strlen(field), 259u);
    LStrCopy(field, nullptr);
    EXPECT_STREQ(field, "");
    char tiny[4];
    LStrCopy(tiny, "abcdef");
    EXPECT_STREQ(tiny, "abc");
}

TEST(BoundingBox, EmptinessValidityIntersectionAndUnion) {
    LBoundingBox2T<float> a(0, 0, 10, 10), b(5, 5, 20, 8);
    EXPECT_FALSE(a.IsEmpty());
    EXPECT_TRUE(LBoundingBox2T<float>(3, 3, 3, 9).IsEmpty());
    EXPECT_TRUE(LBoundingBox2T<float>(3, 3, 3, 9).IsValid());
    EXPECT_FALSE(LBoundingBox2T<float>(4, 0, 3, 9).IsValid());
    EXPECT_EQ(a.GetIntersection(b), LBoundingBox2T<float>(5, 5, 10, 8));
    EXPECT_TRUE(a.GetIntersection(LBoundingBox2T<float>(11, 0, 12, 1)).IsEmpty());
    a += b;
    EXPECT_EQ(a, LBoundingBox2T<float>(0, 0, 20, 10));
}

TEST(Colours, ChannelsAndPacking) {
    const LPixelColour p = LPixelColour::FromPacked(0x80FF4020u);
    EXPECT_EQ(p.red, 0xFF);
    // In memory: blue, green, red, alpha.
    unsigned char bytes[4];
    std::memcpy(bytes, &p, 4);
    EXPECT_EQ(bytes[0], 0x20);
    EXPECT_EQ(bytes[3], 0x80);
}

TEST(Pointers, LPtrCopiesDeeplyAndLCountedPtrShares) {
    LPtr<std::string> a(new std::string("one"));
    LPtr<std::string> b(a);
    *b = "two";
    EXPECT_EQ(*a, "one");
    LPtr<std::string> none;
    b = none;
    EXPECT_FALSE(b);

    LCountedPtr<std::string> c(new std::string("shared"));
    LCountedPtr<std::string> d = c;
    EXPECT_EQ(c.Get(), d.Get());
    EXPECT_EQ(c.GetCount(), 2);
}

TEST(Arrays, GrowingKeepsTheContents) {
    LArray<int> a(2);
    for (int i = 0; i < 11; ++i)
        a.Add(i);
    LArray<int> b(a);
    EXPECT_EQ(b[10], 10);

    LSizedArray<unsigned char> s(3);
    s[2] = 7;
    s.SetSize(5);
    EXPECT_EQ(s.GetSize(), 5u);
    EXPECT_EQ(s[2], 7);
}

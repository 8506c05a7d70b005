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
    const LGuiColorAlpha c(0x12, 0x34, 0x56, 0x78);
    EXPECT_EQ(c.red, 0x1200);
    EXPECT_EQ(c.Green8(), 0x34);
    EXPECT_EQ(c.alpha, 0x78);

    const LPixelColour p = LPixelColour::FromPacked(0x80FF4020u);
    EXPECT_EQ(p.alpha, 0x80);
    EXPECT_EQ(p.red, 0xFF);
    EXPECT_EQ(p.green, 0x40);
    EXPECT_EQ(p.blue, 0x20);
    EXPECT_EQ(p.GetPacked(), 0x80FF4020u);
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

TEST(Arrays, CapacityDoublesWhenFullAndCopiesKeepIt) {
    LArray<int> a(10);
    for (int i = 0; i < 10; ++i)
        a.Add(i);
    EXPECT_EQ(a.GetCapacity(), 10u);
    a.Add(10);
    EXPECT_EQ(a.GetCapacity(), 20u);
    LArray<int> b(a);
    EXPECT_EQ(b.GetCapacity(), 20u);
    EXPECT_EQ(b[10], 10);

    LSizedArray<unsigned char> s(3);
    s[2] = 7;
    s.SetSize(5);
    EXPECT_EQ(s.GetSize(), 5u);
    EXPECT_EQ(s[2], 7);
}

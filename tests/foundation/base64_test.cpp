// Base64 both ways.

#include <gtest/gtest.h>

#include <string>

#include "foundation/base64.h"

namespace {

std::string Encode(const std::string& bytes) {
    LStringLongTemplate<char> out("kept:");
    LBase64Encode(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), out);
    return out.Str();
}

bool Decode(const std::string& text, std::string& bytes) {
    LSizedArray<unsigned char> out;
    const bool ok = LBase64Decode(text.data(), text.size(), out);
    bytes.assign(out.begin(), out.end());
    return ok;
}

TEST(Base64, KnownVectorsAppendedWithPadding) {
    EXPECT_EQ(Encode(""), "kept:");
    EXPECT_EQ(Encode("f"), "kept:Zg==");
    EXPECT_EQ(Encode("fo"), "kept:Zm8=");
    EXPECT_EQ(Encode("foo"), "kept:Zm9v");
    EXPECT_EQ(Encode("foobar"), "kept:Zm9vYmFy");
    EXPECT_EQ(Encode(std::string("\xff\xfe\x00", 3)), "kept://4A");
}

TEST(Base64, DecodesWhatItEncodesForEveryLength) {
    std::string all;
    for (int i = 0; i < 300; ++i)
        all.push_back(static_cast<char>(i * 7));
    for (std::size_t n = 0; n <= all.size(); n += 1 + n / 20) {
        std::string back;
        ASSERT_TRUE(Decode(Encode(all.substr(0, n)).substr(5), back)) << n;
        EXPECT_EQ(back, all.substr(0, n)) << n;
    }
}

TEST(Base64, ToleratesBlanksAndMissingPaddingButNotOtherCharacters) {
    std::string bytes;
    EXPECT_TRUE(Decode("Zm9v\r\nYmE=\n", bytes));
    EXPECT_EQ(bytes, "fooba");
    EXPECT_TRUE(Decode("Zm8", bytes));
    EXPECT_EQ(bytes, "fo");
    EXPECT_FALSE(Decode("Zm9v!", bytes));
    EXPECT_TRUE(bytes.empty());
    EXPECT_FALSE(Decode("Z", bytes));     // a lone character is no byte
    EXPECT_FALSE(Decode("Zg==Zg==", bytes)); // data after the padding
    EXPECT_FALSE(Decode("Zg===", bytes));
    EXPECT_TRUE(Decode("", bytes));
    EXPECT_TRUE(bytes.empty());
}

} // namespace

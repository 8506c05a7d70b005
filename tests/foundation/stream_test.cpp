#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/stream.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes ToBytes(const LSizedArray<unsigned char>& a) { return Bytes(a.begin(), a.end()); }

TEST(TypedStreams, WritesAreByteExactInBothOrders) {
    LSizedArray<unsigned char> bytes;
    LOutputStreamByteArray out(bytes);
    ASSERT_TRUE(out.Open());
    EXPECT_TRUE(out.WriteUInt16LE(0x0102));
    EXPECT_TRUE(out.WriteSInt16LE(-2));
    EXPECT_TRUE(out.WriteUInt32LE(0x01020304));
    EXPECT_TRUE(out.WriteSInt32LE(-1));
    EXPECT_TRUE(out.WriteUInt16BE(0x0102));
    EXPECT_TRUE(out.WriteUInt32BE(0x01020304));
    EXPECT_TRUE(out.WriteUInt64BE(0x0102030405060708ull));
    EXPECT_TRUE(out.WriteFloatLE(1.0f));
    EXPECT_EQ(ToBytes(bytes), (Bytes{0x02, 0x01, 0xFE, 0xFF, 0x04, 0x03, 0x02, 0x01, 0xFF, 0xFF,
                                     0xFF, 0xFF, 0x01, 0x02, 0x01, 0x02, 0x03, 0x04, 0x01, 0x02,
                                     0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x00, 0x00, 0x80, 0x3F}));

    // And back again through the reader.
    LInputStreamBuffer in(bytes.Data(), bytes.GetSize());
    short s16 = 0;
    unsigned short u16 = 0, b16 = 0;
    int s32 = 0;
    unsigned int u32 = 0, b32 = 0;
    unsigned long long u64 = 0;
    ASSERT_TRUE(in.ReadUInt16LE(u16) && in.ReadSInt16LE(s16));
    ASSERT_TRUE(in.ReadUInt32LE(u32) && in.ReadSInt32LE(s32));
    ASSERT_TRUE(in.ReadUInt16BE(b16) && in.ReadUInt32BE(b32) && in.ReadUInt64BE(u64));
    EXPECT_EQ(u16, 0x0102);
    EXPECT_EQ(s16, -2);
    EXPECT_EQ(u32, 0x01020304u);
    EXPECT_EQ(s32, -1);
    EXPECT_EQ(b16, 0x0102);
    EXPECT_EQ(b32, 0x01020304u);
    EXPECT_EQ(u64, 0x0102030405060708ull);
}

TEST(TypedStreams, ShortReadsFailAndLeaveTheValueAndStreamUsable) {
    const Bytes data = {0xAA, 0xBB, 0xCC};
    LInputStreamBuffer in(data.data(), data.size());
    unsigned short u16 = 7;
    unsigned int u32 = 9;
    EXPECT_FALSE(in.ReadUInt32LE(u32));
    EXPECT_EQ(u32, 9u);
    ASSERT_TRUE(in.SeekOffset64(2, LSeekFromStart));
    // One byte left: the 16-bit read fails.
    EXPECT_FALSE(in.ReadUInt16LE(u16));
    EXPECT_EQ(u16, 7);
    // A read at the end gives 0 and the stream stays usable.
    unsigned char b;
    EXPECT_EQ(in.Read(&b, 1), 0u);
    EXPECT_EQ(in.Read(&b, 1), 0u);
    ASSERT_TRUE(in.SeekOffset64(0, LSeekFromStart));
    EXPECT_TRUE(in.ReadUInt16BE(u16));
    EXPECT_EQ(u16, 0xAABB);
}

TEST(MemoryInput, SeeksLandInsideAndPeeksDoNotMove) {
    const Bytes data = {1, 2, 3, 4, 5};
    LInputStreamBuffer in(data.data(), data.size());
    unsigned char b[8] = {};
    EXPECT_EQ(in.Peek(b, 8), 5u);
    EXPECT_EQ(in.Tell64(), 0u);
    EXPECT_TRUE(in.SeekOffset64(3));
    EXPECT_EQ(in.Tell64(), 3u);
    // Beyond the end lands at the end.
    EXPECT_TRUE(in.SeekOffset64(1000));
    EXPECT_EQ(in.Tell64(), 5u);
    EXPECT_EQ(in.GetRemainingBytes64(), 0u);
    EXPECT_TRUE(in.SeekOffset64(~0ull, LSeekFromStart));
    EXPECT_EQ(in.Tell64(), 5u);
    EXPECT_FALSE(in.SeekOffset(-1));
    EXPECT_TRUE(in.SeekOffset64(1, LSeekFromStart));
    EXPECT_TRUE(in.SeekOffset64(~0ull));
    EXPECT_EQ(in.Tell64(), 5u);

    LInputStreamBuffer empty(nullptr, 0);
    EXPECT_TRUE(empty.IsOpen());
    EXPECT_EQ(empty.Read(b, 1), 0u);
    LInputStreamBuffer broken(nullptr, 10);
    EXPECT_FALSE(broken.IsOpen());
    EXPECT_EQ(broken.Read(b, 1), 0u);
}

TEST(MemoryOutput, OverwritesInsideAppendsAtTheEndAndClampsSeeks) {
    LSizedArray<unsigned char> bytes;
    bytes.Append(9);
    LOutputStreamByteArray out(bytes);
    EXPECT_EQ(out.Write("x", 1), 0u); // not open yet
    ASSERT_TRUE(out.OpenAppend());
    EXPECT_TRUE(out.WriteAll("\1\2\3", 3));
    EXPECT_EQ(ToBytes(bytes), (Bytes{9, 1, 2, 3}));
    ASSERT_TRUE(out.SeekOffset64(2, LSeekFromStart));
    // Two bytes over what is there, two more behind it.
    EXPECT_TRUE(out.WriteAll("\7\7\7\7", 4));
    EXPECT_EQ(ToBytes(bytes), (Bytes{9, 1, 7, 7, 7, 7}));
    EXPECT_TRUE(out.SeekOffset64(100, LSeekFromStart));
    EXPECT_EQ(out.Tell64(), 6u);
    ASSERT_TRUE(out.Open());
    EXPECT_EQ(bytes.GetSize(), 0u);
    EXPECT_TRUE(out.WriteUInt8(5));
    EXPECT_EQ(ToBytes(bytes), (Bytes{5}));
}

TEST(StringStream, HandsOutPiecesByteForByte) {
    const LStringLongTemplate<char> text("h\xC3\xA9llo");
    LStringStream s(text);
    LStringLongTemplate<char> out;
    EXPECT_TRUE(s.ReadLongT(out, 3));
    EXPECT_EQ(out, "h\xC3\xA9");
    EXPECT_TRUE(s.ReadLongT(out, 100));
    EXPECT_EQ(out, "h\xC3\xA9llo");
    EXPECT_TRUE(s.IsAtEnd());
    // Nothing left, yet a non-zero count still answers true; zero answers false.
    EXPECT_TRUE(s.ReadLongT(out, 4));
    EXPECT_FALSE(s.ReadLongT(out, 0));
    EXPECT_EQ(out.GetLength(), 6u);
}

} // namespace

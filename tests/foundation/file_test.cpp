#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "foundation/file.h"
#include "support/temp_dir.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Pattern(std::size_t n) {
    Bytes b(n);
    for (std::size_t i = 0; i < n; ++i)
        b[i] = static_cast<unsigned char>((i * 7 + i / 251) & 0xFF);
    return b;
}

void Put(const std::string& path, const Bytes& b) {
    ASSERT_TRUE(kvtest::WriteFile(path, std::string(b.begin(), b.end())));
}

Bytes Get(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Changes bytes of a file behind the back of a reader that has it open.
void Poke(const std::string& path, long at, unsigned char value, std::size_t n) {
    const int fd = open(path.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    const std::vector<unsigned char> v(n, value);
    ASSERT_EQ(pwrite(fd, v.data(), n, at), static_cast<ssize_t>(n));
    close(fd);
}

TEST(BufferedRead, MixedReadsAcrossTheBufferMatchTheFile) {
    kvtest::TempDir dir;
    const std::string path = dir.File("data");
    const Bytes data = Pattern(50000);
    Put(path, data);
    LInputStreamFile in;
    ASSERT_TRUE(in.Open(path.c_str()));
    EXPECT_EQ(in.GetFileSizeBytes64(), data.size());

    // Sizes chosen to straddle the 8192-byte refill and the 256-byte switch.
    const unsigned long sizes[] = {1, 2, 4, 8, 255, 256, 257, 8191, 3, 700, 9000, 5, 12};
    std::size_t at = 0;
    for (int round = 0; at < data.size(); ++round) {
        const unsigned long n = sizes[round % std::size(sizes)];
        Bytes got(n);
        const unsigned long r = in.Read(got.data(), n);
        const std::size_t expect = std::min<std::size_t>(n, data.size() - at);
        ASSERT_EQ(r, expect) << "at " << at;
        ASSERT_TRUE(std::equal(got.begin(), got.begin() + r, data.begin() + at)) << "at " << at;
        at += r;
        ASSERT_EQ(in.Tell64(), at);
    }
    // At the end: 0, and still usable.
    unsigned char b;
    EXPECT_EQ(in.Read(&b, 1), 0u);
    ASSERT_TRUE(in.SeekOffset64(8190, LSeekFromStart));
    unsigned int v = 0;
    ASSERT_TRUE(in.ReadUInt32LE(v));
    EXPECT_EQ(v, static_cast<unsigned int>(data[8190] | data[8191] << 8 | data[8192] << 16 |
                                           data[8193] << 24));
}

TEST(BufferedRead, SeeksKeepTheBufferInsideItAndClampAtTheEnd) {
    kvtest::TempDir dir;
    const std::string path = dir.File("data");
    const Bytes data = Pattern(30000);
    Put(path, data);
    LInputStreamFile in;
    ASSERT_TRUE(in.Open(path.c_str()));
    unsigned char b = 0;
    ASSERT_EQ(in.Read(&b, 1), 1u); // fills the buffer with 0..8191
    Poke(path, 4000, 0xEE, 1);
    Poke(path, 20000, 0xEE, 1);
    ASSERT_TRUE(in.SeekOffset64(3999));
    ASSERT_EQ(in.Read(&b, 1), 1u);
    EXPECT_EQ(b, data[4000]) << "a seek inside the buffer must not drop it";
    ASSERT_TRUE(in.SeekOffset64(20000, LSeekFromStart));
    ASSERT_EQ(in.Read(&b, 1), 1u);
    EXPECT_EQ(b, 0xEE) << "a seek outside must read the file again";

    EXPECT_TRUE(in.SeekOffset64(1ull << 40));
    EXPECT_EQ(in.Tell64(), data.size());
    EXPECT_EQ(in.Read(&b, 1), 0u);

    // Peeks of any size, the buffer's included, leave the position alone.
    ASSERT_TRUE(in.SeekOffset64(100, LSeekFromStart));
    Bytes peek(10000);
    EXPECT_EQ(in.Peek(peek.data(), 10), 10u);
    EXPECT_EQ(in.Peek(peek.data(), 8192), 8192u);
    EXPECT_EQ(in.Peek(peek.data(), 10000), 10000u);
    EXPECT_TRUE(std::equal(peek.begin(), peek.begin() + 3900, data.begin() + 100));
    EXPECT_EQ(in.Tell64(), 100u);
}

TEST(FileOpen, MissingFilesAndFoldersAreRefusedAtOnce) {
    kvtest::TempDir dir;
    LInputStreamFile in;
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_FALSE(in.Open(dir.File("missing").c_str(), 3000));
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(1000));
    EXPECT_FALSE(in.Open(dir.Path().c_str()));
    EXPECT_FALSE(in.Open(nullptr));
    EXPECT_FALSE(in.IsOpen());
    unsigned char b;
    EXPECT_EQ(in.Read(&b, 1), 0u);

    LOutputStreamFile out;
    EXPECT_FALSE(out.Open(dir.Path().c_str()));
    EXPECT_FALSE(out.Open(dir.File("no/such/folder").c_str()));
    EXPECT_EQ(out.Write("x", 1), 0u);
    EXPECT_FALSE(out.Close());
}

TEST(FileWrite, OpenModesReplaceRefuseOrAppend) {
    kvtest::TempDir dir;
    const std::string path = dir.File("f");
    Put(path, Bytes{1, 2, 3, 4});
    LOutputStreamFile out;
    EXPECT_FALSE(out.OpenNew(path.c_str()));
    ASSERT_TRUE(out.Open(path.c_str()));
    EXPECT_TRUE(out.WriteUInt8(9));
    ASSERT_TRUE(out.Close());
    EXPECT_EQ(Get(path), (Bytes{9}));

    ASSERT_TRUE(out.OpenAppendAlways(path.c_str()));
    EXPECT_EQ(out.Tell64(), 1u);
    EXPECT_FALSE(out.SeekOffset64(0, LSeekFromStart));
    EXPECT_TRUE(out.WriteUInt16BE(0x0506));
    ASSERT_TRUE(out.Close());
    EXPECT_EQ(Get(path), (Bytes{9, 5, 6}));

    ASSERT_TRUE(out.OpenNew(dir.File("g").c_str()));
    EXPECT_TRUE(out.Close());
}

// The same writes, with seeks back over what was written, give the same
// bytes through every buffer size, without a buffer and in memory.
TEST(FileWrite, BufferedWritesAndPatchesGiveTheUnbufferedBytes) {
    kvtest::TempDir dir;
    const Bytes big = Pattern(70000);
    auto script = [&](auto& out) {
        for (int i = 0; i < 300; ++i) {
            const unsigned long long mark = out.Tell64();
            ASSERT_TRUE(out.WriteUInt64LE(0));
            ASSERT_TRUE(out.WriteAll(big.data(), (i * 37) % 200));
            if (i % 50 == 7) {
                ASSERT_TRUE(out.WriteAll(big.data(), big.size()));
            }
            const unsigned long long end = out.Tell64();
            ASSERT_TRUE(out.SeekOffset64(mark, LSeekFromStart));
            ASSERT_TRUE(out.WriteUInt64LE(end - mark));
            ASSERT_TRUE(out.SeekOffset64(end, LSeekFromStart));
            ASSERT_EQ(out.Tell64(), end);
        }
        // Back to the very start, long after it has left the buffer.
        ASSERT_TRUE(out.SeekOffset64(0, LSeekFromStart));
        ASSERT_TRUE(out.WriteUInt32BE(0xDEADBEEF));
        ASSERT_TRUE(out.SeekOffset64(~0ull, LSeekFromStart));
    };

    LSizedArray<unsigned char> memory;
    LOutputStreamByteArray mem(memory);
    ASSERT_TRUE(mem.Open());
    script(mem);
    const Bytes expected(memory.begin(), memory.end());

    LOutputStreamFileUnbuffered plain;
    ASSERT_TRUE(plain.Open(dir.File("plain").c_str()));
    script(plain);
    ASSERT_TRUE(plain.Close());
    EXPECT_EQ(Get(dir.File("plain")), expected);

    for (unsigned long size : {16ul, 100ul, 4096ul, LWriteFileBuffered::kDefaultBufferSize}) {
        LOutputStreamFile out;
        out.GetFile().SetBufferSize(size);
        const std::string path = dir.File("buffered" + std::to_string(size));
        ASSERT_TRUE(out.Open(path.c_str()));
        script(out);
        EXPECT_EQ(out.GetFileSizeBytes64(), expected.size());
        ASSERT_TRUE(out.Close());
        EXPECT_EQ(Get(path), expected) << "buffer of " << size;
    }
}

TEST(FileWrite, AWriteFromWrittenBytesIntoTheBufferLandsInBoth) {
    kvtest::TempDir dir;
    const std::string path = dir.File("f");
    LOutputStreamFile out;
    out.GetFile().SetBufferSize(16);
    ASSERT_TRUE(out.Open(path.c_str()));
    ASSERT_TRUE(out.WriteAll(std::string(20, 'a').data(), 20)); // past the buffer: on file
    ASSERT_TRUE(out.WriteAll(std::string(10, 'b').data(), 10)); // buffered
    ASSERT_TRUE(out.SeekOffset64(15, LSeekFromStart));
    ASSERT_TRUE(out.WriteAll(std::string(10, 'c').data(), 10)); // five each side
    EXPECT_EQ(out.Tell64(), 25u);
    ASSERT_TRUE(out.SeekOffset64(2, LSeekFromStart));
    ASSERT_TRUE(out.WriteUInt8('d'));
    ASSERT_TRUE(out.SeekOffset64(~0ull, LSeekFromStart));
    ASSERT_TRUE(out.WriteUInt8('e'));
    ASSERT_TRUE(out.Close());
    const Bytes got = Get(path);
    EXPECT_EQ(std::string(got.begin(), got.end()),
              "aad" + std::string(12, 'a') + std::string(10, 'c') + std::string(5, 'b') + "e");
}

TEST(FileWrite, AFailingDiskIsReportedByClose) {
    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no /dev/full";
    LOutputStreamFile out;
    ASSERT_TRUE(out.Open("/dev/full"));
    // Still in the buffer: the write itself succeeds.
    EXPECT_TRUE(out.WriteUInt32LE(1));
    EXPECT_FALSE(out.Flush());
    EXPECT_TRUE(out.HasFailed());
    EXPECT_EQ(out.Write("x", 1), 0u) << "nothing more after a failure";
    EXPECT_FALSE(out.Close());

    LOutputStreamFileUnbuffered plain;
    ASSERT_TRUE(plain.Open("/dev/full"));
    EXPECT_FALSE(plain.WriteUInt32LE(1));
    EXPECT_FALSE(plain.Close());
}

TEST(TempFiles, NamesAreFreshPrivateAndBounded) {
    kvtest::TempDir dir;
    char a[260], b[260];
    ASSERT_TRUE(LFile::GetTempFilePathWithExt(a, sizeof a, ".pdf", dir.Path().c_str()));
    ASSERT_TRUE(LFile::GetTempFilePath(b, sizeof b, dir.Path().c_str()));
    EXPECT_STRNE(a, b);
    EXPECT_EQ(std::string(a).rfind(dir.Path() + "/", 0), 0u);
    EXPECT_EQ(std::string(a).substr(std::strlen(a) - 4), ".pdf");
    // The name is taken at once, so no one else can create it in between.
    struct stat st;
    ASSERT_EQ(stat(a, &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    EXPECT_EQ(st.st_size, 0);

    char small[16];
    EXPECT_FALSE(LFile::GetTempFilePath(small, sizeof small, dir.Path().c_str()));
    EXPECT_STREQ(small, "");
    EXPECT_FALSE(LFile::GetTempFilePath(a, sizeof a, dir.File("missing").c_str()));

    char path[260];
    LOutputStreamFile out;
    ASSERT_TRUE(out.OpenTemporary(path, sizeof path, dir.Path().c_str(), ".dat"));
    EXPECT_TRUE(out.WriteUInt8(42));
    ASSERT_TRUE(out.Close());
    EXPECT_EQ(Get(path), (Bytes{42}));
}

TEST(MoveFile, RenamesAndReplacesTheDestination) {
    kvtest::TempDir dir;
    Put(dir.File("a"), Bytes{1, 2});
    Put(dir.File("b"), Bytes{3});
    ASSERT_TRUE(LFile::MoveFile(dir.File("a").c_str(), dir.File("b").c_str()));
    EXPECT_FALSE(LFile::Exists(dir.File("a").c_str()));
    EXPECT_EQ(Get(dir.File("b")), (Bytes{1, 2}));
    EXPECT_FALSE(LFile::MoveFile(dir.File("a").c_str(), dir.File("c").c_str()));
    EXPECT_FALSE(LFile::MoveFile(nullptr, dir.File("c").c_str()));
}

// What MoveFile falls back to across file systems: the destination is
// replaced whole, the mode travels, and a failure leaves the source alone.
TEST(MoveFile, TheCopyFallbackReplacesWholeOrNotAtAll) {
    kvtest::TempDir dir;
    const Bytes data = Pattern(200000);
    Put(dir.File("src"), data);
    chmod(dir.File("src").c_str(), 0640);
    Put(dir.File("dst"), Bytes{7});
    ASSERT_TRUE(LFile::MoveFileByCopy(dir.File("src").c_str(), dir.File("dst").c_str()));
    EXPECT_FALSE(LFile::Exists(dir.File("src").c_str()));
    EXPECT_EQ(Get(dir.File("dst")), data);
    struct stat st;
    ASSERT_EQ(stat(dir.File("dst").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);

    Put(dir.File("src"), Bytes{5});
    EXPECT_FALSE(LFile::MoveFileByCopy(dir.File("src").c_str(), dir.File("none/dst").c_str()));
    // A folder in the way of the final rename: the source stays, no scrap is left.
    ASSERT_EQ(mkdir(dir.File("folder").c_str(), 0700), 0);
    ASSERT_EQ(mkdir(dir.File("folder/x").c_str(), 0700), 0);
    Put(dir.File("folder/x/keep"), Bytes{1});
    EXPECT_FALSE(LFile::MoveFileByCopy(dir.File("src").c_str(), dir.File("folder/x").c_str()));
    EXPECT_TRUE(LFile::Exists(dir.File("src").c_str()));
    int entries = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir.File("folder"))) {
        (void)e;
        ++entries;
    }
    EXPECT_EQ(entries, 1);
}

TEST(MoveFile, AcrossFileSystemsWhenThereAreTwo) {
    kvtest::TempDir dir;
    struct stat a, b;
    if (stat(dir.Path().c_str(), &a) != 0 || stat("/dev/shm", &b) != 0 || a.st_dev == b.st_dev ||
        access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "one file system only";
    char other[260];
    ASSERT_TRUE(LFile::GetTempFilePath(other, sizeof other, "/dev/shm"));
    Put(dir.File("src"), Bytes{1, 2, 3});
    ASSERT_TRUE(LFile::MoveFile(dir.File("src").c_str(), other));
    EXPECT_FALSE(LFile::Exists(dir.File("src").c_str()));
    EXPECT_EQ(Get(other), (Bytes{1, 2, 3}));
    LFile::DeleteFile(other);
}

} // namespace

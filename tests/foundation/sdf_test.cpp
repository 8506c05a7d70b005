#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

#include "foundation/sdf.h"
#include "support/temp_dir.h"

namespace {

using Bytes = std::vector<unsigned char>;

// ---- the expected bytes, built by hand and not by the writer ----

Bytes LE(unsigned long long v, int n) {
    Bytes b;
    for (int i = 0; i < n; ++i)
        b.push_back(static_cast<unsigned char>(v >> (8 * i)));
    return b;
}
Bytes U16(unsigned v) { return LE(v, 2); }
Bytes U32(unsigned long v) { return LE(v, 4); }
Bytes U64(unsigned long long v) { return LE(v, 8); }
Bytes Str(const std::string& s) { return Bytes(s.begin(), s.end()); }
Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}
Bytes Chunk(unsigned id, unsigned type, const Bytes& data) {
    return Cat({U16(id), U16(type), U64(data.size()), data});
}
Bytes Container(unsigned id, std::initializer_list<Bytes> children) {
    return Chunk(id, 0, Cat(children));
}
Bytes Int(unsigned id, int v) { return Chunk(id, 2, U32(static_cast<unsigned int>(v))); }
Bytes Header(unsigned long formatId = 21, unsigned version = 0, const std::string& magic = "lsdf",
             unsigned containerVersion = 1) {
    return Cat({Str(magic), U16(containerVersion), U32(formatId), U16(version)});
}
Bytes File(std::initializer_list<Bytes> children, unsigned long formatId = 21) {
    return Cat({Header(formatId), Container(0, children), Str("lsdf")});
}

Bytes ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// ---- where the writer writes to ----

struct MemorySink {
    LSizedArray<unsigned char> bytes;
    LOutputStreamByteArray stream{bytes};
    MemorySink() { stream.Open(); }
    Bytes Finish() { return Bytes(bytes.begin(), bytes.end()); }
};
template <class S, unsigned long Buffer = 0> struct FileSink {
    kvtest::TempDir dir;
    S stream;
    FileSink() {
        if constexpr (Buffer != 0)
            stream.GetFile().SetBufferSize(Buffer);
        stream.Open(dir.File("out.kvp").c_str());
    }
    Bytes Finish() {
        stream.Close();
        return ReadAll(dir.File("out.kvp"));
    }
};

// Every chunk type, nested, byte for byte; the file streams are held to the
// same bytes in BufferedFilesHoldTheUnbufferedBytes.
TEST(SDFWriting, EveryChunkTypeNestedIsByteExact) {
    MemorySink empty;
    LSDFWriter<LOutputStreamByteArray> e;
    ASSERT_TRUE(e.Open(empty.stream, 21, 0));
    ASSERT_TRUE(e.Close());
    EXPECT_EQ(empty.Finish(), File({}));

    MemorySink sink;
    LSDFWriter<decltype(sink.stream)> w;
    ASSERT_TRUE(w.Open(sink.stream, 21, 7));
    w.StartChunk(1, 0, -1);
    w.WriteInt(1000, -2);
    w.WriteBool(2000, true);
    w.WriteBool(2016, false);
    w.WriteFloat(1008, 1.5f);
    w.WriteString(1003, "ab");
    w.WriteString(2025, "");
    w.WriteString(2015, nullptr);
    const unsigned char blob[] = {1, 2, 3};
    w.WriteBlob(2022, blob, 3);
    w.WriteBlob(2023, nullptr, 0);
    w.StartContainer(3);
    w.StartContainer(4);
    w.WriteString(2006, "pen");
    w.EndContainer(4);
    w.StartContainer(5);
    w.EndContainer(5);
    w.EndContainer(3);
    ASSERT_TRUE(w.EndContainer(1));
    EXPECT_EQ(w.GetOpenChunkCount(), 1u);
    ASSERT_TRUE(w.Close());

    const Bytes expected = Cat(
        {Header(21, 7),
         Container(0, {Container(1, {Int(1000, -2), Chunk(2000, 1, {1}), Chunk(2016, 1, {0}),
                                     Chunk(1008, 4, {0x00, 0x00, 0xC0, 0x3F}),
                                     Chunk(1003, 6, Str(std::string("ab\0", 3))),
                                     Chunk(2025, 6, {0}), Chunk(2015, 6, {0}),
                                     Chunk(2022, 7, {1, 2, 3}), Chunk(2023, 7, {}),
                                     Container(3, {Container(4, {Chunk(2006, 6, Str(std::string(
                                                                                  "pen\0", 4)))}),
                                                   Container(5, {})})})}),
         Str("lsdf")});
    EXPECT_EQ(sink.Finish(), expected);
}

TEST(SDFWriting, UnknownChunksGoBackInPlaceByIndex) {
    LList<LSDFUnknownChunk> unknown;
    for (int index : {0, 1, 3, 4, 9}) {
        auto* u = new LSDFUnknownChunk;
        u->id = static_cast<unsigned short>(900 + index);
        u->type = 2;
        u->index = index;
        if (index != 4) // one without data, which is dropped
            u->data.Append(static_cast<unsigned char>(index));
        unknown.PushBack(u);
    }
    MemorySink sink;
    LSDFWriter<decltype(sink.stream)> w;
    ASSERT_TRUE(w.Open(sink.stream, 21, 0));
    w.StartContainer(7, unknown, -1);
    w.WriteInt(1000, 5, 2);
    w.WriteInt(1001, 6, 5);
    w.EndContainer(7);
    ASSERT_TRUE(w.Close());
    EXPECT_EQ(unknown.GetCount(), 5u) << "the caller's list is left as it was";
    EXPECT_EQ(sink.Finish(),
              File({Container(7, {Chunk(900, 2, {0}), Chunk(901, 2, {1}), Int(1000, 5),
                                  Chunk(903, 2, {3}), Int(1001, 6), Chunk(909, 2, {9})})}));
}

// An output that takes a given number of bytes and then fails, counting the
// writes it is asked for.
class FailingBase {
public:
    bool IsOpen() const { return true; }
    unsigned long WriteBase(const void*, unsigned long n) {
        ++calls;
        const unsigned long take = n < budget ? n : budget;
        budget -= take;
        position += take;
        size = std::max(size, position);
        return take;
    }
    bool SeekOffset64(unsigned long long to, int) {
        position = to;
        return true;
    }
    unsigned long long Tell64() const { return position; }
    unsigned long long GetFileSizeBytes64() const { return size; }
    bool Flush() { return true; }

    unsigned long budget = 0;
    int calls = 0;
    unsigned long long position = 0, size = 0;
};
using FailingStream = LOutputStream<FailingBase>;

TEST(SDFWriter, AfterAFailedWriteEverythingIsANoOpAndCloseAnswersTrue) {
    FailingStream s;
    // Header, root, one int with the patch of its size, part of the next header.
    s.budget = 12 + 12 + (12 + 4 + 8) + 5;
    LSDFWriter<FailingStream> w;
    ASSERT_TRUE(w.Open(s, 21, 0));
    EXPECT_TRUE(w.WriteInt(1000, 1));
    EXPECT_FALSE(w.WriteInt(1001, 2));
    EXPECT_FALSE(w.IsOk());
    const int calls = s.calls;
    EXPECT_FALSE(w.StartContainer(3));
    EXPECT_FALSE(w.WriteString(1003, "x"));
    EXPECT_FALSE(w.EndContainer(3));
    EXPECT_EQ(s.calls, calls) << "no write after the failure";
    EXPECT_TRUE(w.Close()) << "the caller is the one to check";
    EXPECT_EQ(s.calls, calls);
}

TEST(SDFWriter, AClosedStreamOrAFullDiskIsReported) {
    LSizedArray<unsigned char> bytes;
    LOutputStreamByteArray closed(bytes);
    LSDFWriter<LOutputStreamByteArray> w;
    EXPECT_FALSE(w.Open(closed, 21, 0));
    EXPECT_FALSE(w.WriteInt(1, 1));
    EXPECT_EQ(bytes.GetSize(), 0u);

    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no /dev/full";
    LOutputStreamFile s;
    ASSERT_TRUE(s.Open("/dev/full"));
    LSDFWriter<LOutputStreamFile> fw;
    ASSERT_TRUE(fw.Open(s, 21, 0));
    ASSERT_TRUE(fw.WriteInt(1000, 1)); // still in the buffer
    EXPECT_FALSE(fw.Close());
}

// Large enough to cross the buffer many times, with blobs larger than it.
template <class S> void WriteMixedTree(S& s) {
    LSDFWriter<S> w;
    ASSERT_TRUE(w.Open(s, 21, 0));
    std::string blob(150000, 'b');
    for (int i = 0; i < 400; ++i) {
        w.StartContainer(static_cast<unsigned short>(i % 7));
        for (int j = 0; j < i % 5; ++j) {
            w.StartContainer(9);
            w.WriteFloat(1010, static_cast<float>(i));
            w.WriteFloat(1011, static_cast<float>(j));
            w.EndContainer(9);
        }
        w.WriteString(1003, blob.substr(0, (i * 131) % 900).c_str());
        if (i % 97 == 3)
            w.WriteBlob(2022, blob.data(), blob.size() - i);
        w.EndContainer(static_cast<unsigned short>(i % 7));
    }
    ASSERT_TRUE(w.Close());
}

TEST(SDFWriter, BufferedFilesHoldTheUnbufferedBytes) {
    MemorySink memory;
    WriteMixedTree(memory.stream);
    const Bytes expected = memory.Finish();
    FileSink<LOutputStreamFileUnbuffered> plain;
    WriteMixedTree(plain.stream);
    EXPECT_EQ(plain.Finish(), expected);
    FileSink<LOutputStreamFile> buffered;
    WriteMixedTree(buffered.stream);
    EXPECT_EQ(buffered.Finish(), expected);
    FileSink<LOutputStreamFile, 16> small;
    WriteMixedTree(small.stream);
    EXPECT_EQ(small.Finish(), expected);
}

// ---- where the reader reads from ----

template <class S> struct Source;
template <> struct Source<LInputStreamBuffer> {
    explicit Source(Bytes b) : bytes(std::move(b)) { stream.Open(bytes.data(), bytes.size()); }
    Bytes bytes;
    LInputStreamBuffer stream;
};
template <> struct Source<LInputStreamFile> {
    explicit Source(const Bytes& b) {
        kvtest::WriteFile(dir.File("in.kvp"), std::string(b.begin(), b.end()));
        stream.Open(dir.File("in.kvp").c_str());
    }
    kvtest::TempDir dir;
    LInputStreamFile stream;
};

template <class S> class SDFReading : public testing::Test {};
using Streams = testing::Types<LInputStreamBuffer, LInputStreamFile>;
TYPED_TEST_SUITE(SDFReading, Streams);

TYPED_TEST(SDFReading, OpenRefusesWhatIsNotThisFormat) {
    const Bytes root = Container(0, {});
    const Bytes header = Header();
    const Bytes bad[] = {
        Cat({Header(21, 0, "fdsl"), root, Str("lsdf")}),   // reversed magic
        Cat({Header(21, 0, "lsdf", 2), root, Str("lsdf")}), // container version
        File({}, 22),                                       // another format
        Cat({Header(), Container(1, {}), Str("lsdf")}),     // root id
        Cat({Header(), Chunk(0, 2, {}), Str("lsdf")}),      // root type
        Bytes(),
        Bytes(header.begin(), header.begin() + 11),
        Cat({header, Bytes(root.begin(), root.begin() + 11)}),
    };
    for (std::size_t i = 0; i < std::size(bad); ++i) {
        Source<TypeParam> src(bad[i]);
        LSDFReader<TypeParam> r;
        EXPECT_FALSE(r.Open(src.stream, 21)) << "case " << i;
        EXPECT_FALSE(r.IsOk()) << "case " << i;
        LSDFReaderChunkIterator<TypeParam> it(r);
        EXPECT_FALSE(it.IsValid()) << "case " << i;
    }

    TypeParam closed;
    LSDFReader<TypeParam> r;
    EXPECT_FALSE(r.Open(closed, 21));

    // Any version of the format is accepted.
    Source<TypeParam> src(Cat({Header(21, 7), Container(0, {}), Str("lsdf")}));
    ASSERT_TRUE(r.Open(src.stream, 21));
    EXPECT_EQ(r.GetFormatVersion(), 7);
    EXPECT_TRUE(r.Close());
}

// A reader that knows 1 > 3 > 1000 and 1 > 1001 and skips everything else.
template <class S> std::vector<int> ReadKnown(LSDFReader<S>& r) {
    std::vector<int> got;
    for (LSDFReaderChunkIterator<S> it(r); it.IsValid() && r.IsOk(); it.Next()) {
        if (it->id != 1) {
            it->Skip();
            continue;
        }
        for (LSDFReaderChunkIterator<S> in(r, it.Get()); in.IsValid() && r.IsOk(); in.Next()) {
            int v = -1;
            if (in->id == 1001 && in->ReadInt(v)) {
                got.push_back(v);
            } else if (in->id == 3) {
                for (LSDFReaderChunkIterator<S> deep(r, in.Get()); deep.IsValid() && r.IsOk();
                     deep.Next()) {
                    if (deep->id == 1000 && deep->ReadInt(v))
                        got.push_back(v);
                    else
                        deep->Skip();
                }
            } else {
                in->Skip();
            }
        }
    }
    return got;
}

TYPED_TEST(SDFReading, UnknownIdsAreSkippedWithTheirSubtreesAtEveryLevel) {
    const Bytes deepUnknown = Container(77, {Container(1, {Int(1001, 666)}), Int(1000, 666)});
    Source<TypeParam> src(
        File({deepUnknown, Chunk(55, 7, Str("blob")),
              Container(1, {Int(99, 666), Container(98, {deepUnknown, Int(1001, 666)}),
                            Container(3, {Int(1001, 666), Int(1000, 42), deepUnknown}),
                            Chunk(2, 6, Str(std::string("s\0", 2))), Int(1001, 7)}),
              deepUnknown}));
    LSDFReader<TypeParam> r;
    ASSERT_TRUE(r.Open(src.stream, 21));
    EXPECT_EQ(ReadKnown(r), (std::vector<int>{42, 7}));
    EXPECT_TRUE(r.IsOk());
    EXPECT_TRUE(r.Close());
}

TYPED_TEST(SDFReading, IteratorsOverScalarsAreInvalidAndEmptyContainersEndAtOnce) {
    Source<TypeParam> src(File({Int(1000, 3), Container(3, {}), Int(1001, 4)}));
    LSDFReader<TypeParam> r;
    ASSERT_TRUE(r.Open(src.stream, 21));
    LSDFReaderChunkIterator<TypeParam> it(r);
    ASSERT_TRUE(it.IsValid());
    EXPECT_FALSE(LSDFReaderChunkIterator<TypeParam>(r, it.Get()).IsValid());
    int v = 0;
    ASSERT_TRUE(it->ReadInt(v) && v == 3);
    ASSERT_TRUE(it.Next());
    const unsigned long long at = src.stream.Tell64();
    EXPECT_FALSE(LSDFReaderChunkIterator<TypeParam>(r, it.Get()).IsValid());
    EXPECT_EQ(src.stream.Tell64(), at);
    ASSERT_TRUE(it.Next() && it->ReadInt(v));
    EXPECT_EQ(v, 4);
    EXPECT_FALSE(it.Next());
    EXPECT_TRUE(r.Close());
}

TYPED_TEST(SDFReading, TheTrailerMustFollowTheRootDirectly) {
    const Bytes body = Cat({Header(), Container(0, {Int(1, 5)})});
    const Bytes files[] = {
        Cat({body, Str("fdsl")}),           // other bytes
        body,                               // no trailer at all
        Cat({body, Str("xlsdf")}),          // something between
        Cat({body, Str("lsd")}),            // a trailer cut short
    };
    for (std::size_t i = 0; i < std::size(files); ++i) {
        Source<TypeParam> src(files[i]);
        LSDFReader<TypeParam> r;
        ASSERT_TRUE(r.Open(src.stream, 21));
        int v = 0;
        LSDFReaderChunkIterator<TypeParam> it(r);
        ASSERT_TRUE(it.IsValid() && it->ReadInt(v));
        EXPECT_EQ(v, 5) << "everything was read before the test";
        EXPECT_FALSE(it.Next());
        EXPECT_FALSE(r.Close()) << "case " << i;
        EXPECT_TRUE(r.Close()) << "the flag is cleared in any case";
    }
}

TYPED_TEST(SDFReading, AFileCutShortEndsTheWalkWithTheFlagFalse) {
    const Bytes whole = File({Container(1, {Int(1001, 8), Int(1001, 9)})});
    // Header, root header, container header, one int, five bytes of the next.
    Source<TypeParam> src(Bytes(whole.begin(), whole.begin() + 12 + 12 + 12 + 16 + 5));
    LSDFReader<TypeParam> r;
    ASSERT_TRUE(r.Open(src.stream, 21));
    EXPECT_EQ(ReadKnown(r), (std::vector<int>{8}));
    EXPECT_FALSE(r.IsOk());
    EXPECT_TRUE(r.Close()); // as far as it goes, the load has no error

    // Cut inside a scalar's data: the value keeps its default.
    const Bytes one = File({Int(1001, 8)});
    Source<TypeParam> cut(Bytes(one.begin(), one.begin() + 12 + 12 + 12 + 2));
    LSDFReader<TypeParam> r2;
    ASSERT_TRUE(r2.Open(cut.stream, 21));
    LSDFReaderChunkIterator<TypeParam> it(r2);
    ASSERT_TRUE(it.IsValid());
    int v = 31;
    EXPECT_FALSE(it->ReadInt(v));
    EXPECT_EQ(v, 31);
    EXPECT_FALSE(it.Next());
    EXPECT_FALSE(r2.IsOk());
}

TYPED_TEST(SDFReading, StringsCountTheirNulAndStopAtTheField) {
    const std::string longText(300, 'x');
    Source<TypeParam> src(File({Chunk(1, 6, {0}), Chunk(2, 6, Str(std::string("hello\0", 6))),
                                Chunk(3, 6, {}), Chunk(4, 6, Cat({Str(longText), {0}})),
                                Int(5, 77), Chunk(6, 6, Str("abc")), Chunk(7, 6, Str("abc"))}));
    LSDFReader<TypeParam> r;
    ASSERT_TRUE(r.Open(src.stream, 21));
    LSDFReaderChunkIterator<TypeParam> it(r);
    LStringLongTemplate<char> s("old");
    ASSERT_TRUE(it.IsValid() && it->ReadString(s));
    EXPECT_EQ(s, "");
    ASSERT_TRUE(it.Next() && it->ReadString(s));
    EXPECT_EQ(s, "hello");
    EXPECT_EQ(s.GetLength(), 5u);
    ASSERT_TRUE(it.Next() && it->ReadString(s));
    EXPECT_EQ(s, "");

    // 300 bytes into a 260-byte field: 259 kept, the rest dropped, and the
    // chunk behind it still read right.
    char field[260 + 8];
    std::memset(field, '#', sizeof field);
    ASSERT_TRUE(it.Next() && it->ReadString(field));
    EXPECT_EQ(std::strlen(field), 259u);
    EXPECT_EQ(field[260], '#') << "nothing written past the field";
    int v = 0;
    ASSERT_TRUE(it.Next() && it->ReadInt(v));
    EXPECT_EQ(v, 77);

    // A string without its NUL still ends in one.
    std::memset(field, '#', sizeof field);
    ASSERT_TRUE(it.Next() && it->ReadString(field));
    EXPECT_STREQ(field, "abc");
    char tiny[3];
    ASSERT_TRUE(it.Next() && it->ReadString(tiny, sizeof tiny));
    EXPECT_STREQ(tiny, "ab");
    EXPECT_FALSE(it.Next());
    EXPECT_TRUE(r.Close());
}

TYPED_TEST(SDFReading, DataOfImpossibleSizesIsRefusedWithoutTakingMemory) {
    const Bytes hugeBlob = Cat({U16(2022), U16(7), U64(1ull << 40), Str("tiny")});
    const Bytes hugeString = Cat({U16(2015), U16(6), U64(~0ull), Str("tiny")});
    const Bytes upperBits = Cat({U16(2022), U16(7), U64((1ull << 32) + 2), Str("ab")});
    const Bytes cases[] = {hugeBlob, hugeString, upperBits};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        Source<TypeParam> src(Cat({Header(), Chunk(0, 0, cases[i]), Str("lsdf")}));
        LSDFReader<TypeParam> r;
        ASSERT_TRUE(r.Open(src.stream, 21));
        LSDFReaderChunkIterator<TypeParam> it(r);
        ASSERT_TRUE(it.IsValid());
        if (i == 1) {
            LStringLongTemplate<char> s("old");
            EXPECT_FALSE(it->ReadString(s));
            EXPECT_TRUE(s.IsEmpty());
        } else {
            LSizedArray<unsigned char> data;
            data.Append(1);
            EXPECT_FALSE(it->ReadData(data)) << "case " << i;
            EXPECT_TRUE(data.IsEmpty()) << "case " << i;
        }
        // Walking on ends, never loops.
        while (it.Next())
            it->Skip();
        EXPECT_TRUE(r.Close() || !r.IsOk());
    }

    Source<TypeParam> src(File({Chunk(2022, 7, {}), Chunk(2022, 7, {9, 8, 7})}));
    LSDFReader<TypeParam> r;
    ASSERT_TRUE(r.Open(src.stream, 21));
    LSDFReaderChunkIterator<TypeParam> it(r);
    LSizedArray<unsigned char> data;
    data.Append(1);
    ASSERT_TRUE(it.IsValid() && it->ReadData(data));
    EXPECT_TRUE(data.IsEmpty());
    ASSERT_TRUE(it.Next() && it->ReadData(data));
    EXPECT_EQ(Bytes(data.begin(), data.end()), (Bytes{9, 8, 7}));
    EXPECT_TRUE(r.Close());
}

TYPED_TEST(SDFReading, HugeSizesInHeadersEndTheWalkWithoutLooping) {
    // A skipped chunk that claims everything, and a container that claims more
    // than 64 bits can add to its offset.
    const Bytes cases[] = {
        Cat({Header(), Chunk(0, 0, Cat({U16(9), U16(7), U64(~0ull), Int(1001, 1)})), Str("lsdf")}),
        Cat({Header(), Chunk(0, 0, Cat({U16(1), U16(0), U64(~0ull - 3), Int(1001, 1)})),
             Str("lsdf")}),
        Cat({Header(), U16(0), U16(0), U64(~0ull), Int(1001, 1), Str("lsdf")}),
    };
    for (const Bytes& file : cases) {
        Source<TypeParam> src(file);
        LSDFReader<TypeParam> r;
        ASSERT_TRUE(r.Open(src.stream, 21));
        ReadKnown(r);
        r.Close();
        EXPECT_EQ(src.stream.GetRemainingBytes64(), 0u);
    }
}

} // namespace

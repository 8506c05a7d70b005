// The chunk writer driven by a script, into memory and into a file the input
// picks: the program's buffered file (with one of four buffer sizes) or the
// plain file, held in memory. Both must hold the same bytes, and reading them
// back must give the tree that was written.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "foundation/sdf.h"

namespace {

constexpr int kMaxDepth = 24;
// A script of some hundred steps already nests as deep as the writer allows
// and passes every buffer many times; a longer one only costs time, in system
// calls of the plain file above all. The rest of a longer input is ignored.
constexpr std::size_t kMaxScript = 1024;
// Blobs come small (across the small buffers) or a little larger than the
// largest buffer; all of them together stay under twice that.
constexpr std::size_t kLargestBlob = LWriteFileBuffered::kDefaultBufferSize + 4096;
constexpr std::size_t kBlobBudget = 2 * LWriteFileBuffered::kDefaultBufferSize;

// What was written, and what was read back, as one flat record; the data by
// their digest, so that a blob is not copied into the record.
struct Event {
    char what; // '(' a container opens, ')' it closes, 's' a scalar
    unsigned short id;
    unsigned short type;
    kvfuzz::Digest data;
    bool operator==(const Event& o) const {
        return what == o.what && id == o.id && type == o.type && data == o.data;
    }
};

kvfuzz::Digest DigestOf(const void* p, std::size_t n) {
    kvfuzz::Digest d;
    d.AddBytes(p, n);
    return d;
}

const std::string& Filler() {
    static const std::string text = [] {
        std::string t(kLargestBlob, 'a');
        for (std::size_t i = 0; i < t.size(); ++i)
            t[i] = static_cast<char>('a' + (i * 7 + i / 26) % 26);
        return t;
    }();
    return text;
}

template <class S> std::vector<Event> Run(S& stream, const std::uint8_t* data, std::size_t size) {
    std::vector<Event> log;
    LSDFWriter<S> w;
    if (!w.Open(stream, 21, 0))
        kvfuzz::Fail("the writer cannot open its stream");
    std::vector<unsigned short> open;
    std::size_t blobBudget = kBlobBudget;
    kvfuzz::Script script(data, size);
    auto scalar = [&](unsigned short id, unsigned short type, const void* p, std::size_t n) {
        log.push_back({'s', id, type, DigestOf(p, n)});
    };
    while (!script.AtEnd()) {
        const std::uint8_t op = script.U8();
        const unsigned short id = script.U16();
        switch (op % 7) {
        case 0:
            if (open.size() < kMaxDepth) {
                w.StartContainer(id);
                open.push_back(id);
                log.push_back({'(', id, 0, {}});
            }
            break;
        case 1:
            if (!open.empty()) {
                w.EndContainer(open.back());
                open.pop_back();
                log.push_back({')', 0, 0, {}});
            }
            break;
        case 2: {
            const std::uint32_t v = script.U32();
            w.WriteInt(id, static_cast<int>(v));
            unsigned char b[4];
            LPutUInt32LE(b, v);
            scalar(id, LSDFChunkInt, b, 4);
            break;
        }
        case 3: {
            const bool v = script.U8() & 1;
            w.WriteBool(id, v);
            const unsigned char b = v;
            scalar(id, LSDFChunkBool, &b, 1);
            break;
        }
        case 4: {
            const std::uint32_t bits = script.U32();
            float v;
            std::memcpy(&v, &bits, 4);
            w.WriteFloat(id, v);
            unsigned char b[4];
            LPutUInt32LE(b, bits);
            scalar(id, LSDFChunkFloat, b, 4);
            break;
        }
        case 5: {
            const std::string s = Filler().substr(0, script.U16() % 2000);
            w.WriteString(id, s.c_str());
            scalar(id, LSDFChunkString, s.c_str(), s.size() + 1);
            break;
        }
        default: {
            const std::size_t wanted = script.U16();
            std::size_t n = op & 0x80 ? 4096 + wanted : wanted & 0x3FF;
            n = n < blobBudget ? n : blobBudget;
            blobBudget -= n;
            w.WriteBlob(id, Filler().data(), n);
            scalar(id, LSDFChunkBlob, Filler().data(), n);
            break;
        }
        }
        if (!w.IsOk())
            kvfuzz::Fail("a write failed");
    }
    while (!open.empty()) {
        w.EndContainer(open.back());
        open.pop_back();
        log.push_back({')', 0, 0, {}});
    }
    if (!w.Close())
        kvfuzz::Fail("the writer could not close");
    return log;
}

template <class S>
void ReadBack(LSDFReader<S>& r, const LSDFChunkInfo<S>& parent, std::vector<Event>& log, int depth) {
    for (LSDFReaderChunkIterator<S> it(r, parent); it.IsValid() && r.IsOk(); it.Next()) {
        LSDFReaderChunk<S>& c = it.Get();
        if (c.IsContainer() && depth < kMaxDepth) {
            log.push_back({'(', c.id, 0, {}});
            ReadBack(r, c, log, depth + 1);
            log.push_back({')', 0, 0, {}});
        } else {
            LSizedArray<unsigned char> bytes;
            c.ReadData(bytes);
            log.push_back({'s', c.id, c.type, DigestOf(bytes.Data(), bytes.GetSize())});
        }
    }
}

// Runs the script into `stream` over `file` and checks that the file then
// holds what memory holds.
template <class S>
void WriteFileLikeMemory(S& stream, const kvfuzz::MemoryFile& file, const std::uint8_t* data,
                         std::size_t size, const LSizedArray<unsigned char>& memory) {
    if (!stream.Open(file.Path()))
        kvfuzz::Fail("the output file cannot be opened");
    Run(stream, data, size);
    if (!stream.Close())
        kvfuzz::Fail("the output file cannot be closed");
    if (!file.Holds(memory.Data(), memory.GetSize()))
        kvfuzz::Fail("the file differs from memory");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    // The first byte picks the file written beside memory: the buffered file
    // with one of four buffer sizes, or the plain file. One file an input,
    // not all of them: their system calls were most of an input's time.
    static const unsigned long kBuffers[] = {16, 100, 4096, LWriteFileBuffered::kDefaultBufferSize};
    const unsigned kind = data[0] % 5;
    ++data;
    --size;
    size = size < kMaxScript ? size : kMaxScript;

    LSizedArray<unsigned char> memory;
    LOutputStreamByteArray toMemory(memory);
    toMemory.Open();
    const std::vector<Event> written = Run(toMemory, data, size);

    static kvfuzz::MemoryFile file;
    if (file.IsUsable()) {
        if (kind < 4) {
            LOutputStreamFile buffered;
            buffered.GetFile().SetBufferSize(kBuffers[kind]);
            WriteFileLikeMemory(buffered, file, data, size, memory);
        } else {
            LOutputStreamFileUnbuffered plain;
            WriteFileLikeMemory(plain, file, data, size, memory);
        }
    }

    LInputStreamBuffer in(memory.Data(), memory.GetSize());
    LSDFReader<LInputStreamBuffer> reader;
    if (!reader.Open(in, 21))
        kvfuzz::Fail("what was written cannot be opened");
    std::vector<Event> read;
    ReadBack(reader, reader.GetRootChunk(), read, 0);
    if (!reader.IsOk() || !reader.Close())
        kvfuzz::Fail("what was written does not read back cleanly");
    if (read != written)
        kvfuzz::Fail("what was read back differs from what was written");
    return 0;
}

// The three input streams side by side over the same bytes: memory, the
// buffered file and the plain file. A script of reads, peeks, seeks and typed
// reads drives them together; every answer and every position must agree.
//
// Input: a 16-bit length L, a script length N, N script bytes, then a seed
// that is stretched to L bytes, so that small inputs make files that cross
// the read buffer many times.

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "fuzz_support.h"

namespace {

struct Answer {
    std::uint64_t value = 0;
    std::uint64_t position = 0;
    // What a read gave, in a block of exactly the size asked for and left
    // uninitialised: a write past it is caught, and none of it is cleared for
    // nothing (three streams times reads of up to 32 kB, cleared and copied,
    // were once most of an input's time).
    std::unique_ptr<unsigned char[]> bytes;
    unsigned long count = 0;
    bool operator==(const Answer& o) const {
        return value == o.value && position == o.position && count == o.count &&
               (count == 0 || std::memcmp(bytes.get(), o.bytes.get(), count) == 0);
    }
};

template <class S> Answer Step(S& s, std::uint8_t op, std::uint16_t arg) {
    Answer a;
    switch (op % 6) {
    case 0:
    case 1: {
        // Small reads most of the time, some of them across the 256-byte switch.
        const unsigned long n = (arg & 0x8000) ? (arg & 0x7FFF) : (arg & 0x1FF);
        a.bytes.reset(new unsigned char[n + !n]);
        const unsigned long got = op % 6 == 0 ? s.Read(a.bytes.get(), n) : s.Peek(a.bytes.get(), n);
        if (got > n)
            kvfuzz::Fail("more bytes than asked for");
        a.count = got;
        a.value = got;
        break;
    }
    case 2:
        a.value = s.SeekOffset64(static_cast<unsigned long long>(arg) * 8, LSeekFromCurrent);
        break;
    case 3:
        a.value = s.SeekOffset64(arg & 1 ? ~0ull : static_cast<unsigned long long>(arg) * 4,
                                 LSeekFromStart);
        break;
    case 4: {
        bool ok = false;
        switch (arg % 12) {
        case 0: { unsigned char v = 0; ok = s.ReadUInt8(v); a.value = v; break; }
        case 1: { unsigned short v = 0; ok = s.ReadUInt16LE(v); a.value = v; break; }
        case 2: { short v = 0; ok = s.ReadSInt16LE(v); a.value = static_cast<std::uint64_t>(v); break; }
        case 3: { unsigned int v = 0; ok = s.ReadUInt32LE(v); a.value = v; break; }
        case 4: { int v = 0; ok = s.ReadSInt32LE(v); a.value = static_cast<std::uint64_t>(v); break; }
        case 5: { unsigned long long v = 0; ok = s.ReadUInt64LE(v); a.value = v; break; }
        case 6: { unsigned short v = 0; ok = s.ReadUInt16BE(v); a.value = v; break; }
        case 7: { short v = 0; ok = s.ReadSInt16BE(v); a.value = static_cast<std::uint64_t>(v); break; }
        case 8: { unsigned int v = 0; ok = s.ReadUInt32BE(v); a.value = v; break; }
        case 9: { int v = 0; ok = s.ReadSInt32BE(v); a.value = static_cast<std::uint64_t>(v); break; }
        case 10: { unsigned long long v = 0; ok = s.ReadUInt64BE(v); a.value = v; break; }
        default: { float v = 0; ok = s.ReadFloatLE(v); std::memcpy(&a.value, &v, 4); break; }
        }
        a.value = a.value * 2 + ok;
        break;
    }
    default:
        a.value = s.GetRemainingBytes64();
        break;
    }
    a.position = s.Tell64();
    if (a.position > s.GetFileSizeBytes64())
        kvfuzz::Fail("a position beyond the end");
    return a;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvfuzz::Script head(data, size);
    const std::size_t length = head.U16();
    const std::size_t scriptLength = head.U8() * 3u;
    const std::size_t scriptStart = head.Position();
    const std::size_t seedStart = scriptStart + scriptLength < size ? scriptStart + scriptLength : size;

    // Copy after copy of the seed, each one changed by its number. Without
    // a seed the file holds zeros.
    std::vector<unsigned char> content(length);
    const std::size_t seedSize = size - seedStart;
    for (std::size_t at = 0, copy = 0; seedSize && at < length; ++copy)
        for (std::size_t j = 0; j < seedSize && at < length; ++j, ++at)
            content[at] = static_cast<unsigned char>(data[seedStart + j] ^ copy);

    static kvfuzz::MemoryFile file;
    if (!file.IsUsable() || !file.Set(content.data(), content.size()))
        return 0;
    LInputStreamBuffer memory(content.data(), content.size());
    LInputStreamFile buffered;
    LInputStreamFileUnbuffered plain;
    if (!buffered.Open(file.Path()) || !plain.Open(file.Path()))
        kvfuzz::Fail("the input file cannot be opened");

    kvfuzz::Script script(data + scriptStart, seedStart - scriptStart);
    while (!script.AtEnd()) {
        const std::uint8_t op = script.U8();
        const std::uint16_t arg = script.U16();
        const Answer a = Step(memory, op, arg);
        if (!(Step(buffered, op, arg) == a))
            kvfuzz::Fail("the buffered file stream differs from memory");
        if (!(Step(plain, op, arg) == a))
            kvfuzz::Fail("the plain file stream differs from memory");
    }
    return 0;
}

#pragma once
// The byte-level view the format libraries get of our streams. Each library
// wants callbacks of its own shape; they all land here, so that every
// decoder and encoder is compiled once for files and memory alike.
//
// Offsets count from where the picture begins: a reader placed in the middle
// of a stream (a picture inside another file) sees its picture at 0.

#include <algorithm>

#include "foundation/array.h"
#include "foundation/stream.h"

class LImageCodecInput {
public:
    virtual ~LImageCodecInput() = default;
    // The bytes read, fewer only at the end or on a failure.
    virtual unsigned long Read(void* buffer, unsigned long count) = 0;
    // Clamped to the size; false only when the stream failed.
    virtual bool Seek(unsigned long long offset) = 0;
    virtual unsigned long long Tell() = 0;
    virtual unsigned long long GetSize() = 0;

    unsigned long long GetRemaining() {
        const unsigned long long size = GetSize(), at = Tell();
        return at < size ? size - at : 0;
    }
    // All that is left, if it is at most `limit` bytes.
    bool ReadRest(LSizedArray<unsigned char>& out, unsigned long long limit) {
        const unsigned long long n = GetRemaining();
        if (n > limit)
            return false;
        out.SetSize(static_cast<unsigned long>(n));
        return Read(out.Data(), static_cast<unsigned long>(n)) == n;
    }
};

class LImageCodecOutput {
public:
    virtual ~LImageCodecOutput() = default;
    virtual bool Write(const void* buffer, unsigned long count) = 0;
    // A place beyond the end is reached by writing zeros up to it: libraries
    // that align what they write next expect the gap to be there.
    virtual bool Seek(unsigned long long offset) = 0;
    virtual unsigned long long Tell() = 0;
    virtual unsigned long long GetSize() = 0;
};

template <class Stream> class LImageCodecStreamInput : public LImageCodecInput {
public:
    explicit LImageCodecStreamInput(Stream& stream) : stream(stream), base(stream.Tell64()) {}

    unsigned long Read(void* buffer, unsigned long count) override {
        return stream.Read(buffer, count);
    }
    bool Seek(unsigned long long offset) override {
        return stream.SeekOffset64(base + std::min(offset, GetSize()), LSeekFromStart);
    }
    unsigned long long Tell() override { return stream.Tell64() - base; }
    unsigned long long GetSize() override {
        const unsigned long long size = stream.GetFileSizeBytes64();
        return size > base ? size - base : 0;
    }

private:
    Stream& stream;
    const unsigned long long base;
};

template <class Stream> class LImageCodecStreamOutput : public LImageCodecOutput {
public:
    explicit LImageCodecStreamOutput(Stream& stream) : stream(stream), base(stream.Tell64()) {}

    bool Write(const void* buffer, unsigned long count) override {
        return stream.WriteAll(buffer, count);
    }
    bool Seek(unsigned long long offset) override {
        const unsigned long long size = GetSize();
        if (offset <= size)
            return stream.SeekOffset64(base + offset, LSeekFromStart);
        if (!stream.SeekOffset64(base + size, LSeekFromStart))
            return false;
        static const unsigned char zeros[256] = {};
        for (unsigned long long gap = offset - size; gap;) {
            const unsigned long n = static_cast<unsigned long>(std::min<unsigned long long>(gap, sizeof zeros));
            if (!stream.WriteAll(zeros, n))
                return false;
            gap -= n;
        }
        return true;
    }
    unsigned long long Tell() override { return stream.Tell64() - base; }
    unsigned long long GetSize() override {
        const unsigned long long size = stream.GetFileSizeBytes64();
        return size > base ? size - base : 0;
    }

private:
    Stream& stream;
    const unsigned long long base;
};

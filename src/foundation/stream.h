#pragma once
// Typed, endian-explicit access on top of a byte-level base, so that every
// format is written once and works on a file and on memory alike.
//
// An input base gives IsOpen, ReadBase, PeekBase, SeekOffset64, Tell64 and
// GetFileSizeBytes64; an output base gives IsOpen, WriteBase, SeekOffset64,
// Tell64, GetFileSizeBytes64 and Flush. Seeks never go before the start or
// past the end of what is there: a position taken from a file is clamped,
// never trusted, and clamping is not a failure (SeekOffset64 is false only on
// a closed stream or a failing file).

#include <cstdint>
#include <cstring>

#include "foundation/array.h"
#include "foundation/string.h"

enum LSeekFrom : int {
    LSeekFromCurrent = 0,
    LSeekFromStart = 1,
};

// Byte order is spelled out byte by byte, so the same code holds on a machine
// of either order.
inline void LPutUInt16LE(unsigned char* p, std::uint16_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}
inline void LPutUInt32LE(unsigned char* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}
inline void LPutUInt64LE(unsigned char* p, std::uint64_t v) {
    for (int i = 0; i < 8; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}
inline void LPutUInt16BE(unsigned char* p, std::uint16_t v) {
    p[0] = static_cast<unsigned char>(v >> 8);
    p[1] = static_cast<unsigned char>(v);
}
inline void LPutUInt32BE(unsigned char* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * (3 - i)));
}
inline void LPutUInt64BE(unsigned char* p, std::uint64_t v) {
    for (int i = 0; i < 8; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * (7 - i)));
}
inline std::uint16_t LGetUInt16LE(const unsigned char* p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
inline std::uint32_t LGetUInt32LE(const unsigned char* p) {
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i)
        v = (v << 8) | p[i];
    return v;
}
inline std::uint64_t LGetUInt64LE(const unsigned char* p) {
    std::uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | p[i];
    return v;
}
inline std::uint16_t LGetUInt16BE(const unsigned char* p) {
    return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}
inline std::uint32_t LGetUInt32BE(const unsigned char* p) {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
        v = (v << 8) | p[i];
    return v;
}
inline std::uint64_t LGetUInt64BE(const unsigned char* p) {
    std::uint64_t v = 0;
    for (int i = 0; i < 8; ++i)
        v = (v << 8) | p[i];
    return v;
}

// Small copies are single moves: a typed field costs no call to memcpy.
inline void LCopySmall(void* dst, const void* src, unsigned long n) {
    switch (n) {
    case 0:
        break;
    case 1:
        *static_cast<unsigned char*>(dst) = *static_cast<const unsigned char*>(src);
        break;
    case 2: {
        std::uint16_t v;
        std::memcpy(&v, src, 2);
        std::memcpy(dst, &v, 2);
        break;
    }
    case 4: {
        std::uint32_t v;
        std::memcpy(&v, src, 4);
        std::memcpy(dst, &v, 4);
        break;
    }
    case 8: {
        std::uint64_t v;
        std::memcpy(&v, src, 8);
        std::memcpy(dst, &v, 8);
        break;
    }
    default:
        std::memcpy(dst, src, n);
    }
}

// The target of a seek, clamped to 0..size; from the current position the
// offset only moves forward, so a huge value lands at the end.
inline unsigned long long LSeekTarget(unsigned long long position, unsigned long long size,
                                      unsigned long long offset, int from) {
    if (from == LSeekFromStart)
        return offset < size ? offset : size;
    if (position >= size)
        return size;
    return offset < size - position ? position + offset : size;
}

// A typed read returns false when fewer bytes were there, and leaves the
// destination as it was then.
template <class Base> class LInputStream : public Base {
public:
    using Base::Base;

    unsigned long Read(void* buffer, unsigned long count) { return this->ReadBase(buffer, count); }
    unsigned long Peek(void* buffer, unsigned long count) { return this->PeekBase(buffer, count); }
    bool SeekOffset(long offset, int from = LSeekFromCurrent) {
        return offset >= 0 && this->SeekOffset64(static_cast<unsigned long long>(offset), from);
    }
    // Bytes between the position and the end: the bound for any size read
    // from the stream before memory is given to it.
    unsigned long long GetRemainingBytes64() {
        const unsigned long long size = this->GetFileSizeBytes64();
        const unsigned long long position = this->Tell64();
        return position < size ? size - position : 0;
    }

    bool ReadUInt8(unsigned char& v) { return this->ReadBase(&v, 1) == 1; }
    bool ReadUInt16LE(unsigned short& v) { return Get<2>(v, LGetUInt16LE); }
    bool ReadSInt16LE(short& v) { return GetSigned<2>(v, LGetUInt16LE); }
    bool ReadUInt32LE(unsigned int& v) { return Get<4>(v, LGetUInt32LE); }
    bool ReadSInt32LE(int& v) { return GetSigned<4>(v, LGetUInt32LE); }
    bool ReadUInt64LE(unsigned long long& v) { return Get<8>(v, LGetUInt64LE); }
    bool ReadUInt16BE(unsigned short& v) { return Get<2>(v, LGetUInt16BE); }
    bool ReadSInt16BE(short& v) { return GetSigned<2>(v, LGetUInt16BE); }
    bool ReadUInt32BE(unsigned int& v) { return Get<4>(v, LGetUInt32BE); }
    bool ReadSInt32BE(int& v) { return GetSigned<4>(v, LGetUInt32BE); }
    bool ReadUInt64BE(unsigned long long& v) { return Get<8>(v, LGetUInt64BE); }
    bool ReadFloatLE(float& v) {
        unsigned int bits;
        if (!ReadUInt32LE(bits))
            return false;
        std::memcpy(&v, &bits, 4);
        return true;
    }
    bool ReadDoubleLE(double& v) {
        unsigned long long bits;
        if (!ReadUInt64LE(bits))
            return false;
        std::memcpy(&v, &bits, 8);
        return true;
    }

private:
    template <unsigned N, class T, class F> bool Get(T& v, F decode) {
        unsigned char b[N];
        if (this->ReadBase(b, N) != N)
            return false;
        v = static_cast<T>(decode(b));
        return true;
    }
    // Two's complement by value, not by a cast of an out-of-range number.
    template <unsigned N, class T, class F> bool GetSigned(T& v, F decode) {
        unsigned char b[N];
        if (this->ReadBase(b, N) != N)
            return false;
        const auto u = decode(b);
        constexpr unsigned long long half = 1ull << (8 * N - 1);
        v = u < half ? static_cast<T>(u)
                     : static_cast<T>(static_cast<long long>(u - half) -
                                      static_cast<long long>(half));
        return true;
    }
};

// A typed write returns false on a short write.
template <class Base> class LOutputStream : public Base {
public:
    using Base::Base;

    unsigned long Write(const void* buffer, unsigned long count) {
        return this->WriteBase(buffer, count);
    }
    bool WriteAll(const void* buffer, unsigned long count) {
        return this->WriteBase(buffer, count) == count;
    }

    bool WriteUInt8(unsigned char v) { return WriteAll(&v, 1); }
    bool WriteUInt16LE(unsigned short v) { return Put<2>(v, LPutUInt16LE); }
    bool WriteSInt16LE(short v) { return Put<2>(static_cast<unsigned short>(v), LPutUInt16LE); }
    bool WriteUInt32LE(unsigned int v) { return Put<4>(v, LPutUInt32LE); }
    bool WriteSInt32LE(int v) { return Put<4>(static_cast<unsigned int>(v), LPutUInt32LE); }
    bool WriteUInt64LE(unsigned long long v) { return Put<8>(v, LPutUInt64LE); }
    bool WriteUInt16BE(unsigned short v) { return Put<2>(v, LPutUInt16BE); }
    bool WriteSInt16BE(short v) { return Put<2>(static_cast<unsigned short>(v), LPutUInt16BE); }
    bool WriteUInt32BE(unsigned int v) { return Put<4>(v, LPutUInt32BE); }
    bool WriteSInt32BE(int v) { return Put<4>(static_cast<unsigned int>(v), LPutUInt32BE); }
    bool WriteUInt64BE(unsigned long long v) { return Put<8>(v, LPutUInt64BE); }
    bool WriteFloatLE(float v) {
        unsigned int bits;
        std::memcpy(&bits, &v, 4);
        return WriteUInt32LE(bits);
    }
    bool WriteDoubleLE(double v) {
        unsigned long long bits;
        std::memcpy(&bits, &v, 8);
        return WriteUInt64LE(bits);
    }

private:
    template <unsigned N, class T, class F> bool Put(T v, F encode) {
        unsigned char b[N];
        encode(b, v);
        return WriteAll(b, N);
    }
};

// Reads bytes that someone else owns; they must outlive the stream.
class LInputStreamBufferBase {
public:
    LInputStreamBufferBase() = default;
    LInputStreamBufferBase(const void* data, unsigned long long size) { Open(data, size); }

    // Null data is accepted only with size 0, as an empty stream.
    bool Open(const void* data, unsigned long long size);
    void Close();
    bool IsOpen() const { return start != nullptr; }

    unsigned long ReadBase(void* buffer, unsigned long count);
    unsigned long PeekBase(void* buffer, unsigned long count) const;
    bool SeekOffset64(unsigned long long offset, int from = LSeekFromCurrent);
    unsigned long long Tell64() const { return size - remaining; }
    unsigned long long GetFileSizeBytes64() const { return size; }

private:
    const unsigned char* start = nullptr;
    unsigned long long size = 0;
    const unsigned char* current = nullptr;
    unsigned long long remaining = 0;
};

class LInputStreamBuffer : public LInputStream<LInputStreamBufferBase> {
public:
    using LInputStream<LInputStreamBufferBase>::LInputStream;
};

// Writes into a growing byte array that the caller owns. Writing inside what
// is there overwrites; writing at the end appends.
class LOutputStreamByteArrayBase {
public:
    explicit LOutputStreamByteArrayBase(LSizedArray<unsigned char>& bytes) : bytes(bytes) {}

    // Empties the array and writes from its start.
    bool Open();
    // Keeps the array and writes behind its end.
    bool OpenAppend();
    bool Close();
    bool IsOpen() const { return open; }

    unsigned long WriteBase(const void* buffer, unsigned long count);
    bool SeekOffset64(unsigned long long offset, int from = LSeekFromCurrent);
    unsigned long long Tell64() const { return position; }
    unsigned long long GetFileSizeBytes64() const { return bytes.GetSize(); }
    bool Flush() { return open; }

private:
    LSizedArray<unsigned char>& bytes;
    unsigned long long position = 0;
    bool open = false;
};

class LOutputStreamByteArray : public LOutputStream<LOutputStreamByteArrayBase> {
public:
    using LOutputStream<LOutputStreamByteArrayBase>::LOutputStream;
};

// Hands out a copy of a text piece by piece, byte for byte: no character set
// conversion takes place.
class LStringStream {
public:
    explicit LStringStream(const LStringLongTemplate<char>& text) : text(text) {}

    // Appends up to `count` bytes from the read position to `out`; true when
    // `count` is not zero, whether or not anything was left to give.
    bool ReadLongT(LStringLongTemplate<char>& out, unsigned long count);
    unsigned long GetPosition() const { return position; }
    unsigned long GetLength() const { return text.GetLength(); }
    bool IsAtEnd() const { return position >= text.GetLength(); }

private:
    LStringLongTemplate<char> text;
    unsigned long position = 0;
};

#pragma once
// The chunk container of the project file and the clipboard: a tree of typed,
// length-prefixed chunks, all numbers little-endian.
//
//   file header   "lsdf", container version 1 (u16), format id (u32), format version (u16)
//   chunk header  id (u16), type (u16), size of the data that follow (u64)
//   root chunk    id 0, type 0, holding every other chunk
//   trailer       "lsdf" again, right behind the root's end
//
// Readers dispatch on the id and skip ids they do not know with everything
// under them, so fields can be added without a new format. Only the parent's
// type 0 is ever tested; the type of a scalar is written faithfully but not
// trusted.
//
// Writer and reader are templates over the stream: any output stream with
// WriteBase, SeekOffset64, Tell64 and Flush; any input stream of stream.h.

#include "foundation/array.h"
#include "foundation/file.h"
#include "foundation/list.h"
#include "foundation/stream.h"
#include "foundation/string.h"

constexpr unsigned int kLSDFMagic = 0x6664736Cu; // "lsdf" in the file
constexpr unsigned short kLSDFContainerVersion = 1;
constexpr unsigned long kLSDFFileHeaderSize = 12;
constexpr unsigned long kLSDFChunkHeaderSize = 12;
constexpr unsigned short kLSDFNoId = 0xFFFF;

enum LSDFChunkType : unsigned short {
    LSDFChunkContainer = 0,
    LSDFChunkBool = 1,
    LSDFChunkInt = 2,
    LSDFChunkFloat = 4,
    LSDFChunkString = 6,
    LSDFChunkBlob = 7,
};

// A chunk carried through a save unread, to be written back at `index` among
// its siblings.
struct LSDFUnknownChunk : LListLink<LSDFUnknownChunk> {
    unsigned short id = 0;
    unsigned short type = 0;
    LSizedArray<unsigned char> data;
    int index = -1;
};

template <class S> struct LSDFChunkInfo {
    unsigned short id = kLSDFNoId;
    unsigned short type = kLSDFNoId;
    // Where the data begin, right behind the header, and how many bytes follow.
    unsigned long long offset = 0;
    unsigned long long size = 0;
    int index = -1;
    // The first unknown chunk still to be written into this one (writer only).
    const LSDFUnknownChunk* unknown = nullptr;

    bool IsContainer() const { return type == LSDFChunkContainer; }
};

// A chunk with the stream behind it, so that whoever reads a chunk can reach
// the stream. Scalars are read in the width the caller expects, from where the
// stream stands; the size field of a scalar is not looked at.
template <class S> class LSDFReaderChunk : public LSDFChunkInfo<S> {
public:
    LSDFReaderChunk() = default;
    explicit LSDFReaderChunk(S* stream) : stream(stream) {}

    S* GetStream() const { return stream; }
    void SetStream(S* s) { stream = s; }

    bool ReadInt(int& v) { return stream && stream->ReadSInt32LE(v); }
    bool ReadBool(bool& v) {
        unsigned char b;
        if (!stream || !stream->ReadUInt8(b))
            return false;
        v = b != 0;
        return true;
    }
    bool ReadFloat(float& v) { return stream && stream->ReadFloatLE(v); }
    bool ReadDouble(double& v) { return stream && stream->ReadDoubleLE(v); }

    // The whole chunk, its last byte (the NUL) dropped. A chunk larger than
    // what is left of the stream is refused before any memory is taken.
    bool ReadString(LStringLongTemplate<char>& out);
    // Into a field of `fieldSize` bytes: what does not fit is skipped, and the
    // field always ends in a NUL.
    bool ReadString(char* field, unsigned long fieldSize = kLFixedStringSize);
    // The whole chunk as bytes; empty and false when it cannot all be there.
    bool ReadData(LSizedArray<unsigned char>& out);
    // Moves the stream past the data, from where it stands.
    bool Skip() { return stream && stream->SeekOffset64(this->size, LSeekFromCurrent); }

private:
    // A size that cannot be satisfied consumes the rest of the stream, as the
    // read that tried would have, without the memory for it.
    bool Refuse() {
        stream->SeekOffset64(stream->GetRemainingBytes64(), LSeekFromCurrent);
        return false;
    }

    S* stream = nullptr;
};

// Writes a container. After the first failed write every call is a no-op and
// the ok flag stays false; Close then answers true, so a caller that needs to
// know asks the stream (whose Close reports a failed write) as well.
template <class S> class LSDFWriter {
public:
    bool Open(S& stream, unsigned long formatId, unsigned short formatVersion);
    bool Open(S& stream, unsigned long formatId, unsigned short formatVersion,
              const LList<LSDFUnknownChunk>& unknown);
    bool Close();
    bool IsOk() const { return ok; }
    S* GetStream() const { return stream; }
    unsigned long GetOpenChunkCount() const { return stack.GetCount(); }

    bool StartChunk(unsigned short id, unsigned short type, int index = -1);
    // Closes the innermost chunk; the id is not checked.
    bool EndChunk(unsigned short id);
    bool StartContainer(unsigned short id, int index = -1) {
        return StartContainer(id, nullptr, index);
    }
    bool StartContainer(unsigned short id, const LList<LSDFUnknownChunk>& unknown,
                        int index = -1) {
        return StartContainer(id, unknown.GetFirst(), index);
    }
    bool EndContainer(unsigned short id);

    bool WriteInt(unsigned short id, int value, int index = -1);
    bool WriteBool(unsigned short id, bool value, int index = -1);
    bool WriteFloat(unsigned short id, float value, int index = -1);
    // The bytes and the terminating NUL; null writes the empty string.
    bool WriteString(unsigned short id, const char* text, int index = -1);
    bool WriteBlob(unsigned short id, const void* bytes, unsigned long size, int index = -1);
    bool WriteUnknownChunk(const LSDFUnknownChunk& chunk);

private:
    bool StartContainer(unsigned short id, const LSDFUnknownChunk* unknown, int index);
    bool Put(const void* bytes, unsigned long count);
    bool WriteScalar(unsigned short id, unsigned short type, const void* bytes,
                     unsigned long count, int index);

    S* stream = nullptr;
    bool ok = false;
    unsigned short formatVersion = 0;
    LArray<LSDFChunkInfo<S>> stack;
};

template <class S> class LSDFReader {
public:
    // Refuses a stream that is not open, a short header, a wrong magic, a
    // container version other than 1, another format id and a root that is
    // not id 0 of type 0. Any format version is accepted.
    bool Open(S& stream, unsigned long formatId);
    // Reads the next chunk header where the stream stands.
    bool StartNextChunk(LSDFChunkInfo<S>& info);
    // The trailer test: true only if the magic follows. With the flag already
    // false, true.
    bool Close();

    bool IsOk() const { return ok; }
    S* GetStream() const { return stream; }
    unsigned short GetFormatVersion() const { return formatVersion; }
    LSDFReaderChunk<S>& GetRootChunk() { return root; }

private:
    S* stream = nullptr;
    bool ok = false;
    unsigned short containerVersion = 0;
    unsigned short formatVersion = 0;
    LSDFReaderChunk<S> root;
};

// Walks the children of a container, from where the stream stands to the
// container's end. Next does not seek: whoever handles a chunk leaves the
// stream behind it, by reading it or by Skip.
template <class S> class LSDFReaderChunkIterator {
public:
    explicit LSDFReaderChunkIterator(LSDFReader<S>& reader)
        : LSDFReaderChunkIterator(reader, reader.GetRootChunk()) {}
    LSDFReaderChunkIterator(LSDFReader<S>& reader, const LSDFChunkInfo<S>& parent);

    bool IsValid() const { return valid; }
    bool Next();
    LSDFReaderChunk<S>& Get() { return current; }
    LSDFReaderChunk<S>* operator->() { return &current; }
    unsigned long GetCount() const { return count; }

private:
    bool StartNextChunk();

    LSDFReader<S>* reader;
    LSDFReaderChunk<S> current;
    unsigned long long start = 0;
    unsigned long long end = 0;
    unsigned long count = 0;
    bool valid = false;
};

// ---- chunk ----

template <class S> bool LSDFReaderChunk<S>::ReadString(LStringLongTemplate<char>& out) {
    out.Clear();
    if (!stream)
        return false;
    if (this->size == 0)
        return true;
    if (this->size > stream->GetRemainingBytes64())
        return Refuse();
    const auto n = static_cast<unsigned long>(this->size);
    out.SetLength(n);
    const unsigned long got = stream->Read(out.Data(), n);
    if (got != n) {
        out.SetLength(got);
        return false;
    }
    out.SetLength(n - 1);
    return true;
}

template <class S> bool LSDFReaderChunk<S>::ReadString(char* field, unsigned long fieldSize) {
    if (!field || !fieldSize)
        return false;
    field[0] = '\0';
    if (!stream)
        return false;
    const unsigned long room = fieldSize - 1;
    const unsigned long want = this->size < room ? static_cast<unsigned long>(this->size) : room;
    const unsigned long got = stream->Read(field, want);
    field[got] = '\0';
    if (got != want)
        return false;
    // A valid file holds at most the field's size with its NUL: the rest of a
    // longer one is dropped.
    const unsigned long long rest = this->size - want;
    if (rest > stream->GetRemainingBytes64())
        return Refuse();
    return stream->SeekOffset64(rest, LSeekFromCurrent);
}

template <class S> bool LSDFReaderChunk<S>::ReadData(LSizedArray<unsigned char>& out) {
    out.Clear();
    if (!stream)
        return false;
    if (this->size == 0)
        return true;
    const unsigned long long low = this->size & 0xFFFFFFFFull;
    if ((this->size >> 32) != 0) {
        stream->SeekOffset64(low, LSeekFromCurrent);
        return false;
    }
    if (low > stream->GetRemainingBytes64())
        return Refuse();
    out.SetSize(static_cast<unsigned long>(low));
    if (stream->Read(out.Data(), static_cast<unsigned long>(low)) != low) {
        out.Clear();
        return false;
    }
    return true;
}

// ---- writer ----

template <class S> bool LSDFWriter<S>::Put(const void* bytes, unsigned long count) {
    if (ok && stream->WriteBase(bytes, count) != count)
        ok = false;
    return ok;
}

template <class S>
bool LSDFWriter<S>::Open(S& s, unsigned long formatId, unsigned short version) {
    const LList<LSDFUnknownChunk> none;
    return Open(s, formatId, version, none);
}

template <class S>
bool LSDFWriter<S>::Open(S& s, unsigned long formatId, unsigned short version,
                         const LList<LSDFUnknownChunk>& unknown) {
    stream = &s;
    ok = true;
    formatVersion = version;
    stack.Clear();
    if (!s.IsOpen()) {
        ok = false;
        return false;
    }
    unsigned char header[kLSDFFileHeaderSize];
    LPutUInt32LE(header, kLSDFMagic);
    LPutUInt16LE(header + 4, kLSDFContainerVersion);
    LPutUInt32LE(header + 6, static_cast<std::uint32_t>(formatId));
    LPutUInt16LE(header + 10, version);
    if (!Put(header, sizeof header))
        return false;
    return StartContainer(0, unknown, -1);
}

template <class S>
bool LSDFWriter<S>::StartChunk(unsigned short id, unsigned short type, int index) {
    if (!ok)
        return false;
    if (index != -1 && stack.GetCount()) {
        const unsigned long open = stack.GetCount() - 1;
        while (ok && stack[open].unknown && stack[open].unknown->index < index) {
            const LSDFUnknownChunk* chunk = stack[open].unknown;
            stack[open].unknown = chunk->GetNext();
            WriteUnknownChunk(*chunk);
        }
    }
    unsigned char header[kLSDFChunkHeaderSize];
    LPutUInt16LE(header, id);
    LPutUInt16LE(header + 2, type);
    LPutUInt64LE(header + 4, 0);
    if (!Put(header, sizeof header))
        return false;
    LSDFChunkInfo<S> info;
    info.id = id;
    info.type = type;
    info.offset = stream->Tell64();
    stack.Add(info);
    return true;
}

template <class S> bool LSDFWriter<S>::EndChunk(unsigned short /*id*/) {
    if (!ok || !stack.GetCount())
        return false;
    const unsigned long long begin = stack[stack.GetCount() - 1].offset;
    stack.SetCount(stack.GetCount() - 1);
    const unsigned long long end = stream->Tell64();
    if (begin < 8 || end < begin) {
        ok = false;
        return false;
    }
    unsigned char size[8];
    LPutUInt64LE(size, end - begin);
    if (!stream->SeekOffset64(begin - 8, LSeekFromStart) || !Put(size, 8) ||
        !stream->SeekOffset64(end, LSeekFromStart))
        ok = false;
    return ok;
}

template <class S>
bool LSDFWriter<S>::StartContainer(unsigned short id, const LSDFUnknownChunk* unknown, int index) {
    if (!StartChunk(id, LSDFChunkContainer, index))
        return false;
    const unsigned long open = stack.GetCount() - 1;
    stack[open].unknown = unknown;
    // Chunks that stood first, at 0, 1, 2 and on without a gap, go first again.
    for (int expected = 0; ok && stack[open].unknown; ++expected) {
        const LSDFUnknownChunk* chunk = stack[open].unknown;
        if (chunk->index != expected)
            break;
        stack[open].unknown = chunk->GetNext();
        WriteUnknownChunk(*chunk);
    }
    return ok;
}

template <class S> bool LSDFWriter<S>::EndContainer(unsigned short id) {
    if (!ok || !stack.GetCount())
        return false;
    const unsigned long open = stack.GetCount() - 1;
    while (ok && stack[open].unknown) {
        const LSDFUnknownChunk* chunk = stack[open].unknown;
        stack[open].unknown = chunk->GetNext();
        WriteUnknownChunk(*chunk);
    }
    return EndChunk(id);
}

template <class S>
bool LSDFWriter<S>::WriteScalar(unsigned short id, unsigned short type, const void* bytes,
                                unsigned long count, int index) {
    return StartChunk(id, type, index) && Put(bytes, count) && EndChunk(id);
}

template <class S> bool LSDFWriter<S>::WriteInt(unsigned short id, int value, int index) {
    unsigned char b[4];
    LPutUInt32LE(b, static_cast<std::uint32_t>(value));
    return WriteScalar(id, LSDFChunkInt, b, 4, index);
}

template <class S> bool LSDFWriter<S>::WriteBool(unsigned short id, bool value, int index) {
    const unsigned char b = value ? 1 : 0;
    return WriteScalar(id, LSDFChunkBool, &b, 1, index);
}

template <class S> bool LSDFWriter<S>::WriteFloat(unsigned short id, float value, int index) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, 4);
    unsigned char b[4];
    LPutUInt32LE(b, bits);
    return WriteScalar(id, LSDFChunkFloat, b, 4, index);
}

template <class S>
bool LSDFWriter<S>::WriteString(unsigned short id, const char* text, int index) {
    if (!text)
        text = "";
    return WriteScalar(id, LSDFChunkString, text, static_cast<unsigned long>(std::strlen(text)) + 1,
                       index);
}

template <class S>
bool LSDFWriter<S>::WriteBlob(unsigned short id, const void* bytes, unsigned long size,
                              int index) {
    if (!bytes && size)
        return ok = false;
    return WriteScalar(id, LSDFChunkBlob, bytes, size, index);
}

template <class S> bool LSDFWriter<S>::WriteUnknownChunk(const LSDFUnknownChunk& chunk) {
    if (!ok || chunk.data.IsEmpty())
        return ok;
    return WriteScalar(chunk.id, chunk.type, chunk.data.Data(), chunk.data.GetSize(), chunk.index);
}

template <class S> bool LSDFWriter<S>::Close() {
    if (!ok)
        return true;
    EndContainer(0);
    stack.Clear();
    unsigned char trailer[4];
    LPutUInt32LE(trailer, kLSDFMagic);
    Put(trailer, 4);
    // The buffer is written out here, so that a disk that fails at the end is
    // still reported by this call.
    const bool result = ok && stream->Flush();
    ok = false;
    return result;
}

// ---- reader ----

template <class S> bool LSDFReader<S>::Open(S& s, unsigned long formatId) {
    stream = &s;
    ok = true;
    root = LSDFReaderChunk<S>(&s);
    unsigned char header[kLSDFFileHeaderSize];
    if (!s.IsOpen() || s.Read(header, sizeof header) != sizeof header ||
        LGetUInt32LE(header) != kLSDFMagic || LGetUInt16LE(header + 4) != kLSDFContainerVersion ||
        LGetUInt32LE(header + 6) != formatId) {
        ok = false;
        return false;
    }
    containerVersion = LGetUInt16LE(header + 4);
    formatVersion = LGetUInt16LE(header + 10);
    if (!StartNextChunk(root) || root.id != 0 || root.type != LSDFChunkContainer) {
        ok = false;
        return false;
    }
    return true;
}

template <class S> bool LSDFReader<S>::StartNextChunk(LSDFChunkInfo<S>& info) {
    if (!ok)
        return false;
    unsigned char header[kLSDFChunkHeaderSize];
    if (stream->Read(header, sizeof header) != sizeof header) {
        ok = false;
        return false;
    }
    info.id = LGetUInt16LE(header);
    info.type = LGetUInt16LE(header + 2);
    info.size = LGetUInt64LE(header + 4);
    info.offset = stream->Tell64();
    return true;
}

template <class S> bool LSDFReader<S>::Close() {
    if (!ok)
        return true;
    ok = false;
    unsigned char trailer[4];
    return stream->Read(trailer, 4) == 4 && LGetUInt32LE(trailer) == kLSDFMagic;
}

// ---- iterator ----

template <class S>
LSDFReaderChunkIterator<S>::LSDFReaderChunkIterator(LSDFReader<S>& r,
                                                    const LSDFChunkInfo<S>& parent)
    : reader(&r), current(r.GetStream()) {
    if (!r.IsOk() || parent.type != LSDFChunkContainer)
        return;
    start = parent.offset;
    // A size beyond what 64 bits can reach ends at the last position.
    end = parent.size > ~0ull - start ? ~0ull : start + parent.size;
    valid = true;
    Next();
}

template <class S> bool LSDFReaderChunkIterator<S>::Next() {
    if (!valid)
        return false;
    if (!reader->IsOk())
        valid = false;
    else
        valid = StartNextChunk();
    return valid;
}

template <class S> bool LSDFReaderChunkIterator<S>::StartNextChunk() {
    if (reader->GetStream()->Tell64() >= end)
        return false;
    ++count;
    return reader->StartNextChunk(current);
}

// The program's own forms are compiled once, in the library.
extern template class LSDFReaderChunk<LInputStreamFile>;
extern template class LSDFWriter<LOutputStreamFile>;
extern template class LSDFReader<LInputStreamFile>;
extern template class LSDFReaderChunkIterator<LInputStreamFile>;

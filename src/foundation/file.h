#pragma once
// Files under the stream templates: plain and buffered reading, plain and
// buffered writing, temporary files and moves.
//
// Positions are kept by the objects themselves, so telling where a stream
// stands never costs a system call.

#include <memory>
#include <string>

#include "foundation/stream.h"

class LReadFile {
public:
    LReadFile() = default;
    ~LReadFile() { Close(); }
    LReadFile(const LReadFile&) = delete;
    LReadFile& operator=(const LReadFile&) = delete;

    // Closes what is open and opens for reading. A file that is busy is
    // retried for `timeoutMs`; a missing one fails at once. Folders are refused.
    bool Open(const char* path, unsigned int timeoutMs = 0);
    void Close();
    bool IsOpen() const { return fd >= 0; }

    // Until `count` bytes, the end or an error; the bytes read.
    unsigned long Read(void* buffer, unsigned long count);
    // One read of the system, as many bytes as it gives.
    unsigned long ReadOnce(void* buffer, unsigned long count);
    // Reads at the position without moving.
    unsigned long Peek(void* buffer, unsigned long count) const;
    unsigned long PeekAt(unsigned long long position, void* buffer, unsigned long count) const;
    bool SeekOffset64(unsigned long long offset, int from = LSeekFromCurrent);
    unsigned long long Tell64() const { return position; }
    // The size when the file was opened: a file being read is taken as it was.
    unsigned long long GetFileSizeBytes64() const { return size; }

private:
    int fd = -1;
    unsigned long long position = 0;
    unsigned long long size = 0;
};

// Reads through an 8192-byte buffer, so that a field of a few bytes costs a
// copy and no system call.
class LReadFileBuffered {
public:
    static constexpr unsigned long kBufferSize = 8192;
    // Larger reads that find the buffer empty go straight to the caller.
    static constexpr unsigned long kDirectReadAbove = 256;

    bool Open(const char* path, unsigned int timeoutMs = 0);
    void Close();
    bool IsOpen() const { return file.IsOpen(); }

    unsigned long Read(void* dst, unsigned long count) {
        if (count <= fill - readPos) {
            LCopySmall(dst, buffer + readPos, count);
            readPos += count;
            return count;
        }
        return ReadSlow(static_cast<unsigned char*>(dst), count);
    }
    unsigned long Peek(void* dst, unsigned long count);
    // Keeps the buffer when the target lies inside it.
    bool SeekOffset64(unsigned long long offset, int from = LSeekFromCurrent);
    unsigned long long Tell64() const { return file.Tell64() - (fill - readPos); }
    unsigned long long GetFileSizeBytes64() const { return file.GetFileSizeBytes64(); }

private:
    unsigned long ReadSlow(unsigned char* dst, unsigned long count);

    LReadFile file;
    unsigned long readPos = 0;
    unsigned long fill = 0;
    unsigned char buffer[kBufferSize];
};

// Every Write is a write of the system. After a short write the file counts
// as failed, and Close reports it.
class LWriteFile {
public:
    LWriteFile() = default;
    ~LWriteFile() { Close(); }
    LWriteFile(const LWriteFile&) = delete;
    LWriteFile& operator=(const LWriteFile&) = delete;

    // Opens for writing, replacing what was there.
    bool Open(const char* path, unsigned int timeoutMs = 0);
    // Only if the file does not exist yet.
    bool OpenNew(const char* path, unsigned int timeoutMs = 0);
    // Every write goes to the end, wherever the position stands.
    bool OpenAppendAlways(const char* path, unsigned int timeoutMs = 0);
    // Creates a file of a name no one can guess in `folder` (the temporary
    // folder when null), readable by the user only, ending in `ext` (may be
    // null), and opens it; its path goes to `path`. False if the path would
    // not fit in `pathSize` bytes.
    bool OpenTemporary(char* path, unsigned long pathSize, const char* folder = nullptr,
                       const char* ext = nullptr);
    // False if the file was not open, a write failed or the system's close did.
    bool Close();
    bool IsOpen() const { return fd >= 0; }
    bool IsAppending() const { return append; }
    bool HasFailed() const { return failed; }

    unsigned long Write(const void* buffer, unsigned long count);
    // Writes at a place without moving the position.
    unsigned long WriteAt(unsigned long long at, const void* buffer, unsigned long count);
    bool SeekOffset64(unsigned long long offset, int from = LSeekFromCurrent);
    unsigned long long Tell64() const { return position; }
    unsigned long long GetFileSizeBytes64() const { return size; }
    bool Flush() { return IsOpen() && !failed; }
    // Asks the system to put what was written on the disk; false if it fails
    // or anything failed before.
    bool Sync();

private:
    bool OpenWith(const char* path, int flags, unsigned int timeoutMs);
    void Adopt(int descriptor);

    int fd = -1;
    unsigned long long position = 0;
    unsigned long long size = 0;
    bool append = false;
    bool failed = false;
};

// Writes through a buffer. A seek back into bytes that are still buffered
// (the size of a chunk that has just ended) costs nothing; a write over bytes
// that have already left goes to the file by one positioned write and leaves
// the buffer as it is.
class LWriteFileBuffered {
public:
    static constexpr unsigned long kDefaultBufferSize = 65536;

    LWriteFileBuffered() = default;
    ~LWriteFileBuffered() { Close(); }
    LWriteFileBuffered(const LWriteFileBuffered&) = delete;
    LWriteFileBuffered& operator=(const LWriteFileBuffered&) = delete;

    // Takes effect at the next open; at least 16 bytes.
    void SetBufferSize(unsigned long bytes) { requested = bytes < 16 ? 16 : bytes; }

    bool Open(const char* path, unsigned int timeoutMs = 0);
    bool OpenNew(const char* path, unsigned int timeoutMs = 0);
    bool OpenAppendAlways(const char* path, unsigned int timeoutMs = 0);
    bool OpenTemporary(char* path, unsigned long pathSize, const char* folder = nullptr,
                       const char* ext = nullptr);
    // Writes out the buffer and closes; false if anything failed on the way.
    bool Close();
    bool IsOpen() const { return file.IsOpen(); }
    bool HasFailed() const { return file.HasFailed(); }

    unsigned long Write(const void* src, unsigned long count) {
        if (count <= limit - cursor) {
            LCopySmall(buffer.get() + cursor, src, count);
            cursor += count;
            if (cursor > filled)
                filled = cursor;
            return count;
        }
        return WriteSlow(static_cast<const unsigned char*>(src), count);
    }
    bool SeekOffset64(unsigned long long offset, int from = LSeekFromCurrent);
    unsigned long long Tell64() const { return detached ? detachedAt : start + cursor; }
    unsigned long long GetFileSizeBytes64() const;
    // Writes out what is buffered; false if anything ever failed.
    bool Flush();
    // Flush, then onto the disk.
    bool Sync() { return Flush() && file.Sync(); }

private:
    bool Started(bool opened);
    void Attach(unsigned long at);
    unsigned long WriteSlow(const unsigned char* src, unsigned long count);

    LWriteFile file;
    std::unique_ptr<unsigned char[]> buffer;
    unsigned long requested = kDefaultBufferSize;
    unsigned long capacity = 0;
    // How far the fast path may fill the buffer: its capacity while it takes
    // writes, else the cursor, which sends every write the slow way. Never
    // below the cursor.
    unsigned long limit = 0;
    // The position lies before the buffer, in bytes that have left.
    bool detached = false;
    unsigned long long detachedAt = 0;
    // The buffer holds the file's bytes from `start` on, `filled` of them;
    // the position is `cursor` bytes into it.
    unsigned long long start = 0;
    unsigned long filled = 0;
    unsigned long cursor = 0;
};

// Whole-file operations.
class LFile {
public:
    // `rename`; when the two lie on different file systems, a copy into the
    // destination's folder renamed over the destination, then an unlink of the
    // source. The destination is replaced only by a complete file.
    static bool MoveFile(const char* from, const char* to);
    // The fallback of MoveFile on its own.
    static bool MoveFileByCopy(const char* from, const char* to);
    // Creates an empty file of a name no one can guess and hands back its
    // path; the caller opens it, writes it and removes or moves it.
    static bool GetTempFilePath(char* path, unsigned long pathSize, const char* folder = nullptr);
    static bool GetTempFilePathWithExt(char* path, unsigned long pathSize, const char* ext,
                                       const char* folder = nullptr);
    static bool DeleteFile(const char* path);
    static bool Exists(const char* path);
    // A message for the user about a file that failed: the program's own
    // text, then the path and the system's reason for `error` (an errno),
    // "text\npath: No space left on device".
    static std::string ErrorText(const char* text, const char* path, int error);
    // Gives a freshly written file that is to replace `target` the target's
    // permissions, or those a new file gets when there is no target yet.
    static void GiveModeOf(const char* target, const char* fresh);
};

// Stream bases over a file type.
template <class F> class LInputStreamFileBase {
public:
    bool Open(const char* path, unsigned int timeoutMs = 0) { return file.Open(path, timeoutMs); }
    void Close() { file.Close(); }
    bool IsOpen() const { return file.IsOpen(); }

    unsigned long ReadBase(void* buffer, unsigned long count) { return file.Read(buffer, count); }
    unsigned long PeekBase(void* buffer, unsigned long count) { return file.Peek(buffer, count); }
    bool SeekOffset64(unsigned long long offset, int from = LSeekFromCurrent) {
        return file.SeekOffset64(offset, from);
    }
    unsigned long long Tell64() const { return file.Tell64(); }
    unsigned long long GetFileSizeBytes64() const { return file.GetFileSizeBytes64(); }
    F& GetFile() { return file; }

private:
    F file;
};

template <class F> class LOutputStreamFileBase {
public:
    bool Open(const char* path, unsigned int timeoutMs = 0) { return file.Open(path, timeoutMs); }
    bool OpenNew(const char* path, unsigned int timeoutMs = 0) {
        return file.OpenNew(path, timeoutMs);
    }
    bool OpenAppendAlways(const char* path, unsigned int timeoutMs = 0) {
        return file.OpenAppendAlways(path, timeoutMs);
    }
    bool OpenTemporary(char* path, unsigned long pathSize, const char* folder = nullptr,
                       const char* ext = nullptr) {
        return file.OpenTemporary(path, pathSize, folder, ext);
    }
    bool Close() { return file.Close(); }
    bool IsOpen() const { return file.IsOpen(); }
    bool HasFailed() const { return file.HasFailed(); }

    unsigned long WriteBase(const void* buffer, unsigned long count) {
        return file.Write(buffer, count);
    }
    bool SeekOffset64(unsigned long long offset, int from = LSeekFromCurrent) {
        return file.SeekOffset64(offset, from);
    }
    unsigned long long Tell64() const { return file.Tell64(); }
    unsigned long long GetFileSizeBytes64() const { return file.GetFileSizeBytes64(); }
    bool Flush() { return file.Flush(); }
    bool Sync() { return file.Sync(); }
    F& GetFile() { return file; }

private:
    F file;
};

class LInputStreamFile : public LInputStream<LInputStreamFileBase<LReadFileBuffered>> {};
class LOutputStreamFile : public LOutputStream<LOutputStreamFileBase<LWriteFileBuffered>> {};

// One system call per read or write: for comparison, and for files that are
// read once in large blocks.
class LInputStreamFileUnbuffered : public LInputStream<LInputStreamFileBase<LReadFile>> {};
class LOutputStreamFileUnbuffered : public LOutputStream<LOutputStreamFileBase<LWriteFile>> {};

#pragma once
// Shared pieces of the fuzz targets.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/file.h"

// Helpers of the harness itself gain nothing from coverage feedback (where
// the compiler lets a function be left out of it).
#if defined(__has_attribute)
#if __has_attribute(no_sanitize_coverage)
#define KV_FUZZ_NOT_TRACED __attribute__((no_sanitize_coverage))
#endif
#endif
#ifndef KV_FUZZ_NOT_TRACED
#define KV_FUZZ_NOT_TRACED
#endif

namespace kvfuzz {

// A file that lives in memory, so that the file streams can be run over an
// input without touching the disk; opened by its path like any other file.
class MemoryFile {
public:
    MemoryFile() {
        fd = memfd_create("kvfuzz", MFD_CLOEXEC);
        if (fd >= 0) {
            std::snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
            return;
        }
        // Without memfd, a private temporary file does the same job.
        LWriteFile temp;
        if (temp.OpenTemporary(path, sizeof path)) {
            temp.Close();
            fd = open(path, O_RDWR | O_CLOEXEC);
            unlinkPath = true;
        }
    }
    ~MemoryFile() {
        if (fd >= 0)
            close(fd);
        if (unlinkPath)
            unlink(path);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    bool IsUsable() const { return fd >= 0; }
    const char* Path() const { return path; }

    bool Set(const std::uint8_t* data, std::size_t size) {
        if (fd < 0 || ftruncate(fd, 0) != 0)
            return false;
        std::size_t done = 0;
        while (done < size) {
            const ssize_t n = pwrite(fd, data + done, size - done, static_cast<off_t>(done));
            if (n <= 0)
                return false;
            done += static_cast<std::size_t>(n);
        }
        return true;
    }
    // Whether the file holds exactly these bytes; read in blocks, so that
    // the comparison takes no memory of the file's size.
    bool Holds(const unsigned char* data, std::size_t size) const {
        struct stat st;
        if (fd < 0 || fstat(fd, &st) != 0 || static_cast<std::size_t>(st.st_size) != size)
            return false;
        unsigned char block[4096];
        for (std::size_t at = 0; at < size;) {
            const ssize_t n = pread(fd, block, sizeof block, static_cast<off_t>(at));
            if (n <= 0 || std::memcmp(block, data + at, static_cast<std::size_t>(n)) != 0)
                return false;
            at += static_cast<std::size_t>(n);
        }
        return true;
    }

private:
    int fd = -1;
    bool unlinkPath = false;
    char path[260] = "";
};

// A running digest of what a walk saw, to compare two walks of one input.
class Digest {
public:
    void Add(std::uint64_t v) {
        for (int i = 0; i < 8; ++i) {
            h ^= (v >> (8 * i)) & 0xFF;
            h *= 0x100000001B3ull;
        }
        ++count;
    }
    // Eight bytes a step, and outside the coverage where it can be: traced
    // byte by byte, the digest of a blob cost more than writing it.
    KV_FUZZ_NOT_TRACED void AddBytes(const void* p, std::size_t n) {
        Add(n);
        const auto* b = static_cast<const unsigned char*>(p);
        std::size_t i = 0;
        for (; i + 8 <= n; i += 8) {
            std::uint64_t word;
            std::memcpy(&word, b + i, 8);
            h = (h ^ word) * 0x100000001B3ull;
        }
        for (; i < n; ++i)
            h = (h ^ b[i]) * 0x100000001B3ull;
    }
    bool operator==(const Digest& o) const { return h == o.h && count == o.count; }
    bool operator!=(const Digest& o) const { return !(*this == o); }

private:
    std::uint64_t h = 0xCBF29CE484222325ull;
    std::uint64_t count = 0;
};

// A fault of the code under test: reported, then the process stops as a
// crash, which both the fuzzer and the replay count.
[[noreturn]] inline void Fail(const char* what) {
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    std::abort();
}

// Reads the input piece by piece; past the end, zeros.
class Script {
public:
    Script(const std::uint8_t* data, std::size_t size) : data(data), size(size) {}
    bool AtEnd() const { return at >= size; }
    std::uint8_t U8() { return at < size ? data[at++] : 0; }
    std::uint16_t U16() { return static_cast<std::uint16_t>(U8() | (U8() << 8)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(U16()) | (std::uint32_t(U16()) << 16); }
    std::size_t Position() const { return at; }

private:
    const std::uint8_t* data;
    std::size_t size;
    std::size_t at = 0;
};

} // namespace kvfuzz

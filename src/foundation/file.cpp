#include "foundation/file.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

// Errors after which the same open may work a moment later.
bool _LFileIsBusy(int error) {
    return error == ETXTBSY || error == EBUSY || error == EAGAIN || error == EMFILE ||
           error == ENFILE;
}

int _LFileOpenRetrying(const char* path, int flags, unsigned int timeoutMs) {
    if (!path || !*path) {
        errno = ENOENT;
        return -1;
    }
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const int fd = open(path, flags | O_CLOEXEC, 0666);
        if (fd >= 0)
            return fd;
        if (errno == EINTR)
            continue;
        if (!_LFileIsBusy(errno) || std::chrono::steady_clock::now() >= deadline)
            return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

// Opens like _LFileOpenRetrying and refuses a folder (errno EISDIR).
int _LFileOpenRegular(const char* path, int flags, unsigned int timeoutMs) {
    const int descriptor = _LFileOpenRetrying(path, flags, timeoutMs);
    if (descriptor < 0)
        return -1;
    struct stat st;
    if (fstat(descriptor, &st) != 0 || S_ISDIR(st.st_mode)) {
        close(descriptor);
        errno = EISDIR;
        return -1;
    }
    return descriptor;
}

// Creates `folder`/kv-XXXXXX`ext` exclusively, mode 0600; the descriptor, or -1.
int _LFileCreateUnique(char* path, unsigned long pathSize, const char* folder, const char* ext,
                       int flags) {
    if (path && pathSize)
        path[0] = '\0';
    if (!path)
        return -1;
    std::string dir = folder && *folder ? folder : "";
    if (dir.empty()) {
        const char* env = std::getenv("TMPDIR");
        dir = env && *env ? env : "/tmp";
    }
    std::string name = dir;
    if (name.back() != '/')
        name += '/';
    name += "kv-XXXXXX";
    const std::string suffix = ext ? ext : "";
    name += suffix;
    if (name.size() + 1 > pathSize) {
        errno = ENAMETOOLONG;
        return -1;
    }
    int fd;
    do
        fd = mkostemps(name.data(), static_cast<int>(suffix.size()), flags | O_CLOEXEC);
    while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return -1;
    std::memcpy(path, name.c_str(), name.size() + 1);
    return fd;
}

bool _LFileWriteAll(int fd, const unsigned char* src, unsigned long count) {
    while (count) {
        const ssize_t n = write(fd, src, count);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        src += n;
        count -= static_cast<unsigned long>(n);
    }
    return true;
}

} // namespace

// ---- reading ----

bool LReadFile::Open(const char* path, unsigned int timeoutMs) {
    Close();
    const int descriptor = _LFileOpenRegular(path, O_RDONLY, timeoutMs);
    if (descriptor < 0)
        return false;
    fd = descriptor;
    position = 0;
    struct stat st;
    size = fstat(fd, &st) == 0 && st.st_size > 0 ? static_cast<unsigned long long>(st.st_size) : 0;
    return true;
}

void LReadFile::Close() {
    if (fd >= 0)
        close(fd);
    fd = -1;
    position = size = 0;
}

unsigned long LReadFile::ReadOnce(void* buffer, unsigned long count) {
    if (fd < 0 || !count)
        return 0;
    for (;;) {
        const ssize_t n = read(fd, buffer, count);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return 0;
        position += static_cast<unsigned long long>(n);
        return static_cast<unsigned long>(n);
    }
}

unsigned long LReadFile::Read(void* buffer, unsigned long count) {
    auto* dst = static_cast<unsigned char*>(buffer);
    unsigned long got = 0;
    while (got < count) {
        const unsigned long n = ReadOnce(dst + got, count - got);
        if (!n)
            break;
        got += n;
    }
    return got;
}

unsigned long LReadFile::PeekAt(unsigned long long at, void* buffer, unsigned long count) const {
    if (fd < 0)
        return 0;
    auto* dst = static_cast<unsigned char*>(buffer);
    unsigned long got = 0;
    while (got < count) {
        const ssize_t n = pread(fd, dst + got, count - got, static_cast<off_t>(at + got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        got += static_cast<unsigned long>(n);
    }
    return got;
}

unsigned long LReadFile::Peek(void* buffer, unsigned long count) const {
    return PeekAt(position, buffer, count);
}

bool LReadFile::SeekOffset64(unsigned long long offset, int from) {
    if (fd < 0)
        return false;
    const unsigned long long target = LSeekTarget(position, size, offset, from);
    if (target == position)
        return true;
    if (lseek(fd, static_cast<off_t>(target), SEEK_SET) < 0)
        return false;
    position = target;
    return true;
}

bool LReadFileBuffered::Open(const char* path, unsigned int timeoutMs) {
    readPos = fill = 0;
    return file.Open(path, timeoutMs);
}

void LReadFileBuffered::Close() {
    readPos = fill = 0;
    file.Close();
}

unsigned long LReadFileBuffered::ReadSlow(unsigned char* dst, unsigned long count) {
    unsigned long got = 0;
    while (got < count) {
        const unsigned long available = fill - readPos;
        if (available) {
            const unsigned long n = available < count - got ? available : count - got;
            LCopySmall(dst + got, buffer + readPos, n);
            readPos += n;
            got += n;
            continue;
        }
        // A large read would only be copied twice through the buffer.
        if (count - got > kDirectReadAbove) {
            readPos = fill = 0;
            got += file.Read(dst + got, count - got);
            break;
        }
        readPos = 0;
        fill = file.ReadOnce(buffer, kBufferSize);
        if (!fill)
            break;
    }
    return got;
}

unsigned long LReadFileBuffered::Peek(void* dst, unsigned long count) {
    unsigned long available = fill - readPos;
    if (count > available && count <= kBufferSize && file.IsOpen()) {
        // Move what is left to the front and top the buffer up behind it.
        std::memmove(buffer, buffer + readPos, available);
        readPos = 0;
        fill = available;
        while (fill < count) {
            const unsigned long n = file.ReadOnce(buffer + fill, kBufferSize - fill);
            if (!n)
                break;
            fill += n;
        }
        available = fill;
    }
    if (count <= available || count <= kBufferSize) {
        const unsigned long n = count < available ? count : available;
        LCopySmall(dst, buffer + readPos, n);
        return n;
    }
    return file.PeekAt(Tell64(), dst, count);
}

bool LReadFileBuffered::SeekOffset64(unsigned long long offset, int from) {
    if (!file.IsOpen())
        return false;
    const unsigned long long here = Tell64();
    const unsigned long long target = LSeekTarget(here, GetFileSizeBytes64(), offset, from);
    const unsigned long long bufferStart = file.Tell64() - fill;
    if (target >= bufferStart && target <= file.Tell64()) {
        readPos = static_cast<unsigned long>(target - bufferStart);
        return true;
    }
    readPos = fill = 0;
    return file.SeekOffset64(target, LSeekFromStart);
}

// ---- writing ----

void LWriteFile::Adopt(int descriptor) {
    fd = descriptor;
    failed = false;
    struct stat st;
    size = fstat(fd, &st) == 0 && st.st_size > 0 ? static_cast<unsigned long long>(st.st_size) : 0;
    position = append ? size : 0;
}

bool LWriteFile::OpenWith(const char* path, int flags, unsigned int timeoutMs) {
    Close();
    const int descriptor = _LFileOpenRegular(path, flags, timeoutMs);
    if (descriptor < 0)
        return false;
    append = (flags & O_APPEND) != 0;
    Adopt(descriptor);
    return true;
}

bool LWriteFile::Open(const char* path, unsigned int timeoutMs) {
    return OpenWith(path, O_WRONLY | O_CREAT | O_TRUNC, timeoutMs);
}

bool LWriteFile::OpenNew(const char* path, unsigned int timeoutMs) {
    return OpenWith(path, O_WRONLY | O_CREAT | O_EXCL, timeoutMs);
}

bool LWriteFile::OpenAppendAlways(const char* path, unsigned int timeoutMs) {
    return OpenWith(path, O_WRONLY | O_CREAT | O_APPEND, timeoutMs);
}

bool LWriteFile::OpenTemporary(char* path, unsigned long pathSize, const char* folder,
                               const char* ext) {
    Close();
    const int descriptor = _LFileCreateUnique(path, pathSize, folder, ext, 0);
    if (descriptor < 0)
        return false;
    append = false;
    Adopt(descriptor);
    return true;
}

bool LWriteFile::Sync() {
    if (!IsOpen() || failed)
        return false;
    while (fsync(fd) != 0) {
        if (errno != EINTR) {
            failed = true;
            return false;
        }
    }
    return true;
}

bool LWriteFile::Close() {
    if (fd < 0)
        return false;
    // The system's close is where some file systems first report a full disk.
    const bool closed = close(fd) == 0;
    const bool ok = closed && !failed;
    fd = -1;
    position = size = 0;
    append = false;
    failed = false;
    return ok;
}

namespace {

// Writes until everything went or the system refuses, repeating interrupted
// calls; `call(from)` writes what lies past `from`.
template <class Call> unsigned long WriteFully(unsigned long count, bool& failed, Call call) {
    unsigned long done = 0;
    while (done < count) {
        const ssize_t n = call(done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            failed = true;
            break;
        }
        done += static_cast<unsigned long>(n);
    }
    return done;
}

} // namespace

unsigned long LWriteFile::Write(const void* buffer, unsigned long count) {
    if (fd < 0 || failed)
        return 0;
    const auto* src = static_cast<const unsigned char*>(buffer);
    const unsigned long done = WriteFully(count, failed, [&](unsigned long from) {
        return write(fd, src + from, count - from);
    });
    if (append) {
        size += done;
        position = size;
    } else {
        position += done;
        if (position > size)
            size = position;
    }
    return done;
}

unsigned long LWriteFile::WriteAt(unsigned long long at, const void* buffer, unsigned long count) {
    if (fd < 0 || failed)
        return 0;
    if (append)
        return Write(buffer, count);
    const auto* src = static_cast<const unsigned char*>(buffer);
    const unsigned long done = WriteFully(count, failed, [&](unsigned long from) {
        return pwrite(fd, src + from, count - from, static_cast<off_t>(at + from));
    });
    if (at + done > size)
        size = at + done;
    return done;
}

bool LWriteFile::SeekOffset64(unsigned long long offset, int from) {
    if (fd < 0 || append)
        return false;
    const unsigned long long target = LSeekTarget(position, size, offset, from);
    if (lseek(fd, static_cast<off_t>(target), SEEK_SET) < 0)
        return false;
    position = target;
    return true;
}

bool LWriteFileBuffered::Started(bool opened) {
    start = file.Tell64();
    filled = cursor = 0;
    limit = 0;
    detached = false;
    if (!opened)
        return false;
    if (!buffer || capacity != requested) {
        buffer.reset(new unsigned char[requested]);
        capacity = requested;
    }
    limit = capacity;
    return true;
}

bool LWriteFileBuffered::Open(const char* path, unsigned int timeoutMs) {
    Close();
    return Started(file.Open(path, timeoutMs));
}

bool LWriteFileBuffered::OpenNew(const char* path, unsigned int timeoutMs) {
    Close();
    return Started(file.OpenNew(path, timeoutMs));
}

bool LWriteFileBuffered::OpenAppendAlways(const char* path, unsigned int timeoutMs) {
    Close();
    return Started(file.OpenAppendAlways(path, timeoutMs));
}

bool LWriteFileBuffered::OpenTemporary(char* path, unsigned long pathSize, const char* folder,
                                       const char* ext) {
    Close();
    return Started(file.OpenTemporary(path, pathSize, folder, ext));
}

bool LWriteFileBuffered::Flush() {
    if (!file.IsOpen())
        return false;
    if (filled) {
        file.WriteAt(start, buffer.get(), filled);
        start += cursor;
        filled = cursor = 0;
    }
    // Nothing more is taken into the buffer once the file has failed, nor
    // while the position lies before it.
    if (detached || file.HasFailed())
        limit = 0;
    return !file.HasFailed();
}

bool LWriteFileBuffered::Close() {
    if (!file.IsOpen())
        return false;
    const bool flushed = Flush();
    const bool closed = file.Close();
    start = filled = cursor = limit = 0;
    detached = false;
    return flushed && closed;
}

void LWriteFileBuffered::Attach(unsigned long at) {
    detached = false;
    cursor = at;
    limit = file.IsOpen() && !file.HasFailed() ? capacity : at;
}

unsigned long LWriteFileBuffered::WriteSlow(const unsigned char* src, unsigned long count) {
    if (!file.IsOpen() || file.HasFailed())
        return 0;
    if (detached) {
        // What lies before the buffer goes to the file; the rest, if any,
        // lands in the buffer's first bytes.
        const unsigned long long before = start - detachedAt;
        const unsigned long direct = count < before ? count : static_cast<unsigned long>(before);
        const unsigned long done = file.WriteAt(detachedAt, src, direct);
        detachedAt += done;
        if (done < direct || direct == count)
            return done;
        Attach(0);
        return done + Write(src + done, count - done);
    }
    if (!Flush())
        return 0;
    if (count >= capacity) {
        const unsigned long done = file.WriteAt(start, src, count);
        start += done;
        return done;
    }
    std::memcpy(buffer.get(), src, count);
    cursor = filled = count;
    return count;
}

bool LWriteFileBuffered::SeekOffset64(unsigned long long offset, int from) {
    if (!file.IsOpen() || file.IsAppending())
        return false;
    const unsigned long long target = LSeekTarget(Tell64(), GetFileSizeBytes64(), offset, from);
    if (target >= start && target <= start + filled) {
        Attach(static_cast<unsigned long>(target - start));
        return true;
    }
    if (target < start) {
        detached = true;
        detachedAt = target;
        // No room at the cursor: every write goes the slow way.
        limit = cursor;
        return true;
    }
    // Past the buffer, over bytes written before a seek back.
    if (!Flush())
        return false;
    Attach(0);
    start = target;
    return true;
}

unsigned long long LWriteFileBuffered::GetFileSizeBytes64() const {
    const unsigned long long onFile = file.GetFileSizeBytes64();
    return start + filled > onFile ? start + filled : onFile;
}

// ---- whole files ----

bool LFile::MoveFile(const char* from, const char* to) {
    if (!from || !to || !*from || !*to)
        return false;
    if (rename(from, to) == 0)
        return true;
    if (errno != EXDEV)
        return false;
    return MoveFileByCopy(from, to);
}

bool LFile::MoveFileByCopy(const char* from, const char* to) {
    if (!from || !to || !*from || !*to)
        return false;
    const int in = open(from, O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return false;
    struct stat st;
    if (fstat(in, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(in);
        return false;
    }
    // The copy is made beside the destination and renamed over it, so that
    // the destination is never a half-written file.
    std::string folder = to;
    const auto slash = folder.rfind('/');
    folder = slash == std::string::npos ? "." : slash == 0 ? "/" : folder.substr(0, slash);
    std::string temp(folder.size() + 32, '\0');
    const int out = _LFileCreateUnique(temp.data(), temp.size(), folder.c_str(), nullptr, 0);
    if (out < 0) {
        close(in);
        return false;
    }
    temp.resize(std::strlen(temp.c_str()));

    bool ok = true;
    unsigned char block[65536];
    for (;;) {
        const ssize_t n = read(in, block, sizeof block);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            ok = false;
        if (n <= 0)
            break;
        if (!_LFileWriteAll(out, block, static_cast<unsigned long>(n))) {
            ok = false;
            break;
        }
    }
    close(in);
    ok = fchmod(out, st.st_mode & 07777) == 0 && ok;
    ok = close(out) == 0 && ok;
    ok = ok && rename(temp.c_str(), to) == 0;
    if (!ok) {
        unlink(temp.c_str());
        return false;
    }
    unlink(from);
    return true;
}

bool LFile::GetTempFilePath(char* path, unsigned long pathSize, const char* folder) {
    return GetTempFilePathWithExt(path, pathSize, nullptr, folder);
}

bool LFile::GetTempFilePathWithExt(char* path, unsigned long pathSize, const char* ext,
                                   const char* folder) {
    const int fd = _LFileCreateUnique(path, pathSize, folder, ext, 0);
    if (fd < 0)
        return false;
    close(fd);
    return true;
}

bool LFile::DeleteFile(const char* path) { return path && unlink(path) == 0; }

bool LFile::Exists(const char* path) {
    struct stat st;
    return path && stat(path, &st) == 0;
}

std::string LFile::ErrorText(const char* text, const char* path, int error) {
    std::string message = text ? text : "";
    if (path && *path) {
        message += '\n';
        message += path;
        if (error != 0) {
            message += ": ";
            message += std::strerror(error);
        }
    }
    return message;
}

void LFile::GiveModeOf(const char* target, const char* fresh) {
    struct stat st;
    mode_t mode = 0666;
    if (stat(target, &st) == 0) {
        mode = st.st_mode & 07777;
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode &= ~mask;
    }
    chmod(fresh, mode);
}

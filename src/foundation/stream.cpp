#include "foundation/stream.h"

namespace {
// The start of an empty stream that was given no data: open, with nothing in it.
const unsigned char kEmpty[1] = {0};
} // namespace

bool LInputStreamBufferBase::Open(const void* data, unsigned long long n) {
    if (!data && n) {
        Close();
        return false;
    }
    start = data ? static_cast<const unsigned char*>(data) : kEmpty;
    size = n;
    current = start;
    remaining = n;
    return true;
}

void LInputStreamBufferBase::Close() {
    start = current = nullptr;
    size = remaining = 0;
}

unsigned long LInputStreamBufferBase::ReadBase(void* buffer, unsigned long count) {
    const unsigned long n = count < remaining ? count : static_cast<unsigned long>(remaining);
    if (n) {
        LCopySmall(buffer, current, n);
        current += n;
        remaining -= n;
    }
    return n;
}

unsigned long LInputStreamBufferBase::PeekBase(void* buffer, unsigned long count) const {
    const unsigned long n = count < remaining ? count : static_cast<unsigned long>(remaining);
    if (n)
        LCopySmall(buffer, current, n);
    return n;
}

bool LInputStreamBufferBase::SeekOffset64(unsigned long long offset, int from) {
    if (!start)
        return false;
    const unsigned long long target = LSeekTarget(Tell64(), size, offset, from);
    current = start + target;
    remaining = size - target;
    return true;
}

bool LOutputStreamByteArrayBase::Open() {
    bytes.SetSize(0);
    position = 0;
    open = true;
    return true;
}

bool LOutputStreamByteArrayBase::OpenAppend() {
    position = bytes.GetSize();
    open = true;
    return true;
}

bool LOutputStreamByteArrayBase::Close() {
    const bool was = open;
    open = false;
    return was;
}

unsigned long LOutputStreamByteArrayBase::WriteBase(const void* buffer, unsigned long count) {
    if (!open || !count)
        return 0;
    const auto* src = static_cast<const unsigned char*>(buffer);
    const unsigned long size = bytes.GetSize();
    unsigned long inside = 0;
    if (position < size) {
        inside = count < size - position ? count : static_cast<unsigned long>(size - position);
        LCopySmall(bytes.Data() + position, src, inside);
    }
    if (inside < count)
        bytes.Append(src + inside, count - inside);
    position += count;
    return count;
}

bool LOutputStreamByteArrayBase::SeekOffset64(unsigned long long offset, int from) {
    if (!open)
        return false;
    const unsigned long long size = bytes.GetSize();
    position = LSeekTarget(position, size, offset, from);
    return true;
}

bool LStringStream::ReadLongT(LStringLongTemplate<char>& out, unsigned long count) {
    const unsigned long length = text.GetLength();
    if (position < length) {
        const unsigned long n = count < length - position ? count : length - position;
        out.Append(text.Get() + position, n);
        position += n;
    }
    return count != 0;
}

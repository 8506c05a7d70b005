#include "foundation/base64.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int _LBase64Value(unsigned char c) {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

} // namespace

void LBase64Encode(const unsigned char* data, unsigned long size, LStringLongTemplate<char>& out) {
    const unsigned long start = out.GetLength();
    out.SetLength(start + (size + 2) / 3 * 4);
    char* p = out.Data() + start;
    unsigned long i = 0;
    for (; i + 3 <= size; i += 3) {
        const unsigned v = (data[i] << 16) | (data[i + 1] << 8) | data[i + 2];
        *p++ = kAlphabet[v >> 18];
        *p++ = kAlphabet[(v >> 12) & 63];
        *p++ = kAlphabet[(v >> 6) & 63];
        *p++ = kAlphabet[v & 63];
    }
    if (i < size) {
        const bool two = i + 1 < size;
        const unsigned v = (data[i] << 16) | (two ? data[i + 1] << 8 : 0);
        *p++ = kAlphabet[v >> 18];
        *p++ = kAlphabet[(v >> 12) & 63];
        *p++ = two ? kAlphabet[(v >> 6) & 63] : '=';
        *p++ = '=';
    }
}

bool LBase64Decode(const char* text, unsigned long size, LSizedArray<unsigned char>& out) {
    out.Clear();
    if (!text)
        return size == 0;
    LSizedArray<unsigned char> bytes;
    bytes.SetSize(size / 4 * 3 + 3);
    unsigned long n = 0;
    unsigned v = 0;
    int held = 0;
    int padding = 0;
    for (unsigned long i = 0; i < size; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n')
            continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        const int d = _LBase64Value(c);
        if (d < 0 || padding)
            return false; // only blanks may follow the padding
        v = (v << 6) | static_cast<unsigned>(d);
        if (++held == 4) {
            bytes[n++] = static_cast<unsigned char>(v >> 16);
            bytes[n++] = static_cast<unsigned char>(v >> 8);
            bytes[n++] = static_cast<unsigned char>(v);
            v = 0;
            held = 0;
        }
    }
    // A lone character carries less than a byte; padding must fill the group.
    if (held == 1 || padding > 2 || (padding && held + padding != 4))
        return false;
    if (held >= 2)
        bytes[n++] = static_cast<unsigned char>(v >> (held == 2 ? 4 : 10));
    if (held == 3)
        bytes[n++] = static_cast<unsigned char>(v >> 2);
    bytes.SetSize(n);
    out = std::move(bytes);
    return true;
}

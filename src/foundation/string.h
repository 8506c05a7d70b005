#pragma once
// Text is UTF-8 in 8-bit strings. Names and paths live in fixed 260-byte
// fields, copied with truncation and always terminated.

#include <cstddef>
#include <cstring>
#include <string>

#include "foundation/list.h"

constexpr std::size_t kLFixedStringSize = 260;

// Copies at most size - 1 bytes and terminates; a null source gives "".
inline void LStrCopyTruncate(char* dst, std::size_t size, const char* src) {
    if (size == 0)
        return;
    std::size_t n = src ? std::strlen(src) : 0;
    if (n > size - 1)
        n = size - 1;
    if (n)
        std::memcpy(dst, src, n);
    dst[n] = '\0';
}

template <std::size_t N> inline void LStrCopy(char (&dst)[N], const char* src) {
    LStrCopyTruncate(dst, N, src);
}

// A growing string.
template <class C> class LStringLongTemplate {
public:
    LStringLongTemplate() = default;
    LStringLongTemplate(const C* s) : text(s ? s : "") {}

    const C* Get() const { return text.c_str(); }
    unsigned long GetLength() const { return static_cast<unsigned long>(text.size()); }
    bool IsEmpty() const { return text.empty(); }

    void Set(const C* s) { text.assign(s ? s : ""); }
    void Set(const C* s, unsigned long n) { text.assign(s, n); }
    void Append(const C* s) {
        if (s)
            text.append(s);
    }
    void Append(const C* s, unsigned long n) { text.append(s, n); }
    void Append(C c) { text.push_back(c); }
    void SetLength(unsigned long n) { text.resize(n); }
    void Clear() { text.clear(); }

    C* Data() { return text.data(); }
    const std::basic_string<C>& Str() const { return text; }

    bool operator==(const LStringLongTemplate& o) const { return text == o.text; }
    bool operator==(const C* s) const { return text == (s ? s : ""); }

private:
    std::basic_string<C> text;
};

using LStringLong = LStringLongTemplate<char>;

// A growing string that can stand in a list (the lines of a text).
class LStringLongListable : public LStringLongTemplate<char>, public LListLink<LStringLongListable> {
public:
    LStringLongListable() = default;
    explicit LStringLongListable(const char* s) : LStringLongTemplate<char>(s) {}
};

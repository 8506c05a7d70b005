#pragma once
// Between premultiplied and straight alpha, for rows of blue, green, red,
// alpha bytes. Both ways round to nearest, so that premultiplying what was
// un-premultiplied gives back the very same bytes.

#include <cstdint>

namespace LPixelAlpha {

// round(x / 255) for x up to 255 * 255.
inline unsigned Div255(unsigned x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

// round(p * 255 / a), at most 255, for every alpha and premultiplied value:
// 256 rows of 256, by alpha. Built once, on first use.
inline const std::uint8_t* GetUnpremultiplyTable() {
    struct Table {
        std::uint8_t v[256 * 256] = {}; // row 0: no alpha, no colour
        Table() {
            for (unsigned a = 1; a < 256; ++a)
                for (unsigned p = 0; p < 256; ++p) {
                    const unsigned c = (p * 255 + a / 2) / a;
                    v[a * 256 + p] = static_cast<std::uint8_t>(c > 255 ? 255 : c);
                }
        }
    };
    static const Table table;
    return table.v;
}

} // namespace LPixelAlpha

// In place; opaque pixels cost a test each.
inline void LPremultiplyRowBGRA(unsigned char* row, long count) {
    for (long i = 0; i < count; ++i, row += 4) {
        const unsigned a = row[3];
        if (a == 255)
            continue;
        row[0] = static_cast<unsigned char>(LPixelAlpha::Div255(row[0] * a));
        row[1] = static_cast<unsigned char>(LPixelAlpha::Div255(row[1] * a));
        row[2] = static_cast<unsigned char>(LPixelAlpha::Div255(row[2] * a));
    }
}

// from and to may be the same row.
inline void LUnpremultiplyRowBGRA(unsigned char* to, const unsigned char* from, long count) {
    const std::uint8_t* table = LPixelAlpha::GetUnpremultiplyTable();
    for (long i = 0; i < count; ++i, to += 4, from += 4) {
        const unsigned a = from[3];
        const std::uint8_t* t = table + a * 256;
        to[0] = t[from[0]];
        to[1] = t[from[1]];
        to[2] = t[from[2]];
        to[3] = static_cast<unsigned char>(a);
    }
}

// True when every alpha byte of the row is 255.
inline bool LIsOpaqueRowBGRA(const unsigned char* row, long count) {
    unsigned all = 255;
    for (long i = 0; i < count; ++i)
        all &= row[4 * i + 3];
    return all == 255;
}

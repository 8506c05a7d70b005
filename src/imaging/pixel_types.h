#pragma once
// One struct per pixel layout, and ConvertPixels between any two of them.
// The 16-bit rules keep their unmasked shifts: some low bits of a channel
// come from its neighbour. Saved files depend on these exact values.

#include <cstdint>
#include <type_traits>

struct LPFB8G8R8A8 {
    std::uint8_t blue, green, red, alpha;
};
struct LPFB8G8R8 {
    std::uint8_t blue, green, red;
};
struct LPFR8G8B8A8 {
    std::uint8_t red, green, blue, alpha;
};
// Bits 0-4 blue, 5-10 green, 11-15 red.
struct LPFB5G6R5 {
    std::uint16_t v;
};
// Bits 0-4 blue, 5-9 green, 10-14 red, bit 15 alpha.
struct LPFB5G5R5A1 {
    std::uint16_t v;
};
// As above, bit 15 unused.
struct LPFB5G5R5X1 {
    std::uint16_t v;
};

static_assert(sizeof(LPFB8G8R8A8) == 4 && sizeof(LPFB8G8R8) == 3 && sizeof(LPFR8G8B8A8) == 4 &&
                  sizeof(LPFB5G6R5) == 2 && sizeof(LPFB5G5R5A1) == 2 && sizeof(LPFB5G5R5X1) == 2,
              "pixel structs have no padding");

namespace LPixelDetail {

inline std::uint8_t B8(unsigned v) { return static_cast<std::uint8_t>(v); }

template <class T> constexpr bool kHas8BitChannels = false;
template <> inline constexpr bool kHas8BitChannels<LPFB8G8R8A8> = true;
template <> inline constexpr bool kHas8BitChannels<LPFB8G8R8> = true;
template <> inline constexpr bool kHas8BitChannels<LPFR8G8B8A8> = true;

template <class T> constexpr bool kHas8BitAlpha = false;
template <> inline constexpr bool kHas8BitAlpha<LPFB8G8R8A8> = true;
template <> inline constexpr bool kHas8BitAlpha<LPFR8G8B8A8> = true;

template <class T> constexpr bool kIs555 = false;
template <> inline constexpr bool kIs555<LPFB5G5R5A1> = true;
template <> inline constexpr bool kIs555<LPFB5G5R5X1> = true;

// Unpacks the 16-bit layouts to 8-bit channels, with their deliberate bleed.
struct Channels {
    std::uint8_t red, green, blue, alpha;
};
inline Channels From565(unsigned v) {
    return {B8((v >> 13) | (v >> 8)), B8(((v >> 9) & 3) | (v >> 3)), B8((v << 3) | ((v >> 2) & 7)),
            255};
}
inline Channels From555(unsigned v, bool withAlpha) {
    return {B8(((v >> 12) & 7) | (v >> 7)), B8(((v >> 7) & 7) | (v >> 2)),
            B8((v << 3) | ((v >> 2) & 7)),
            static_cast<std::uint8_t>(!withAlpha || (v & 0x8000) ? 255 : 0)};
}

template <class From> Channels Get(const From& f) {
    if constexpr (kHas8BitChannels<From>) {
        std::uint8_t a = 255;
        if constexpr (kHas8BitAlpha<From>)
            a = f.alpha;
        return {f.red, f.green, f.blue, a};
    } else if constexpr (kIs555<From>) {
        return From555(f.v, std::is_same_v<From, LPFB5G5R5A1>);
    } else {
        return From565(f.v);
    }
}

} // namespace LPixelDetail

// One pixel from one layout to another.
template <class To, class From> inline void LPixelSet(To& to, const From& from) {
    using namespace LPixelDetail;
    if constexpr (std::is_same_v<To, From>) {
        to = from;
    } else if constexpr (kIs555<To> && kIs555<From>) {
        to.v = from.v; // the alpha bit rides along either way
    } else if constexpr (std::is_same_v<To, LPFB5G6R5> && kIs555<From>) {
        const unsigned v = from.v;
        const unsigned green = ((v >> 2) & 0xFC) | ((v >> 7) & 4);
        to.v = static_cast<std::uint16_t>((((v >> 10) & 0x1F) << 11) | ((green & 0xFC) << 3) |
                                          (v & 0x1F));
    } else {
        const Channels c = Get(from);
        if constexpr (kHas8BitChannels<To>) {
            to.red = c.red;
            to.green = c.green;
            to.blue = c.blue;
            if constexpr (kHas8BitAlpha<To>)
                to.alpha = c.alpha;
        } else if constexpr (std::is_same_v<To, LPFB5G6R5>) {
            to.v = static_cast<std::uint16_t>(((c.red >> 3) << 11) | ((c.green >> 2) << 5) |
                                              (c.blue >> 3));
        } else {
            unsigned top;
            if constexpr (std::is_same_v<To, LPFB5G5R5X1>)
                top = to.v & 0x8000u; // the bit that was there stays
            else if constexpr (kHas8BitAlpha<From>)
                top = (c.alpha & 0x80u) << 8;
            else
                top = 0x8000u; // no alpha means opaque
            to.v = static_cast<std::uint16_t>(top | ((c.red >> 3) << 10) | ((c.green >> 3) << 5) |
                                              (c.blue >> 3));
        }
    }
}

// Converts count pixels, eight at a time and then the rest.
template <class To, class From>
void ConvertPixels(To* to, const From* from, unsigned long count) {
    unsigned long blocks = count / 8;
    while (blocks--) {
        LPixelSet(to[0], from[0]);
        LPixelSet(to[1], from[1]);
        LPixelSet(to[2], from[2]);
        LPixelSet(to[3], from[3]);
        LPixelSet(to[4], from[4]);
        LPixelSet(to[5], from[5]);
        LPixelSet(to[6], from[6]);
        LPixelSet(to[7], from[7]);
        to += 8;
        from += 8;
    }
    for (unsigned long i = count % 8; i; --i)
        LPixelSet(*to++, *from++);
}

// The commonest case, three bytes to four with alpha 255.
inline void ConvertPixelsRGB_To_RGBA(LPFB8G8R8A8* to, const LPFB8G8R8* from,
                                     unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) {
        to[i].blue = from[i].blue;
        to[i].green = from[i].green;
        to[i].red = from[i].red;
        to[i].alpha = 255;
    }
}

#pragma once

#include <cstdint>

// Three 16-bit channels holding an 8-bit value v as v * 256; consumers read
// only the high byte.
struct LGuiColor {
    unsigned short red = 0;
    unsigned short green = 0;
    unsigned short blue = 0;

    LGuiColor() = default;
    LGuiColor(unsigned short r, unsigned short g, unsigned short b) : red(r), green(g), blue(b) {}
    static LGuiColor FromBytes(unsigned char r, unsigned char g, unsigned char b) {
        return LGuiColor(static_cast<unsigned short>(r << 8), static_cast<unsigned short>(g << 8),
                         static_cast<unsigned short>(b << 8));
    }
    unsigned char Red8() const { return static_cast<unsigned char>(red >> 8); }
    unsigned char Green8() const { return static_cast<unsigned char>(green >> 8); }
    unsigned char Blue8() const { return static_cast<unsigned char>(blue >> 8); }
    bool operator==(const LGuiColor& o) const {
        return red == o.red && green == o.green && blue == o.blue;
    }
};

// The same channels and an 8-bit alpha, 255 opaque. The four-argument
// constructor takes bytes.
struct LGuiColorAlpha : LGuiColor {
    unsigned char alpha = 255;

    LGuiColorAlpha() = default;
    LGuiColorAlpha(unsigned char r, unsigned char g, unsigned char b, unsigned char a)
        : LGuiColor(FromBytes(r, g, b)), alpha(a) {}
    LGuiColorAlpha(const LGuiColor& c, unsigned char a) : LGuiColor(c), alpha(a) {}
    bool operator==(const LGuiColorAlpha& o) const {
        return LGuiColor::operator==(o) && alpha == o.alpha;
    }
};

// Four bytes in memory order blue, green, red, alpha; packed into 32 bits as
// alpha 24-31, red 16-23, green 8-15, blue 0-7.
struct LPixelColour {
    unsigned char blue = 0;
    unsigned char green = 0;
    unsigned char red = 0;
    unsigned char alpha = 0;

    LPixelColour() = default;
    LPixelColour(unsigned char r, unsigned char g, unsigned char b, unsigned char a)
        : blue(b), green(g), red(r), alpha(a) {}
    static LPixelColour FromPacked(std::uint32_t v) {
        return LPixelColour(static_cast<unsigned char>(v >> 16), static_cast<unsigned char>(v >> 8),
                            static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 24));
    }
    std::uint32_t GetPacked() const {
        return (std::uint32_t(alpha) << 24) | (std::uint32_t(red) << 16) |
               (std::uint32_t(green) << 8) | std::uint32_t(blue);
    }
    bool operator==(const LPixelColour& o) const { return GetPacked() == o.GetPacked(); }
};

static_assert(sizeof(LPixelColour) == 4, "LPixelColour is four bytes");

#pragma once
// Small pictures for the imaging tests: built from a function of (x, y),
// read back pixel by pixel as the picture is seen, whatever its storage.

#include <cstdint>
#include <functional>
#include <random>

#include "support/process_log.h"
#include "imaging/image_buffer.h"
#include "imaging/image_iterator.h"

namespace kvtest {

inline LImageBuffer MakePicture(int width, int height, pixelformat_t format,
                                const std::function<std::uint32_t(int x, int y)>& colour,
                                bool bottomUp = false) {
    LImageFormat f;
    f.format = format;
    f.width = width;
    f.height = height;
    f.bottomUp = bottomUp;
    f.SetDefaultAlignment();
    LImageBuffer b(f);
    LImageIterator it(b, 0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, it.Next())
            it.SetPacked(colour(x, y));
    return b;
}

inline std::uint32_t PixelAt(const LImageBuffer& b, int x, int y) {
    return LImageConstIterator(b, x, y, 1, 1, 0).GetPacked();
}

inline std::uint32_t Argb(unsigned a, unsigned r, unsigned g, unsigned b) {
    return (a << 24) | (r << 16) | (g << 8) | b;
}

// Random premultiplied colours: no channel above alpha.
inline std::uint32_t RandomPremultiplied(std::mt19937& random) {
    const unsigned a = random() % 256;
    auto channel = [&] { return a ? static_cast<unsigned>(random() % (a + 1)) : 0u; };
    const unsigned r = channel(), g = channel(), b = channel();
    return Argb(a, r, g, b);
}

inline bool SamePictures(const LImageBuffer& a, const LImageBuffer& b) {
    if (a.width != b.width || a.height != b.height)
        return false;
    LImageConstIterator i(a), j(b);
    for (; i.IsInRange() && j.IsInRange(); i.Next(), j.Next())
        if (i.GetPacked() != j.GetPacked())
            return false;
    return i.IsInRange() == j.IsInRange();
}

} // namespace kvtest

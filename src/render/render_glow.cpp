// The raster target's glows. The element is drawn on a child twice the
// picture's size; a mask of the element's shape in the glow's colour is
// blurred, and the glow is laid outside the element (outer) or bled in from
// its edges (inner) before the child is composed.
//
// Only the element's box and the glow's reach are worked on: outside them
// the mask is one flat value, which the blur leaves as it is, so a mask cut
// to that area blurs to the same pixels as one of the whole child would. A
// glowing element then costs in proportion to its size, not the canvas's.

#include <algorithm>
#include <cstring>

#include "imaging/image_blur.h"
#include "render/render_image_buffer.h"

namespace {

bool IsBlank(const unsigned char* p) {
    return p[0] == 0 && p[1] == 0 && p[2] == 0 && p[3] == 0;
}

// The part of a glow's child that its mask covers: what was drawn, and as
// far past it as the blur can carry anything. The box blur's passes each
// reach a radius; one radius more keeps every window that meets the cut off
// the part that differs from the flat value, so that the cut changes no
// pixel.
struct GlowArea {
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    int Width() const { return x2 - x1; }
    int Height() const { return y2 - y1; }
};

GlowArea Reach(int touchX1, int touchY1, int touchX2, int touchY2, int width, int height,
               unsigned long radius, unsigned long passes) {
    const long reach = static_cast<long>(std::min<unsigned long>(radius, 1u << 20)) *
                       static_cast<long>(passes + 1);
    GlowArea a;
    a.x1 = static_cast<int>(std::max(0L, touchX1 - reach));
    a.y1 = static_cast<int>(std::max(0L, touchY1 - reach));
    a.x2 = static_cast<int>(std::min(static_cast<long>(width), touchX2 + reach));
    a.y2 = static_cast<int>(std::min(static_cast<long>(height), touchY2 + reach));
    return a;
}

// The glow's blur radius in whole pixels.
unsigned long GlowRadius(float size) {
    return static_cast<unsigned long>(std::max(0L, Round(size)));
}

} // namespace

KVRenderImage* KVRenderImageBuffer::BeginGlow(LGuiColorAlpha colour, float size) {
    const bool nested = glowSize != 0;
    KVRenderImageBuffer* c = nested ? NewChild(image.width, image.height, true)
                                    : NewChild(2 * image.width, 2 * image.height, true);
    if (!c->HasSurface()) {
        // No room for the glow: the element is drawn here, without it.
        delete child;
        child = nullptr;
        return nullptr;
    }
    c->glowColour = colour;
    c->glowSize = size;
    c->translateX = (nested ? 0.25f : 0.5f) * static_cast<float>(image.width);
    c->translateY = (nested ? 0.25f : 0.5f) * static_cast<float>(image.height);
    c->Clear(LPixelColour());
    return c;
}

KVRenderImage* KVRenderImageBuffer::BeginInnerGlow(LGuiColorAlpha colour, float size) {
    return BeginGlow(colour, size);
}

KVRenderImage* KVRenderImageBuffer::BeginOuterGlow(LGuiColorAlpha colour, float size) {
    return BeginGlow(colour, size);
}

void KVRenderImageBuffer::ComposeGlow() {
    const float oldX = translateX, oldY = translateY;
    if (glowSize != 0) {
        translateX = translateY = 0;
    } else {
        translateX = -child->translateX;
        translateY = -child->translateY;
    }
    FinishTransform(false);
    translateX = oldX;
    translateY = oldY;
}

void KVRenderImageBuffer::DropChild() {
    delete child;
    child = nullptr;
}

bool KVRenderImageBuffer::BlurGlowMask(LProcessInterface& process,
                                       const unsigned char (&colour)[3], unsigned char blank,
                                       unsigned char drawn, LImageBuffer& mask, int (&area)[4]) {
    KVRenderImageBuffer& c = *child;
    c.Flush();
    if (!c.touched) {
        ComposeGlow();
        return false;
    }
    LImageBuffer& pixels = c.image;
    LImageBlurSettings unused(pixels);
    const unsigned long radius = GlowRadius(c.glowSize);
    const GlowArea reach = Reach(c.touchX1, c.touchY1, c.touchX2, c.touchY2, pixels.width,
                                 pixels.height, radius, unused.passes);
    LImage::New(mask, reach.Width(), reach.Height(), LPixelFormatB8G8R8A8);
    if (!mask.IsValid()) {
        process.SetError("Not enough memory for the glow.");
        DropChild();
        return false;
    }
    for (int y = 0; y < mask.height; ++y) {
        const unsigned char* from = pixels.GetPictureRow(reach.y1 + y) + reach.x1 * 4;
        unsigned char* to = mask.GetPictureRow(y);
        for (int x = 0; x < mask.width; ++x, from += 4, to += 4) {
            std::memcpy(to, colour, 3);
            to[3] = IsBlank(from) ? blank : drawn;
        }
    }
    LImageBlurSettings blur(mask, radius);
    if (process.IsToStop() || Process(process, blur) != LProcessResultOk || process.IsToStop()) {
        DropChild();
        return false;
    }
    area[0] = reach.x1, area[1] = reach.y1, area[2] = reach.x2, area[3] = reach.y2;
    return true;
}

void KVRenderImageBuffer::FinishOuterGlow(LProcessInterface& process) {
    if (!child)
        return;
    KVRenderImageBuffer& c = *child;
    // The glow's transparency is carried in its colour, premultiplied by the
    // glow's alpha, while the mask's alpha is that of this target's own glow
    // (opaque on a plain target).
    const LGuiColorAlpha& g = c.glowColour;
    const double a = g.alpha / 255.0;
    const unsigned char colour[3] = {static_cast<unsigned char>(Round(g.Blue8() * a)),
                                     static_cast<unsigned char>(Round(g.Green8() * a)),
                                     static_cast<unsigned char>(Round(g.Red8() * a))};
    LImageBuffer mask;
    int area[4];
    if (!BlurGlowMask(process, colour, 0, glowColour.alpha, mask, area))
        return;
    // The glow lives only where the element is not.
    for (int y = 0; y < mask.height; ++y) {
        unsigned char* to = c.image.GetPictureRow(area[1] + y) + area[0] * 4;
        const unsigned char* from = mask.GetPictureRow(y);
        for (int x = 0; x < mask.width; ++x, from += 4, to += 4)
            if (IsBlank(to) && from[3] != 0)
                std::memcpy(to, from, 4);
    }
    if (process.IsToStop()) {
        DropChild();
        return;
    }
    c.TouchPixels(area[0], area[1], area[2], area[3]);
    ComposeGlow();
}

void KVRenderImageBuffer::FinishInnerGlow(LProcessInterface& process) {
    if (!child)
        return;
    KVRenderImageBuffer& c = *child;
    // Solid glow outside the element, clear inside; not premultiplied, as
    // the mixing below takes the colour at its full strength.
    const LGuiColorAlpha& g = c.glowColour;
    const unsigned char colour[3] = {g.Blue8(), g.Green8(), g.Red8()};
    LImageBuffer mask;
    int area[4];
    if (!BlurGlowMask(process, colour, 255, 0, mask, area))
        return;
    // The glow bleeds in from the element's edges.
    for (int y = c.touchY1; y < c.touchY2; ++y) {
        unsigned char* to = c.image.GetPictureRow(y) + c.touchX1 * 4;
        const unsigned char* from = mask.GetPictureRow(y - area[1]) + (c.touchX1 - area[0]) * 4;
        for (int x = c.touchX1; x < c.touchX2; ++x, from += 4, to += 4) {
            const unsigned m = from[3];
            if (IsBlank(to) || m == 0)
                continue;
            for (int i = 0; i < 3; ++i)
                to[i] = static_cast<unsigned char>((from[i] * m + to[i] * (255 - m)) / 255);
            to[3] = static_cast<unsigned char>(std::min(m + to[3], 255u));
        }
    }
    if (process.IsToStop()) {
        DropChild();
        return;
    }
    ComposeGlow();
}

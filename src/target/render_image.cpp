#include "target/render_image.h"

#include "foundation/text_layout.h"

namespace {
struct Triangle {
    KVPoint points[3];
    Triangle(KVPoint a, KVPoint b, KVPoint c) : points{a, b, c} {}
};
} // namespace

LProcessResult KVRenderImage::DrawTriangle(LProcessInterface& process, float lineWidth,
                                           const LGuiColorAlpha& lineColour, KVPoint a, KVPoint b,
                                           KVPoint c, const KVBox& bounds) {
    Triangle t(a, b, c);
    return DrawPoly(process, lineWidth, lineColour, t.points, 3, bounds);
}

LProcessResult KVRenderImage::FillTriangle(LProcessInterface& process, float lineWidth,
                                           const LGuiColorAlpha& lineColour,
                                           const LGuiColorAlpha& fillColour, KVPoint a, KVPoint b,
                                           KVPoint c, const KVBox& bounds) {
    Triangle t(a, b, c);
    return FillPoly(process, lineWidth, lineColour, fillColour, t.points, 3, bounds);
}

LProcessResult KVRenderImage::FillTriangle(LProcessInterface& process, const KVGradient& gradient,
                                           float lineWidth, const LGuiColorAlpha& lineColour,
                                           KVPoint a, KVPoint b, KVPoint c, const KVBox& bounds) {
    Triangle t(a, b, c);
    return FillPoly(process, gradient, lineWidth, lineColour, t.points, 3, bounds);
}

LProcessResult KVRenderImage::DrawTriangleShadow(LProcessInterface& process, KVPoint a, KVPoint b,
                                                 KVPoint c, const KVBox& bounds, float lineWidth,
                                                 bool hasFill, const KVDropShadow& shadow) {
    Triangle t(a, b, c);
    return DrawPolyShadow(process, t.points, 3, bounds, lineWidth, hasFill, shadow);
}

LProcessResult KVRenderImage::DrawTriangleBevelEmboss(LProcessInterface& process, float lineWidth,
                                                      const LGuiColorAlpha& lineColour, KVPoint a,
                                                      KVPoint b, KVPoint c, const KVBox& bounds,
                                                      const KVBevelEmboss& bevel) {
    Triangle t(a, b, c);
    return DrawPolyBevelEmboss(process, lineWidth, lineColour, t.points, 3, bounds, bevel);
}

LProcessResult KVRenderImage::FillTriangleBevelEmboss(LProcessInterface& process, float lineWidth,
                                                      const LGuiColorAlpha& lineColour,
                                                      const LGuiColorAlpha& fillColour, KVPoint a,
                                                      KVPoint b, KVPoint c, const KVBox& bounds,
                                                      const KVBevelEmboss& bevel) {
    Triangle t(a, b, c);
    return FillPolyBevelEmboss(process, lineWidth, lineColour, fillColour, t.points, 3, bounds,
                               bevel);
}

LProcessResult KVRenderImage::FillTriangleBevelEmboss(LProcessInterface& process,
                                                      const KVGradient& gradient, float lineWidth,
                                                      const LGuiColorAlpha& lineColour, KVPoint a,
                                                      KVPoint b, KVPoint c, const KVBox& bounds,
                                                      const KVBevelEmboss& bevel) {
    Triangle t(a, b, c);
    return FillPolyBevelEmboss(process, gradient, lineWidth, lineColour, t.points, 3, bounds,
                               bevel);
}

KVSubInterfaceCreator::KVSubInterfaceCreator(LProcessInterface& p, unsigned long count)
    : weights(new unsigned char[count]()), parent(p), slotCount(count) {}

KVSubInterfaceCreator::~KVSubInterfaceCreator() { delete[] weights; }

LProcessInterface& KVSubInterfaceCreator::GetSubInterface(unsigned long slot) {
    double total = 0.0, before = 0.0;
    for (unsigned long i = 0; i < slotCount; ++i) {
        total += weights[i];
        if (i < slot)
            before += weights[i];
    }
    const double weight = slot < slotCount ? weights[slot] : 0.0;
    // All weights 0 cannot come from an element (its body always weighs);
    // the slice is then empty rather than NaN.
    const double offset = total > 0.0 ? before / total : 0.0;
    const double scale = total > 0.0 ? weight / total : 0.0;
    current.emplace(parent, offset, scale);
    return *current;
}

LProcessResult KVRenderImage::GetTextHeight(float& height, KVBox box, const char* text,
                                            const char* face, float size, bool bold, bool italic,
                                            bool underline, LAlignmentX align) const {
    return LPaintMeasureTextHeight(height, box, text, face, size, bold, italic, underline, align)
               ? LProcessResultOk
               : LProcessResultError;
}

template <class DrawOne>
LProcessResult KVRenderImage::DrawLines(LProcessInterface& process,
                                        const LList<LStringLongListable>& lines,
                                        unsigned long size, bool bold, bool italic, bool underline,
                                        const char* face, LAlignmentX align, float lineSpacing,
                                        KVBox box, DrawOne drawOne) {
    const unsigned long count = lines.GetCount();
    if (count == 0)
        return LProcessResultError;
    // One line's height: a trailing break adds no line.
    float height = 0.0f;
    if (LProcessResult r = GetTextHeight(height, box, "test\n", face, static_cast<float>(size),
                                         bold, italic, underline, align))
        return r;
    unsigned long i = 0;
    for (const LStringLongListable& line : lines) {
        LProcessInterfaceSubProcess sub(process, static_cast<double>(i) / count, 1.0 / count);
        if (LProcessResult r = drawOne(sub, line.Get(), box))
            return r;
        box.y1 += lineSpacing * height;
        if (box.y2 - box.y1 <= 0.0f)
            break;
        ++i;
    }
    return LProcessResultOk;
}

LProcessResult KVRenderImage::DrawTextLines(LProcessInterface& process,
                                            const LList<LStringLongListable>& lines,
                                            unsigned long size, bool bold, bool italic,
                                            bool underline, const char* face, LAlignmentX align,
                                            float lineSpacing, LGuiColorAlpha colour, KVBox box) {
    return DrawLines(process, lines, size, bold, italic, underline, face, align, lineSpacing, box,
                     [&](LProcessInterface& sub, const char* text, const KVBox& lineBox) {
                         return DrawText(sub, text, size, bold, italic, underline, face, align,
                                         colour, lineBox);
                     });
}

LProcessResult KVRenderImage::DrawTextLinesShadow(LProcessInterface& process,
                                                  const LList<LStringLongListable>& lines,
                                                  unsigned long size, bool bold, bool italic,
                                                  bool underline, const char* face,
                                                  LAlignmentX align, float lineSpacing, KVBox box,
                                                  const KVDropShadow& shadow) {
    return DrawLines(process, lines, size, bold, italic, underline, face, align, lineSpacing, box,
                     [&](LProcessInterface& sub, const char* text, const KVBox& lineBox) {
                         return DrawTextShadow(sub, text, size, bold, italic, underline, face,
                                               align, lineBox, shadow);
                     });
}

LProcessResult KVRenderImage::DrawTextLinesBevelEmboss(LProcessInterface& process,
                                                       const LList<LStringLongListable>& lines,
                                                       unsigned long size, bool bold, bool italic,
                                                       bool underline, const char* face,
                                                       LAlignmentX align, float lineSpacing,
                                                       KVBox box, const KVBevelEmboss& bevel) {
    return DrawLines(process, lines, size, bold, italic, underline, face, align, lineSpacing, box,
                     [&](LProcessInterface& sub, const char* text, const KVBox& lineBox) {
                         return DrawTextBevelEmboss(sub, text, size, bold, italic, underline, face,
                                                    align, lineBox, bevel);
                     });
}

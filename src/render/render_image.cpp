#include "render/render_image.h"

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

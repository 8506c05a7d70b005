#include "exchange/render_svg.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "document/project.h"
#include "exchange/render_svg_p.h"
#include "foundation/base64.h"
#include "foundation/file.h"
#include "foundation/line_style.h"
#include "foundation/text_layout.h"
#include "imaging/image_codec.h"
#include "imaging/image_file.h"
#include "render/render_results.h"

using namespace kvsvg;

KVRenderImageSVG::KVRenderImageSVG(unsigned long w, unsigned long h)
    : root("svg"), width(w), height(h) {
    root.SetAttribute("xmlns", "http://www.w3.org/2000/svg");
    root.SetAttribute("xmlns:xlink", "http://www.w3.org/1999/xlink");
    root.SetAttribute("xmlns:tolmar", kKVSVGNamespace);
    root.SetAttribute("version", "1.1");
    // Lines strokes up with the raster back end's pixel centres.
    root.SetAttribute("transform", "translate(0.5,0.5)");
    root.SetAttributeF("width", "%lu", w);
    root.SetAttributeF("height", "%lu", h);
}

KVRenderImageSVG::~KVRenderImageSVG() = default;

// ---------------------------------------------------------------- the file

std::string KVRenderImageSVG::GetDocumentText() const {
    std::string out = kFileHead;
    root.SaveToBufferNoFormatting(out);
    // The fast paths go in before the root's closing tag, behind everything.
    if (out.size() >= 2 && !out.compare(out.size() - 2, 2, "/>"))
        out.replace(out.size() - 2, 2, ">");
    else
        out.resize(out.size() - std::strlen("</svg>"));
    if (!fastPaths.empty()) {
        out += "<g style='stroke-width:1'>";
        out += fastPaths;
        out += "</g>";
    }
    out += "</svg>";
    return out;
}

bool KVRenderImageSVG::SaveAsFile(const char* path) {
    if (!path || !*path)
        return false;
    const std::string text = GetDocumentText();
    std::string folder = path;
    const size_t slash = folder.rfind('/');
    folder = slash == std::string::npos ? std::string() : folder.substr(0, slash + 1);

    // A half-written file must never stand in the place of the old one.
    char temporary[4096];
    LWriteFile file;
    if (!file.OpenTemporary(temporary, sizeof temporary, folder.empty() ? "." : folder.c_str(),
                            ".svg.part"))
        return false;
    const bool written = file.Write(text.data(), text.size()) == text.size();
    if (!file.Close() || !written) {
        unlink(temporary);
        return false;
    }
    LFile::GiveModeOf(path, temporary);
    if (!LFile::MoveFile(temporary, path)) {
        unlink(temporary);
        return false;
    }
    for (const RasterImage& image : rasterImages)
        LImage::Save(image.picture, (folder + image.name).c_str());
    return true;
}

// ---------------------------------------------------------------- sub-targets

KVRenderImage* KVRenderImageSVG::BeginChild(Transform kind) {
    child = std::make_unique<KVRenderImageSVG>(width, height);
    child->nextId = nextId;
    nextId += kIdsPerChild;
    // Pictures drawn inside are numbered on from this target's and come
    // back to it, so that every picture the file names is written.
    child->embedImages = embedImages;
    child->nextImageNumber = nextImageNumber;
    childKind = kind;
    return child.get();
}

KVRenderImage* KVRenderImageSVG::BeginRotate(float degrees, KVPoint centre) {
    rotateDegrees = degrees;
    rotateCentre = centre;
    return BeginChild(Transform::Rotate);
}

KVRenderImage* KVRenderImageSVG::BeginScale(float x, float y) {
    scaleX = x;
    scaleY = y;
    return BeginChild(Transform::Scale);
}

KVRenderImage* KVRenderImageSVG::BeginTranslate(float x, float y) {
    translateX = x;
    translateY = y;
    return BeginChild(Transform::Translate);
}

KVRenderImage* KVRenderImageSVG::BeginInnerGlow(LGuiColorAlpha colour, float size) {
    glowColour = colour;
    glowSize = size;
    return BeginChild(Transform::None);
}

KVRenderImage* KVRenderImageSVG::BeginOuterGlow(LGuiColorAlpha colour, float size) {
    glowColour = colour;
    glowSize = size;
    return BeginChild(Transform::None);
}

void KVRenderImageSVG::FinishGlow(bool inner) {
    if (!child)
        return;
    auto page = [&](const char* fill) {
        auto* r = new LXMLElement("rect");
        r->SetAttribute("x", "0");
        r->SetAttribute("y", "0");
        r->SetAttributeF("width", "%lu", width);
        r->SetAttributeF("height", "%lu", height);
        r->SetAttribute("fill", fill);
        r->SetAttribute("fill-opacity", "1");
        return r;
    };
    auto painted = [](const LXMLElement& e, const char* colour) {
        auto* copy = new LXMLElement(e);
        copy->SetAttribute("fill", colour);
        copy->SetAttribute("stroke", colour);
        copy->SetAttribute("fill-opacity", "1.000");
        return copy;
    };
    for (auto& e : child->root.TakeChildren()) {
        const unsigned long n = nextId;
        auto a = std::make_unique<LXMLElement>("mask");
        a->SetAttributeF("id", "Mask%lu", n);
        a->AddElement(page("rgb(255,255,255)"));
        a->AddElement(painted(*e, "rgb(0,0,0)"));
        auto b = std::make_unique<LXMLElement>("mask");
        b->SetAttributeF("id", "Mask%lu", n + 1);
        b->AddElement(painted(*e, "rgb(255,255,255)"));
        auto filter = std::make_unique<LXMLElement>("filter");
        filter->SetAttributeF("id", "filter%lu", n + 2);
        LXMLElement* blur = filter->AddElement(new LXMLElement("feGaussianBlur"));
        blur->SetAttribute("in", "SourceGraphic");
        blur->SetAttributeF("stdDeviation", "%f", glowSize);
        auto group = std::make_unique<LXMLElement>("g");
        group->SetAttributeF("filter", "url(#filter%lu)", n + 2);
        char colour[40];
        std::snprintf(colour, sizeof colour, "rgb(%d,%d,%d)", glowColour.Red8(), glowColour.Green8(),
                      glowColour.Blue8());
        LXMLElement* glow = group->AddElement(page(colour));
        group->SetAttributeF("mask", "url(#Mask%lu)", inner ? n + 1 : n);
        glow->SetAttributeF("mask", "url(#Mask%lu)", inner ? n : n + 1);
        root.AddElement(std::make_unique<LXMLElement>(*e));
        root.AddElement(std::move(group));
        root.AddElement(std::move(a));
        root.AddElement(std::move(b));
        root.AddElement(std::move(filter));
        nextId += 3;
    }
    child.reset();
}

void KVRenderImageSVG::FinishRotate() { FinishChild(Transform::Rotate); }
void KVRenderImageSVG::FinishScale() { FinishChild(Transform::Scale); }
void KVRenderImageSVG::FinishTranslate() { FinishChild(Transform::Translate); }

void KVRenderImageSVG::FinishChild(Transform kind) {
    if (!child || childKind != kind)
        return;
    char transform[128];
    if (kind == Transform::Rotate)
        std::snprintf(transform, sizeof transform, "rotate(%.2f,%.2f,%.2f)", rotateDegrees,
                      rotateCentre.x, rotateCentre.y);
    else if (kind == Transform::Scale)
        std::snprintf(transform, sizeof transform, "scale(%.3f,%.3f)", scaleX, scaleY);
    else
        std::snprintf(transform, sizeof transform, "translate(%.3f,%.3f)", translateX, translateY);
    for (auto& e : child->root.TakeChildren()) {
        // Gradients and filters are measured in the shape's own box and turn with it.
        if (!e->IsNamed("radialGradient") && !e->IsNamed("linearGradient") &&
            !e->IsNamed("filter")) {
            const char* inner = e->GetAttribute("transform");
            e->SetAttribute("transform", inner ? (std::string(transform) + "," + inner).c_str()
                                               : transform);
        }
        root.AddElement(std::move(e));
    }
    // A fast path under a rotation keeps no rotation: the raw markup is
    // taken as it stands.
    if (kind == Transform::Rotate)
        fastPaths += child->fastPaths;
    else if (!child->fastPaths.empty())
        fastPaths += std::string("<g transform=\"") + transform + "\">" + child->fastPaths + "</g>";
    for (RasterImage& image : child->rasterImages)
        rasterImages.push_back(std::move(image));
    nextImageNumber = child->nextImageNumber;
    child.reset();
    childKind = Transform::None;
}

void KVRenderImageSVG::TagLastElement(const char* key, const char* value) {
    if (LXMLElement* last = root.GetLastChild())
        last->SetAttribute(key, value);
}

// ---------------------------------------------------------------- shapes

LProcessResult KVRenderImageSVG::Clear(LPixelColour colour) {
    LXMLElement* e = Add("rect");
    e->SetAttribute("id", "background");
    e->SetAttribute("x", "0");
    e->SetAttribute("y", "0");
    e->SetAttributeF("width", "%lu", width);
    e->SetAttributeF("height", "%lu", height);
    e->SetAttributeF("fill", "rgb(%d,%d,%d)", colour.red, colour.green, colour.blue);
    SetOpacity(*e, "fill-opacity", colour.alpha);
    return LProcessResultOk;
}

LXMLElement* KVRenderImageSVG::NewShapeElement(const char* name, const KVBox& b,
                                               KVPoint* points, unsigned long pointCount) {
    auto* e = new LXMLElement(name);
    if (!std::strcmp(name, "rect")) {
        SetInt(*e, "x", b.x1);
        SetInt(*e, "y", b.y1);
        SetInt(*e, "width", b.x2 - b.x1);
        SetInt(*e, "height", b.y2 - b.y1);
    } else if (!std::strcmp(name, "ellipse")) {
        SetInt(*e, "cx", (b.x1 + b.x2) / 2);
        SetInt(*e, "cy", (b.y1 + b.y2) / 2);
        SetInt(*e, "rx", (b.x2 - b.x1) / 2);
        SetInt(*e, "ry", (b.y2 - b.y1) / 2);
    } else {
        std::string list;
        for (unsigned long i = 0; i < pointCount; ++i)
            AppendF(list, "%d,%d ", RoundInt(points[i].x), RoundInt(points[i].y));
        e->SetAttribute("points", list.c_str());
        e->SetAttribute("stroke-miterlimit", "10");
        e->SetAttributeF("tolmar:bounds", "%.3f,%.3f,%.3f,%.3f", b.x1, b.y1, b.x2, b.y2);
    }
    return e;
}

void KVRenderImageSVG::SetOutline(LXMLElement& e, float lineWidth, const LGuiColorAlpha& lineColour) {
    SetRgb(e, "stroke", lineColour);
    SetInt(e, "stroke-width", lineWidth);
}

LXMLElement* KVRenderImageSVG::AddGradient(const KVGradient& g) {
    LXMLElement* e = Add(g.radial ? "radialGradient" : "linearGradient");
    e->SetAttributeF("id", "grad%lu", nextId++);
    auto percent = [](float v) { return static_cast<int>(v * 100.0f); };
    const unsigned long count = g.GetStopCount();
    auto addStop = [&](unsigned long i, int offset) {
        LXMLElement* stop = e->AddElement(new LXMLElement("stop"));
        stop->SetAttributeF("offset", "%d%%", offset);
        SetRgb(*stop, "stop-color", g.GetStopColor(i));
        SetOpacity(*stop, "stop-opacity", g.GetStopColor(i).alpha);
    };
    if (g.radial) {
        e->SetAttributeF("cx", "%d%%", percent(g.start.x));
        e->SetAttributeF("cy", "%d%%", percent(g.start.y));
        e->SetAttributeF("fx", "%d%%", percent(g.start.x));
        e->SetAttributeF("fy", "%d%%", percent(g.start.y));
        e->SetAttributeF("r", "%d%%", percent(g.radiusX));
        for (unsigned long i = count; i-- > 0;)
            addStop(i, 100 - percent(g.GetStopPosition(i)));
    } else {
        e->SetAttribute("spreadMethod", "reflect");
        e->SetAttributeF("x1", "%d%%", percent(g.start.x));
        e->SetAttributeF("y1", "%d%%", percent(g.start.y));
        e->SetAttributeF("x2", "%d%%", percent(g.end.x));
        e->SetAttributeF("y2", "%d%%", percent(g.end.y));
        for (unsigned long i = 0; i < count; ++i)
            addStop(i, percent(g.GetStopPosition(i)));
    }
    return e;
}

// The shadow's filter; `scale` is what the shadow shape is scaled by about
// the origin, which the offset here cancels.
LXMLElement* KVRenderImageSVG::AddShadowFilter(const KVDropShadow& shadow, const KVBox& bounds,
                                               float& scale) {
    LXMLElement* filter = root.AddElement(NewFilter(nextId++));
    const float w = bounds.GetWidth(), h = bounds.GetHeight();
    int dx = shadow.horizontalOffset ? RoundInt(w * shadow.horizontalOffset / 100.0f) : 0;
    int dy = shadow.verticalOffset ? RoundInt(h * shadow.verticalOffset / 100.0f) : 0;
    scale = shadow.size / 100.0f + 1.0f;
    if (shadow.size != 0) {
        const float f = scale;
        dx = RoundInt((dx - (f * bounds.x1 - bounds.x1) - (f * w - w) * 0.5f) / f);
        dy = RoundInt((dy - (f * bounds.y1 - bounds.y1) - (f * h - h) * 0.5f) / f);
    }
    LXMLElement* offset = filter->AddElement(new LXMLElement("feOffset"));
    offset->SetAttribute("result", "offOut");
    offset->SetAttribute("in", "SourceAlpha");
    offset->SetAttributeF("dx", "%d", dx);
    offset->SetAttributeF("dy", "%d", dy);
    LXMLElement* blur = filter->AddElement(new LXMLElement("feGaussianBlur"));
    blur->SetAttribute("in", "offOut");
    blur->SetAttributeF("stdDeviation", "%d", shadow.GetHardnessRadius(bounds));
    return filter;
}

void KVRenderImageSVG::AddBevelFilter(const KVBevelEmboss& bevel) {
    LXMLElement* filter = root.AddElement(NewFilter(nextId++));
    LXMLElement* blur = filter->AddElement(new LXMLElement("feGaussianBlur"));
    blur->SetAttribute("in", "SourceAlpha");
    blur->SetAttributeF("stdDeviation", "%d", bevel.size);
    blur->SetAttribute("result", "blur");
    LXMLElement* light = filter->AddElement(new LXMLElement("feSpecularLighting"));
    light->SetAttribute("in", "blur");
    light->SetAttribute("surfaceScale", "-2");
    light->SetAttribute("lighting-color", "white");
    light->SetAttribute("specularConstant", "1");
    light->SetAttribute("specularExponent", "30");
    light->SetAttribute("result", "spec");
    light->SetAttribute("kernelUnitLength", "1");
    LXMLElement* distant = light->AddElement(new LXMLElement("feDistantLight"));
    distant->SetAttribute("azimuth", "45");
    distant->SetAttribute("elevation", "45");
    LXMLElement* composite = filter->AddElement(new LXMLElement("feComposite"));
    composite->SetAttribute("in", "spec");
    composite->SetAttribute("in2", "SourceGraphic");
    composite->SetAttribute("operator", "in");
    composite->SetAttribute("result", "specOut");
}

// One shape: outline, colour fill or gradient fill, and a bevel's filter.
// The order of the elements and of the ids taken is the file's.
LProcessResult KVRenderImageSVG::Shape(LProcessInterface& process, const char* name,
                                       const KVBox& bounds, KVPoint* points,
                                       unsigned long pointCount, float lineWidth,
                                       const LGuiColorAlpha& lineColour,
                                       const LGuiColorAlpha* fill, const KVGradient* gradient,
                                       const KVBevelEmboss* bevel, bool shortBounds) {
    LXMLElement* e = root.AddElement(NewShapeElement(name, bounds, points, pointCount));
    SetOutline(*e, lineWidth, lineColour);
    if (gradient) {
        e->SetAttributeF("fill", "url(#grad%lu)", nextId);
        AddGradient(*gradient);
    } else if (fill) {
        SetRgb(*e, "fill", *fill);
        SetOpacity(*e, "fill-opacity", fill->alpha);
    } else {
        e->SetAttribute("fill-opacity", "0");
    }
    if (shortBounds)
        e->SetAttributeF("tolmar:bounds", "%.3f,%.3f,%.3f", bounds.x1, bounds.y1, bounds.x2);
    if (!bevel)
        return LProcessResultOk;
    e->SetAttributeF("filter", "url(#filter%lu)", nextId);
    AddBevelFilter(*bevel);
    if (process.IsToStop()) {
        root.RemoveLastChild();
        return LProcessResultStopped;
    }
    return LProcessResultOk;
}

LProcessResult KVRenderImageSVG::ShapeShadow(LProcessInterface& process, const char* name,
                                             const KVBox& bounds, KVPoint* points,
                                             unsigned long pointCount, float lineWidth,
                                             bool hasFill, const KVDropShadow& shadow) {
    const unsigned long id = nextId;
    float scale = 1;
    AddShadowFilter(shadow, bounds, scale);
    if (process.IsToStop()) {
        root.RemoveLastChild();
        return LProcessResultStopped;
    }
    LXMLElement* e = root.AddElement(NewShapeElement(name, bounds, points, pointCount));
    e->SetAttributeF("transform", "scale(%f)", scale);
    e->SetAttributeF("filter", "url(#filter%lu)", id);
    e->SetAttributeF("stroke-width", "%f", lineWidth);
    e->SetAttribute("stroke", "rgb(0,0,0)");
    e->SetAttributeF("fill-opacity", "%d", hasFill ? 1 : 0);
    return LProcessResultOk;
}

LProcessResult KVRenderImageSVG::DrawPoly(LProcessInterface& p, float w, const LGuiColorAlpha& c,
                                          KVPoint* pts, unsigned long n, const KVBox& b) {
    return Shape(p, "polygon", b, pts, n, w, c, nullptr, nullptr, nullptr);
}
LProcessResult KVRenderImageSVG::FillPoly(LProcessInterface& p, float w, const LGuiColorAlpha& c,
                                          const LGuiColorAlpha& f, KVPoint* pts, unsigned long n,
                                          const KVBox& b) {
    return Shape(p, "polygon", b, pts, n, w, c, &f, nullptr, nullptr);
}
LProcessResult KVRenderImageSVG::FillPoly(LProcessInterface& p, const KVGradient& g, float w,
                                          const LGuiColorAlpha& c, KVPoint* pts, unsigned long n,
                                          const KVBox& b) {
    return Shape(p, "polygon", b, pts, n, w, c, nullptr, &g, nullptr);
}
LProcessResult KVRenderImageSVG::DrawPolyShadow(LProcessInterface& p, KVPoint* pts,
                                                unsigned long n, const KVBox& b, float w,
                                                bool hasFill, const KVDropShadow& s) {
    return ShapeShadow(p, "polygon", b, pts, n, w, hasFill, s);
}
LProcessResult KVRenderImageSVG::DrawPolyBevelEmboss(LProcessInterface& p, float w,
                                                     const LGuiColorAlpha& c, KVPoint* pts,
                                                     unsigned long n, const KVBox& b,
                                                     const KVBevelEmboss& bevel) {
    return Shape(p, "polygon", b, pts, n, w, c, nullptr, nullptr, &bevel);
}
LProcessResult KVRenderImageSVG::FillPolyBevelEmboss(LProcessInterface& p, float w,
                                                     const LGuiColorAlpha& c,
                                                     const LGuiColorAlpha& f, KVPoint* pts,
                                                     unsigned long n, const KVBox& b,
                                                     const KVBevelEmboss& bevel) {
    return Shape(p, "polygon", b, pts, n, w, c, &f, nullptr, &bevel);
}
LProcessResult KVRenderImageSVG::FillPolyBevelEmboss(LProcessInterface& p, const KVGradient& g,
                                                     float w, const LGuiColorAlpha& c,
                                                     KVPoint* pts, unsigned long n,
                                                     const KVBox& b, const KVBevelEmboss& bevel) {
    // This one operation writes its bounds without the bottom.
    return Shape(p, "polygon", b, pts, n, w, c, nullptr, &g, &bevel, true);
}

LProcessResult KVRenderImageSVG::DrawEllipse(LProcessInterface& p, float w,
                                             const LGuiColorAlpha& c, const KVBox& b) {
    return Shape(p, "ellipse", b, nullptr, 0, w, c, nullptr, nullptr, nullptr);
}
LProcessResult KVRenderImageSVG::FillEllipse(LProcessInterface& p, float w,
                                             const LGuiColorAlpha& c, const LGuiColorAlpha& f,
                                             const KVBox& b) {
    return Shape(p, "ellipse", b, nullptr, 0, w, c, &f, nullptr, nullptr);
}
LProcessResult KVRenderImageSVG::FillEllipse(LProcessInterface& p, const KVGradient& g, float w,
                                             const LGuiColorAlpha& c, const KVBox& b) {
    return Shape(p, "ellipse", b, nullptr, 0, w, c, nullptr, &g, nullptr);
}
LProcessResult KVRenderImageSVG::DrawEllipseShadow(LProcessInterface& p, const KVBox& b, float w,
                                                   bool hasFill, const KVDropShadow& s) {
    return ShapeShadow(p, "ellipse", b, nullptr, 0, w, hasFill, s);
}
LProcessResult KVRenderImageSVG::DrawEllipseBevelEmboss(LProcessInterface& p, float w,
                                                        const LGuiColorAlpha& c, const KVBox& b,
                                                        const KVBevelEmboss& bevel) {
    return Shape(p, "ellipse", b, nullptr, 0, w, c, nullptr, nullptr, &bevel);
}
LProcessResult KVRenderImageSVG::FillEllipseBevelEmboss(LProcessInterface& p, float w,
                                                        const LGuiColorAlpha& c,
                                                        const LGuiColorAlpha& f, const KVBox& b,
                                                        const KVBevelEmboss& bevel) {
    return Shape(p, "ellipse", b, nullptr, 0, w, c, &f, nullptr, &bevel);
}
LProcessResult KVRenderImageSVG::FillEllipseBevelEmboss(LProcessInterface& p, const KVGradient& g,
                                                        float w, const LGuiColorAlpha& c,
                                                        const KVBox& b,
                                                        const KVBevelEmboss& bevel) {
    return Shape(p, "ellipse", b, nullptr, 0, w, c, nullptr, &g, &bevel);
}

LProcessResult KVRenderImageSVG::DrawRect(LProcessInterface& p, float w, const LGuiColorAlpha& c,
                                          const KVBox& b) {
    return Shape(p, "rect", b, nullptr, 0, w, c, nullptr, nullptr, nullptr);
}
LProcessResult KVRenderImageSVG::FillRect(LProcessInterface& p, float w, const LGuiColorAlpha& c,
                                          const LGuiColorAlpha& f, const KVBox& b) {
    return Shape(p, "rect", b, nullptr, 0, w, c, &f, nullptr, nullptr);
}
LProcessResult KVRenderImageSVG::FillRect(LProcessInterface& p, const KVGradient& g, float w,
                                          const LGuiColorAlpha& c, const KVBox& b) {
    return Shape(p, "rect", b, nullptr, 0, w, c, nullptr, &g, nullptr);
}
LProcessResult KVRenderImageSVG::DrawRectShadow(LProcessInterface& p, const KVBox& b, float w,
                                                bool hasFill, const KVDropShadow& s) {
    return ShapeShadow(p, "rect", b, nullptr, 0, w, hasFill, s);
}
LProcessResult KVRenderImageSVG::DrawRectBevelEmboss(LProcessInterface& p, float w,
                                                     const LGuiColorAlpha& c, const KVBox& b,
                                                     const KVBevelEmboss& bevel) {
    return Shape(p, "rect", b, nullptr, 0, w, c, nullptr, nullptr, &bevel);
}
LProcessResult KVRenderImageSVG::FillRectBevelEmboss(LProcessInterface& p, float w,
                                                     const LGuiColorAlpha& c,
                                                     const LGuiColorAlpha& f, const KVBox& b,
                                                     const KVBevelEmboss& bevel) {
    return Shape(p, "rect", b, nullptr, 0, w, c, &f, nullptr, &bevel);
}
LProcessResult KVRenderImageSVG::FillRectBevelEmboss(LProcessInterface& p, const KVGradient& g,
                                                     float w, const LGuiColorAlpha& c,
                                                     const KVBox& b, const KVBevelEmboss& bevel) {
    return Shape(p, "rect", b, nullptr, 0, w, c, nullptr, &g, &bevel);
}

// ---------------------------------------------------------------- lines

void KVRenderImageSVG::AddLineCap(KVLineCapStyle style, float w, const LGuiColorAlpha& colour,
                                  KVPoint at, KVPoint other) {
    double radians = std::atan2(at.y - other.y, at.x - other.x);
    if (style == KVLineCapSquare45)
        radians += 0.7853982;
    char transform[160];
    std::snprintf(transform, sizeof transform,
                  "translate(%.3f,%.3f) rotate(%.1f) translate(-%.3f,-%.3f)", at.x, at.y,
                  radians * 57.2957795131, at.x, at.y);
    LXMLElement* e = nullptr;
    switch (style) {
    case KVLineCapRound:
    case KVLineCapCircle:
        e = Add("circle");
        e->SetAttributeF("cx", "%.3f", at.x);
        e->SetAttributeF("cy", "%.3f", at.y);
        e->SetAttributeF("r", "%.3f", style == KVLineCapRound ? w / 2 : w);
        break;
    case KVLineCapAsFlat:
    case KVLineCapDiamond: {
        const float s = style == KVLineCapAsFlat ? w / 2 : w;
        e = Add("polygon");
        e->SetAttributeF("points", "%.3f,%.3f %.3f,%.3f %.3f,%.3f", at.x, at.y - s, at.x + s, at.y,
                         at.x, at.y + s);
        e->SetAttribute("transform", transform);
        break;
    }
    case KVLineCapSquare:
    case KVLineCapSquare45:
        e = Add("rect");
        e->SetAttributeF("x", "%.3f", at.x - w);
        e->SetAttributeF("y", "%.3f", at.y - w);
        e->SetAttributeF("width", "%.3f", 2 * w);
        e->SetAttributeF("height", "%.3f", 2 * w);
        e->SetAttribute("transform", transform);
        break;
    default:
        return;
    }
    SetRgb(*e, "fill", colour);
}

LProcessResult KVRenderImageSVG::DrawLine(LProcessInterface&, float lineWidth,
                                          const LGuiColorAlpha& colour, KVLineCapStyle startCap,
                                          KVLineCapStyle endCap, LLineDashStyle dash, float x1,
                                          float y1, float x2, float y2) {
    const bool plainCaps = dash == LLineDashSolid && startCap == endCap &&
                           (startCap == KVLineCapFlat || startCap == KVLineCapRound);
    if (!plainCaps) {
        AddLineCap(startCap, lineWidth, colour, {x1, y1}, {x2, y2});
        AddLineCap(endCap, lineWidth, colour, {x2, y2}, {x1, y1});
    }
    LXMLElement* e = Add("line");
    SetInt(*e, "x1", x1);
    SetInt(*e, "y1", y1);
    SetInt(*e, "x2", x2);
    SetInt(*e, "y2", y2);
    SetOutline(*e, lineWidth, colour);
    SetOpacity(*e, "fill-opacity", colour.alpha);
    // The flat cap's attribute is misspelt in every file written, so
    // readers see SVG's default, which is flat as well.
    if (plainCaps && startCap == KVLineCapFlat)
        e->SetAttribute("stroke-lincap", "butt");
    else if (plainCaps)
        e->SetAttribute("stroke-linecap", "round");
    const float w = lineWidth;
    switch (dash) {
    case LLineDashDash: e->SetAttributeF("stroke-dasharray", "%.3f,%.3f", 3 * w, w); break;
    case LLineDashDot: e->SetAttributeF("stroke-dasharray", "%.3f,%.3f", w, w); break;
    case LLineDashDashDot:
        e->SetAttributeF("stroke-dasharray", "%.3f,%.3f,%.3f,%.3f", 3 * w, w, w, w);
        break;
    case LLineDashDashDotDot:
        e->SetAttributeF("stroke-dasharray", "%.3f,%.3f,%.3f,%.3f,%.3f,%.3f", 3 * w, w, w, w, w, w);
        break;
    default: break;
    }
    return LProcessResultOk;
}

// ---------------------------------------------------------------- text

LProcessResult KVRenderImageSVG::Text(LProcessInterface& process, const char* text,
                                      unsigned long size, bool bold, bool italic, bool underline,
                                      const char* face, LAlignmentX align,
                                      const LGuiColorAlpha* colour, KVBox box,
                                      const KVDropShadow* shadow, const KVBevelEmboss* bevel) {
    const KVBox placed = box;
    unsigned long fontSize = size;
    unsigned long filterId = nextId;
    if (shadow) {
        float scale = 1;
        AddShadowFilter(*shadow, box, scale);
        if (shadow->size != 0) {
            fontSize = size + RoundInt(size * shadow->size / 100.0f);
            box.x1 -= box.GetWidth() * shadow->size / 200.0f;
            box.y1 -= (static_cast<float>(fontSize) - size) / 2;
        }
    }
    float ascent = 0, space = 0;
    if (!LPaintMeasureFont(ascent, space, face, static_cast<float>(fontSize), bold, italic, underline))
        return LProcessResultError;
    if (process.IsToStop()) {
        if (shadow)
            root.RemoveLastChild();
        return LProcessResultStopped;
    }
    LXMLElement* e = Add("text");
    e->SetAttributeF("x", "%.1f", box.x1);
    e->SetAttributeF("y", "%.1f", box.y1);
    e->SetAttributeF("width", "%.1f", placed.GetWidth());
    e->SetAttributeF("height", "%.1f", placed.GetHeight());
    e->SetAttributeF("font-size", "%lu", fontSize);
    if (colour) {
        SetRgb(*e, "fill", *colour);
        SetOpacity(*e, "fill-opacity", colour->alpha);
    }
    e->SetAttribute("font-family", face ? face : "");
    e->SetAttributeF("dy", "%dpx", ascent > 0 ? static_cast<int>(ascent) : 0);
    if (bold)
        e->SetAttribute("font-weight", "bold");
    if (italic)
        e->SetAttribute("font-style", "italic");
    if (underline)
        e->SetAttribute("text-decoration", "underline");
    const size_t length = text ? std::strlen(text) : 0;
    const bool endsInBlank = length > 0 && text[length - 1] == ' ';
    float x = placed.x1;
    if (align == LAlignmentXCentre) {
        e->SetAttribute("text-anchor", "middle");
        x = (placed.x1 + placed.x2) / 2 + (endsInBlank ? space / 2 : 0);
    } else if (align == LAlignmentXRight) {
        e->SetAttribute("text-anchor", "end");
        x = placed.x2 + (endsInBlank ? space : 0);
    }
    LXMLElement* span = e->AddElement(new LXMLElement("tspan"));
    span->SetAttributeF("x", "%.1f", x);
    span->AddSimpleData(text ? text : "");
    if (shadow || bevel)
        e->SetAttributeF("filter", "url(#filter%lu)", bevel ? nextId : filterId);
    if (bevel)
        AddBevelFilter(*bevel);
    return LProcessResultOk;
}

LProcessResult KVRenderImageSVG::DrawText(LProcessInterface& process, const char* text,
                                          unsigned long size, bool bold, bool italic,
                                          bool underline, const char* face, LAlignmentX align,
                                          LGuiColorAlpha colour, KVBox box) {
    return Text(process, text, size, bold, italic, underline, face, align, &colour, box, nullptr,
                nullptr);
}

LProcessResult KVRenderImageSVG::DrawTextShadow(LProcessInterface& process, const char* text,
                                                unsigned long size, bool bold, bool italic,
                                                bool underline, const char* face,
                                                LAlignmentX align, KVBox box,
                                                const KVDropShadow& shadow) {
    return Text(process, text, size, bold, italic, underline, face, align, nullptr, box, &shadow,
                nullptr);
}

LProcessResult KVRenderImageSVG::DrawTextBevelEmboss(LProcessInterface& process, const char* text,
                                                     unsigned long size, bool bold, bool italic,
                                                     bool underline, const char* face,
                                                     LAlignmentX align, KVBox box,
                                                     const KVBevelEmboss& bevel) {
    return Text(process, text, size, bold, italic, underline, face, align, nullptr, box, nullptr,
                &bevel);
}

// ---------------------------------------------------------------- pictures

LProcessResult KVRenderImageSVG::DrawImage(LProcessInterface& process, const LImageBuffer& image,
                                           int x, int y, int w, int h) {
    if (!image.IsValid())
        return LProcessResultError;
    std::string reference;
    if (embedImages) {
        LSizedArray<unsigned char> png;
        if (!LImage::Save(image, png, LImage::EncodingPNG) || png.GetSize() == 0)
            return LProcessResultError;
        LStringLong base64;
        LBase64Encode(&png[0], png.GetSize(), base64);
        reference = "data:image/png;base64,";
        reference += base64.Get();
    } else {
        RasterImage copy;
        char name[32];
        std::snprintf(name, sizeof name, "%lu.png", nextImageNumber++);
        copy.name = name;
        LImage::New(copy.picture, image.width, image.height, image.format);
        if (!copy.picture.IsValid())
            return LProcessResultError;
        LImageBufferCopy(copy.picture, image);
        rasterImages.push_back(std::move(copy));
        reference = name;
    }
    if (process.IsToStop())
        return LProcessResultStopped;
    LXMLElement* e = Add("image");
    e->SetAttribute("preserveAspectRatio", "none");
    e->SetAttributeF("x", "%d", x);
    e->SetAttributeF("y", "%d", y);
    e->SetAttributeF("width", "%dpx", w);
    e->SetAttributeF("height", "%dpx", h);
    e->SetAttribute("xlink:href", reference.c_str());
    return LProcessResultOk;
}

// ---------------------------------------------------------------- projects

LProcessResult Process(LProcessInterface& process, KVProjectSVGSave& save) {
    const KVImage* image = save.project ? save.project->GetCurrentImage() : nullptr;
    if (!image || !save.path) {
        process.SetError("The project has no picture to save.");
        return LProcessResultError;
    }
    auto* target = new KVRenderImageSVG(image->GetWidth(), image->GetHeight());
    target->embedImages = image->embedImages;
    KVRenderResults render;
    render.project = save.project;
    render.target = LPtr<KVRenderImage>(target);
    target->Clear(image->GetBackground());
    if (LProcessResult r = Process(process, render))
        return r;
    if (!target->SaveAsFile(save.path)) {
        process.SetError(LFile::ErrorText("The SVG file could not be written.", save.path, errno).c_str());
        return LProcessResultError;
    }
    return LProcessResultOk;
}

#include "exchange/render_svg.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "document/project.h"
#include "foundation/base64.h"
#include "foundation/file.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "foundation/text_layout.h"
#include "imaging/image_codec.h"
#include "imaging/image_file.h"
#include "render/render_results.h"
#include "render/stamps.h"
#include "target/draw_path.h"

namespace {

constexpr unsigned long kIdsPerChild = 1024;
constexpr const char* kFileHead =
    "<?xml version=\"1.0\" standalone=\"no\"?>\r\n"
    "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\"\r\n"
    "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\r\n\r\n";

// Half away from zero, cut to an integer: the whole numbers of the file.
int RoundInt(float v) { return static_cast<int>(Round(v)); }

void SetInt(LXMLElement& e, const char* key, float v) { e.SetAttributeF(key, "%d", RoundInt(v)); }

void SetRgb(LXMLElement& e, const char* key, const LGuiColor& c) {
    e.SetAttributeF(key, "rgb(%d,%d,%d)", c.Red8(), c.Green8(), c.Blue8());
}

void SetOpacity(LXMLElement& e, const char* key, unsigned char alpha) {
    e.SetAttributeF(key, "%.3f", alpha / 255.0);
}

// The filter region every filter of the file has: the shape's box and its
// size again on every side.
LXMLElement* NewFilter(unsigned long id) {
    auto* f = new LXMLElement("filter");
    f->SetAttributeF("id", "filter%lu", id);
    f->SetAttribute("x", "-100%");
    f->SetAttribute("y", "-100%");
    f->SetAttribute("width", "300%");
    f->SetAttribute("height", "300%");
    return f;
}

void AddBlur(LXMLElement& filter, unsigned char radius) {
    LXMLElement* blur = filter.AddElement(new LXMLElement("feGaussianBlur"));
    blur->SetAttribute("in", "SourceGraphic");
    blur->SetAttribute("result", "blur");
    blur->SetAttributeF("stdDeviation", "%d", radius);
}

void SetCalligraphyTransparency(LXMLElement& filter, unsigned char alpha, const char* in) {
    LXMLElement* transfer = filter.AddElement(new LXMLElement("feComponentTransfer"));
    if (in)
        transfer->SetAttribute("in", in);
    for (const char* channel : {"feFuncR", "feFuncG", "feFuncB"})
        transfer->AddElement(new LXMLElement(channel))->SetAttribute("type", "identity");
    LXMLElement* a = transfer->AddElement(new LXMLElement("feFuncA"));
    a->SetAttribute("type", "gamma");
    SetOpacity(*a, "amplitude", alpha);
}

void AppendF(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void AppendF(std::string& out, const char* format, ...) {
    char buffer[128];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (n > 0)
        out.append(buffer, std::min<size_t>(static_cast<size_t>(n), sizeof buffer - 1));
}

// "M" of the first start and one "C" per segment, all rounded.
std::string CurveData(KVSegments segments) {
    std::string d;
    AppendF(d, "M%d,%d", RoundInt(segments->start.x), RoundInt(segments->start.y));
    for (KVSegments s = segments; s; ++s)
        AppendF(d, " C%d,%d %d,%d %d,%d", RoundInt(s->control1.x), RoundInt(s->control1.y),
                RoundInt(s->control2.x), RoundInt(s->control2.y), RoundInt(s->end.x), RoundInt(s->end.y));
    return d;
}

KVPoint BezierPoint(const KVDrawCoordBezierSegment& s, float u) {
    const float v = 1 - u;
    const float a = v * v * v, b = 3 * v * v * u, c = 3 * v * u * u, d = u * u * u;
    return {a * s.start.x + b * s.control1.x + c * s.control2.x + d * s.end.x,
            a * s.start.y + b * s.control1.y + c * s.control2.y + d * s.end.y};
}

bool IsStampFirst(int type) {
    return type == KVBrushCalligraphy || type == KVBrushCalligraphyReverse ||
           type == KVBrushSpray || type == KVBrushPencil || type == KVBrushPaintbrush;
}

} // namespace

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
    folder = slash == std::string::npos ? std::string(".") : folder.substr(0, slash + 1);

    // A half-written file must never stand in the place of the old one.
    char temporary[4096];
    LWriteFile file;
    if (!file.OpenTemporary(temporary, sizeof temporary, folder.c_str(), ".svg.part"))
        return false;
    const bool written = file.Write(text.data(), text.size()) == text.size();
    if (!file.Close() || !written) {
        unlink(temporary);
        return false;
    }
    struct stat old;
    const mode_t umaskNow = umask(0);
    umask(umaskNow);
    chmod(temporary, stat(path, &old) == 0 ? old.st_mode & 07777 : 0666 & ~umaskNow);
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

KVRenderImage* KVRenderImageSVG::BeginInnerGlow(LGuiColorAlpha, float) {
    return BeginChild(Transform::None);
}

KVRenderImage* KVRenderImageSVG::BeginOuterGlow(LGuiColorAlpha, float) {
    return BeginChild(Transform::None);
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

// ---------------------------------------------------------------- paths

bool KVRenderImageSVG::FastFillPath(const KVDrawPath& path, const LGuiColorAlpha& colour) {
    const LList<KVDrawCoord>& coords = path.GetCoords();
    // An empty path writes nothing: an opened, unclosed element would leave
    // a file no reader takes.
    if (!coords.GetFirst())
        return false;
    AppendF(fastPaths, "<path fill='#%02x%02x%02x' stroke='#%02x%02x%02x'", colour.Red8(),
            colour.Green8(), colour.Blue8(), colour.Red8(), colour.Green8(), colour.Blue8());
    bool first = true;
    for (const KVDrawCoord& c : coords) {
        AppendF(fastPaths, first ? " d='M%d,%d" : " L%d,%d", static_cast<int>(c.x),
                static_cast<int>(c.y));
        first = false;
    }
    fastPaths += "'/>";
    return true;
}

std::unique_ptr<LXMLElement> KVRenderImageSVG::BrushPathNormal(KVSegments segments, float w,
                                                               const LGuiColorAlpha& colour,
                                                               int brushType, unsigned char blur) {
    if (!segments)
        return nullptr;
    auto e = std::make_unique<LXMLElement>("path");
    SetRgb(*e, "stroke", colour);
    SetInt(*e, "stroke-width", w);
    SetOpacity(*e, "stroke-opacity", colour.alpha);
    e->SetAttribute("stroke-linecap", brushType == KVBrushMarker ? "butt" : "round");
    e->SetAttribute("fill", "none");
    e->SetAttribute("d", CurveData(segments).c_str());
    if (blur) {
        e->SetAttributeF("filter", "url(#filter%lu)", nextId);
        AddBlur(*root.AddElement(NewFilter(nextId++)), blur);
    }
    return e;
}

std::unique_ptr<LXMLElement> KVRenderImageSVG::BrushPathStamp(LProcessInterface& process,
                                                              KVSegments segments,
                                                              KVBrushType type, float w,
                                                              LGuiColor colour, unsigned char alpha,
                                                              unsigned char blur,
                                                              const KVPressure* pressure) {
    auto group = std::make_unique<LXMLElement>("g");
    SetRgb(*group, "fill", colour);
    group->SetAttribute("stroke-width", "0");
    group->SetAttribute("tolmar:grouptype", "stamp");
    group->SetAttributeF("tolmar:stampwidth", "%f", w);
    const char* stampName = type == KVBrushSpray                                       ? "spray"
                            : type == KVBrushCrayonSmear || type == KVBrushCrayonSplotch ? "crayon"
                            : type == KVBrushPencil                                     ? "pencil"
                            : type == KVBrushPaintbrush                                 ? "brush"
                                                                                        : nullptr;
    if (stampName)
        group->SetAttribute("tolmar:stamp", stampName);

    float spacing = 0.5f;
    LGraphicsPath specks;
    const LGuiColorAlpha stampColour = GetStamp(specks, spacing, colour, w, type);
    if (spacing <= 0)
        spacing = 0.5f;
    unsigned long symbolId = nextId;
    if (specks.GetSegments().GetFirst()) {
        symbolId = nextId++;
        LXMLElement* symbol = Add("symbol");
        symbol->SetAttributeF("id", "Symbol%lu", symbolId);
        LXMLElement* p = symbol->AddElement(new LXMLElement("path"));
        SetRgb(*p, "fill", colour);
        SetOpacity(*p, "fill-opacity", stampColour.alpha);
        p->SetAttribute("stroke-width", "0");
        p->SetAttribute("stroke-linecap", "round");
        std::string d;
        const float o = w / 2;
        for (LGraphicsPathConstIterator it(specks); it; ++it) {
            const unsigned long n = it.GetPointCount();
            const LPointTemplate<float>* pt = it.GetPoints();
            const LPathSegmentType type = it.GetSegmentType();
            if (type == LPathSegmentMoveTo && n == 1)
                AppendF(d, " M%.2f,%.2f", pt[0].x + o, pt[0].y + o);
            else if ((type == LPathSegmentLineTo || type == LPathSegmentLines) && n >= 1)
                for (unsigned long i = 0; i < n; ++i)
                    AppendF(d, " L%.2f,%.2f", pt[i].x + o, pt[i].y + o);
            else if (type == LPathSegmentBezierTo && n == 3)
                AppendF(d, " C%.2f,%.2f %.2f,%.2f %.2f,%.2f", pt[0].x + o, pt[0].y + o, pt[1].x + o,
                        pt[1].y + o, pt[2].x + o, pt[2].y + o);
            else if (type == LPathSegmentClose)
                d += " z";
        }
        p->SetAttribute("d", d.c_str());
    }

    KVPoint last{FLT_MIN, FLT_MIN};
    unsigned long index = 0;
    for (KVSegments s = segments; s; ++s, ++index) {
        if ((index & 63) == 0 && process.IsToStop())
            return nullptr;
        // A step fine enough at both ends of the segment; never so fine that
        // a huge segment would take forever to walk.
        float t = 0.5f;
        const float near = spacing / 10;
        while (t > 1.0f / 65536) {
            const KVPoint a = BezierPoint(*s, t), b = BezierPoint(*s, 1 - t);
            if (std::fabs(a.x - s->start.x) <= near && std::fabs(a.y - s->start.y) <= near &&
                std::fabs(b.x - s->end.x) <= near && std::fabs(b.y - s->end.y) <= near)
                break;
            t /= 2;
        }
        float p0 = 0, p1 = 0;
        const bool pressed = pressure && pressure->count > 0 && pressure->maximum > 0;
        if (pressed) {
            const unsigned long n = std::min(pressure->count, pressure->levels.GetSize());
            if (n > 0) {
                p0 = static_cast<float>(pressure->levels[std::min(index, n - 1)]);
                p1 = static_cast<float>(pressure->levels[std::min(index + 1, n - 1)]);
            }
        }
        for (float u = 0; u < 1; u += t) {
            const KVPoint at = BezierPoint(*s, u);
            if (std::hypot(at.x - last.x, at.y - last.y) < spacing)
                continue;
            last = at;
            const float stampWidth =
                pressed ? w * ((p1 - p0) * u + p0 + 512) / static_cast<float>(pressure->maximum) : w;
            // Of 45 radians, not degrees: this factor shapes every nib the
            // program has written.
            const float h = static_cast<float>(stampWidth / 2 / std::sin(45.0));
            const float x = at.x, y = at.y;
            if (type == KVBrushCalligraphy || type == KVBrushCalligraphyReverse) {
                const float dx = type == KVBrushCalligraphy ? -h : h;
                LXMLElement* poly = group->AddElement(new LXMLElement("polygon"));
                std::string pts;
                AppendF(pts, "%.1f,%.1f %.1f,%.1f %.1f,%.1f %.1f,%.1f ", x + dx, y + h, x - dx,
                        y - h, x - dx + 2, y - h, x + dx + 2, y + h);
                poly->SetAttribute("points", pts.c_str());
            } else if (type == KVBrushSpray || type == KVBrushCrayonSplotch ||
                       type == KVBrushPencil || type == KVBrushCrayonSmear ||
                       type == KVBrushPaintbrush) {
                LXMLElement* use = group->AddElement(new LXMLElement("use"));
                if (type != KVBrushCrayonSmear && type != KVBrushPaintbrush)
                    use->SetAttributeF("transform", "rotate(%d,%.1f,%.1f)", std::rand() % 361, x, y);
                use->SetAttributeF("x", "%.1f", x - stampWidth / 2);
                use->SetAttributeF("y", "%.1f", y - stampWidth / 2);
                use->SetAttributeF("xlink:href", "#Symbol%lu", symbolId);
            }
        }
    }

    if (blur || alpha != 255) {
        group->SetAttributeF("filter", "url(#filter%lu)", nextId);
        LXMLElement* filter = root.AddElement(NewFilter(nextId++));
        if (blur)
            AddBlur(*filter, blur);
        if (alpha < 255)
            SetCalligraphyTransparency(*filter, alpha, blur ? "blur" : nullptr);
    }
    return group;
}

LProcessResult KVRenderImageSVG::AddBrushPath(LProcessInterface& process, KVBrushType type,
                                              KVSegments segments, float w,
                                              const LGuiColorAlpha& colour, unsigned char blur,
                                              const KVPressure* pressure, bool stampFirst,
                                              LXMLElement** added) {
    if (!segments)
        return LProcessResultError;
    std::unique_ptr<LXMLElement> e;
    if (type == KVBrushRoundPen || type == KVBrushMarker) {
        e = pressure ? BrushPathStamp(process, segments, type, w, colour, colour.alpha, blur, pressure)
                     : BrushPathNormal(segments, w, colour, type, blur);
    } else if (IsStampFirst(type)) {
        e = stampFirst ? BrushPathStamp(process, segments, type, w, colour, colour.alpha, blur, pressure)
                       : BrushPathNormal(segments, w, colour, type, blur);
    } else {
        return LProcessResultError;
    }
    if (!e)
        return process.IsToStop() ? LProcessResultStopped : LProcessResultError;
    LXMLElement* placed = root.AddElement(std::move(e));
    if (added)
        *added = placed;
    return LProcessResultOk;
}

LProcessResult KVRenderImageSVG::DrawPath(LProcessInterface& process, KVBrushType type,
                                          KVSegments segments, const LLineStyle&, float w,
                                          LGuiColorAlpha colour, const KVBox&,
                                          unsigned char blur, const KVPressure* pressure) {
    if (type == KVBrushCrayon) {
        // The crayon is its splotches under its smear.
        for (KVBrushType part : {KVBrushCrayonSplotch, KVBrushCrayonSmear}) {
            auto e = BrushPathStamp(process, segments, part, w, colour, colour.alpha, blur, pressure);
            if (!e)
                return LProcessResultStopped;
            root.AddElement(std::move(e));
        }
        return LProcessResultOk;
    }
    return AddBrushPath(process, type, segments, w, colour, blur, pressure, true);
}

LProcessResult KVRenderImageSVG::DrawPathShadow(LProcessInterface& process, KVBrushType type,
                                                KVSegments segments, float w, bool hasFill,
                                                const KVDropShadow& shadow, const KVBox& bounds,
                                                const KVPressure* pressure) {
    if (!(type == KVBrushRoundPen || type == KVBrushMarker || IsStampFirst(type)))
        return LProcessResultError;
    const unsigned long id = nextId;
    float scale = 1;
    AddShadowFilter(shadow, bounds, scale);
    if (process.IsToStop()) {
        root.RemoveLastChild();
        return LProcessResultStopped;
    }
    LXMLElement* e = nullptr;
    if (LProcessResult r = AddBrushPath(process, type, segments, w, LGuiColorAlpha(0, 0, 0, 255), 0,
                                        pressure, false, &e))
        return r;
    if (hasFill)
        e->SetAttribute("fill", "black");
    e->SetAttributeF("filter", "url(#filter%lu)", id);
    e->SetAttributeF("transform", "scale(%f)", scale);
    return LProcessResultOk;
}

LProcessResult KVRenderImageSVG::DrawPathBevelEmboss(LProcessInterface& process, KVBrushType type,
                                                     KVSegments segments, float w, LGuiColor,
                                                     const KVBevelEmboss& bevel, const KVBox&,
                                                     const KVPressure* pressure) {
    // Always in black, whatever colour the element has.
    LXMLElement* e = nullptr;
    if (LProcessResult r = AddBrushPath(process, type, segments, w, LGuiColorAlpha(0, 0, 0, 255), 0,
                                        pressure, true, &e))
        return r;
    e->SetAttributeF("filter", "url(#filter%lu)", nextId);
    AddBevelFilter(bevel);
    return process.IsToStop() ? (root.RemoveLastChild(), LProcessResultStopped) : LProcessResultOk;
}

LProcessResult KVRenderImageSVG::FillPathBevelEmboss(LProcessInterface& process, KVBrushType type,
                                                     KVSegments segments, float w,
                                                     LGuiColor lineColour,
                                                     LGuiColorAlpha fillColour, const KVBox&,
                                                     const KVBevelEmboss& bevel,
                                                     const KVPressure* pressure) {
    LXMLElement* e = nullptr;
    if (LProcessResult r = AddBrushPath(process, type, segments, w, LGuiColorAlpha(lineColour, 255),
                                        0, pressure, false, &e))
        return r;
    SetRgb(*e, "fill", fillColour);
    SetOpacity(*e, "fill-opacity", fillColour.alpha);
    e->SetAttributeF("filter", "url(#filter%lu)", nextId);
    AddBevelFilter(bevel);
    return process.IsToStop() ? (root.RemoveLastChild(), LProcessResultStopped) : LProcessResultOk;
}

LProcessResult KVRenderImageSVG::FillPathBevelEmboss(LProcessInterface& process, KVBrushType type,
                                                     KVSegments segments, float w,
                                                     LGuiColor lineColour,
                                                     const KVGradient& gradient, const KVBox&,
                                                     const KVBevelEmboss& bevel,
                                                     const KVPressure* pressure) {
    LXMLElement* e = nullptr;
    if (LProcessResult r = AddBrushPath(process, type, segments, w, LGuiColorAlpha(lineColour, 255),
                                        0, pressure, false, &e))
        return r;
    e->SetAttributeF("fill", "url(#grad%lu)", nextId);
    AddGradient(gradient);
    e->SetAttributeF("filter", "url(#filter%lu)", nextId);
    AddBevelFilter(bevel);
    return process.IsToStop() ? (root.RemoveLastChild(), LProcessResultStopped) : LProcessResultOk;
}

LProcessResult KVRenderImageSVG::FillPath(LProcessInterface&, KVSegments segments, float w,
                                          LGuiColor lineColour, LGuiColorAlpha fillColour) {
    if (!segments)
        return LProcessResultError;
    LXMLElement* e = Add("path");
    e->SetAttribute("d", CurveData(segments).c_str());
    if (fillColour.alpha == 0) {
        e->SetAttribute("fill", "none");
    } else {
        SetRgb(*e, "fill", fillColour);
        SetOpacity(*e, "fill-opacity", fillColour.alpha);
    }
    SetRgb(*e, "stroke", lineColour);
    SetInt(*e, "stroke-width", w);
    return LProcessResultOk;
}

LProcessResult KVRenderImageSVG::FillPath(LProcessInterface&, KVSegments segments, float w,
                                          LGuiColor lineColour, const KVGradient& gradient,
                                          const KVBox&) {
    if (!segments)
        return LProcessResultError;
    const unsigned long id = nextId;
    AddGradient(gradient);
    LXMLElement* e = Add("path");
    e->SetAttribute("d", CurveData(segments).c_str());
    e->SetAttributeF("fill", "url(#grad%lu)", id);
    SetRgb(*e, "stroke", lineColour);
    SetInt(*e, "stroke-width", w);
    return LProcessResultOk;
}

// ---------------------------------------------------------------- erasing

LProcessResult KVRenderImageSVG::EraserStroke(LProcessInterface& process,
                                              LListIterator<KVEraserStroke> strokes) {
    LXMLElement* target = root.GetLastChild();
    if (!target)
        return LProcessResultError;
    // A line keeps no mask in this format.
    if (target->IsNamed("line"))
        return LProcessResultOk;
    target->SetAttributeF("mask", "url(#Mask%lu)", nextId);
    auto mask = std::make_unique<LXMLElement>("mask");
    mask->SetAttributeF("id", "Mask%lu", nextId);
    LXMLElement* white = mask->AddElement(new LXMLElement("rect"));
    white->SetAttribute("x", "0");
    white->SetAttribute("y", "0");
    white->SetAttributeF("width", "%lu", width);
    white->SetAttributeF("height", "%lu", height);
    white->SetAttribute("fill", "rgb(255,255,255)");
    white->SetAttribute("fill-opacity", "1");
    for (LListIterator<KVEraserStroke> it = strokes; it; ++it) {
        KVEraserStroke& stroke = *it;
        if (process.IsToStop())
            return LProcessResultStopped;
        const LList<KVDrawCoord>& coords = stroke.path.GetCoords();
        const KVDrawCoord* a = coords.GetFirst();
        if (!a) {
            process.SetError("An erase stroke has no path.");
            return LProcessResultError;
        }
        LXMLElement* p = mask->AddElement(new LXMLElement("path"));
        p->SetAttributeF("stroke-width", "%.3f", stroke.width);
        p->SetAttribute("stroke", "rgb(0,0,0)");
        p->SetAttribute("fill-opacity", "0");
        p->SetAttribute("stroke-linecap", "round");
        const float* m = stroke.transform.m;
        p->SetAttributeF("transform", "matrix(%.3f,%.3f,%.3f,%.3f,%.3f,%.3f)", m[0], m[4], m[1],
                         m[5], m[2], m[6]);
        std::string d;
        AppendF(d, "M%d,%d", RoundInt(a->x), RoundInt(a->y));
        for (const KVDrawCoord* b = a->GetNext(); b; a = b, b = b->GetNext())
            AppendF(d, " C%d,%d %d,%d %d,%d", RoundInt(a->afterX), RoundInt(a->afterY),
                    RoundInt(b->beforeX), RoundInt(b->beforeY), RoundInt(b->x), RoundInt(b->y));
        p->SetAttribute("d", d.c_str());
    }
    root.AddElement(std::move(mask));
    ++nextId;
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

#pragma once
// What the SVG target's two files share: the number, colour and filter
// forms of the file.

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/xml.h"
#include "target/draw_path.h"
#include "target/render_types.h"

namespace kvsvg {

inline constexpr unsigned long kIdsPerChild = 1024;
inline constexpr const char* kFileHead =
    "<?xml version=\"1.0\" standalone=\"no\"?>\r\n"
    "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\"\r\n"
    "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\r\n\r\n";

// Half away from zero, cut to an integer: the whole numbers of the file.
inline int RoundInt(float v) { return static_cast<int>(Round(v)); }

inline void SetInt(LXMLElement& e, const char* key, float v) { e.SetAttributeF(key, "%d", RoundInt(v)); }

inline void SetRgb(LXMLElement& e, const char* key, const LGuiColor& c) {
    e.SetAttributeF(key, "rgb(%d,%d,%d)", c.Red8(), c.Green8(), c.Blue8());
}

inline void SetOpacity(LXMLElement& e, const char* key, unsigned char alpha) {
    e.SetAttributeF(key, "%.3f", alpha / 255.0);
}

// The filter region every filter of the file has: the shape's box and its
// size again on every side.
inline LXMLElement* NewFilter(unsigned long id) {
    auto* f = new LXMLElement("filter");
    f->SetAttributeF("id", "filter%lu", id);
    f->SetAttribute("x", "-100%");
    f->SetAttribute("y", "-100%");
    f->SetAttribute("width", "300%");
    f->SetAttribute("height", "300%");
    return f;
}

inline void AddBlur(LXMLElement& filter, unsigned char radius) {
    LXMLElement* blur = filter.AddElement(new LXMLElement("feGaussianBlur"));
    blur->SetAttribute("in", "SourceGraphic");
    blur->SetAttribute("result", "blur");
    blur->SetAttributeF("stdDeviation", "%d", radius);
}

inline void SetCalligraphyTransparency(LXMLElement& filter, unsigned char alpha, const char* in) {
    LXMLElement* transfer = filter.AddElement(new LXMLElement("feComponentTransfer"));
    if (in)
        transfer->SetAttribute("in", in);
    for (const char* channel : {"feFuncR", "feFuncG", "feFuncB"})
        transfer->AddElement(new LXMLElement(channel))->SetAttribute("type", "identity");
    LXMLElement* a = transfer->AddElement(new LXMLElement("feFuncA"));
    a->SetAttribute("type", "gamma");
    SetOpacity(*a, "amplitude", alpha);
}

inline void AppendF(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
inline void AppendF(std::string& out, const char* format, ...) {
    char buffer[128];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (n > 0)
        out.append(buffer, std::min<size_t>(static_cast<size_t>(n), sizeof buffer - 1));
}

// "M" of the first start and one "C" per segment, all rounded.
inline std::string CurveData(KVSegments segments) {
    std::string d;
    AppendF(d, "M%d,%d", RoundInt(segments->start.x), RoundInt(segments->start.y));
    for (KVSegments s = segments; s; ++s)
        AppendF(d, " C%d,%d %d,%d %d,%d", RoundInt(s->control1.x), RoundInt(s->control1.y),
                RoundInt(s->control2.x), RoundInt(s->control2.y), RoundInt(s->end.x), RoundInt(s->end.y));
    return d;
}

inline KVPoint BezierPoint(const KVDrawCoordBezierSegment& s, float u) {
    const float v = 1 - u;
    const float a = v * v * v, b = 3 * v * v * u, c = 3 * v * u * u, d = u * u * u;
    return {a * s.start.x + b * s.control1.x + c * s.control2.x + d * s.end.x,
            a * s.start.y + b * s.control1.y + c * s.control2.y + d * s.end.y};
}

inline bool IsStampFirst(int type) {
    return type == KVBrushCalligraphy || type == KVBrushCalligraphyReverse ||
           type == KVBrushSpray || type == KVBrushPencil || type == KVBrushPaintbrush;
}


} // namespace kvsvg

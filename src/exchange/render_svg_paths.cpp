// The SVG target's freehand paths, stamped strokes and erase masks.

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "exchange/render_svg.h"
#include "exchange/render_svg_p.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "render/stamps.h"
#include "target/draw_path.h"

using namespace kvsvg;

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


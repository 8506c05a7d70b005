// What each shape of an SVG file becomes in the editor.

#include "exchange/svg_to_elements.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <map>
#include <string>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/shapes.h"
#include "document/text_elements.h"
#include "foundation/file.h"
#include "foundation/paint_surface.h"
#include "foundation/string.h"
#include "foundation/text_format.h"

namespace {

// This program reads every SVG file at 96 dots an inch.
constexpr float kReadDpi = 96.0f;

LGuiColorAlpha Opaque(const LGuiColorAlpha& c) { return {c, 255}; }

// Line and fill of every shape kind: the outline's colour (alpha dropped)
// and width from the stroke, the fill from a colour or a gradient on `box`.
void TakeFill(KVFillProperties& p, const LVectorImageShape& shape, const LBoundingBox2T<float>& box) {
    const LVectorImageBrush& fill = shape.fill.brush;
    if (fill.type == LVectorImageBrushSolid)
        p.SetFill(fill.colour);
    else if (fill.type == LVectorImageBrushLinear || fill.type == LVectorImageBrushRadial)
        p.SetGradient(KVReadImageSVG::LoadGradient(fill, box));
    else
        p.RemoveFill();
}

// A shape the file gives no stroke has no outline: its empty stroke brush
// would otherwise frame every filled shape in black.
float LineWidth(const LVectorImageShape& shape) {
    return shape.stroke.brush.type == LVectorImageBrushNone ? 0.0f : shape.stroke.width;
}

template <class P> void TakePaints(P& p, const LVectorImageShape& shape, const LBoundingBox2T<float>& box) {
    p.lineColour = Opaque(shape.stroke.brush.colour);
    p.lineWidth = LineWidth(shape);
    TakeFill(p, shape, box);
}

LBoundingBox2T<float> BoxOf(const std::vector<LPointTemplate<float>>& points) {
    LBoundingBox2T<float> box(points[0].x, points[0].y, points[0].x, points[0].y);
    for (const auto& p : points)
        box += LBoundingBox2T<float>(p.x, p.y, p.x, p.y);
    return box;
}

// The size of one character as a text element of the editor sets it,
// measured once for each font and byte.
class CharacterSizes {
public:
    LPointTemplate<float> Measure(const LFontAttributes& font, const std::string& character) {
        char key[300];
        std::snprintf(key, sizeof key, "%s|%g|%u|%s", font.face, font.size, font.flags, character.c_str());
        const auto found = sizes.find(key);
        if (found != sizes.end())
            return found->second;
        if (sizes.size() > 20000)
            sizes.clear();
        LPointTemplate<float> size{0, 0};
        LPaintSurfaceImage scratch(1, 1);
        if (scratch.IsValid()) {
            LPaintSurface::SetFont(scratch.context, LGuiFont(font));
            LDrawTextFormat format;
            format.alignY = LAlignmentYTop;
            LPaintSurface::MeasureText(scratch.context, size.x, size.y, character.c_str(),
                                       LBoundingBox2T<float>(0, 0, 100000, 100000), format);
        }
        sizes.emplace(key, size);
        return size;
    }

private:
    std::map<std::string, LPointTemplate<float>> sizes;
};

} // namespace

KVReadImageSVG::KVReadImageSVG(const char* p) { LStrCopy(path, p ? p : ""); }

KVGradient KVReadImageSVG::LoadGradient(const LVectorImageBrush& brush, const LBoundingBox2T<float>& box) {
    KVGradient g({0, 0}, {0, 0}, LGuiColorAlpha(0, 0, 0, 255), LGuiColorAlpha(255, 255, 255, 255));
    // A box without width or height has no fractions: it counts as one unit.
    const float w = box.GetWidth() != 0 ? box.GetWidth() : 1;
    const float h = box.GetHeight() != 0 ? box.GetHeight() : 1;
    if (brush.type == LVectorImageBrushRadial) {
        // The box's origin is not taken off the centre here, unlike for a
        // linear gradient below, and the radii keep their default.
        g.radial = true;
        g.start = {brush.x1 / w, brush.y1 / h};
    } else if (brush.type == LVectorImageBrushLinear) {
        g.start = {(brush.x1 - box.x1) / w, (brush.y1 - box.y1) / h};
        g.end = {(brush.x2 - box.x1) / w, (brush.y2 - box.y1) / h};
    } else {
        return g;
    }
    // A stop at exactly 0 or 1 gives an end its colour; the others go
    // between. The spread method is dropped.
    for (size_t i = 0; i < brush.stopPositions.size(); ++i) {
        const float at = brush.stopPositions[i];
        const LGuiColorAlpha& c = brush.stopColours[i];
        if (at == 0.0f) {
            if (i < g.GetStopCount())
                g.SetStopColor(i, c);
        } else if (at == 1.0f) {
            g.SetStopColor(g.GetStopCount() - 1, c);
        } else {
            g.AddStop(at, c);
        }
    }
    return g;
}

void KVReadImageSVG::ConstructPath(const std::vector<LVectorImagePathCommand>& commands,
                                   unsigned long width, unsigned long height,
                                   std::vector<std::unique_ptr<KVDrawPath>>& paths) {
    if (commands.empty())
        return;
    auto path = std::make_unique<KVDrawPath>(width, height, nullptr);
    // The node being built: its point and incoming control are known, its
    // outgoing control comes with the next command.
    KVDrawCoord node;
    bool started = false;
    auto point = [](const LVectorImagePathCommand& c, size_t i) {
        return LPointTemplate<float>{c.args[i], c.args[i + 1]};
    };
    auto startAt = [&](LPointTemplate<float> p, LPointTemplate<float> before) {
        node = KVDrawCoord(p.x, p.y);
        node.beforeX = before.x;
        node.beforeY = before.y;
    };
    // Appends the node with its outgoing control and starts the next one.
    auto advance = [&](LPointTemplate<float> after, LPointTemplate<float> before, LPointTemplate<float> to) {
        node.afterX = after.x;
        node.afterY = after.y;
        path->AddCoord(new KVDrawCoord(node));
        startAt(to, before);
        started = true;
    };
    for (const LVectorImagePathCommand& c : commands) {
        if (c.args.size() < 2 && c.type != LVectorImagePathClose)
            continue;
        if (path->GetCoords().GetCount() == 0 && !started && c.type != LVectorImagePathClose) {
            const size_t at = c.type == LVectorImagePathArc ? 5 : 0;
            startAt(point(c, at), point(c, at));
            started = true;
            if (c.type == LVectorImagePathMove)
                continue;
        }
        const LPointTemplate<float> here{node.x, node.y};
        switch (c.type) {
        case LVectorImagePathMove:
            if (path->GetCoords().GetCount() == 0) {
                // Nothing drawn since the last move: the new one replaces it.
                startAt(point(c, 0), point(c, 0));
                break;
            }
            node.afterX = node.x;
            node.afterY = node.y;
            path->AddCoord(new KVDrawCoord(node));
            paths.push_back(std::move(path));
            path = std::make_unique<KVDrawPath>(width, height, nullptr);
            startAt(point(c, 0), point(c, 0));
            break;
        case LVectorImagePathLine:
            advance(here, point(c, 0), point(c, 0));
            break;
        case LVectorImagePathCubic:
            if (c.args.size() >= 6)
                advance(point(c, 0), point(c, 2), point(c, 4));
            break;
        case LVectorImagePathQuadratic:
            // Read as a cubic with both controls on the quadratic's one.
            if (c.args.size() >= 4)
                advance(point(c, 0), point(c, 0), point(c, 2));
            break;
        case LVectorImagePathSmoothCubic:
            if (c.args.size() >= 4)
                advance({2 * node.x - node.beforeX, 2 * node.y - node.beforeY}, point(c, 0), point(c, 2));
            break;
        case LVectorImagePathSmoothQuadratic: {
            const LPointTemplate<float> reflected{2 * node.x - node.beforeX, 2 * node.y - node.beforeY};
            advance(reflected, reflected, point(c, 0));
            break;
        }
        default:
            // Arcs and closes: the path goes straight on from where it was.
            break;
        }
    }
    node.afterX = node.x;
    node.afterY = node.y;
    path->AddCoord(new KVDrawCoord(node));
    paths.push_back(std::move(path));
}

// ---------------------------------------------------------------- the load

LProcessResult KVReadImageSVG::LoadImage(LProcessInterface& process) {
    LVectorImage vector;
    if (LProcessResult r = LVectorImageLoadSVG(process, path, vector, kReadDpi))
        return r;
    return Map(process, vector);
}

LProcessResult KVReadImageSVG::LoadImageFromText(LProcessInterface& process, const char* text,
                                                 size_t length) {
    LVectorImage vector;
    if (LProcessResult r = LVectorImageLoadSVGText(process, text, length, vector, kReadDpi))
        return r;
    return Map(process, vector);
}

LProcessResult KVReadImageSVG::Map(LProcessInterface& process, LVectorImage& vector) {
    if (process.IsToStop())
        return LProcessResultStopped;
    image = std::make_unique<KVImage>("Untitled", static_cast<unsigned long>(std::lround(vector.width)),
                                      static_cast<unsigned long>(std::lround(vector.height)), 72,
                                      LPixelColour(255, 255, 255, 255));
    const size_t count = vector.elements.size();
    for (size_t i = 0; i < count; ++i) {
        LoadElement(*vector.elements[i]);
        if ((i & 1023) == 1023) {
            if (process.IsToStop())
                return LProcessResultStopped;
            process.SetProgress(static_cast<double>(i) / static_cast<double>(count));
        }
    }
    return LProcessResultOk;
}

void KVReadImageSVG::Add(KVElement* element) {
    image->AddNewElement(element, image->GetFirstLayer(), false, false);
}

void KVReadImageSVG::LoadElement(const LVectorImageElement& e) {
    if (!image->GetFirstLayer())
        return;
    const LBoundingBox2T<float> box(e.left, e.top, e.right, e.bottom);
    switch (e.type) {
    case LVectorImageCircleType:
    case LVectorImageEllipseType: {
        const auto& s = static_cast<const LVectorImageEllipse&>(e);
        KVEllipseElementProperties p;
        p.SetBounds({s.cx - s.rx, s.cy - s.ry, s.cx + s.rx, s.cy + s.ry});
        TakePaints(p, s, p.bounds);
        Add(new KVEllipseElement(p));
        break;
    }
    case LVectorImageLineType: {
        const auto& s = static_cast<const LVectorImageLine&>(e);
        KVLineElementProperties p;
        p.start = {s.x1, s.y1};
        p.end = {s.x2, s.y2};
        p.lineColour = Opaque(s.stroke.brush.colour);
        p.lineWidth = LineWidth(s);
        Add(new KVLineElement(p));
        break;
    }
    case LVectorImagePolygonType: {
        const auto& s = static_cast<const LVectorImagePoly&>(e);
        KVPolygonElementProperties p;
        p.sides = static_cast<unsigned long>(s.points.size());
        p.SetBounds(BoxOf(s.points));
        LArray<LPointTemplate<float>> vertices;
        for (const auto& pt : s.points)
            vertices.Add(pt);
        p.SetVertexList(vertices);
        TakePaints(p, s, p.bounds);
        Add(new KVPolygonElement(p));
        break;
    }
    case LVectorImagePolylineType: {
        const auto& s = static_cast<const LVectorImagePoly&>(e);
        if (s.points.size() < 2)
            break;
        KVPenElementProperties p;
        auto* line = new KVDrawPath(image->GetWidth(), image->GetHeight(), nullptr);
        for (const auto& pt : s.points)
            line->AddCoord(new KVDrawCoord(pt.x, pt.y));
        p.path.Set(line);
        p.width = LineWidth(s);
        p.colour = Opaque(s.stroke.brush.colour);
        TakeFill(p, s, BoxOf(s.points));
        Add(new KVPenElement(p));
        break;
    }
    case LVectorImageRectType: {
        // The corner radii are dropped.
        const auto& s = static_cast<const LVectorImageRect&>(e);
        KVRectangleElementProperties p;
        p.SetRectangle({s.x, s.y, s.x + s.width, s.y + s.height});
        TakePaints(p, s, p.bounds);
        Add(new KVRectangleElement(p));
        break;
    }
    case LVectorImagePathType:
        LoadPath(static_cast<const LVectorImagePath&>(e));
        break;
    case LVectorImageImageType:
        LoadImageElement(static_cast<const LVectorImageImage&>(e));
        break;
    case LVectorImageTextType:
        LoadText(static_cast<const LVectorImageText&>(e));
        break;
    default:
        (void)box;
        break;
    }
}

void KVReadImageSVG::LoadPath(const LVectorImagePath& s) {
    std::vector<std::unique_ptr<KVDrawPath>> paths;
    ConstructPath(s.commands, image->GetWidth(), image->GetHeight(), paths);
    // Every subpath's gradient spans the whole path's box.
    const LBoundingBox2T<float> box = s.GetPointBounds();
    for (auto& one : paths) {
        // A lone point has no segment to draw, and a pen without one fails
        // the whole picture's render: it is an element that cannot be made.
        if (one->GetCoords().GetCount() < 2)
            continue;
        KVPenElementProperties p;
        p.width = LineWidth(s);
        p.colour = Opaque(s.stroke.brush.colour);
        TakeFill(p, s, box);
        p.path.Set(one.release());
        Add(new KVPenElement(p));
    }
}

void KVReadImageSVG::LoadImageElement(const LVectorImageImage& s) {
    if (!s.picture.IsValid())
        return;
    KVImageElementProperties p;
    LImageBuffer picture;
    picture.Assign(const_cast<LImageBuffer&>(s.picture));
    p.SetImage(picture);
    p.x = static_cast<int>(std::lround(s.x));
    p.y = static_cast<int>(std::lround(s.y));
    p.width = static_cast<int>(std::lround(s.width));
    p.height = static_cast<int>(std::lround(s.height));
    Add(new KVImageElement(p));
}

void KVReadImageSVG::LoadText(const LVectorImageText& s) {
    static thread_local CharacterSizes sizes;
    KVTextElementProperties p;
    p.fontSize = static_cast<unsigned long>(std::max(1L, std::lround(s.size)));
    p.colour = s.fill.brush.colour;
    LStrCopy(p.font, s.face.c_str());
    p.bold = (s.flags & LVectorImageFontBold) != 0;
    p.italic = (s.flags & LVectorImageFontItalic) != 0;
    p.underline = (s.flags & LVectorImageFontUnderline) != 0;
    if (s.anchor == 1 || s.anchor == 2)
        p.alignment = s.anchor;
    const LFontAttributes font(p.font, static_cast<float>(p.fontSize),
                               (p.bold ? unsigned(LFontBold) : 0u) | (p.italic ? unsigned(LFontItalic) : 0u) |
                                   (p.underline ? unsigned(LFontUnderline) : 0u));
    for (const LVectorImageTextSegment& segment : s.segments) {
        // A blank alone is nothing to edit: the runs' trailing blanks and
        // the gaps between words are left out.
        if (segment.character == " ")
            continue;
        const LPointTemplate<float> size = sizes.Measure(font, segment.character);
        KVTextElementProperties one = p;
        one.rotation = segment.rotation;
        one.text = segment.character.c_str();
        one.bounds = {segment.x, segment.y, segment.x + size.x, segment.y + size.y};
        Add(new KVTextElement(one));
    }
}

// ---------------------------------------------------------------- as a project

LProcessResult Process(LProcessInterface& process, KVSVGProjectLoad& load) {
    std::string file = load.path ? load.path : "";
    const size_t slash = file.find_last_of('/');
    if (slash != std::string::npos)
        file.erase(0, slash + 1);
    // A missing file is not a broken picture: it is named as the export
    // names any missing input.
    if (!load.path || !LFile::Exists(load.path)) {
        process.SetError(LFile::ErrorText("The file could not be found.", load.path ? load.path : "", ENOENT).c_str());
        return LProcessResultError;
    }
    KVReadImageSVG reader(load.path);
    // The reader's reason comes behind the sentence that names the file.
    struct Reasons : LProcessInterfaceNested {
        using LProcessInterfaceNested::LProcessInterfaceNested;
        void SetError(const char* message) override { reason = message ? message : ""; }
        std::string reason;
    } reasons(&process);
    const LProcessResult r = reader.LoadImage(reasons);
    if (r == LProcessResultError) {
        std::string message = "\"" + file + "\" is not a picture this program can open.";
        if (!reasons.reason.empty())
            message += " " + reasons.reason;
        process.SetError(message.c_str());
    }
    if (r != LProcessResultOk)
        return r;
    std::string name = file;
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0)
        name.erase(dot);
    load.project = std::make_unique<KVProject>(name.c_str());
    reader.image->SetName(file.c_str());
    load.project->AddNewImage(reader.image.release());
    return LProcessResultOk;
}

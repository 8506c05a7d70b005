#include "document/shapes.h"

#include <cmath>
#include <cstdio>

#include "document/cache_path.h"
#include "target/draw_path.h"
#include "document/widget.h"
#include "foundation/graphics_path.h"

namespace {
KVShapeWidgetFactory* gShapeWidgetFactory = nullptr;

// x' = x + (x * s - x): the box's corner moves by its own scaled offset.
float ScaleCoordinate(float x, float s) { return x + (x * s - x); }

// Which form of a shape's operation paints it: with its gradient, its flat
// fill, or as an outline. The body asks for the gradient first and the bevel
// for the fill first. Only one of the two is ever set, yet both orders are
// the program's own and stay as they are.
enum class FillOrder { GradientFirst, FillFirst };

template <class P, class Gradient, class Fill, class Outline>
LProcessResult PaintByFill(const P& p, FillOrder order, Gradient gradient, Fill fill,
                           Outline outline) {
    if (order == FillOrder::GradientFirst && p.gradient)
        return gradient(*p.gradient);
    if (p.fill)
        return fill(*p.fill);
    if (p.gradient)
        return gradient(*p.gradient);
    return outline();
}
} // namespace

void KVSetShapeWidgetFactory(KVShapeWidgetFactory* factory) { gShapeWidgetFactory = factory; }
KVShapeWidgetFactory* KVGetShapeWidgetFactory() { return gShapeWidgetFactory; }

// ---------------------------------------------------------------- records

void KVBoxShapeProperties::SetBounds(const LBoundingBox2T<float>& box) {
    UpdateEraserStrokes(bounds, box, lineWidth);
    bounds = box;
}

void KVBoxShapeProperties::SetRotationDegrees(float degrees) {
    RotateEraserStrokes(GetCentre(), degrees - rotation);
    rotation = degrees;
}

LPointTemplate<float> KVBoxShapeProperties::GetCentre() const {
    return {(bounds.x1 + bounds.x2) * 0.5f, (bounds.y1 + bounds.y2) * 0.5f};
}

void KVTriangleElementProperties::GetPoints(LPointTemplate<float> points[3]) const {
    const float x1 = bounds.x1, y1 = bounds.y1, x2 = bounds.x2, y2 = bounds.y2;
    switch (corner) {
    case 0:
        points[0] = {x2, y2}, points[1] = {x1, y2}, points[2] = {x1, y1};
        break;
    case 1:
        points[0] = {x2, y2}, points[1] = {x1, y2}, points[2] = {x2, y1};
        break;
    case 2:
        points[0] = {x2, y1}, points[1] = {x1, y1}, points[2] = {x1, y2};
        break;
    case 3:
        points[0] = {x2, y2}, points[1] = {x1, y1}, points[2] = {x2, y1};
        break;
    default:
        points[0] = points[1] = points[2] = {0.0f, 0.0f};
        break;
    }
}

void KVPolygonElementProperties::SetBounds(const LBoundingBox2T<float>& box) {
    KVBoxShapeProperties::SetBounds(box);
    RecalcVertices();
}

void KVPolygonElementProperties::RecalcVertices() {
    vertices.Clear();
    if (sides == 0)
        return;
    const float cx = (bounds.x1 + bounds.x2) * 0.5f;
    const float cy = (bounds.y1 + bounds.y2) * 0.5f;
    const float rx = (bounds.x2 - bounds.x1) * 0.5f;
    const float ry = (bounds.y2 - bounds.y1) * 0.5f;
    const float step = 6.2831855f / static_cast<float>(sides);
    // Each vertex goes in front of the ones before it.
    LArray<LPointTemplate<float>> reversed(sides);
    for (unsigned long i = 0; i < sides; ++i) {
        const double angle = static_cast<double>(static_cast<float>(i) * step);
        reversed.Add({static_cast<float>(cx + rx * std::sin(angle)),
                      static_cast<float>(cy + ry * std::cos(angle))});
    }
    vertices.SetCapacity(sides);
    for (unsigned long i = sides; i > 0; --i)
        vertices.Add(reversed[i - 1]);
}

// ---------------------------------------------------------------- box shapes

namespace {

void TagGlow(KVRenderImage& t, const char* key, const KVGlow& glow) {
    char value[96];
    const LGuiColorAlpha& c = glow.colour;
    std::snprintf(value, sizeof value, "%.3f,rgb(%d,%d,%d)", glow.strength, c.Red8(), c.Green8(),
                  c.Blue8());
    t.TagLastElement(key, value);
}

} // namespace

void KVTagEffects(KVRenderImage& t, const KVDropShadow* shadow, const KVBevelEmboss* bevel,
                  const KVGlow* innerGlow, const KVGlow* outerGlow) {
    char value[96];
    if (shadow) {
        std::snprintf(value, sizeof value, "%d,%d,%d,%d", shadow->softness,
                      shadow->horizontalOffset, shadow->verticalOffset, shadow->size);
        t.TagLastElement("tolmar:shadow", value);
    }
    if (bevel) {
        std::snprintf(value, sizeof value, "%d", bevel->size);
        t.TagLastElement("tolmar:bevel", value);
    }
    if (innerGlow)
        TagGlow(t, "tolmar:innerglow", *innerGlow);
    if (outerGlow)
        TagGlow(t, "tolmar:outerglow", *outerGlow);
}

// The order is fixed: the shadow lies under the glows, the outer glow opens
// first and closes last around the inner one, and the bevel is painted inside
// both.
template <class P>
LProcessResult KVBoxShapeElement<P>::Render(LProcessInterface& process, KVRenderImage& target) {
    const P p = this->GetProperties();
    KVSubInterfaceCreator subs(process, 5);
    subs.weights[0] = p.shadow ? 5 : 0;
    subs.weights[1] = 1;
    subs.weights[2] = p.bevel ? 3 : 0;
    subs.weights[3] = p.innerGlow ? 7 : 0;
    subs.weights[4] = p.outerGlow ? 7 : 0;

    // A target that has no sub-target for a transform or a glow answers null;
    // the element then draws on the target it has, without that effect.
    KVRenderImage* t = &target;
    bool rotated = false;
    if (p.rotation != 0.0f)
        if (KVRenderImage* child = t->BeginRotate(p.rotation, p.GetCentre())) {
            t = child;
            rotated = true;
        }
    if (p.shadow)
        if (LProcessResult r = DrawShadow(*t, subs.GetSubInterface(0), p))
            return r;
    KVRenderImage* outerParent = nullptr;
    if (p.outerGlow)
        if (KVRenderImage* child = t->BeginOuterGlow(p.outerGlow->colour, p.outerGlow->strength)) {
            outerParent = t;
            t = child;
        }
    KVRenderImage* innerParent = nullptr;
    if (p.innerGlow)
        if (KVRenderImage* child = t->BeginInnerGlow(p.innerGlow->colour, p.innerGlow->strength)) {
            innerParent = t;
            t = child;
        }
    if (LProcessResult r = DrawBody(*t, subs.GetSubInterface(1), p))
        return r;
    if (t->DoesImageUseMetadata())
        KVTagEffects(*t, p.shadow.Get(), p.bevel.Get(), p.innerGlow.Get(), p.outerGlow.Get());
    if (p.bevel)
        if (LProcessResult r = DrawBevel(*t, subs.GetSubInterface(2), p))
            return r;
    if (innerParent)
        innerParent->FinishInnerGlow(subs.GetSubInterface(3));
    if (outerParent)
        outerParent->FinishOuterGlow(subs.GetSubInterface(4));
    if (rotated)
        target.FinishRotate();
    return LProcessResultOk;
}

template <class P> bool KVBoxShapeElement<P>::Update(KVElementWidget* widget) {
    if (!widget)
        return false;
    P p = this->GetProperties();
    auto* geometry = dynamic_cast<KVShapeWidgetGeometry*>(widget);
    if (geometry)
        geometry->SetShapeParameter(GetShapeParameter(p));
    const LBoundingBox2T<float> box = widget->GetDimensions();
    const float rotation = geometry ? geometry->GetRotation() : p.rotation;
    if (box == p.bounds && rotation == p.rotation)
        return false;
    ApplyBounds(p, box);
    p.SetRotationDegrees(rotation);
    this->SetProperties(p, true, nullptr);
    return true;
}

template <class P> void KVBoxShapeElement<P>::Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) {
    P p = this->GetProperties();
    const LBoundingBox2T<float>& b = p.bounds;
    ApplyBounds(p, {b.x1 - box.x1, b.y1 - box.y1, b.x2 - box.x1, b.y2 - box.y1});
    this->SetProperties(p, group != nullptr, group);
}

template <class P> void KVBoxShapeElement<P>::Resize(float sx, float sy, bool addUndo) {
    P p = this->GetProperties();
    const LBoundingBox2T<float>& b = p.bounds;
    const float dx = b.x1 * sx - b.x1;
    const float dy = b.y1 * sy - b.y1;
    ApplyBounds(p, {b.x1 + dx, b.y1 + dy, (b.x2 - b.x1) * sx + b.x1 + dx,
                    (b.y2 - b.y1) * sy + b.y1 + dy});
    p.lineWidth *= (sx + sy) * 0.5f;
    this->SetProperties(p, addUndo, nullptr);
}

template <class P> bool KVBoxShapeElement<P>::CanCacheAsPath() const {
    const P p = this->GetProperties();
    return !p.shadow && !p.bevel && !p.innerGlow && !p.outerGlow;
}

template <class P> void KVBoxShapeElement<P>::LoadGradient(KVGradient gradient) {
    P p = this->GetProperties();
    p.SetGradient(gradient);
    this->SetProperties(p, false, nullptr);
}

template <class P> void KVBoxShapeElement<P>::SetPropertiesFromPanel(const P& panel, bool addUndo) {
    P p = this->GetProperties();
    ApplyPanel(p, panel);
    this->SetProperties(p, addUndo, nullptr);
}

// The appearance comes from the panel; geometry, rotation and strokes stay.
template <class P> void KVBoxShapeElement<P>::ApplyPanel(P& p, const P& panel) const {
    p.lineColour = panel.lineColour;
    p.lineWidth = panel.lineWidth;
    p.TakeFill(panel);
    p.shadow = panel.shadow;
    p.bevel = panel.bevel;
    p.innerGlow = panel.innerGlow;
    p.outerGlow = panel.outerGlow;
}

template <class P> int KVBoxShapeElement<P>::GetWidgetBorder(const P& p) const {
    return static_cast<int>(Round(p.lineWidth));
}

template <class P> KVElementWidget* KVBoxShapeElement<P>::GetWidget() {
    KVShapeWidgetFactory* factory = KVGetShapeWidgetFactory();
    if (!factory)
        return nullptr;
    const P p = this->GetProperties();
    return factory->MakeBoxShapeWidget(this, this->GetName(), p, GetWidgetBorder(p),
                                       GetShapeParameter(p));
}

// ---------------------------------------------------------------- the kinds

LProcessResult KVRectangleElement::DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    return t.DrawRectShadow(sub, p.bounds, p.lineWidth, p.IsFilled(), *p.shadow);
}

LProcessResult KVRectangleElement::DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    return PaintByFill(
        p, FillOrder::GradientFirst,
        [&](const KVGradient& g) { return t.FillRect(sub, g, p.lineWidth, p.lineColour, p.bounds); },
        [&](const LGuiColorAlpha& f) { return t.FillRect(sub, p.lineWidth, p.lineColour, f, p.bounds); },
        [&] { return t.DrawRect(sub, p.lineWidth, p.lineColour, p.bounds); });
}

LProcessResult KVRectangleElement::DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    const KVBevelEmboss& b = *p.bevel;
    return PaintByFill(
        p, FillOrder::FillFirst,
        [&](const KVGradient& g) {
            return t.FillRectBevelEmboss(sub, g, p.lineWidth, p.lineColour, p.bounds, b);
        },
        [&](const LGuiColorAlpha& f) {
            return t.FillRectBevelEmboss(sub, p.lineWidth, p.lineColour, f, p.bounds, b);
        },
        [&] { return t.DrawRectBevelEmboss(sub, p.lineWidth, p.lineColour, p.bounds, b); });
}

LProcessResult KVEllipseElement::DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    return t.DrawEllipseShadow(sub, p.bounds, p.lineWidth, p.IsFilled(), *p.shadow);
}

LProcessResult KVEllipseElement::DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    return PaintByFill(
        p, FillOrder::GradientFirst,
        [&](const KVGradient& g) { return t.FillEllipse(sub, g, p.lineWidth, p.lineColour, p.bounds); },
        [&](const LGuiColorAlpha& f) { return t.FillEllipse(sub, p.lineWidth, p.lineColour, f, p.bounds); },
        [&] { return t.DrawEllipse(sub, p.lineWidth, p.lineColour, p.bounds); });
}

LProcessResult KVEllipseElement::DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    const KVBevelEmboss& b = *p.bevel;
    return PaintByFill(
        p, FillOrder::FillFirst,
        [&](const KVGradient& g) {
            return t.FillEllipseBevelEmboss(sub, g, p.lineWidth, p.lineColour, p.bounds, b);
        },
        [&](const LGuiColorAlpha& f) {
            return t.FillEllipseBevelEmboss(sub, p.lineWidth, p.lineColour, f, p.bounds, b);
        },
        [&] { return t.DrawEllipseBevelEmboss(sub, p.lineWidth, p.lineColour, p.bounds, b); });
}

LProcessResult KVTriangleElement::DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    LPointTemplate<float> v[3];
    p.GetPoints(v);
    return t.DrawTriangleShadow(sub, v[0], v[1], v[2], p.bounds, p.lineWidth, p.IsFilled(),
                                *p.shadow);
}

LProcessResult KVTriangleElement::DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    LPointTemplate<float> v[3];
    p.GetPoints(v);
    return PaintByFill(
        p, FillOrder::GradientFirst,
        [&](const KVGradient& g) {
            return t.FillTriangle(sub, g, p.lineWidth, p.lineColour, v[0], v[1], v[2], p.bounds);
        },
        [&](const LGuiColorAlpha& f) {
            return t.FillTriangle(sub, p.lineWidth, p.lineColour, f, v[0], v[1], v[2], p.bounds);
        },
        [&] { return t.DrawTriangle(sub, p.lineWidth, p.lineColour, v[0], v[1], v[2], p.bounds); });
}

LProcessResult KVTriangleElement::DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    LPointTemplate<float> v[3];
    p.GetPoints(v);
    const KVBevelEmboss& b = *p.bevel;
    return PaintByFill(
        p, FillOrder::FillFirst,
        [&](const KVGradient& g) {
            return t.FillTriangleBevelEmboss(sub, g, p.lineWidth, p.lineColour, v[0], v[1], v[2],
                                             p.bounds, b);
        },
        [&](const LGuiColorAlpha& f) {
            return t.FillTriangleBevelEmboss(sub, p.lineWidth, p.lineColour, f, v[0], v[1], v[2],
                                             p.bounds, b);
        },
        [&] {
            return t.DrawTriangleBevelEmboss(sub, p.lineWidth, p.lineColour, v[0], v[1], v[2],
                                             p.bounds, b);
        });
}

int KVTriangleElement::GetWidgetBorder(const P& p) const {
    return static_cast<int>(Round(p.lineWidth + 5.0f));
}

namespace {
// The target takes a mutable array; painting works on its own copy.
LArray<LPointTemplate<float>> Vertices(const KVPolygonElementProperties& p) { return p.vertices; }
} // namespace

LProcessResult KVPolygonElement::DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    LArray<LPointTemplate<float>> v = Vertices(p);
    return t.DrawPolyShadow(sub, v.Data(), v.GetCount(), p.bounds, p.lineWidth, p.IsFilled(),
                            *p.shadow);
}

LProcessResult KVPolygonElement::DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    LArray<LPointTemplate<float>> v = Vertices(p);
    return PaintByFill(
        p, FillOrder::GradientFirst,
        [&](const KVGradient& g) {
            return t.FillPoly(sub, g, p.lineWidth, p.lineColour, v.Data(), v.GetCount(), p.bounds);
        },
        [&](const LGuiColorAlpha& f) {
            return t.FillPoly(sub, p.lineWidth, p.lineColour, f, v.Data(), v.GetCount(), p.bounds);
        },
        [&] { return t.DrawPoly(sub, p.lineWidth, p.lineColour, v.Data(), v.GetCount(), p.bounds); });
}

LProcessResult KVPolygonElement::DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) {
    LArray<LPointTemplate<float>> v = Vertices(p);
    const KVBevelEmboss& b = *p.bevel;
    return PaintByFill(
        p, FillOrder::FillFirst,
        [&](const KVGradient& g) {
            return t.FillPolyBevelEmboss(sub, g, p.lineWidth, p.lineColour, v.Data(), v.GetCount(),
                                         p.bounds, b);
        },
        [&](const LGuiColorAlpha& f) {
            return t.FillPolyBevelEmboss(sub, p.lineWidth, p.lineColour, f, v.Data(), v.GetCount(),
                                         p.bounds, b);
        },
        [&] {
            return t.DrawPolyBevelEmboss(sub, p.lineWidth, p.lineColour, v.Data(), v.GetCount(),
                                         p.bounds, b);
        });
}

int KVPolygonElement::GetWidgetBorder(const P& p) const {
    return static_cast<int>(Round(p.lineWidth + 5.0f));
}

void KVPolygonElement::ApplyPanel(P& p, const P& panel) const {
    KVBoxShapeElement::ApplyPanel(p, panel);
    if (p.sides != panel.sides) {
        p.sides = panel.sides;
        p.RecalcVertices();
    }
}

// ---------------------------------------------------------------- line

LProcessResult KVLineElement::Render(LProcessInterface& process, KVRenderImage& target) {
    const KVLineElementProperties p = GetProperties();
    // The end cap goes where the start cap is expected and the reverse: a
    // fixed behaviour that files and exports depend on.
    return target.DrawLine(process, p.lineWidth, p.lineColour, p.endCap, p.startCap,
                           static_cast<LLineDashStyle>(p.dashStyle), p.start.x, p.start.y, p.end.x,
                           p.end.y);
}

bool KVLineElement::Update(KVElementWidget* widget) {
    auto* ends = dynamic_cast<KVLineWidgetGeometry*>(widget);
    if (!ends)
        return false;
    KVLineElementProperties p = GetProperties();
    const LPointTemplate<float> s = ends->GetStart(), e = ends->GetEnd();
    if (s == p.start && e == p.end)
        return false;
    p.start = s;
    p.end = e;
    SetProperties(p, true, nullptr);
    return true;
}

void KVLineElement::Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) {
    KVLineElementProperties p = GetProperties();
    p.start = {p.start.x - box.x1, p.start.y - box.y1};
    p.end = {p.end.x - box.x1, p.end.y - box.y1};
    SetProperties(p, group != nullptr, group);
}

void KVLineElement::Resize(float sx, float sy, bool addUndo) {
    KVLineElementProperties p = GetProperties();
    p.start = {ScaleCoordinate(p.start.x, sx), ScaleCoordinate(p.start.y, sy)};
    p.end = {ScaleCoordinate(p.end.x, sx), ScaleCoordinate(p.end.y, sy)};
    p.lineWidth *= (sx + sy) * 0.5f;
    SetProperties(p, addUndo, nullptr);
}

KVElementWidget* KVLineElement::GetWidget() {
    KVShapeWidgetFactory* factory = KVGetShapeWidgetFactory();
    return factory ? factory->MakeLineWidget(this, GetProperties()) : nullptr;
}

void KVLineElement::SetPropertiesFromPanel(const KVLineElementProperties& panel, bool addUndo) {
    KVLineElementProperties p = GetProperties();
    p.lineColour = panel.lineColour;
    p.lineWidth = panel.lineWidth;
    p.startCap = panel.startCap;
    p.endCap = panel.endCap;
    p.dashStyle = panel.dashStyle;
    SetProperties(p, addUndo, nullptr);
}

// ---------------------------------------------------------------- as paths

namespace {

// Turns a path about the box's centre; no turn at 0.
void RotateAboutCentre(LGraphicsPath& path, const KVBoxShapeProperties& p) {
    if (p.rotation == 0.0f)
        return;
    const LPointTemplate<float> c = p.GetCentre();
    path.Translate(-c.x, -c.y);
    path.Rotate(p.rotation);
    path.Translate(c.x, c.y);
}

void CopyPaint(KVCachePath& cache, const KVBoxShapeProperties& p) {
    cache.lineWidth = p.lineWidth;
    cache.lineColour = p.lineColour;
    cache.fillColour = p.fill;
    cache.gradient = p.gradient;
}

// Every point of the path, in order, as a straight corner.
KVDrawPath* ToDrawPath(const LGraphicsPath& path, unsigned long width, unsigned long height) {
    auto* result = new KVDrawPath(width, height, nullptr);
    for (LGraphicsPathConstIterator it(path); it; ++it) {
        const LPointTemplate<float>* points = it.GetPoints();
        for (unsigned long i = 0; i < it.GetPointCount(); ++i)
            result->AddCoord(new KVDrawCoord(points[i].x, points[i].y));
    }
    return result;
}

} // namespace

template <class P> LBoundingBox2T<float> KVBoxShapeElement<P>::GetRenderedDimensions() const {
    const P p = this->GetProperties();
    LGraphicsPath path;
    AddOutline(path, p);
    RotateAboutCentre(path, p);
    return path.GetBounds(p.lineWidth, nullptr);
}

template <class P>
KVDrawPath* KVBoxShapeElement<P>::ConvertToPath(unsigned long width, unsigned long height,
                                                float& lineWidth, LGuiColor& lineColour) const {
    if (!CanConvertToPath())
        return nullptr;
    const P p = this->GetProperties();
    lineWidth = p.lineWidth;
    lineColour = p.lineColour;
    LGraphicsPath path;
    if (!AddConvertedOutline(path, p))
        return nullptr;
    RotateAboutCentre(path, p);
    return ToDrawPath(path, width, height);
}

template <class P> bool KVBoxShapeElement<P>::AddConvertedOutline(LGraphicsPath& path, const P& p) const {
    return AddOutline(path, p);
}

bool KVRectangleElement::AddOutline(LGraphicsPath& path, const P& p) const {
    const LBoundingBox2T<float>& b = p.bounds;
    path.AddRectangle(b.x1, b.y1, b.GetWidth(), b.GetHeight());
    return true;
}

// Four separate sides, top, right, bottom, left: each corner appears twice.
bool KVRectangleElement::AddConvertedOutline(LGraphicsPath& path, const P& p) const {
    const LBoundingBox2T<float>& b = p.bounds;
    path.AddLine(b.x1, b.y1, b.x2, b.y1);
    path.AddLine(b.x2, b.y1, b.x2, b.y2);
    path.AddLine(b.x2, b.y2, b.x1, b.y2);
    path.AddLine(b.x1, b.y2, b.x1, b.y1);
    return true;
}

bool KVEllipseElement::AddOutline(LGraphicsPath& path, const P& p) const {
    const LBoundingBox2T<float>& b = p.bounds;
    path.AddArc(b.x1, b.y1, b.GetWidth(), b.GetHeight(), 0.0f, 360.0f);
    return true;
}

bool KVTriangleElement::AddOutline(LGraphicsPath& path, const P& p) const {
    LPointTemplate<float> v[3];
    p.GetPoints(v);
    path.AddLine(v[0].x, v[0].y, v[1].x, v[1].y);
    path.AddLine(v[1].x, v[1].y, v[2].x, v[2].y);
    path.AddLine(v[2].x, v[2].y, v[0].x, v[0].y);
    path.CloseFigure();
    return true;
}

// Each side between neighbouring vertices, then the closing side.
bool KVPolygonElement::AddOutline(LGraphicsPath& path, const P& p) const {
    const unsigned long n = p.vertices.GetCount();
    if (n == 0)
        return false;
    for (unsigned long i = 0; i + 1 < n; ++i)
        path.AddLine(p.vertices[i].x, p.vertices[i].y, p.vertices[i + 1].x, p.vertices[i + 1].y);
    path.AddLine(p.vertices[n - 1].x, p.vertices[n - 1].y, p.vertices[0].x, p.vertices[0].y);
    return true;
}

void KVRectangleElement::CreatePathCache(KVCachePath* cache) const {
    if (!cache)
        return;
    const P p = GetProperties();
    CopyPaint(*cache, p);
    const LBoundingBox2T<float>& b = p.bounds;
    cache->AddRectangle(b.x1, b.y1, b.GetWidth(), b.GetHeight());
    RotateAboutCentre(*cache, p);
    if (!p.IsFilled())
        return;
    // The fill stops at the middle of the outline.
    const float inset = p.lineWidth * 0.5f;
    auto* inner = new LGraphicsPath;
    inner->AddRectangle(b.x1 + inset, b.y1 + inset, b.GetWidth() - 2 * inset,
                        b.GetHeight() - 2 * inset);
    RotateAboutCentre(*inner, p);
    cache->fillPath.Set(inner);
}

void KVEllipseElement::CreatePathCache(KVCachePath* cache) const {
    if (!cache)
        return;
    const P p = GetProperties();
    CopyPaint(*cache, p);
    const LPointTemplate<float> c = p.GetCentre();
    const float rx = p.bounds.GetWidth() * 0.5f, ry = p.bounds.GetHeight() * 0.5f;
    cache->AddEllipse(c.x, c.y, rx, ry);
    RotateAboutCentre(*cache, p);
    if (!p.IsFilled())
        return;
    const float shrink = 0.5f * p.lineWidth - 0.25f;
    auto* inner = new LGraphicsPath;
    inner->AddEllipse(c.x, c.y, rx - shrink, ry - shrink);
    RotateAboutCentre(*inner, p);
    cache->fillPath.Set(inner);
}

void KVTriangleElement::CreatePathCache(KVCachePath* cache) const {
    if (!cache)
        return;
    const P p = GetProperties();
    CopyPaint(*cache, p);
    LPointTemplate<float> v[3];
    p.GetPoints(v);
    cache->BeginFigure(v[0]);
    cache->LineTo(v[1]);
    cache->LineTo(v[2]);
    cache->CloseFigure();
    RotateAboutCentre(*cache, p);
}

void KVPolygonElement::CreatePathCache(KVCachePath* cache) const {
    if (!cache)
        return;
    const P p = GetProperties();
    CopyPaint(*cache, p);
    const unsigned long n = p.vertices.GetCount();
    if (n > 0) {
        cache->BeginFigure(p.vertices[0]);
        for (unsigned long i = 1; i < n; ++i)
            cache->LineTo(p.vertices[i]);
        cache->CloseFigure();
    }
    RotateAboutCentre(*cache, p);
}

LBoundingBox2T<float> KVLineElement::GetRenderedDimensions() const {
    const KVLineElementProperties p = GetProperties();
    LGraphicsPath path;
    path.AddLine(p.start.x, p.start.y, p.end.x, p.end.y);
    return path.GetBounds(p.lineWidth, nullptr);
}

template class KVBoxShapeElement<KVRectangleElementProperties>;
template class KVBoxShapeElement<KVEllipseElementProperties>;
template class KVBoxShapeElement<KVTriangleElementProperties>;
template class KVBoxShapeElement<KVPolygonElementProperties>;

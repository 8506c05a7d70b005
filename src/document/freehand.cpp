#include "document/freehand.h"

#include <cmath>
#include <cstdio>

#include "document/cache_path.h"
#include "document/shapes.h"
#include "document/widget.h"
#include "foundation/line_style.h"
#include "foundation/matrix.h"

namespace {
KVPathWidgetFactory* gPathWidgetFactory = nullptr;
constexpr double kPi = 3.14159265358979323846;

const KVPressure* PressureOf(const KVDrawElementBaseProperties& p) {
    return p.path ? p.path->GetPressure() : nullptr;
}

// The brush's blur radius as the target takes it: one byte, wrapping as a
// byte does. Widths from a damaged file may be anything, so the float is
// brought into range before it becomes an integer.
unsigned char BlurByte(int softness, float width) {
    const double v = static_cast<double>(softness) * width / 100.0;
    if (!std::isfinite(v))
        return 0;
    return static_cast<unsigned char>(Round(std::fmax(-1.0e9, std::fmin(1.0e9, v))) & 0xFF);
}

// Where the path widget's box and the element's differ, the factor that maps
// one onto the other; 1 where they agree or the old size is 0.
float BoxScale(float fresh, float old) {
    return (fresh == old || old == 0.0f) ? 1.0f : fresh / old;
}

} // namespace

void KVSetPathWidgetFactory(KVPathWidgetFactory* factory) { gPathWidgetFactory = factory; }
KVPathWidgetFactory* KVGetPathWidgetFactory() { return gPathWidgetFactory; }

// ---------------------------------------------------------------- records

LListIterator<KVDrawCoord> KVDrawElementBaseProperties::GetPathIterator() const {
    return path ? path->GetCoords().GetIterator() : LListIterator<KVDrawCoord>();
}

void KVDrawElementBaseProperties::GetBezierSegments(LList<KVDrawCoordBezierSegment>& segments) const {
    if (path)
        GetBeziers(*path, segments);
    else
        segments.DeleteAll();
}

void KVDrawElementBaseProperties::SetCoefficients(const LList<KVDrawCoordEquationCoeff>& coefficients) {
    if (path)
        ComputeBezier(*path, coefficients);
}

void KVDrawElementBaseProperties::DeletePathPoint(int index) {
    if (path)
        path->DeleteCoord(index);
}

LBoundingBox2T<float> KVDrawElementBaseProperties::GetPathDimensions() const {
    LList<KVDrawCoordBezierSegment> segments;
    GetBezierSegments(segments);
    LGraphicsPath outline;
    for (const KVDrawCoordBezierSegment& s : segments)
        outline.AddBezier(s.start, s.control1, s.control2, s.end);
    return outline.GetBounds();
}

void KVSimplePathElementProperties::SetPath(const KVDrawPath& fresh) {
    outline.Reset();
    path = fresh;
    const KVDrawCoord* a = path.GetCoords().GetFirst();
    for (const KVDrawCoord* b = a ? a->GetNext() : nullptr; b; a = b, b = b->GetNext())
        outline.AddLine(a->x, a->y, b->x, b->y);
}

// ---------------------------------------------------------------- the base

template <class P>
KVDrawElementBase<P>::KVDrawElementBase(LPtr<KVDrawPath>& path, const P& p)
    : KVElementWithProperties<P>(p) {
    SetPath(path.Release(), true, false, nullptr);
}

template <class P> void KVDrawElementBase<P>::InterpolatePoints(KVDrawPath& path, bool filter) {
    InterpolateDrawPath(path, this->GetProperties().curviness, filter);
}

template <class P>
void KVDrawElementBase<P>::SetPath(KVDrawPath* path, bool filter, bool addUndo,
                                   LUndoRedoGroup* group) {
    P p = this->GetProperties();
    p.path.Set(path);
    if (path)
        InterpolatePoints(*path, filter);
    this->SetProperties(p, addUndo, group);
}

template <class P> LBoundingBox2T<float> KVDrawElementBase<P>::GetPathDimensions() const {
    return this->GetProperties().GetPathDimensions();
}

// Painting works on a copy, so a stroke can be painted while its element
// changes.
template <class P>
LProcessResult KVDrawElementBase<P>::Render(LProcessInterface& process, KVRenderImage& target) {
    const P p = this->GetProperties();
    LList<KVDrawCoordBezierSegment> segments;
    p.GetBezierSegments(segments);
    return DrawStroke(process, target, p, segments.GetIterator(), p.GetPathDimensions());
}

template <class P> LBoundingBox2T<float> KVDrawElementBase<P>::GetRenderedDimensions() const {
    const P p = this->GetProperties();
    LBoundingBox2T<float> box = p.GetPathDimensions();
    const float half = p.width * 0.5f;
    return {box.x1 - half, box.y1 - half, box.x2 + half, box.y2 + half};
}

// The path's points scale about the canvas origin; the erase strokes stay
// where they were drawn.
template <class P> void KVDrawElementBase<P>::Resize(float sx, float sy, bool addUndo) {
    P p = this->GetProperties();
    for (LListIterator<KVDrawCoord> it = p.GetPathIterator(); it; ++it)
        it->Scale(sx, sy);
    p.width *= (sx + sy) * 0.5f;
    this->SetProperties(p, addUndo, nullptr);
}

template <class P> void KVDrawElementBase<P>::Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) {
    P p = this->GetProperties();
    for (LListIterator<KVDrawCoord> it = p.GetPathIterator(); it; ++it)
        it->Translate(-box.x1, -box.y1);
    this->SetProperties(p, group != nullptr, group);
}

template <class P> int KVDrawElementBase<P>::GetWidgetBorder(const P& p) const {
    return static_cast<int>(Round(p.width));
}

template <class P> KVElementWidget* KVDrawElementBase<P>::GetWidget() {
    KVPathWidgetFactory* factory = KVGetPathWidgetFactory();
    if (!factory)
        return nullptr;
    const P p = this->GetProperties();
    return factory->MakePathWidget(this, GetWidgetBorder(p), p.GetPathDimensions(), p.path.Get(),
                                   p.width);
}

template <class P> void KVDrawElementBase<P>::SetPropertiesFromPanel(const P& panel, bool addUndo) {
    P p = this->GetProperties();
    p.curviness = panel.curviness;
    ApplyPanel(p, panel);
    this->SetProperties(p, addUndo, nullptr);
}

// A frame that moved or grew takes the erase strokes along in one undo step
// with what the widget did to the path.
template <class P> bool KVDrawElementBase<P>::Update(KVElementWidget* widget) {
    if (!widget)
        return false;
    const LBoundingBox2T<float> old = GetPathDimensions();
    const LBoundingBox2T<float> fresh = widget->GetDimensions();
    if (fresh == old)
        return UpdateWithDrawWidget(widget, nullptr);

    P p = this->GetProperties();
    p.UpdateEraserStrokes(old, fresh, 0.0f);
    char name[kLFixedStringSize];
    std::snprintf(name, sizeof name, "%s Modification", this->GetDisplayName());
    // Without a stack (an element not yet in an image) the group only lives
    // for this call, and its items with it.
    LUndoRedoStack* stack = this->GetUndoRedoStack();
    LUndoRedoGroup local(name);
    LUndoRedoGroup* group = &local;
    if (stack) {
        group = new LUndoRedoGroup(name);
        stack->AddItem(group);
    }
    this->SetProperties(p, true, group);
    UpdateWithDrawWidget(widget, group);
    return true;
}

template <class P>
bool KVDrawElementBase<P>::UpdateWithElementWidget(KVElementWidget* widget, LUndoRedoGroup* group) {
    P p = this->GetProperties();
    const LBoundingBox2T<float> a = p.GetPathDimensions();
    const LBoundingBox2T<float> b = widget->GetDimensions();
    if (a == b)
        return false;
    const float sx = BoxScale(b.GetWidth(), a.GetWidth());
    const float sy = BoxScale(b.GetHeight(), a.GetHeight());
    for (LListIterator<KVDrawCoord> it = p.GetPathIterator(); it; ++it) {
        it->Translate(-a.x1, -a.y1);
        it->Scale(sx, sy);
        it->Translate(b.x1, b.y1);
    }
    this->SetProperties(p, true, group);
    return true;
}

template <class P>
bool KVDrawElementBase<P>::UpdateWithDrawWidget(KVElementWidget* widget, LUndoRedoGroup* group) {
    auto* pathWidget = dynamic_cast<KVPathWidgetGeometry*>(widget);
    if (!pathWidget)
        return UpdateWithElementWidget(widget, group);
    if (!pathWidget->IsPathDistorted() && !pathWidget->ArePointsChanged() &&
        pathWidget->GetRotation() == 0.0f) {
        if (!UpdateWithElementWidget(widget, group))
            return false;
        const P p = this->GetProperties();
        if (p.path)
            pathWidget->SetPath(*p.path, p.width);
        return true;
    }
    const bool changed = ApplyPathWidget(widget->GetDimensions(), *pathWidget, group);
    pathWidget->ClearEdits();
    return changed;
}

// A distortion moves every point and control; a rotation turns them all
// about the frame's centre; a point edit changes one coordinate: deleted when
// the widget has one point fewer, else moved, else one control pair changed.
template <class P>
bool KVDrawElementBase<P>::ApplyPathWidget(const LBoundingBox2T<float>& box,
                                           KVPathWidgetGeometry& w, LUndoRedoGroup* group) {
    P p = this->GetProperties();
    if (w.IsPathDistorted()) {
        unsigned long i = 0;
        for (LListIterator<KVDrawCoord> it = p.GetPathIterator(); it && i < w.GetPointCount();
             ++it, ++i) {
            const LPointTemplate<float> point = w.GetPoint(i);
            it->x = point.x;
            it->y = point.y;
            if (i < w.GetControlCount()) {
                const LPointTemplate<float> before = w.GetControl(i, 0), after = w.GetControl(i, 1);
                it->beforeX = before.x;
                it->beforeY = before.y;
                it->afterX = after.x;
                it->afterY = after.y;
            }
        }
    } else if (w.ArePointsChanged()) {
        const int index = w.GetActivePoint();
        KVDrawCoord* coord = (index >= 0 && p.path)
                                 ? p.path->GetCoords().GetAt(static_cast<unsigned long>(index))
                                 : nullptr;
        if (!coord)
            return false;
        const unsigned long count = p.path->GetCoords().GetCount();
        const auto i = static_cast<unsigned long>(index);
        if (count != w.GetPointCount()) {
            p.DeletePathPoint(index);
        } else if (i < w.GetPointCount() && (w.GetPoint(i).x != coord->x || w.GetPoint(i).y != coord->y)) {
            const LPointTemplate<float> point = w.GetPoint(i);
            coord->Translate(point.x - coord->x, point.y - coord->y);
        } else if (i < w.GetControlCount()) {
            const LPointTemplate<float> before = w.GetControl(i, 0), after = w.GetControl(i, 1);
            if (before.x != coord->beforeX || before.y != coord->beforeY) {
                coord->beforeX = before.x;
                coord->beforeY = before.y;
            } else if (after.x != coord->afterX || after.y != coord->afterY) {
                coord->afterX = after.x;
                coord->afterY = after.y;
            } else {
                return false;
            }
        } else {
            return false;
        }
    } else {
        LMatrix<float> m;
        const float cx = (box.x1 + box.x2) * 0.5f, cy = (box.y1 + box.y2) * 0.5f;
        m.Translate(-cx, -cy, false);
        m.RotateAboutZ(static_cast<float>(w.GetRotation() * kPi / 180.0));
        m.Translate(cx, cy, false);
        for (LListIterator<KVDrawCoord> it = p.GetPathIterator(); it; ++it) {
            m.TransformPoint(it->x, it->y);
            m.TransformPoint(it->beforeX, it->beforeY);
            m.TransformPoint(it->afterX, it->afterY);
        }
        this->SetProperties(p, true, group);
        if (p.path)
            w.SetPath(*p.path, -1.0f);
        w.SetDimensions(p.GetPathDimensions());
        return true;
    }
    this->SetProperties(p, true, group);
    w.SetDimensions(p.GetPathDimensions());
    return true;
}

// ---------------------------------------------------------------- the kinds

void KVPencilElement::ApplyPanel(P& p, const P& panel) const {
    p.width = panel.width;
    p.colour = panel.colour;
}

LProcessResult KVPencilElement::DrawStroke(LProcessInterface& process, KVRenderImage& target,
                                           const P& p, KVSegments segments, const KVBox& box) {
    return target.DrawPath(process, KVBrushPencil, segments, LLineStyle(), p.width,
                           LGuiColorAlpha(p.colour, 255), box, 0, PressureOf(p));
}

void KVCrayonElement::ApplyPanel(P& p, const P& panel) const {
    p.width = panel.width;
    p.colour = panel.colour;
}

LProcessResult KVCrayonElement::DrawStroke(LProcessInterface& process, KVRenderImage& target,
                                           const P& p, KVSegments segments, const KVBox& box) {
    return target.DrawPath(process, KVBrushCrayon, segments, LLineStyle(), p.width, p.colour, box,
                           0, PressureOf(p));
}

void KVMarkerElement::ApplyPanel(P& p, const P& panel) const {
    p.shape = panel.shape;
    p.width = panel.width;
    p.colour = panel.colour;
}

// The marker's shape field never reaches the target, nor does pressure: a
// marker draws evenly.
LProcessResult KVMarkerElement::DrawStroke(LProcessInterface& process, KVRenderImage& target,
                                           const P& p, KVSegments segments, const KVBox& box) {
    return target.DrawPath(process, KVBrushMarker, segments, LLineStyle(), p.width, p.colour, box,
                           0, nullptr);
}

void KVBrushElement::ApplyPanel(P& p, const P& panel) const {
    p.width = panel.width;
    p.softness = panel.softness;
    p.colour = panel.colour;
}

LProcessResult KVBrushElement::DrawStroke(LProcessInterface& process, KVRenderImage& target,
                                          const P& p, KVSegments segments, const KVBox& box) {
    return target.DrawPath(process, KVBrushPaintbrush, segments, LLineStyle(), p.width, p.colour,
                           box, BlurByte(p.softness, p.width), PressureOf(p));
}

void KVSprayElement::ApplyPanel(P& p, const P& panel) const {
    p.brushType = panel.brushType;
    p.width = panel.width;
    p.colour = panel.colour;
}

LProcessResult KVSprayElement::DrawStroke(LProcessInterface& process, KVRenderImage& target,
                                          const P& p, KVSegments segments, const KVBox& box) {
    return target.DrawPath(process, static_cast<KVBrushType>(p.brushType), segments, LLineStyle(),
                           p.width, p.colour, box, 0, PressureOf(p));
}

// ---------------------------------------------------------------- pen

void KVPenElement::ApplyPanel(P& p, const P& panel) const {
    p.penType = panel.penType;
    p.width = panel.width;
    p.colour = panel.colour;
    p.joinStyle = panel.joinStyle;
    p.TakeFill(panel);
    p.shadow = panel.shadow;
    p.bevel = panel.bevel;
}

namespace {

LLineStyle PenStyle(const KVPenElementProperties& p) {
    LLineStyle style;
    style.join = p.joinStyle;
    return style;
}

enum PenSlot { kPenShadow, kPenFill, kPenStroke, kPenBevel, kPenUnclaimed, kPenSlots };

// Shares of the progress bar in half percent: the stroke weighs more when the
// target has to stamp it; what stroke and fill leave goes to the effects. A
// pen without effects leaves that rest unclaimed, so its bar stops short.
void WeighPenSteps(KVSubInterfaceCreator& subs, const KVPenElementProperties& p,
                   bool pressure) {
    const int stroke = (p.penType != KVBrushRoundPen || pressure) ? 40 : 10;
    const int fill = p.IsFilled() ? 10 : 0;
    const int rest = 200 - stroke - fill;
    const int effects = (p.shadow ? 1 : 0) + (p.bevel ? 1 : 0);
    subs.weights[kPenStroke] = static_cast<unsigned char>(stroke);
    subs.weights[kPenFill] = static_cast<unsigned char>(fill);
    subs.weights[kPenShadow] = static_cast<unsigned char>(p.shadow ? rest / effects : 0);
    subs.weights[kPenBevel] = static_cast<unsigned char>(p.bevel ? rest / effects : 0);
    subs.weights[kPenUnclaimed] = static_cast<unsigned char>(effects ? 0 : rest);
}

} // namespace

// The order is fixed: the shadow under everything, the fill under the stroke,
// and a bevel over the stroke only when the fill did not take it.
LProcessResult KVPenElement::Render(LProcessInterface& process, KVRenderImage& target) {
    const P p = GetProperties();
    LList<KVDrawCoordBezierSegment> segments;
    p.GetBezierSegments(segments);
    const KVBox box = p.GetPathDimensions();
    const KVPressure* pressure = PressureOf(p);
    KVSubInterfaceCreator subs(process, kPenSlots);
    WeighPenSteps(subs, p, pressure != nullptr);

    if (p.shadow)
        if (LProcessResult r = target.DrawPathShadow(subs.GetSubInterface(kPenShadow), p.penType,
                                                     segments.GetIterator(), p.width, p.IsFilled(),
                                                     *p.shadow, box, pressure))
            return r;
    if (process.IsToStop())
        return LProcessResultStopped;
    if (p.IsFilled()) {
        LProcessInterface& sub = subs.GetSubInterface(kPenFill);
        LProcessResult r = LProcessResultOk;
        if (p.bevel && p.fill)
            r = target.FillPathBevelEmboss(sub, p.penType, segments.GetIterator(), p.width,
                                           p.colour, *p.fill, box, *p.bevel, pressure);
        else if (p.bevel)
            r = target.FillPathBevelEmboss(sub, p.penType, segments.GetIterator(), p.width,
                                           p.colour, *p.gradient, box, *p.bevel, pressure);
        else if (p.fill)
            r = target.FillPath(sub, segments.GetIterator(), p.width, p.colour, *p.fill);
        else
            r = target.FillPath(sub, segments.GetIterator(), p.width, p.colour, *p.gradient, box);
        if (r)
            return r;
    }
    if (LProcessResult r = DrawStroke(subs.GetSubInterface(kPenStroke), target, p,
                                      segments.GetIterator(), box))
        return r;
    if (target.DoesImageUseMetadata())
        KVTagEffects(target, p.shadow.Get(), p.bevel.Get(), nullptr, nullptr);
    if (p.bevel && !p.IsFilled())
        return target.DrawPathBevelEmboss(subs.GetSubInterface(kPenBevel), p.penType,
                                          segments.GetIterator(), p.width, p.colour, *p.bevel, box,
                                          pressure);
    return LProcessResultOk;
}

LProcessResult KVPenElement::DrawStroke(LProcessInterface& process, KVRenderImage& target,
                                        const P& p, KVSegments segments, const KVBox& box) {
    return target.DrawPath(process, p.penType, segments, PenStyle(p), p.width, p.colour, box, 0,
                           PressureOf(p));
}

// Only a plain round pen of even width can stand in the cache as a path.
bool KVPenElement::CanCacheAsPath() const {
    const P p = GetProperties();
    return !p.shadow && !p.bevel && !p.innerGlow && !p.outerGlow && !PressureOf(p) &&
           p.penType == KVBrushRoundPen;
}

void KVPenElement::CreatePathCache(KVCachePath* cache) const {
    if (!cache)
        return;
    const P p = GetProperties();
    cache->lineWidth = p.width;
    cache->lineColour = p.colour;
    cache->fillColour = p.fill;
    cache->gradient = p.gradient;
    LList<KVDrawCoordBezierSegment> segments;
    p.GetBezierSegments(segments);
    for (const KVDrawCoordBezierSegment& s : segments)
        cache->AddBezier(s.start, s.control1, s.control2, s.end);
    auto* style = new LLineStyle;
    style->startCap = style->endCap = 2;
    style->join = p.joinStyle;
    cache->lineStyle.Set(style);
}

void KVPenElement::LoadGradient(KVGradient gradient) {
    P p = GetProperties();
    p.SetGradient(gradient);
    SetProperties(p, false, nullptr);
}

// ---------------------------------------------------------------- simple path

// Filled under the lock without a copy: the outline first, the points when
// the target cannot take an outline.
LProcessResult KVSimplePathElement::Render(LProcessInterface&, KVRenderImage& target) {
    return ReadLockedProperties([&target](const P& p) {
        if (target.FastFillPath(p.outline, p.colour) || target.FastFillPath(p.path, p.colour))
            return LProcessResultOk;
        return LProcessResultError;
    });
}

template class KVDrawElementBase<KVPencilElementProperties>;
template class KVDrawElementBase<KVCrayonElementProperties>;
template class KVDrawElementBase<KVMarkerElementProperties>;
template class KVDrawElementBase<KVBrushElementProperties>;
template class KVDrawElementBase<KVSprayElementProperties>;
template class KVDrawElementBase<KVPenElementProperties>;

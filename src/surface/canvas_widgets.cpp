#include "surface/canvas_widgets.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "document/freehand.h"
#include "document/shapes.h"
#include "foundation/app_paths.h"
#include "toolkit/settings.h"

namespace {

// The rotation handle's picture, read once; null when the data folder lacks
// it, and a plain knob is drawn instead.
const QImage& RotationImage() {
    static const QImage image = [] {
        const std::string folder = LGetProgramDataFolder("Widgets");
        return folder.empty() ? QImage() : QImage(QString::fromStdString(folder + "/rotation3.png"));
    }();
    return image;
}

// A black square with a white rim, centred on `at`; reads on any picture.
void DrawHandle(QPainter& painter, QPointF at, float side, float penWidth) {
    painter.setPen(QPen(Qt::white, penWidth));
    painter.setBrush(Qt::black);
    painter.drawRect(QRectF(at.x() - side / 2, at.y() - side / 2, side, side));
    painter.setBrush(Qt::NoBrush);
}

// The handles' side on screen, in device pixels.
constexpr float kFrameHandle = 9;
constexpr float kRectHandle = 6;
constexpr float kLineHandle = 8;

const QColor kLiveShape(0, 90, 200);

// An image point in the painter's logical pixels.
QPointF Shown(const KVWidgetPaint& paint, LPointTemplate<float> p) {
    return {(paint.originX + p.x * paint.zoom) / paint.deviceRatio,
            (paint.originY + p.y * paint.zoom) / paint.deviceRatio};
}

LBoundingBox2T<float> BoxOf(LPointTemplate<float> a, LPointTemplate<float> b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

class Factories : public KVShapeWidgetFactory, public KVPathWidgetFactory {
public:
    KVElementWidget* MakeBoxShapeWidget(KVElement* element, const char* kind, const KVBoxShapeProperties& p,
                                        int border, int cornerOrSides) override {
        const auto margin = static_cast<float>(border);
        if (std::strcmp(kind, "ellipse") == 0)
            return new KVEllipseWidgetRotation(element, p.bounds, p.rotation, margin, false);
        if (std::strcmp(kind, "triangle") == 0)
            return new KVTriangleWidgetRotation(element, p.bounds, p.rotation, margin, cornerOrSides);
        if (std::strcmp(kind, "polygon") == 0)
            return new KVPolygonWidgetRotation(element, p.bounds, p.rotation, margin, cornerOrSides);
        if (std::strcmp(kind, "text") == 0 || std::strcmp(kind, "richtext") == 0)
            return new KVTextWidget(element, p.bounds, p.rotation);
        // A picture keeps its proportions.
        return new KVRectangleWidgetRotation(element, p.bounds, p.rotation, margin, std::strcmp(kind, "image") == 0);
    }
    KVElementWidget* MakeLineWidget(KVElement* element, const KVLineElementProperties& p) override {
        return new KVBaseLineWidget(element, p.start, p.end, p.lineColour);
    }
    KVElementWidget* MakePathWidget(KVElement* element, int border, const LBoundingBox2T<float>& dimensions,
                                    const KVDrawPath*, float) override {
        return new KVPathWidget(element, dimensions, static_cast<float>(border));
    }
};

} // namespace

KVWidgetPress KVWidgetPressFromSettings(float scale, bool holdAspect, bool control) {
    KVWidgetPress press;
    press.scale = scale;
    press.holdAspect = holdAspect;
    press.control = control;
    if (LUserSettingGet("Options", "Snapping", true)) {
        press.moveSnap = static_cast<int>(std::max(0L, LUserSettingGet("Options", "MoveSnapping", 5)));
        press.rotationSnap = static_cast<int>(std::clamp(LUserSettingGet("Options", "RotationSnapping", 2), 0L, 45L));
    }
    return press;
}

// ---------------------------------------------------------------------------
// Frames that turn

bool KVBaseWidgetRotation::IsPositionInsideWidget(float x, float y) const {
    const LPointTemplate<float> p = KVRotatePoint({x, y}, frame.x, frame.y, -frame.rotation);
    return std::abs(p.x - frame.x) <= frame.width / 2 + margin && std::abs(p.y - frame.y) <= frame.height / 2 + margin;
}

int KVBaseWidgetRotation::WhichHandle(float x, float y, float scale) const {
    return KVWhichHandle(frame, margin, scale, true, x, y);
}

bool KVBaseWidgetRotation::EvLButtonDown(float x, float y, const KVWidgetPress& press) {
    int handle = WhichHandle(x, y, press.scale);
    if (handle == KVHandleInside && (press.control || !CanMove()))
        return false;
    if (handle != KVHandleInside && handle != KVHandleRotation && !CanResize())
        handle = CanMove() ? KVHandleInside : KVHandleNone;
    if (handle == KVHandleNone)
        return false;
    drag.Begin(frame, handle, x, y, press.holdAspect || keepAspect, press.rotationSnap, press.moveSnap);
    moving = true;
    return true;
}

bool KVBaseWidgetRotation::EvMouseMove(float x, float y) {
    if (!moving)
        return false;
    frame = drag.MoveTo(x, y);
    return true;
}

bool KVBaseWidgetRotation::EvLButtonUp() {
    const bool was = moving;
    moving = false;
    return was && !(frame == drag.GetStart());
}

void KVBaseWidgetRotation::Translate(float dx, float dy) {
    frame.x += dx;
    frame.y += dy;
}

void KVBaseWidgetRotation::DrawShape(KVWidgetPaint& paint, const QPen& pen) const {
    // Device pixels turned about the frame's centre, scaled to the logical
    // pixels the painter takes.
    QPainter& painter = paint.painter;
    painter.save();
    painter.scale(1 / paint.deviceRatio, 1 / paint.deviceRatio);
    painter.translate(paint.originX + frame.x * paint.zoom, paint.originY + frame.y * paint.zoom);
    painter.rotate(frame.rotation);
    const float w = frame.width / 2 * paint.zoom, h = frame.height / 2 * paint.zoom;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(pen);
    painter.drawPath(ShapePath(QRectF(-w, -h, 2 * w, 2 * h)));
    painter.restore();
}

void KVBaseWidgetRotation::DrawDisabled(KVWidgetPaint& paint) const {
    DrawShape(paint, QPen(QColor(0, 90, 200, 160), 1));
}

// Wider than the hover's: it must read over the shape's own outline.
void KVBaseWidgetRotation::DrawMultiSelection(KVWidgetPaint& paint) const {
    DrawShape(paint, QPen(QColor(0, 120, 255), 2.5));
}

void KVBaseWidgetRotation::Draw(KVWidgetPaint& paint) const {
    // The shape as it will land, before the element takes it over.
    if (moving)
        DrawShape(paint, QPen(kLiveShape, 1));
    QPainter& painter = paint.painter;
    const float zoom = paint.zoom;
    painter.save();
    painter.scale(1 / paint.deviceRatio, 1 / paint.deviceRatio);
    painter.translate(paint.originX + frame.x * zoom, paint.originY + frame.y * zoom);
    painter.rotate(frame.rotation);
    const float halfW = (frame.width / 2 + margin) * zoom, halfH = (frame.height / 2 + margin) * zoom;
    const QRectF shown(-halfW, -halfH, 2 * halfW, 2 * halfH);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, std::max(zoom, 1.0f)));
    painter.drawRect(shown);
    painter.setPen(QPen(Qt::black, std::max(zoom, 1.0f), moving ? Qt::DashLine : Qt::SolidLine));
    painter.drawRect(shown);
    // The corner handles lie inside the frame; the edges' are felt, not seen.
    const float inset = kFrameHandle / 2;
    for (QPointF c : {QPointF(-halfW + inset, -halfH + inset), QPointF(halfW - inset, -halfH + inset),
                      QPointF(halfW - inset, halfH - inset), QPointF(-halfW + inset, halfH - inset)})
        DrawHandle(painter, c, kFrameHandle, 1);
    // The knob is drawn at a fixed distance on screen, while it is felt at
    // a fixed distance in the image: the two meet at 100%.
    const QPointF knob(0, -halfH - kRotationHandleDistance);
    painter.setPen(QPen(Qt::black, 1));
    painter.drawLine(QPointF(0, -halfH), knob);
    const QImage& image = RotationImage();
    if (!image.isNull()) {
        painter.drawImage(knob - QPointF(image.width() / 2.0, image.height() / 2.0), image);
    } else {
        painter.setPen(QPen(Qt::white, 1));
        painter.setBrush(kLiveShape);
        painter.drawEllipse(knob, 6, 6);
    }
    painter.restore();
}

QPainterPath KVRectangleWidgetRotation::ShapePath(const QRectF& box) const {
    return KVShapeOutline("rectangle", 0, box);
}
QPainterPath KVEllipseWidgetRotation::ShapePath(const QRectF& box) const {
    return KVShapeOutline("ellipse", 0, box);
}
QPainterPath KVTriangleWidgetRotation::ShapePath(const QRectF& box) const {
    return KVShapeOutline("triangle", corner, box);
}
QPainterPath KVPolygonWidgetRotation::ShapePath(const QRectF& box) const {
    return KVShapeOutline("polygon", sides, box);
}

// ---------------------------------------------------------------------------
// Frames that do not turn

bool KVBaseRectWidget::IsPositionInsideWidget(float x, float y) const {
    return std::abs(x - frame.x) <= frame.width / 2 + margin && std::abs(y - frame.y) <= frame.height / 2 + margin;
}

int KVBaseRectWidget::WhichHandle(float x, float y, float scale) const {
    const LBoundingBox2T<float> b = frame.GetBox();
    const float left = b.x1 - margin, top = b.y1 - margin, right = b.x2 + margin, bottom = b.y2 + margin;
    constexpr float reach = 2;
    if (x < left - reach || x > right + reach || y < top - reach || y > bottom + reach)
        return KVHandleNone;
    // Each corner's square reaches 2 pixels out of the frame and 4 in.
    const float near = 2 * scale, far = 4 * scale;
    const auto on = [&](float cx, float cy, float dx, float dy) {
        const float ox = (x - cx) * dx, oy = (y - cy) * dy;
        return ox >= -near && ox <= far && oy >= -near && oy <= far;
    };
    if (on(left, top, 1, 1))
        return KVHandleTopLeft;
    if (on(right, top, -1, 1))
        return KVHandleTopRight;
    if (on(right, bottom, -1, -1))
        return KVHandleBottomRight;
    if (on(left, bottom, 1, -1))
        return KVHandleBottomLeft;
    return x >= left && x <= right && y >= top && y <= bottom ? KVHandleInside : KVHandleNone;
}

bool KVBaseRectWidget::EvLButtonDown(float x, float y, const KVWidgetPress& press) {
    int handle = WhichHandle(x, y, press.scale);
    if (handle == KVHandleInside && (press.control || !CanMove()))
        return false;
    if (handle != KVHandleInside && !CanResize())
        handle = CanMove() ? KVHandleInside : KVHandleNone;
    if (handle == KVHandleNone)
        return false;
    drag.Begin(frame, handle, x, y, press.holdAspect, 0, press.moveSnap);
    moving = true;
    DragStarted();
    return true;
}

bool KVBaseRectWidget::EvMouseMove(float x, float y) {
    if (!moving)
        return false;
    SetDimensions(drag.MoveTo(x, y).GetBox());
    return true;
}

bool KVBaseRectWidget::EvLButtonUp() {
    const bool was = moving;
    moving = false;
    return was && !(frame == drag.GetStart());
}

void KVBaseRectWidget::Translate(float dx, float dy) {
    frame.x += dx;
    frame.y += dy;
}

QRectF KVBaseRectWidget::Shown(const KVWidgetPaint& paint) const {
    const LBoundingBox2T<float> b = frame.GetBox();
    const float x1 = std::round(paint.originX + (b.x1 - margin) * paint.zoom);
    const float y1 = std::round(paint.originY + (b.y1 - margin) * paint.zoom);
    const float x2 = std::round(paint.originX + (b.x2 + margin) * paint.zoom);
    const float y2 = std::round(paint.originY + (b.y2 + margin) * paint.zoom);
    const float r = paint.deviceRatio;
    return {x1 / r, y1 / r, (x2 - x1) / r, (y2 - y1) / r};
}

void KVBaseRectWidget::Draw(KVWidgetPaint& paint) const {
    QPainter& painter = paint.painter;
    const QRectF shown = Shown(paint);
    const float px = 1 / paint.deviceRatio;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::black, px, moving ? Qt::DashLine : Qt::SolidLine));
    painter.drawRect(shown);
    // Black squares over the corners, from 2 pixels outside.
    const float side = kRectHandle * px, out = 2 * px;
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    for (QPointF c : {shown.topLeft(), shown.topRight(), shown.bottomRight(), shown.bottomLeft()}) {
        const float x = c.x() == shown.left() ? c.x() - out : c.x() - side + out;
        const float y = c.y() == shown.top() ? c.y() - out : c.y() - side + out;
        painter.drawRect(QRectF(x, y, side, side));
    }
    painter.setBrush(Qt::NoBrush);
}

void KVBaseRectWidget::DrawDisabled(KVWidgetPaint& paint) const {
    paint.painter.setBrush(Qt::NoBrush);
    paint.painter.setPen(QPen(QColor(128, 128, 128), 1 / paint.deviceRatio));
    paint.painter.drawRect(Shown(paint));
}

// ---------------------------------------------------------------------------
// Groups

KVMultiSelectWidget::KVMultiSelectWidget(KVElementWidget* first)
    : KVBaseRectWidget(nullptr, first->GetDimensions(), kMargin) {
    members.PushBack(first);
}

bool KVMultiSelectWidget::IsParentElement(const KVElement* e) const {
    for (const KVElementWidget& w : members)
        if (w.IsParentElement(e))
            return true;
    return false;
}

bool KVMultiSelectWidget::IsPositionInsideWidget(float x, float y) const {
    return MemberAt(x, y) != nullptr;
}

KVElementWidget* KVMultiSelectWidget::MemberAt(float x, float y) const {
    for (const KVElementWidget& w : members)
        if (w.IsPositionInsideWidget(x, y))
            return const_cast<KVElementWidget*>(&w);
    return nullptr;
}

void KVMultiSelectWidget::Translate(float dx, float dy) {
    for (KVElementWidget& w : members)
        w.Translate(dx, dy);
    CalculateBounds();
}

void KVMultiSelectWidget::DragStarted() {
    startFrame = frame;
    startBoxes.clear();
    for (const KVElementWidget& w : members)
        startBoxes.push_back(w.GetDimensions());
}

void KVMultiSelectWidget::SetDimensions(const LBoundingBox2T<float>& box) {
    // Each member keeps its place within the group's box; during a drag
    // from where it was at button down, so that nothing creeps.
    const LBoundingBox2T<float> from = moving ? startFrame.GetBox() : frame.GetBox();
    const float sx = from.GetWidth() > 0 ? box.GetWidth() / from.GetWidth() : 1;
    const float sy = from.GetHeight() > 0 ? box.GetHeight() / from.GetHeight() : 1;
    size_t i = 0;
    for (KVElementWidget& w : members) {
        const LBoundingBox2T<float> m = moving && i < startBoxes.size() ? startBoxes[i] : w.GetDimensions();
        ++i;
        w.SetDimensions({box.x1 + (m.x1 - from.x1) * sx, box.y1 + (m.y1 - from.y1) * sy,
                         box.x1 + (m.x2 - from.x1) * sx, box.y1 + (m.y2 - from.y1) * sy});
    }
    frame = KVFrame::FromBox(box);
}

void KVMultiSelectWidget::AddElement(KVElementWidget* widget) {
    members.PushBack(widget);
    CalculateBounds();
}

KVElementWidget* KVMultiSelectWidget::RemoveElement(float x, float y) {
    KVElementWidget* w = MemberAt(x, y);
    if (!w)
        return nullptr;
    if (w == hoverMember)
        hoverMember = nullptr;
    members.Remove(w);
    CalculateBounds();
    return w;
}

void KVMultiSelectWidget::CalculateBounds() {
    LBoundingBox2T<float> box;
    bool first = true;
    for (const KVElementWidget& w : members) {
        if (first)
            box = w.GetDimensions();
        else
            box += w.GetDimensions();
        first = false;
    }
    frame = KVFrame::FromBox(box);
}

bool KVMultiSelectWidget::SetHoverMember(float x, float y) {
    KVElementWidget* now = MemberAt(x, y);
    const bool changed = now != hoverMember;
    hoverMember = now;
    return changed;
}

void KVMultiSelectWidget::Draw(KVWidgetPaint& paint) const {
    KVBaseRectWidget::Draw(paint);
    // What the group holds; with Option, only what a click would take out.
    if (paint.optionHeld) {
        if (hoverMember)
            hoverMember->DrawMultiSelection(paint);
        return;
    }
    for (const KVElementWidget& w : members)
        w.DrawMultiSelection(paint);
}

// ---------------------------------------------------------------------------
// Lines

KVBaseLineWidget::KVBaseLineWidget(KVElement* element, LPointTemplate<float> start, LPointTemplate<float> end,
                                   LGuiColor colour)
    : element(element), start(start), end(end) {
    const auto turned = [](unsigned short channel) { return ((channel >> 8) + 0x80) & 0xFF; };
    shown = QColor(turned(colour.red), turned(colour.green), turned(colour.blue));
}

LBoundingBox2T<float> KVBaseLineWidget::GetDimensions() const { return BoxOf(start, end); }

void KVBaseLineWidget::SetDimensions(const LBoundingBox2T<float>& box) {
    const LBoundingBox2T<float> old = GetDimensions();
    const auto map = [&](LPointTemplate<float> p) {
        const float fx = old.GetWidth() > 0 ? (p.x - old.x1) / old.GetWidth() : 0;
        const float fy = old.GetHeight() > 0 ? (p.y - old.y1) / old.GetHeight() : 0;
        return LPointTemplate<float>(box.x1 + fx * box.GetWidth(), box.y1 + fy * box.GetHeight());
    };
    const LPointTemplate<float> a = map(start), b = map(end);
    start = a;
    end = b;
}

int KVBaseLineWidget::WhichHandle(float x, float y, float scale) const {
    const float h = scale * kLineHandle / 2;
    if (std::abs(x - start.x) <= h && std::abs(y - start.y) <= h)
        return KVHandleTopLeft;
    if (std::abs(x - end.x) <= h && std::abs(y - end.y) <= h)
        return KVHandleBottomRight;
    return IsPositionInsideWidget(x, y) ? KVHandleInside : KVHandleNone;
}

bool KVBaseLineWidget::IsPositionInsideWidget(float x, float y) const {
    const float dx = end.x - start.x, dy = end.y - start.y;
    const float length2 = dx * dx + dy * dy;
    const float t = length2 > 0 ? std::clamp(((x - start.x) * dx + (y - start.y) * dy) / length2, 0.0f, 1.0f) : 0;
    const float ox = start.x + t * dx - x, oy = start.y + t * dy - y;
    return ox * ox + oy * oy <= kReach * kReach;
}

bool KVBaseLineWidget::EvLButtonDown(float x, float y, const KVWidgetPress& press) {
    activeHandle = WhichHandle(x, y, press.scale);
    if (activeHandle == KVHandleInside && (press.control || !CanMove()))
        activeHandle = KVHandleNone;
    if (activeHandle == KVHandleNone)
        return false;
    startAtDown = start;
    endAtDown = end;
    grab = {x, y};
    moving = true;
    return true;
}

bool KVBaseLineWidget::EvMouseMove(float x, float y) {
    if (!moving)
        return false;
    if (activeHandle == KVHandleTopLeft)
        start = {x, y};
    else if (activeHandle == KVHandleBottomRight)
        end = {x, y};
    else
        Translate(startAtDown.x + x - grab.x - start.x, startAtDown.y + y - grab.y - start.y);
    return true;
}

bool KVBaseLineWidget::EvLButtonUp() {
    const bool was = moving;
    moving = false;
    return was && !(start == startAtDown && end == endAtDown);
}

void KVBaseLineWidget::Translate(float dx, float dy) {
    start = {start.x + dx, start.y + dy};
    end = {end.x + dx, end.y + dy};
}

void KVBaseLineWidget::DrawLine(KVWidgetPaint& paint, int alpha, float width) const {
    // White under black dashes reads on any picture.
    paint.painter.setPen(QPen(QColor(255, 255, 255, alpha), 2 / paint.deviceRatio));
    paint.painter.drawLine(Shown(paint, start), Shown(paint, end));
    paint.painter.setPen(QPen(QColor(0, 0, 0, alpha), width / paint.deviceRatio, Qt::DashLine));
    paint.painter.drawLine(Shown(paint, start), Shown(paint, end));
}

void KVBaseLineWidget::Draw(KVWidgetPaint& paint) const {
    paint.painter.setPen(QPen(shown, 1 / paint.deviceRatio));
    paint.painter.drawLine(Shown(paint, start), Shown(paint, end));
    for (LPointTemplate<float> p : {start, end})
        DrawHandle(paint.painter, Shown(paint, p), kLineHandle / paint.deviceRatio, 1 / paint.deviceRatio);
}

void KVBaseLineWidget::DrawDisabled(KVWidgetPaint& paint) const { DrawLine(paint, 128, 1); }

void KVBaseLineWidget::DrawMultiSelection(KVWidgetPaint& paint) const { DrawLine(paint, 255, 2); }

// ---------------------------------------------------------------------------
// The rubber band

LBoundingBox2T<float> KVElementSelectionDragWidget::GetBounds() const { return BoxOf(start, end); }

void KVElementSelectionDragWidget::Draw(KVWidgetPaint& paint) const {
    const LBoundingBox2T<float> box = GetBounds();
    const float r = paint.deviceRatio, zoom = paint.zoom;
    const QRectF shown((paint.originX + box.x1 * zoom) / r, (paint.originY + box.y1 * zoom) / r,
                       box.GetWidth() * zoom / r, box.GetHeight() * zoom / r);
    QPen dashes(Qt::black, 1.5 / r);
    dashes.setDashPattern({4, 4});
    paint.painter.setBrush(Qt::NoBrush);
    paint.painter.setPen(QPen(Qt::white, 1.5 / r));
    paint.painter.drawRect(shown);
    paint.painter.setPen(dashes);
    paint.painter.drawRect(shown);
}

QPainterPath KVShapeOutline(const char* kind, int cornerOrSides, const QRectF& box) {
    QPainterPath outline;
    const bool triangle = std::strcmp(kind, "triangle") == 0;
    if (std::strcmp(kind, "ellipse") == 0) {
        outline.addEllipse(box);
    } else if (triangle || std::strcmp(kind, "polygon") == 0) {
        std::vector<LPointTemplate<float>> points;
        const LBoundingBox2T<float> b(static_cast<float>(box.left()), static_cast<float>(box.top()),
                                      static_cast<float>(box.right()), static_cast<float>(box.bottom()));
        if (triangle) {
            KVTriangleElementProperties t;
            t.corner = cornerOrSides;
            t.SetBounds(b);
            LPointTemplate<float> abc[3];
            t.GetPoints(abc);
            points.assign(abc, abc + 3);
        } else {
            KVPolygonElementProperties poly;
            poly.sides = cornerOrSides;
            poly.SetBounds(b);
            for (unsigned long i = 0; i < poly.vertices.GetCount(); ++i)
                points.push_back(poly.vertices[i]);
        }
        for (size_t i = 0; i < points.size(); ++i)
            i == 0 ? outline.moveTo(points[i].x, points[i].y) : outline.lineTo(points[i].x, points[i].y);
        outline.closeSubpath();
    } else {
        outline.addRect(box);
    }
    return outline;
}

void KVInstallCanvasWidgetFactories() {
    static Factories factories;
    KVSetShapeWidgetFactory(&factories);
    KVSetPathWidgetFactory(&factories);
}

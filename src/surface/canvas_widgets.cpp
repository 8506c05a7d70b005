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
void DrawHandle(QPainter& painter, QPointF at, float side, float deviceRatio) {
    painter.setPen(QPen(Qt::white, 1 / deviceRatio));
    painter.setBrush(Qt::black);
    painter.drawRect(QRectF(at.x() - side / 2, at.y() - side / 2, side, side));
    painter.setBrush(Qt::NoBrush);
}

// A line's widget: its box is the two ends, and it hands them back moved.
class LineWidget : public KVCanvasWidget, public KVLineWidgetGeometry {
public:
    LineWidget(KVElement* element, const KVLineElementProperties& p)
        : KVCanvasWidget(element, BoxOf(p.start, p.end)), start(p.start), end(p.end) {}
    LPointTemplate<float> GetStart() const override { return start; }
    LPointTemplate<float> GetEnd() const override { return end; }
    void Translate(float dx, float dy) override {
        SetEnds({start.x + dx, start.y + dy}, {end.x + dx, end.y + dy});
    }
    void FitTo(const LBoundingBox2T<float>& box) override {
        const LBoundingBox2T<float> old = frame.GetBox();
        const auto map = [&](LPointTemplate<float> p) {
            const float fx = old.GetWidth() > 0 ? (p.x - old.x1) / old.GetWidth() : 0;
            const float fy = old.GetHeight() > 0 ? (p.y - old.y1) / old.GetHeight() : 0;
            return LPointTemplate<float>(box.x1 + fx * box.GetWidth(), box.y1 + fy * box.GetHeight());
        };
        SetEnds(map(start), map(end));
    }
    // The ends are the handles; the line itself, within a reach that does
    // not shrink with the zoom, moves it.
    int WhichHandle(float x, float y, float scale) const override {
        const float h = scale * 4;
        if (std::abs(x - start.x) <= h && std::abs(y - start.y) <= h)
            return KVHandleTopLeft;
        if (std::abs(x - end.x) <= h && std::abs(y - end.y) <= h)
            return KVHandleBottomRight;
        return IsPositionInsideWidget(x, y) ? KVHandleInside : KVHandleNone;
    }
    bool IsPositionInsideWidget(float x, float y) const override {
        constexpr float reach = 10;
        const float dx = end.x - start.x, dy = end.y - start.y;
        const float length2 = dx * dx + dy * dy;
        const float t = length2 > 0 ? std::clamp(((x - start.x) * dx + (y - start.y) * dy) / length2, 0.0f, 1.0f) : 0;
        const float ox = start.x + t * dx - x, oy = start.y + t * dy - y;
        return ox * ox + oy * oy <= reach * reach;
    }
    void DragTo(float x, float y) override {
        const int handle = drag.GetHandle();
        if (handle == KVHandleTopLeft)
            SetEnds({x, y}, end);
        else if (handle == KVHandleBottomRight)
            SetEnds(start, {x, y});
        else if (handle == KVHandleInside)
            SetEnds({startAtDown.x + x - grab.x, startAtDown.y + y - grab.y},
                    {endAtDown.x + x - grab.x, endAtDown.y + y - grab.y});
    }
    void Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
              bool hover) const override {
        const auto shown = [&](LPointTemplate<float> p) {
            return QPointF((originX + p.x * zoom) / deviceRatio, (originY + p.y * zoom) / deviceRatio);
        };
        painter.setPen(QPen(QColor(255, 255, 255, hover ? 128 : 255), 2 / deviceRatio));
        painter.drawLine(shown(start), shown(end));
        painter.setPen(QPen(QColor(0, 0, 0, hover ? 128 : 255), 1 / deviceRatio, Qt::DashLine));
        painter.drawLine(shown(start), shown(end));
        if (hover)
            return;
        for (LPointTemplate<float> p : {start, end})
            DrawHandle(painter, shown(p), 8 / deviceRatio, deviceRatio);
    }

protected:
    void DragStarted() override {
        startAtDown = start;
        endAtDown = end;
        grab = dragFrom;
    }

private:
    static LBoundingBox2T<float> BoxOf(LPointTemplate<float> a, LPointTemplate<float> b) {
        return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
    }
    void SetEnds(LPointTemplate<float> a, LPointTemplate<float> b) {
        start = a;
        end = b;
        frame = KVFrame::FromBox(BoxOf(a, b));
    }

    LPointTemplate<float> start, end, startAtDown, endAtDown, grab;
};

// Keeps a shape's rotation and corner or sides as they are.
class ShapeWidget : public KVCanvasWidget, public KVShapeWidgetGeometry {
public:
    ShapeWidget(KVElement* element, const char* kind, const KVBoxShapeProperties& p, int border,
                int cornerOrSides)
        : KVCanvasWidget(element, p.bounds, static_cast<float>(border), true, p.rotation), kind(kind),
          cornerOrSides(cornerOrSides) {
        // A picture keeps its proportions, and its frame stands clear of it.
        if (std::strcmp(kind, "image") == 0) {
            keepAspect = true;
            margin = static_cast<float>(cornerOrSides);
        }
    }
    float GetRotation() const override { return frame.rotation; }

protected:
    QPainterPath GetOutline(const QRectF& box) const override { return KVShapeOutline(kind, cornerOrSides, box); }

private:
    const char* kind;
    int cornerOrSides;
};

class Factories : public KVShapeWidgetFactory, public KVPathWidgetFactory {
public:
    KVElementWidget* MakeBoxShapeWidget(KVElement* element, const char* kind, const KVBoxShapeProperties& p,
                                        int border, int cornerOrSides) override {
        return new ShapeWidget(element, kind, p, border, cornerOrSides);
    }
    KVElementWidget* MakeLineWidget(KVElement* element, const KVLineElementProperties& p) override {
        return new LineWidget(element, p);
    }
    KVElementWidget* MakePathWidget(KVElement* element, int border, const LBoundingBox2T<float>& dimensions,
                                    const KVDrawPath*, float) override {
        return new KVCanvasWidget(element, dimensions, static_cast<float>(border));
    }
};

} // namespace

bool KVCanvasWidget::IsPositionInsideWidget(float x, float y) const {
    const LPointTemplate<float> p = KVRotatePoint({x, y}, frame.x, frame.y, -frame.rotation);
    return std::abs(p.x - frame.x) <= frame.width / 2 + margin && std::abs(p.y - frame.y) <= frame.height / 2 + margin;
}

int KVCanvasWidget::WhichHandle(float x, float y, float scale) const {
    return KVWhichHandle(frame, margin, scale, rotatable, x, y);
}

bool KVCanvasWidget::BeginDrag(float x, float y, float scale, bool holdAspect, int rotationSnap) {
    const int handle = WhichHandle(x, y, scale);
    if (handle == KVHandleNone)
        return false;
    drag.Begin(frame, handle, x, y, holdAspect || keepAspect, rotationSnap);
    dragFrom = {x, y};
    dragging = true;
    DragStarted();
    return true;
}

void KVCanvasWidget::DragTo(float x, float y) {
    frame = drag.MoveTo(x, y);
}

bool KVCanvasWidget::EndDrag() {
    const bool was = dragging;
    dragging = false;
    return was && !(frame == drag.GetStart());
}

void KVCanvasWidget::Translate(float dx, float dy) {
    frame.x += dx;
    frame.y += dy;
}

void KVCanvasWidget::Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
                          bool hover) const {
    // Drawn in device pixels turned about the frame's centre, then scaled
    // to the logical pixels the painter takes.
    painter.save();
    painter.scale(1 / deviceRatio, 1 / deviceRatio);
    painter.translate(originX + frame.x * zoom, originY + frame.y * zoom);
    painter.rotate(frame.rotation);
    const float halfW = (frame.width / 2 + margin) * zoom, halfH = (frame.height / 2 + margin) * zoom;
    const QRectF shown(-halfW, -halfH, 2 * halfW, 2 * halfH);
    painter.setBrush(Qt::NoBrush);
    if (hover) {
        painter.setPen(QPen(QColor(0, 90, 200, 128), 1));
        painter.drawRect(shown);
        painter.restore();
        return;
    }
    if (dragging) {
        // The shape as it will land, before the element takes it over.
        const float w = frame.width / 2 * zoom, h = frame.height / 2 * zoom;
        painter.setPen(QPen(QColor(0, 90, 200), 1));
        painter.drawPath(GetOutline(QRectF(-w, -h, 2 * w, 2 * h)));
    }
    painter.setPen(QPen(Qt::white, std::max(zoom, 1.0f)));
    painter.drawRect(shown);
    painter.setPen(QPen(Qt::black, std::max(zoom, 1.0f), dragging ? Qt::DashLine : Qt::SolidLine));
    painter.drawRect(shown);
    // The 9-pixel corner handles lie inside the frame.
    const float inset = 4.5f;
    for (QPointF c : {QPointF(-halfW + inset, -halfH + inset), QPointF(halfW - inset, -halfH + inset),
                      QPointF(halfW - inset, halfH - inset), QPointF(-halfW + inset, halfH - inset)})
        DrawHandle(painter, c, 9, 1);
    if (rotatable) {
        const QPointF knob(0, -halfH - kRotationHandleDistance);
        painter.setPen(QPen(Qt::black, 1));
        painter.drawLine(QPointF(0, -halfH), knob);
        const QImage& image = RotationImage();
        if (!image.isNull()) {
            painter.drawImage(knob - QPointF(image.width() / 2.0, image.height() / 2.0), image);
        } else {
            painter.setPen(QPen(Qt::white, 1));
            painter.setBrush(QColor(0, 90, 200));
            painter.drawEllipse(knob, 6, 6);
        }
    }
    painter.restore();
}

KVMultiSelectWidget::KVMultiSelectWidget(KVCanvasWidget* first) : KVCanvasWidget(nullptr, first->GetDimensions()) {
    members.PushBack(first);
}

bool KVMultiSelectWidget::IsParentElement(const KVElement* e) const {
    for (const KVElementWidget& w : members)
        if (w.IsParentElement(e))
            return true;
    return false;
}

bool KVMultiSelectWidget::IsPositionInsideWidget(float x, float y) const {
    for (const KVElementWidget& w : members)
        if (static_cast<const KVCanvasWidget&>(w).IsPositionInsideWidget(x, y))
            return true;
    return false;
}

void KVMultiSelectWidget::Translate(float dx, float dy) {
    for (KVElementWidget& w : members)
        static_cast<KVCanvasWidget&>(w).Translate(dx, dy);
    CalculateBounds();
}

void KVMultiSelectWidget::DragStarted() {
    startFrame = frame;
    startBoxes.clear();
    for (const KVElementWidget& w : members)
        startBoxes.push_back(w.GetDimensions());
}

void KVMultiSelectWidget::DragTo(float x, float y) {
    FitTo(drag.MoveTo(x, y).GetBox());
}

void KVMultiSelectWidget::FitTo(const LBoundingBox2T<float>& box) {
    // Each member keeps its place within the group's box.
    const LBoundingBox2T<float> from = dragging ? startFrame.GetBox() : frame.GetBox();
    const float sx = from.GetWidth() > 0 ? box.GetWidth() / from.GetWidth() : 1;
    const float sy = from.GetHeight() > 0 ? box.GetHeight() / from.GetHeight() : 1;
    size_t i = 0;
    for (KVElementWidget& w : members) {
        const LBoundingBox2T<float> m = dragging && i < startBoxes.size() ? startBoxes[i] : w.GetDimensions();
        ++i;
        static_cast<KVCanvasWidget&>(w).FitTo({box.x1 + (m.x1 - from.x1) * sx, box.y1 + (m.y1 - from.y1) * sy,
                                               box.x1 + (m.x2 - from.x1) * sx, box.y1 + (m.y2 - from.y1) * sy});
    }
    frame = KVFrame::FromBox(box);
}

void KVMultiSelectWidget::Add(KVCanvasWidget* widget) {
    members.PushBack(widget);
    CalculateBounds();
}

KVCanvasWidget* KVMultiSelectWidget::RemoveElement(float x, float y) {
    for (KVElementWidget& w : members)
        if (static_cast<KVCanvasWidget&>(w).IsPositionInsideWidget(x, y)) {
            members.Remove(&w);
            CalculateBounds();
            return static_cast<KVCanvasWidget*>(&w);
        }
    return nullptr;
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

LBoundingBox2T<float> KVSelectionDragWidget::GetBounds() const {
    return {std::min(start.x, end.x), std::min(start.y, end.y), std::max(start.x, end.x), std::max(start.y, end.y)};
}

void KVSelectionDragWidget::Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
                                 bool) const {
    const LBoundingBox2T<float> box = GetBounds();
    const QRectF shown((originX + box.x1 * zoom) / deviceRatio, (originY + box.y1 * zoom) / deviceRatio,
                       box.GetWidth() * zoom / deviceRatio, box.GetHeight() * zoom / deviceRatio);
    QPen dashes(Qt::black, 1.5 / deviceRatio);
    dashes.setDashPattern({4, 4});
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, 1.5 / deviceRatio));
    painter.drawRect(shown);
    painter.setPen(dashes);
    painter.drawRect(shown);
}

void KVMultiSelectWidget::Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
                               bool hover) const {
    // Each member's outline marks what the group holds.
    for (const KVElementWidget& w : members)
        static_cast<const KVCanvasWidget&>(w).Draw(painter, originX, originY, zoom, deviceRatio, true);
    KVCanvasWidget::Draw(painter, originX, originY, zoom, deviceRatio, hover);
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

#include "surface/canvas_widgets.h"

#include <QPainter>
#include <QPen>

#include <algorithm>

#include "document/freehand.h"
#include "document/shapes.h"

namespace {

// A line's widget: its box is the two ends, and it hands them back moved.
class LineWidget : public KVCanvasWidget, public KVLineWidgetGeometry {
public:
    LineWidget(KVElement* element, const KVLineElementProperties& p)
        : KVCanvasWidget(element, {std::min(p.start.x, p.end.x), std::min(p.start.y, p.end.y),
                                   std::max(p.start.x, p.end.x), std::max(p.start.y, p.end.y)}),
          start(p.start), end(p.end) {}
    LPointTemplate<float> GetStart() const override { return start; }
    LPointTemplate<float> GetEnd() const override { return end; }
    void Translate(float dx, float dy) override {
        KVCanvasWidget::Translate(dx, dy);
        start = {start.x + dx, start.y + dy};
        end = {end.x + dx, end.y + dy};
    }

private:
    LPointTemplate<float> start, end;
};

// Keeps a shape's rotation and corner or sides as they are.
class ShapeWidget : public KVCanvasWidget, public KVShapeWidgetGeometry {
public:
    ShapeWidget(KVElement* element, const KVBoxShapeProperties& p)
        : KVCanvasWidget(element, p.bounds), rotation(p.rotation) {}
    float GetRotation() const override { return rotation; }

private:
    float rotation;
};

class Factories : public KVShapeWidgetFactory, public KVPathWidgetFactory {
public:
    KVElementWidget* MakeBoxShapeWidget(KVElement* element, const char*, const KVBoxShapeProperties& p, int,
                                        int) override {
        return new ShapeWidget(element, p);
    }
    KVElementWidget* MakeLineWidget(KVElement* element, const KVLineElementProperties& p) override {
        return new LineWidget(element, p);
    }
    KVElementWidget* MakePathWidget(KVElement* element, int, const LBoundingBox2T<float>& dimensions,
                                    const KVDrawPath*, float) override {
        return new KVCanvasWidget(element, dimensions);
    }
};

} // namespace

bool KVCanvasWidget::IsPositionInsideWidget(float x, float y) const {
    return x >= dimensions.x1 && x <= dimensions.x2 && y >= dimensions.y1 && y <= dimensions.y2;
}

void KVCanvasWidget::Translate(float dx, float dy) {
    dimensions = {dimensions.x1 + dx, dimensions.y1 + dy, dimensions.x2 + dx, dimensions.y2 + dy};
}

void KVCanvasWidget::Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
                          bool hover) const {
    const LBoundingBox2T<float> box = GetDimensions();
    const QRectF shown((originX + box.x1 * zoom) / deviceRatio, (originY + box.y1 * zoom) / deviceRatio,
                       box.GetWidth() * zoom / deviceRatio, box.GetHeight() * zoom / deviceRatio);
    // Dark dashes over light ones read on any picture.
    QPen light(QColor(255, 255, 255, hover ? 128 : 255), 0);
    QPen dark(QColor(0, 90, 200, hover ? 128 : 255), 0, Qt::DashLine);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(light);
    painter.drawRect(shown);
    painter.setPen(dark);
    painter.drawRect(shown);
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
    bool first = true;
    for (const KVElementWidget& w : members) {
        if (first)
            dimensions = w.GetDimensions();
        else
            dimensions += w.GetDimensions();
        first = false;
    }
}

LBoundingBox2T<float> KVSelectionDragWidget::GetBounds() const {
    return {std::min(dimensions.x1, dimensions.x2), std::min(dimensions.y1, dimensions.y2),
            std::max(dimensions.x1, dimensions.x2), std::max(dimensions.y1, dimensions.y2)};
}

void KVInstallCanvasWidgetFactories() {
    static Factories factories;
    KVSetShapeWidgetFactory(&factories);
    KVSetPathWidgetFactory(&factories);
}

#pragma once
// The on-canvas frames of elements. Each keeps its own copy of its
// element's geometry, which the handles move, resize and turn; the element
// takes the copy over when a change is done. Shapes, pictures and texts get
// a frame that turns; strokes and groups one that does not; a line its two
// ends.

#include <QColor>
#include <QPainterPath>
#include <QPen>

#include <vector>

#include "document/freehand.h"
#include "document/shapes.h"
#include "document/widget.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "surface/frame_geometry.h"

class KVElement;
class QPainter;

// What a widget draws with: the image's origin at control point (originX,
// originY) in device pixels, the zoom, and the screen's device pixels per
// logical pixel, which the painter takes.
struct KVWidgetPaint {
    QPainter& painter;
    float originX = 0;
    float originY = 0;
    float zoom = 1;
    float deviceRatio = 1;
    // Option is held: a group marks only the member a click would take out.
    bool optionHeld = false;
};

// A press as the user's settings make it: snapping on or off, and how far.
KVWidgetPress KVWidgetPressFromSettings(float scale, bool holdAspect, bool control);

// A frame turned about its centre, with eight handles and the rotation
// handle above its top side. The margin stands it off the shape.
class KVBaseWidgetRotation : public KVElementWidget, public KVShapeWidgetGeometry {
public:
    KVBaseWidgetRotation(KVElement* element, const LBoundingBox2T<float>& box, float rotation, float margin,
                         bool keepAspect)
        : element(element), frame(KVFrame::FromBox(box, rotation)), margin(margin), keepAspect(keepAspect) {}

    KVElement* GetElement() const override { return element; }
    bool IsParentElement(const KVElement* e) const override { return e && e == element; }
    LBoundingBox2T<float> GetDimensions() const override { return frame.GetBox(); }
    void SetDimensions(const LBoundingBox2T<float>& box) override { frame = KVFrame::FromBox(box, frame.rotation); }
    float GetRotation() const override { return frame.rotation; }
    bool CanRotate() const override { return true; }
    const KVFrame& GetFrame() const { return frame; }

    // The margin counts as inside: a press there takes hold of the frame.
    bool IsPositionInsideWidget(float x, float y) const override;
    int WhichHandle(float x, float y, float scale) const override;
    bool EvLButtonDown(float x, float y, const KVWidgetPress& press) override;
    bool EvMouseMove(float x, float y) override;
    bool EvLButtonUp() override;
    void Translate(float dx, float dy) override;
    void Draw(KVWidgetPaint& paint) const override;
    void DrawDisabled(KVWidgetPaint& paint) const override;
    void DrawMultiSelection(KVWidgetPaint& paint) const override;

protected:
    // The element's shape filling `box`, in the frame's own axes.
    virtual QPainterPath ShapePath(const QRectF& box) const = 0;
    // The shape as the frame has it now, at the zoom, in `pen`: the live one
    // during a drag, or the mark of a hover or of a group's member.
    void DrawShape(KVWidgetPaint& paint, const QPen& pen) const;

    KVElement* element;
    KVFrame frame;
    float margin;
    bool keepAspect;
    KVFrameDrag drag;
};

class KVRectangleWidgetRotation : public KVBaseWidgetRotation {
public:
    using KVBaseWidgetRotation::KVBaseWidgetRotation;

protected:
    QPainterPath ShapePath(const QRectF& box) const override;
};

class KVEllipseWidgetRotation : public KVBaseWidgetRotation {
public:
    using KVBaseWidgetRotation::KVBaseWidgetRotation;

protected:
    QPainterPath ShapePath(const QRectF& box) const override;
};

// Its three points by the element's corner, 0 to 3.
class KVTriangleWidgetRotation : public KVBaseWidgetRotation {
public:
    KVTriangleWidgetRotation(KVElement* element, const LBoundingBox2T<float>& box, float rotation, float margin,
                             int corner)
        : KVBaseWidgetRotation(element, box, rotation, margin, false), corner(corner) {}
    void SetShapeParameter(int value) override { corner = value; }

protected:
    QPainterPath ShapePath(const QRectF& box) const override;

private:
    int corner;
};

// A regular polygon of the element's side count.
class KVPolygonWidgetRotation : public KVBaseWidgetRotation {
public:
    KVPolygonWidgetRotation(KVElement* element, const LBoundingBox2T<float>& box, float rotation, float margin,
                            int sides)
        : KVBaseWidgetRotation(element, box, rotation, margin, false), sides(sides) {}
    void SetShapeParameter(int value) override { sides = value; }

protected:
    QPainterPath ShapePath(const QRectF& box) const override;

private:
    int sides;
};

// The frame of a text or rich text; its editing on the canvas comes apart.
class KVTextWidget : public KVRectangleWidgetRotation {
public:
    // The frame stands well clear of the letters, whose ink leaves the box.
    static constexpr float kMargin = 25;
    KVTextWidget(KVElement* element, const LBoundingBox2T<float>& box, float rotation)
        : KVRectangleWidgetRotation(element, box, rotation, kMargin, false) {}
};

// A frame that does not turn, with handles at its four corners only.
class KVBaseRectWidget : public KVElementWidget {
public:
    KVBaseRectWidget(KVElement* element, const LBoundingBox2T<float>& box, float margin)
        : element(element), frame(KVFrame::FromBox(box)), margin(margin) {}

    KVElement* GetElement() const override { return element; }
    bool IsParentElement(const KVElement* e) const override { return e && e == element; }
    LBoundingBox2T<float> GetDimensions() const override { return frame.GetBox(); }
    void SetDimensions(const LBoundingBox2T<float>& box) override { frame = KVFrame::FromBox(box); }

    bool IsPositionInsideWidget(float x, float y) const override;
    int WhichHandle(float x, float y, float scale) const override;
    bool EvLButtonDown(float x, float y, const KVWidgetPress& press) override;
    bool EvMouseMove(float x, float y) override;
    bool EvLButtonUp() override;
    void Translate(float dx, float dy) override;
    void Draw(KVWidgetPaint& paint) const override;
    void DrawDisabled(KVWidgetPaint& paint) const override;

protected:
    // Called as a drag starts, with `drag` set.
    virtual void DragStarted() {}
    // The frame, margin included, in logical pixels of the painter.
    QRectF Shown(const KVWidgetPaint& paint) const;

    KVElement* element;
    KVFrame frame;
    float margin;
    KVFrameDrag drag;
};

// The frame of a freehand stroke; editing its points comes apart.
class KVPathWidget : public KVBaseRectWidget {
public:
    using KVBaseRectWidget::KVBaseRectWidget;
};

// A selection of several widgets, which it owns while it holds them; its
// box is the union of theirs, and they move and resize with it.
class KVMultiSelectWidget : public KVBaseRectWidget {
public:
    static constexpr float kMargin = 20;
    // `first` must be in no list.
    explicit KVMultiSelectWidget(KVElementWidget* first);
    ~KVMultiSelectWidget() override { members.DeleteAll(); }

    const char* GetElementName() const override { return "elementmultiselect"; }
    bool IsParentElement(const KVElement* e) const override;
    bool HasSameParent(const KVElementWidget&) const override { return false; }
    bool IsPositionInsideWidget(float x, float y) const override;
    LList<KVElementWidget>* GetMembers() override { return &members; }
    void Translate(float dx, float dy) override;
    void SetDimensions(const LBoundingBox2T<float>& box) override;
    void Draw(KVWidgetPaint& paint) const override;
    void DrawDisabled(KVWidgetPaint&) const override {}

    void AddElement(KVElementWidget* widget);
    // The first member whose box holds the point, taken out; null if none.
    KVElementWidget* RemoveElement(float x, float y);
    void CalculateBounds();
    // The member a click with Option would take out, from where the pointer
    // rests; true when that changed.
    bool SetHoverMember(float x, float y);
    const KVElementWidget* GetHoverMember() const { return hoverMember; }

protected:
    void DragStarted() override;

private:
    KVElementWidget* MemberAt(float x, float y) const;

    // Each member's box at button down, in member order.
    std::vector<LBoundingBox2T<float>> startBoxes;
    KVFrame startFrame;
    KVElementWidget* hoverMember = nullptr;
    LList<KVElementWidget> members;
};

// A line's two ends, each an 8 by 8 handle; the line itself, within a reach
// that does not shrink with the zoom, moves it. It is drawn over the line in
// the line's colour turned half round each channel, which stays visible on it.
class KVBaseLineWidget : public KVElementWidget, public KVLineWidgetGeometry {
public:
    static constexpr float kReach = 10;
    KVBaseLineWidget(KVElement* element, LPointTemplate<float> start, LPointTemplate<float> end,
                     LGuiColor colour = {});

    KVElement* GetElement() const override { return element; }
    bool IsParentElement(const KVElement* e) const override { return e && e == element; }
    LPointTemplate<float> GetStart() const override { return start; }
    LPointTemplate<float> GetEnd() const override { return end; }
    LBoundingBox2T<float> GetDimensions() const override;
    // The ends keep their places within the box.
    void SetDimensions(const LBoundingBox2T<float>& box) override;
    bool IsPositionInsideWidget(float x, float y) const override;
    int WhichHandle(float x, float y, float scale) const override;
    bool EvLButtonDown(float x, float y, const KVWidgetPress& press) override;
    bool EvMouseMove(float x, float y) override;
    bool EvLButtonUp() override;
    void Translate(float dx, float dy) override;
    void Draw(KVWidgetPaint& paint) const override;
    void DrawDisabled(KVWidgetPaint& paint) const override;
    void DrawMultiSelection(KVWidgetPaint& paint) const override;

private:
    void DrawLine(KVWidgetPaint& paint, int alpha, float width) const;

    KVElement* element;
    QColor shown;
    LPointTemplate<float> start, end, startAtDown, endAtDown, grab;
    int activeHandle = KVHandleNone;
};

// The rubber band of the select tool, from where the press was to the
// pointer. It stands for no element and cannot be moved or resized.
class KVElementSelectionDragWidget : public KVElementWidget {
public:
    KVElementSelectionDragWidget(float x, float y) : KVElementWidget(false, false), start(x, y), end(x, y) {}
    KVElement* GetElement() const override { return nullptr; }
    bool IsParentElement(const KVElement*) const override { return false; }
    const char* GetElementName() const override { return "elementselectwidget"; }
    bool IsPositionInsideWidget(float, float) const override { return false; }
    bool EvMouseMove(float x, float y) override {
        end = {x, y};
        return true;
    }
    // Ordered.
    LBoundingBox2T<float> GetBounds() const;
    LBoundingBox2T<float> GetDimensions() const override { return GetBounds(); }
    void Draw(KVWidgetPaint& paint) const override;

private:
    LPointTemplate<float> start, end;
};

// The outline of a shape of element kind `kind` filling `box`: a triangle
// takes its corner, a polygon its sides.
QPainterPath KVShapeOutline(const char* kind, int cornerOrSides, const QRectF& box);

// Makes the document's shapes, pictures, texts and strokes hand out these
// widgets.
void KVInstallCanvasWidgetFactories();

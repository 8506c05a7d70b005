#pragma once
// The on-canvas frames of elements: each knows its element and keeps its own
// copy of the element's box and rotation, which the handles move, resize and
// turn; the element takes the copy over when a drag ends. A group holds a
// multiple selection and resizes its members with it.

#include <QPainterPath>

#include <vector>

#include "document/widget.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "surface/frame_geometry.h"

class KVElement;
class QPainter;

class KVCanvasWidget : public KVElementWidget {
public:
    // `margin` is how far the frame stands off the shape, in image units.
    KVCanvasWidget(KVElement* element, const LBoundingBox2T<float>& dimensions, float margin = 0,
                   bool rotatable = false, float rotation = 0)
        : element(element), frame(KVFrame::FromBox(dimensions, rotation)), margin(margin),
          rotatable(rotatable) {}

    KVElement* GetElement() const override { return element; }
    bool IsParentElement(const KVElement* e) const override { return e && e == element; }
    // Unturned; the rotation is apart.
    LBoundingBox2T<float> GetDimensions() const override { return frame.GetBox(); }
    const KVFrame& GetFrame() const { return frame; }

    // In image space; the frame's edges and margin count as inside.
    virtual bool IsPositionInsideWidget(float x, float y) const;
    // The handle under (x, y), `scale` image units to a device pixel.
    virtual int WhichHandle(float x, float y, float scale) const;
    // Starts a drag from the handle under (x, y); false on none. `holdAspect`
    // holds the proportions whatever the frame's own wish. The frame
    // changes, not the element: that takes the frame over when it is done.
    bool BeginDrag(float x, float y, float scale, bool holdAspect, int rotationSnap);
    virtual void DragTo(float x, float y);
    // True when a drag was under way.
    bool EndDrag();
    bool IsDragging() const { return dragging; }
    int GetDragHandle() const { return dragging ? drag.GetHandle() : KVHandleNone; }
    // A group's members, or null.
    virtual LList<KVElementWidget>* GetMembers() { return nullptr; }
    // Moves the frame by (dx, dy) image pixels.
    virtual void Translate(float dx, float dy);
    // Puts the unturned frame on `box`: a group resizes its members so.
    virtual void FitTo(const LBoundingBox2T<float>& box) { frame = KVFrame::FromBox(box, frame.rotation); }
    // The frame with the image's origin at control point (originX, originY)
    // in device pixels; `hover` draws a faint outline without handles.
    virtual void Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
                      bool hover) const;

protected:
    // The shape within `box`, in the frame's own axes, for the live preview.
    virtual QPainterPath GetOutline(const QRectF&) const { return {}; }
    // Called as a drag starts, with `drag` set.
    virtual void DragStarted() {}

    KVElement* element;
    KVFrame frame;
    float margin;
    bool rotatable;
    // Resizing always holds the proportions at button down.
    bool keepAspect = false;
    KVFrameDrag drag;
    LPointTemplate<float> dragFrom;
    bool dragging = false;
};

// A selection of several widgets; its box is the union of theirs.
class KVMultiSelectWidget : public KVCanvasWidget {
public:
    // `first` must be in no list.
    explicit KVMultiSelectWidget(KVCanvasWidget* first);
    ~KVMultiSelectWidget() override { members.DeleteAll(); }

    const char* GetElementName() const override { return "elementmultiselect"; }
    bool IsParentElement(const KVElement* e) const override;
    bool IsPositionInsideWidget(float x, float y) const override;
    LList<KVElementWidget>* GetMembers() override { return &members; }
    void Translate(float dx, float dy) override;

    void DragTo(float x, float y) override;
    void Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
              bool hover) const override;
    void FitTo(const LBoundingBox2T<float>& box) override;
    void Add(KVCanvasWidget* widget);
    // The first member whose box holds the point, taken out; null if none.
    KVCanvasWidget* RemoveElement(float x, float y);
    void CalculateBounds();

protected:
    void DragStarted() override;

private:
    // Each member's box at button down, in member order.
    std::vector<LBoundingBox2T<float>> startBoxes;
    KVFrame startFrame;
    LList<KVElementWidget> members;
};

// The rubber band of the select tool, from where the press was to the pointer.
class KVSelectionDragWidget : public KVCanvasWidget {
public:
    KVSelectionDragWidget(float x, float y) : KVCanvasWidget(nullptr, {x, y, x, y}), start(x, y), end(x, y) {}
    const char* GetElementName() const override { return "elementselectwidget"; }
    bool IsPositionInsideWidget(float, float) const override { return false; }
    void DragTo(float x, float y) override { end = {x, y}; }
    // Ordered.
    LBoundingBox2T<float> GetBounds() const;
    LBoundingBox2T<float> GetDimensions() const override { return GetBounds(); }
    void Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
              bool hover) const override;

private:
    LPointTemplate<float> start, end;
};

// The outline of a shape of element kind `kind` filling `box`: a triangle
// takes its corner, a polygon its sides.
QPainterPath KVShapeOutline(const char* kind, int cornerOrSides, const QRectF& box);

// Makes the document's shapes and strokes hand out these widgets.
void KVInstallCanvasWidgetFactories();

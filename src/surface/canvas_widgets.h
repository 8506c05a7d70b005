#pragma once
// The canvas's stand-ins for elements until the on-canvas frames come: each
// knows its element and the box the element's Update reads, can be hit and
// moved, and draws as a plain outline. A group holds a multiple selection.

#include "document/widget.h"
#include "foundation/geometry.h"
#include "foundation/list.h"

class KVElement;
class QPainter;

class KVCanvasWidget : public KVElementWidget {
public:
    KVCanvasWidget(KVElement* element, const LBoundingBox2T<float>& dimensions)
        : element(element), dimensions(dimensions) {}

    KVElement* GetElement() const override { return element; }
    bool IsParentElement(const KVElement* e) const override { return e && e == element; }
    LBoundingBox2T<float> GetDimensions() const override { return dimensions; }

    // In image space; the box's edges count as inside.
    virtual bool IsPositionInsideWidget(float x, float y) const;
    // A group's members, or null.
    virtual LList<KVElementWidget>* GetMembers() { return nullptr; }
    // Moves the box by (dx, dy) image pixels.
    virtual void Translate(float dx, float dy);
    // The outline, with the image's origin at control point (originX,
    // originY) in device pixels; `hover` draws it fainter.
    void Draw(QPainter& painter, float originX, float originY, float zoom, float deviceRatio,
              bool hover) const;

protected:
    KVElement* element;
    LBoundingBox2T<float> dimensions;
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

    void Add(KVCanvasWidget* widget);
    // The first member whose box holds the point, taken out; null if none.
    KVCanvasWidget* RemoveElement(float x, float y);
    void CalculateBounds();

private:
    LList<KVElementWidget> members;
};

// The rubber band of the select tool, from where the press was to the pointer.
class KVSelectionDragWidget : public KVCanvasWidget {
public:
    KVSelectionDragWidget(float x, float y) : KVCanvasWidget(nullptr, {x, y, x, y}) {}
    const char* GetElementName() const override { return "elementselectwidget"; }
    bool IsPositionInsideWidget(float, float) const override { return false; }
    void DragTo(float x, float y) {
        dimensions.x2 = x;
        dimensions.y2 = y;
    }
    // Ordered.
    LBoundingBox2T<float> GetBounds() const;
};

// Makes the document's shapes and strokes hand out these widgets.
void KVInstallCanvasWidgetFactories();

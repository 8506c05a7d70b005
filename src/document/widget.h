#pragma once
// An element's on-canvas editing handle. The document needs of it the
// element it stands for, whether a given element is one of its parents (a
// multiple selection has several) and the geometry it hands back; the canvas
// drives the rest. A widget never writes to its element: it keeps its own
// copy of the geometry, which the element takes over when a change is done.
// All points are in image units.

#include "foundation/geometry.h"
#include "foundation/list.h"

class KVElement;

// The effects an element kind takes ("rectangle", "pen", "text"...); a kind
// that takes none, or an empty one, gives all false. The panels ask it of a
// tool's key, the frames of their element's kind.
struct KVKindEffects {
    bool fill, shadow, bevel, glow;
};
KVKindEffects KVEffectsOfKind(const char* kind);

// The canvas's painter and view; only the canvas knows what it paints with.
struct KVWidgetPaint;

// The parts of a frame a point can be on.
enum KVRectSelectedHandle {
    KVHandleNone = 0,
    KVHandleTopLeft = 1,
    KVHandleTopRight = 2,
    KVHandleBottomRight = 3,
    KVHandleBottomLeft = 4,
    KVHandleLeft = 5,
    KVHandleTop = 6,
    KVHandleRight = 7,
    KVHandleBottom = 8,
    KVHandleInside = 9,
    KVHandleRotation = 10,
};

// What a press takes from the keyboard and the settings.
struct KVWidgetPress {
    // Image units per device pixel: handles keep their size on screen.
    float scale = 1;
    // Shift: a resize keeps the proportions whatever the frame's own wish.
    bool holdAspect = false;
    // Control: a press on the body does not move, so that a click can add
    // to a group.
    bool control = false;
    // Snapping distances, 0 for none: image units for moves and sizes,
    // degrees from a right angle for turns.
    int moveSnap = 0;
    int rotationSnap = 0;
};

class KVElementWidget : public LListLink<KVElementWidget> {
public:
    explicit KVElementWidget(bool canMove = true, bool canResize = true) : canMove(canMove), canResize(canResize) {}
    virtual ~KVElementWidget() = default;
    virtual KVElement* GetElement() const = 0;
    virtual bool IsParentElement(const KVElement* element) const = 0;
    // Whether both stand for the same element; a group never does.
    virtual bool HasSameParent(const KVElementWidget& other) const { return GetElement() == other.GetElement(); }
    // The key of the element kind it stands for; how the program tells
    // widgets apart.
    virtual const char* GetElementName() const;
    // Unturned; a turned frame keeps its rotation apart.
    virtual LBoundingBox2T<float> GetDimensions() const { return {}; }
    virtual void SetDimensions(const LBoundingBox2T<float>&) {}

    // What the user may do with it on the canvas.
    bool CanMove() const { return canMove; }
    bool CanResize() const { return canResize; }
    virtual bool CanRotate() const { return false; }
    // Which effects the element's kind takes, for the panels.
    bool CanFillElement() const;
    bool CanShadowElement() const;
    bool CanBevelElement() const;
    bool CanGlowElement() const;

    // Edges included.
    virtual bool IsPositionInsideWidget(float x, float y) const;
    // The handle under (x, y), `scale` image units to a device pixel.
    virtual int WhichHandle(float x, float y, float scale) const;
    // A press: true when it took hold, and a drag is under way.
    virtual bool EvLButtonDown(float, float, const KVWidgetPress&) { return false; }
    // The pointer during a drag: true when the canvas must repaint.
    virtual bool EvMouseMove(float, float) { return false; }
    // The release: true when the element must take the geometry over.
    virtual bool EvLButtonUp() { return false; }
    bool IsMoving() const { return moving; }
    // Moves by (dx, dy), as the arrow keys do.
    virtual void Translate(float, float) {}
    // A group's members, or null.
    virtual LList<KVElementWidget>* GetMembers() { return nullptr; }

    // The selected widget with its handles; under the pointer, the faint
    // outline of what a click would take; inside a group, its mark there.
    virtual void Draw(KVWidgetPaint& paint) const = 0;
    virtual void DrawDisabled(KVWidgetPaint&) const {}
    virtual void DrawMultiSelection(KVWidgetPaint& paint) const { DrawDisabled(paint); }

protected:
    bool moving = false;

private:
    bool canMove;
    bool canResize;
};

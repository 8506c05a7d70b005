#pragma once
// The records that several element kinds share: gradient, drop shadow, bevel,
// glow, fill and erase strokes. A null pointer means the effect is absent;
// copies are deep.

#include "target/draw_path.h"
#include "foundation/array.h"
#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "foundation/matrix.h"
#include "foundation/ptr.h"

class KVGradient {
public:
    KVGradient();
    KVGradient(const LPointTemplate<float>& start, const LPointTemplate<float>& end,
               const LGuiColorAlpha& first, const LGuiColorAlpha& last);

    // Returns the index of the new stop; both ends stay reserved for the
    // first and last stop.
    unsigned long AddStop(float position, const LGuiColorAlpha& colour);
    void RemoveStop(unsigned long index);
    void SetStopColor(unsigned long index, const LGuiColorAlpha& colour);
    void SetColorStart(const LGuiColorAlpha& colour);
    void SetColorEnd(const LGuiColorAlpha& colour);

    unsigned long GetStopCount() const { return stopCount; }
    const LGuiColorAlpha& GetStopColor(unsigned long i) const { return colours[i]; }
    float GetStopPosition(unsigned long i) const { return positions[i]; }
    // Replaces all stops (the file reader fills a gradient this way).
    void SetStops(const LArray<LGuiColorAlpha>& stopColours, const LArray<float>& stopPositions);

    char name[260];
    bool radial = false;
    // Always 255; carried along unchanged.
    unsigned char reserved = 255;
    // Fractions of the filled shape's box; for a radial gradient start is the centre.
    LPointTemplate<float> start;
    LPointTemplate<float> end;
    float radiusX = 0.5f;
    float radiusY = 0.5f;

private:
    unsigned long stopCount = 0;
    LArray<LGuiColorAlpha> colours;
    LArray<float> positions;
};

struct KVDropShadow {
    int size = 0;
    int horizontalOffset = 5;
    int verticalOffset = 5;
    int softness = 5;

    // The blur radius of the shadow's edge for a shape of this box; never 0.
    int GetHardnessRadius(const LBoundingBox2T<float>& box) const;
};

struct KVBevelEmboss {
    int size = 2;
};

struct KVGlow {
    LGuiColorAlpha colour{LGuiColor(0, 0xFF00, 0), 255};
    float strength = 10.0f;
};

// An erase stroke over an element, painted in the background colour. Its
// points stay as drawn; moving, scaling or turning the element changes only
// the stroke's transform.
class KVEraserStroke : public LListLink<KVEraserStroke> {
public:
    // The softness radius is softnessPercent of the width, rounded.
    KVEraserStroke(const KVDrawPath& path, float width, unsigned long softnessPercent,
                   LGuiColorAlpha colour);

    float width = 0.0f;
    unsigned long softnessRadius = 0;
    LGuiColorAlpha colour;
    KVDrawPath path;
    LMatrix<float> transform;
};

struct KVShadowProperties {
    virtual ~KVShadowProperties() = default;
    void SetShadow(const KVDropShadow& s) { shadow.Set(new KVDropShadow(s)); }
    void RemoveShadow() { shadow.Reset(); }
    LPtr<KVDropShadow> shadow;
};

struct KVBevelEmbossProperties {
    virtual ~KVBevelEmbossProperties() = default;
    void SetBevelEmboss(const KVBevelEmboss& b) { bevel.Set(new KVBevelEmboss(b)); }
    void RemoveBevelEmboss() { bevel.Reset(); }
    LPtr<KVBevelEmboss> bevel;
};

struct KVGlowProperties {
    virtual ~KVGlowProperties() = default;
    void SetInnerGlow(const KVGlow& g) { innerGlow.Set(new KVGlow(g)); }
    void SetOuterGlow(const KVGlow& g) { outerGlow.Set(new KVGlow(g)); }
    void RemoveInnerGlow() { innerGlow.Reset(); }
    void RemoveOuterGlow() { outerGlow.Reset(); }
    LPtr<KVGlow> innerGlow;
    LPtr<KVGlow> outerGlow;
};

// Erase strokes, newest first.
struct KVErasableProperties {
    KVErasableProperties() = default;
    KVErasableProperties(const KVErasableProperties& o) { CopyStrokes(o); }
    KVErasableProperties& operator=(const KVErasableProperties& o) {
        if (this != &o) {
            strokes.DeleteAll();
            CopyStrokes(o);
        }
        return *this;
    }
    virtual ~KVErasableProperties() = default;

    void AddEraserStroke(const KVEraserStroke& stroke) { strokes.PushFront(new KVEraserStroke(stroke)); }
    LListIterator<KVEraserStroke> GetEraserStrokes() const { return strokes.GetIterator(); }

    void TransformEraserStrokes(const LMatrix<float>& matrix);
    void TranslateEraserStrokes(float dx, float dy);
    void ScaleEraserStrokes(LPointTemplate<float> centre, float sx, float sy);
    void RotateEraserStrokes(LPointTemplate<float> centre, float degrees);
    // Strokes follow a box from `old` to `fresh`: moved with its corner, and
    // scaled about the outer corner of an outline `lineWidth` wide.
    void UpdateEraserStrokes(const LBoundingBox2T<float>& old, const LBoundingBox2T<float>& fresh,
                             float lineWidth);

    LList<KVEraserStroke> strokes;

private:
    void CopyStrokes(const KVErasableProperties& o) {
        for (const KVEraserStroke& s : o.strokes)
            strokes.PushBack(new KVEraserStroke(s));
    }
};

// A solid fill or a gradient, never both; with neither the shape is an outline.
struct KVFillProperties {
    void SetFill(const LGuiColorAlpha& c) {
        fill.Set(new LGuiColorAlpha(c));
        gradient.Reset();
    }
    void SetGradient(const KVGradient& g) {
        gradient.Set(new KVGradient(g));
        fill.Reset();
    }
    void RemoveFill() {
        fill.Reset();
        gradient.Reset();
    }
    // What a tool panel's record fills with: its gradient, else its colour,
    // else nothing.
    void TakeFill(const KVFillProperties& panel) {
        if (panel.gradient)
            SetGradient(*panel.gradient);
        else if (panel.fill)
            SetFill(*panel.fill);
        else
            RemoveFill();
    }
    bool IsFilled() const { return fill || gradient; }
    LPtr<LGuiColorAlpha> fill;
    LPtr<KVGradient> gradient;
};

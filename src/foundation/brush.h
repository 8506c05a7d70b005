#pragma once
// What a fill or a stroke paints with: one colour, or a linear or radial
// gradient of up to 19 stops.

#include "foundation/color.h"
#include "foundation/geometry.h"

typedef struct _cairo cairo_t;

// A colour with channels from 0 to 1, not premultiplied.
struct LColourF {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 0;
};

// The drawing library's share of a byte: the high byte of a channel times this.
constexpr float kLByteToUnit = 0.003921569f;

LColourF LToColourF(const LGuiColorAlpha& c);

enum LGuiBrushType : int {
    LGuiBrushSolid = 0,
    LGuiBrushLinearGradient = 1,
    LGuiBrushRadialGradient = 2,
};

class LGuiBrush {
public:
    virtual ~LGuiBrush() = default;
    // Makes the brush the context's source, its opacity times `alpha`.
    virtual void Apply(cairo_t* context, float alpha = 1.0f) const;
    virtual void Restore(cairo_t* /*context*/) const {}

    LGuiBrushType type = LGuiBrushSolid;
    LGuiColorAlpha colour{0, 0, 0, 255};

protected:
    LGuiBrush() = default;
    LGuiBrush(LGuiBrushType t, const LGuiColorAlpha& c) : type(t), colour(c) {}
};

class LGuiSolidBrush : public LGuiBrush {
public:
    explicit LGuiSolidBrush(const LGuiColorAlpha& c) : LGuiBrush(LGuiBrushSolid, c) {}
    void ChangeColor(const LGuiColorAlpha& c) { colour = c; }
};

// The stop table both gradients share.
class LGuiBrushGradient : public LGuiBrush {
public:
    static constexpr unsigned long kMaxStops = 19;

    // Replaces every stop. A longer list keeps its first 18 stops and its
    // last; null or no colours leave a brush of no stops, which paints nothing.
    void ChangeColor(const LGuiColorAlpha* colours, const float* positions, unsigned long count);

    // The colour at t: the first stop at or above t, interpolated with the one
    // before it; stops closer than 1.1920929e-7 give the first one's colour.
    LColourF GetColourAt(float t) const;

    LGuiColorAlpha stops[kMaxStops];
    float positions[kMaxStops] = {};
    unsigned long stopCount = 0;

protected:
    LGuiBrushGradient(LGuiBrushType t, const LGuiColorAlpha& first, const LGuiColorAlpha& last);
    // Adds the stop table to a gradient pattern of the drawing library.
    void AddStops(void* pattern, float alpha) const;
};

class LGuiBrushGradientLinear : public LGuiBrushGradient {
public:
    LGuiBrushGradientLinear(LPointTemplate<float> start, LPointTemplate<float> end,
                            const LGuiColorAlpha& startColour, const LGuiColorAlpha& endColour,
                            bool extend = true);
    void Apply(cairo_t* context, float alpha = 1.0f) const override;

    LPointTemplate<float> start;
    LPointTemplate<float> end;
    // Past both ends the end colours continue; otherwise nothing is painted there.
    bool extend;
};

// Runs from the rim, the circle of radiusX (position 0), to the centre
// (position 1), stretched in y by radiusY / radiusX: the first stop lies on
// the rim and the last at the centre, on every output.
class LGuiBrushGradientRadial : public LGuiBrushGradient {
public:
    // The centre takes `centreColour` (the stop at 1), the rim `rimColour`.
    LGuiBrushGradientRadial(LPointTemplate<float> centre, LPointTemplate<float> second,
                            float radiusX, float radiusY, const LGuiColorAlpha& centreColour,
                            const LGuiColorAlpha& rimColour);
    void Apply(cairo_t* context, float alpha = 1.0f) const override;

    LPointTemplate<float> centre;
    LPointTemplate<float> second;
    float radiusX;
    float radiusY;
};

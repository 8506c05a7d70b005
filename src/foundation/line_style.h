#pragma once
// How a line is stroked: caps, join, dash pattern. LResolveStroke turns a
// style and a width into the exact numbers a stroke uses, so that every
// output (screen, raster, vector files) dashes the same way.

#include "foundation/array.h"

enum LLineDashStyle : int {
    LLineDashSolid = 0,
    LLineDashDash = 1,
    LLineDashDot = 2,
    LLineDashDashDot = 3,
    LLineDashDashDotDot = 4,
    LLineDashCustom = 5,
};

enum LLineCap : int { LLineCapFlat = 0, LLineCapSquare = 1, LLineCapRound = 2 };
enum LLineJoin : int { LLineJoinMiter = 0, LLineJoinBevel = 1, LLineJoinRound = 2 };

// Entries of a custom dash beyond this many are not used.
constexpr unsigned long kLMaxDashEntries = 20;

class LLineStyle {
public:
    LLineStyle() = default;
    explicit LLineStyle(LLineDashStyle d) : dash(d) {}

    // Stores a copy and makes the style custom; an empty array drops a stored
    // one and leaves the dash style as it was.
    void SetCustomDash(const LSizedArray<float>& entries);
    const LSizedArray<float>& GetCustomDash() const { return customDash; }

    // 0 flat, 1 square, 2 round; the start cap is the one a stroke applies.
    int startCap = 0;
    int endCap = 0;
    // With a dash set, 1 makes the cap round.
    int dashCap = 0;
    // 0 mitre with no limit, 1 bevel, 2 round, anything else mitre with miterLimit.
    int join = 0;
    LLineDashStyle dash = LLineDashSolid;
    LSizedArray<float> customDash;
    float miterLimit = 10.0f;
    int reserved = 0;
};

struct LStrokeParameters {
    double width = 1.0;
    LLineCap cap = LLineCapFlat;
    LLineJoin join = LLineJoinMiter;
    double miterLimit = 10.0;
    unsigned long dashCount = 0;
    double dashes[kLMaxDashEntries] = {};
    double phase = 0.0;
};

// The stroke for a style (null: flat cap, mitre join with the limit of 10, no
// dash) at a width. A width of 0 is one device pixel: 1 / deviceScale, where
// deviceScale is the smaller scale of the current transform. A pattern that
// could not be drawn (nothing but zero lengths, a length that is not a
// number) strokes solid.
LStrokeParameters LResolveStroke(const LLineStyle* style, float width, float deviceScale);

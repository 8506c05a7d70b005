#pragma once
// A stroke as captured: canvas points with two bezier controls each, the
// canvas size they hold for, and pressure levels when a tablet drew it.

#include "foundation/array.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "foundation/ptr.h"

class KVDrawCoord : public LListLink<KVDrawCoord> {
public:
    KVDrawCoord() = default;
    // A straight corner: both controls on the point.
    KVDrawCoord(float px, float py) : x(px), y(py), beforeX(px), beforeY(py), afterX(px), afterY(py) {}

    void Translate(float dx, float dy);
    // Multiplies all three pairs.
    void Scale(float sx, float sy);
    LPointTemplate<float> GetPoint() const { return {x, y}; }

    float x = 0, y = 0;
    // The control of the segment that arrives here, and of the one that leaves.
    float beforeX = 0, beforeY = 0;
    float afterX = 0, afterY = 0;
};

class KVPressure {
public:
    LSizedArray<long> levels;
    unsigned long count = 0;
    unsigned long maximum = 0;
};

class KVDrawCoordBezierSegment : public LListLink<KVDrawCoordBezierSegment> {
public:
    KVDrawCoordBezierSegment() = default;
    KVDrawCoordBezierSegment(LPointTemplate<float> s, LPointTemplate<float> c1,
                             LPointTemplate<float> c2, LPointTemplate<float> e)
        : start(s), control1(c1), control2(c2), end(e) {}
    LPointTemplate<float> start, control1, control2, end;
};

// Coefficients of a cubic a0 + a1 t + a2 t^2 + a3 t^3 in ascending powers.
class KVDrawCoordEquationCoeff : public LListLink<KVDrawCoordEquationCoeff> {
public:
    double x[4] = {0, 0, 0, 0};
    double y[4] = {0, 0, 0, 0};
};

class KVDrawPath : public LListLink<KVDrawPath> {
public:
    // Takes over `coords` when given.
    KVDrawPath(unsigned long width, unsigned long height, LList<KVDrawCoord>* coords);
    KVDrawPath(const KVDrawPath& other);
    KVDrawPath& operator=(const KVDrawPath& other);

    // Moves every coordinate into a canvas of the new size.
    void ConvertPath(unsigned long newWidth, unsigned long newHeight);
    void AddCoord(KVDrawCoord* coord) { coords.PushBack(coord); }
    void ReplaceLastCoord(KVDrawCoord* coord);
    // Also drops the pressure entry of that index.
    void DeleteCoord(int index);
    void SetPressureLevels(const long* levels, unsigned long count, unsigned long maximum);

    unsigned long GetWidth() const { return width; }
    unsigned long GetHeight() const { return height; }
    LList<KVDrawCoord>& GetCoords() { return coords; }
    const LList<KVDrawCoord>& GetCoords() const { return coords; }
    const KVPressure* GetPressure() const { return pressure.Get(); }

    // Kept for the path widgets.
    bool widgetFlags[2] = {false, false};
    float widgetValues[2] = {-1.0f, -1.0f};

private:
    void CopyCoords(const KVDrawPath& other);

    unsigned long width;
    unsigned long height;
    LList<KVDrawCoord> coords;
    LPtr<KVPressure> pressure;
};

// One segment per pair of neighbours: A's point, A's control after, B's
// control before, B's point. A path of one coordinate gives none.
void GetBeziers(const KVDrawPath& path, LList<KVDrawCoordBezierSegment>& segments);

// Thinning and smoothing of a captured stroke. A curviness `c` (0 to 1, the
// panels' "Smoothing") sets how hard the filter thins; above 0 the stroke is
// fitted with a Catmull-Rom spline, at 0 it stays a polyline.
//
// Drops points closer than c x 3 to the last point kept, and points up to
// c x 50 away whose slope turned by less than c x 60 degrees. The first and
// the last two coordinates always stay; pressure levels are thinned with
// their coordinates. Paths of 3 coordinates or fewer are left as they are.
void FilterPathByDistanceSlope(KVDrawPath& path, float curviness);
// Both controls of every coordinate on its point.
void NoCurvinessInterpolation(KVDrawPath& path);
// One Hermite cubic per stretch but the last, which stays straight: n
// coordinates give n - 2 records. Fewer than 3 coordinates give none. The
// tension is fixed; the curviness only chose this over a polyline.
void InterpolatePointsCR(const KVDrawPath& path, LList<KVDrawCoordEquationCoeff>& coefficients);
// Writes the cubics into the controls of the coordinates they join;
// coordinates beyond the last record keep theirs.
void ComputeBezier(KVDrawPath& path, const LList<KVDrawCoordEquationCoeff>& coefficients);
// The whole road of a stroke from its points to its curve: fewer than 3
// coordinates are always straight; `filter` thins first.
void InterpolateDrawPath(KVDrawPath& path, float curviness, bool filter);

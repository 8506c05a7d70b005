#pragma once
// The program's own vector path: a list of segments, each a move, a line, a
// curve, a polyline, a run of curves, a text anchor or a close. Construction
// and arithmetic are ours, to the constant; only hit testing and stroke
// bounds ask the drawing library.

#include "foundation/array.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "foundation/matrix.h"
#include "foundation/string.h"
#include "foundation/text_format.h"

typedef struct _cairo cairo_t;
class LLineStyle;

enum LPathSegmentType : int {
    LPathSegmentMoveTo = 0,
    LPathSegmentLineTo = 1,
    LPathSegmentBezierTo = 3,
    // Any number of points: a polyline continuing from the current point.
    LPathSegmentLines = 17,
    // A multiple of three points: control, control, end, again and again.
    LPathSegmentBeziers = 19,
    // One point, the anchor of a text.
    LPathSegmentText = 20,
    LPathSegmentClose = 128,
};

class LGraphicsPathSegment : public LListLink<LGraphicsPathSegment> {
public:
    explicit LGraphicsPathSegment(LPathSegmentType t) : type(t) {}

    LPathSegmentType GetType() const { return type; }

    // Stores what suits the type and says whether all of it did: false for
    // null, for no points, or for a count the type cannot take. A one-point
    // type keeps the first point of several; a run of curves drops the points
    // past the last whole curve.
    bool SetPoints(const LPointTemplate<float>* values, unsigned long count);

    LPathSegmentType type;
    LSizedArray<LPointTemplate<float>> points;
    // A text segment's own.
    LStringLong text;
    LFontAttributes font;
    LDrawTextFormat format;
};

using LGraphicsPathSegmentList = LList<LGraphicsPathSegment>;

class LGraphicsPath {
public:
    LGraphicsPath() = default;
    LGraphicsPath(const LGraphicsPath& o) { Copy(o); }
    LGraphicsPath& operator=(const LGraphicsPath& o) {
        if (this != &o)
            Copy(o);
        return *this;
    }
    virtual ~LGraphicsPath() = default;

    // Building.
    void BeginFigure(LPointTemplate<float> point);
    void EndFigure(bool close);
    void CloseFigure() { EndFigure(true); }
    void LineTo(LPointTemplate<float> point);
    // Needs an open figure; it does not look.
    void BezierTo(LPointTemplate<float> c1, LPointTemplate<float> c2, LPointTemplate<float> end);
    void AddBezier(LPointTemplate<float> p0, LPointTemplate<float> c1, LPointTemplate<float> c2,
                   LPointTemplate<float> p3);
    void AddLine(float x1, float y1, float x2, float y2);
    void AddLines(const LPointTemplate<float>* values, unsigned long count);
    void AddRectangle(float x, float y, float width, float height);
    void AddEllipse(float cx, float cy, float rx, float ry);
    void AddCircle(float x, float y, float r) { AddEllipse(x, y, r, r); }
    // Angles in degrees; the arc runs in the box x, y, width, height.
    void AddArc(float x, float y, float width, float height, float start, float sweep,
                float rotation = 0.0f);
    void AddPath(const LGraphicsPath& other, bool connect);
    void AddString(const char* text, const LFontAttributes& font, const LDrawTextFormat& format,
                   LPointTemplate<float> point);

    void Reset();
    void Copy(const LGraphicsPath& other);

    // Changes of every point; text anchors move, the text does not turn.
    void Transform(const LMatrix<float>& matrix);
    void Translate(float x, float y);
    void Scale(float x, float y);
    void Rotate(float degrees);

    bool IsEmpty() const { return segments.IsEmpty(); }
    bool IsFigureOpen() const { return figureOpen; }
    // Marks a figure as already begun, so that appended curves connect.
    void SetFigureOpen(bool open) { figureOpen = open; }
    bool GetLastPoint(LPointTemplate<float>& point) const;
    // The box of every stored point, control points and text anchors
    // included; all zero for an empty path.
    LBoundingBox2T<float> GetBounds() const;
    // The box of the stroked outline; GetBounds() at width 0.
    LBoundingBox2T<float> GetBounds(float width, const LLineStyle* style) const;
    // Non-zero winding.
    bool IsPointInside(float x, float y) const;

    // Appends the path to the context's current path. Text segments become a
    // move to their anchor.
    void AppendToContext(cairo_t* context) const;

    const LGraphicsPathSegmentList& GetSegments() const { return segments; }
    unsigned long GetSegmentCount() const { return segments.GetCount(); }

private:
    LGraphicsPathSegment* Append(LPathSegmentType type, const LPointTemplate<float>* values,
                                 unsigned long count);
    void ForEachPoint(void (*change)(LPointTemplate<float>&, const void*), const void* data);

    bool reserved = false;
    bool figureOpen = false;
    LGraphicsPathSegmentList segments;
};

class LGraphicsPathConstIterator {
public:
    explicit LGraphicsPathConstIterator(const LGraphicsPath& path)
        : current(path.GetSegments().GetFirst()) {}

    bool IsValid() const { return current != nullptr; }
    explicit operator bool() const { return current != nullptr; }
    void Next() {
        if (current)
            current = current->GetNext();
    }
    LGraphicsPathConstIterator& operator++() {
        Next();
        return *this;
    }

    LPathSegmentType GetSegmentType() const { return current->type; }
    unsigned long GetPointCount() const { return current->points.GetSize(); }
    const LPointTemplate<float>* GetPoints() const { return current->points.Data(); }
    const char* GetText() const { return current->text.Get(); }
    const LFontAttributes& GetFontAttributes() const { return current->font; }
    const LDrawTextFormat& GetTextFormat() const { return current->format; }

private:
    const LGraphicsPathSegment* current;
};

// The arc as AddArc makes it, with the rotation of its axes in degrees.
void LGraphicsPathAddArcWithAngle(LGraphicsPath& path, float x, float y, float width, float height,
                                  float start, float sweep, float rotation);
// A quadratic curve raised to a cubic one.
void LGraphicsPathAddQuadraticBezier(LGraphicsPath& path, LPointTemplate<float> p0,
                                     LPointTemplate<float> q, LPointTemplate<float> p1);
// The same from the path's last point; nothing on a path without one.
void LGraphicsPathQuadraticBezierTo(LGraphicsPath& path, LPointTemplate<float> q,
                                    LPointTemplate<float> p1);

// The four curves of an ellipse from its top point, clockwise on screen.
constexpr float kLEllipseBezierFactor = 0.5522848f;

#pragma once
// The SVG reader: one walk over the XML tree of a file, with a stack of
// attribute states that children inherit by copy, into an LVectorImage, a
// flat list of shapes with their paints and matrices that knows nothing of
// the editor. It reads a subset and drops the rest without a word: no style
// sheets, no references to what comes later in the file, no animation.

#include <memory>
#include <string>
#include <vector>

#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/process.h"
#include "imaging/image_buffer.h"

// An affine matrix (a b c d e f) as SVG writes one: x' = a x + c y + e.
struct LVectorImageMatrix {
    float a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

    // `first` applies before this matrix.
    LVectorImageMatrix Then(const LVectorImageMatrix& first) const;
    LPointTemplate<float> Apply(float x, float y) const {
        return {a * x + c * y + e, b * x + d * y + f};
    }
};

enum LVectorImageElementType : int {
    LVectorImageTextSegmentType = -1,
    LVectorImageCircleType = 0,
    LVectorImageEllipseType = 1,
    LVectorImageLineType = 2,
    LVectorImagePolygonType = 3,
    LVectorImagePolylineType = 4,
    LVectorImageRectType = 5,
    LVectorImagePathType = 6,
    LVectorImageImageType = 7,
    LVectorImageTextType = 8,
};

enum LVectorImageBrushType : int {
    LVectorImageBrushNone = 0,
    LVectorImageBrushSolid = 1,
    LVectorImageBrushLinear = 2,
    LVectorImageBrushRadial = 3,
};

// A paint: a colour, or a gradient whose coordinates are in the shape's
// user space.
struct LVectorImageBrush {
    LVectorImageBrushType type = LVectorImageBrushNone;
    LGuiColorAlpha colour{0, 0, 0, 255};
    float x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    float radiusX = 0, radiusY = 0;
    // Both empty unless the gradient had two stops or more.
    std::vector<float> stopPositions;
    std::vector<LGuiColorAlpha> stopColours;

    static LVectorImageBrush Solid(const LGuiColorAlpha& colour) {
        LVectorImageBrush b;
        b.type = LVectorImageBrushSolid;
        b.colour = colour;
        return b;
    }
};

struct LVectorImageStrokeInfo {
    LVectorImageBrush brush = LVectorImageBrush::Solid({0, 0, 0, 255});
    float width = 1.0f;
    int lineJoin = 0;
    float miterLimit = 4.0f;
    int lineCap = 0;
    int dashStyle = 0;
    std::vector<float> dashArray;
    float opacity = 1.0f;
};

struct LVectorImageFillInfo {
    LVectorImageBrush brush;
    int spread = 0;
    int rule = 0;
    float opacity = 1.0f;
};

class LVectorImageElement {
public:
    explicit LVectorImageElement(LVectorImageElementType t) : type(t) {}
    virtual ~LVectorImageElement() = default;

    LVectorImageElementType type;
    float left = 0, top = 0, right = 0, bottom = 0;
    std::string id;
    LVectorImageMatrix matrix;
    bool hasClip = false;
};

class LVectorImageShape : public LVectorImageElement {
public:
    using LVectorImageElement::LVectorImageElement;
    LVectorImageStrokeInfo stroke;
    LVectorImageFillInfo fill;
    bool hasStroke = false;
};

struct LVectorImageLine : LVectorImageShape {
    LVectorImageLine(float ax1, float ay1, float ax2, float ay2)
        : LVectorImageShape(LVectorImageLineType), x1(ax1), y1(ay1), x2(ax2), y2(ay2) {}
    float x1, y1, x2, y2;
};

struct LVectorImageRect : LVectorImageShape {
    LVectorImageRect(float ax, float ay, float w, float h, float arx, float ary)
        : LVectorImageShape(LVectorImageRectType), x(ax), y(ay), width(w), height(h), rx(arx), ry(ary) {}
    float x, y, width, height, rx, ry;
};

struct LVectorImageEllipse : LVectorImageShape {
    // A circle is an ellipse of equal radii with the circle's type.
    LVectorImageEllipse(LVectorImageElementType t, float acx, float acy, float arx, float ary)
        : LVectorImageShape(t), cx(acx), cy(acy), rx(arx), ry(ary) {}
    float cx, cy, rx, ry;
};

// A polygon or a polyline.
struct LVectorImagePoly : LVectorImageShape {
    using LVectorImageShape::LVectorImageShape;
    std::vector<LPointTemplate<float>> points;
};

// Even types are absolute, odd ones relative; the reader writes only
// absolute ones.
enum LVectorImagePathCommandType : int {
    LVectorImagePathMove = 0,
    LVectorImagePathLine = 2,
    LVectorImagePathCubic = 4,
    LVectorImagePathQuadratic = 6,
    LVectorImagePathSmoothCubic = 8,
    LVectorImagePathSmoothQuadratic = 10,
    // rx, ry, rotation, large-arc, sweep, x, y
    LVectorImagePathArc = 12,
    LVectorImagePathClose = 14,
};

struct LVectorImagePathCommand {
    int type = LVectorImagePathMove;
    std::vector<float> args;
};

struct LVectorImagePath : LVectorImageShape {
    LVectorImagePath() : LVectorImageShape(LVectorImagePathType) {}
    std::vector<LVectorImagePathCommand> commands;
    // Of every point the commands name, controls included; empty when none.
    LBoundingBox2T<float> GetPointBounds() const;
};

// One character (one byte of the text) at its place.
struct LVectorImageTextSegment {
    std::string character;
    float x = 0, y = 0, rotation = 0;
};

enum LVectorImageFontFlags : unsigned int {
    LVectorImageFontBold = 1,
    LVectorImageFontItalic = 2,
    LVectorImageFontUnderline = 4,
    LVectorImageFontStrike = 8,
};

struct LVectorImageText : LVectorImageShape {
    LVectorImageText() : LVectorImageShape(LVectorImageTextType) {}
    std::string face;
    float size = 16.0f;
    unsigned int flags = 0;
    // 0 start, 1 middle, 2 end.
    int anchor = 0;
    std::vector<LVectorImageTextSegment> segments;
};

struct LVectorImageImage : LVectorImageElement {
    LVectorImageImage(float ax, float ay) : LVectorImageElement(LVectorImageImageType), x(ax), y(ay) {}
    float x, y, width = 0, height = 0;
    LImageBuffer picture;
};

enum : int { LVectorImageCodecSVG = 24 };

struct LVectorImage {
    float width = 0, height = 0;
    float viewBoxX = 0, viewBoxY = 0, viewBoxWidth = 0, viewBoxHeight = 0;
    float pixelSizeX = 0, pixelSizeY = 0;
    int codec = 0;
    std::string title;
    // In file order.
    std::vector<std::unique_ptr<LVectorImageElement>> elements;
    // Why the file could not be used, when the load failed.
    std::string error;
};

// Reads the file at `path` at `dpi` into `image`. 0 with the image (a broken
// document gives what could be read), 1 when stopped, 2 when the file cannot
// be read, with a message in image.error and through the process.
LProcessResult LVectorImageLoadSVG(LProcessInterface& process, const char* path, LVectorImage& image,
                                   float dpi);
// The same on text in memory; `name` is what messages call it.
LProcessResult LVectorImageLoadSVGText(LProcessInterface& process, const char* text, size_t length,
                                       LVectorImage& image, float dpi);

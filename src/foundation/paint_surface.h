#pragma once
// The one door through which anything is drawn. LPaintContext is the state
// of one surface; the drawing operations are static members that take the
// context, so that code holding only a context (a widget's Paint, a text
// editor) draws the same way as the render back ends.
//
// Coordinates are y-down. The base transform moves by half a pixel, so that
// integer coordinates fall on pixel centres: a one-pixel line at x = 3 lights
// exactly column 3.

#include <cairo.h>

#include "foundation/array.h"
#include "foundation/brush.h"
#include "foundation/graphics_path.h"
#include "foundation/line_style.h"
#include "foundation/matrix.h"
#include "foundation/text_format.h"

// An affine transform as the drawing library keeps it.
struct LPaintTransform {
    double xx = 1, yx = 0, xy = 0, yy = 1, x0 = 0, y0 = 0;
};

// Pixels to draw: rows of premultiplied blue, green, red, alpha. `data` is
// the top row; a negative stride walks a bottom-up picture upwards in memory.
struct LPaintPixels {
    const void* data = nullptr;
    int width = 0;
    int height = 0;
    long stride = 0;
};

enum LPaintInterpolation : int {
    LPaintInterpolationNearest = 0,
    LPaintInterpolationLinear = 1,
    LPaintInterpolationBest = 2,
};

struct LPaintContext {
    cairo_t* context = nullptr;
    // The window's, when the surface draws on one.
    void* view = nullptr;
    float left = 0, top = 0, width = 0, height = 0;
    LGuiFont font;
    LGuiColorAlpha textColour{0, 0, 0, 255};
    LGuiColorAlpha textOutlineColour{0, 0, 0, 255};
    // Behind text drawn with a background.
    LGuiColorAlpha backgroundColour{0, 0, 0, 255};
    float lineWidth = 1.5f;
    // Applied by every operation for its own duration.
    bool antialias = true;
    // Multiplies the opacity of everything drawn.
    float alpha = 1.0f;
    LArray<LPaintTransform> transformStack;
    unsigned long clipCount = 0;
    LGuiFont secondFont;
    float baseTransform[6] = {1, 0, 0, 1, 0, 0};

    // Set while a transform without an inverse is in force: drawing is then
    // skipped, as nothing could be seen, and the drawing library, which would
    // refuse every later call, never sees it.
    bool singular = false;
    // The flag as each clip push found it.
    LArray<unsigned char> clipSingular;
};

// Sets the stroke state of a context; used by every stroke and stroke query.
void LApplyStroke(cairo_t* context, const LStrokeParameters& stroke);

class LPaintSurface {
public:
    // First, so that a surface can be handed on as its context.
    LPaintContext context;

    virtual ~LPaintSurface();
    LPaintSurface(const LPaintSurface&) = delete;
    LPaintSurface& operator=(const LPaintSurface&) = delete;

    bool IsValid() const { return context.context != nullptr; }
    cairo_surface_t* GetTarget() const;
    // Completes pending drawing so that the pixels in memory are current.
    virtual void Flush();
    // To be called when something else wrote to the pixels.
    virtual void MarkDirty();

    // Drawing. Each applies the context's antialias flag and alpha.
    static void FillPath(LPaintContext& c, const LGuiBrush& brush, const LGraphicsPath& path);
    static void DrawPath(LPaintContext& c, const LGuiBrush& brush, const LGraphicsPath& path,
                         float width, const LLineStyle* style = nullptr);
    static void FillRect(LPaintContext& c, const LGuiBrush& brush, float x, float y, float w,
                         float h);
    static void FillEllipse(LPaintContext& c, float x, float y, float w, float h,
                            const LGuiBrush& brush);
    // Always antialiased.
    static void DrawEllipse(LPaintContext& c, float x, float y, float w, float h,
                            const LGuiBrush& brush, float width, const LLineStyle* style = nullptr);
    static void DrawRectangle(LPaintContext& c, const LBoundingBox2T<float>& box,
                              const LGuiBrush& brush, float width,
                              const LLineStyle* style = nullptr);
    static void DrawLine(LPaintContext& c, float x1, float y1, float x2, float y2,
                         const LGuiBrush& brush, float width, const LLineStyle* style = nullptr);
    // The picture's pixels fall on the surface's pixels (the half-pixel
    // offset is undone); `alpha` multiplies the context's.
    static void DrawImage(LPaintContext& c, const LPaintPixels& image, float x, float y, float w,
                          float h, float alpha, int interpolation);
    // Transparent over the bounds.
    static void Clear(LPaintContext& c);
    static void Clear(LPaintContext& c, const LGuiColorAlpha& colour);

    // Transforms concatenate: later drawing is transformed.
    static void TransformTranslate(LPaintContext& c, float x, float y);
    static void TransformScale(LPaintContext& c, float x, float y);
    static void TransformRotate(LPaintContext& c, float degrees);
    static void Transform(LPaintContext& c, const LMatrix<float>& matrix);
    // Back to the base transform.
    static void TransformReset(LPaintContext& c);
    // A singular transform is not pushed (false).
    static bool TransformStackPush(LPaintContext& c);
    // Restores the transform stored by the last push; false with none.
    static bool TransformStackPop(LPaintContext& c);
    static void TransformStackClear(LPaintContext& c);
    // Saves the whole state (clip and transform alike); pop restores it.
    static void ClipStackPush(LPaintContext& c);
    static bool ClipStackPop(LPaintContext& c);
    static void ClipIntersect(LPaintContext& c, const LGraphicsPath& path);
    static void ClipIntersect(LPaintContext& c, const LBoundingBox2T<float>& box);
    // The lengths of the current transform's axes; 0 while it is singular.
    static void GetScale(const LPaintContext& c, float& x, float& y);
    static void ApplyLineStyle(LPaintContext& c, float width, const LLineStyle* style);

    // Text, with the context's font; in the context's text colour unless a
    // brush is given.
    static void SetFont(LPaintContext& c, const LGuiFont& font);
    static void SetTextColor(LPaintContext& c, const LGuiColorAlpha& colour);
    static void DrawText(LPaintContext& c, const char* text, const LBoundingBox2T<float>& box,
                         const LDrawTextFormat& format, const LGuiBrush* brush = nullptr,
                         bool noBackground = true);
    // Zero for an empty or null text (false).
    static bool MeasureText(LPaintContext& c, float& width, float& height, const char* text,
                            const LBoundingBox2T<float>& box, const LDrawTextFormat& format);
    // The text segments of a path, each in its own font and format.
    static void _DrawPathStrings(LPaintContext& c, const LGuiBrush* brush,
                                 const LGraphicsPath& path);

protected:
    LPaintSurface() = default;
    // Draws on a surface made elsewhere (an image over someone's pixels, a
    // window's, a vector file's); keeps a reference to it.
    bool Open(cairo_surface_t* target, float width, float height);
    // Draws through a context made elsewhere; keeps a reference to it.
    bool Adopt(cairo_t* cr, float width, float height);
    void Close();

private:
    void SetBase(float width, float height);

    bool adopted = false;
};

// A surface over a drawing-library surface or context that its caller made.
class LPaintSurfaceCairo : public LPaintSurface {
public:
    LPaintSurfaceCairo(cairo_surface_t* target, float width, float height) {
        Open(target, width, height);
    }
    LPaintSurfaceCairo(cairo_t* cr, float width, float height) { Adopt(cr, width, height); }
};

// A picture of its own, premultiplied blue, green, red, alpha, cleared to
// transparent.
class LPaintSurfaceImage : public LPaintSurface {
public:
    LPaintSurfaceImage(int width, int height);

    int GetWidth() const { return width; }
    int GetHeight() const { return height; }
    // Flushes first; transparent outside the picture.
    LPixelColour GetPixel(int x, int y);
    const unsigned char* GetData();
    long GetStride() const;

private:
    int width;
    int height;
};

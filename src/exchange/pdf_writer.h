#pragma once
// A paint surface whose output is a one-page PDF file. The drawing library's
// PDF surface writes the file's structure; what is settled here is the page,
// the document's information entries and how a paint description becomes a
// brush.

#include <cairo.h>

#include "foundation/color.h"
#include "foundation/paint_surface.h"

// The most stops a gradient brush holds; the arrays keep one place spare so
// that a description filled to the limit never reaches past them.
inline constexpr unsigned long kLBrushMaxStops = 19;

// A paint: 0 none, 1 solid, 2 linear gradient, 3 radial gradient. For a
// radial one (x1, y1) is the centre and x2, y2 are the two radii.
struct LBrushInfo {
    int type = 0;
    LGuiColorAlpha colour{0, 0, 0, 255};
    float x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    float stopPositions[kLBrushMaxStops + 1] = {};
    LGuiColorAlpha stopColours[kLBrushMaxStops + 1] = {};
    unsigned long stopCount = 0;

    // Copies at most kLBrushMaxStops stops; the rest are dropped.
    void SetStops(const LGuiColorAlpha* colours, const float* positions, unsigned long count);
};

class LPDFWriter : public LPaintSurface {
public:
    // The document's title and creator in its information entries.
    static constexpr const char* kTitle = "Tolmar PDF File";
    static constexpr const char* kCreator = "Tolmar Software";

    // A page of `width` by `height` points, one point to a document pixel.
    // IsValid() is false when the file could not be opened.
    LPDFWriter(const char* path, float width, float height);
    ~LPDFWriter() override;

    // Document coordinates below: y down, with the raster surface's half
    // pixel offset.
    void StartPage();
    void EndPage();
    // Ends the document; false when any of it could not be written.
    bool Finish();

    void FillPath(const LBrushInfo& brush, const LGraphicsPath& path);
    void DrawPath(const LBrushInfo& brush, const LGraphicsPath& path, float width,
                  const LLineStyle* style = nullptr);

    float pageWidth;
    float pageHeight;
    int openPages = 0;

private:
    cairo_surface_t* surface = nullptr;
};

#pragma once
// Lays a text out for drawing and measuring. Sizes are pixels; metrics are
// unhinted and glyph positions unrounded on every surface, so that a text
// measures the same on a picture as in a vector file. A layout belongs to the
// thread that made it (the font map is per thread).

#include <vector>

#include "foundation/geometry.h"
#include "foundation/string.h"
#include "foundation/text_format.h"

typedef struct _PangoContext PangoContext;
typedef struct _PangoLayout PangoLayout;
struct LPaintContext;
class LGuiBrush;

// Text below this size is laid out ten times larger and drawn at a tenth, so
// that very small text keeps its shapes.
constexpr float kLSmallTextSize = 5.0f;

class LPaintSurfaceTextLayoutManager {
public:
    // In the context's font unless `font` is given.
    LPaintSurfaceTextLayoutManager(const LPaintContext& context, const char* text,
                                   const LDrawTextFormat& format,
                                   const LFontAttributes* font = nullptr);
    ~LPaintSurfaceTextLayoutManager();
    LPaintSurfaceTextLayoutManager(const LPaintSurfaceTextLayoutManager&) = delete;
    LPaintSurfaceTextLayoutManager& operator=(const LPaintSurfaceTextLayoutManager&) = delete;

    // Lays out for a box of `width` (0: none). `height` bounds the lines of a
    // trimmed, wrapped text (0: no bound). False for an empty text or a font
    // of no size.
    bool Create(float width, float height = 0);
    // The widest line, overhangs included, and the line count times the line
    // height.
    void Measure(float& width, float& height) const;
    // Draws into the box at x, y of width and height (0: unbounded).
    void DrawText(LPaintContext& context, float x, float y, float width, float height,
                  bool noBackground, const LGuiBrush* brush);

    float GetLayoutSize() const { return layoutSize; }
    float GetLayoutScale() const { return layoutScale; }
    unsigned long GetLineCount() const { return static_cast<unsigned long>(lines.size()); }
    // Ascent plus descent, in the surface's units.
    float GetLineHeight() const { return lineHeight * layoutScale; }
    bool IsMultiLine() const { return multiLine; }
    // The text as laid out: broken UTF-8 already replaced, one trailing line
    // break dropped.
    const char* GetText() const { return text.Get(); }
    // Where each laid-out line starts in GetText() and how many bytes it
    // holds, its line break left out; byte offsets.
    struct LineRange {
        int start, length;
    };
    std::vector<LineRange> GetLineRanges() const;
    // The font's ascent, in the surface's units.
    float GetAscent() const { return ascent * layoutScale; }

private:
    struct Line {
        // In layout units, from the line's origin.
        float logicalX, logicalWidth, inkX, inkWidth;
    };
    void Release();
    float LineOrigin(const Line& line, float x, float width) const;

    LFontAttributes font;
    LDrawTextFormat format;
    LStringLong text;
    PangoContext* pangoContext = nullptr;
    PangoLayout* layout = nullptr;
    float layoutSize = 0;
    float layoutScale = 1;
    bool multiLine = false;
    // In layout units.
    float ascent = 0;
    float lineHeight = 0;
    std::vector<Line> lines;
};

// Lets go of this thread's font map and waits (at most ten seconds) until
// the layout library's own font worker has let go of it too, so that the
// map and its fonts are finished before the thread ends, not on that
// worker later, when the drawing library's caches may already be gone.
void LPaintReleaseThreadFonts();

// The height of a text set in a box as the render targets set one line
// (wrapped at the box's width, left to top), measured on a scratch picture
// of its own. False when no scratch surface could be made.
bool LPaintMeasureTextHeight(float& height, const LBoundingBox2T<float>& box, const char* text,
                             const char* face, float size, bool bold, bool italic, bool underline,
                             LAlignmentX align);

// The ascent of a font and the width one blank adds between two letters,
// measured as the vector writers place text. False when no scratch surface
// could be made.
bool LPaintMeasureFont(float& ascent, float& spaceWidth, const char* face, float size, bool bold,
                       bool italic, bool underline);

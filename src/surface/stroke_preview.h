#pragma once
// What a freehand stroke looks like while it is drawn, and after, until its
// render arrives: the strokes are laid segment by segment on a picture of the
// visible page only, with the same stamps the render lays, so memory follows
// the window and not the zoom. A new page (scroll, zoom, resize) lays the
// kept strokes again.

#include <memory>
#include <vector>

#include "foundation/color.h"
#include "foundation/geometry.h"
#include "imaging/image_buffer.h"
#include "target/render_types.h"

class LImageBufferPainter;

struct KVStrokeStyle {
    KVBrushType type = KVBrushRoundPen;
    // Image pixels.
    float width = 1.0f;
    LGuiColorAlpha colour{0, 0, 0, 255};
};

class KVStrokePreview {
public:
    KVStrokePreview();
    ~KVStrokePreview();

    // The visible page in zoomed canvas space (device pixels). A change
    // lays every kept stroke again.
    void SetPage(int canvasX, int canvasY, int width, int height, float zoom);
    // Points in image space.
    void Begin(const KVStrokeStyle& style, LPointTemplate<float> at);
    void Extend(LPointTemplate<float> to);
    // The stroke stays on the page until Clear.
    void End() { drawing = false; }
    // The strokes are in the rendered picture now.
    void Clear();

    bool IsDrawing() const { return drawing; }
    bool IsEmpty() const { return strokes.empty(); }
    // The page's picture (format 0), invalid while there is nothing to show.
    const LImageBuffer& GetPage() const { return page; }
    int GetPageX() const { return pageX; }
    int GetPageY() const { return pageY; }

private:
    // One pass of stamps: the crayon lays two, the others one or none.
    struct StampPass {
        // At image size, and at the zoom of the page; a turned stamp keeps
        // its turns at the zoom, each made once (as many as fit a budget).
        LImageBuffer picture;
        LImageBuffer zoomed;
        std::vector<LImageBuffer> turns;
        float spacing = 1.0f;
        bool turned = false;
        // Distance walked since the last stamp.
        float walked = 0.0f;
    };
    struct Stroke {
        KVStrokeStyle style;
        std::vector<LPointTemplate<float>> points;
        std::vector<StampPass> passes;
    };

    void PrepareStamps(Stroke& stroke) const;
    // The stamps of `pass` at the page's zoom.
    void ZoomStamps(StampPass& pass) const;
    bool EnsurePage();
    void LaySegment(Stroke& stroke, LPointTemplate<float> from, LPointTemplate<float> to, bool first);
    void LayStroke(Stroke& stroke);

    std::vector<Stroke> strokes;
    bool drawing = false;
    LImageBuffer page;
    std::unique_ptr<LImageBufferPainter> painter;
    int pageX = 0, pageY = 0, pageWidth = 0, pageHeight = 0;
    float zoom = 1.0f;
};

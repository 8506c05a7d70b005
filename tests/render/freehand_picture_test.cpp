// Every brush with and without pressure, the shaped line ends and erase
// strokes over shapes, drawn straight through the raster target into one
// picture for a person to look at (set KV_PAINT_ORACLE_OUTPUT to a folder to
// keep it); and the plain pen against the same curve written by hand as SVG
// and rendered by rsvg-convert.

#include <gtest/gtest.h>

#include <cairo.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "foundation/line_style.h"
#include "imaging/image_painter.h"
#include "render/render_image_buffer.h"
#include "support/ink.h"
#include "support/svg_oracle.h"
#include "target/draw_path.h"
#include "target/effects.h"

namespace {

constexpr int kWidth = 640, kHeight = 560;
constexpr float kRowHeight = 40;
const LPixelColour kPaper(250, 250, 240, 255);
const LGuiColorAlpha kInk(30, 50, 160, 255);

// A wave across one half of a row: four cubic segments of one smooth curve.
struct Wave {
    LList<KVDrawCoordBezierSegment> segments;
    KVBox bounds;
    Wave(float left, float middle) : bounds(left, middle - 10, left + 280, middle + 10) {
        const float step = 70;
        for (int i = 0; i < 4; ++i) {
            const float x = left + i * step, sign = i % 2 ? -1.0f : 1.0f;
            segments.PushBack(new KVDrawCoordBezierSegment(
                {x, middle}, {x + step / 3, middle - 13 * sign},
                {x + 2 * step / 3, middle - 13 * sign},
                {x + step, middle}));
        }
    }
    KVSegments Begin() const { return KVSegments(segments.GetFirst()); }
};

// Rising from a quarter of the width to twice it, on a device of 1024 levels.
struct Rising : KVPressure {
    Rising() {
        const long values[5] = {0, 384, 768, 1152, 1536};
        levels.Append(values, 5);
        count = 5;
        maximum = 1024;
    }
};

float BrushWidth(int type) {
    switch (type) {
    case KVBrushRoundPen:
    case KVBrushMarker:
        return 6;
    case KVBrushCalligraphy:
    case KVBrushCalligraphyReverse:
        return 10;
    default:
        return 22;
    }
}

// The crayon's two passes are reached only through the crayon; they are
// laid here by the stamp routine itself, on a painter of their own over the
// target's picture.
LProcessResult DrawPassOfTheCrayon(KVRenderImageBuffer& target, int type, const Wave& wave,
                                   const KVPressure* pressure) {
    target.Flush();
    LProcessResult r;
    {
        LImageBufferPainter painter(target.GetImage());
        painter.context.antialias = true;
        LProcessInterfaceVoid v;
        r = KVRenderImageBuffer::StampPath(v, painter.context, wave.Begin(),
                                           static_cast<KVBrushType>(type), BrushWidth(type), kInk,
                                           1.0f, 0, wave.bounds, false, pressure);
        painter.Flush();
    }
    target.Flush();
    return r;
}

KVEraserStroke Eraser(std::initializer_list<KVPoint> points, float width, unsigned long softness) {
    return kvtest::EraserAlong(points, width, softness, kPaper);
}

struct Gallery {
    KVRenderImageBuffer target{kWidth, kHeight};
    LProcessResult results[10][2] = {};
    LProcessResult eraser = LProcessResultError;

    Gallery() {
        target.Clear(kPaper);
        LProcessInterfaceVoid v;
        const Rising rising;
        std::srand(23);
        for (int type = 0; type <= 9; ++type) {
            const float middle = 20 + type * kRowHeight;
            for (int pressed = 0; pressed < 2; ++pressed) {
                const Wave wave(pressed ? 340.0f : 20.0f, middle);
                const KVPressure* pressure = pressed ? &rising : nullptr;
                results[type][pressed] =
                    type == KVBrushCrayonSmear || type == KVBrushCrayonSplotch
                        ? DrawPassOfTheCrayon(target, type, wave, pressure)
                        : target.DrawPath(v, static_cast<KVBrushType>(type), wave.Begin(),
                                          LLineStyle(), BrushWidth(type), kInk, wave.bounds, 0,
                                          pressure);
            }
        }
        // The shaped ends, at both ends of a line each.
        for (int cap = KVLineCapDiamond; cap <= KVLineCapSquare45; ++cap) {
            const float y = 425 + (cap - KVLineCapDiamond) * 35;
            target.DrawLine(v, 5, kInk, static_cast<KVLineCapStyle>(cap),
                            static_cast<KVLineCapStyle>(cap), LLineDashSolid, 40, y, 260, y - 10);
        }
        // Shapes, then the eraser over them: hard, soft, and moved with its element.
        target.FillRect(v, 2, LGuiColorAlpha(0, 0, 0, 255), LGuiColorAlpha(220, 40, 40, 255),
                        KVBox(340, 420, 460, 540));
        target.FillEllipse(v, 0, kInk, LGuiColorAlpha(40, 160, 60, 255), KVBox(480, 420, 620, 540));
        LList<KVEraserStroke> strokes;
        strokes.PushBack(new KVEraserStroke(Eraser({{330, 440}, {470, 450}, {630, 440}}, 12, 0)));
        strokes.PushBack(new KVEraserStroke(Eraser({{330, 490}, {630, 500}}, 16, 50)));
        KVEraserStroke* moved = new KVEraserStroke(Eraser({{350, 510}, {380, 530}}, 8, 0));
        moved->transform.m[12] = 200; // drawn at 550, 510
        strokes.PushBack(moved);
        eraser = target.EraserStroke(v, strokes.GetIterator());
        target.Flush();
    }

    LPixelColour At(int x, int y) {
        const unsigned char* p = target.GetImage().GetPictureRow(y) + x * 4;
        return LPixelColour(p[2], p[1], p[0], p[3]);
    }
    bool IsPaper(int x, int y) { return At(x, y) == kPaper; }
    // Pixels of a box that are not the paper.
    int Inked(int x1, int y1, int x2, int y2) {
        int n = 0;
        for (int y = y1; y < y2; ++y)
            for (int x = x1; x < x2; ++x)
                n += IsPaper(x, y) ? 0 : 1;
        return n;
    }
};

// Writes the picture where a person can look at it, when asked to.
void Keep(KVRenderImageBuffer& target, const std::string& name) {
    const char* folder = std::getenv("KV_PAINT_ORACLE_OUTPUT");
    if (!folder)
        return;
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    LImageBuffer& image = target.GetImage();
    cairo_surface_t* s = cairo_image_surface_create_for_data(
        image.GetData(), CAIRO_FORMAT_ARGB32, image.width, image.height,
        static_cast<int>(image.stride));
    EXPECT_EQ(cairo_surface_write_to_png(s, (std::string(folder) + "/" + name).c_str()),
              CAIRO_STATUS_SUCCESS);
    cairo_surface_destroy(s);
}

} // namespace

TEST(FreehandPicture, EveryBrushCapAndEraserShows) {
    Gallery g;
    Keep(g.target, "freehand-gallery.png");
    for (int type = 0; type <= 9; ++type)
        for (int pressed = 0; pressed < 2; ++pressed) {
            EXPECT_EQ(g.results[type][pressed], LProcessResultOk)
                << "type " << type << (pressed ? " with" : " without") << " pressure";
            // Within the wave's reach of its row's middle, clear of the rows next to it.
            const int middle = static_cast<int>(20 + type * kRowHeight), left = pressed ? 320 : 0;
            const int inked = g.Inked(left, middle - 4, left + 320, middle + 4);
            // A marker with pressure reaches the stamps, which have none for it.
            if (type == KVBrushMarker && pressed)
                EXPECT_EQ(inked, 0);
            else
                EXPECT_GT(inked, 200) << "type " << type << (pressed ? " with" : " without")
                                      << " pressure";
        }
    // Every shaped end reaches past its line's end.
    for (int row = 0; row < 4; ++row)
        EXPECT_GT(g.Inked(262, 410 + row * 35, 275, 425 + row * 35), 0) << "cap " << row + 4;
    // The erase strokes, hard, soft and moved, are measured on their own elsewhere.
    EXPECT_EQ(g.eraser, LProcessResultOk);
    EXPECT_TRUE(g.IsPaper(400, 445));
}

TEST(FreehandPicture, PenAgreesWithAnIndependentRenderer) {
    constexpr int w = 240, h = 120;
    KVRenderImageBuffer target(w, h);
    target.Clear(kPaper);
    LList<KVDrawCoordBezierSegment> segments;
    segments.PushBack(new KVDrawCoordBezierSegment({20, 60}, {50, 10}, {90, 10}, {120, 60}));
    segments.PushBack(new KVDrawCoordBezierSegment({120, 60}, {150, 110}, {190, 110}, {220, 60}));
    LProcessInterfaceVoid v;
    ASSERT_EQ(target.DrawPath(v, KVBrushRoundPen, KVSegments(segments.GetFirst()), LLineStyle(), 7,
                              kInk, KVBox(20, 10, 220, 110), 0, nullptr),
              LProcessResultOk);
    target.Flush();
    Keep(target, "freehand-pen.png");
    const char* svg = R"svg(<rect x="0" y="0" width="240" height="120" fill="#fafaf0"
      transform="translate(-0.5,-0.5)"/>
<path d="M 20 60 C 50 10 90 10 120 60 C 150 110 190 110 220 60" fill="none"
      stroke="#1e32a0" stroke-width="7" stroke-linecap="round"/>)svg";
    LImageBuffer& image = target.GetImage();
    cairo_surface_t* ours = cairo_image_surface_create_for_data(
        image.GetData(), CAIRO_FORMAT_ARGB32, image.width, image.height,
        static_cast<int>(image.stride));
    kvtest::CheckAgainstSvg("freehand-pen", ours, svg, 1.0);
    cairo_surface_destroy(ours);
}

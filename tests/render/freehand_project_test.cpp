// Freehand strokes as a project holds them: the six kinds with and without
// pressure, lines with shaped ends, and shapes under an erase stroke,
// rendered the way the editor and the export render a project. Set
// KV_PAINT_ORACLE_OUTPUT to a folder to keep the picture for a look.

#include <gtest/gtest.h>

#include <cairo.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "document/freehand.h"
#include "document/shapes.h"
#include "persistence/project_file.h"
#include "render/render_results.h"
#include "support/ink.h"
#include "support/project_picture.h"
#include "support/temp_dir.h"

namespace {

constexpr int kWidth = 640, kHeight = 420;
const LPixelColour kPaper(255, 255, 255, 255);
const LGuiColorAlpha kInk(30, 50, 160, 255);

// A hand's wave across half a row, every ten pixels a point, and a pressure
// that rises from nothing to the device's most.
KVDrawPath* Wave(float left, float middle, bool pressed) {
    auto* path = new KVDrawPath(kWidth, kHeight, nullptr);
    const int n = 28;
    LSizedArray<long> levels;
    for (int i = 0; i <= n; ++i) {
        path->AddCoord(new KVDrawCoord(left + i * 10.0f, middle + 10.0f * std::sin(i * 0.45f)));
        levels.Append(i * 1024 / n);
    }
    if (pressed)
        path->SetPressureLevels(levels.Data(), levels.GetSize(), 1024);
    return path;
}

template <class E> void AddStroke(KVLayer& layer, typename E::P p, float middle) {
    for (bool pressed : {false, true}) {
        LPtr<KVDrawPath> path(Wave(pressed ? 340.0f : 20.0f, middle, pressed));
        layer.AddNewElement(new E(path, p), false);
    }
}

std::unique_ptr<KVProject> Gallery() {
    auto project = std::make_unique<KVProject>("strokes");
    KVLayer& layer = *project->AddNewImage(new KVImage("strokes", kWidth, kHeight, 72, kPaper));
    KVPenElementProperties pen;
    pen.width = 6, pen.colour = kInk;
    AddStroke<KVPenElement>(layer, pen, 25);
    KVPencilElementProperties pencil;
    pencil.width = 14, pencil.colour = LGuiColor::FromBytes(30, 50, 160);
    AddStroke<KVPencilElement>(layer, pencil, 70);
    KVCrayonElementProperties crayon;
    crayon.width = 20, crayon.colour = kInk;
    AddStroke<KVCrayonElement>(layer, crayon, 115);
    KVMarkerElementProperties marker;
    marker.width = 14, marker.colour = kInk;
    AddStroke<KVMarkerElement>(layer, marker, 160);
    KVBrushElementProperties brush;
    brush.width = 16, brush.colour = kInk;
    AddStroke<KVBrushElement>(layer, brush, 205);
    KVSprayElementProperties spray;
    spray.width = 24, spray.colour = kInk;
    AddStroke<KVSprayElement>(layer, spray, 250);
    for (int cap = KVLineCapDiamond; cap <= KVLineCapSquare45; ++cap) {
        KVLineElementProperties line;
        line.lineWidth = 4, line.lineColour = kInk;
        line.start = {40, 300.0f + (cap - KVLineCapDiamond) * 30};
        line.end = {280, line.start.y - 8};
        line.startCap = line.endCap = static_cast<KVLineCapStyle>(cap);
        layer.AddNewElement(new KVLineElement(line), false);
    }
    KVRectangleElementProperties box;
    box.SetRectangle({360, 290, 600, 400});
    box.SetFill(LGuiColorAlpha(220, 40, 40, 255));
    KVDrawPath cut(kWidth, kHeight, nullptr);
    for (KVPoint p : {KVPoint(340, 320), KVPoint(480, 350), KVPoint(620, 330)})
        cut.AddCoord(new KVDrawCoord(p.x, p.y));
    box.AddEraserStroke(KVEraserStroke(cut, 14, 0, LGuiColorAlpha(255, 255, 255, 255)));
    layer.AddNewElement(new KVRectangleElement(box), false);
    return project;
}

LImageBuffer Render(const KVProject& project) {
    std::srand(5); // stamps are random: the same seed lays the same specks
    return kvtest::RenderProject(project);
}

// The ink in a part of the picture: pixels that are not the paper.
int InkIn(const LImageBuffer& image, int x1, int y1, int x2, int y2) {
    int count = 0;
    for (int y = y1; y < y2; ++y)
        for (int x = x1; x < x2; ++x)
            count += image.GetPictureRow(y)[x * 4] != 255;
    return count;
}

TEST(FreehandProject, EveryKindRendersThroughTheProjectAndComesBackFromItsFile) {
    const auto project = Gallery();
    LImageBuffer picture = Render(*project);
    kvtest::KeepPicture(picture, "freehand-project.png");
    ASSERT_EQ(picture.width, kWidth);
    const char* kinds[] = {"pen", "pencil", "crayon", "marker", "brush", "spray"};
    for (int row = 0; row < 6; ++row) {
        const int top = 5 + row * 45;
        for (int half = 0; half < 2; ++half)
            EXPECT_GT(InkIn(picture, 20 + half * 320, top, 300 + half * 320, top + 40), 400)
                << kinds[row] << (half ? " with" : " without") << " pressure";
    }
    // Where the hand pressed lightly, the pen's stroke is thinner.
    EXPECT_LT(4 * InkIn(picture, 340, 5, 380, 45), 3 * InkIn(picture, 20, 5, 60, 45));
    // The erase stroke shows the paper through the rectangle, which is red elsewhere.
    const unsigned char* erased = picture.GetPictureRow(350) + 480 * 4;
    EXPECT_EQ(erased[2], 255);
    EXPECT_EQ(erased[1], 255);
    const unsigned char* red = picture.GetPictureRow(380) + 480 * 4;
    EXPECT_EQ(red[1], 40);

    // Through the file: the strokes without pressure come back pixel for
    // pixel (the file has no place for pressure).
    kvtest::TempDir dir;
    const char* kept = std::getenv("KV_PAINT_ORACLE_OUTPUT");
    const std::string path = kept ? std::string(kept) + "/freehand-project.kvp" : dir.File("strokes.kvp");
    LProcessInterfaceVoid v;
    ASSERT_EQ(KVProjectFileSave(v, *project, path.c_str()), LProcessResultOk);
    KVProject loaded;
    ASSERT_EQ(KVProjectFileLoad(v, loaded, path.c_str()), LProcessResultOk);
    const LImageBuffer again = Render(loaded);
    for (int y = 0; y < 45; ++y)
        ASSERT_EQ(std::memcmp(picture.GetPictureRow(y), again.GetPictureRow(y), 320 * 4), 0)
            << "the pen's row, at " << y;
}

} // namespace

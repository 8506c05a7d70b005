// The effects as a project holds them: every shape kind and a pen path, with
// each effect alone and with all of them, rendered the way the editor and
// the export render a project, and back from the file. Set
// KV_PAINT_ORACLE_OUTPUT to a folder to keep the picture for a look.

#include <gtest/gtest.h>

#include <cairo.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "document/freehand.h"
#include "document/shapes.h"
#include "persistence/project_file.h"
#include "render/render_results.h"
#include "support/project_picture.h"
#include "support/temp_dir.h"

namespace {

constexpr int kCell = 120, kColumns = 5, kRows = 6;
constexpr int kWidth = kCell * kColumns, kHeight = kCell * kRows;
const LPixelColour kPaper(255, 255, 255, 255);
const LGuiColorAlpha kBody(60, 90, 200, 255);

enum Row { kPlain, kShadow, kBevel, kInnerGlow, kOuterGlow, kAll };

// Each shape's box: 80 by 60 in the middle of its cell.
KVBox CellBox(int column, int row) {
    const float x = column * kCell + 20.0f, y = row * kCell + 30.0f;
    return KVBox(x, y, x + 80, y + 60);
}

template <class P> void AddEffects(P& p, int row) {
    if (row == kShadow || row == kAll)
        p.SetShadow(KVDropShadow{0, 10, 10, 20});
    if (row == kBevel || row == kAll)
        p.SetBevelEmboss(KVBevelEmboss{6});
    if (row == kInnerGlow || row == kAll)
        p.SetInnerGlow(KVGlow{LGuiColorAlpha(255, 220, 0, 255), 5});
    if (row == kOuterGlow || row == kAll)
        p.SetOuterGlow(KVGlow{LGuiColorAlpha(0, 200, 60, 255), 6});
}

template <class E, class P> void AddShape(KVLayer& layer, P p, int column, int row) {
    p.SetBounds(CellBox(column, row));
    p.SetFill(kBody);
    p.lineWidth = 2;
    p.lineColour = LGuiColorAlpha(20, 20, 60, 255);
    AddEffects(p, row);
    layer.AddNewElement(new E(p), false);
}

std::unique_ptr<KVProject> Gallery() {
    auto project = std::make_unique<KVProject>("effects");
    KVLayer& layer = *project->AddNewImage(new KVImage("effects", kWidth, kHeight, 72, kPaper));
    for (int row = kPlain; row <= kAll; ++row) {
        AddShape<KVRectangleElement>(layer, KVRectangleElementProperties(), 0, row);
        AddShape<KVEllipseElement>(layer, KVEllipseElementProperties(), 1, row);
        KVTriangleElementProperties triangle;
        triangle.corner = 0;
        AddShape<KVTriangleElement>(layer, triangle, 2, row);
        KVPolygonElementProperties polygon;
        polygon.sides = 5;
        AddShape<KVPolygonElement>(layer, polygon, 3, row);

        KVPenElementProperties pen;
        pen.width = 8;
        pen.colour = kBody;
        AddEffects(pen, row);
        const KVBox box = CellBox(4, row);
        LPtr<KVDrawPath> path(new KVDrawPath(kWidth, kHeight, nullptr));
        for (int i = 0; i <= 8; ++i)
            path->AddCoord(new KVDrawCoord(box.x1 + i * 10.0f,
                                           box.y1 + 30 + 22 * std::sin(i * 0.8f)));
        layer.AddNewElement(new KVPenElement(path, pen), false);
    }
    return project;
}


struct Rgb {
    int red, green, blue;
};

Rgb At(const LImageBuffer& image, int x, int y) {
    const unsigned char* p = image.GetPictureRow(y) + x * 4;
    return {p[2], p[1], p[0]};
}

// A point of a cell, from the cell's corner.
Rgb In(const LImageBuffer& image, int column, int row, int x, int y) {
    return At(image, column * kCell + x, row * kCell + y);
}

TEST(EffectsProject, EveryKindWithEachEffectRendersAndComesBackFromItsFile) {
    const auto project = Gallery();
    LImageBuffer picture = kvtest::RenderProject(*project);
    kvtest::KeepPicture(picture, "effects-project.png");
    ASSERT_EQ(picture.width, kWidth);

    for (int column = 0; column < 2; ++column) {
        const std::string kind = column ? "ellipse" : "rectangle";
        // The plain shape: paper just outside its box.
        EXPECT_EQ(In(picture, column, kPlain, 60, 98).red, 255) << kind;
        // The shadow falls 8 right and 6 down, soft at its edge: dark just
        // below the body, paper past its reach.
        const Rgb shade = In(picture, column, kShadow, 60, 94);
        EXPECT_LT(shade.red, 100) << kind;
        EXPECT_EQ(shade.red, shade.blue) << kind;
        const Rgb edge = In(picture, column, kShadow, 60, 97);
        EXPECT_GT(edge.red, shade.red) << kind;
        EXPECT_LT(edge.red, 255) << kind;
        EXPECT_EQ(In(picture, column, kShadow, 60, 118).red, 255) << kind;
        // The outer glow: green beside the body, fading out by three radii.
        const Rgb near = In(picture, column, kOuterGlow, 60, 93);
        EXPECT_LT(near.red, 230) << kind;
        EXPECT_EQ(near.green, 255) << kind;
        EXPECT_EQ(In(picture, column, kOuterGlow, 60, 112).red, 255) << kind;
        // The inner glow: yellow at the edge inside, the body in the middle.
        const Rgb rim = In(picture, column, kInnerGlow, 60, 32);
        EXPECT_GT(rim.red, kBody.Red8() + 30) << kind;
        EXPECT_LT(rim.blue, kBody.Blue8() - 30) << kind;
        EXPECT_NEAR(In(picture, column, kInnerGlow, 60, 60).blue, kBody.Blue8(), 2) << kind;
    }
    // The bevel's light from the upper left: bright inside the top edge,
    // less in the middle, least inside the bottom edge; never darker than
    // the body.
    const Rgb top = In(picture, 0, kBevel, 60, 34), middle = In(picture, 0, kBevel, 60, 60),
              bottom = In(picture, 0, kBevel, 60, 86);
    EXPECT_GT(top.red, middle.red + 20);
    EXPECT_GT(middle.red, bottom.red);
    EXPECT_GE(bottom.red, kBody.Red8());
    // The pen's shadow shows below its stroke.
    EXPECT_LT(In(picture, 4, kShadow, 35, 70).red, 250);

    // Through the file: every effect comes back as it was drawn.
    kvtest::TempDir dir;
    const char* kept = std::getenv("KV_PAINT_ORACLE_OUTPUT");
    const std::string path =
        kept ? std::string(kept) + "/effects-project.kvp" : dir.File("effects.kvp");
    LProcessInterfaceVoid v;
    ASSERT_EQ(KVProjectFileSave(v, *project, path.c_str()), LProcessResultOk);
    KVProject loaded;
    ASSERT_EQ(KVProjectFileLoad(v, loaded, path.c_str()), LProcessResultOk);
    const LImageBuffer again = kvtest::RenderProject(loaded);
    for (int y = 0; y < kHeight; ++y)
        ASSERT_EQ(std::memcmp(picture.GetPictureRow(y), again.GetPictureRow(y),
                              4 * kCell * 4),
                  0)
            << "the shapes' columns, at row " << y;
}

} // namespace

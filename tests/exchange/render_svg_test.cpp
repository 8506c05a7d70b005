#include "exchange/render_svg.h"

#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "document/image_element.h"
#include "document/text_elements.h"
#include "foundation/line_style.h"
#include "render/render_image_buffer.h"
#include "support/render_scenes.h"
#include "support/svg_oracle.h"
#include "support/temp_dir.h"
#include "target/draw_path.h"

namespace {

using kvtest::kBlack;
using kvtest::kBlue;
using kvtest::kRed;
using kvtest::DrawScene;
using kvtest::DrawTextScene;
using kvtest::MakePicture;

bool PassesXmllint(const std::string& path) {
    return std::system(("xmllint --noout --nonet '" + path + "'").c_str()) == 0;
}

TEST(RenderSvgTest, TheRotatedRectangleWithGradientAndShadowIsWrittenByteForByte) {
    LProcessInterfaceVoid v;
    KVRenderImageSVG svg(200, 100);
    svg.Clear(LPixelColour(255, 255, 255, 255));
    KVRenderImage* turned = svg.BeginRotate(30, {70, 35});
    KVDropShadow shadow;
    shadow.size = 0;
    shadow.horizontalOffset = 5;
    shadow.verticalOffset = 10;
    shadow.softness = 32;
    const KVBox box(20, 10, 120, 60);
    ASSERT_EQ(turned->DrawRectShadow(v, box, 2, true, shadow), LProcessResultOk);
    ASSERT_EQ(turned->FillRect(v, KVGradient({0, 0}, {1, 1}, kRed, kBlue), 2, kBlack, box), LProcessResultOk);
    turned->TagLastElement("tolmar:shadow", "32,5,10,0");
    svg.FinishRotate();

    kvtest::TempDir dir;
    const std::string path = dir.File("example.svg");
    ASSERT_TRUE(svg.SaveAsFile(path.c_str()));
    EXPECT_EQ(kvtest::ReadFile(path), kvtest::ReadFile(KV_TEST_DATA_DIR "/worked_example.svg"));
    EXPECT_TRUE(PassesXmllint(path));
}


class SceneComparison : public ::testing::TestWithParam<bool> {};

TEST_P(SceneComparison, TheFairSubsetLooksAsTheRasterRenderAndEveryPictureNamedExists) {
    const bool text = GetParam();
    LImageBuffer picture;
    MakePicture(picture);
    const int w = 300, h = text ? 110 : 210;
    const auto draw = text ? DrawTextScene : DrawScene;
    KVRenderImageBuffer raster(w, h);
    draw(raster, picture);
    raster.Flush();

    for (bool embed : {false, true}) {
        kvtest::TempDir dir;
        KVRenderImageSVG svg(w, h);
        svg.embedImages = embed;
        draw(svg, picture);
        const std::string path = dir.File(embed ? "embedded.svg" : "scene.svg");
        ASSERT_TRUE(svg.SaveAsFile(path.c_str()));
        EXPECT_TRUE(PassesXmllint(path));
        EXPECT_EQ(kvtest::FileExists(dir.File(text ? "0.png" : "1.png")), !embed)
            << "the picture drawn inside a transform";

        const std::string png = path + ".png";
        ASSERT_EQ(std::system(("rsvg-convert -o '" + png + "' '" + path + "'").c_str()), 0);
        cairo_surface_t* theirs = cairo_image_surface_create_from_png(png.c_str());
        LImageBuffer& ours = raster.GetImage();
        cairo_surface_t* mine = cairo_image_surface_create_for_data(
            ours.GetData(), CAIRO_FORMAT_ARGB32, ours.width, ours.height, ours.stride);
        ASSERT_EQ(cairo_image_surface_get_width(theirs), w);
        const kvtest::PictureDifference d = kvtest::ComparePictures(mine, theirs);
        EXPECT_LE(d.mean, 6.0) << "pixel for pixel " << d.strictMean;
        if (const char* keep = std::getenv("KV_PAINT_ORACLE_OUTPUT")) {
            const std::string name = std::string(keep) + (text ? "/svg-text" : "/svg-scene");
            cairo_surface_write_to_png(mine, (name + "-ours.png").c_str());
            cairo_surface_write_to_png(theirs, (name + "-rsvg.png").c_str());
        }
        cairo_surface_destroy(mine);
        cairo_surface_destroy(theirs);
    }
}

INSTANTIATE_TEST_SUITE_P(RenderSvgTest, SceneComparison, ::testing::Bool());

TEST(RenderSvgTest, EveryOtherOperationWritesAWellFormedFile) {
    LProcessInterfaceVoid v;
    KVRenderImageSVG svg(120, 90);
    svg.Clear(LPixelColour(255, 255, 255, 255));
    KVGradient radial({0.5f, 0.5f}, {1, 1}, kRed, kBlue);
    radial.radial = true;
    KVBevelEmboss bevel;
    KVDropShadow shadow;
    shadow.size = 20;
    const KVBox box(10, 10, 60, 40);
    KVPoint pts[] = {{10, 10}, {60, 20}, {30, 40}};
    EXPECT_EQ(svg.FillPolyBevelEmboss(v, radial, 2, kBlack, pts, 3, box, bevel), LProcessResultOk);
    EXPECT_EQ(svg.DrawEllipseShadow(v, box, 2, false, shadow), LProcessResultOk);
    for (int cap = 0; cap < 9; ++cap)
        svg.DrawLine(v, 3, kRed, KVLineCapStyle(cap), KVLineCapStyle(8 - cap),
                     LLineDashStyle(cap % 5), 10, 50 + cap, 100, 60);
    LList<KVDrawCoordBezierSegment> segments;
    segments.PushBack(new KVDrawCoordBezierSegment({10, 70}, {30, 60}, {50, 80}, {70, 70}));
    segments.PushBack(new KVDrawCoordBezierSegment({70, 70}, {80, 65}, {90, 75}, {110, 70}));
    for (int type = 0; type <= 10; ++type)
        svg.DrawPath(v, KVBrushType(type), segments.GetIterator(), LLineStyle(), 6,
                     LGuiColorAlpha(0, 0, 255, 128), box, type == 9 ? 2 : 0, nullptr);
    EXPECT_EQ(svg.DrawPath(v, KVBrushPencil, {}, LLineStyle(), 6, kBlue, box, 0, nullptr),
              LProcessResultError);
    EXPECT_EQ(svg.DrawPathShadow(v, KVBrushRoundPen, segments.GetIterator(), 4, true, shadow, box, nullptr),
              LProcessResultOk);
    EXPECT_EQ(svg.FillPath(v, segments.GetIterator(), 1, kBlack, LGuiColorAlpha(0, 255, 0, 100)),
              LProcessResultOk);
    EXPECT_EQ(svg.DrawText(v, "Caf\xC3\xA9 & <tea> ", 14, true, true, true, "Liberation Sans",
                           LAlignmentXCentre, kRed, KVBox(10, 10, 110, 30)),
              LProcessResultOk);
    EXPECT_EQ(svg.DrawTextShadow(v, "shade", 14, false, false, false, "Liberation Sans",
                                 LAlignmentXRight, KVBox(10, 40, 110, 60), shadow),
              LProcessResultOk);
    KVDrawPath stroke(120, 90, nullptr);
    stroke.AddCoord(new KVDrawCoord(20, 20));
    stroke.AddCoord(new KVDrawCoord(40, 30));
    LList<KVEraserStroke> strokes;
    strokes.PushBack(new KVEraserStroke(stroke, 5, 0, kBlack));
    EXPECT_EQ(svg.EraserStroke(v, strokes.GetIterator()), LProcessResultOk);
    EXPECT_FALSE(svg.FastFillPath(KVDrawPath(120, 90, nullptr), kRed));
    KVRenderImage* moved = svg.BeginTranslate(3, 4);
    EXPECT_TRUE(moved->FastFillPath(stroke, kRed));
    svg.FinishTranslate();
    // A glowing element keeps only what was drawn outside its glow.
    const unsigned long before = svg.GetRoot().GetChildCount();
    svg.BeginOuterGlow(kRed, 5)->DrawRect(v, 1, kRed, box);
    svg.FinishOuterGlow(v);
    EXPECT_EQ(svg.GetRoot().GetChildCount(), before);
    // The glow as masks, ready for when elements bring it back.
    KVRenderImageSVG glowing(120, 90);
    glowing.BeginInnerGlow(kRed, 4)->FillRect(v, 1, kBlack, kBlue, box);
    glowing.FinishInnerGlow();
    std::string names;
    for (const auto& e : glowing.GetRoot().GetChildren())
        names += std::string(e->GetName()) + " ";
    EXPECT_EQ(names, "rect g mask mask filter ");

    const std::string text = svg.GetDocumentText();
    EXPECT_NE(text.find("<text dy="), std::string::npos);
    EXPECT_NE(text.find("Caf\xC3\xA9 &amp; &lt;tea&gt; </tspan>"), std::string::npos);
    EXPECT_NE(text.find("<g transform=\"translate(3.000,4.000)\"><path fill='#ff0000'"), std::string::npos);
    EXPECT_NE(text.find("<stop offset=\"0%\" stop-color=\"rgb(0,0,255)\""), std::string::npos)
        << "radial stops run backwards";
    kvtest::TempDir dir;
    ASSERT_TRUE(svg.SaveAsFile(dir.File("all.svg").c_str()));
    EXPECT_TRUE(PassesXmllint(dir.File("all.svg")));
    EXPECT_FALSE(svg.SaveAsFile(dir.File("missing/folder.svg").c_str()));
}

} // namespace

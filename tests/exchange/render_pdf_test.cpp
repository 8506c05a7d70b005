#include "exchange/render_pdf.h"

#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "render/render_image_buffer.h"
#include "support/render_scenes.h"
#include "support/svg_oracle.h"
#include "support/temp_dir.h"
#include "target/draw_path.h"

namespace {

std::string Output(const std::string& command) {
    std::string out;
    if (FILE* p = popen(command.c_str(), "r")) {
        char buffer[4096];
        while (size_t n = fread(buffer, 1, sizeof buffer, p))
            out.append(buffer, n);
        pclose(p);
    }
    return out;
}

// What every file we write must be: sound to an outside checker, one page
// of the document's size in points, with our two information entries.
void CheckFile(const std::string& path, int w, int h) {
    EXPECT_EQ(std::system(("qpdf --check '" + path + "' >/dev/null").c_str()), 0);
    const std::string info = Output("pdfinfo '" + path + "'");
    EXPECT_NE(info.find("Pages:           1\n"), std::string::npos) << info;
    EXPECT_NE(
        info.find("Page size:       " + std::to_string(w) + " x " + std::to_string(h) + " pts"),
        std::string::npos)
        << info;
    EXPECT_NE(info.find("Title:           Tolmar PDF File\n"), std::string::npos) << info;
    EXPECT_NE(info.find("Creator:         Tolmar Software\n"), std::string::npos) << info;
}

// The PDF at 72 dots per inch against the raster render of the same drawing.
kvtest::PictureDifference CompareWithRaster(const std::string& path, KVRenderImageBuffer& raster,
                                            const char* name) {
    const std::string png = path + ".png";
    EXPECT_EQ(
        std::system(("pdftoppm -r 72 -png -singlefile '" + path + "' '" + path + "'").c_str()), 0);
    cairo_surface_t* theirs = cairo_image_surface_create_from_png(png.c_str());
    LImageBuffer& ours = raster.GetImage();
    cairo_surface_t* mine = cairo_image_surface_create_for_data(
        ours.GetData(), CAIRO_FORMAT_ARGB32, ours.width, ours.height, ours.stride);
    const kvtest::PictureDifference d = kvtest::ComparePictures(mine, theirs);
    if (const char* keep = std::getenv("KV_PAINT_ORACLE_OUTPUT")) {
        cairo_surface_write_to_png(mine,
                                   (std::string(keep) + "/pdf-" + name + "-ours.png").c_str());
        cairo_surface_write_to_png(theirs,
                                   (std::string(keep) + "/pdf-" + name + "-poppler.png").c_str());
    }
    cairo_surface_destroy(mine);
    cairo_surface_destroy(theirs);
    return d;
}

class PdfScene : public ::testing::TestWithParam<bool> {};

TEST_P(PdfScene, IsASoundOnePageFileThatLooksAsTheRasterRender) {
    const bool text = GetParam();
    LImageBuffer picture;
    kvtest::MakePicture(picture);
    const int w = 300, h = text ? 110 : 210;
    const auto draw = text ? kvtest::DrawTextScene : kvtest::DrawScene;
    KVRenderImageBuffer raster(w, h);
    draw(raster, picture);
    raster.Flush();

    kvtest::TempDir dir;
    KVRenderImagePDF pdf(w, h);
    draw(pdf, picture);
    const std::string path = dir.File(text ? "text.pdf" : "scene.pdf");
    ASSERT_TRUE(pdf.SaveAsFile(path.c_str()));
    CheckFile(path, w, h);
    const kvtest::PictureDifference d = CompareWithRaster(path, raster, text ? "text" : "scene");
    EXPECT_LE(d.mean, 3.0) << "pixel for pixel " << d.strictMean;
    if (text) {
        // The run lies over its picture at one step of alpha: there for a
        // reader, moving no pixel by more than a level.
        const std::string plain = path + ".qdf";
        ASSERT_EQ(
            std::system(
                ("qpdf --qdf --object-streams=disable '" + path + "' '" + plain + "'").c_str()),
            0);
        std::stringstream content;
        content << std::ifstream(plain, std::ios::binary).rdbuf();
        EXPECT_NE(content.str().find("/ca 0.00392157"), std::string::npos);
        const std::string words = Output("pdftotext '" + path + "' -");
        EXPECT_NE(words.find("Korvane draws"), std::string::npos) << words;
        EXPECT_NE(words.find("in bold"), std::string::npos) << words;
    }
}

INSTANTIATE_TEST_SUITE_P(RenderPdfTest, PdfScene, ::testing::Bool());

// A shadow, a glow and a pencil stroke: each a picture on the page.
void DrawEffects(KVRenderImage& t) {
    LProcessInterfaceVoid v;
    t.Clear(LPixelColour(255, 255, 255, 255));
    KVDropShadow shadow;
    shadow.horizontalOffset = 5;
    shadow.verticalOffset = 5;
    shadow.softness = 20;
    const KVBox box(20, 20, 80, 60);
    // Every element asks to erase, most with nothing: no picture for that.
    t.EraserStroke(v, {});
    t.DrawRectShadow(v, box, 2, true, shadow);
    t.FillRect(v, 2, kvtest::kBlack, kvtest::kRed, box);
    t.BeginOuterGlow(kvtest::kBlue, 6)
        ->FillEllipse(v, 2, kvtest::kBlack, kvtest::kRed, KVBox(200, 30, 260, 90));
    t.FinishOuterGlow(v);
    LList<KVDrawCoordBezierSegment> segments;
    segments.PushBack(new KVDrawCoordBezierSegment({40, 150}, {80, 120}, {120, 180}, {160, 150}));
    t.DrawPath(v, KVBrushPencil, segments.GetIterator(), LLineStyle(), 6, kvtest::kBlue,
               KVBox(40, 120, 160, 180), 0, nullptr);
}

TEST(RenderPdfTest, EachEffectIsOnePictureCutToTheAreaItCovers) {
    const int w = 400, h = 300;
    KVRenderImageBuffer raster(w, h);
    DrawEffects(raster);
    raster.Flush();
    kvtest::TempDir dir;
    KVRenderImagePDF pdf(w, h);
    DrawEffects(pdf);
    const std::string path = dir.File("effects.pdf");
    ASSERT_TRUE(pdf.SaveAsFile(path.c_str()));
    CheckFile(path, w, h);
    const kvtest::PictureDifference d = CompareWithRaster(path, raster, "effects");
    EXPECT_LE(d.mean, 3.0) << "pixel for pixel " << d.strictMean;

    // "page num type width height ..." after two lines of heading.
    std::istringstream list(Output("pdfimages -list '" + path + "'"));
    std::string line;
    std::getline(list, line);
    std::getline(list, line);
    int pictures = 0;
    while (std::getline(list, line)) {
        int page = 0, number = 0, pw = 0, ph = 0;
        char type[16] = {};
        if (std::sscanf(line.c_str(), "%d %d %15s %d %d", &page, &number, type, &pw, &ph) == 5 &&
            std::string(type) == "image") {
            ++pictures;
            EXPECT_LT(pw * ph, w * h / 8) << line;
        }
    }
    EXPECT_EQ(pictures, 3);
}

TEST(RenderPdfTest, WithNoTemporaryFileTheRenderFailsAndTheTargetIsUntouched) {
    kvtest::TempDir dir;
    const std::string closed = dir.File("no/such/folder");
    const std::string target = dir.File("kept.pdf");
    { std::ofstream(target) << "before"; }
    KVRenderImagePDF pdf(50, 50, closed.c_str());
    EXPECT_FALSE(pdf.IsValid());
    struct : LProcessInterfaceVoid {
        void SetError(const char* message) override { error = message; }
        std::string error;
    } v;
    EXPECT_EQ(pdf.FillRect(v, 1, kvtest::kBlack, kvtest::kRed, KVBox(0, 0, 10, 10)),
              LProcessResultError);
    EXPECT_EQ(v.error, KVRenderImagePDF::kNoWriterError);
    EXPECT_EQ(pdf.Clear(LPixelColour(255, 255, 255, 255)), LProcessResultError);
    EXPECT_FALSE(pdf.SaveAsFile(target.c_str()));
    std::stringstream s;
    s << std::ifstream(target).rdbuf();
    EXPECT_EQ(s.str(), "before");
}

TEST(RenderPdfTest, ABrushKeepsAtMostNineteenStops) {
    LGuiColorAlpha colours[21];
    float positions[21];
    for (int i = 0; i < 21; ++i) {
        colours[i] = LGuiColorAlpha(static_cast<unsigned char>(i), 0, 0, 255);
        positions[i] = i / 20.0f;
    }
    for (unsigned long count : {18ul, 19ul, 20ul, 21ul}) {
        LBrushInfo brush;
        brush.SetStops(colours, positions, count);
        EXPECT_EQ(brush.stopCount, std::min(count, kLBrushMaxStops));
        EXPECT_EQ(brush.stopColours[brush.stopCount - 1].red, colours[brush.stopCount - 1].red);
        EXPECT_EQ(brush.stopColours[kLBrushMaxStops].red, 0) << "the spare place stays unused";
    }
}

} // namespace

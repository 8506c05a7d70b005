// Text, rich text and pictures as a project holds them, rendered the way the
// editor and the export render a project. Set KV_PAINT_ORACLE_OUTPUT to a
// folder to keep the picture for a look.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/text_elements.h"
#include "imaging/image_export.h"
#include "imaging/image_file.h"
#include "support/project_picture.h"
#include "support/temp_dir.h"

namespace {

constexpr int kWidth = 640, kHeight = 560;
const char* const kWords = "The quick brown fox jumps over the lazy dog";

// The bounds of the pixels that are not the white paper.
struct Ink {
    int x1 = kWidth, y1 = kHeight, x2 = -1, y2 = -1;
    int count = 0;
};

Ink InkIn(const LImageBuffer& image, int x1, int y1, int x2, int y2) {
    Ink ink;
    for (int y = y1; y < y2; ++y)
        for (int x = x1; x < x2; ++x) {
            const unsigned char* p = image.GetPictureRow(y) + x * 4;
            if (p[0] > 200 && p[1] > 200 && p[2] > 200)
                continue;
            ++ink.count;
            ink.x1 = std::min(ink.x1, x), ink.y1 = std::min(ink.y1, y);
            ink.x2 = std::max(ink.x2, x), ink.y2 = std::max(ink.y2, y);
        }
    return ink;
}

KVTextElementProperties Text(float x, float y, const char* text = kWords) {
    KVTextElementProperties p;
    p.text.Set(text);
    LStrCopy(p.font, "Liberation Sans");
    p.fontSize = 18;
    p.bounds = {x, y, x + 190, y + 100};
    p.colour = LGuiColorAlpha(20, 30, 120, 255);
    return p;
}

// Row 1: left, centred, right; row 2: bold, italic, underlined; row 3:
// turned, stretched, shadowed and bevelled, double-spaced; row 4: rich runs and a turned picture.
std::unique_ptr<KVProject> Gallery() {
    auto project = std::make_unique<KVProject>("elements");
    auto* image = new KVImage("elements", kWidth, kHeight, 72, LPixelColour(255, 255, 255, 255));
    KVLayer* layer = project->AddNewImage(image);
    auto add = [&](KVElement* e) { image->AddNewElement(e, layer, false, false); };
    for (int a = 0; a < 3; ++a) {
        KVTextElementProperties p = Text(10.0f + a * 210, 10);
        p.alignment = a;
        add(new KVTextElement(p));
    }
    for (int s = 0; s < 3; ++s) {
        KVTextElementProperties p = Text(10.0f + s * 210, 130, "Bold Italic Under");
        p.fontSize = 26;
        (s == 0 ? p.bold : s == 1 ? p.italic : p.underline) = true;
        add(new KVTextElement(p));
    }
    KVTextElementProperties turned = Text(10, 250, "Turned text");
    turned.fontSize = 28;
    turned.rotation = 30;
    add(new KVTextElement(turned));
    // Stretched about the canvas's origin, as Distort Text does: the box
    // lands at 220, 260.
    KVTextElementProperties stretched = Text(110, 260 / 0.6f, "Wide");
    stretched.bounds.x2 = 200;
    stretched.fontSize = 30;
    stretched.scaleX = 2.0f;
    stretched.scaleY = 0.6f;
    add(new KVTextElement(stretched));
    KVTextElementProperties shaded = Text(220, 305, "Shaded");
    shaded.fontSize = 34;
    shaded.SetShadow(KVDropShadow{2, 4, 4, 4});
    shaded.SetBevelEmboss(KVBevelEmboss{3});
    add(new KVTextElement(shaded));
    KVTextElementProperties spaced = Text(430, 250, "one\ntwo\nthree");
    spaced.lineSpacing = 2.0f;
    spaced.bounds.y2 = 380;
    add(new KVTextElement(spaced));

    KVRichTextElementProperties rich;
    rich.bounds = {10, 400, 300, 550};
    const struct {
        const char* font;
        float size;
        LGuiColor colour;
        const char* text;
        float x, y;
    } runs[] = {{"Liberation Serif", 16, LGuiColor::FromBytes(0, 0, 0), "small serif,", 10, 410},
                {"Liberation Sans", 34, LGuiColor::FromBytes(200, 30, 30), "BIG", 110, 400},
                {"DejaVu Sans Mono", 20, LGuiColor::FromBytes(20, 140, 40),
                 "mono \xC3\xA9\xE2\x82\xAC", 10, 460}};
    for (const auto& r : runs) {
        KVRichTextSegment s;
        LStrCopy(s.font, r.font);
        s.size = r.size;
        s.colour = r.colour;
        s.text.Set(r.text);
        s.bounds = {r.x, r.y, r.x + 200, r.y + 60};
        rich.segments.push_back(s);
    }
    add(new KVRichTextElement(rich));

    LImageBuffer picture;
    LImage::New(picture, 60, 40, LPixelFormatB8G8R8A8);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 60; ++x) {
            unsigned char* p = picture.GetPictureRow(y) + x * 4;
            p[0] = static_cast<unsigned char>(y * 6), p[1] = 120;
            p[2] = static_cast<unsigned char>(x * 4), p[3] = 255;
        }
    auto* e = new KVImageElement(picture);
    KVImageElementProperties ip = e->GetProperties();
    ip.x = 400, ip.y = 420, ip.width = 180, ip.height = 100, ip.rotation = 20;
    e->SetProperties(ip, false, nullptr);
    add(e);
    return project;
}

} // namespace

TEST(ElementsProject, TextRichTextAndATurnedPictureLandWhereTheyShould) {
    const auto project = Gallery();
    LImageBuffer picture = kvtest::RenderProject(*project);
    kvtest::KeepPicture(picture, "elements-project.png");
    ASSERT_EQ(picture.width, kWidth);

    // Alignment: each block's ink hugs its side of the box.
    const Ink left = InkIn(picture, 10, 10, 200, 110), centre = InkIn(picture, 220, 10, 410, 110),
              right = InkIn(picture, 430, 10, 620, 110);
    EXPECT_LT(left.x1 - 10, 3);
    EXPECT_LT(620 - right.x2, 4);
    EXPECT_NEAR((centre.x1 + centre.x2) / 2.0, 315, 4);
    // Bold has the most ink, the underline reaches below the others.
    const Ink bold = InkIn(picture, 10, 130, 200, 230), italic = InkIn(picture, 220, 130, 410, 230),
              under = InkIn(picture, 430, 130, 620, 230);
    EXPECT_GT(bold.count, italic.count * 1.2);
    EXPECT_GT(under.y2, italic.y2);
    // Turned: taller than one line; stretched: twice as wide, lower; spaced:
    // three lines two heights apart.
    const Ink turned = InkIn(picture, 0, 230, 210, 390), wide = InkIn(picture, 215, 240, 425, 300),
              spaced = InkIn(picture, 430, 250, 620, 390);
    EXPECT_GT(turned.y2 - turned.y1, 60);
    EXPECT_GT(wide.x2 - wide.x1, 120);
    EXPECT_LT(wide.y2 - wide.y1, 25);
    EXPECT_GT(spaced.y2 - spaced.y1, 18 * 4);

    // Rich runs keep their own colours; the picture's middle is its middle.
    const unsigned char* big = nullptr;
    for (int x = 110; x < 200 && !big; ++x)
        for (int y = 400; y < 440 && !big; ++y) {
            const unsigned char* p = picture.GetPictureRow(y) + x * 4;
            if (p[2] > 150 && p[1] < 80)
                big = p;
        }
    EXPECT_TRUE(big);
    const unsigned char* middle = picture.GetPictureRow(470) + 490 * 4;
    EXPECT_NEAR(middle[2], 120, 6);
    EXPECT_NEAR(middle[0], 120, 6);
    // The placement's corner lies outside the turned picture.
    EXPECT_EQ(picture.GetPictureRow(421)[401 * 4 + 1], 255);
}

// Regions traced for a 40 x 40 placement, shown at 80 x 40 elsewhere: they
// stretch with the placement, and the inner one, traced second, lies on top.
TEST(ElementsProject, TracedRegionsFollowTheirPictureAndKeepTheirOrder) {
    KVProject project("traced");
    auto* image = new KVImage("traced", 200, 100, 72, LPixelColour(255, 255, 255, 255));
    KVLayer* layer = project.AddNewImage(image);
    LImageBuffer picture;
    LImage::New(picture, 40, 40, LPixelFormatB8G8R8A8);
    picture.Clear(LPixelColour(0, 0, 0, 255));
    auto* e = new KVImageElement(picture);
    KVImageElementProperties p = e->GetProperties();
    LList<KVElement> regions;
    for (auto [from, to, red] : {std::tuple{0.0f, 40.0f, 200}, std::tuple{10.0f, 30.0f, 20}}) {
        KVSimplePathElementProperties region;
        region.colour = LGuiColorAlpha(static_cast<unsigned char>(red), 90, 90, 255);
        KVDrawPath outline(40, 40, nullptr);
        for (auto [x, y] : {std::pair{from, from}, {to, from}, {to, to}, {from, to}})
            outline.AddCoord(new KVDrawCoord(x, y));
        region.SetPath(outline);
        regions.PushBack(new KVSimplePathElement(region));
    }
    p.width = p.height = 40;
    p.SetVectorization(regions);
    p.vectorized = true;
    p.x = 100, p.y = 50, p.width = 80, p.height = 40;
    e->SetProperties(p, false, nullptr);
    image->AddNewElement(e, layer, false, false);
    LImageBuffer shown = kvtest::RenderProject(project);
    kvtest::KeepPicture(shown, "traced-regions.png");
    const auto red = [&](int x, int y) { return shown.GetPictureRow(y)[x * 4 + 2]; };
    EXPECT_NEAR(red(105, 55), 200, 2);
    EXPECT_NEAR(red(140, 70), 20, 2);
    EXPECT_NEAR(red(175, 85), 200, 2);
    EXPECT_EQ(red(95, 70), 255);
}

// The independent decode is Pillow's.
TEST(PictureProject, ExportedBackToPNGEqualsTheOriginal) {
    const std::string python = KV_PYTHON;
    if (std::system((python + " -c 'import PIL' 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "python3 with Pillow is needed for the reference";
    kvtest::TempDir dir;
    for (const char* mode : {"RGB", "P", "L"}) {
        const std::string original = dir.File(std::string("original-") + mode + ".png");
        const std::string back = dir.File(std::string("back-") + mode + ".png");
        const std::string make =
            python + " -c \"import random; from PIL import Image; random.seed(3); "
                     "i = Image.new('RGB', (37, 23)); "
                     "i.putdata([tuple(random.randrange(256) for _ in range(3)) for _ in range(37 * 23)]); "
                     "i.convert('" + mode + "').save('" + original + "')\"";
        ASSERT_EQ(std::system(make.c_str()), 0);

        LImageBuffer picture;
        LProcessInterfaceVoid v;
        LProcessImageLoadFile load(original.c_str(), 3000, nullptr, picture);
        ASSERT_EQ(Process(v, load), LProcessResultOk);
        const auto project = KVNewPictureProject(original.c_str(), picture);
        const LImageBuffer rendered = kvtest::RenderProject(*project);
        ASSERT_EQ(KVSaveRasterFile(v, rendered, back.c_str()), LProcessResultOk);

        const std::string compare =
            python + " -c \"from PIL import Image; import sys; "
                     "a = Image.open('" + original + "').convert('RGBA'); "
                     "b = Image.open('" + back + "').convert('RGBA'); "
                     "sys.exit(0 if a.size == b.size and list(a.getdata()) == list(b.getdata()) else 1)\"";
        EXPECT_EQ(std::system(compare.c_str()), 0) << mode;
    }
}

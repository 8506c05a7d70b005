#include "exchange/svg_to_elements.h"

#include <gtest/gtest.h>

#include <cairo.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/shapes.h"
#include "document/text_elements.h"
#include "exchange/render_svg.h"
#include "support/project_picture.h"
#include "support/svg_oracle.h"
#include "support/temp_dir.h"

namespace {

struct ErrorProcess : LProcessInterfaceVoid {
    void SetError(const char* message) override { error = message ? message : ""; }
    std::string error;
};

std::unique_ptr<KVImage> Load(const std::string& body, const char* size = "width=\"100\" height=\"80\"") {
    const std::string text = std::string("<svg ") + size + ">" + body + "</svg>";
    KVReadImageSVG reader("test.svg");
    ErrorProcess process;
    EXPECT_EQ(reader.LoadImageFromText(process, text.data(), text.size()), LProcessResultOk) << process.error;
    return std::move(reader.image);
}

std::vector<KVElement*> Elements(const KVImage& image) {
    std::vector<KVElement*> out;
    for (auto it = image.GetFirstLayer()->GetElements(); it.IsValid(); it.Next())
        out.push_back(it.Get());
    return out;
}

std::string Names(const KVImage& image) {
    std::string names;
    for (KVElement* e : Elements(image))
        names += std::string(names.empty() ? "" : " ") + e->GetName();
    return names;
}

template <class E> auto Props(KVElement* e) {
    auto* typed = dynamic_cast<E*>(e);
    EXPECT_NE(typed, nullptr);
    return typed->GetProperties();
}

constexpr const char* kPicture =
    "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAIAAAACCAIAAAD91JpzAAAAEElEQVR4nGP4zwAE/xkgFAAb8gP91pbyKwAAAABJRU5ErkJggg==";

TEST(SvgToElementsTest, EachKindOfShapeBecomesItsElement) {
    struct Case {
        std::string body;
        const char* names;
    } cases[] = {
        {"<circle cx=\"5\" cy=\"5\" r=\"3\"/><ellipse rx=\"2\" ry=\"1\"/>", "ellipse ellipse"},
        {"<line x2=\"5\"/><polygon points=\"0,0 5,0 5,5\"/><polyline points=\"0,0 5,5\"/>", "line polygon pen"},
        {"<rect width=\"5\" height=\"5\" rx=\"2\"/>", "rectangle"},
        {"<path d=\"M0,0 L10,0 Z M5,5 L6,6\"/>", "pen pen"},
        {std::string("<image width=\"4\" height=\"4\" xlink:href=\"") + kPicture + "\"/>", "image"},
        {"<text x=\"5\" y=\"20\">Hello</text>", "text text text text text"},
        {"<polygon points=\"0,0 5\"/><image xlink:href=\"data:image/png;base64,AAAA\"/>", ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Names(*Load(c.body)), c.names) << c.body;
}

TEST(SvgToElementsTest, ShapesKeepTheirGeometryAndPaintsButNotTheirTransforms) {
    auto image = Load("<rect x=\"10\" y=\"20\" width=\"30\" height=\"40\" transform=\"rotate(30)\" fill=\"none\""
                      " stroke=\"#00f\" stroke-width=\"3\"/>"
                      "<circle cx=\"50\" cy=\"50\" r=\"10\" fill=\"red\" fill-opacity=\"0.5\"/>"
                      "<line x1=\"1\" y1=\"2\" x2=\"3\" y2=\"4\" stroke=\"lime\"/>");
    EXPECT_EQ(image->GetWidth(), 100u);
    EXPECT_EQ(image->GetHeight(), 80u);
    EXPECT_EQ(image->GetBackground(), LPixelColour(255, 255, 255, 255));
    const auto e = Elements(*image);
    const auto rect = Props<KVRectangleElement>(e[0]);
    EXPECT_EQ(rect.bounds, LBoundingBox2T<float>(10, 20, 40, 60));
    EXPECT_EQ(rect.rotation, 0);
    EXPECT_FALSE(rect.fill || rect.gradient);
    EXPECT_EQ(rect.lineColour, LGuiColorAlpha(0, 0, 255, 255));
    EXPECT_EQ(rect.lineWidth, 3);
    const auto circle = Props<KVEllipseElement>(e[1]);
    EXPECT_EQ(circle.bounds, LBoundingBox2T<float>(40, 40, 60, 60));
    ASSERT_TRUE(circle.fill);
    EXPECT_EQ(*circle.fill, LGuiColorAlpha(255, 0, 0, 127));
    const auto line = Props<KVLineElement>(e[2]);
    EXPECT_EQ(line.start.x, 1);
    EXPECT_EQ(line.end.y, 4);
    EXPECT_EQ(line.lineColour, LGuiColorAlpha(0, 255, 0, 255));
}

TEST(SvgToElementsTest, PathsBecomePensWithTheControlsTheDataGives) {
    struct Case {
        const char* d;
        std::vector<std::vector<float>> nodes; // per subpath: x, y, beforeX, afterX per node
    } cases[] = {
        {"M0,0 L10,0 Z M5,5 L6,6", {{0, 0, 0, 0, 10, 0, 10, 10}, {5, 5, 5, 5, 6, 6, 6, 6}}},
        // The arc is left out: the line goes on from the point before it.
        {"M0 0 L10 0 A5 5 0 0 1 20 0 L30 0", {{0, 0, 0, 0, 10, 0, 10, 10, 30, 0, 30, 30}}},
        // Both controls of the cubic on the quadratic's one.
        {"M0 0 Q5 9 10 0", {{0, 0, 0, 5, 10, 0, 5, 10}}},
        {"M0 0 C1 2 3 4 6 0 S9 9 12 0", {{0, 0, 0, 1, 6, 0, 3, 9, 12, 0, 9, 12}}},
    };
    for (const Case& c : cases) {
        auto image = Load(std::string("<path d=\"") + c.d + "\"/>");
        const auto pens = Elements(*image);
        ASSERT_EQ(pens.size(), c.nodes.size()) << c.d;
        for (size_t i = 0; i < pens.size(); ++i) {
            const auto pen = Props<KVPenElement>(pens[i]);
            std::vector<float> got;
            for (auto it = pen.GetPathIterator(); it.IsValid(); it.Next())
                got.insert(got.end(), {it.Get()->x, it.Get()->y, it.Get()->beforeX, it.Get()->afterX});
            EXPECT_EQ(got, c.nodes[i]) << c.d << " subpath " << i;
        }
    }
}

TEST(SvgToElementsTest, GradientStopsAtTheEndsReplaceTheEndColours) {
    auto image = Load("<linearGradient id=\"g\" x1=\"0%\" x2=\"100%\" y1=\"0%\" y2=\"0%\">"
                      "<stop offset=\"0\" stop-color=\"red\" stop-opacity=\"1\"/>"
                      "<stop offset=\"0.5\" stop-color=\"lime\" stop-opacity=\"1\"/>"
                      "<stop offset=\"1\" stop-color=\"blue\" stop-opacity=\"0.5\"/></linearGradient>"
                      "<rect x=\"10\" y=\"10\" width=\"50\" height=\"20\" fill=\"url(#g)\"/>");
    const auto rect = Props<KVRectangleElement>(Elements(*image).at(0));
    ASSERT_TRUE(rect.gradient);
    const KVGradient& g = *rect.gradient;
    ASSERT_EQ(g.GetStopCount(), 3u);
    EXPECT_EQ(g.GetStopColor(0), LGuiColorAlpha(255, 0, 0, 255));
    EXPECT_FLOAT_EQ(g.GetStopPosition(1), 0.5f);
    EXPECT_EQ(g.GetStopColor(2), LGuiColorAlpha(0, 0, 255, 127));
    EXPECT_FLOAT_EQ(g.start.x, 0);
    EXPECT_FLOAT_EQ(g.end.x, 1);
}

TEST(SvgToElementsTest, TextCharactersKeepTheirFontColourAndAnchor) {
    auto image = Load("<text x=\"50\" y=\"20\" font-size=\"12.6\" font-family=\"'DejaVu Sans', serif\" "
                      "font-weight=\"bolder\" font-style=\"italic\" text-decoration=\"underline\" "
                      "fill=\"#c00\" text-anchor=\"middle\">A  B\n</text>"
                      "<text x=\"50\" y=\"40\" font-size=\"12.6\" font-family=\"'DejaVu Sans', serif\" "
                      "font-weight=\"700\" font-style=\"italic\" text-decoration=\"underline\">A</text>");
    const auto e = Elements(*image);
    ASSERT_EQ(e.size(), 3u) << "the blanks are no elements";
    const auto a = Props<KVTextElement>(e[0]);
    EXPECT_EQ(a.text, "A");
    EXPECT_EQ(a.fontSize, 13u);
    EXPECT_STREQ(a.font, "DejaVu Sans");
    EXPECT_FALSE(a.bold) << "bolder than normal is 500";
    EXPECT_TRUE(a.italic && a.underline);
    EXPECT_EQ(a.colour, LGuiColorAlpha(0xCC, 0, 0, 255));
    EXPECT_EQ(a.alignment, LAlignmentXCentre);
    EXPECT_GT(a.bounds.GetWidth(), 0);
    const auto b = Props<KVTextElement>(e[1]);
    EXPECT_EQ(b.text, "B");
    EXPECT_GT(b.bounds.x1, a.bounds.x2);
    const auto left = Props<KVTextElement>(e[2]);
    EXPECT_TRUE(left.bold);
    EXPECT_EQ(left.alignment, LAlignmentXLeft);
    EXPECT_FLOAT_EQ(left.bounds.x1, 50);
    EXPECT_LT(a.bounds.x1, 50) << "a middle anchor starts half the run to the left";
}

TEST(SvgToElementsTest, PicturesAreFittedAsTheirAspectSays) {
    struct Case {
        const char* aspect;
        int width, height;
    } cases[] = {
        {"none", 20, 10},
        {"xMidYMid meet", 10, 10},
        {"xMinYMin slice", 2, 2},
    };
    for (const Case& c : cases) {
        auto image = Load(std::string("<image x=\"3.4\" y=\"4.6\" width=\"20\" height=\"10\" preserveAspectRatio=\"") +
                          c.aspect + "\" xlink:href=\"" + kPicture + "\"/>");
        const auto p = Props<KVImageElement>(Elements(*image).at(0));
        EXPECT_EQ(p.x, 3);
        EXPECT_EQ(p.y, 5);
        EXPECT_EQ(p.width, c.width) << c.aspect;
        EXPECT_EQ(p.height, c.height) << c.aspect;
        EXPECT_TRUE(p.HasImage());
    }
}

// A project of the kinds the file keeps, saved by our own export and opened
// again: the same elements, within a pixel, behind the background's
// rectangle; and the reopened project looks as the file does to another
// renderer.
TEST(SvgToElementsTest, OurOwnExportOpensAgainAsTheSameElements) {
    auto project = std::make_unique<KVProject>("round");
    auto* image = new KVImage("round.svg", 200, 150, 72, LPixelColour(255, 255, 255, 255));
    project->AddNewImage(image);
    KVLayer* layer = image->GetFirstLayer();
    KVRectangleElementProperties rect;
    rect.SetRectangle({10, 10, 60, 50});
    rect.lineWidth = 2;
    rect.SetFill(LGuiColorAlpha(255, 0, 0, 255));
    KVEllipseElementProperties ellipse;
    ellipse.SetBounds({80, 10, 140, 50});
    ellipse.SetFill(LGuiColorAlpha(0, 0, 255, 255));
    KVPolygonElementProperties polygon;
    polygon.sides = 5;
    polygon.SetBounds({10, 70, 60, 120});
    polygon.SetFill(LGuiColorAlpha(0, 160, 0, 255));
    KVLineElementProperties line;
    line.start = {80, 80};
    line.end = {180, 130};
    line.lineWidth = 3;
    KVPenElementProperties pen;
    pen.width = 4;
    pen.colour = LGuiColorAlpha(200, 100, 0, 255);
    auto* stroke = new KVDrawPath(200, 150, nullptr);
    KVDrawCoord a(100, 60), b(170, 70);
    a.afterX = 130;
    a.afterY = 40;
    b.beforeX = 150;
    b.beforeY = 100;
    stroke->AddCoord(new KVDrawCoord(a));
    stroke->AddCoord(new KVDrawCoord(b));
    pen.path.Set(stroke);
    std::vector<KVElement*> made = {new KVRectangleElement(rect), new KVEllipseElement(ellipse),
                                    new KVPolygonElement(polygon), new KVLineElement(line),
                                    new KVPenElement(pen)};
    for (KVElement* e : made)
        image->AddNewElement(e, layer, false, false);

    kvtest::TempDir dir;
    const std::string path = dir.File("round.svg");
    KVProjectSVGSave save{project.get(), path.c_str()};
    LProcessInterfaceVoid v;
    ASSERT_EQ(Process(v, save), LProcessResultOk);

    KVSVGProjectLoad load{path.c_str(), nullptr};
    ASSERT_EQ(Process(v, load), LProcessResultOk);
    EXPECT_STREQ(load.project->GetName(), "round");
    const KVImage& again = *load.project->GetCurrentImage();
    EXPECT_STREQ(again.GetName(), "round.svg");
    EXPECT_EQ(Names(again), "rectangle rectangle ellipse polygon line pen");
    const auto read = Elements(again);
    ASSERT_EQ(read.size(), made.size() + 1);
    for (size_t i = 0; i < made.size(); ++i) {
        const auto want = made[i]->GetRenderedDimensions(), got = read[i + 1]->GetRenderedDimensions();
        EXPECT_NEAR(got.x1, want.x1, 1) << made[i]->GetName();
        EXPECT_NEAR(got.y1, want.y1, 1) << made[i]->GetName();
        EXPECT_NEAR(got.x2, want.x2, 1) << made[i]->GetName();
        EXPECT_NEAR(got.y2, want.y2, 1) << made[i]->GetName();
    }

    LImageBuffer ours = kvtest::RenderProject(*load.project);
    kvtest::KeepPicture(ours, "svg-reopened-ours.png");
    const std::string png = dir.File("rsvg.png");
    ASSERT_EQ(std::system(("rsvg-convert -o '" + png + "' '" + path + "'").c_str()), 0);
    cairo_surface_t* theirs = cairo_image_surface_create_from_png(png.c_str());
    cairo_surface_t* mine = cairo_image_surface_create_for_data(ours.GetData(), CAIRO_FORMAT_ARGB32,
                                                                ours.width, ours.height, ours.stride);
    ASSERT_EQ(cairo_image_surface_get_width(theirs), ours.width);
    if (const char* keep = std::getenv("KV_PAINT_ORACLE_OUTPUT"))
        cairo_surface_write_to_png(theirs, (std::string(keep) + "/svg-reopened-rsvg.png").c_str());
    EXPECT_LE(kvtest::ComparePictures(mine, theirs).mean, 6.0);
    cairo_surface_destroy(mine);
    cairo_surface_destroy(theirs);
}

// Every file of the hand-written corpus opens, or is refused with a reason
// that names it, and none takes a second.
TEST(SvgToElementsTest, EveryCorpusFileOpensOrIsRefusedWithAMessageWithinASecond) {
    const std::set<std::string> refused = {"broken.svg", "garbage.svg", "huge_numbers.svg",
                                           "not_svg.xml", "too_deep.svg", "truncated.svg"};
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(KV_TEST_DATA_DIR "/svg")) {
        const std::string name = entry.path().filename().string();
        SCOPED_TRACE(name);
        const std::string path = entry.path().string();
        ErrorProcess process;
        KVSVGProjectLoad load{path.c_str(), nullptr};
        const auto start = std::chrono::steady_clock::now();
        const LProcessResult r = Process(process, load);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_LT(seconds, 1.0) << name;
        if (refused.count(name)) {
            EXPECT_EQ(r, LProcessResultError) << name;
            EXPECT_EQ(load.project, nullptr) << name;
            EXPECT_EQ(process.error.rfind("\"" + name + "\" is not a picture this program can open.", 0), 0u)
                << process.error;
        } else {
            EXPECT_EQ(r, LProcessResultOk) << name << ": " << process.error;
            ASSERT_NE(load.project, nullptr) << name;
            // What opens renders, or says why not (a stroke too large to draw).
            KVProjectPicture work;
            work.project = load.project.get();
            ErrorProcess drawing;
            if (Process(drawing, work) == LProcessResultOk)
                kvtest::KeepPicture(work.picture, ("svg-corpus-" + name + ".png").c_str());
            else
                EXPECT_FALSE(drawing.error.empty());
        }
        ++files;
    }
    EXPECT_GE(files, 15);
}

} // namespace

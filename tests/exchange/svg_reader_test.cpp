#include "exchange/svg_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>

#include "exchange/svg_reader_p.h"

namespace {

LVectorImage Read(const std::string& body, const char* size = "width=\"100\" height=\"80\"") {
    const std::string text = std::string("<svg xmlns=\"http://www.w3.org/2000/svg\" ") + size + ">" + body + "</svg>";
    LProcessInterfaceVoid v;
    LVectorImage image;
    EXPECT_EQ(LVectorImageLoadSVGText(v, text.data(), text.size(), image, 96), LProcessResultOk) << image.error;
    return image;
}

const LVectorImageShape& Shape(const LVectorImage& image, size_t i) {
    return static_cast<const LVectorImageShape&>(*image.elements.at(i));
}

TEST(SvgReaderTest, ColoursAreReadAsWrittenOrLeftAlone) {
    struct Case {
        const char* text;
        bool read;
        int r, g, b;
    } cases[] = {
        {"#123", true, 0x11, 0x22, 0x33},   {"#ff8000", true, 255, 128, 0},
        {"#12", false, 9, 9, 9},            {"#12345", false, 9, 9, 9},
        {" rgb(1, 2,300)", true, 1, 2, 255}, {"yellowgreen", true, 154, 205, 50},
        {"aliceblue", true, 240, 248, 255}, {"darkslategrey", true, 47, 79, 79},
        {"inherit", false, 9, 9, 9},        {"notacolour", false, 9, 9, 9},
    };
    for (const Case& c : cases) {
        LGuiColorAlpha colour(9, 9, 9, 7);
        EXPECT_EQ(kvsvgin::DecodeColour(c.text, colour), c.read) << c.text;
        EXPECT_EQ(colour, LGuiColorAlpha(c.r, c.g, c.b, c.read ? 255 : 7)) << c.text;
    }
}

TEST(SvgReaderTest, LengthsTakeTheirUnitsAtTheReadingResolution) {
    struct Case {
        const char* text;
        float value;
        bool percent;
    } cases[] = {
        {"12", 12, false},   {"12px", 12, false}, {"3pt", 4, false},  {"1pc", 16, false},
        {"2.54cm", 96, false}, {"25.4mm", 96, false}, {"0.5in", 48, false}, {"2em", 20, false},
        // The number in front of "ex" is lost.
        {"7ex", 5, false},   {"50%", 0.5f, true}, {" ,+1e2", 100, false}, {"1e999", 1.0e6f, false},
    };
    for (const Case& c : cases) {
        float v = -1;
        bool found = false, percent = false;
        kvsvgin::DecodeNumericValue(c.text, v, found, &percent, 0.01f, 10, 96);
        EXPECT_TRUE(found) << c.text;
        EXPECT_NEAR(v, c.value, 1e-3) << c.text;
        EXPECT_EQ(percent, c.percent) << c.text;
    }
    float v;
    bool found = true;
    kvsvgin::DecodeNumericValue("5furlongs", v, found, nullptr, 0.01f, 10, 96);
    EXPECT_FALSE(found);
}

TEST(SvgReaderTest, TransformsApplyTheNewestFirstAndSkewsNoLongerHang) {
    struct Case {
        const char* text;
        float x, y; // where (10, 0) goes
    } cases[] = {
        {"translate(5)", 15, 0},
        {"translate(5,1) scale(2)", 25, 1},
        {"rotate(90)", 0, 10},
        {"rotate(90, 10, 10)", 20, 10},
        {"matrix(1 0 0 1 3 4)", 13, 4},
        {"skewY(45)", 10, 10},
        {"skewX(10) translate(1)", 11, 0},
        {"bogus(3) translate(2)", 12, 0},
    };
    for (const Case& c : cases) {
        LVectorImageMatrix m;
        kvsvgin::DecodeTransform(c.text, m);
        const auto p = m.Apply(10, 0);
        EXPECT_NEAR(p.x, c.x, 1e-3) << c.text;
        EXPECT_NEAR(p.y, c.y, 1e-3) << c.text;
    }
}

TEST(SvgReaderTest, PathDataIsTokenizedAsWritten) {
    struct Case {
        const char* d;
        std::vector<int> types;
        std::vector<float> lastArgs;
    } cases[] = {
        {"M10-5", {LVectorImagePathMove}, {10, -5}},
        {"M 10 10 20 20", {LVectorImagePathMove, LVectorImagePathLine}, {20, 20}},
        {"m1,1 2,2 h3 v-1", {0, 2, 2, 2}, {6, 2}},
        // A missing number ends the path with what was made.
        {"M0,0 L10,0 C1,2,3", {LVectorImagePathMove, LVectorImagePathLine}, {10, 0}},
        {"M0 0Q5 5 10 0T20 0", {0, LVectorImagePathQuadratic, LVectorImagePathSmoothQuadratic}, {20, 0}},
        {"M0 0A5 5 0 0 1 10 0z", {0, LVectorImagePathArc, LVectorImagePathClose}, {}},
        {"M0 0 L1 1 Z 4 4", {0, 2, LVectorImagePathClose}, {}},
        {"M0 0 F 3 3", {0}, {0, 0}},
        {"M.5.5", {0}, {0.5f, 0.5f}},
    };
    for (const Case& c : cases) {
        const LVectorImage image = Read(std::string("<path d=\"") + c.d + "\"/>");
        ASSERT_EQ(image.elements.size(), 1u) << c.d;
        const auto& path = static_cast<const LVectorImagePath&>(*image.elements[0]);
        std::vector<int> types;
        for (const auto& command : path.commands)
            types.push_back(command.type);
        EXPECT_EQ(types, c.types) << c.d;
        EXPECT_EQ(path.commands.back().args, c.lastArgs) << c.d;
    }
}

TEST(SvgReaderTest, AttributesFollowTheirAlphabeticalOrderAndReferencesOnePass) {
    // "fill" sorts before "style", which sorts before "transform".
    LVectorImage a = Read("<rect fill=\"red\" style=\"fill:blue;stroke:lime\" width=\"5\" height=\"5\"/>"
                          "<rect style=\"transform:scale(2)\" transform=\"translate(3)\" width=\"1\" height=\"1\"/>");
    EXPECT_EQ(Shape(a, 0).fill.brush.colour, LGuiColorAlpha(0, 0, 255, 255));
    EXPECT_EQ(Shape(a, 0).stroke.brush.colour, LGuiColorAlpha(0, 255, 0, 255));
    EXPECT_FLOAT_EQ(Shape(a, 1).matrix.e, 6) << "scaled, then moved before the scale";

    // A url before its gradient gives black; one after it the gradient.
    LVectorImage b = Read("<rect fill=\"url(#g)\" width=\"5\" height=\"5\"/>"
                          "<linearGradient id=\"g\"><stop offset=\"0\" stop-color=\"red\"/>"
                          "<stop offset=\"1\" stop-color=\"blue\"/></linearGradient>"
                          "<rect fill=\"url(#g)\" width=\"5\" height=\"5\"/>");
    ASSERT_EQ(b.elements.size(), 2u);
    EXPECT_EQ(Shape(b, 0).fill.brush.type, LVectorImageBrushSolid);
    EXPECT_EQ(Shape(b, 0).fill.brush.colour, LGuiColorAlpha(0, 0, 0, 255));
    EXPECT_EQ(Shape(b, 1).fill.brush.type, LVectorImageBrushLinear);
    EXPECT_EQ(Shape(b, 1).fill.brush.stopPositions.size(), 2u);

    // A use of a later id is dropped; one of an earlier id ignores its x;
    // one inside its own target draws
    // that target once more and stops.
    LVectorImage c = Read("<use xlink:href=\"#r\"/><rect id=\"r\" x=\"2\" width=\"5\" height=\"5\"/>"
                          "<use xlink:href=\"#r\" x=\"40\"/>"
                          "<g id=\"me\"><circle r=\"1\"/><use xlink:href=\"#me\"/></g>");
    ASSERT_EQ(c.elements.size(), 4u);
    EXPECT_FLOAT_EQ(c.elements[1]->left, 2);
    EXPECT_EQ(c.elements[3]->type, LVectorImageCircleType);
    // Nor does a gradient that holds something painted with itself.
    LVectorImage selfPaint = Read("<linearGradient id=\"s\"><stop offset=\"0\"/><text fill=\"url(#s)\">x</text>"
                                  "<stop offset=\"1\"/></linearGradient><rect width=\"1\" height=\"1\" fill=\"url(#s)\"/>");
    ASSERT_EQ(selfPaint.elements.size(), 1u);
    EXPECT_EQ(Shape(selfPaint, 0).fill.brush.stopPositions.size(), 2u);

    // Opacity reaches the fill only; a gradient of one stop has no stops.
    LVectorImage d = Read("<linearGradient id=\"one\"><stop offset=\"0.5\" stop-color=\"red\"/></linearGradient>"
                          "<rect opacity=\"0.5\" stroke=\"red\" fill=\"url(#one)\" width=\"1\" height=\"1\"/>"
                          "<rect opacity=\"0.5\" stroke=\"red\" width=\"1\" height=\"1\"/>");
    EXPECT_TRUE(Shape(d, 0).fill.brush.stopPositions.empty());
    EXPECT_FLOAT_EQ(Shape(d, 1).fill.opacity, 127 / 255.0f);
    EXPECT_FLOAT_EQ(Shape(d, 1).stroke.opacity, 1);
}

// Each level uses the one below ten times: eight levels would be a hundred
// million rectangles. The uses stop multiplying at a budget.
TEST(SvgReaderTest, UsesOfUsesStopMultiplyingInMomentsNotHours) {
    std::string body = "<g id=\"l0\"><rect width=\"1\" height=\"1\"/></g>";
    for (int level = 1; level <= 8; ++level) {
        body += "<g id=\"l" + std::to_string(level) + "\">";
        for (int i = 0; i < 10; ++i)
            body += "<use xlink:href=\"#l" + std::to_string(level - 1) + "\"/>";
        body += "</g>";
    }
    const auto start = std::chrono::steady_clock::now();
    const LVectorImage image = Read(body);
    // Seconds at most even in a checked build; a tenth of that in a release.
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 5.0);
    EXPECT_GT(image.elements.size(), 10000u);
    EXPECT_LT(image.elements.size(), 120000u);
}

TEST(SvgReaderTest, PercentagesAreOfTheViewBoxOrOfTheShapesBox) {
    const LVectorImage image = Read(
        "<circle cx=\"50%\" cy=\"50%\" r=\"10%\"/>"
        "<radialGradient id=\"r\" cx=\"25%\" r=\"50%\"><stop offset=\"0\"/><stop offset=\"1\"/></radialGradient>"
        "<rect x=\"10\" y=\"20\" width=\"40\" height=\"10\" fill=\"url(#r)\"/>"
        "<rect x=\"10\" y=\"20\" width=\"40\" height=\"10\" fill=\"url(#r)\" stroke=\"url(#nothing)\"/>",
        "viewBox=\"0 0 200 100\"");
    const auto& circle = static_cast<const LVectorImageEllipse&>(*image.elements[0]);
    EXPECT_FLOAT_EQ(circle.cx, 100);
    EXPECT_FLOAT_EQ(circle.cy, 50);
    EXPECT_NEAR(circle.rx, 15.81f, 0.01f) << "of the view box's mean side";
    const LVectorImageBrush& brush = Shape(image, 1).fill.brush;
    EXPECT_EQ(brush.type, LVectorImageBrushRadial);
    EXPECT_FLOAT_EQ(brush.x1, 20) << "a quarter of the box's width, from its left";
    EXPECT_FLOAT_EQ(brush.y1, 25) << "the centre's default is half of the box";
    EXPECT_EQ(Shape(image, 2).stroke.brush.type, LVectorImageBrushNone);
}

TEST(SvgReaderTest, TheSizeComesFromTheDocumentTheViewBoxOrWhatWasDrawn) {
    struct Case {
        const char* size;
        const char* body;
        float width, height;
    } cases[] = {
        {"width=\"120.7\" height=\"40\"", "", 120, 40},
        {"viewBox=\"0 0 300 200\"", "", 300, 200},
        {"width=\"1in\" height=\"2cm\"", "", 96, 75},
        {"width=\"100%\" height=\"100%\" viewBox=\"0 0 50 60\"", "", 50, 60},
        {"", "", 1024, 768},
        {"", "<rect x=\"10\" y=\"10\" width=\"200.4\" height=\"100.6\" stroke-width=\"0\"/>", 210, 111},
    };
    for (const Case& c : cases) {
        const LVectorImage image = Read(c.body, c.size);
        EXPECT_EQ(image.width, c.width) << c.size << c.body;
        EXPECT_EQ(image.height, c.height) << c.size << c.body;
        EXPECT_EQ(image.codec, LVectorImageCodecSVG);
    }
}

TEST(SvgReaderTest, TextIsOneSegmentAByteAndItsPositionRunsOn) {
    const LVectorImage image = Read("<text x=\"10 30\" y=\"20\" font-size=\"10\" font-weight=\"bold\">"
                                    "ab<tspan dy=\"5\">c</tspan>d</text>");
    ASSERT_EQ(image.elements.size(), 3u);
    const auto& first = static_cast<const LVectorImageText&>(*image.elements[0]);
    ASSERT_EQ(first.segments.size(), 3u) << "a, b and the blank behind the run";
    EXPECT_EQ(first.flags & LVectorImageFontBold, LVectorImageFontBold);
    EXPECT_FLOAT_EQ(first.segments[0].x, 10);
    EXPECT_FLOAT_EQ(first.segments[1].x, 30);
    const auto& inner = static_cast<const LVectorImageText&>(*image.elements[1]);
    EXPECT_GT(inner.segments[0].x, 30);
    EXPECT_FLOAT_EQ(inner.segments[0].y, 25);
    const auto& last = static_cast<const LVectorImageText&>(*image.elements[2]);
    EXPECT_GT(last.segments[0].x, inner.segments[0].x);
    EXPECT_EQ(last.segments[0].character, "d");
}

} // namespace

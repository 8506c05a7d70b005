#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "document/text_elements.h"
#include "foundation/fonts.h"
#include "support/recording_target.h"

using kvtest::RecordingTarget;
using Calls = std::vector<std::string>;

namespace {

KVTextElementProperties Text(const char* text, float width) {
    KVTextElementProperties p;
    p.text.Set(text);
    p.fontSize = 20;
    p.bounds = {10, 10, 10 + width, 300};
    return p;
}

std::vector<std::string> Lines(const KVTextElementProperties& p) {
    LList<LStringLongListable> lines;
    KVTextWrapping(p.text.Get(), p.font, p.fontSize, p.bold, p.italic, p.underline,
                   p.bounds.GetWidth())
        .GetLines(lines);
    std::vector<std::string> out;
    for (const LStringLongListable& l : lines)
        out.push_back(l.Get());
    return out;
}

} // namespace

TEST(TextFonts, EveryFaceNameEndsInAnInstalledFont) {
    EXPECT_STRNE(KVDefaultTextFace(), "");
    EXPECT_STREQ(KVTextElementProperties().font, KVDefaultTextFace());
    for (const char* face : {"Arial", "No Such Font At All", ""})
        EXPECT_FALSE(LFontResolveFamily(face).empty()) << face;
}

// Each wrapped line, laid out again in the same box, stays one line: the
// target draws exactly the lines the element asked for.
TEST(TextWrapping, BreaksWhereTheTargetWouldAndKeepsEveryCharacterWhole) {
    struct Case {
        const char* text;
        float width;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {"one\n\nthree", 500, {"one", "", "three"}},
        {"ends with a break\n", 500, {"ends with a break"}},
        {"\xC3\xA9t\xC3\xA9 \xE2\x82\xAC\xE2\x82\xAC \xE6\x97\xA5\xE6\x9C\xAC", 500,
         {"\xC3\xA9t\xC3\xA9 \xE2\x82\xAC\xE2\x82\xAC \xE6\x97\xA5\xE6\x9C\xAC"}},
        {"", 500, {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Lines(Text(c.text, c.width)), c.lines) << c.text;

    const KVTextElementProperties narrow =
        Text("a long sentence that needs several lines in a narrow box", 90);
    const std::vector<std::string> lines = Lines(narrow);
    ASSERT_GT(lines.size(), 3u);
    // Only the spaces the lines broke at are gone.
    std::string joined, spaceless;
    for (const std::string& l : lines) {
        joined += l;
        EXPECT_EQ(Lines(Text(l.c_str(), 90)).size(), 1u) << l;
        EXPECT_NE(l.back(), ' ');
    }
    for (const char* c = narrow.text.Get(); *c; ++c)
        if (*c != ' ')
            spaceless += *c;
    joined.erase(std::remove(joined.begin(), joined.end(), ' '), joined.end());
    EXPECT_EQ(joined, spaceless);
}

TEST(TextElement, EmptyTextPaintsNothingNotEvenItsShadow) {
    LProcessInterfaceVoid v;
    for (const char* text : {"", "\n"}) {
        KVTextElementProperties p = Text(text, 100);
        p.SetShadow(KVDropShadow());
        p.rotation = 30;
        RecordingTarget t;
        EXPECT_EQ(KVTextElement(p).Render(v, t), LProcessResultOk);
        EXPECT_TRUE(t.Calls().empty());
    }
}

TEST(TextElement, RendersTurnedThenStretchedWithEffectsInOrder) {
    KVTextElementProperties p = Text("a\nb", 100);
    p.rotation = 90;
    p.scaleX = 2;
    p.SetShadow(KVDropShadow());
    p.SetBevelEmboss(KVBevelEmboss());
    RecordingTarget t;
    LProcessInterfaceVoid v;
    ASSERT_EQ(KVTextElement(p).Render(v, t), LProcessResultOk);
    const Calls calls = t.Calls();
    ASSERT_GE(calls.size(), 9u);
    EXPECT_EQ(calls.front(), "t0 BeginRotate 90 (120,155) -> t1");
    EXPECT_EQ(calls[1], "t1 BeginScale 2 1 -> t2");
    EXPECT_EQ(calls[2], "t2 DrawTextShadow a");
    EXPECT_EQ(calls[4], "t2 DrawText a @10");
    EXPECT_EQ(calls[calls.size() - 2], "t1 FinishScale");
    EXPECT_EQ(calls.back(), "t0 FinishRotate");
}

TEST(TextElement, ResizeScalesPlainFontsAndMovesRichRuns) {
    KVTextElement plain(Text("x", 100));
    plain.Resize(2.0f, 1.0f, false);
    EXPECT_EQ(plain.GetProperties().fontSize, 30u);
    EXPECT_EQ(plain.GetProperties().bounds, (LBoundingBox2T<float>(20, 10, 220, 300)));

    KVRichTextElementProperties r;
    r.bounds = {10, 10, 110, 60};
    KVRichTextSegment s;
    s.size = 17.4f;
    s.bounds = {20, 30, 60, 50};
    r.segments = {s, s};
    KVRichTextElement rich(r);
    rich.Resize(2.0f, 0.5f, false);
    for (const KVRichTextSegment& g : rich.GetProperties().segments) {
        EXPECT_FLOAT_EQ(g.size, 17.4f);
        EXPECT_EQ(g.bounds, (LBoundingBox2T<float>(40, 15, 80, 35)));
    }
    rich.Crop({5, 5, 100, 100}, nullptr);
    EXPECT_EQ(rich.GetProperties().segments[0].bounds, (LBoundingBox2T<float>(35, 10, 75, 30)));

    RecordingTarget t;
    LProcessInterfaceVoid v;
    rich.Render(v, t);
    EXPECT_EQ(t.Calls(), (Calls{"t0 DrawText  @10", "t0 DrawText  @10"}));
}

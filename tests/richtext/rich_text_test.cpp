#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "richtext/rich_text_editor.h"
#include "richtext/text_edit_ui.h"

namespace {

// Every character is 10 wide; a line stands 10 above its baseline and 2
// below, at size 24 (and in proportion at other sizes).
class FixedMeasurer : public LTextMeasurer {
public:
    LTextFontMetrics GetMetrics(const LFontAttributes& f) const override {
        return {f.size * 10 / 24, f.size * 2 / 24};
    }
    void MeasureRun(const LFontAttributes&, const char* text, unsigned long n,
                    LArray<float>& offsets) const override {
        offsets.SetCount(n + 1);
        float x = 0;
        for (unsigned long i = 0; i < n; ++i) {
            offsets[i] = x;
            if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80)
                x += 10;
        }
        offsets[n] = x;
    }
    void WrapLines(const LFontAttributes&, const char*, float, LArray<unsigned long>& s) const override {
        s.Clear();
        s.Add(0);
    }
};
const FixedMeasurer kFixed;

struct Recorder : LRichTextEditorOwner {
    int changed = 0, repaints = 0;
    void EvRichTextChanged(LRichTextEditor&) override { ++changed; }
    void EvRichTextRepaint(LRichTextEditor&) override { ++repaints; }
};

// The commands as "kind@index=value", in list order.
std::string Commands(const LFormattedText& t) {
    std::string out;
    for (const LTextFormatCommand& c : t.GetFormats())
        out += std::to_string(c.kind) + "@" + std::to_string(c.index) + "=" +
               std::to_string(c.value) + " ";
    return out;
}

struct Fixture {
    LRichTextArea area;
    Recorder owner;
    LRichTextEditor editor{area, &owner};
    explicit Fixture(const char* text, float width = -1) {
        area.SetMeasurer(&kFixed);
        area.alignmentX = LAlignmentXLeft;
        area.SetWidthLimit(width);
        editor.AddString(text);
    }
    const char* Text() const { return area.GetText().GetText().Get(); }
};

} // namespace

TEST(RichTextArea, ANewAreaIsArial24BlackAndPlain) {
    LRichTextArea area;
    const LFormattedTextStateIndependent s = area.GetStateIndependent(0);
    EXPECT_STREQ(s.fontName, "Arial");
    EXPECT_EQ(s.size, 24);
    EXPECT_TRUE(s.color == LGuiColor());
    EXPECT_FALSE(s.bold || s.italic || s.underline);
    EXPECT_EQ(Commands(area.GetText()), "0@0=0 1@0=24 2@0=0 3@0=0 4@0=0 5@0=0 ");
}

TEST(RichTextArea, AlterTextKeepsTheCommandsInStepWithTheString) {
    struct Case {
        unsigned long start, length;
        const char* with;
        const char* text;
        const char* commands;
    } cases[] = {
        // The whole text replaced: the format at 0 stays, the rest goes.
        {0, 100, "new", "new", "1@0=24 3@0=0 "},
        {0, 6, "", "", "1@0=24 3@0=0 "},
        // Typing continues the format before the caret.
        {3, 0, "XY", "abcXYdef", "1@0=24 3@0=0 4@1=1 3@5=1 "},
        {2, 0, "XY", "abXYcdef", "1@0=24 3@0=0 4@1=1 3@5=1 "},
        // A deletion takes the commands inside it.
        {2, 2, "", "abef", "1@0=24 3@0=0 4@1=1 "},
        {4, 1, "", "abcdf", "1@0=24 3@0=0 4@1=1 3@3=1 "},
        // The first character alone: what stood at 1 goes to 0 with it.
        {0, 1, "Z", "Zbcdef", "4@0=1 3@3=1 "},
        // Broken input comes in as replacement characters.
        {2, 0, "\xFF", "ab\xEF\xBF\xBD" "cdef", "1@0=24 3@0=0 4@1=1 3@6=1 "},
    };
    for (const Case& c : cases) {
        LFormattedText t;
        t.SetText("abcdef");
        t.InsertFormat(0, LTextFormatSize, 24);
        t.InsertFormat(0, LTextFormatBold, 0);
        t.InsertFormat(1, LTextFormatItalic, 1);
        t.InsertFormat(3, LTextFormatBold, 1);
        LRichTextArea area;
        area.SetText(t);
        area.AlterText(c.start, c.length, c.with);
        EXPECT_STREQ(area.GetText().GetText().Get(), c.text) << c.start << "+" << c.length;
        EXPECT_EQ(Commands(area.GetText()), c.commands) << c.start << "+" << c.length;
    }
    // A length past the end counts to the end: the command behind a single
    // character goes to 0, not below it.
    LFormattedText one;
    one.SetText("a");
    one.InsertFormat(1, LTextFormatBold, 1);
    LRichTextArea area;
    area.SetText(one);
    area.AlterText(0, 100, "xyz");
    EXPECT_EQ(Commands(area.GetText()), "3@0=1 ");
}

TEST(RichTextArea, FormatsOnARangeLeaveTheTextAfterItAsItWas) {
    Fixture f("plain bold plain");
    f.area.SetBold(true, 6, 10);
    f.area.SetFontSize(40, 0, 3);
    EXPECT_EQ(f.area.GetState(5)[LTextFormatBold], 0);
    EXPECT_EQ(f.area.GetState(6)[LTextFormatBold], 1);
    EXPECT_EQ(f.area.GetState(10)[LTextFormatBold], 0);
    EXPECT_EQ(f.area.GetState(2)[LTextFormatSize], 40);
    EXPECT_EQ(f.area.GetState(3)[LTextFormatSize], 24);

    // A copy carries its format into another text, whose own text after the
    // paste keeps its format.
    const LFormattedText copied = f.area.GetFormattedText(4, 8);
    EXPECT_STREQ(copied.GetText().Get(), "n bo");
    Fixture g("xyz");
    g.area.SetColor(LGuiColor::FromBytes(255, 0, 0), 0, 3);
    g.area.AlterText(1, 0, &copied);
    EXPECT_STREQ(g.Text(), "xn boyz");
    EXPECT_EQ(g.area.GetState(2)[LTextFormatBold], 0);
    EXPECT_EQ(g.area.GetState(3)[LTextFormatBold], 1);
    EXPECT_EQ(g.area.GetState(5)[LTextFormatBold], 0);
    EXPECT_TRUE(g.area.GetStateIndependent(5).color == LGuiColor::FromBytes(255, 0, 0));
    EXPECT_TRUE(g.area.GetStateIndependent(2).color == LGuiColor());
}

TEST(RichTextEditor, APendingFormatGoesOnTheNewCharactersOnly) {
    Fixture f("abc");
    LFormattedTextStateIndependent bold = f.area.GetStateIndependent(3);
    bold.bold = true;
    f.editor.SetPendingState(bold);
    f.editor.AddString("XY");
    f.editor.AddString("z");
    EXPECT_STREQ(f.Text(), "abcXYz");
    EXPECT_EQ(f.area.GetState(2)[LTextFormatBold], 0);
    EXPECT_EQ(f.area.GetState(3)[LTextFormatBold], 1);
    EXPECT_EQ(f.area.GetState(4)[LTextFormatBold], 1);
    EXPECT_FALSE(f.editor.HasPendingState());

    // A move of the caret drops a pending format; a move that goes nowhere
    // keeps it.
    f.editor.SetPendingState(bold);
    f.editor.MoveCursorLast(false);
    EXPECT_TRUE(f.editor.HasPendingState());
    f.editor.MoveCursorLeft(false);
    EXPECT_FALSE(f.editor.HasPendingState());
}

TEST(RichTextEditor, DeletingTakesWholeCharacters) {
    // a, e-acute (2), euro (3), a clef (4).
    const char* text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E";
    struct Case {
        unsigned long cursor;
        bool backward;
        unsigned long removed;
    } cases[] = {{0, false, 1}, {1, false, 2}, {3, false, 3}, {6, false, 4}, {10, false, 0},
                 {10, true, 4}, {6, true, 3},  {3, true, 2},  {0, true, 0}};
    for (const Case& c : cases) {
        Fixture f(text);
        f.editor.MoveCursorFirst(false);
        while (f.editor.GetCursor() < c.cursor)
            f.editor.MoveCursorRight(false);
        ASSERT_EQ(f.editor.GetCursor(), c.cursor);
        f.editor.DeleteText(c.backward);
        EXPECT_EQ(std::strlen(f.Text()), 10 - c.removed) << c.cursor << c.backward;
        EXPECT_TRUE(LUtf8IsValid(f.Text(), std::strlen(f.Text())));
    }
    Fixture f(text);
    EXPECT_EQ(f.editor.GetPreviousIndex(10), 6u);
    EXPECT_EQ(f.editor.GetPreviousIndex(6), 3u);
}

TEST(RichTextEditor, TheKeysMoveAndExtendAsTheTableSays) {
    struct Case {
        LKey key;
        unsigned long cursor, anchor;
    } cases[] = {
        {kLKeyLeft, 4, kLNoAnchor},
        {kLKeyRight, 6, kLNoAnchor},
        {kLKeyLeft | kLKeyShift, 4, 5},
        {kLKeyUp, 1, kLNoAnchor},
        {kLKeyDown | kLKeyShift, 9, 5},
        {kLKeyHome, 4, kLNoAnchor},
        {kLKeyHome | kLKeyShift, 4, 5},
        {kLKeyEnd, 7, kLNoAnchor},
        {kLKeyEnd | kLKeyShift, 7, 5},
        {kLKeyHome | kLKeyCommand, 0, kLNoAnchor},
        {kLKeyHome | kLKeyCommand | kLKeyShift, 0, 5},
        {kLKeyEnd | kLKeyCommand, 10, kLNoAnchor},
        {kLKeyEnd | kLKeyCommand | kLKeyShift, 10, 5},
    };
    for (const Case& c : cases) {
        Fixture f("abc\ndef\nxy");
        f.editor.MoveCursor(LPointTemplate<float>(12, 17), false);
        ASSERT_EQ(f.editor.GetCursor(), 5u);
        EXPECT_TRUE(f.editor.EvKeyDown(c.key));
        EXPECT_EQ(f.editor.GetCursor(), c.cursor) << std::hex << c.key;
        EXPECT_EQ(f.editor.GetAnchor(), c.anchor) << std::hex << c.key;
    }
    Fixture f("ab");
    EXPECT_TRUE(f.editor.EvKeyDown(kLKeyReturn));
    EXPECT_TRUE(f.editor.EvKeyDown(kLKeyBackspace));
    EXPECT_TRUE(f.editor.EvKeyDown(kLKeyLeft));
    EXPECT_TRUE(f.editor.EvKeyDown(kLKeyForwardDelete));
    EXPECT_STREQ(f.Text(), "a");
    EXPECT_FALSE(f.editor.EvKeyDown(0x01000000));
}

TEST(RichTextEditor, TheCaretsBlinkAtTheirOwnRates) {
    Fixture f("a");
    const int repaints = f.owner.repaints;
    const bool visible = f.editor.IsCaretVisible();
    f.editor.tmntfTimer();
    EXPECT_NE(f.editor.IsCaretVisible(), visible);
    EXPECT_EQ(f.owner.repaints, repaints + 1);
    EXPECT_EQ(f.editor.GetCaretTimer(), 500u);

    LTextEditUI plain(true);
    int told = 0;
    plain.layoutCallback = [&] { ++told; };
    plain.tmntfTimer();
    EXPECT_EQ(plain.caretTimer, 530u);
    EXPECT_EQ(told, 1);
}

TEST(RichTextLayout, WordsWrapLinesStandOnTheirTallestRunAndAlign) {
    // Ten units a character: "bbbb" does not fit after "aaa " in 75.
    Fixture f("aaa bbbb cc\n", 75);
    f.area.SetFontSize(48, 4, 8);
    const LArray<LRichTextAreaLine>& lines = f.area.GetLines();
    ASSERT_EQ(lines.GetCount(), 3u);
    EXPECT_FLOAT_EQ(lines[0].height, 12);
    EXPECT_FLOAT_EQ(lines[1].top, 12);
    EXPECT_FLOAT_EQ(lines[1].height, 24);
    EXPECT_FLOAT_EQ(lines[1].baseline, 12 + 20);
    // "cc" at 24 stands on the baseline of "bbbb" at 48.
    const LRichTextPosition c = f.area.FindPosition(9);
    EXPECT_FLOAT_EQ(c.x, 50);
    EXPECT_FLOAT_EQ(c.y, 32 - 10);
    // After the closing line feed the caret has a line of its own.
    EXPECT_EQ(f.area.FindPosition(12).line, 2u);

    struct Case {
        int align;
        float x;
    } cases[] = {{LAlignmentXLeft, 0}, {LAlignmentXCentre, 22.5f}, {LAlignmentXRight, 45}};
    for (const Case& a : cases) {
        f.area.alignmentX = a.align;
        f.area.FindSegments(75, 0);
        EXPECT_FLOAT_EQ(f.area.FindPosition(0).x, a.x) << a.align;
    }

    // Clicks find the nearer side of a character, and the line by height.
    f.area.alignmentX = LAlignmentXLeft;
    f.area.FindSegments(75, 0);
    EXPECT_EQ(f.area.FindIndex({14, 5}), 1);
    EXPECT_EQ(f.area.FindIndex({16, 5}), 2);
    EXPECT_EQ(f.area.FindIndex({500, 5}), 3);
    EXPECT_EQ(f.area.FindIndex({-5, 20}), 4);
    EXPECT_EQ(f.area.FindIndex({5, 1000}), 12);

    // A word of two formats moves to the next line whole.
    Fixture g("x aabb", 45);
    g.area.SetBold(true, 4, 6);
    ASSERT_EQ(g.area.GetLines().GetCount(), 2u);
    EXPECT_EQ(g.area.FindPosition(2).line, 1u);
    EXPECT_FLOAT_EQ(g.area.FindPosition(2).x, 0);
    EXPECT_FLOAT_EQ(g.area.FindPosition(5).x, 30);
}

TEST(RichTextFonts, ArialResolvesAndANameTakesTheInstalledSpelling) {
    LFormattedText t;
    t.SetFont(0, "liberation  sans");
    EXPECT_STREQ(t.GetFontInTable(0), "Liberation Sans");
    t.SetFont(1, "No Such Font Anywhere");
    EXPECT_STREQ(t.GetFontInTable(1), "No Such Font Anywhere");

    // Arial is found through its substitute, a missing font through the
    // font library's choice: both measure as real text.
    for (const char* face : {"Arial", "No Such Font Anywhere"}) {
        LArray<float> offsets;
        GetDefaultMeasurer()->MeasureRun(LFontAttributes(face, 24, 0), "Hello", 5, offsets);
        EXPECT_GT(offsets[5], 40) << face;
        EXPECT_GT(offsets[1], 0) << face;
        EXPECT_GT(GetDefaultMeasurer()->GetMetrics(LFontAttributes(face, 24, 0)).ascent, 15);
    }
}

TEST(TextEditUI, TypingDeletingAndWrappingKeepWholeCharacters) {
    LTextEditUI edit(true);
    edit.rect = LBoundingBox2T<float>(0, 0, 120, 100);
    edit.SetText("one two three four");
    edit.AddCharacter(0x20AC);
    EXPECT_STREQ(edit.text.Get(), "one two three four\xE2\x82\xAC");
    EXPECT_EQ(edit.caretIndex, 21u);
    edit.MoveCaretLeft(true);
    edit.AddCharacter('!');
    EXPECT_STREQ(edit.text.Get(), "one two three four!");
    edit.DeleteText(true);
    edit.caretIndex = 0;
    edit.DeleteText(false);
    EXPECT_STREQ(edit.text.Get(), "ne two three four");

    LSizedArray<int> starts;
    edit.GetLineIndices(starts);
    EXPECT_GT(starts.GetSize(), 1u);
    EXPECT_TRUE(edit.IsTextWrapped());
    // The caret's point and a click there name the same place.
    for (unsigned long i : {0ul, 5ul, static_cast<unsigned long>(starts[1]) + 2})
    {
        const LPointTemplate<float> p = edit.IndexToXY(i);
        EXPECT_EQ(edit.XYToIndex(LPointTemplate<float>(p.x + 0.5f, p.y + 2)), i);
    }
}

namespace {

void KeepPicture(LPaintSurfaceImage& surface, const char* name) {
    const char* folder = std::getenv("KV_PAINT_ORACLE_OUTPUT");
    if (!folder)
        return;
    std::filesystem::create_directories(folder);
    surface.Flush();
    cairo_surface_write_to_png(surface.GetTarget(), (std::string(folder) + "/" + name).c_str());
}

} // namespace

TEST(RichTextPicture, TheEditorsDrawTheirRunsSelectionsAndCarets) {
    LRichTextArea area;
    area.SetWidthLimit(300);
    LRichTextEditor editor(area);
    editor.AddString("Korvane rich text, centred and wrapped at 300\nbold and big");
    area.SetBold(true, 46, 50);
    area.SetFontSize(40, 55, 58);
    area.SetColor(LGuiColor::FromBytes(200, 0, 0), 0, 7);
    area.SetUnderline(true, 13, 17);
    editor.UpdateText();
    editor.SetOrigin(10, 10);
    LPaintSurfaceImage surface(320, 200);
    LPaintSurface::Clear(surface.context, LGuiColorAlpha(255, 255, 255, 255));
    editor.Paint(surface.context);

    LTextEditUI plain(true);
    plain.rect = LBoundingBox2T<float>(10, 130, 310, 190);
    plain.SetFont("Liberation Serif", 18, false, true, false, LAlignmentXRight);
    plain.SetText("Plain text wraps in its box, right aligned");
    plain.selectionStart = 6;
    plain.selectionEnd = 10;
    plain.Paint(surface.context);
    KeepPicture(surface, "rich_text_editors.png");

    // Red in the first word, whose line is centred in the 300 wide area.
    int reddest = -1;
    for (int x = 0; x < 320; ++x)
        for (int y = 10; y < 40; ++y) {
            const LPixelColour p = surface.GetPixel(x, y);
            if (p.red > 150 && p.green < 80 && reddest < 0)
                reddest = x;
        }
    EXPECT_GT(reddest, 20);
    const LRichTextPosition caret = area.FindPosition(area.GetStringLength());
    EXPECT_EQ(caret.line, 2u);
    EXPECT_GT(caret.height, 40);
    // The plain selection is shaded grey behind the text.
    const LPointTemplate<float> sel = plain.IndexToXY(7);
    const LPixelColour shade = surface.GetPixel(static_cast<int>(sel.x), static_cast<int>(sel.y) + 2);
    EXPECT_EQ(shade.red, 0xC0);
}

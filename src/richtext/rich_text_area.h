#pragma once
// A formatted text with its layout: the editing operations that keep the
// format commands in step with the string, and the lines and runs the text
// sets into.

#include "foundation/array.h"
#include "foundation/geometry.h"
#include "richtext/formatted_text.h"
#include "richtext/text_measurer.h"

// A run of one format on one line. `x`, `y` are its top left; it stands on
// its line's baseline, which the tallest run of the line sets.
struct LRichTextAreaSegment {
    unsigned long start = 0;
    unsigned long length = 0;
    float x = 0;
    float y = 0;
    float width = 0;
    float ascent = 0;
    float height = 0;
    // The font size of the run, before the area's scale.
    int size = 0;
    unsigned long line = 0;
    LFormattedTextState state;

    unsigned long GetEnd() const { return start + length; }
};

struct LRichTextAreaLine {
    float top = 0;
    float height = 0;
    float baseline = 0;
    // Up to the end of the last word, trailing blanks left out.
    float width = 0;
    unsigned long firstSegment = 0;
    unsigned long segmentCount = 0;
};

// Where the caret of an index stands: its top, x and height.
struct LRichTextPosition {
    float x = 0;
    float y = 0;
    float height = 0;
    unsigned long line = 0;
};

class LRichTextArea {
public:
    int alignmentX = LAlignmentXCentre;
    int alignmentY = LAlignmentYMiddle;

    // "Arial", black, 24 units, plain: the format of a new text.
    LRichTextArea();

    const LFormattedText& GetText() const { return text; }
    // The whole model at once (a text read from a file), made valid UTF-8.
    void SetText(const LFormattedText& t);
    unsigned long GetStringLength() const { return text.GetLength(); }

    // Replaces [start, start + length) by `s` (null: nothing). Indexes that
    // fall inside a character are widened to the whole character, and broken
    // UTF-8 goes in as replacement characters.
    void AlterText(unsigned long start, unsigned long length, const char* s);
    // The same with a formatted text, whose format goes in with it; the text
    // after it keeps its own. Returns the byte length put in.
    unsigned long AlterText(unsigned long start, unsigned long length,
                            const LFormattedText* formatted);
    LFormattedText GetFormattedText(unsigned long start, unsigned long end) const;

    LFormattedTextState GetState(unsigned long index) const { return text.GetState(index); }
    LFormattedTextState GetStartState() const { return text.GetState(0); }
    LFormattedTextStateIndependent GetStateIndependent(unsigned long index) const;

    // Puts a format on [start, end); the text after it keeps its own.
    void SetState(const LFormattedTextStateIndependent* state, unsigned long start,
                  unsigned long end);
    void SetBold(bool value, unsigned long start, unsigned long end);
    void SetItalic(bool value, unsigned long start, unsigned long end);
    void SetUnderline(bool value, unsigned long start, unsigned long end);
    void SetColor(const LGuiColor& value, unsigned long start, unsigned long end);
    void SetFontSize(int value, unsigned long start, unsigned long end);
    void SetFontName(const char* value, unsigned long start, unsigned long end);
    void RemoveCommands(unsigned long start, unsigned long end);

    float GetScale() const { return scale; }
    void SetScale(float s);
    // Lines wrap at this width; -1: only at line feeds.
    float GetWidthLimit() const { return widthLimit; }
    void SetWidthLimit(float width);
    void SetMeasurer(const LTextMeasurer* m);
    void SetLayoutDirty() { layoutDirty = true; }

    // Lays the text out, wrapping at `width` (0 or less: no limit) and
    // aligning in a box of `height` (0 or less: from the top).
    void FindSegments(float width, float height) const;
    // The layout for the area's width limit, made when stale.
    const LArray<LRichTextAreaSegment>& GetSegments() const;
    const LArray<LRichTextAreaLine>& GetLines() const;
    // The box of the laid-out text.
    LBoundingBox2T<float> GetLayoutBounds() const;

    // The character boundary nearest a point; -1 without a layout.
    long FindIndex(LPointTemplate<float> point) const;
    unsigned long FindIndex(float x, const LRichTextAreaSegment& segment) const;
    LRichTextPosition FindPosition(unsigned long index) const;
    // The run an index falls in (null without a layout).
    const LRichTextAreaSegment* GetSegment(unsigned long index) const;
    float GetAlignmentOffset(float lineWidth) const;
    // An empty run in the format at the end of the text: the place of the
    // caret on a line that holds nothing yet.
    LRichTextAreaSegment CreateDummyLine(float x, float y) const;

    // The font a state sets in, at the area's scale.
    LFontAttributes GetFontAttributes(const LFormattedTextState& state) const;

private:
    void SetKind(int kind, int value, unsigned long start, unsigned long end);
    // Widens [start, end) to whole characters within the text.
    void Snap(unsigned long& start, unsigned long& end) const;
    LTextFontMetrics GetMetrics(const LFormattedTextState& state) const;

    LFormattedText text;
    float scale = 1.0f;
    const LTextMeasurer* measurer;
    mutable bool layoutDirty = true;
    mutable LArray<LRichTextAreaSegment> segments;
    mutable LArray<LRichTextAreaLine> lines;
    mutable float layoutWidth = 0;
    float widthLimit = -1;
};

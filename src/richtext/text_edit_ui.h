#pragma once
// The editor of plain text: one string in a box, one font, a caret and a
// selection. Lines wrap at the box's width at blanks, and at line feeds, as
// the paint surface wraps a text in a box, so that what is edited stands
// where the element draws it.

#include <functional>

#include "foundation/array.h"
#include "foundation/geometry.h"
#include "foundation/paint_surface.h"
#include "foundation/string.h"
#include "richtext/rich_text_editor.h"

class LTextEditUI {
public:
    // `showCaret`: the caret is drawn. `lineScroll`: kept for the owner, which
    // scrolls by lines when set.
    explicit LTextEditUI(bool showCaret, bool lineScroll = false);

    bool lineScroll;
    LGuiColorAlpha textColor{0, 0, 0, 255};
    LGuiColorAlpha selectionColor{0xC0, 0xC0, 0xC0, 255};
    // A byte index, always between two characters.
    unsigned long caretIndex = 0;
    char fontName[kLFixedStringSize] = "Arial";
    float fontSize = 20;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    LAlignmentX alignment = LAlignmentXLeft;
    // -1 each for none.
    long selectionStart = -1;
    long selectionEnd = -1;
    unsigned int caretTimer = kLTextEditCaretBlinkMs;
    bool caretVisible = true;
    LStringLong text;
    LBoundingBox2T<float> rect;
    bool showCaret;
    float scale = 1.0f;
    // Told whenever the layout is stale (the text, the font, the caret changed).
    std::function<void()> layoutCallback;

    // Broken UTF-8 goes in as replacement characters; the caret goes to the
    // end, the selection away.
    void SetText(const char* s);
    void SetFont(const char* face, float size, bool isBold, bool isItalic, bool isUnderline,
                 LAlignmentX align = LAlignmentXLeft);
    // A character by its code point; it replaces the selection if any.
    void AddCharacter(unsigned int codePoint);
    void DeleteText(bool backward);
    void MoveCaretLeft(bool extend);
    void MoveCaretRight(bool extend);
    // To the same x on the line above or below; it stays on the first or last.
    void MoveCaretVertical(bool up, bool extend);
    bool HasSelection() const { return selectionStart >= 0 && selectionEnd > selectionStart; }

    void Paint(LPaintContext& context) const;
    void DrawSelection(LPaintContext& context) const;
    void UpdateCaret(LPaintContext& context) const;
    // The top left of the caret at an index, and the index nearest a point.
    LPointTemplate<float> IndexToXY(unsigned long index) const;
    unsigned long XYToIndex(LPointTemplate<float> point) const;
    // The byte index of each line start.
    void GetLineIndices(LSizedArray<int>& starts) const;
    // The lines as the box breaks them, without their line feeds.
    void GetTextLines(LArray<LStringLong>& lines) const;
    float MeasureTrueTextWidth(const char* s, unsigned long length) const;
    // More lines than line feeds make.
    bool IsTextWrapped() const;
    float GetLineHeight() const;

    void tmntfTimer();

private:
    LFontAttributes GetFont() const;
    void GetStarts(LArray<unsigned long>& starts) const;
    unsigned long LineOf(const LArray<unsigned long>& starts, unsigned long index) const;
    // The end of a line, its line feed left out.
    unsigned long LineEnd(const LArray<unsigned long>& starts, unsigned long line) const;
    float LineLeft(unsigned long start, unsigned long end) const;
    void SetCaret(unsigned long index, bool extend);
    void ReplaceSelection(const char* s, unsigned long n);
    void LayoutStale() const;
};

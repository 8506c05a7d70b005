#pragma once
// A caret and a selection on a rich text area, driven by keys and the mouse,
// and the keys both text editors share.

#include "foundation/geometry.h"
#include "foundation/paint_surface.h"
#include "richtext/rich_text_area.h"

// A key as the editors receive it: the key's code in the top byte, the
// modifiers held below it.
using LKey = unsigned long;

constexpr LKey kLKeyCodeMask = 0xFF000000;
constexpr LKey kLKeyCommand = 0x00010000;
constexpr LKey kLKeyShift = 0x00020000;

constexpr LKey kLKeyReturn = 0x24000000;
constexpr LKey kLKeyBackspace = 0x33000000;
constexpr LKey kLKeyForwardDelete = 0x75000000;
constexpr LKey kLKeyLeft = 0x7B000000;
constexpr LKey kLKeyRight = 0x7C000000;
constexpr LKey kLKeyDown = 0x7D000000;
constexpr LKey kLKeyUp = 0x7E000000;
constexpr LKey kLKeyHome = 0x73000000;
constexpr LKey kLKeyEnd = 0x77000000;

// How often the carets blink. The plain editor's is a little slower, as it
// always was; the two are not meant to agree.
constexpr unsigned int kLRichTextCaretBlinkMs = 500;
constexpr unsigned int kLTextEditCaretBlinkMs = 530;

// No selection: the caret alone.
constexpr unsigned long kLNoAnchor = static_cast<unsigned long>(-1);

class LRichTextEditor;

// What the editor asks of the window it sits in.
class LRichTextEditorOwner {
public:
    virtual ~LRichTextEditorOwner() = default;
    // The text or its format changed.
    virtual void EvRichTextChanged(LRichTextEditor& editor) = 0;
    // The caret, the selection or the text must be drawn again.
    virtual void EvRichTextRepaint(LRichTextEditor& editor) = 0;
    // The clipboard's text for a paste; false when it holds none.
    virtual bool GetClipboardText(LFormattedText&) { return false; }
};

class LRichTextEditor {
public:
    // The area must outlive the editor.
    explicit LRichTextEditor(LRichTextArea& area, LRichTextEditorOwner* owner = nullptr);

    LRichTextArea& GetArea() const { return area; }
    void SetOwner(LRichTextEditorOwner* o) { owner = o; }
    // Where the area's top left stands.
    void SetOrigin(float ox, float oy) {
        x = ox;
        y = oy;
    }
    unsigned long GetCursor() const { return cursor; }
    unsigned long GetAnchor() const { return anchor; }
    bool IsCaretVisible() const { return caretVisible; }
    // How long the owner waits before it calls tmntfTimer(), in milliseconds.
    unsigned int GetCaretTimer() const { return caretTimer; }
    // A format held for the next characters typed.
    bool HasPendingState() const { return hasPending; }
    const LFormattedTextStateIndependent& GetPendingState() const { return pending; }
    void SetPendingState(const LFormattedTextStateIndependent& state);

    // Typing: replaces the selection (or goes in at the caret).
    void AddString(const char* text);
    void AddFormattedText(const LFormattedText* text);
    void DeleteText(bool backward);
    LFormattedText Copy() const;
    // The owner's clipboard text at the caret; false with none.
    bool Paste();
    void SelectAll();
    void GetSelection(unsigned long* start, unsigned long* end) const;
    // The font of the selection, or of what is typed next.
    void SetFont(const char* name);

    void MoveCursor(LPointTemplate<float> point, bool extend);
    void MoveCursorLeft(bool extend);
    void MoveCursorRight(bool extend);
    void MoveCursorUp(bool extend);
    void MoveCursorDown(bool extend);
    void MoveCursorHome(bool extend);
    void MoveCursorEnd(bool extend);
    void MoveCursorFirst(bool extend);
    void MoveCursorLast(bool extend);

    // False for a key the editor does not take.
    bool EvKeyDown(LKey key);
    void EvLButtonDown(LPointTemplate<float> point, bool shift = false);
    void EvMouseMove(LPointTemplate<float> point);
    void EvLButtonUp() { mouseDown = false; }

    // The selection, the text and the caret, at the origin.
    void Paint(LPaintContext& context) const;
    LBoundingBox2T<float> GetBounds() const;
    // The area's layout is stale.
    void UpdateText() const;
    unsigned long LocateAdjacentVerticalIndex(unsigned long index, float atX, bool up) const;
    unsigned long GetPreviousIndex(unsigned long index) const;
    unsigned long GetNextIndex(unsigned long index) const;

    // The caret blinks: the owner calls this when the caret timer runs out.
    void tmntfTimer();

private:
    // Puts the caret at `index`; `extend` keeps (or starts) the selection.
    void MoveTo(unsigned long index, bool extend, bool keepColumn = false);
    float GetColumn();
    void Changed();
    void Repaint();

    LRichTextArea& area;
    float x = 0;
    float y = 0;
    unsigned long cursor = 0;
    unsigned long anchor = kLNoAnchor;
    bool caretMoved = false;
    bool mouseDown = false;
    // The column kept by up and down; stale when the caret moved otherwise,
    // and found again only when a line move needs it.
    float verticalX = 0;
    bool columnStale = true;
    unsigned int caretTimer = kLRichTextCaretBlinkMs;
    bool caretVisible = true;
    LFormattedTextStateIndependent pending;
    bool hasPending = false;
    LRichTextEditorOwner* owner;
};

// Draws the runs of an area with their tops at `origin`; the rich text
// editor's and the rich text element's drawing both go through it.
void LRichTextPaintRuns(LPaintContext& context, const LRichTextArea& area,
                        LPointTemplate<float> origin);

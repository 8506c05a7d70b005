#pragma once
// The model of rich text: a UTF-8 string with a sorted run of format
// commands and the font and colour tables they point into. Indexes are byte
// indexes into the string.

#include "foundation/array.h"
#include "foundation/color.h"
#include "foundation/list.h"
#include "foundation/string.h"
#include "foundation/text_format.h"

enum LTextFormatKind : int {
    LTextFormatFont = 0,
    LTextFormatSize = 1,
    LTextFormatColor = 2,
    LTextFormatBold = 3,
    LTextFormatItalic = 4,
    LTextFormatUnderline = 5,
};
constexpr int kLTextFormatKindCount = 6;

// A new text's format: the first font and colour of its tables, 24 units.
constexpr int kLRichTextDefaultSize = 24;

// Takes effect from its index up to the next command of its kind.
struct LTextFormatCommand : LListLink<LTextFormatCommand> {
    int kind = 0;
    unsigned long index = 0;
    int value = 0;

    LTextFormatCommand() = default;
    LTextFormatCommand(int k, unsigned long i, int v) : kind(k), index(i), value(v) {}
};

// The six values in force at a position, by kind.
struct LFormattedTextState {
    int values[kLTextFormatKindCount] = {0, kLRichTextDefaultSize, 0, 0, 0, 0};

    int& operator[](int kind) { return values[kind]; }
    int operator[](int kind) const { return values[kind]; }
    bool operator==(const LFormattedTextState& o) const;
};

// A state that stands apart from the tables of any one text: the font by
// name, the colour spelled out, and the two alignments of an area.
struct LFormattedTextStateIndependent {
    char fontName[kLFixedStringSize] = "Arial";
    int size = kLRichTextDefaultSize;
    LGuiColor color;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    int alignmentX = LAlignmentXCentre;
    int alignmentY = LAlignmentYMiddle;
};

struct LFontName {
    char name[kLFixedStringSize] = {};
};

// UTF-8 helpers. Every edit goes through them, so that no edit ever leaves a
// sequence cut in two.
//
// The length of the sequence a lead byte opens, by the old six-byte scheme,
// so that a stray byte still counts as one.
unsigned long LUtf8SequenceLength(unsigned char lead);
// Whether `index` falls between two characters (the ends count).
bool LUtf8IsBoundary(const char* text, unsigned long length, unsigned long index);
// The start of the character `index` falls in.
unsigned long LUtf8Floor(const char* text, unsigned long length, unsigned long index);
// The first character boundary at or after `index`, at most `length`.
unsigned long LUtf8Ceil(const char* text, unsigned long length, unsigned long index);
// The boundary after the character that starts at `index`.
unsigned long LUtf8Next(const char* text, unsigned long length, unsigned long index);
// The boundary before `index`: 0 stays 0.
unsigned long LUtf8Previous(const char* text, unsigned long length, unsigned long index);
bool LUtf8IsValid(const char* text, unsigned long length);
// Each byte that opens no valid sequence becomes U+FFFD. `map`, when given,
// receives for each input index (and the end) its index in the output.
LStringLong LUtf8MakeValid(const char* text, unsigned long length,
                           LArray<unsigned long>* map = nullptr);

class LFormattedText {
public:
    LFormattedText() = default;
    LFormattedText(const LFormattedText& o);
    LFormattedText& operator=(const LFormattedText& o);
    LFormattedText(LFormattedText&&) noexcept = default;
    LFormattedText& operator=(LFormattedText&&) noexcept = default;

    const LStringLong& GetText() const { return text; }
    unsigned long GetLength() const { return text.GetLength(); }
    // The string alone; the commands are left as they are.
    void SetText(const char* s) { text.Set(s); }
    void SetText(const char* s, unsigned long n) { text.Set(s, n); }
    LStringLong& Text() { return text; }

    const LList<LTextFormatCommand>& GetFormats() const { return formats; }
    LList<LTextFormatCommand>& Formats() { return formats; }

    // Table indexes; an absent entry is added, so these never fail.
    unsigned long LocateFont(const char* name);
    unsigned long LocateColor(const LGuiColor& color);
    // Puts a name in the table, in the installed font's own spelling when one
    // matches; a name not installed stays as it is.
    void SetFont(unsigned long index, const char* name);
    void SetColor(unsigned long index, const LGuiColor& color);
    // "" and black for an index outside the table (a command read from a
    // file may point anywhere).
    const char* GetFontInTable(unsigned long index) const;
    LGuiColor GetColorInTable(unsigned long index) const;
    unsigned long GetFontCount() const { return fonts.GetCount(); }
    unsigned long GetColorCount() const { return colors.GetCount(); }

    // Goes in after every command at its index or lower.
    void InsertFormat(unsigned long index, int kind, int value);
    // At the end of the text.
    void AppendFormat(int kind, int value);
    // The six commands of a state, at one index.
    void InsertState(unsigned long index, const LFormattedTextState& state);
    // Commands with start <= index < end, of one kind or (-1) of all.
    void RemoveCommands(unsigned long start, unsigned long end, int kind = -1);

    // The state in force at `index`: every command at or before it applied.
    LFormattedTextState GetState(unsigned long index) const;
    LFormattedTextStateIndependent GetStateIndependent(const LFormattedTextState& s) const;

    // Broken UTF-8 (from a file, a paste) becomes replacement characters,
    // with the commands moved along so that each keeps its character.
    void MakeValid();

private:
    LStringLong text;
    LList<LTextFormatCommand> formats;
    LArray<LFontName> fonts;
    LArray<LGuiColor> colors;
};

// Applies each command at the iterator's index to `state`, by kind, and
// moves the iterator past them.
class LFormattedTextFormatRangeIterator;
void GetFormat(LFormattedTextFormatRangeIterator& it, LFormattedTextState& state);

// Walks a text in ranges of one format: [GetStart(), GetEnd()) in GetState().
class LFormattedTextFormatRangeIterator {
public:
    explicit LFormattedTextFormatRangeIterator(const LFormattedText& text);

    bool IsValid() const { return start < text.GetLength(); }
    unsigned long GetStart() const { return start; }
    unsigned long GetEnd() const { return end; }
    const LFormattedTextState& GetState() const { return state; }
    void Next();
    // The next command not yet applied (null past the last).
    const LTextFormatCommand* FetchNextFormatCommand() const { return pending; }

private:
    friend void GetFormat(LFormattedTextFormatRangeIterator&, LFormattedTextState&);
    void FindEnd();

    const LFormattedText& text;
    const LTextFormatCommand* pending;
    unsigned long start = 0;
    unsigned long end = 0;
    LFormattedTextState state;
};

// Walks a text one UTF-8 character at a time.
class LFormattedTextCharIterator {
public:
    LFormattedTextCharIterator(const LFormattedText& t, unsigned long at = 0)
        : text(t.GetText().Get()), length(t.GetLength()), index(at) {}
    bool IsValid() const { return index < length; }
    unsigned long GetIndex() const { return index; }
    unsigned long GetNextIndex() const { return LUtf8Next(text, length, index); }
    void Next() { index = GetNextIndex(); }

private:
    const char* text;
    unsigned long length;
    unsigned long index;
};

// The installed font's own spelling of a family name, or false when no
// installed family is called so (letter case and spaces aside).
bool LFindInstalledFontName(const char* name, char (&spelling)[kLFixedStringSize]);

#include "richtext/formatted_text.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cstring>

bool LFormattedTextState::operator==(const LFormattedTextState& o) const {
    return std::equal(values, values + kLTextFormatKindCount, o.values);
}

// --- UTF-8 ---

unsigned long LUtf8SequenceLength(unsigned char lead) {
    if (lead < 0xC0)
        return 1;
    if (lead < 0xE0)
        return 2;
    if (lead < 0xF0)
        return 3;
    if (lead < 0xF8)
        return 4;
    if (lead < 0xFC)
        return 5;
    return 6;
}

namespace {

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The length of a valid sequence at `s` (at most `n` bytes), 0 if none.
unsigned long ValidSequence(const unsigned char* s, unsigned long n) {
    const unsigned char c = s[0];
    if (c < 0x80)
        return 1;
    unsigned long len;
    unsigned long min;
    if (c >= 0xC2 && c < 0xE0) {
        len = 2;
        min = 0x80;
    } else if (c >= 0xE0 && c < 0xF0) {
        len = 3;
        min = 0x800;
    } else if (c >= 0xF0 && c < 0xF5) {
        len = 4;
        min = 0x10000;
    } else {
        return 0;
    }
    if (n < len)
        return 0;
    unsigned long code = c & (0x7F >> len);
    for (unsigned long i = 1; i < len; ++i) {
        if ((s[i] & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (s[i] & 0x3F);
    }
    if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return 0;
    return len;
}

} // namespace

bool LUtf8IsBoundary(const char* text, unsigned long length, unsigned long index) {
    return index == 0 || index >= length || !IsContinuation(text[index]);
}

unsigned long LUtf8Floor(const char* text, unsigned long length, unsigned long index) {
    index = std::min(index, length);
    // A valid text has at most three continuation bytes in a row; a broken
    // one is not walked further than that.
    for (int i = 0; i < 3 && !LUtf8IsBoundary(text, length, index); ++i)
        --index;
    return index;
}

unsigned long LUtf8Ceil(const char* text, unsigned long length, unsigned long index) {
    if (index >= length)
        return length;
    for (int i = 0; i < 3 && !LUtf8IsBoundary(text, length, index); ++i)
        ++index;
    return index;
}

unsigned long LUtf8Next(const char* text, unsigned long length, unsigned long index) {
    if (index >= length)
        return length;
    const unsigned long n = LUtf8SequenceLength(static_cast<unsigned char>(text[index]));
    unsigned long next = index + 1;
    // The lead byte's length, but never past a byte that starts a character.
    while (next < length && next < index + n && IsContinuation(text[next]))
        ++next;
    return next;
}

unsigned long LUtf8Previous(const char* text, unsigned long length, unsigned long index) {
    if (index == 0)
        return 0;
    return LUtf8Floor(text, length, std::min(index, length) - 1);
}

bool LUtf8IsValid(const char* text, unsigned long length) {
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    for (unsigned long i = 0; i < length;) {
        const unsigned long n = ValidSequence(s + i, length - i);
        if (!n)
            return false;
        i += n;
    }
    return true;
}

LStringLong LUtf8MakeValid(const char* text, unsigned long length, LArray<unsigned long>* map) {
    static const char kReplacement[] = "\xEF\xBF\xBD";
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    LStringLong out;
    if (map)
        map->SetCount(length + 1);
    for (unsigned long i = 0; i < length;) {
        unsigned long n = ValidSequence(s + i, length - i);
        if (map)
            for (unsigned long k = 0; k < std::max(n, 1ul); ++k)
                (*map)[i + k] = out.GetLength();
        if (n) {
            out.Append(text + i, n);
            i += n;
        } else {
            out.Append(kReplacement, 3);
            ++i;
        }
    }
    if (map)
        (*map)[length] = out.GetLength();
    return out;
}

// --- LFormattedText ---

LFormattedText::LFormattedText(const LFormattedText& o)
    : text(o.text), fonts(o.fonts), colors(o.colors) {
    for (const LTextFormatCommand& c : o.formats)
        formats.PushBack(new LTextFormatCommand(c.kind, c.index, c.value));
}

LFormattedText& LFormattedText::operator=(const LFormattedText& o) {
    if (this != &o) {
        LFormattedText copy(o);
        *this = std::move(copy);
    }
    return *this;
}

unsigned long LFormattedText::LocateFont(const char* name) {
    const char* n = name ? name : "";
    for (unsigned long i = 0; i < fonts.GetCount(); ++i)
        if (std::strncmp(fonts[i].name, n, kLFixedStringSize - 1) == 0)
            return i;
    LFontName entry;
    LStrCopy(entry.name, n);
    return fonts.Add(entry);
}

unsigned long LFormattedText::LocateColor(const LGuiColor& color) {
    for (unsigned long i = 0; i < colors.GetCount(); ++i)
        if (colors[i] == color)
            return i;
    return colors.Add(color);
}

void LFormattedText::SetFont(unsigned long index, const char* name) {
    if (index >= fonts.GetCount())
        fonts.SetCount(index + 1);
    if (!LFindInstalledFontName(name, fonts[index].name))
        LStrCopy(fonts[index].name, name);
}

void LFormattedText::SetColor(unsigned long index, const LGuiColor& color) {
    if (index >= colors.GetCount())
        colors.SetCount(index + 1);
    colors[index] = color;
}

const char* LFormattedText::GetFontInTable(unsigned long index) const {
    return index < fonts.GetCount() ? fonts[index].name : "";
}

LGuiColor LFormattedText::GetColorInTable(unsigned long index) const {
    return index < colors.GetCount() ? colors[index] : LGuiColor();
}

void LFormattedText::InsertFormat(unsigned long index, int kind, int value) {
    // Searched from the end: typing and appending put commands there.
    LTextFormatCommand* after = formats.GetLast();
    while (after && after->index > index)
        after = formats.GetPrevious(after);
    auto* command = new LTextFormatCommand(kind, index, value);
    if (!after)
        formats.PushFront(command);
    else
        formats.InsertAfter(command, after);
}

void LFormattedText::AppendFormat(int kind, int value) { InsertFormat(GetLength(), kind, value); }

void LFormattedText::InsertState(unsigned long index, const LFormattedTextState& state) {
    for (int kind = 0; kind < kLTextFormatKindCount; ++kind)
        InsertFormat(index, kind, state[kind]);
}

void LFormattedText::RemoveCommands(unsigned long start, unsigned long end, int kind) {
    for (LTextFormatCommand* c = formats.GetFirst(); c && c->index < end;) {
        LTextFormatCommand* next = c->GetNext();
        if (c->index >= start && (kind < 0 || c->kind == kind))
            delete formats.Remove(c);
        c = next;
    }
}

LFormattedTextState LFormattedText::GetState(unsigned long index) const {
    LFormattedTextState state;
    for (const LTextFormatCommand* c = formats.GetFirst(); c && c->index <= index; c = c->GetNext())
        if (c->kind >= 0 && c->kind < kLTextFormatKindCount)
            state[c->kind] = c->value;
    return state;
}

LFormattedTextStateIndependent LFormattedText::GetStateIndependent(
    const LFormattedTextState& s) const {
    LFormattedTextStateIndependent out;
    LStrCopy(out.fontName, GetFontInTable(static_cast<unsigned long>(s[LTextFormatFont])));
    out.size = s[LTextFormatSize];
    out.color = GetColorInTable(static_cast<unsigned long>(s[LTextFormatColor]));
    out.bold = s[LTextFormatBold] != 0;
    out.italic = s[LTextFormatItalic] != 0;
    out.underline = s[LTextFormatUnderline] != 0;
    return out;
}

void LFormattedText::MakeValid() {
    if (LUtf8IsValid(text.Get(), text.GetLength()))
        return;
    LArray<unsigned long> map;
    LStringLong valid = LUtf8MakeValid(text.Get(), text.GetLength(), &map);
    for (LTextFormatCommand& c : formats)
        c.index = map[std::min(c.index, text.GetLength())];
    text = std::move(valid);
}

// --- Iterators ---

LFormattedTextFormatRangeIterator::LFormattedTextFormatRangeIterator(const LFormattedText& t)
    : text(t), pending(t.GetFormats().GetFirst()) {
    GetFormat(*this, state);
    FindEnd();
}

void LFormattedTextFormatRangeIterator::FindEnd() {
    // Every command at or before `start` is applied, so the next one lies
    // beyond it.
    end = pending ? std::min(pending->index, text.GetLength()) : text.GetLength();
}

void LFormattedTextFormatRangeIterator::Next() {
    start = end;
    GetFormat(*this, state);
    FindEnd();
}

void GetFormat(LFormattedTextFormatRangeIterator& it, LFormattedTextState& state) {
    while (it.pending && it.pending->index <= it.start) {
        if (it.pending->kind >= 0 && it.pending->kind < kLTextFormatKindCount)
            state[it.pending->kind] = it.pending->value;
        it.pending = it.pending->GetNext();
    }
}

// --- Fonts ---

namespace {

// Family names compare as the font library compares them: letter case and
// blanks aside.
bool SameFamily(const char* a, const char* b) {
    for (;;) {
        while (*a == ' ')
            ++a;
        while (*b == ' ')
            ++b;
        if (!*a || !*b)
            return !*a && !*b;
        const char ca = (*a >= 'A' && *a <= 'Z') ? static_cast<char>(*a + 32) : *a;
        const char cb = (*b >= 'A' && *b <= 'Z') ? static_cast<char>(*b + 32) : *b;
        if (ca != cb)
            return false;
        ++a;
        ++b;
    }
}

} // namespace

bool LFindInstalledFontName(const char* name, char (&spelling)[kLFixedStringSize]) {
    if (!name || !*name)
        return false;
    FcPattern* pattern = FcPatternCreate();
    FcObjectSet* objects = FcObjectSetBuild(FC_FAMILY, nullptr);
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(name));
    FcFontSet* found = FcFontList(nullptr, pattern, objects);
    bool matched = false;
    // A font lists every family it belongs to; the one wanted is the one the
    // name spells, ignoring case and blanks as the font library does.
    for (int i = 0; found && i < found->nfont && !matched; ++i) {
        FcChar8* family = nullptr;
        for (int k = 0; FcPatternGetString(found->fonts[i], FC_FAMILY, k, &family) ==
                        FcResultMatch && !matched;
             ++k) {
            if (SameFamily(reinterpret_cast<const char*>(family), name)) {
                LStrCopy(spelling, reinterpret_cast<const char*>(family));
                matched = true;
            }
        }
    }
    if (found)
        FcFontSetDestroy(found);
    FcObjectSetDestroy(objects);
    FcPatternDestroy(pattern);
    return matched;
}

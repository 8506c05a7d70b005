#include "richtext/rich_text_area.h"

#include <algorithm>
#include <cstring>
#include <vector>

LRichTextArea::LRichTextArea() : measurer(GetDefaultMeasurer()) {
    LFormattedTextState start;
    start[LTextFormatFont] = static_cast<int>(text.LocateFont("Arial"));
    start[LTextFormatColor] = static_cast<int>(text.LocateColor(LGuiColor()));
    text.InsertState(0, start);
}

void LRichTextArea::SetText(const LFormattedText& t) {
    text = t;
    text.MakeValid();
    // A text from elsewhere may have its commands in any order, past its end
    // or inside a character: each goes to the start of its character, and
    // the list is sorted again, equal indexes keeping their order.
    const char* s = text.GetText().Get();
    const unsigned long n = text.GetLength();
    std::vector<LTextFormatCommand*> commands;
    while (LTextFormatCommand* c = text.Formats().PopFront()) {
        c->index = LUtf8Floor(s, n, c->index);
        commands.push_back(c);
    }
    std::stable_sort(commands.begin(), commands.end(),
                     [](const LTextFormatCommand* a, const LTextFormatCommand* b) {
                         return a->index < b->index;
                     });
    for (LTextFormatCommand* c : commands)
        text.Formats().PushBack(c);
    layoutDirty = true;
}

void LRichTextArea::Snap(unsigned long& start, unsigned long& end) const {
    const char* s = text.GetText().Get();
    const unsigned long n = text.GetLength();
    start = LUtf8Floor(s, n, std::min(start, n));
    end = LUtf8Ceil(s, n, std::clamp(end, start, n));
}

void LRichTextArea::AlterText(unsigned long start, unsigned long length, const char* s) {
    const unsigned long oldLength = text.GetLength();
    // The whole text goes when asked for from 0 to its end or beyond; the
    // commands at 0 then stay, so that the start format survives.
    const bool whole = start == 0 && length >= oldLength;
    unsigned long end = start > oldLength ? oldLength : start + std::min(length, oldLength - start);
    Snap(start, end);
    length = end - start;

    if (!s)
        s = "";
    LStringLong inserted;
    const unsigned long given = static_cast<unsigned long>(std::strlen(s));
    if (LUtf8IsValid(s, given))
        inserted.Set(s, given);
    else
        inserted = LUtf8MakeValid(s, given);

    text.RemoveCommands(whole ? 1 : start, end);
    const long delta = static_cast<long>(inserted.GetLength()) - static_cast<long>(length);
    const unsigned long from = std::max(start, 1ul);
    for (LTextFormatCommand& c : text.Formats()) {
        if (c.index < from)
            continue;
        // Only a first character replaced on its own leaves commands at 1
        // behind (the range's removal took the rest); they go to 0 with it.
        if (start == 0 && length != 0 && c.index == 1)
            c.index = 1 - std::min(length, 1ul);
        else
            c.index = static_cast<unsigned long>(static_cast<long>(c.index) + delta);
    }

    LStringLong rebuilt;
    rebuilt.Append(text.GetText().Get(), start);
    rebuilt.Append(inserted.Get(), inserted.GetLength());
    rebuilt.Append(text.GetText().Get() + end, oldLength - end);
    text.Text() = std::move(rebuilt);
    layoutDirty = true;
}

unsigned long LRichTextArea::AlterText(unsigned long start, unsigned long length,
                                       const LFormattedText* formatted) {
    if (!formatted) {
        AlterText(start, length, static_cast<const char*>(nullptr));
        return 0;
    }
    LFormattedText valid(*formatted);
    valid.MakeValid();
    const unsigned long before = text.GetLength();
    {
        unsigned long end = start > before ? before : start + std::min(length, before - start);
        Snap(start, end);
        length = end - start;
    }
    AlterText(start, length, valid.GetText().Get());
    const unsigned long added = text.GetLength() + length - before;

    // The format the text after the insert had, its own commands included.
    const LFormattedTextState old = text.GetState(start + added);
    for (const LTextFormatCommand& c : valid.GetFormats()) {
        if (c.index >= added)
            continue;
        int value = c.value;
        if (c.kind == LTextFormatFont)
            value = static_cast<int>(
                text.LocateFont(valid.GetFontInTable(static_cast<unsigned long>(c.value))));
        else if (c.kind == LTextFormatColor)
            value = static_cast<int>(
                text.LocateColor(valid.GetColorInTable(static_cast<unsigned long>(c.value))));
        text.InsertFormat(start + c.index, c.kind, value);
    }
    // The text after the insert keeps the format it had.
    if (start + added < text.GetLength())
        text.InsertState(start + added, old);
    layoutDirty = true;
    return added;
}

LFormattedText LRichTextArea::GetFormattedText(unsigned long start, unsigned long end) const {
    Snap(start, end);
    LFormattedText out;
    out.SetText(text.GetText().Get() + start, end - start);
    auto mapped = [&](int kind, int value) {
        if (kind == LTextFormatFont)
            return static_cast<int>(
                out.LocateFont(text.GetFontInTable(static_cast<unsigned long>(value))));
        if (kind == LTextFormatColor)
            return static_cast<int>(
                out.LocateColor(text.GetColorInTable(static_cast<unsigned long>(value))));
        return value;
    };
    const LFormattedTextState state = text.GetState(start);
    for (int kind = 0; kind < kLTextFormatKindCount; ++kind)
        out.InsertFormat(0, kind, mapped(kind, state[kind]));
    // Those at `start` are in the state already.
    for (const LTextFormatCommand& c : text.GetFormats())
        if (c.index > start && c.index < end)
            out.InsertFormat(c.index - start, c.kind, mapped(c.kind, c.value));
    return out;
}

LFormattedTextStateIndependent LRichTextArea::GetStateIndependent(unsigned long index) const {
    LFormattedTextStateIndependent s = text.GetStateIndependent(text.GetState(index));
    s.alignmentX = alignmentX;
    s.alignmentY = alignmentY;
    return s;
}

void LRichTextArea::SetState(const LFormattedTextStateIndependent* state, unsigned long start,
                             unsigned long end) {
    if (!state)
        return;
    Snap(start, end);
    LFormattedTextState s;
    s[LTextFormatFont] = static_cast<int>(text.LocateFont(state->fontName));
    s[LTextFormatSize] = state->size;
    s[LTextFormatColor] = static_cast<int>(text.LocateColor(state->color));
    s[LTextFormatBold] = state->bold;
    s[LTextFormatItalic] = state->italic;
    s[LTextFormatUnderline] = state->underline;
    if (start == 0 && end >= text.GetLength()) {
        text.Formats().DeleteAll();
    } else if (start < end) {
        // The text after the range keeps its format; within the range only
        // the new one counts.
        if (end < text.GetLength())
            text.InsertState(end, text.GetState(end));
        text.RemoveCommands(start, end);
    } else {
        return;
    }
    text.InsertState(start, s);
    alignmentX = state->alignmentX;
    alignmentY = state->alignmentY;
    layoutDirty = true;
}

void LRichTextArea::SetKind(int kind, int value, unsigned long start, unsigned long end) {
    Snap(start, end);
    if (start == 0 && end >= text.GetLength()) {
        text.RemoveCommands(0, text.GetLength() + 1, kind);
    } else if (start < end) {
        if (end < text.GetLength())
            text.InsertFormat(end, kind, text.GetState(end)[kind]);
        text.RemoveCommands(start, end, kind);
    } else {
        return;
    }
    text.InsertFormat(start, kind, value);
    layoutDirty = true;
}

void LRichTextArea::SetBold(bool v, unsigned long start, unsigned long end) {
    SetKind(LTextFormatBold, v, start, end);
}
void LRichTextArea::SetItalic(bool v, unsigned long start, unsigned long end) {
    SetKind(LTextFormatItalic, v, start, end);
}
void LRichTextArea::SetUnderline(bool v, unsigned long start, unsigned long end) {
    SetKind(LTextFormatUnderline, v, start, end);
}
void LRichTextArea::SetColor(const LGuiColor& v, unsigned long start, unsigned long end) {
    SetKind(LTextFormatColor, static_cast<int>(text.LocateColor(v)), start, end);
}
void LRichTextArea::SetFontSize(int v, unsigned long start, unsigned long end) {
    SetKind(LTextFormatSize, v, start, end);
}
void LRichTextArea::SetFontName(const char* v, unsigned long start, unsigned long end) {
    SetKind(LTextFormatFont, static_cast<int>(text.LocateFont(v)), start, end);
}

void LRichTextArea::RemoveCommands(unsigned long start, unsigned long end) {
    text.RemoveCommands(start, end);
    layoutDirty = true;
}

void LRichTextArea::SetScale(float s) {
    if (s > 0 && s != scale) {
        scale = s;
        layoutDirty = true;
    }
}

void LRichTextArea::SetWidthLimit(float width) {
    if (width != widthLimit) {
        widthLimit = width;
        layoutDirty = true;
    }
}

void LRichTextArea::SetMeasurer(const LTextMeasurer* m) {
    measurer = m ? m : GetDefaultMeasurer();
    layoutDirty = true;
}

LFontAttributes LRichTextArea::GetFontAttributes(const LFormattedTextState& s) const {
    const unsigned flags = (s[LTextFormatBold] ? LFontBold : 0u) |
                           (s[LTextFormatItalic] ? LFontItalic : 0u) |
                           (s[LTextFormatUnderline] ? LFontUnderline : 0u);
    return LFontAttributes(text.GetFontInTable(static_cast<unsigned long>(s[LTextFormatFont])),
                           static_cast<float>(s[LTextFormatSize]) * scale, flags);
}

#include "richtext/text_edit_ui.h"

#include <algorithm>
#include <cstring>

#include "richtext/formatted_text.h"

namespace {

// The UTF-8 form of a code point; a surrogate or a value past the last
// plane becomes U+FFFD.
unsigned long EncodeUtf8(unsigned int c, char (&out)[4]) {
    if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF)
        c = 0xFFFD;
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = static_cast<char>(0xC0 | (c >> 6));
        out[1] = static_cast<char>(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (c >> 12));
        out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (c & 0x3F));
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | (c >> 18));
    out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[3] = static_cast<char>(0x80 | (c & 0x3F));
    return 4;
}

} // namespace

LTextEditUI::LTextEditUI(bool show, bool scroll) : lineScroll(scroll), showCaret(show) {}

void LTextEditUI::LayoutStale() const {
    if (layoutCallback)
        layoutCallback();
}

LFontAttributes LTextEditUI::GetFont() const {
    return LFontAttributes(fontName, fontSize,
                           (bold ? LFontBold : 0u) | (italic ? LFontItalic : 0u) |
                               (underline ? LFontUnderline : 0u));
}

void LTextEditUI::SetText(const char* s) {
    const unsigned long n = s ? static_cast<unsigned long>(std::strlen(s)) : 0;
    if (LUtf8IsValid(s ? s : "", n))
        text.Set(s);
    else
        text = LUtf8MakeValid(s, n);
    caretIndex = text.GetLength();
    selectionStart = selectionEnd = -1;
    LayoutStale();
}

void LTextEditUI::SetFont(const char* face, float size, bool b, bool i, bool u, LAlignmentX a) {
    char installed[kLFixedStringSize];
    if (!LFindInstalledFontName(face, installed))
        LStrCopy(installed, face);
    LStrCopy(fontName, installed);
    fontSize = size;
    bold = b;
    italic = i;
    underline = u;
    alignment = a;
    LayoutStale();
}

void LTextEditUI::ReplaceSelection(const char* s, unsigned long n) {
    unsigned long at = std::min(caretIndex, text.GetLength());
    unsigned long end = at;
    if (HasSelection()) {
        at = std::min(static_cast<unsigned long>(selectionStart), text.GetLength());
        end = std::min(static_cast<unsigned long>(selectionEnd), text.GetLength());
    }
    const char* t = text.Get();
    at = LUtf8Floor(t, text.GetLength(), at);
    end = LUtf8Ceil(t, text.GetLength(), std::max(end, at));
    LStringLong rebuilt;
    rebuilt.Append(t, at);
    rebuilt.Append(s, n);
    rebuilt.Append(t + end, text.GetLength() - end);
    text = std::move(rebuilt);
    caretIndex = at + n;
    selectionStart = selectionEnd = -1;
    caretVisible = true;
    LayoutStale();
}

void LTextEditUI::AddCharacter(unsigned int codePoint) {
    char bytes[4];
    ReplaceSelection(bytes, EncodeUtf8(codePoint, bytes));
}

void LTextEditUI::DeleteText(bool backward) {
    if (!HasSelection()) {
        const char* t = text.Get();
        const unsigned long n = text.GetLength(), at = std::min(caretIndex, n);
        const unsigned long other = backward ? LUtf8Previous(t, n, at) : LUtf8Next(t, n, at);
        if (other == at)
            return;
        selectionStart = static_cast<long>(std::min(at, other));
        selectionEnd = static_cast<long>(std::max(at, other));
    }
    ReplaceSelection("", 0);
}

void LTextEditUI::SetCaret(unsigned long index, bool extend) {
    const unsigned long old = caretIndex;
    caretIndex = std::min(index, text.GetLength());
    if (extend) {
        // The selection's far end stays where it was.
        unsigned long fixed = old;
        if (HasSelection())
            fixed = old == static_cast<unsigned long>(selectionStart)
                        ? static_cast<unsigned long>(selectionEnd)
                        : static_cast<unsigned long>(selectionStart);
        selectionStart = static_cast<long>(std::min(fixed, caretIndex));
        selectionEnd = static_cast<long>(std::max(fixed, caretIndex));
    } else {
        selectionStart = selectionEnd = -1;
    }
    caretVisible = true;
    LayoutStale();
}

void LTextEditUI::MoveCaretLeft(bool extend) {
    SetCaret(LUtf8Previous(text.Get(), text.GetLength(), caretIndex), extend);
}

void LTextEditUI::MoveCaretRight(bool extend) {
    SetCaret(LUtf8Next(text.Get(), text.GetLength(), caretIndex), extend);
}

void LTextEditUI::MoveCaretVertical(bool up, bool extend) {
    const LPointTemplate<float> p = IndexToXY(caretIndex);
    const float h = GetLineHeight();
    SetCaret(XYToIndex(LPointTemplate<float>(p.x, p.y + (up ? -h / 2 : h * 1.5f))), extend);
}

void LTextEditUI::GetStarts(LArray<unsigned long>& starts) const {
    GetDefaultMeasurer()->WrapLines(GetFont(), text.Get(), rect.GetWidth(), starts);
}

unsigned long LTextEditUI::LineOf(const LArray<unsigned long>& starts, unsigned long index) const {
    unsigned long line = 0;
    while (line + 1 < starts.GetCount() && starts[line + 1] <= index)
        ++line;
    return line;
}

unsigned long LTextEditUI::LineEnd(const LArray<unsigned long>& starts, unsigned long line) const {
    unsigned long end = line + 1 < starts.GetCount() ? starts[line + 1] : text.GetLength();
    if (end > starts[line] && text.Get()[end - 1] == '\n')
        --end;
    return end;
}

float LTextEditUI::GetLineHeight() const { return GetDefaultMeasurer()->GetMetrics(GetFont()).GetHeight(); }

float LTextEditUI::MeasureTrueTextWidth(const char* s, unsigned long length) const {
    LArray<float> offsets;
    GetDefaultMeasurer()->MeasureRun(GetFont(), s, length, offsets);
    return offsets[length];
}

float LTextEditUI::LineLeft(unsigned long start, unsigned long end) const {
    const float w = MeasureTrueTextWidth(text.Get() + start, end - start);
    if (rect.GetWidth() <= 0 || alignment == LAlignmentXLeft)
        return rect.x1;
    return alignment == LAlignmentXCentre ? rect.x1 + (rect.GetWidth() - w) / 2 : rect.x2 - w;
}

LPointTemplate<float> LTextEditUI::IndexToXY(unsigned long index) const {
    LArray<unsigned long> starts;
    GetStarts(starts);
    index = std::min(index, text.GetLength());
    const unsigned long line = LineOf(starts, index);
    const unsigned long start = starts[line], end = LineEnd(starts, line);
    LArray<float> offsets;
    GetDefaultMeasurer()->MeasureRun(GetFont(), text.Get() + start, end - start, offsets);
    return LPointTemplate<float>(LineLeft(start, end) + offsets[std::min(index, end) - start],
                                 rect.y1 + static_cast<float>(line) * GetLineHeight());
}

unsigned long LTextEditUI::XYToIndex(LPointTemplate<float> point) const {
    LArray<unsigned long> starts;
    GetStarts(starts);
    const float h = GetLineHeight();
    const float row = h > 0 ? (point.y - rect.y1) / h : 0;
    const unsigned long line =
        row <= 0 ? 0 : std::min(static_cast<unsigned long>(row), starts.GetCount() - 1);
    const unsigned long start = starts[line], end = LineEnd(starts, line);
    const char* s = text.Get() + start;
    LArray<float> offsets;
    GetDefaultMeasurer()->MeasureRun(GetFont(), s, end - start, offsets);
    const float x = point.x - LineLeft(start, end);
    for (unsigned long i = 0; i < end - start;) {
        const unsigned long next = LUtf8Next(s, end - start, i);
        if (x < (offsets[i] + offsets[next]) / 2)
            return start + i;
        i = next;
    }
    return end;
}

void LTextEditUI::GetLineIndices(LSizedArray<int>& out) const {
    LArray<unsigned long> starts;
    GetStarts(starts);
    out.SetSize(starts.GetCount());
    for (unsigned long i = 0; i < starts.GetCount(); ++i)
        out[i] = static_cast<int>(starts[i]);
}

void LTextEditUI::GetTextLines(LArray<LStringLong>& lines) const {
    LArray<unsigned long> starts;
    GetStarts(starts);
    lines.Clear();
    for (unsigned long i = 0; i < starts.GetCount(); ++i) {
        LStringLong line;
        line.Set(text.Get() + starts[i], LineEnd(starts, i) - starts[i]);
        lines.Add(line);
    }
}

bool LTextEditUI::IsTextWrapped() const {
    LArray<unsigned long> starts;
    GetStarts(starts);
    const unsigned long feeds =
        static_cast<unsigned long>(std::count(text.Str().begin(), text.Str().end(), '\n'));
    return starts.GetCount() > feeds + 1;
}

void LTextEditUI::DrawSelection(LPaintContext& c) const {
    if (!HasSelection())
        return;
    LArray<unsigned long> starts;
    GetStarts(starts);
    const unsigned long a = static_cast<unsigned long>(selectionStart);
    const unsigned long b = std::min(static_cast<unsigned long>(selectionEnd), text.GetLength());
    const LGuiSolidBrush brush(selectionColor);
    const float h = GetLineHeight();
    for (unsigned long line = LineOf(starts, a); line < starts.GetCount() && starts[line] < b;
         ++line) {
        const unsigned long from = std::max(a, starts[line]);
        const unsigned long to = std::min(b, LineEnd(starts, line));
        const float x1 = IndexToXY(from).x;
        const float x2 = to > from ? IndexToXY(to).x : x1;
        // A line feed selected shows as a little of the line after the text.
        const float feed = b > LineEnd(starts, line) ? h / 4 : 0;
        LPaintSurface::FillRect(c, brush, x1, rect.y1 + static_cast<float>(line) * h,
                                x2 - x1 + feed, h);
    }
}

void LTextEditUI::UpdateCaret(LPaintContext& c) const {
    if (!showCaret || !caretVisible || HasSelection())
        return;
    const LPointTemplate<float> p = IndexToXY(caretIndex);
    LPaintSurface::DrawLine(c, p.x, p.y, p.x, p.y + GetLineHeight(), LGuiSolidBrush(textColor),
                            1.0f);
}

void LTextEditUI::Paint(LPaintContext& c) const {
    const bool pushed = LPaintSurface::TransformStackPush(c);
    if (pushed && scale != 1.0f) {
        LPaintSurface::TransformTranslate(c, rect.x1, rect.y1);
        LPaintSurface::TransformScale(c, scale, scale);
        LPaintSurface::TransformTranslate(c, -rect.x1, -rect.y1);
    }
    DrawSelection(c);
    LDrawTextFormat format;
    format.alignX = alignment;
    format.lineBreak = 1;
    LPaintSurface::SetFont(c, LGuiFont(GetFont()));
    LPaintSurface::SetTextColor(c, textColor);
    // Unbounded below, so that text past the box's bottom is still seen.
    LPaintSurface::DrawText(c, text.Get(), LBoundingBox2T<float>(rect.x1, rect.y1, rect.x2, rect.y1),
                            format);
    UpdateCaret(c);
    if (pushed)
        LPaintSurface::TransformStackPop(c);
}

void LTextEditUI::tmntfTimer() {
    caretVisible = !caretVisible;
    LayoutStale();
    caretTimer = kLTextEditCaretBlinkMs;
}

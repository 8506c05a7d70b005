#include "richtext/rich_text_editor.h"

#include <algorithm>

namespace {

const LGuiColorAlpha kSelectionColour(0xC0, 0xC0, 0xC0, 255);
const LGuiColorAlpha kCaretColour(0, 0, 0, 255);

} // namespace

LRichTextEditor::LRichTextEditor(LRichTextArea& a, LRichTextEditorOwner* o) : area(a), owner(o) {}

void LRichTextEditor::Changed() {
    UpdateText();
    if (owner) {
        owner->EvRichTextChanged(*this);
        owner->EvRichTextRepaint(*this);
    }
}

void LRichTextEditor::Repaint() {
    if (owner)
        owner->EvRichTextRepaint(*this);
}

void LRichTextEditor::SetPendingState(const LFormattedTextStateIndependent& state) {
    pending = state;
    hasPending = true;
}

void LRichTextEditor::GetSelection(unsigned long* start, unsigned long* end) const {
    const unsigned long a = anchor == kLNoAnchor ? cursor : anchor;
    if (start)
        *start = std::min(a, cursor);
    if (end)
        *end = std::max(a, cursor);
}

void LRichTextEditor::AddString(const char* s) {
    unsigned long start, end;
    GetSelection(&start, &end);
    const unsigned long before = area.GetStringLength();
    area.AlterText(start, end - start, s);
    // The area widens a range that cuts a character; what went in is what
    // the text grew by over what was taken out.
    const unsigned long added = area.GetStringLength() + (end - start) - before;
    if (hasPending) {
        area.SetState(&pending, start, start + added);
        hasPending = false;
    }
    anchor = kLNoAnchor;
    cursor = std::min(start + added, area.GetStringLength());
    caretVisible = true;
    Changed();
    columnStale = true;
}

void LRichTextEditor::AddFormattedText(const LFormattedText* t) {
    unsigned long start, end;
    GetSelection(&start, &end);
    const unsigned long added = area.AlterText(start, end - start, t);
    hasPending = false;
    anchor = kLNoAnchor;
    cursor = std::min(start + added, area.GetStringLength());
    caretVisible = true;
    Changed();
    columnStale = true;
}

void LRichTextEditor::DeleteText(bool backward) {
    hasPending = false;
    unsigned long start, end;
    GetSelection(&start, &end);
    const char* s = area.GetText().GetText().Get();
    const unsigned long n = area.GetStringLength();
    if (start == end) {
        if (backward) {
            start = GetPreviousIndex(cursor);
        } else if (cursor < n) {
            const unsigned long lead = LUtf8SequenceLength(static_cast<unsigned char>(s[cursor]));
            end = std::min(cursor + lead, n);
        }
    }
    anchor = kLNoAnchor;
    if (start == end)
        return;
    area.AlterText(start, end - start, "");
    cursor = std::min(start, area.GetStringLength());
    caretVisible = true;
    Changed();
    columnStale = true;
}

LFormattedText LRichTextEditor::Copy() const {
    unsigned long start, end;
    GetSelection(&start, &end);
    return area.GetFormattedText(start, end);
}

bool LRichTextEditor::Paste() {
    LFormattedText t;
    if (!owner || !owner->GetClipboardText(t))
        return false;
    AddFormattedText(&t);
    return true;
}

void LRichTextEditor::SelectAll() {
    anchor = 0;
    cursor = area.GetStringLength();
    Repaint();
}

void LRichTextEditor::SetFont(const char* name) {
    char installed[kLFixedStringSize];
    if (!LFindInstalledFontName(name, installed))
        LStrCopy(installed, name);
    unsigned long start, end;
    GetSelection(&start, &end);
    if (start < end) {
        area.SetFontName(installed, start, end);
        Changed();
        return;
    }
    if (!hasPending)
        SetPendingState(area.GetStateIndependent(cursor));
    LStrCopy(pending.fontName, installed);
}

unsigned long LRichTextEditor::GetPreviousIndex(unsigned long index) const {
    return LUtf8Previous(area.GetText().GetText().Get(), area.GetStringLength(), index);
}

unsigned long LRichTextEditor::GetNextIndex(unsigned long index) const {
    return LUtf8Next(area.GetText().GetText().Get(), area.GetStringLength(), index);
}

void LRichTextEditor::MoveTo(unsigned long index, bool extend, bool keepColumn) {
    index = std::min(index, area.GetStringLength());
    const unsigned long oldAnchor = anchor;
    if (extend) {
        if (anchor == kLNoAnchor)
            anchor = cursor;
    } else {
        anchor = kLNoAnchor;
    }
    const bool moved = index != cursor || anchor != oldAnchor;
    cursor = index;
    // A format chosen for the next characters belongs to this place only.
    if (moved)
        hasPending = false;
    caretMoved = caretMoved || moved;
    caretVisible = true;
    if (!keepColumn)
        columnStale = true;
    Repaint();
}

void LRichTextEditor::MoveCursor(LPointTemplate<float> point, bool extend) {
    const long index = area.FindIndex(LPointTemplate<float>(point.x - x, point.y - y));
    MoveTo(index < 0 ? 0 : static_cast<unsigned long>(index), extend);
}

void LRichTextEditor::MoveCursorLeft(bool extend) {
    unsigned long start, end;
    GetSelection(&start, &end);
    // Without Shift a selection collapses to its start.
    MoveTo(!extend && start < end ? start : GetPreviousIndex(cursor), extend);
}

void LRichTextEditor::MoveCursorRight(bool extend) {
    unsigned long start, end;
    GetSelection(&start, &end);
    MoveTo(!extend && start < end ? end : GetNextIndex(cursor), extend);
}

float LRichTextEditor::GetColumn() {
    if (columnStale) {
        verticalX = area.FindPosition(cursor).x;
        columnStale = false;
    }
    return verticalX;
}

void LRichTextEditor::MoveCursorUp(bool extend) {
    MoveTo(LocateAdjacentVerticalIndex(cursor, GetColumn(), true), extend, true);
}

void LRichTextEditor::MoveCursorDown(bool extend) {
    MoveTo(LocateAdjacentVerticalIndex(cursor, GetColumn(), false), extend, true);
}

void LRichTextEditor::MoveCursorHome(bool extend) {
    const LRichTextPosition p = area.FindPosition(cursor);
    const LArray<LRichTextAreaLine>& lines = area.GetLines();
    if (p.line < lines.GetCount() && lines[p.line].segmentCount)
        MoveTo(area.GetSegments()[lines[p.line].firstSegment].start, extend);
}

void LRichTextEditor::MoveCursorEnd(bool extend) {
    const LRichTextPosition p = area.FindPosition(cursor);
    const LArray<LRichTextAreaLine>& lines = area.GetLines();
    if (p.line >= lines.GetCount() || !lines[p.line].segmentCount)
        return;
    // The far side of the line, as a click there would place it.
    const LRichTextAreaSegment& last =
        area.GetSegments()[lines[p.line].firstSegment + lines[p.line].segmentCount - 1];
    const long index = area.FindIndex(
        LPointTemplate<float>(last.x + last.width + 1, lines[p.line].top + lines[p.line].height / 2));
    MoveTo(index < 0 ? cursor : static_cast<unsigned long>(index), extend);
}

void LRichTextEditor::MoveCursorFirst(bool extend) { MoveTo(0, extend); }

void LRichTextEditor::MoveCursorLast(bool extend) { MoveTo(area.GetStringLength(), extend); }

unsigned long LRichTextEditor::LocateAdjacentVerticalIndex(unsigned long index, float atX,
                                                           bool up) const {
    const LArray<LRichTextAreaLine>& lines = area.GetLines();
    if (!lines.GetCount())
        return index;
    const unsigned long line = area.FindPosition(index).line;
    unsigned long target = line;
    if (up && line > 0)
        target = line - 1;
    else if (!up && line + 1 < lines.GetCount())
        target = line + 1;
    const LRichTextAreaLine& l = lines[target];
    const long found = area.FindIndex(LPointTemplate<float>(atX, l.top + l.height / 2));
    return found < 0 ? index : static_cast<unsigned long>(found);
}

bool LRichTextEditor::EvKeyDown(LKey key) {
    const bool shift = (key & kLKeyShift) != 0;
    const bool command = (key & kLKeyCommand) != 0;
    switch (key & kLKeyCodeMask) {
    case kLKeyReturn:
        AddString("\n");
        return true;
    case kLKeyBackspace:
        DeleteText(true);
        return true;
    case kLKeyForwardDelete:
        DeleteText(false);
        return true;
    case kLKeyLeft:
        MoveCursorLeft(shift);
        return true;
    case kLKeyRight:
        MoveCursorRight(shift);
        return true;
    case kLKeyDown:
        MoveCursorDown(shift);
        return true;
    case kLKeyUp:
        MoveCursorUp(shift);
        return true;
    case kLKeyHome:
        if (command)
            MoveCursorFirst(shift);
        else
            MoveCursorHome(shift);
        return true;
    case kLKeyEnd:
        if (command)
            MoveCursorLast(shift);
        else
            MoveCursorEnd(shift);
        return true;
    default:
        return false;
    }
}

void LRichTextEditor::EvLButtonDown(LPointTemplate<float> point, bool shift) {
    MoveCursor(point, shift);
    mouseDown = true;
}

void LRichTextEditor::EvMouseMove(LPointTemplate<float> point) {
    if (mouseDown)
        MoveCursor(point, true);
}

// The layout is made when it is next needed (a paint, a click, a line
// move), so that keys typed between two paints lay the text out once.
void LRichTextEditor::UpdateText() const { area.SetLayoutDirty(); }

LBoundingBox2T<float> LRichTextEditor::GetBounds() const {
    LBoundingBox2T<float> box = area.GetLayoutBounds();
    box.x1 += x;
    box.x2 += x;
    box.y1 += y;
    box.y2 += y;
    return box;
}

void LRichTextEditor::tmntfTimer() {
    caretVisible = !caretVisible;
    Repaint();
    caretTimer = kLRichTextCaretBlinkMs;
}

void LRichTextPaintRuns(LPaintContext& c, const LRichTextArea& area, LPointTemplate<float> origin) {
    const char* s = area.GetText().GetText().Get();
    const LArray<LRichTextAreaSegment>& segments = area.GetSegments();
    LDrawTextFormat format;
    LStringLong run;
    for (unsigned long i = 0; i < segments.GetCount();) {
        const LRichTextAreaSegment& seg = segments[i];
        // The words of one format on one line go out as one text: they were
        // measured as one, so they set the same, and with fewer layouts.
        unsigned long end = seg.GetEnd();
        unsigned long next = i + 1;
        while (next < segments.GetCount() && segments[next].line == seg.line &&
               segments[next].start == end && segments[next].state == seg.state) {
            end = segments[next].GetEnd();
            ++next;
        }
        i = next;
        if (end == seg.start)
            continue;
        run.Set(s + seg.start, end - seg.start);
        const LFormattedTextState& st = seg.state;
        LPaintSurface::SetFont(c, LGuiFont(area.GetFontAttributes(st)));
        const LGuiColor colour =
            area.GetText().GetColorInTable(static_cast<unsigned long>(st[LTextFormatColor]));
        LPaintSurface::SetTextColor(c, LGuiColorAlpha(colour, 255));
        // A box of no size: the run is set on one line from its top left.
        const float left = origin.x + seg.x, top = origin.y + seg.y;
        LPaintSurface::DrawText(c, run.Get(), LBoundingBox2T<float>(left, top, left, top), format);
    }
}

void LRichTextEditor::Paint(LPaintContext& c) const {
    const LArray<LRichTextAreaSegment>& segments = area.GetSegments();
    unsigned long start, end;
    GetSelection(&start, &end);
    if (start < end) {
        const LGuiSolidBrush brush(kSelectionColour);
        const LArray<LRichTextAreaLine>& lines = area.GetLines();
        for (const LRichTextAreaSegment& seg : segments) {
            const unsigned long a = std::max(start, seg.start), b = std::min(end, seg.GetEnd());
            if (a >= b)
                continue;
            const float xa = area.FindPosition(a).x;
            // The end of a run is measured in it, not at the next line's start.
            float xb = seg.x + seg.width;
            if (b < seg.GetEnd())
                xb = area.FindPosition(b).x;
            const LRichTextAreaLine& line = lines[seg.line];
            LPaintSurface::FillRect(c, brush, x + xa, y + line.top, xb - xa, line.height);
        }
    }
    LRichTextPaintRuns(c, area, LPointTemplate<float>(x, y));
    if (caretVisible && start == end) {
        const LRichTextPosition p = area.FindPosition(cursor);
        LPaintSurface::DrawLine(c, x + p.x, y + p.y, x + p.x, y + p.y + p.height,
                                LGuiSolidBrush(kCaretColour), 1.0f);
    }
}

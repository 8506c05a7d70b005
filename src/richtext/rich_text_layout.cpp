// The layout of a rich text area: runs broken into words, words into lines.
#include <algorithm>
#include <cstring>

#include "richtext/rich_text_area.h"

namespace {

// The fonts of one layout measured once each: a long text has thousands of
// runs in a handful of fonts.
class MetricsCache {
public:
    MetricsCache(const LRichTextArea& a, const LTextMeasurer& m) : area(a), measurer(m) {}

    LTextFontMetrics Get(const LFormattedTextState& s) {
        LFormattedTextState key = s;
        key[LTextFormatColor] = 0;
        key[LTextFormatUnderline] = 0;
        for (const Entry& e : entries)
            if (e.key == key)
                return e.metrics;
        entries.Add({key, measurer.GetMetrics(area.GetFontAttributes(s))});
        return entries[entries.GetCount() - 1].metrics;
    }

private:
    struct Entry {
        LFormattedTextState key;
        LTextFontMetrics metrics;
    };
    const LRichTextArea& area;
    const LTextMeasurer& measurer;
    LArray<Entry> entries;
};

class LineBuilder {
public:
    LineBuilder(LArray<LRichTextAreaSegment>& s, LArray<LRichTextAreaLine>& l, float w)
        : segments(s), lines(l), limit(w) {}

    // Places a piece of a word. `newWord`: a break may come before it.
    void Add(LRichTextAreaSegment piece, float trimmedWidth, bool newWord) {
        if (newWord || lineStart == segments.GetCount()) {
            wordStart = segments.GetCount();
            wordX = x;
            wordTrimmedRight = trimmedRight;
        }
        // A word that passes the limit goes to the next line, unless it is
        // the line's first: then it stands out past the limit.
        if (limit > 0 && wordStart > lineStart && x + trimmedWidth > limit) {
            const float oldX = x, oldTrimmedRight = trimmedRight;
            EndLine(wordStart, wordTrimmedRight);
            for (unsigned long i = lineStart; i < segments.GetCount(); ++i)
                segments[i].x -= wordX;
            x = oldX - wordX;
            trimmedRight = oldTrimmedRight - wordX;
            wordX = 0;
        }
        piece.x = x;
        x += piece.width;
        trimmedRight = piece.x + trimmedWidth;
        segments.Add(piece);
    }

    // Ends the line at a line feed (or the end of the text).
    void Break() { EndLine(segments.GetCount(), trimmedRight); }
    bool LineIsEmpty() const { return lineStart == segments.GetCount(); }
    float GetTop() const { return top; }

private:
    // The line takes the segments from lineStart up to `end`.
    void EndLine(unsigned long end, float width) {
        LRichTextAreaLine line;
        line.top = top;
        line.firstSegment = lineStart;
        line.segmentCount = end - lineStart;
        line.width = width;
        float ascent = 0, descent = 0;
        for (unsigned long i = lineStart; i < end; ++i) {
            ascent = std::max(ascent, segments[i].ascent);
            descent = std::max(descent, segments[i].height - segments[i].ascent);
        }
        line.baseline = top + ascent;
        line.height = ascent + descent;
        const unsigned long index = lines.GetCount();
        for (unsigned long i = lineStart; i < end; ++i) {
            segments[i].y = line.baseline - segments[i].ascent;
            segments[i].line = index;
        }
        lines.Add(line);
        top += line.height;
        lineStart = end;
        x = 0;
        trimmedRight = 0;
        wordTrimmedRight = 0;
    }

    LArray<LRichTextAreaSegment>& segments;
    LArray<LRichTextAreaLine>& lines;
    float limit;
    float top = 0;
    float x = 0;
    // The right end of the last word placed, blanks left out, and that end as
    // it stood before the current word.
    float trimmedRight = 0;
    float wordTrimmedRight = 0;
    unsigned long lineStart = 0;
    unsigned long wordStart = 0;
    float wordX = 0;
};

} // namespace

LTextFontMetrics LRichTextArea::GetMetrics(const LFormattedTextState& state) const {
    return measurer->GetMetrics(GetFontAttributes(state));
}

void LRichTextArea::FindSegments(float width, float height) const {
    segments.Clear();
    lines.Clear();
    const char* s = text.GetText().Get();
    const unsigned long n = text.GetLength();
    MetricsCache metrics(*this, *measurer);
    LineBuilder builder(segments, lines, width);
    LArray<float> offsets;

    auto segmentOf = [&](const LFormattedTextState& state, unsigned long start,
                         unsigned long length) {
        const LTextFontMetrics m = metrics.Get(state);
        LRichTextAreaSegment seg;
        seg.start = start;
        seg.length = length;
        seg.ascent = m.ascent;
        seg.height = m.GetHeight();
        seg.size = state[LTextFormatSize];
        seg.state = state;
        return seg;
    };

    for (LFormattedTextFormatRangeIterator run(text); run.IsValid(); run.Next()) {
        const LFormattedTextState& state = run.GetState();
        const LFontAttributes font = GetFontAttributes(state);
        for (unsigned long pos = run.GetStart(); pos < run.GetEnd();) {
            const void* feed = std::memchr(s + pos, '\n', run.GetEnd() - pos);
            const unsigned long pieceEnd =
                feed ? static_cast<unsigned long>(static_cast<const char*>(feed) - s) : run.GetEnd();
            if (pieceEnd > pos) {
                measurer->MeasureRun(font, s + pos, pieceEnd - pos, offsets);
                // Words end after their blanks; each is placed whole.
                for (unsigned long a = pos; a < pieceEnd;) {
                    unsigned long b = a;
                    while (b < pieceEnd && s[b] != ' ')
                        ++b;
                    const unsigned long trimmedEnd = b;
                    while (b < pieceEnd && s[b] == ' ')
                        ++b;
                    LRichTextAreaSegment seg = segmentOf(state, a, b - a);
                    seg.width = offsets[b - pos] - offsets[a - pos];
                    const bool newWord = a == 0 || s[a - 1] == ' ' || s[a - 1] == '\n';
                    builder.Add(seg, offsets[trimmedEnd - pos] - offsets[a - pos], newWord);
                    a = b;
                }
            }
            if (feed) {
                // An empty line still stands as high as its format.
                if (builder.LineIsEmpty())
                    builder.Add(segmentOf(state, pieceEnd, 0), 0, true);
                builder.Break();
                pos = pieceEnd + 1;
            } else {
                pos = pieceEnd;
            }
        }
    }
    if (!builder.LineIsEmpty())
        builder.Break();
    // After a closing line feed, or in an empty text, the caret still needs
    // a line to stand on.
    if (n == 0 || s[n - 1] == '\n') {
        builder.Add(CreateDummyLine(0, builder.GetTop()), 0, true);
        builder.Break();
    }

    float widest = 0;
    for (const LRichTextAreaLine& l : lines)
        widest = std::max(widest, l.width);
    layoutWidth = width > 0 ? width : widest;
    for (const LRichTextAreaLine& l : lines) {
        const float dx = GetAlignmentOffset(l.width);
        for (unsigned long i = 0; i < l.segmentCount; ++i)
            segments[l.firstSegment + i].x += dx;
    }
    if (height > 0 && lines.GetCount()) {
        const LRichTextAreaLine& last = lines[lines.GetCount() - 1];
        const float total = last.top + last.height;
        float dy = 0;
        if (alignmentY == LAlignmentYMiddle)
            dy = (height - total) / 2;
        else if (alignmentY == LAlignmentYBottom)
            dy = height - total;
        for (LRichTextAreaLine& l : lines) {
            l.top += dy;
            l.baseline += dy;
        }
        for (LRichTextAreaSegment& seg : segments)
            seg.y += dy;
    }
    layoutDirty = false;
}

float LRichTextArea::GetAlignmentOffset(float lineWidth) const {
    if (alignmentX == LAlignmentXCentre)
        return (layoutWidth - lineWidth) / 2;
    if (alignmentX == LAlignmentXRight)
        return layoutWidth - lineWidth;
    return 0;
}

LRichTextAreaSegment LRichTextArea::CreateDummyLine(float x, float y) const {
    const LFormattedTextState state = text.GetState(text.GetLength());
    const LTextFontMetrics m = GetMetrics(state);
    LRichTextAreaSegment seg;
    seg.start = text.GetLength();
    seg.x = x;
    seg.y = y;
    seg.ascent = m.ascent;
    seg.height = m.GetHeight();
    seg.size = state[LTextFormatSize];
    seg.state = state;
    return seg;
}

const LArray<LRichTextAreaSegment>& LRichTextArea::GetSegments() const {
    if (layoutDirty)
        FindSegments(widthLimit, 0);
    return segments;
}

const LArray<LRichTextAreaLine>& LRichTextArea::GetLines() const {
    GetSegments();
    return lines;
}

LBoundingBox2T<float> LRichTextArea::GetLayoutBounds() const {
    const LArray<LRichTextAreaSegment>& segs = GetSegments();
    if (!segs.GetCount())
        return LBoundingBox2T<float>();
    LBoundingBox2T<float> box(segs[0].x, segs[0].y, segs[0].x + segs[0].width,
                              segs[0].y + segs[0].height);
    for (const LRichTextAreaSegment& seg : segs)
        box += LBoundingBox2T<float>(seg.x, seg.y, seg.x + seg.width, seg.y + seg.height);
    return box;
}

unsigned long LRichTextArea::FindIndex(float x, const LRichTextAreaSegment& seg) const {
    const char* s = text.GetText().Get() + seg.start;
    LArray<float> offsets;
    measurer->MeasureRun(GetFontAttributes(seg.state), s, seg.length, offsets);
    // The nearer side of the character under the point.
    for (unsigned long i = 0; i < seg.length;) {
        const unsigned long next = LUtf8Next(s, seg.length, i);
        if (x < seg.x + (offsets[i] + offsets[next]) / 2)
            return seg.start + i;
        i = next;
    }
    return seg.GetEnd();
}

long LRichTextArea::FindIndex(LPointTemplate<float> point) const {
    const LArray<LRichTextAreaLine>& ls = GetLines();
    if (!ls.GetCount())
        return -1;
    unsigned long li = 0;
    while (li + 1 < ls.GetCount() && point.y >= ls[li].top + ls[li].height)
        ++li;
    const LRichTextAreaLine& line = ls[li];
    if (!line.segmentCount)
        return -1;
    const LRichTextAreaSegment& first = segments[line.firstSegment];
    if (point.x < first.x)
        return static_cast<long>(first.start);
    for (unsigned long i = 0; i < line.segmentCount; ++i) {
        const LRichTextAreaSegment& seg = segments[line.firstSegment + i];
        if (point.x < seg.x + seg.width)
            return static_cast<long>(FindIndex(point.x, seg));
    }
    const LRichTextAreaSegment& last = segments[line.firstSegment + line.segmentCount - 1];
    unsigned long end = last.GetEnd();
    // Past the end of a line that wrapped: before its last blank, as the end
    // itself is where the next line starts.
    if (li + 1 < ls.GetCount() && end > last.start && end < text.GetLength() &&
        text.GetText().Get()[end] != '\n' && text.GetText().Get()[end - 1] == ' ')
        --end;
    return static_cast<long>(end);
}

const LRichTextAreaSegment* LRichTextArea::GetSegment(unsigned long index) const {
    const LArray<LRichTextAreaSegment>& segs = GetSegments();
    const LRichTextAreaSegment* atEnd = nullptr;
    for (const LRichTextAreaSegment& seg : segs) {
        if (index >= seg.start && index < seg.GetEnd())
            return &seg;
        // The end of a run is a place of its own only where nothing starts
        // there: at a line feed or the end of the text.
        if (index == seg.GetEnd() && !atEnd)
            atEnd = &seg;
    }
    if (!atEnd && segs.GetCount())
        atEnd = &segs[segs.GetCount() - 1];
    return atEnd;
}

LRichTextPosition LRichTextArea::FindPosition(unsigned long index) const {
    LRichTextPosition p;
    const LRichTextAreaSegment* seg = GetSegment(index);
    if (!seg)
        return p;
    p.y = seg->y;
    p.height = seg->height;
    p.line = seg->line;
    p.x = seg->x;
    if (index > seg->start) {
        LArray<float> offsets;
        measurer->MeasureRun(GetFontAttributes(seg->state), text.GetText().Get() + seg->start,
                             seg->length, offsets);
        p.x += offsets[std::min(index - seg->start, seg->length)];
    }
    return p;
}

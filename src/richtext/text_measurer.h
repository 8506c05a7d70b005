#pragma once
// What the rich and plain text editors need to know of fonts: how high a
// line of a font stands and where each character of a run falls. Measured
// as the paint surface lays text out (unhinted, positions unrounded, very
// small sizes at ten times), so that what the editors place is where the
// surface draws it.

#include "foundation/array.h"
#include "foundation/text_format.h"

struct LTextFontMetrics {
    float ascent = 0;
    float descent = 0;
    float GetHeight() const { return ascent + descent; }
};

class LTextMeasurer {
public:
    virtual ~LTextMeasurer() = default;
    virtual LTextFontMetrics GetMetrics(const LFontAttributes& font) const = 0;
    // `offsets` gets length + 1 entries: the pen position before each byte
    // (the bytes inside a character share its start's) and, last, the
    // advance of the whole run. The run holds no line feed.
    virtual void MeasureRun(const LFontAttributes& font, const char* text, unsigned long length,
                            LArray<float>& offsets) const = 0;
    // The byte index of each line start of a text wrapped at `width` as the
    // surface wraps a text in a box (0: at line feeds only).
    virtual void WrapLines(const LFontAttributes& font, const char* text, float width,
                           LArray<unsigned long>& starts) const = 0;
};

// The measurer of the paint surface's text layout; it keeps nothing between
// calls, so any thread may use it.
const LTextMeasurer* GetDefaultMeasurer();

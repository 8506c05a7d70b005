#pragma once
// How a text is to be set: the font by name, size and style, and how it sits
// in its box. Plain records; the layout itself lives in text_layout.h.

#include <cmath>

#include "foundation/string.h"

enum LAlignmentX : int {
    LAlignmentXLeft = 0,
    LAlignmentXCentre = 1,
    LAlignmentXRight = 2,
};

enum LAlignmentY : int {
    LAlignmentYTop = 0,
    LAlignmentYMiddle = 1,
    LAlignmentYBottom = 2,
};

enum LFontAttributeFlags : unsigned int {
    LFontBold = 1,
    LFontItalic = 2,
    LFontUnderline = 4,
    // Carried for the window toolkit's font constructor; text layout ignores it.
    LFontToolkitFlag = 8,
};

struct LFontAttributes {
    char face[kLFixedStringSize] = {};
    float size = 14.0f;
    unsigned int flags = 0;

    LFontAttributes() = default;
    LFontAttributes(const char* faceName, float pixelSize, unsigned int flagBits)
        : size(pixelSize), flags(flagBits) {
        LStrCopy(face, faceName);
    }
    bool IsBold() const { return (flags & LFontBold) != 0; }
    bool IsItalic() const { return (flags & LFontItalic) != 0; }
    bool IsUnderline() const { return (flags & LFontUnderline) != 0; }
};

struct LDrawTextFormat {
    LAlignmentX alignX = LAlignmentXLeft;
    LAlignmentY alignY = LAlignmentYTop;
    // 1 wraps the lines at the box's width.
    int lineBreak = 0;
    // 2 and 3 cut the text to the line.
    int trimming = 0;
    // Carried for the render targets, which set them to 1 and 0; the surface
    // does not read them.
    int option1 = 0;
    int option2 = 0;

    bool IsTrimmed() const { return trimming == 2 || trimming == 3; }
};

// A font as the surface keeps it. Sizes are pixels; a negative size, which
// asks for the glyph height rather than the cell, is taken by its magnitude.
class LGuiFont {
public:
    LGuiFont() : attributes("Arial", 14.0f, 0) {}
    LGuiFont(const char* face, float size, bool bold = false, bool italic = false,
             bool underline = false, bool toolkitFlag = false)
        : attributes(face, size,
                     (bold ? LFontBold : 0u) | (italic ? LFontItalic : 0u) |
                         (underline ? LFontUnderline : 0u) | (toolkitFlag ? LFontToolkitFlag : 0u)) {
    }
    explicit LGuiFont(const LFontAttributes& a) : attributes(a) {}

    const LFontAttributes& GetAttributes() const { return attributes; }
    const char* GetFace() const { return attributes.face; }
    float GetSize() const { return std::fabs(attributes.size); }

    LFontAttributes attributes;
};

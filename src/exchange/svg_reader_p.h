#pragma once
// The SVG reader's inner parts, shared by its files and its tests.

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "exchange/svg_reader.h"
#include "foundation/xml.h"

namespace kvsvgin {

// A length as written: its value, and whether it was a percentage still to
// be turned into user units.
struct Length {
    float value = 0;
    bool percent = false;
};

// What the walk does with a shape.
enum Mode : int {
    kModeIdsOnly = 0, // inside "defs": note ids, make nothing
    kModeCollect = 1, // a gradient's stops
    kModeCreate = 2,
};

// The state of one element. Children start from a copy of their parent's,
// which is all the inheritance there is.
struct State {
    Length width, height;
    float viewBox[4] = {0, 0, 0, 0};
    bool hasViewBox = false;
    int mode = kModeCreate;
    // -1 unset, 0 user space, 1 the shape's box.
    int gradientUnits = -1;
    std::string id, href, fillUrl, strokeUrl;
    bool hrefIsLocal = false;
    bool hasFill = true, fillIsUrl = false;
    bool hasStroke = false, strokeIsUrl = false;
    LGuiColorAlpha fillColour{0, 0, 0, 255};
    LGuiColorAlpha strokeColour{0, 0, 0, 255};
    int fillRule = 0;
    Length strokeWidth{1.0f, false};
    LVectorImageMatrix matrix;
    Length x, y;
    int lineJoin = 0;
    float miterLimit = 4.0f;
    int lineCap = 0;
    int dashStyle = 0;
    std::vector<float> dashArray;
    Length cx, cy, r, fx, fy, rx, ry, x1, y1, x2, y2;
    bool inText = false, afterTextChild = false;
    int textAnchor = 0;
    std::string fontFace = "Arial";
    int fontWeight = 400;
    float fontSize = 16.0f;
    bool underline = false, italic = false, strike = false, preserveSpace = false;
    // Per-character positions of a text, and what a run left for the next.
    std::vector<float> charX, charY, charDX, charDY, charRotate;
    std::vector<float> pendingX, pendingY, pendingDX, pendingDY, pendingRotate;
    std::vector<float> stopOffsets, stopOpacities;
    std::vector<LGuiColorAlpha> stopColours;
    LVectorImageBrush fillBrush, strokeBrush;
    int gradientType = 0;
    int spreadMethod = 0;
    int aspectAlign = 0;
    bool aspectDefer = false, aspectMeet = true;
    bool isDataUri = false;
    int dataEncoding = -1;
    bool hasClip = false, hasMask = false;
    // The box of the current shape, for gradients in its units.
    LBoundingBox2T<float> box;
};

// Reads the length at `text`: blanks and commas are skipped, then a number
// and its unit. Returns the characters used; `found` false when there was
// no number or the unit is unknown.
size_t DecodeNumericValue(const char* text, float& value, bool& found, bool* isPercent,
                          float percentFactor, float fontSize, float dpi);
// False (and `colour` unchanged) for what is no colour.
bool DecodeColour(const char* text, LGuiColorAlpha& colour);
// Multiplies each transform of the list into `matrix`, the new one first.
void DecodeTransform(const char* text, LVectorImageMatrix& matrix);

// Reads path data: a command letter, or a number repeating the last command.
class Tokenizer {
public:
    explicit Tokenizer(const char* text) : p(text) {}
    // The command letter, or 0 at the end or at anything else.
    char GetCommand(char previous);
    // False when no number stands here.
    bool GetArg(float& value);
    bool AtEnd() const { return !*p; }

private:
    void SkipSeparators();
    const char* p;
};

class LSVGReader {
public:
    LSVGReader(LVectorImage& image, float dpi) : image(image), dpi(dpi) {}
    // Reads the document's tree into the image.
    void Read(const LXMLElement& document);

    // Running bounds of everything drawn, for a document without a size.
    LBoundingBox2T<float> bounds{0, 0, 0, 0};
    bool sizeValid = false;

private:
    State& Top() { return stack.back(); }
    void Push() { stack.push_back(stack.empty() ? State() : stack.back()); }
    void Pop();

    void GetInfo(const LXMLElement& document);
    void Walk(const LXMLElement& parent);
    void DecodeChild(const LXMLElement& e);
    void DecodeByName(const LXMLElement& e);
    void DecodeAttributes(const LXMLElement& e);
    void DecodeAttribute(const char* name, const char* value);
    void DecodeSvg(const LXMLElement& e);
    void DecodeUse(const LXMLElement& e);
    void DecodeShape(const LXMLElement& e);
    void DecodeText(const LXMLElement& e, const char* text);
    void DecodeImage(const LXMLElement& e);
    void DecodePaintUrl(const char* value, bool fill);
    void DecodeLengthList(const char* value, std::vector<float>& list, Length* first);

    void ConvertPercentToReal();
    // The paints of the shape about to be made, gradients decoded now.
    void CreateFillStrokeBrushInfo();
    // False for a gradient already being decoded further up.
    bool DecodeGradient(const LXMLElement& gradient, LVectorImageBrush& brush);
    bool DecodeGradientOnce(const LXMLElement& gradient, LVectorImageBrush& brush);
    void CopyGeneralAttributes(LVectorImageShape& shape, bool withFill);
    void UpdateBounds(float x, float y);
    void Add(std::unique_ptr<LVectorImageElement> element);

    // Paths and point lists: the other file.
    void DecodePathData(const char* d);
    bool DecodePoints(const char* text, std::vector<LPointTemplate<float>>& points);

    // Texts: one segment a byte, advanced by the byte's measured width.
    void AddText(const std::string& text, bool dryRun, float& advance);
    float MeasureByte(const State& s, unsigned char byte);

    LVectorImage& image;
    float dpi;
    std::vector<State> stack;
    // Points into the document, which outlives the walk: no element is
    // copied, so that many ids cost nothing each.
    std::unordered_map<std::string, const LXMLElement*> ids;
    // The "use" targets and the gradients being decoded: one that refers
    // to itself from inside would be decoded for ever.
    std::unordered_set<const LXMLElement*> expanding, gradients;
    // Elements walked through "use": chains of uses that each use the one
    // before many times would otherwise grow without end. A hundred
    // thousand is more than any real drawing repeats.
    unsigned long useBudget = 100000;
    float docWidth = 0, docHeight = 0;
};

} // namespace kvsvgin

#pragma once
// The text elements: a box of uniform text, and a box of formatted runs as
// the text widget places them. Text is UTF-8 throughout.

#include <vector>

#include "document/element.h"
#include "foundation/string.h"
#include "foundation/text_format.h"

class KVElementWidget;

// Where a text breaks into lines in a box of a given width: measured with
// the layout the render targets draw each line with, so that a line handed
// to the target as it is comes out as one line.
class KVTextWrapping {
public:
    KVTextWrapping(const char* text, const char* face, unsigned long size, bool bold, bool italic,
                   bool underline, float width);

    // The byte index of each line start in the text as laid out.
    void GetLineIndices(std::vector<int>& starts) const;
    // Each line without its break; empty lines included.
    void GetLines(LList<LStringLongListable>& lines) const;
    unsigned long GetLineCount() const { return static_cast<unsigned long>(ranges.size()); }
    // The widest line and the height of one line.
    float GetWidth() const { return width; }
    float GetLineHeight() const { return lineHeight; }

private:
    struct Range {
        int start, length;
    };
    LStringLong text;
    std::vector<Range> ranges;
    float width = 0;
    float lineHeight = 0;
};

// The face a new text gets: the first installed font, or "" when there is
// none (the layout then takes fontconfig's default).
const char* KVDefaultTextFace();

struct KVTextElementProperties : KVShadowProperties, KVBevelEmbossProperties, KVErasableProperties {
    KVTextElementProperties();

    bool bold = false;
    bool italic = false;
    bool underline = false;
    int alignment = LAlignmentXLeft;
    unsigned long fontSize = 12;
    float rotation = 0.0f;
    // In line heights, as the target takes it.
    float lineSpacing = 1.0f;
    // The stretch of Distort Text, applied about the origin of the canvas.
    float scaleX = 1.0f;
    float scaleY = 1.0f;
    LBoundingBox2T<float> bounds;
    LGuiColorAlpha colour{0, 0, 0, 255};
    char font[kLFixedStringSize] = {};
    LStringLongTemplate<char> text;
};

// One run of a rich text: its format, its text and the box the text widget
// placed it in on the canvas.
struct KVRichTextSegment {
    bool bold = false;
    bool italic = false;
    bool underline = false;
    char font[kLFixedStringSize] = {};
    float size = 12.0f;
    LGuiColor colour;
    LStringLongTemplate<char> text;
    LBoundingBox2T<float> bounds;
};

struct KVRichTextElementProperties : KVShadowProperties,
                                     KVBevelEmbossProperties,
                                     KVErasableProperties {
    int alignment = LAlignmentXLeft;
    float rotation = 0.0f;
    float lineSpacing = 1.0f;
    float scaleX = 1.0f;
    float scaleY = 1.0f;
    LBoundingBox2T<float> bounds;
    std::vector<KVRichTextSegment> segments;
};

class KVTextElement : public KVElementWithProperties<KVTextElementProperties> {
public:
    using P = KVTextElementProperties;
    explicit KVTextElement(const P& p = {}) : KVElementWithProperties(p) {}

    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    bool Update(KVElementWidget* widget) override;
    KVElementWidget* GetWidget() override;
    void Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) override;
    // The box scales, and the font by the mean of the two factors.
    void Resize(float sx, float sy, bool addUndo) override;
    LBoundingBox2T<float> GetRenderedDimensions() const override;
    KVElement* DuplicateSelf() const override { return new KVTextElement(GetProperties()); }
    void SetPropertiesFromPanel(const P& panel, bool addUndo);
    const char* GetName() const override { return "text"; }
    const char* GetDisplayName() const override { return "Text"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;
};

class KVRichTextElement : public KVElementWithProperties<KVRichTextElementProperties> {
public:
    using P = KVRichTextElementProperties;
    explicit KVRichTextElement(const P& p = {}) : KVElementWithProperties(p) {}

    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    bool Update(KVElementWidget* widget) override;
    KVElementWidget* GetWidget() override;
    // The boxes move and scale; the font sizes stay.
    void Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) override;
    void Resize(float sx, float sy, bool addUndo) override;
    LBoundingBox2T<float> GetRenderedDimensions() const override;
    KVElement* DuplicateSelf() const override { return new KVRichTextElement(GetProperties()); }
    // Alignment, spacing, effects, and each run's format from the same run of
    // the panel's record.
    void SetPropertiesFromPanel(const P& panel, bool addUndo);
    const char* GetName() const override { return "richtext"; }
    const char* GetDisplayName() const override { return "Text"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;
};

#include "document/text_elements.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "document/shapes.h"
#include "document/widget.h"
#include "foundation/fonts.h"
#include "foundation/graphics_path.h"
#include "foundation/paint_surface.h"
#include "foundation/text_layout.h"

namespace {

// The narrowest box a text is laid out in: a box of no width would not wrap
// at all.
constexpr float kMinTextWidth = 0.0001f;

LBoundingBox2T<float> RotatedBox(const LBoundingBox2T<float>& box, LPointTemplate<float> centre,
                                 float degrees) {
    if (degrees == 0.0f)
        return box;
    LGraphicsPath path;
    path.AddRectangle(box.x1, box.y1, box.GetWidth(), box.GetHeight());
    path.Translate(-centre.x, -centre.y);
    path.Rotate(degrees);
    path.Translate(centre.x, centre.y);
    return path.GetBounds();
}

LPointTemplate<float> Centre(const LBoundingBox2T<float>& b) {
    return {(b.x1 + b.x2) * 0.5f, (b.y1 + b.y2) * 0.5f};
}

LBoundingBox2T<float> Scaled(const LBoundingBox2T<float>& b, float sx, float sy) {
    return {b.x1 * sx, b.y1 * sy, b.x2 * sx, b.y2 * sy};
}

// A box resized about the canvas origin: its corner moves with the scale,
// its sides scale.
LBoundingBox2T<float> ResizedBox(const LBoundingBox2T<float>& b, float sx, float sy) {
    const float x1 = b.x1 * sx, y1 = b.y1 * sy;
    return {x1, y1, x1 + b.GetWidth() * sx, y1 + b.GetHeight() * sy};
}

LBoundingBox2T<float> Moved(const LBoundingBox2T<float>& b, float dx, float dy) {
    return {b.x1 + dx, b.y1 + dy, b.x2 + dx, b.y2 + dy};
}

// Rotation about the scaled centre of the box, then the stretch, as the
// text is painted; the targets are finished in the reverse order.
class TextTransform {
public:
    TextTransform(KVRenderImage& target, float rotation, LPointTemplate<float> centre, float sx,
                  float sy)
        : target(target) {
        if (rotation != 0.0f)
            if (KVRenderImage* child = target.BeginRotate(rotation, {centre.x * sx, centre.y * sy})) {
                rotated = child;
                current = child;
            }
        if (sx != 1.0f || sy != 1.0f)
            if (KVRenderImage* child = current->BeginScale(sx, sy)) {
                scaledOn = current;
                current = child;
            }
    }
    ~TextTransform() {
        if (scaledOn)
            scaledOn->FinishScale();
        if (rotated)
            target.FinishRotate();
    }
    TextTransform(const TextTransform&) = delete;
    TextTransform& operator=(const TextTransform&) = delete;

    KVRenderImage& Get() const { return *current; }

private:
    KVRenderImage& target;
    KVRenderImage* current = &target;
    KVRenderImage* rotated = nullptr;
    KVRenderImage* scaledOn = nullptr;
};

// A new box and turn, with the erase strokes taken along: moved and scaled
// with the box, then turned about its new centre.
template <class P> void FollowBox(P& p, const LBoundingBox2T<float>& box, float rotation) {
    KVFollowBoxWithEraserStrokes(p, p.bounds, box);
    p.bounds = box;
    if (rotation != p.rotation)
        p.RotateEraserStrokes(Centre(box), rotation - p.rotation);
    p.rotation = rotation;
}

enum TextSlot : unsigned long { kSlotShadow, kSlotBody, kSlotBevel, kSlotCount };

void WeighSlots(KVSubInterfaceCreator& subs, bool shadow, bool bevel) {
    subs.weights[kSlotShadow] = shadow ? 5 : 0;
    subs.weights[kSlotBody] = 1;
    subs.weights[kSlotBevel] = bevel ? 3 : 0;
}

} // namespace

// ---------------------------------------------------------------- wrapping

KVTextWrapping::KVTextWrapping(const char* t, const char* face, unsigned long size, bool bold,
                               bool italic, bool underline, float boxWidth) {
    LPaintSurfaceImage scratch(1, 1);
    if (!scratch.IsValid())
        return;
    LPaintSurface::SetFont(scratch.context,
                           LGuiFont(face ? face : "", static_cast<float>(size), bold, italic,
                                    underline));
    // The format the targets draw a text element's line with.
    LDrawTextFormat format;
    format.lineBreak = 1;
    format.trimming = 0;
    format.option1 = 1;
    format.option2 = 0;
    LPaintSurfaceTextLayoutManager layout(scratch.context, t ? t : "", format);
    if (!layout.Create(boxWidth))
        return;
    text.Set(layout.GetText());
    for (const auto& r : layout.GetLineRanges())
        ranges.push_back({r.start, r.length});
    float height = 0;
    layout.Measure(width, height);
    lineHeight = layout.GetLineHeight();
}

void KVTextWrapping::GetLineIndices(std::vector<int>& starts) const {
    starts.clear();
    for (const Range& r : ranges)
        starts.push_back(r.start);
}

// A line broken at a space keeps that space at its end, where it would push
// a right-aligned or centred line off its place and carry an underline past
// the last word: it is left out. Spaces before a line break the user typed
// stay.
void KVTextWrapping::GetLines(LList<LStringLongListable>& lines) const {
    const char* s = text.Get();
    const int size = static_cast<int>(text.GetLength());
    for (const Range& r : ranges) {
        int length = r.length;
        const int end = r.start + r.length;
        if (end < size && s[end] != '\n' && s[end] != '\r')
            while (length > 0 && (s[r.start + length - 1] == ' ' || s[r.start + length - 1] == '\t'))
                --length;
        auto* line = new LStringLongListable;
        line->Set(s + r.start, static_cast<unsigned long>(length));
        lines.PushBack(line);
    }
}

const char* KVDefaultTextFace() {
    // Asked once: the list of installed fonts does not change under a
    // running program as far as its menus are concerned.
    static const std::string face = [] {
        LFontsInstalledIterator fonts;
        return std::string(fonts.IsValid() ? fonts.Get() : "");
    }();
    return face.c_str();
}

KVTextElementProperties::KVTextElementProperties() { LStrCopy(font, KVDefaultTextFace()); }

// ---------------------------------------------------------------- plain text

LProcessResult KVTextElement::Render(LProcessInterface& process, KVRenderImage& target) {
    const P p = GetProperties();
    if (p.text.IsEmpty())
        return LProcessResultOk;
    KVBox box = p.bounds;
    if (box.GetWidth() < kMinTextWidth)
        box.x2 = box.x1 + kMinTextWidth;
    LList<LStringLongListable> lines;
    KVTextWrapping(p.text.Get(), p.font, p.fontSize, p.bold, p.italic, p.underline,
                   box.GetWidth())
        .GetLines(lines);
    // Only line breaks: nothing to paint.
    if (lines.IsEmpty())
        return LProcessResultOk;
    const auto align = static_cast<LAlignmentX>(p.alignment);

    KVSubInterfaceCreator subs(process, kSlotCount);
    WeighSlots(subs, p.shadow.Get(), p.bevel.Get());
    TextTransform transform(target, p.rotation, Centre(p.bounds), p.scaleX, p.scaleY);
    KVRenderImage& t = transform.Get();
    if (p.shadow)
        if (LProcessResult r = t.DrawTextLinesShadow(subs.GetSubInterface(kSlotShadow), lines,
                                                     p.fontSize, p.bold, p.italic, p.underline,
                                                     p.font, align, p.lineSpacing, box, *p.shadow))
            return r;
    if (LProcessResult r = t.DrawTextLines(subs.GetSubInterface(kSlotBody), lines, p.fontSize,
                                           p.bold, p.italic, p.underline, p.font, align,
                                           p.lineSpacing, p.colour, box))
        return r;
    if (t.DoesImageUseMetadata())
        KVTagEffects(t, p.shadow.Get(), p.bevel.Get(), nullptr, nullptr);
    if (p.bevel)
        return t.DrawTextLinesBevelEmboss(subs.GetSubInterface(kSlotBevel), lines, p.fontSize,
                                          p.bold, p.italic, p.underline, p.font, align,
                                          p.lineSpacing, box, *p.bevel);
    return LProcessResultOk;
}

namespace {

// A text's frame: a rectangle's, turned as the text is.
KVElementWidget* MakeTextWidget(KVElement* element, const LBoundingBox2T<float>& bounds, float rotation) {
    KVShapeWidgetFactory* factory = KVGetShapeWidgetFactory();
    if (!factory)
        return nullptr;
    KVRectangleElementProperties frame;
    frame.bounds = bounds;
    frame.rotation = rotation;
    return factory->MakeBoxShapeWidget(element, element->GetName(), frame, 0, 0);
}

} // namespace

KVElementWidget* KVTextElement::GetWidget() {
    const P p = GetProperties();
    return MakeTextWidget(this, p.bounds, p.rotation);
}

KVElementWidget* KVRichTextElement::GetWidget() {
    const P p = GetProperties();
    return MakeTextWidget(this, p.bounds, p.rotation);
}

bool KVTextElement::Update(KVElementWidget* widget) {
    if (!widget)
        return false;
    P p = GetProperties();
    const auto* geometry = dynamic_cast<const KVShapeWidgetGeometry*>(widget);
    const LBoundingBox2T<float> box = widget->GetDimensions();
    const float rotation = geometry ? geometry->GetRotation() : p.rotation;
    if (box == p.bounds && rotation == p.rotation)
        return false;
    FollowBox(p, box, rotation);
    SetProperties(p, true, nullptr);
    return true;
}

void KVTextElement::Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) {
    P p = GetProperties();
    FollowBox(p, Moved(p.bounds, -box.x1, -box.y1), p.rotation);
    SetProperties(p, group != nullptr, group);
}

void KVTextElement::Resize(float sx, float sy, bool addUndo) {
    P p = GetProperties();
    FollowBox(p, ResizedBox(p.bounds, sx, sy), p.rotation);
    const long size = Round(static_cast<float>(p.fontSize) * (sx + sy) * 0.5f);
    p.fontSize = size > 0 ? static_cast<unsigned long>(size) : 0;
    SetProperties(p, addUndo, nullptr);
}

// The wrapped text inside its box, as far down as the box lets it go, then
// stretched and turned as it is painted.
LBoundingBox2T<float> KVTextElement::GetRenderedDimensions() const {
    const P p = GetProperties();
    const float boxWidth = std::max(p.bounds.GetWidth(), kMinTextWidth);
    const KVTextWrapping wrap(p.text.Get(), p.font, p.fontSize, p.bold, p.italic, p.underline,
                              boxWidth);
    float height = 0;
    if (const unsigned long n = wrap.GetLineCount())
        height = (static_cast<float>(n - 1) * p.lineSpacing + 1.0f) * wrap.GetLineHeight();
    height = std::min(height, std::max(p.bounds.GetHeight(), 0.0f));
    const LBoundingBox2T<float> text(p.bounds.x1, p.bounds.y1, p.bounds.x2, p.bounds.y1 + height);
    const LBoundingBox2T<float> stretched = Scaled(text, p.scaleX, p.scaleY);
    const LPointTemplate<float> c = Centre(p.bounds);
    return RotatedBox(stretched, {c.x * p.scaleX, c.y * p.scaleY}, p.rotation);
}

void KVTextElement::SetPropertiesFromPanel(const P& panel, bool addUndo) {
    P p = GetProperties();
    p.bold = panel.bold;
    p.italic = panel.italic;
    p.underline = panel.underline;
    p.alignment = panel.alignment;
    p.fontSize = panel.fontSize;
    p.lineSpacing = panel.lineSpacing;
    p.colour = panel.colour;
    LStrCopy(p.font, panel.font);
    p.shadow = panel.shadow;
    p.bevel = panel.bevel;
    SetProperties(p, addUndo, nullptr);
}

// ---------------------------------------------------------------- rich text

LProcessResult KVRichTextElement::Render(LProcessInterface& process, KVRenderImage& target) {
    const P p = GetProperties();
    if (p.segments.empty())
        return LProcessResultOk;
    KVSubInterfaceCreator subs(process, kSlotCount);
    WeighSlots(subs, p.shadow.Get(), p.bevel.Get());
    TextTransform transform(target, p.rotation, Centre(p.bounds), p.scaleX, p.scaleY);
    KVRenderImage& t = transform.Get();
    const auto sizeOf = [](const KVRichTextSegment& s) {
        const long size = Round(s.size);
        return size > 0 ? static_cast<unsigned long>(size) : 0ul;
    };
    const double share = 1.0 / static_cast<double>(p.segments.size());
    // Every shadow goes under every run, so a run never lies in the shadow of
    // the one before it.
    if (p.shadow) {
        LProcessInterface& slot = subs.GetSubInterface(kSlotShadow);
        for (size_t i = 0; i < p.segments.size(); ++i) {
            const KVRichTextSegment& s = p.segments[i];
            LProcessInterfaceSubProcess sub(slot, share * static_cast<double>(i), share);
            if (LProcessResult r = t.DrawTextShadow(sub, s.text.Get(), sizeOf(s), s.bold, s.italic,
                                                    s.underline, s.font, LAlignmentXLeft, s.bounds,
                                                    *p.shadow))
                return r;
        }
    }
    LProcessInterface& body = subs.GetSubInterface(kSlotBody);
    for (size_t i = 0; i < p.segments.size(); ++i) {
        const KVRichTextSegment& s = p.segments[i];
        LProcessInterfaceSubProcess sub(body, share * static_cast<double>(i), share);
        if (LProcessResult r = t.DrawText(sub, s.text.Get(), sizeOf(s), s.bold, s.italic,
                                          s.underline, s.font, LAlignmentXLeft,
                                          LGuiColorAlpha(s.colour, 255), s.bounds))
            return r;
        if (p.bevel)
            if (LProcessResult r = t.DrawTextBevelEmboss(sub, s.text.Get(), sizeOf(s), s.bold,
                                                         s.italic, s.underline, s.font,
                                                         LAlignmentXLeft, s.bounds, *p.bevel))
                return r;
    }
    if (t.DoesImageUseMetadata())
        KVTagEffects(t, p.shadow.Get(), p.bevel.Get(), nullptr, nullptr);
    return LProcessResultOk;
}

bool KVRichTextElement::Update(KVElementWidget* widget) {
    if (!widget)
        return false;
    P p = GetProperties();
    const auto* geometry = dynamic_cast<const KVShapeWidgetGeometry*>(widget);
    const LBoundingBox2T<float> box = widget->GetDimensions();
    const float rotation = geometry ? geometry->GetRotation() : p.rotation;
    if (box == p.bounds && rotation == p.rotation)
        return false;
    // The runs go where the box goes; their sizes are the editor's business.
    for (KVRichTextSegment& s : p.segments)
        s.bounds = Moved(s.bounds, box.x1 - p.bounds.x1, box.y1 - p.bounds.y1);
    FollowBox(p, box, rotation);
    SetProperties(p, true, nullptr);
    return true;
}

void KVRichTextElement::Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) {
    P p = GetProperties();
    FollowBox(p, Moved(p.bounds, -box.x1, -box.y1), p.rotation);
    for (KVRichTextSegment& s : p.segments)
        s.bounds = Moved(s.bounds, -box.x1, -box.y1);
    SetProperties(p, group != nullptr, group);
}

// Each run keeps its size and moves with its corner, so the text keeps its
// look and only its place changes with the picture.
void KVRichTextElement::Resize(float sx, float sy, bool addUndo) {
    P p = GetProperties();
    FollowBox(p, ResizedBox(p.bounds, sx, sy), p.rotation);
    for (KVRichTextSegment& s : p.segments)
        s.bounds = Moved(s.bounds, s.bounds.x1 * sx - s.bounds.x1, s.bounds.y1 * sy - s.bounds.y1);
    SetProperties(p, addUndo, nullptr);
}

LBoundingBox2T<float> KVRichTextElement::GetRenderedDimensions() const {
    const P p = GetProperties();
    const LPointTemplate<float> c = Centre(p.bounds);
    return RotatedBox(Scaled(p.bounds, p.scaleX, p.scaleY), {c.x * p.scaleX, c.y * p.scaleY},
                      p.rotation);
}

void KVRichTextElement::SetPropertiesFromPanel(const P& panel, bool addUndo) {
    P p = GetProperties();
    p.alignment = panel.alignment;
    p.lineSpacing = panel.lineSpacing;
    p.shadow = panel.shadow;
    p.bevel = panel.bevel;
    // The runs take their formats, run by run; their text and boxes stay.
    for (size_t i = 0; i < p.segments.size() && i < panel.segments.size(); ++i) {
        KVRichTextSegment& run = p.segments[i];
        const KVRichTextSegment& format = panel.segments[i];
        run.bold = format.bold;
        run.italic = format.italic;
        run.underline = format.underline;
        LStrCopy(run.font, format.font);
        run.size = format.size;
        run.colour = format.colour;
    }
    SetProperties(p, addUndo, nullptr);
}

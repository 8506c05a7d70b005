#pragma once
// The render target that writes an SVG file. Every operation appends one or
// more elements to a tree kept in memory; effects become filters and masks,
// and each element carries, in the program's own "tolmar:" namespace, what a
// later read needs to rebuild it. The file is written whole by SaveAsFile.
//
// The file's form is fixed to the byte: attributes stand in name order, ids
// are "filter%d", "grad%d", "Mask%d" and "Symbol%d" of one counter, and each
// transform's sub-target takes 1024 ids of room.

#include <memory>
#include <string>
#include <vector>

#include "foundation/xml.h"
#include "imaging/image_buffer.h"
#include "target/render_image.h"

// The namespace of the program's own attributes in the files it writes.
inline constexpr const char* kKVSVGNamespace = "https://korvane.org/ns/tolmar/1";

class KVProject;

// A project's current image saved as an SVG file: its background, then the
// project rendered as on screen, pictures embedded when the image says so.
struct KVProjectSVGSave {
    const KVProject* project = nullptr;
    const char* path = nullptr;
};
// 2 with a message when there is no image or the file cannot be written.
LProcessResult Process(LProcessInterface& process, KVProjectSVGSave& save);

class KVRenderImageSVG : public KVRenderImage {
public:
    KVRenderImageSVG(unsigned long width, unsigned long height);
    ~KVRenderImageSVG() override;
    KVRenderImageSVG(const KVRenderImageSVG&) = delete;
    KVRenderImageSVG& operator=(const KVRenderImageSVG&) = delete;

    // Pictures go into the file as PNG data instead of files beside it.
    bool embedImages = false;

    // The whole document as it goes to the file.
    std::string GetDocumentText() const;
    // Writes the document to a temporary file beside `path` that replaces
    // `path` only when complete, then the pictures not embedded, beside it.
    bool SaveAsFile(const char* path) override;
    const LXMLElement& GetRoot() const { return root; }

    KVRenderImage* BeginRotate(float degrees, KVPoint centre) override;
    void FinishRotate() override;
    KVRenderImage* BeginScale(float x, float y) override;
    void FinishScale() override;
    KVRenderImage* BeginTranslate(float x, float y) override;
    void FinishTranslate() override;
    // A glow's content goes to a child that nothing brings back: in the file
    // a glowing element has its shadow and nothing else.
    KVRenderImage* BeginInnerGlow(LGuiColorAlpha colour, float size) override;
    KVRenderImage* BeginOuterGlow(LGuiColorAlpha colour, float size) override;
    using KVRenderImage::FinishInnerGlow;
    using KVRenderImage::FinishOuterGlow;
    // A glow as masks and a blurred rectangle of its colour around each
    // element drawn inside it. Ready for when elements bring their glows
    // back; nothing calls them yet.
    virtual void FinishInnerGlow() { FinishGlow(true); }
    virtual void FinishOuterGlow() { FinishGlow(false); }

    bool DoesImageUseMetadata() override { return true; }
    // On the last element of the file, whatever it is.
    void TagLastElement(const char* key, const char* value) override;

    LProcessResult Clear(LPixelColour colour) override;
    LProcessResult EraserStroke(LProcessInterface& process,
                                LListIterator<KVEraserStroke> strokes) override;

    LProcessResult DrawPoly(LProcessInterface& process, float lineWidth,
                            const LGuiColorAlpha& lineColour, KVPoint* points,
                            unsigned long pointCount, const KVBox& bounds) override;
    LProcessResult FillPoly(LProcessInterface& process, float lineWidth,
                            const LGuiColorAlpha& lineColour, const LGuiColorAlpha& fillColour,
                            KVPoint* points, unsigned long pointCount,
                            const KVBox& bounds) override;
    LProcessResult FillPoly(LProcessInterface& process, const KVGradient& gradient,
                            float lineWidth, const LGuiColorAlpha& lineColour, KVPoint* points,
                            unsigned long pointCount, const KVBox& bounds) override;
    LProcessResult DrawPolyShadow(LProcessInterface& process, KVPoint* points,
                                  unsigned long pointCount, const KVBox& bounds, float lineWidth,
                                  bool hasFill, const KVDropShadow& shadow) override;
    LProcessResult DrawPolyBevelEmboss(LProcessInterface& process, float lineWidth,
                                       const LGuiColorAlpha& lineColour, KVPoint* points,
                                       unsigned long pointCount, const KVBox& bounds,
                                       const KVBevelEmboss& bevel) override;
    LProcessResult FillPolyBevelEmboss(LProcessInterface& process, float lineWidth,
                                       const LGuiColorAlpha& lineColour,
                                       const LGuiColorAlpha& fillColour, KVPoint* points,
                                       unsigned long pointCount, const KVBox& bounds,
                                       const KVBevelEmboss& bevel) override;
    LProcessResult FillPolyBevelEmboss(LProcessInterface& process, const KVGradient& gradient,
                                       float lineWidth, const LGuiColorAlpha& lineColour,
                                       KVPoint* points, unsigned long pointCount,
                                       const KVBox& bounds, const KVBevelEmboss& bevel) override;

    LProcessResult DrawEllipse(LProcessInterface& process, float lineWidth,
                               const LGuiColorAlpha& lineColour, const KVBox& bounds) override;
    LProcessResult FillEllipse(LProcessInterface& process, float lineWidth,
                               const LGuiColorAlpha& lineColour, const LGuiColorAlpha& fillColour,
                               const KVBox& bounds) override;
    LProcessResult FillEllipse(LProcessInterface& process, const KVGradient& gradient,
                               float lineWidth, const LGuiColorAlpha& lineColour,
                               const KVBox& bounds) override;
    LProcessResult DrawEllipseShadow(LProcessInterface& process, const KVBox& bounds,
                                     float lineWidth, bool hasFill,
                                     const KVDropShadow& shadow) override;
    LProcessResult DrawEllipseBevelEmboss(LProcessInterface& process, float lineWidth,
                                          const LGuiColorAlpha& lineColour, const KVBox& bounds,
                                          const KVBevelEmboss& bevel) override;
    LProcessResult FillEllipseBevelEmboss(LProcessInterface& process, float lineWidth,
                                          const LGuiColorAlpha& lineColour,
                                          const LGuiColorAlpha& fillColour, const KVBox& bounds,
                                          const KVBevelEmboss& bevel) override;
    LProcessResult FillEllipseBevelEmboss(LProcessInterface& process, const KVGradient& gradient,
                                          float lineWidth, const LGuiColorAlpha& lineColour,
                                          const KVBox& bounds, const KVBevelEmboss& bevel) override;

    LProcessResult DrawRect(LProcessInterface& process, float lineWidth,
                            const LGuiColorAlpha& lineColour, const KVBox& bounds) override;
    LProcessResult FillRect(LProcessInterface& process, float lineWidth,
                            const LGuiColorAlpha& lineColour, const LGuiColorAlpha& fillColour,
                            const KVBox& bounds) override;
    LProcessResult FillRect(LProcessInterface& process, const KVGradient& gradient,
                            float lineWidth, const LGuiColorAlpha& lineColour,
                            const KVBox& bounds) override;
    LProcessResult DrawRectShadow(LProcessInterface& process, const KVBox& bounds,
                                  float lineWidth, bool hasFill,
                                  const KVDropShadow& shadow) override;
    LProcessResult DrawRectBevelEmboss(LProcessInterface& process, float lineWidth,
                                       const LGuiColorAlpha& lineColour, const KVBox& bounds,
                                       const KVBevelEmboss& bevel) override;
    LProcessResult FillRectBevelEmboss(LProcessInterface& process, float lineWidth,
                                       const LGuiColorAlpha& lineColour,
                                       const LGuiColorAlpha& fillColour, const KVBox& bounds,
                                       const KVBevelEmboss& bevel) override;
    LProcessResult FillRectBevelEmboss(LProcessInterface& process, const KVGradient& gradient,
                                       float lineWidth, const LGuiColorAlpha& lineColour,
                                       const KVBox& bounds, const KVBevelEmboss& bevel) override;

    LProcessResult DrawLine(LProcessInterface& process, float lineWidth,
                            const LGuiColorAlpha& lineColour, KVLineCapStyle startCap,
                            KVLineCapStyle endCap, LLineDashStyle dash, float x1, float y1,
                            float x2, float y2) override;

    // Raw markup behind the tree, so that a traced picture of thousands of
    // paths costs no nodes.
    bool FastFillPath(const KVDrawPath& path, const LGuiColorAlpha& colour) override;

    LProcessResult DrawPath(LProcessInterface& process, KVBrushType brushType,
                            KVSegments segments, const LLineStyle& style, float width,
                            LGuiColorAlpha colour, const KVBox& bounds, unsigned char blurRadius,
                            const KVPressure* pressure) override;
    LProcessResult FillPath(LProcessInterface& process, KVSegments segments, float lineWidth,
                            LGuiColor lineColour, LGuiColorAlpha fillColour) override;
    LProcessResult FillPath(LProcessInterface& process, KVSegments segments, float lineWidth,
                            LGuiColor lineColour, const KVGradient& gradient,
                            const KVBox& bounds) override;
    LProcessResult DrawPathShadow(LProcessInterface& process, KVBrushType brushType,
                                  KVSegments segments, float width, bool hasFill,
                                  const KVDropShadow& shadow, const KVBox& bounds,
                                  const KVPressure* pressure) override;
    LProcessResult DrawPathBevelEmboss(LProcessInterface& process, KVBrushType brushType,
                                       KVSegments segments, float width, LGuiColor colour,
                                       const KVBevelEmboss& bevel, const KVBox& bounds,
                                       const KVPressure* pressure) override;
    LProcessResult FillPathBevelEmboss(LProcessInterface& process, KVBrushType brushType,
                                       KVSegments segments, float width, LGuiColor lineColour,
                                       LGuiColorAlpha fillColour, const KVBox& bounds,
                                       const KVBevelEmboss& bevel,
                                       const KVPressure* pressure) override;
    LProcessResult FillPathBevelEmboss(LProcessInterface& process, KVBrushType brushType,
                                       KVSegments segments, float width, LGuiColor lineColour,
                                       const KVGradient& gradient, const KVBox& bounds,
                                       const KVBevelEmboss& bevel,
                                       const KVPressure* pressure) override;

    LProcessResult DrawImage(LProcessInterface& process, const LImageBuffer& image, int x, int y,
                             int width, int height) override;

    LProcessResult DrawText(LProcessInterface& process, const char* text, unsigned long size,
                            bool bold, bool italic, bool underline, const char* face,
                            LAlignmentX align, LGuiColorAlpha colour, KVBox box) override;
    LProcessResult DrawTextShadow(LProcessInterface& process, const char* text,
                                  unsigned long size, bool bold, bool italic, bool underline,
                                  const char* face, LAlignmentX align, KVBox box,
                                  const KVDropShadow& shadow) override;
    LProcessResult DrawTextBevelEmboss(LProcessInterface& process, const char* text,
                                       unsigned long size, bool bold, bool italic, bool underline,
                                       const char* face, LAlignmentX align, KVBox box,
                                       const KVBevelEmboss& bevel) override;

private:
    // A picture to be written beside the file, under its own name.
    struct RasterImage {
        std::string name;
        LImageBuffer picture;
    };
    enum class Transform { None, Rotate, Scale, Translate };

    LXMLElement* Add(const char* name) { return root.AddElement(new LXMLElement(name)); }
    KVRenderImage* BeginChild(Transform kind);
    void FinishChild(Transform kind);
    void FinishGlow(bool inner);

    LXMLElement* NewShapeElement(const char* name, const KVBox& bounds, KVPoint* points,
                                 unsigned long pointCount);
    void SetOutline(LXMLElement& e, float lineWidth, const LGuiColorAlpha& lineColour);
    LXMLElement* AddGradient(const KVGradient& gradient);
    LXMLElement* AddShadowFilter(const KVDropShadow& shadow, const KVBox& bounds, float& scale);
    void AddBevelFilter(const KVBevelEmboss& bevel);
    LProcessResult Shape(LProcessInterface& process, const char* name, const KVBox& bounds,
                         KVPoint* points, unsigned long pointCount, float lineWidth,
                         const LGuiColorAlpha& lineColour, const LGuiColorAlpha* fill,
                         const KVGradient* gradient, const KVBevelEmboss* bevel,
                         bool shortBounds = false);
    LProcessResult ShapeShadow(LProcessInterface& process, const char* name, const KVBox& bounds,
                               KVPoint* points, unsigned long pointCount, float lineWidth,
                               bool hasFill, const KVDropShadow& shadow);
    void AddLineCap(KVLineCapStyle style, float width, const LGuiColorAlpha& colour, KVPoint at,
                    KVPoint other);

    std::unique_ptr<LXMLElement> BrushPathNormal(KVSegments segments, float width,
                                                 const LGuiColorAlpha& colour, int brushType,
                                                 unsigned char blur);
    std::unique_ptr<LXMLElement> BrushPathStamp(LProcessInterface& process, KVSegments segments,
                                                KVBrushType type, float width, LGuiColor colour,
                                                unsigned char alpha, unsigned char blur,
                                                const KVPressure* pressure);
    // The path of a brush as the operation's table chooses it: `stampFirst`
    // for the types whose first choice is the stamped form.
    LProcessResult AddBrushPath(LProcessInterface& process, KVBrushType type, KVSegments segments,
                                float width, const LGuiColorAlpha& colour, unsigned char blur,
                                const KVPressure* pressure, bool stampFirst,
                                LXMLElement** added = nullptr);

    LProcessResult Text(LProcessInterface& process, const char* text, unsigned long size,
                        bool bold, bool italic, bool underline, const char* face,
                        LAlignmentX align, const LGuiColorAlpha* colour, KVBox box,
                        const KVDropShadow* shadow, const KVBevelEmboss* bevel);

    LXMLElement root;
    unsigned long width;
    unsigned long height;
    unsigned long nextImageNumber = 0;
    unsigned long nextId = 0;
    std::vector<RasterImage> rasterImages;
    std::unique_ptr<KVRenderImageSVG> child;
    Transform childKind = Transform::None;
    float rotateDegrees = 0;
    KVPoint rotateCentre;
    float scaleX = 1.0f, scaleY = 1.0f;
    float translateX = 0, translateY = 0;
    LGuiColorAlpha glowColour{0, 0, 0, 255};
    float glowSize = 0;
    std::string fastPaths;
};

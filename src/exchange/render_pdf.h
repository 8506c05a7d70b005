#pragma once
// The render target that writes a one-page PDF file. Plain geometry goes to
// the page as vector drawing; whatever has a soft edge, a stamp or a light
// (shadows, bevels, glows, brush strokes) is painted by the raster target
// and placed as a picture cut to the area it covers. Text is both: its
// picture, and over it a run that cannot be seen but can be selected and
// searched.
//
// The file is written to a temporary file from the start and moved into
// place by SaveAsFile, so a render that fails or stops leaves the
// destination alone.

#include <memory>

#include "exchange/pdf_writer.h"
#include "target/render_image.h"

class KVProject;
class KVRenderImageBuffer;

// A project's current image saved as a PDF file of its size in points.
struct KVProjectPDFSave {
    const KVProject* project = nullptr;
    const char* path = nullptr;
};
// 2 with a message when there is no image or the file cannot be written.
LProcessResult Process(LProcessInterface& process, KVProjectPDFSave& save);

class KVRenderImagePDF : public KVRenderImage {
public:
    // `folder` holds the temporary file; null for the system's.
    KVRenderImagePDF(int width, int height, const char* folder = nullptr);
    ~KVRenderImagePDF() override;
    KVRenderImagePDF(const KVRenderImagePDF&) = delete;
    KVRenderImagePDF& operator=(const KVRenderImagePDF&) = delete;

    // False when no temporary file could be made: every drawing operation
    // then gives 2 with this message.
    bool IsValid() const { return writer && writer->IsValid(); }
    static constexpr const char* kNoWriterError =
        "The PDF file could not be started: no temporary file could be made.";

    // Ends the page and moves the document into place; false leaves `path`
    // as it was and removes the temporary file.
    bool SaveAsFile(const char* path) override;

    // No sub-targets: a transform is concatenated between a save and a
    // restore of the page's state.
    KVRenderImage* BeginRotate(float degrees, KVPoint centre) override;
    void FinishRotate() override;
    KVRenderImage* BeginScale(float x, float y) override;
    void FinishScale() override;
    KVRenderImage* BeginTranslate(float x, float y) override;
    void FinishTranslate() override;
    // The glowing element is drawn in raster, on a page-sized picture.
    KVRenderImage* BeginInnerGlow(LGuiColorAlpha colour, float size) override;
    void FinishInnerGlow(LProcessInterface& process) override;
    KVRenderImage* BeginOuterGlow(LGuiColorAlpha colour, float size) override;
    void FinishOuterGlow(LProcessInterface& process) override;

    bool DoesImageUseMetadata() override { return false; }

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
    LProcessResult FillPoly(LProcessInterface& process, const KVGradient& gradient, float lineWidth,
                            const LGuiColorAlpha& lineColour, KVPoint* points,
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
    LProcessResult FillRect(LProcessInterface& process, const KVGradient& gradient, float lineWidth,
                            const LGuiColorAlpha& lineColour, const KVBox& bounds) override;
    LProcessResult DrawRectShadow(LProcessInterface& process, const KVBox& bounds, float lineWidth,
                                  bool hasFill, const KVDropShadow& shadow) override;
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

    bool FastFillPath(const LGraphicsPath& path, const LGuiColorAlpha& colour) override;

    LProcessResult DrawPath(LProcessInterface& process, KVBrushType brushType, KVSegments segments,
                            const LLineStyle& style, float width, LGuiColorAlpha colour,
                            const KVBox& bounds, unsigned char blurRadius,
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
    LProcessResult DrawTextShadow(LProcessInterface& process, const char* text, unsigned long size,
                                  bool bold, bool italic, bool underline, const char* face,
                                  LAlignmentX align, KVBox box,
                                  const KVDropShadow& shadow) override;
    LProcessResult DrawTextBevelEmboss(LProcessInterface& process, const char* text,
                                       unsigned long size, bool bold, bool italic, bool underline,
                                       const char* face, LAlignmentX align, KVBox box,
                                       const KVBevelEmboss& bevel) override;

private:
    // Runs `draw` on a transparent raster target of the page's size and
    // places what it painted, cut to the pixels it covers.
    template <class Draw> LProcessResult Rasterise(LProcessInterface& process, Draw&& draw);
    // The covered part of a page-sized picture, placed where it lies.
    void PlaceCovered(const LImageBuffer& picture);
    LProcessResult NoWriter(LProcessInterface& process);
    void FinishGlow(LProcessInterface& process, bool inner);
    LProcessResult FillBox(const LGuiBrush& fill, float lineWidth, const LGuiColorAlpha& lineColour,
                           const KVBox& bounds, bool ellipse);
    LProcessResult FillBoxWithGradient(const KVGradient& gradient, float lineWidth,
                                       const LGuiColorAlpha& lineColour, const KVBox& bounds,
                                       bool ellipse);
    LProcessResult FillPolyWith(const LGuiBrush& fill, float lineWidth,
                                const LGuiColorAlpha& lineColour, KVPoint* points,
                                unsigned long pointCount);
    LProcessResult FillPathWith(KVSegments segments, const LGuiBrush& fill, float lineWidth,
                                LGuiColor lineColour);
    void PopState();

    int width;
    int height;
    char tempPath[4096] = {};
    std::unique_ptr<LPDFWriter> writer;
    std::unique_ptr<KVRenderImageBuffer> glowTarget;
};

#pragma once
// The render target that paints pixels: the screen, raster exports, the
// clipboard and the printer all render through it. It owns one picture and
// the painter over it; a transform's content is drawn on a child of the same
// size whose surface carries the transform, so vector drawing stays sharp,
// and the child is composed into this picture when the transform finishes.

#include <memory>

#include "foundation/ptr.h"
#include "imaging/image_buffer.h"
#include "imaging/image_painter.h"
#include "target/render_image.h"

class LGuiBrush;

class KVRenderImageBuffer : public KVRenderImage {
public:
    // The picture is not cleared: whoever makes a target calls Clear. A
    // `transparent` one starts cleared, and a large one takes memory only
    // where it is drawn on, as a glow's child does.
    KVRenderImageBuffer(int width, int height, bool transparent = false);
    ~KVRenderImageBuffer() override;
    KVRenderImageBuffer(const KVRenderImageBuffer&) = delete;
    KVRenderImageBuffer& operator=(const KVRenderImageBuffer&) = delete;

    LImageBuffer& GetImage() { return image; }
    // The deepest target in drawing, and the one just above it.
    KVRenderImageBuffer* GetCurrentImage();
    KVRenderImageBuffer* GetClosingImage();

    bool SaveAsFile(const char* path) override;

    KVRenderImage* BeginRotate(float degrees, KVPoint centre) override;
    void FinishRotate() override { FinishTransform(true); }
    KVRenderImage* BeginScale(float x, float y) override;
    void FinishScale() override { FinishTransform(true); }
    KVRenderImage* BeginTranslate(float x, float y) override;
    void FinishTranslate() override { FinishTransform(true); }
    // A glow's content is drawn on a child twice this picture's size, with
    // the element in its middle, so that a glow overhanging the picture is
    // kept; a glow inside a glow uses a child of the same doubled size.
    KVRenderImage* BeginInnerGlow(LGuiColorAlpha colour, float size) override;
    void FinishInnerGlow(LProcessInterface& process) override;
    KVRenderImage* BeginOuterGlow(LGuiColorAlpha colour, float size) override;
    void FinishOuterGlow(LProcessInterface& process) override;

    // Composes the child into this picture and drops it.
    void FinishTransform(bool flushChild);

    // Brings the picture up to date and puts the transform back on the
    // surface; on a rotated child the rotation is then applied twice, so
    // nothing may be drawn on a child after its flush.
    void Flush() override;
    bool DoesImageUseMetadata() override { return false; }

    // Also installs the transform: rotation about the centre, then scale,
    // then translation.
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
    LProcessResult DrawPolyBevelEmboss(LProcessInterface& process, float, const LGuiColorAlpha&, KVPoint*,
                                       unsigned long, const KVBox&,
                                       const KVBevelEmboss&) override;
    LProcessResult FillPolyBevelEmboss(LProcessInterface& process, float, const LGuiColorAlpha&,
                                       const LGuiColorAlpha&, KVPoint*, unsigned long,
                                       const KVBox&, const KVBevelEmboss&) override;
    LProcessResult FillPolyBevelEmboss(LProcessInterface& process, const KVGradient&, float,
                                       const LGuiColorAlpha&, KVPoint*, unsigned long,
                                       const KVBox&, const KVBevelEmboss&) override;

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
    LProcessResult DrawEllipseBevelEmboss(LProcessInterface& process, float, const LGuiColorAlpha&,
                                          const KVBox&, const KVBevelEmboss&) override;
    LProcessResult FillEllipseBevelEmboss(LProcessInterface& process, float, const LGuiColorAlpha&,
                                          const LGuiColorAlpha&, const KVBox&,
                                          const KVBevelEmboss&) override;
    LProcessResult FillEllipseBevelEmboss(LProcessInterface& process, const KVGradient&, float,
                                          const LGuiColorAlpha&, const KVBox&,
                                          const KVBevelEmboss&) override;

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
    LProcessResult DrawRectBevelEmboss(LProcessInterface& process, float, const LGuiColorAlpha&,
                                       const KVBox&, const KVBevelEmboss&) override;
    LProcessResult FillRectBevelEmboss(LProcessInterface& process, float, const LGuiColorAlpha&,
                                       const LGuiColorAlpha&, const KVBox&,
                                       const KVBevelEmboss&) override;
    LProcessResult FillRectBevelEmboss(LProcessInterface& process, const KVGradient&, float,
                                       const LGuiColorAlpha&, const KVBox&,
                                       const KVBevelEmboss&) override;

    LProcessResult DrawLine(LProcessInterface& process, float lineWidth,
                            const LGuiColorAlpha& lineColour, KVLineCapStyle startCap,
                            KVLineCapStyle endCap, LLineDashStyle dash, float x1, float y1,
                            float x2, float y2) override;

    bool FastFillPath(const LGraphicsPath& path, const LGuiColorAlpha& colour) override;
    using KVRenderImage::FastFillPath;

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
    LProcessResult DrawPathBevelEmboss(LProcessInterface& process, KVBrushType, KVSegments, float,
                                       LGuiColor, const KVBevelEmboss&, const KVBox&,
                                       const KVPressure*) override;
    LProcessResult FillPathBevelEmboss(LProcessInterface& process, KVBrushType, KVSegments, float,
                                       LGuiColor, LGuiColorAlpha, const KVBox&,
                                       const KVBevelEmboss&, const KVPressure*) override;
    LProcessResult FillPathBevelEmboss(LProcessInterface& process, KVBrushType, KVSegments, float,
                                       LGuiColor, const KVGradient&, const KVBox&,
                                       const KVBevelEmboss&, const KVPressure*) override;

    LProcessResult DrawImage(LProcessInterface& process, const LImageBuffer& picture, int x, int y,
                             int width, int height) override;

    LProcessResult DrawText(LProcessInterface& process, const char* text, unsigned long size,
                            bool bold, bool italic, bool underline, const char* face,
                            LAlignmentX align, LGuiColorAlpha colour, KVBox box) override;
    LProcessResult DrawTextShadow(LProcessInterface& process, const char* text,
                                  unsigned long size, bool bold, bool italic, bool underline,
                                  const char* face, LAlignmentX align, KVBox box,
                                  const KVDropShadow& shadow) override;
    LProcessResult DrawTextBevelEmboss(LProcessInterface& process, const char*, unsigned long, bool, bool,
                                       bool, const char*, LAlignmentX, KVBox,
                                       const KVBevelEmboss&) override;

    // The stroke of a path on a layer of its own, placed on `surface`; the
    // layer can be blurred without mixing in anything but the stroke.
    static LProcessResult RenderPath(LProcessInterface& process, LPaintContext& surface,
                                     KVSegments segments, KVBrushType brushType,
                                     const LLineStyle& style, float width, LGuiColorAlpha colour,
                                     float alpha, unsigned char blurRadius, const KVBox& bounds);

    // A freehand path as stamps along its curve (every brush but the plain
    // pen and the marker), on a layer of its own placed on `surface`:
    // `alpha` (0 to 1) is the stroke's, over stamps that may overlap;
    // `black` lays them in black, as a shadow does; pressure sizes the
    // stamps of the pen and the calligraphy pens.
    static LProcessResult StampPath(LProcessInterface& process, LPaintContext& surface,
                                    KVSegments segments, KVBrushType brushType, float width,
                                    LGuiColorAlpha colour, float alpha, unsigned char blurRadius,
                                    const KVBox& bounds, bool black, const KVPressure* pressure);

    // The brush of a gradient record over a box; false when none was made.
    static bool CreateGradient(LPtr<LGuiBrush>& brush, const KVGradient& gradient,
                               const KVBox& box);

    // A text as a picture for the effects: `colour` everywhere, with the
    // text's coverage as alpha. 2 when no picture could be made.
    static LProcessResult DrawText(LProcessInterface& process, LImageBuffer& out, const char* text,
                                   unsigned long size, bool bold, bool italic, bool underline,
                                   const char* face, LAlignmentX align, int width, int height,
                                   LGuiColorAlpha colour);

    // The box filled under an outline of this width: a fill never shows a
    // seam under its outline.
    static KVBox GetFillBox(const KVBox& bounds, float lineWidth);

    // The transform a Begin... gave this target.
    float rotation = 0;
    float scaleX = 1.0f, scaleY = 1.0f;
    float translateX = 0, translateY = 0;
    float centreX = 0, centreY = 0;
    LGuiColorAlpha glowColour{0, 0, 0, 255};
    float glowSize = 0;

private:
    bool HasSurface() const { return painter && painter->IsValid(); }
    LPaintContext& Surface() { return painter->context; }
    void InstallTransform();
    // A drop shadow of a box-sized shape: `draw` lays the shape in black on
    // a transparent layer `width` by `height`, which is blurred by `radius`
    // and placed with its corner `pad` up and left of the shifted box.
    template <class Draw>
    LProcessResult PlaceShadow(LProcessInterface& process, const KVBox& bounds,
                               const KVDropShadow& shadow, long width, long height, int radius,
                               long pad, Draw&& draw);
    // A bevel's highlight: `draw` lays the shape's alpha, `margin` pixels in
    // from the corner of a transparent layer that reaches as far past the
    // box; the layer is lit and the light drawn over the body.
    template <class Draw>
    LProcessResult PlaceBevel(LProcessInterface& process, const KVBox& bounds, int margin,
                              Draw&& draw);
    LProcessResult BoxBevel(LProcessInterface& process, unsigned char alpha, float lineWidth,
                            const KVBox& bounds, const KVBevelEmboss& bevel, bool fill,
                            bool ellipse);
    LProcessResult PolyBevel(LProcessInterface& process, unsigned char alpha, float lineWidth,
                             KVPoint* points, unsigned long pointCount, const KVBox& bounds,
                             const KVBevelEmboss& bevel, bool fill);
    LProcessResult FillPathBevel(LProcessInterface& process, unsigned char alpha,
                                 KVSegments segments, float lineWidth, const KVBox& bounds,
                                 const KVBevelEmboss& bevel);
    // Blurs a shadow's layer, then draws it with its corner at (x, y).
    LProcessResult BlurAndPlace(LProcessInterface& process, LImageBuffer& layer, int radius,
                                float x, float y, double blurStart, double blurShare);
    // A child of this picture's size, or of the size given; a transparent
    // one needs no clear, and so takes memory only where it is drawn on.
    KVRenderImageBuffer* NewChild();
    KVRenderImageBuffer* NewChild(int width, int height, bool transparent);
    KVRenderImage* BeginGlow(LGuiColorAlpha colour, float size);
    // The glow's child composed by this target's transform, with the
    // translation that undoes the child's for the duration.
    void ComposeGlow();
    // Both glows start alike: the child flushed, a mask over the element's
    // box and the glow's reach in `colour`, its alpha `blank` where nothing
    // was drawn and `drawn` where the element is, then blurred; `area` is
    // {x1, y1, x2, y2} of the mask in the child. False when the finish ends
    // here: with nothing drawn the child is composed as it is, out of memory
    // or stopped it is dropped.
    bool BlurGlowMask(LProcessInterface& process, const unsigned char (&colour)[3],
                      unsigned char blank, unsigned char drawn, LImageBuffer& mask, int (&area)[4]);
    void DropChild();
    LProcessResult FillBoxShape(LProcessInterface& process, const LGuiBrush& fill, float lineWidth,
                                const LGuiColorAlpha& lineColour, const KVBox& bounds,
                                bool ellipse);
    LProcessResult FillBoxShapeWithGradient(LProcessInterface& process, const KVGradient& gradient,
                                            float lineWidth, const LGuiColorAlpha& lineColour,
                                            const KVBox& bounds, bool ellipse);
    LProcessResult FillPolyWith(const LGuiBrush& fill, float lineWidth,
                                const LGuiColorAlpha& lineColour, KVPoint* points,
                                unsigned long pointCount);
    LProcessResult FillPathWith(KVSegments segments, const LGuiBrush& fill, float lineWidth,
                                LGuiColor lineColour);

    // What the drawing since the last clear may have changed, in pixels,
    // right and bottom exclusive, so that a child is composed and cleaned
    // only there: a transformed element costs in proportion to its size.
    void Touch(const KVBox& box, float pad);
    void TouchAll();
    void TouchPixels(int x1, int y1, int x2, int y2);
    // Ready to be a new child again: no transform, all transparent.
    void Recycle();

    LImageBuffer image;
    std::unique_ptr<LImageBufferPainter> painter;
    KVRenderImageBuffer* child = nullptr;
    // A finished child kept, cleaned, for the next Begin...
    KVRenderImageBuffer* spare = nullptr;
    // The picture is known to be all transparent.
    bool clean = false;
    bool touched = false;
    int touchX1 = 0, touchY1 = 0, touchX2 = 0, touchY2 = 0;
};

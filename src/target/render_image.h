#pragma once
// The abstract render target through which every element paints, in shapes
// and effects rather than pixels, so that one render routine per element
// feeds the screen and every export.
//
// Sub-targets: a Begin... returns the target to draw the transform's or
// glow's content on (a new object or the same one); the matching Finish... is
// called on the object Begin... was called on, in reverse order, and applies
// what was drawn. A target has at most one child: a second Begin... drops the
// first. The child belongs to its parent; a caller never deletes it.

#include <optional>

#include "target/cache_handle.h"
#include "target/effects.h"
#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/list.h"
#include "foundation/process.h"
#include "foundation/string.h"
#include "foundation/text_format.h"
#include "target/render_types.h"

class KVElement;
class KVDrawPath;
class KVPressure;
class KVDrawCoordBezierSegment;
class LGraphicsPath;
class LImageBuffer;
class LLineStyle;
enum LLineDashStyle : int;

using KVSegments = LListIterator<KVDrawCoordBezierSegment>;
using KVPoint = LPointTemplate<float>;
using KVBox = LBoundingBox2T<float>;

class KVRenderImage {
public:
    virtual ~KVRenderImage() = default;

    virtual bool SaveAsFile(const char* /*path*/) { return false; }
    // True when the cached picture of the element was placed.
    virtual bool GetFromCache(const KVCacheHandle& /*handle*/) { return false; }

    virtual KVRenderImage* BeginRotate(float degrees, KVPoint centre) = 0;
    virtual void FinishRotate() = 0;
    virtual KVRenderImage* BeginScale(float x, float y) = 0;
    virtual void FinishScale() = 0;
    virtual KVRenderImage* BeginTranslate(float x, float y) = 0;
    virtual void FinishTranslate() = 0;
    virtual KVRenderImage* BeginInnerGlow(LGuiColorAlpha /*colour*/, float /*size*/) {
        return nullptr;
    }
    virtual void FinishInnerGlow(LProcessInterface& /*process*/) {}
    virtual KVRenderImage* BeginOuterGlow(LGuiColorAlpha /*colour*/, float /*size*/) {
        return nullptr;
    }
    virtual void FinishOuterGlow(LProcessInterface& /*process*/) {}

    virtual void WriteCache(KVElement* /*element*/, KVCacheHandle& /*handle*/) {}
    virtual void Flush() {}
    // True on targets that keep effects as tags next to the drawn body.
    virtual bool DoesImageUseMetadata() = 0;
    virtual void TagLastElement(const char* /*key*/, const char* /*value*/) {}

    virtual LProcessResult Clear(LPixelColour colour) = 0;
    virtual LProcessResult EraserStroke(LProcessInterface& process,
                                        LListIterator<KVEraserStroke> strokes) = 0;

    virtual LProcessResult DrawPoly(LProcessInterface& process, float lineWidth,
                                    const LGuiColorAlpha& lineColour, KVPoint* points,
                                    unsigned long pointCount, const KVBox& bounds) = 0;
    virtual LProcessResult FillPoly(LProcessInterface& process, float lineWidth,
                                    const LGuiColorAlpha& lineColour,
                                    const LGuiColorAlpha& fillColour, KVPoint* points,
                                    unsigned long pointCount, const KVBox& bounds) = 0;
    virtual LProcessResult FillPoly(LProcessInterface& process, const KVGradient& gradient,
                                    float lineWidth, const LGuiColorAlpha& lineColour,
                                    KVPoint* points, unsigned long pointCount,
                                    const KVBox& bounds) = 0;
    virtual LProcessResult DrawPolyShadow(LProcessInterface& process, KVPoint* points,
                                          unsigned long pointCount, const KVBox& bounds,
                                          float lineWidth, bool hasFill,
                                          const KVDropShadow& shadow) = 0;
    virtual LProcessResult DrawPolyBevelEmboss(LProcessInterface& process, float lineWidth,
                                               const LGuiColorAlpha& lineColour, KVPoint* points,
                                               unsigned long pointCount, const KVBox& bounds,
                                               const KVBevelEmboss& bevel) = 0;
    virtual LProcessResult FillPolyBevelEmboss(LProcessInterface& process, float lineWidth,
                                               const LGuiColorAlpha& lineColour,
                                               const LGuiColorAlpha& fillColour, KVPoint* points,
                                               unsigned long pointCount, const KVBox& bounds,
                                               const KVBevelEmboss& bevel) = 0;
    virtual LProcessResult FillPolyBevelEmboss(LProcessInterface& process,
                                               const KVGradient& gradient, float lineWidth,
                                               const LGuiColorAlpha& lineColour, KVPoint* points,
                                               unsigned long pointCount, const KVBox& bounds,
                                               const KVBevelEmboss& bevel) = 0;

    // The triangle family forwards to the polygon operations with three points.
    virtual LProcessResult DrawTriangle(LProcessInterface& process, float lineWidth,
                                        const LGuiColorAlpha& lineColour, KVPoint a, KVPoint b,
                                        KVPoint c, const KVBox& bounds);
    virtual LProcessResult FillTriangle(LProcessInterface& process, float lineWidth,
                                        const LGuiColorAlpha& lineColour,
                                        const LGuiColorAlpha& fillColour, KVPoint a, KVPoint b,
                                        KVPoint c, const KVBox& bounds);
    virtual LProcessResult FillTriangle(LProcessInterface& process, const KVGradient& gradient,
                                        float lineWidth, const LGuiColorAlpha& lineColour,
                                        KVPoint a, KVPoint b, KVPoint c, const KVBox& bounds);
    virtual LProcessResult DrawTriangleShadow(LProcessInterface& process, KVPoint a, KVPoint b,
                                              KVPoint c, const KVBox& bounds, float lineWidth,
                                              bool hasFill, const KVDropShadow& shadow);
    virtual LProcessResult DrawTriangleBevelEmboss(LProcessInterface& process, float lineWidth,
                                                   const LGuiColorAlpha& lineColour, KVPoint a,
                                                   KVPoint b, KVPoint c, const KVBox& bounds,
                                                   const KVBevelEmboss& bevel);
    virtual LProcessResult FillTriangleBevelEmboss(LProcessInterface& process, float lineWidth,
                                                   const LGuiColorAlpha& lineColour,
                                                   const LGuiColorAlpha& fillColour, KVPoint a,
                                                   KVPoint b, KVPoint c, const KVBox& bounds,
                                                   const KVBevelEmboss& bevel);
    virtual LProcessResult FillTriangleBevelEmboss(LProcessInterface& process,
                                                   const KVGradient& gradient, float lineWidth,
                                                   const LGuiColorAlpha& lineColour, KVPoint a,
                                                   KVPoint b, KVPoint c, const KVBox& bounds,
                                                   const KVBevelEmboss& bevel);

    virtual LProcessResult DrawEllipse(LProcessInterface& process, float lineWidth,
                                       const LGuiColorAlpha& lineColour, const KVBox& bounds) = 0;
    virtual LProcessResult FillEllipse(LProcessInterface& process, float lineWidth,
                                       const LGuiColorAlpha& lineColour,
                                       const LGuiColorAlpha& fillColour, const KVBox& bounds) = 0;
    virtual LProcessResult FillEllipse(LProcessInterface& process, const KVGradient& gradient,
                                       float lineWidth, const LGuiColorAlpha& lineColour,
                                       const KVBox& bounds) = 0;
    virtual LProcessResult DrawEllipseShadow(LProcessInterface& process, const KVBox& bounds,
                                             float lineWidth, bool hasFill,
                                             const KVDropShadow& shadow) = 0;
    virtual LProcessResult DrawEllipseBevelEmboss(LProcessInterface& process, float lineWidth,
                                                  const LGuiColorAlpha& lineColour,
                                                  const KVBox& bounds,
                                                  const KVBevelEmboss& bevel) = 0;
    virtual LProcessResult FillEllipseBevelEmboss(LProcessInterface& process, float lineWidth,
                                                  const LGuiColorAlpha& lineColour,
                                                  const LGuiColorAlpha& fillColour,
                                                  const KVBox& bounds,
                                                  const KVBevelEmboss& bevel) = 0;
    virtual LProcessResult FillEllipseBevelEmboss(LProcessInterface& process,
                                                  const KVGradient& gradient, float lineWidth,
                                                  const LGuiColorAlpha& lineColour,
                                                  const KVBox& bounds,
                                                  const KVBevelEmboss& bevel) = 0;

    virtual LProcessResult DrawRect(LProcessInterface& process, float lineWidth,
                                    const LGuiColorAlpha& lineColour, const KVBox& bounds) = 0;
    virtual LProcessResult FillRect(LProcessInterface& process, float lineWidth,
                                    const LGuiColorAlpha& lineColour,
                                    const LGuiColorAlpha& fillColour, const KVBox& bounds) = 0;
    virtual LProcessResult FillRect(LProcessInterface& process, const KVGradient& gradient,
                                    float lineWidth, const LGuiColorAlpha& lineColour,
                                    const KVBox& bounds) = 0;
    virtual LProcessResult DrawRectShadow(LProcessInterface& process, const KVBox& bounds,
                                          float lineWidth, bool hasFill,
                                          const KVDropShadow& shadow) = 0;
    virtual LProcessResult DrawRectBevelEmboss(LProcessInterface& process, float lineWidth,
                                               const LGuiColorAlpha& lineColour,
                                               const KVBox& bounds,
                                               const KVBevelEmboss& bevel) = 0;
    virtual LProcessResult FillRectBevelEmboss(LProcessInterface& process, float lineWidth,
                                               const LGuiColorAlpha& lineColour,
                                               const LGuiColorAlpha& fillColour,
                                               const KVBox& bounds,
                                               const KVBevelEmboss& bevel) = 0;
    virtual LProcessResult FillRectBevelEmboss(LProcessInterface& process,
                                               const KVGradient& gradient, float lineWidth,
                                               const LGuiColorAlpha& lineColour,
                                               const KVBox& bounds,
                                               const KVBevelEmboss& bevel) = 0;

    virtual LProcessResult DrawLine(LProcessInterface& process, float lineWidth,
                                    const LGuiColorAlpha& lineColour, KVLineCapStyle startCap,
                                    KVLineCapStyle endCap, LLineDashStyle dash, float x1,
                                    float y1, float x2, float y2) = 0;

    // True when the target filled the path itself.
    virtual bool FastFillPath(const LGraphicsPath& /*path*/, const LGuiColorAlpha& /*colour*/) {
        return false;
    }
    virtual bool FastFillPath(const KVDrawPath& /*path*/, const LGuiColorAlpha& /*colour*/) {
        return false;
    }

    virtual LProcessResult DrawPath(LProcessInterface& process, KVBrushType brushType,
                                    KVSegments segments, const LLineStyle& style, float width,
                                    LGuiColorAlpha colour, const KVBox& bounds,
                                    unsigned char blurRadius, const KVPressure* pressure) = 0;
    virtual LProcessResult FillPath(LProcessInterface& process, KVSegments segments,
                                    float lineWidth, LGuiColor lineColour,
                                    LGuiColorAlpha fillColour) = 0;
    virtual LProcessResult FillPath(LProcessInterface& process, KVSegments segments,
                                    float lineWidth, LGuiColor lineColour,
                                    const KVGradient& gradient, const KVBox& bounds) = 0;
    virtual LProcessResult DrawPathShadow(LProcessInterface& process, KVBrushType brushType,
                                          KVSegments segments, float width, bool hasFill,
                                          const KVDropShadow& shadow, const KVBox& bounds,
                                          const KVPressure* pressure) = 0;
    virtual LProcessResult DrawPathBevelEmboss(LProcessInterface& process, KVBrushType brushType,
                                               KVSegments segments, float width,
                                               LGuiColor colour, const KVBevelEmboss& bevel,
                                               const KVBox& bounds,
                                               const KVPressure* pressure) = 0;
    virtual LProcessResult FillPathBevelEmboss(LProcessInterface& process, KVBrushType brushType,
                                               KVSegments segments, float width,
                                               LGuiColor lineColour, LGuiColorAlpha fillColour,
                                               const KVBox& bounds, const KVBevelEmboss& bevel,
                                               const KVPressure* pressure) = 0;
    virtual LProcessResult FillPathBevelEmboss(LProcessInterface& process, KVBrushType brushType,
                                               KVSegments segments, float width,
                                               LGuiColor lineColour, const KVGradient& gradient,
                                               const KVBox& bounds, const KVBevelEmboss& bevel,
                                               const KVPressure* pressure) = 0;

    virtual LProcessResult DrawImage(LProcessInterface& process, const LImageBuffer& image, int x,
                                     int y, int width, int height) = 0;

    // One line after another, each through the single-line operation below,
    // `lineSpacing` line heights apart, until the box is used up.
    virtual LProcessResult DrawTextLines(LProcessInterface& process,
                                         const LList<LStringLongListable>& lines,
                                         unsigned long size, bool bold, bool italic,
                                         bool underline, const char* face, LAlignmentX align,
                                         float lineSpacing, LGuiColorAlpha colour, KVBox box);
    virtual LProcessResult DrawTextLinesShadow(LProcessInterface& process,
                                               const LList<LStringLongListable>& lines,
                                               unsigned long size, bool bold, bool italic,
                                               bool underline, const char* face, LAlignmentX align,
                                               float lineSpacing, KVBox box,
                                               const KVDropShadow& shadow);
    virtual LProcessResult DrawTextLinesBevelEmboss(LProcessInterface& process,
                                                    const LList<LStringLongListable>& lines,
                                                    unsigned long size, bool bold, bool italic,
                                                    bool underline, const char* face,
                                                    LAlignmentX align, float lineSpacing, KVBox box,
                                                    const KVBevelEmboss& bevel);
    virtual LProcessResult DrawText(LProcessInterface& process, const char* text,
                                    unsigned long size, bool bold, bool italic, bool underline,
                                    const char* face, LAlignmentX align, LGuiColorAlpha colour,
                                    KVBox box) = 0;
    virtual LProcessResult DrawTextShadow(LProcessInterface& process, const char* text,
                                          unsigned long size, bool bold, bool italic,
                                          bool underline, const char* face, LAlignmentX align,
                                          KVBox box, const KVDropShadow& shadow) = 0;
    virtual LProcessResult DrawTextBevelEmboss(LProcessInterface& process, const char* text,
                                               unsigned long size, bool bold, bool italic,
                                               bool underline, const char* face, LAlignmentX align,
                                               KVBox box, const KVBevelEmboss& bevel) = 0;

    // The height of `text` laid out in the box, measured on a scratch picture
    // so that any target can ask; 2 when no scratch surface could be made.
    LProcessResult GetTextHeight(float& height, KVBox box, const char* text, const char* face,
                                 float size, bool bold, bool italic, bool underline,
                                 LAlignmentX align) const;

private:
    template <class DrawOne>
    LProcessResult DrawLines(LProcessInterface& process, const LList<LStringLongListable>& lines,
                             unsigned long size, bool bold, bool italic, bool underline,
                             const char* face, LAlignmentX align, float lineSpacing, KVBox box,
                             DrawOne drawOne);
};

// A shape's progress is split into weighted slots (shadow, body, bevel, inner
// and outer glow); an absent effect keeps weight 0 and takes no share.
class KVSubInterfaceCreator {
public:
    KVSubInterfaceCreator(LProcessInterface& parent, unsigned long slotCount);
    ~KVSubInterfaceCreator();
    KVSubInterfaceCreator(const KVSubInterfaceCreator&) = delete;
    KVSubInterfaceCreator& operator=(const KVSubInterfaceCreator&) = delete;

    // Only the last one given is alive; the creator owns it.
    LProcessInterface& GetSubInterface(unsigned long slot);

    unsigned char* weights;

private:
    LProcessInterface& parent;
    unsigned long slotCount;
    std::optional<LProcessInterfaceSubProcess> current;
};

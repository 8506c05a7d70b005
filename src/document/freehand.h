#pragma once
// The freehand elements: pen, pencil, crayon, marker, brush and spray, each a
// captured stroke thinned and fitted once into cubic segments, and the simple
// path a vectorised picture is made of. The six strokes differ only by their
// record and by how they ask the target to draw the path; what a stroke looks
// like in pixels is the target's matter.

#include "document/element.h"
#include "foundation/graphics_path.h"
#include "foundation/ptr.h"
#include "target/draw_path.h"
#include "target/render_types.h"

// ---------------------------------------------------------------- records

struct KVDrawElementBaseProperties : KVErasableProperties {
    // 0 to 1; the panels show it as "Smoothing:" from 0 to 100.
    float curviness = 0.5f;
    LPtr<KVDrawPath> path;

    // Empty without a path.
    LListIterator<KVDrawCoord> GetPathIterator() const;
    void GetBezierSegments(LList<KVDrawCoordBezierSegment>& segments) const;
    // Curves read as coefficients (older files) become the path's controls.
    void SetCoefficients(const LList<KVDrawCoordEquationCoeff>& coefficients);
    void DeletePathPoint(int index);
    // The box of all segments, controls included, without a line width.
    LBoundingBox2T<float> GetPathDimensions() const;
};

struct KVPencilElementProperties : KVDrawElementBaseProperties {
    float width = 10.0f;
    LGuiColor colour;
};

struct KVCrayonElementProperties : KVDrawElementBaseProperties {
    float width = 20.0f;
    LGuiColorAlpha colour{0, 0, 0, 255};
};

struct KVBrushElementProperties : KVDrawElementBaseProperties {
    float width = 10.0f;
    // Percent of the width the edge is blurred by; panel "Softness:".
    int softness = 0;
    LGuiColorAlpha colour{255, 255, 255, 255};
};

struct KVMarkerElementProperties : KVDrawElementBaseProperties {
    // Kept for the file only: a marker always draws with the marker brush.
    int shape = KVBrushMarker;
    float width = 20.0f;
    LGuiColorAlpha colour{255, 255, 255, 255};
};

struct KVSprayElementProperties : KVDrawElementBaseProperties {
    int brushType = KVBrushSpray;
    float width = 20.0f;
    LGuiColorAlpha colour{255, 255, 255, 255};
};

// A pen carries a glow record like the shapes, yet no glow is ever offered
// for it or stored.
struct KVPenElementProperties : KVDrawElementBaseProperties,
                                KVShadowProperties,
                                KVBevelEmbossProperties,
                                KVGlowProperties,
                                KVFillProperties {
    // Panel "Pen Type".
    KVBrushType penType = KVBrushRoundPen;
    float width = 1.0f;
    LGuiColorAlpha colour{255, 255, 255, 255};
    // Panel "Join Style"; the join of LLineStyle.
    int joinStyle = 2;
};

struct KVSimplePathElementProperties : KVErasableProperties {
    // Replaces outline and path: one straight line between each pair of
    // neighbouring points.
    void SetPath(const KVDrawPath& path);

    LGraphicsPath outline;
    KVDrawPath path{0, 0, nullptr};
    LGuiColorAlpha colour{0, 0, 0, 255};
};

// ---------------------------------------------------------------- widgets

// What Update needs of a freehand element's selection widget: what the user
// did to the path, and where to hand the new path and frame back.
class KVPathWidgetGeometry {
public:
    virtual ~KVPathWidgetGeometry() = default;
    virtual bool ArePointsChanged() const = 0;
    virtual bool IsPathDistorted() const = 0;
    // Degrees.
    virtual float GetRotation() const = 0;
    // The point being edited.
    virtual int GetActivePoint() const = 0;
    virtual unsigned long GetPointCount() const = 0;
    virtual LPointTemplate<float> GetPoint(unsigned long index) const = 0;
    // How many points have their two control points; 0 when none has.
    virtual unsigned long GetControlCount() const = 0;
    // `which` 0 is the control arriving at the point, 1 the one leaving it.
    virtual LPointTemplate<float> GetControl(unsigned long index, int which) const = 0;
    // A line width of -1 keeps the one the widget has.
    virtual void SetPath(const KVDrawPath& path, float lineWidth) = 0;
    virtual void SetDimensions(const LBoundingBox2T<float>& box) = 0;
    // Clears the points-changed and distorted marks and the rotation.
    virtual void ClearEdits() = 0;
};

// Makes the selection widgets of freehand elements. The editing surface
// installs one; without it (headless programs) strokes have no widget.
class KVPathWidgetFactory {
public:
    virtual ~KVPathWidgetFactory() = default;
    // `path` is null when the record has none.
    virtual KVElementWidget* MakePathWidget(KVElement* element, int border,
                                            const LBoundingBox2T<float>& dimensions,
                                            const KVDrawPath* path, float lineWidth) = 0;
};
void KVSetPathWidgetFactory(KVPathWidgetFactory* factory);
KVPathWidgetFactory* KVGetPathWidgetFactory();

// ---------------------------------------------------------------- elements

// The shared body of the six strokes. P is the kind's record.
template <class P> class KVDrawElementBase : public KVElementWithProperties<P> {
public:
    explicit KVDrawElementBase(const P& p) : KVElementWithProperties<P>(p) {}

    // Thins (when asked) and fits the path with the record's curviness.
    virtual void InterpolatePoints(KVDrawPath& path, bool filter);
    // Takes over `path`, fits it and sets it as the record's path.
    void SetPath(KVDrawPath* path, bool filter, bool addUndo, LUndoRedoGroup* group);
    LBoundingBox2T<float> GetPathDimensions() const;

    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    bool Update(KVElementWidget* widget) override;
    void Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) override;
    void Resize(float sx, float sy, bool addUndo) override;
    LBoundingBox2T<float> GetRenderedDimensions() const override;
    KVElementWidget* GetWidget() override;
    // Takes the kind's appearance and the curviness; path and strokes stay.
    // A changed curviness asks the caller to fit the path again.
    void SetPropertiesFromPanel(const P& panel, bool addUndo);

    // Scales the path from its box to the widget's; false when they agree.
    bool UpdateWithElementWidget(KVElementWidget* widget, LUndoRedoGroup* group);
    // Turns what the path widget did (moved, rotated, distorted or edited
    // points) into the path.
    bool UpdateWithDrawWidget(KVElementWidget* widget, LUndoRedoGroup* group);

protected:
    // Takes a new stroke: the record without undo, then the path filtered once.
    KVDrawElementBase(LPtr<KVDrawPath>& path, const P& p);

    virtual void ApplyPanel(P& p, const P& panel) const = 0;
    // The kind's one call of the target; `segments` and `box` come from `p`.
    virtual LProcessResult DrawStroke(LProcessInterface& process, KVRenderImage& target,
                                      const P& p, KVSegments segments, const KVBox& box) = 0;
    virtual int GetWidgetBorder(const P& p) const;

private:
    // `box` is the widget's frame; the rotation turns about its centre.
    bool ApplyPathWidget(const LBoundingBox2T<float>& box, KVPathWidgetGeometry& widget,
                         LUndoRedoGroup* group);
};

class KVPencilElement : public KVDrawElementBase<KVPencilElementProperties> {
public:
    using P = KVPencilElementProperties;
    explicit KVPencilElement(const P& p = {}) : KVDrawElementBase(p) {}
    KVPencilElement(LPtr<KVDrawPath>& path, const P& p) : KVDrawElementBase(path, p) {}
    KVElement* DuplicateSelf() const override { return new KVPencilElement(GetProperties()); }
    const char* GetName() const override { return "pencil"; }
    const char* GetDisplayName() const override { return "Pencil Stroke"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    void ApplyPanel(P& p, const P& panel) const override;
    LProcessResult DrawStroke(LProcessInterface& process, KVRenderImage& target, const P& p,
                              KVSegments segments, const KVBox& box) override;
};

class KVCrayonElement : public KVDrawElementBase<KVCrayonElementProperties> {
public:
    using P = KVCrayonElementProperties;
    explicit KVCrayonElement(const P& p = {}) : KVDrawElementBase(p) {}
    KVCrayonElement(LPtr<KVDrawPath>& path, const P& p) : KVDrawElementBase(path, p) {}
    KVElement* DuplicateSelf() const override { return new KVCrayonElement(GetProperties()); }
    const char* GetName() const override { return "crayon"; }
    const char* GetDisplayName() const override { return "Crayon Stroke"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    void ApplyPanel(P& p, const P& panel) const override;
    LProcessResult DrawStroke(LProcessInterface& process, KVRenderImage& target, const P& p,
                              KVSegments segments, const KVBox& box) override;
};

class KVMarkerElement : public KVDrawElementBase<KVMarkerElementProperties> {
public:
    using P = KVMarkerElementProperties;
    explicit KVMarkerElement(const P& p = {}) : KVDrawElementBase(p) {}
    KVMarkerElement(LPtr<KVDrawPath>& path, const P& p) : KVDrawElementBase(path, p) {}
    KVElement* DuplicateSelf() const override { return new KVMarkerElement(GetProperties()); }
    const char* GetName() const override { return "marker"; }
    const char* GetDisplayName() const override { return "Marker Stroke"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    void ApplyPanel(P& p, const P& panel) const override;
    LProcessResult DrawStroke(LProcessInterface& process, KVRenderImage& target, const P& p,
                              KVSegments segments, const KVBox& box) override;
};

class KVBrushElement : public KVDrawElementBase<KVBrushElementProperties> {
public:
    using P = KVBrushElementProperties;
    explicit KVBrushElement(const P& p = {}) : KVDrawElementBase(p) {}
    KVBrushElement(LPtr<KVDrawPath>& path, const P& p) : KVDrawElementBase(path, p) {}
    KVElement* DuplicateSelf() const override { return new KVBrushElement(GetProperties()); }
    const char* GetName() const override { return "brush"; }
    const char* GetDisplayName() const override { return "Brush Stroke"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    void ApplyPanel(P& p, const P& panel) const override;
    LProcessResult DrawStroke(LProcessInterface& process, KVRenderImage& target, const P& p,
                              KVSegments segments, const KVBox& box) override;
};

class KVSprayElement : public KVDrawElementBase<KVSprayElementProperties> {
public:
    using P = KVSprayElementProperties;
    explicit KVSprayElement(const P& p = {}) : KVDrawElementBase(p) {}
    KVSprayElement(LPtr<KVDrawPath>& path, const P& p) : KVDrawElementBase(path, p) {}
    KVElement* DuplicateSelf() const override { return new KVSprayElement(GetProperties()); }
    const char* GetName() const override { return "spray"; }
    const char* GetDisplayName() const override { return "Spray Paint Stroke"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    void ApplyPanel(P& p, const P& panel) const override;
    LProcessResult DrawStroke(LProcessInterface& process, KVRenderImage& target, const P& p,
                              KVSegments segments, const KVBox& box) override;
};

class KVPenElement : public KVDrawElementBase<KVPenElementProperties> {
public:
    using P = KVPenElementProperties;
    explicit KVPenElement(const P& p = {}) : KVDrawElementBase(p) {}
    KVPenElement(LPtr<KVDrawPath>& path, const P& p) : KVDrawElementBase(path, p) {}
    KVElement* DuplicateSelf() const override { return new KVPenElement(GetProperties()); }
    // Shadow, fill, stroke and bevel, in that order.
    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    bool CanCacheAsPath() const override;
    void CreatePathCache(KVCachePath* path) const override;
    void LoadGradient(KVGradient gradient) override;
    const char* GetName() const override { return "pen"; }
    const char* GetDisplayName() const override { return "Pen Stroke"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    void ApplyPanel(P& p, const P& panel) const override;
    LProcessResult DrawStroke(LProcessInterface& process, KVRenderImage& target, const P& p,
                              KVSegments segments, const KVBox& box) override;
    int GetWidgetBorder(const P&) const override { return 1; }
};

// A plain filled outline; lives only inside a picture element, which places
// it, so it neither moves nor takes a panel by itself.
class KVSimplePathElement : public KVElementWithProperties<KVSimplePathElementProperties> {
public:
    using P = KVSimplePathElementProperties;
    explicit KVSimplePathElement(const P& p = {}) : KVElementWithProperties(p) {}
    KVElement* DuplicateSelf() const override { return new KVSimplePathElement(GetProperties()); }
    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    void Crop(LBoundingBox2T<float>, LUndoRedoGroup*) override {}
    void Resize(float, float, bool) override {}
    LBoundingBox2T<float> GetRenderedDimensions() const override { return {}; }
    void SetPropertiesFromPanel(const P&, bool) {}
    const char* GetName() const override { return "simplepath"; }
    const char* GetDisplayName() const override { return "Vectorization Path"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;
};

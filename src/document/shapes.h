#pragma once
// The geometric elements: rectangle, ellipse, triangle and polygon (a box
// with a rotation about its centre, an outline, a fill or gradient and four
// effects), and the line. Each is a description only: Render says which
// operations of the target are called, in which order and with what.

#include "target/effects.h"
#include "document/element.h"
#include "foundation/array.h"
#include "target/render_types.h"

class LGraphicsPath;
enum LLineDashStyle : int;

struct KVBoxShapeProperties : KVShadowProperties,
                              KVBevelEmbossProperties,
                              KVGlowProperties,
                              KVErasableProperties,
                              KVFillProperties {
    LGuiColorAlpha lineColour{0, 0, 0, 255};
    float lineWidth = 1.0f;
    float rotation = 0.0f;
    LBoundingBox2T<float> bounds;

    // Erase strokes follow the shape: they move and scale with the box, and
    // turn with the rotation.
    void SetBounds(const LBoundingBox2T<float>& box);
    void SetRotationDegrees(float degrees);
    LPointTemplate<float> GetCentre() const;
};

struct KVRectangleElementProperties : KVBoxShapeProperties {
    void SetRectangle(const LBoundingBox2T<float>& box) { SetBounds(box); }
};

struct KVEllipseElementProperties : KVBoxShapeProperties {};

struct KVTriangleElementProperties : KVBoxShapeProperties {
    // Which corner of the box holds the right angle, 0 to 3.
    int corner = 0;
    // A, B, C for the target's triangle operations; any other corner value
    // gives three points at the origin.
    void GetPoints(LPointTemplate<float> points[3]) const;
};

struct KVPolygonElementProperties : KVBoxShapeProperties {
    KVPolygonElementProperties() { RecalcVertices(); }
    virtual ~KVPolygonElementProperties() = default;

    void SetBounds(const LBoundingBox2T<float>& box);
    // Vertex 0 is the bottom centre of the box; the list starts with the
    // last vertex computed.
    virtual void RecalcVertices();
    void SetVertexList(const LArray<LPointTemplate<float>>& list) { vertices = list; }

    LArray<LPointTemplate<float>> vertices;
    unsigned long sides = 3;
};

struct KVLineElementProperties : KVErasableProperties {
    LGuiColorAlpha lineColour{0, 0, 0, 255};
    float lineWidth = 1.0f;
    LPointTemplate<float> start;
    LPointTemplate<float> end;
    int dashStyle = 0;
    KVLineCapStyle endCap = KVLineCapFlat;
    KVLineCapStyle startCap = KVLineCapFlat;
};

// What Update needs of a shape's selection widget: its box and rotation, and
// for triangles and polygons a place to hand corner and sides back.
class KVShapeWidgetGeometry {
public:
    virtual ~KVShapeWidgetGeometry() = default;
    virtual float GetRotation() const = 0;
    virtual void SetShapeParameter(int /*cornerOrSides*/) {}
};

// What Update needs of a line's widget: its two end points.
class KVLineWidgetGeometry {
public:
    virtual ~KVLineWidgetGeometry() = default;
    virtual LPointTemplate<float> GetStart() const = 0;
    virtual LPointTemplate<float> GetEnd() const = 0;
};

// Makes the selection widgets of shapes. The editing surface installs one;
// without it (headless programs) shapes have no widget.
class KVShapeWidgetFactory {
public:
    virtual ~KVShapeWidgetFactory() = default;
    virtual KVElementWidget* MakeBoxShapeWidget(KVElement* element, const char* kind,
                                                const KVBoxShapeProperties& p, int border,
                                                int cornerOrSides) = 0;
    virtual KVElementWidget* MakeLineWidget(KVElement* element,
                                            const KVLineElementProperties& p) = 0;
};
void KVSetShapeWidgetFactory(KVShapeWidgetFactory* factory);
KVShapeWidgetFactory* KVGetShapeWidgetFactory();

// Writes the effects present beside the element just drawn, on targets that
// keep them as tags (the vector back ends); absent ones are null.
void KVTagEffects(KVRenderImage& target, const KVDropShadow* shadow, const KVBevelEmboss* bevel,
                  const KVGlow* innerGlow, const KVGlow* outerGlow);

// The shared body of the four box shapes. P is the kind's record.
template <class P> class KVBoxShapeElement : public KVElementWithProperties<P> {
public:
    explicit KVBoxShapeElement(const P& p) : KVElementWithProperties<P>(p) {}

    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    bool Update(KVElementWidget* widget) override;
    void Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) override;
    void Resize(float sx, float sy, bool addUndo) override;
    LBoundingBox2T<float> GetRenderedDimensions() const override;
    KVDrawPath* ConvertToPath(unsigned long width, unsigned long height, float& lineWidth,
                              LGuiColor& lineColour) const override;
    bool CanCacheAsPath() const override;
    void LoadGradient(KVGradient gradient) override;
    KVElementWidget* GetWidget() override;
    void SetPropertiesFromPanel(const P& panel, bool addUndo);

protected:
    virtual void ApplyPanel(P& p, const P& panel) const;
    // The kind's own operations of the target.
    virtual LProcessResult DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) = 0;
    virtual LProcessResult DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) = 0;
    virtual LProcessResult DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) = 0;
    // The outline, unrotated; false when the kind has none to give.
    virtual bool AddOutline(LGraphicsPath& path, const P& p) const = 0;
    // The outline ConvertToPath copies point by point.
    virtual bool AddConvertedOutline(LGraphicsPath& path, const P& p) const;
    virtual bool CanConvertToPath() const { return true; }
    virtual int GetWidgetBorder(const P& p) const;
    virtual int GetShapeParameter(const P&) const { return 0; }
    // Takes the shape's geometry from a widget into a copy of the record.
    virtual void ApplyBounds(P& p, const LBoundingBox2T<float>& box) const { p.SetBounds(box); }
};

class KVRectangleElement : public KVBoxShapeElement<KVRectangleElementProperties> {
public:
    explicit KVRectangleElement(const KVRectangleElementProperties& p = {})
        : KVBoxShapeElement(p) {}
    KVElement* DuplicateSelf() const override { return new KVRectangleElement(GetProperties()); }
    void CreatePathCache(KVCachePath* path) const override;
    const char* GetName() const override { return "rectangle"; }
    const char* GetDisplayName() const override { return "Rectangle"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    using P = KVRectangleElementProperties;
    LProcessResult DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    LProcessResult DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    LProcessResult DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    bool AddOutline(LGraphicsPath& path, const P& p) const override;
    bool AddConvertedOutline(LGraphicsPath& path, const P& p) const override;
    void ApplyBounds(P& p, const LBoundingBox2T<float>& box) const override { p.SetRectangle(box); }
};

class KVEllipseElement : public KVBoxShapeElement<KVEllipseElementProperties> {
public:
    explicit KVEllipseElement(const KVEllipseElementProperties& p = {}) : KVBoxShapeElement(p) {}
    KVElement* DuplicateSelf() const override { return new KVEllipseElement(GetProperties()); }
    void CreatePathCache(KVCachePath* path) const override;
    const char* GetName() const override { return "ellipse"; }
    const char* GetDisplayName() const override { return "Ellipse"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    using P = KVEllipseElementProperties;
    LProcessResult DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    LProcessResult DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    LProcessResult DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    bool AddOutline(LGraphicsPath& path, const P& p) const override;
    bool CanConvertToPath() const override { return false; }
};

class KVTriangleElement : public KVBoxShapeElement<KVTriangleElementProperties> {
public:
    explicit KVTriangleElement(const KVTriangleElementProperties& p = {}) : KVBoxShapeElement(p) {}
    KVElement* DuplicateSelf() const override { return new KVTriangleElement(GetProperties()); }
    void CreatePathCache(KVCachePath* path) const override;
    const char* GetName() const override { return "triangle"; }
    const char* GetDisplayName() const override { return "Triangle"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    using P = KVTriangleElementProperties;
    LProcessResult DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    LProcessResult DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    LProcessResult DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    bool AddOutline(LGraphicsPath& path, const P& p) const override;
    int GetWidgetBorder(const P& p) const override;
    int GetShapeParameter(const P& p) const override { return p.corner; }
};

class KVPolygonElement : public KVBoxShapeElement<KVPolygonElementProperties> {
public:
    explicit KVPolygonElement(const KVPolygonElementProperties& p = {}) : KVBoxShapeElement(p) {}
    KVElement* DuplicateSelf() const override { return new KVPolygonElement(GetProperties()); }
    void CreatePathCache(KVCachePath* path) const override;
    const char* GetName() const override { return "polygon"; }
    const char* GetDisplayName() const override { return "Polygon"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;

protected:
    using P = KVPolygonElementProperties;
    LProcessResult DrawShadow(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    LProcessResult DrawBody(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    LProcessResult DrawBevel(KVRenderImage& t, LProcessInterface& sub, const P& p) override;
    bool AddOutline(LGraphicsPath& path, const P& p) const override;
    int GetWidgetBorder(const P& p) const override;
    int GetShapeParameter(const P& p) const override { return static_cast<int>(p.sides); }
    void ApplyPanel(P& p, const P& panel) const override;
};

class KVLineElement : public KVElementWithProperties<KVLineElementProperties> {
public:
    explicit KVLineElement(const KVLineElementProperties& p = {}) : KVElementWithProperties(p) {}

    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override;
    bool Update(KVElementWidget* widget) override;
    void Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) override;
    void Resize(float sx, float sy, bool addUndo) override;
    LBoundingBox2T<float> GetRenderedDimensions() const override;
    KVElement* DuplicateSelf() const override { return new KVLineElement(GetProperties()); }
    KVElementWidget* GetWidget() override;
    void SetPropertiesFromPanel(const KVLineElementProperties& panel, bool addUndo);
    const char* GetName() const override { return "line"; }
    const char* GetDisplayName() const override { return "Line"; }
    LProcessResult WriteSDF(LProcessInterface& process, LSDFWriter<LOutputStreamFile>& writer) override;
    LProcessResult ReadSDF(LSDFReader<LInputStreamFile>& reader, LSDFReaderChunk<LInputStreamFile>& chunk) override;
};

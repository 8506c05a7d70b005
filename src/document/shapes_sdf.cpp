// Shapes in the project file: the fields behind the element's key, in the
// order written. Readers work on a copy of the record and set it back without
// an undo item; the record's setters are used, so that bounds and rotation,
// which come before the erase strokes in a file, find no strokes to move.

#include "document/project_records.h"
#include "document/shapes.h"

namespace {

constexpr unsigned short kChunkCorner = KVChunkCorner;
constexpr unsigned short kChunkSides = KVChunkSides;

// What the four box shapes share. `extra` writes the kind's own field right
// behind the bounds (triangle) or the rotation (polygon).
template <class P, class BehindBounds, class BehindRotation>
LProcessResult WriteBoxShape(LProcessInterface& process, KVSDFWriter& w, const P& p,
                             BehindBounds behindBounds, BehindRotation behindRotation) {
    KVProjectFileWriteColor(w, p.lineColour);
    w.WriteFloat(KVChunkLineWidth, p.lineWidth);
    KVProjectFileWriteBounds(w, p.bounds);
    behindBounds();
    w.WriteFloat(KVChunkRotation, p.rotation);
    behindRotation();
    if (LProcessResult r = KVProjectFileWriteErasers(process, w, p))
        return r;
    if (p.fill)
        KVProjectFileWriteFill(w, *p.fill);
    else if (p.gradient)
        KVProjectFileWriteGradient(w, *p.gradient);
    if (p.shadow)
        KVProjectFileWriteShadow(w, *p.shadow);
    if (p.bevel)
        KVProjectFileWriteBevel(w, *p.bevel);
    if (p.innerGlow)
        KVProjectFileWriteGlow(w, KVChunkInnerGlow, *p.innerGlow);
    if (p.outerGlow)
        KVProjectFileWriteGlow(w, KVChunkOuterGlow, *p.outerGlow);
    return LProcessResultOk;
}

// Reads the shared fields; `own` gets every chunk it may want first and
// answers true when it took it.
template <class P, class SetBox, class Own>
void ReadBoxShape(KVSDFReadState& s, KVSDFChunk& element, P& p, SetBox setBox, Own own) {
    KVForEachChild(s, element, [&](KVSDFChunk& c) {
        if (own(c))
            return;
        switch (c.id) {
        case KVChunkColour:
            p.lineColour = KVProjectFileReadColorAlpha(s, c);
            break;
        case KVChunkLineWidth:
            KVReadFloat(s, c, p.lineWidth);
            break;
        case KVChunkBounds:
            setBox(KVProjectFileReadBounds(s, c));
            break;
        case KVChunkRotation: {
            float degrees = p.rotation;
            if (KVReadFloat(s, c, degrees))
                p.SetRotationDegrees(degrees);
            break;
        }
        case KVChunkErasers:
            KVProjectFileReadErasers(s, c, p);
            break;
        case KVChunkFill:
            p.SetFill(KVProjectFileReadFill(s, c));
            break;
        case KVChunkGradient:
            p.SetGradient(KVProjectFileReadGradient(s, c));
            break;
        case KVChunkShadow:
            p.SetShadow(KVProjectFileReadShadow(s, c));
            break;
        case KVChunkBevel:
            p.SetBevelEmboss(KVProjectFileReadBevel(s, c));
            break;
        case KVChunkInnerGlow:
            p.SetInnerGlow(KVProjectFileReadGlow(s, c));
            break;
        case KVChunkOuterGlow:
            p.SetOuterGlow(KVProjectFileReadGlow(s, c));
            break;
        default:
            break;
        }
    });
}

auto Nothing = [] {};
auto NotMine = [](KVSDFChunk&) { return false; };

LProcessResult Result(const KVSDFReadState& s) {
    return s.IsOk() ? LProcessResultOk : LProcessResultError;
}

} // namespace

LProcessResult KVRectangleElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    return WriteBoxShape(process, w, GetProperties(), Nothing, Nothing);
}

LProcessResult KVRectangleElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadBoxShape(s, chunk, p, [&p](const LBoundingBox2T<float>& b) { p.SetRectangle(b); },
                 NotMine);
    SetProperties(p, false, nullptr);
    return Result(s);
}

LProcessResult KVEllipseElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    return WriteBoxShape(process, w, GetProperties(), Nothing, Nothing);
}

LProcessResult KVEllipseElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadBoxShape(s, chunk, p, [&p](const LBoundingBox2T<float>& b) { p.SetBounds(b); }, NotMine);
    SetProperties(p, false, nullptr);
    return Result(s);
}

LProcessResult KVTriangleElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    return WriteBoxShape(
        process, w, p, [&] { w.WriteInt(kChunkCorner, p.corner); }, Nothing);
}

// Any corner value is taken; one outside 0 to 3 draws at the origin.
LProcessResult KVTriangleElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadBoxShape(s, chunk, p, [&p](const LBoundingBox2T<float>& b) { p.SetBounds(b); },
                 [&](KVSDFChunk& c) {
                     if (c.id != kChunkCorner)
                         return false;
                     KVReadInt(s, c, p.corner);
                     return true;
                 });
    SetProperties(p, false, nullptr);
    return Result(s);
}

LProcessResult KVPolygonElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    return WriteBoxShape(process, w, p, Nothing,
                         [&] { w.WriteInt(kChunkSides, static_cast<int>(p.sides)); });
}

// Sides outside 3 to 10 are refused and the record keeps its own.
LProcessResult KVPolygonElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadBoxShape(s, chunk, p, [&p](const LBoundingBox2T<float>& b) { p.SetBounds(b); },
                 [&](KVSDFChunk& c) {
                     if (c.id != kChunkSides)
                         return false;
                     int sides = 0;
                     if (KVReadInt(s, c, sides) && sides >= 3 && sides <= 10 &&
                         static_cast<unsigned long>(sides) != p.sides) {
                         p.sides = static_cast<unsigned long>(sides);
                         p.RecalcVertices();
                     }
                     return true;
                 });
    SetProperties(p, false, nullptr);
    return Result(s);
}

// No erase strokes are written for a line: a save drops them.
LProcessResult KVLineElement::WriteSDF(LProcessInterface&, KVSDFWriter& w) {
    const KVLineElementProperties p = GetProperties();
    KVProjectFileWriteColor(w, p.lineColour);
    w.WriteFloat(KVChunkLineWidth, p.lineWidth);
    w.WriteInt(KVChunkEndCap, p.endCap);
    w.WriteInt(KVChunkStartCap, p.startCap);
    w.WriteInt(KVChunkDashStyle, p.dashStyle);
    KVProjectFileWritePoint(w, p.start);
    KVProjectFileWritePoint(w, p.end);
    return LProcessResultOk;
}

// The written alpha is dropped: a line always reloads opaque.
LProcessResult KVLineElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    KVLineElementProperties p = GetProperties();
    bool startRead = false;
    KVForEachChild(s, chunk, [&](KVSDFChunk& c) {
        int v = 0;
        switch (c.id) {
        case KVChunkColour:
            p.lineColour = LGuiColorAlpha(KVProjectFileReadColor(s, c), 255);
            break;
        case KVChunkLineWidth:
            KVReadFloat(s, c, p.lineWidth);
            break;
        case KVChunkEndCap:
            if (KVReadInt(s, c, v))
                p.endCap = static_cast<KVLineCapStyle>(v);
            break;
        case KVChunkStartCap:
            if (KVReadInt(s, c, v))
                p.startCap = static_cast<KVLineCapStyle>(v);
            break;
        case KVChunkDashStyle:
            KVReadInt(s, c, p.dashStyle);
            break;
        case KVChunkPoint:
            (startRead ? p.end : p.start) = KVProjectFileReadPoint(s, c);
            startRead = true;
            break;
        default:
            break;
        }
    });
    SetProperties(p, false, nullptr);
    return Result(s);
}

// Freehand strokes in the project file: the path record first, then the
// kind's own fields. Readers work on a copy of the record and set it back
// without an undo item. Pressure levels have no place in the file: a saved
// stroke comes back evenly pressed.

#include "document/freehand.h"
#include "document/project_records.h"

namespace {

// ---------------------------------------------------------------- path record

// A record without a path is written as an empty one, so that a file read
// back writes the same bytes.
LProcessResult WritePathRecord(LProcessInterface& process, KVSDFWriter& w,
                               const KVDrawElementBaseProperties& p) {
    w.StartContainer(KVChunkDrawPath);
    w.WriteFloat(KVChunkCurviness, p.curviness);
    if (LProcessResult r = KVProjectFileWriteErasers(process, w, p)) {
        w.EndContainer(KVChunkDrawPath);
        return r;
    }
    w.StartContainer(KVChunkStrokePath);
    w.WriteInt(KVChunkWidth, p.path ? static_cast<int>(p.path->GetWidth()) : 0);
    w.WriteInt(KVChunkHeight, p.path ? static_cast<int>(p.path->GetHeight()) : 0);
    w.StartContainer(KVChunkCoords);
    for (LListIterator<KVDrawCoord> it = p.GetPathIterator(); it; ++it) {
        KVProjectFileWritePoint(w, {it->x, it->y});
        KVProjectFileWritePoint(w, {it->beforeX, it->beforeY});
        KVProjectFileWritePoint(w, {it->afterX, it->afterY});
    }
    w.EndContainer(KVChunkCoords);
    w.EndContainer(KVChunkStrokePath);
    w.EndContainer(KVChunkDrawPath);
    return LProcessResultOk;
}

// Chunk 16: three points per coordinate, the point, the control arriving and
// the control leaving. A coordinate starts as a straight corner, so one cut
// short keeps its point as its controls.
void ReadCoords(KVSDFReadState& s, KVSDFChunk& c, LList<KVDrawCoord>& coords) {
    int place = 0;
    KVForEachChild(s, c, [&](KVSDFChunk& item) {
        if (item.id != KVChunkPoint)
            return;
        const LPointTemplate<float> pt = KVProjectFileReadPoint(s, item);
        if (place == 0) {
            coords.PushBack(new KVDrawCoord(pt.x, pt.y));
        } else if (place == 1) {
            coords.GetLast()->beforeX = pt.x;
            coords.GetLast()->beforeY = pt.y;
        } else {
            coords.GetLast()->afterX = pt.x;
            coords.GetLast()->afterY = pt.y;
        }
        place = (place + 1) % 3;
    });
}

// Chunk 12: the canvas size, then the coordinates, with controls (16) or, in
// older files, as plain points (13).
KVDrawPath* ReadDrawPath(KVSDFReadState& s, KVSDFChunk& c) {
    int width = 0, height = 0;
    LList<KVDrawCoord> coords;
    KVForEachChild(s, c, [&](KVSDFChunk& item) {
        switch (item.id) {
        case KVChunkWidth:
            KVReadInt(s, item, width);
            break;
        case KVChunkHeight:
            KVReadInt(s, item, height);
            break;
        case KVChunkCoords:
            ReadCoords(s, item, coords);
            break;
        case KVChunkPoints:
            KVForEachChild(s, item, [&](KVSDFChunk& point) {
                if (point.id != KVChunkPoint)
                    return;
                const LPointTemplate<float> pt = KVProjectFileReadPoint(s, point);
                coords.PushBack(new KVDrawCoord(pt.x, pt.y));
            });
            break;
        default:
            break;
        }
    });
    return new KVDrawPath(static_cast<unsigned long>(width), static_cast<unsigned long>(height),
                          &coords);
}

// Chunk 14 of older files: the curves as coefficients, four points in doubles
// per segment, a0 to a3 for x and y. They are applied once the whole record
// is read, so that they find the path wherever it stands in the chunk.
void ReadCoefficients(KVSDFReadState& s, KVSDFChunk& c,
                      LList<KVDrawCoordEquationCoeff>& coefficients) {
    int place = 0;
    KVForEachChild(s, c, [&](KVSDFChunk& item) {
        if (item.id != KVChunkPoint)
            return;
        const LPointTemplate<double> pt = KVProjectFileReadPointDouble(s, item);
        if (place == 0)
            coefficients.PushBack(new KVDrawCoordEquationCoeff);
        coefficients.GetLast()->x[place] = pt.x;
        coefficients.GetLast()->y[place] = pt.y;
        place = (place + 1) % 4;
    });
}

void ReadPathRecord(KVSDFReadState& s, KVSDFChunk& c, KVDrawElementBaseProperties& p) {
    LList<KVDrawCoordEquationCoeff> coefficients;
    KVForEachChild(s, c, [&](KVSDFChunk& item) {
        switch (item.id) {
        case KVChunkCurviness:
            KVReadFloat(s, item, p.curviness);
            break;
        case KVChunkErasers:
            KVProjectFileReadErasers(s, item, p);
            break;
        case KVChunkStrokePath:
            p.path.Set(ReadDrawPath(s, item));
            break;
        case KVChunkCoefficients:
            ReadCoefficients(s, item, coefficients);
            break;
        default:
            break;
        }
    });
    if (!coefficients.IsEmpty())
        p.SetCoefficients(coefficients);
}

// ---------------------------------------------------------------- the kinds

void ReadColour(KVSDFReadState& s, KVSDFChunk& c, LGuiColor& colour) {
    colour = KVProjectFileReadColor(s, c);
}

void ReadColour(KVSDFReadState& s, KVSDFChunk& c, LGuiColorAlpha& colour) {
    colour = KVProjectFileReadColorAlpha(s, c);
}

// The fields every stroke has: the path record, the width and the colour.
// `own` gets every chunk first and answers true when it took it.
template <class P, class Own> void ReadStroke(KVSDFReadState& s, KVSDFChunk& element, P& p, Own own) {
    KVForEachChild(s, element, [&](KVSDFChunk& c) {
        if (own(c))
            return;
        switch (c.id) {
        case KVChunkDrawPath:
            ReadPathRecord(s, c, p);
            break;
        case KVChunkLineWidth:
            KVReadFloat(s, c, p.width);
            break;
        case KVChunkColour:
            ReadColour(s, c, p.colour);
            break;
        default:
            break;
        }
    });
}

// Brush and spray files of older versions kept the alpha apart; when there,
// and not -1, it wins over the colour's once everything is read.
template <class P> void ReadStrokeWithOldAlpha(KVSDFReadState& s, KVSDFChunk& element, P& p,
                                               unsigned short ownId, int& ownField) {
    int oldAlpha = -1;
    ReadStroke(s, element, p, [&](KVSDFChunk& c) {
        if (c.id != ownId && c.id != KVChunkOldAlpha)
            return false;
        KVReadInt(s, c, c.id == ownId ? ownField : oldAlpha);
        return true;
    });
    if (oldAlpha != -1)
        p.colour.alpha = static_cast<unsigned char>(oldAlpha);
}

auto NotMine = [](KVSDFChunk&) { return false; };

LProcessResult Result(const KVSDFReadState& s) {
    return s.IsOk() ? LProcessResultOk : LProcessResultError;
}

} // namespace

LProcessResult KVPencilElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    if (LProcessResult r = WritePathRecord(process, w, p))
        return r;
    w.WriteFloat(KVChunkLineWidth, p.width);
    KVProjectFileWriteColor(w, p.colour);
    return LProcessResultOk;
}

LProcessResult KVPencilElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadStroke(s, chunk, p, NotMine);
    SetProperties(p, false, nullptr);
    return Result(s);
}

LProcessResult KVCrayonElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    if (LProcessResult r = WritePathRecord(process, w, p))
        return r;
    w.WriteFloat(KVChunkLineWidth, p.width);
    KVProjectFileWriteColor(w, p.colour);
    return LProcessResultOk;
}

LProcessResult KVCrayonElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadStroke(s, chunk, p, NotMine);
    SetProperties(p, false, nullptr);
    return Result(s);
}

LProcessResult KVMarkerElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    if (LProcessResult r = WritePathRecord(process, w, p))
        return r;
    w.WriteInt(KVChunkBrushShape, p.shape);
    w.WriteFloat(KVChunkLineWidth, p.width);
    KVProjectFileWriteColor(w, p.colour);
    return LProcessResultOk;
}

LProcessResult KVMarkerElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadStroke(s, chunk, p, [&](KVSDFChunk& c) {
        if (c.id != KVChunkBrushShape)
            return false;
        KVReadInt(s, c, p.shape);
        return true;
    });
    SetProperties(p, false, nullptr);
    return Result(s);
}

LProcessResult KVBrushElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    if (LProcessResult r = WritePathRecord(process, w, p))
        return r;
    w.WriteFloat(KVChunkLineWidth, p.width);
    w.WriteInt(KVChunkSoftness, p.softness);
    KVProjectFileWriteColor(w, p.colour);
    return LProcessResultOk;
}

LProcessResult KVBrushElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadStrokeWithOldAlpha(s, chunk, p, KVChunkSoftness, p.softness);
    SetProperties(p, false, nullptr);
    return Result(s);
}

LProcessResult KVSprayElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    if (LProcessResult r = WritePathRecord(process, w, p))
        return r;
    w.WriteInt(KVChunkBrushShape, p.brushType);
    w.WriteFloat(KVChunkLineWidth, p.width);
    KVProjectFileWriteColor(w, p.colour);
    return LProcessResultOk;
}

LProcessResult KVSprayElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadStrokeWithOldAlpha(s, chunk, p, KVChunkBrushShape, p.brushType);
    SetProperties(p, false, nullptr);
    return Result(s);
}

// No glow is written or read: a pen has none in a file.
LProcessResult KVPenElement::WriteSDF(LProcessInterface& process, KVSDFWriter& w) {
    const P p = GetProperties();
    if (LProcessResult r = WritePathRecord(process, w, p))
        return r;
    w.WriteInt(KVChunkBrushShape, p.penType);
    w.WriteFloat(KVChunkLineWidth, p.width);
    w.WriteInt(KVChunkJoinStyle, p.joinStyle);
    KVProjectFileWriteColor(w, p.colour);
    if (p.fill)
        KVProjectFileWriteFill(w, *p.fill);
    else if (p.gradient)
        KVProjectFileWriteGradient(w, *p.gradient);
    if (p.shadow)
        KVProjectFileWriteShadow(w, *p.shadow);
    if (p.bevel)
        KVProjectFileWriteBevel(w, *p.bevel);
    return LProcessResultOk;
}

LProcessResult KVPenElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    ReadStroke(s, chunk, p, [&](KVSDFChunk& c) {
        int v = 0;
        switch (c.id) {
        case KVChunkBrushShape:
            if (KVReadInt(s, c, v))
                p.penType = static_cast<KVBrushType>(v);
            return true;
        case KVChunkJoinStyle:
            KVReadInt(s, c, p.joinStyle);
            return true;
        case KVChunkFill:
            p.SetFill(KVProjectFileReadFill(s, c));
            return true;
        case KVChunkGradient:
            p.SetGradient(KVProjectFileReadGradient(s, c));
            return true;
        case KVChunkShadow:
            p.SetShadow(KVProjectFileReadShadow(s, c));
            return true;
        case KVChunkBevel:
            p.SetBevelEmboss(KVProjectFileReadBevel(s, c));
            return true;
        default:
            return false;
        }
    });
    SetProperties(p, false, nullptr);
    return Result(s);
}

// ---------------------------------------------------------------- simple path

LProcessResult KVSimplePathElement::WriteSDF(LProcessInterface&, KVSDFWriter& w) {
    const P p = GetProperties();
    KVProjectFileWriteColor(w, p.colour);
    w.WriteInt(KVChunkWidth, static_cast<int>(p.path.GetWidth()));
    w.WriteInt(KVChunkHeight, static_cast<int>(p.path.GetHeight()));
    w.StartContainer(KVChunkPoints);
    for (const KVDrawCoord& c : p.path.GetCoords())
        KVProjectFileWritePoint(w, c.GetPoint());
    w.EndContainer(KVChunkPoints);
    return LProcessResultOk;
}

// The outline is made again from the points.
LProcessResult KVSimplePathElement::ReadSDF(KVSDFReader& reader, KVSDFChunk& chunk) {
    KVSDFReadState s(reader);
    P p = GetProperties();
    int width = static_cast<int>(p.path.GetWidth()), height = static_cast<int>(p.path.GetHeight());
    LList<KVDrawCoord> coords;
    KVForEachChild(s, chunk, [&](KVSDFChunk& c) {
        switch (c.id) {
        case KVChunkColour:
            p.colour = KVProjectFileReadColorAlpha(s, c);
            break;
        case KVChunkWidth:
            KVReadInt(s, c, width);
            break;
        case KVChunkHeight:
            KVReadInt(s, c, height);
            break;
        case KVChunkPoints:
            KVForEachChild(s, c, [&](KVSDFChunk& point) {
                if (point.id != KVChunkPoint)
                    return;
                const LPointTemplate<float> pt = KVProjectFileReadPoint(s, point);
                coords.PushBack(new KVDrawCoord(pt.x, pt.y));
            });
            break;
        default:
            break;
        }
    });
    p.SetPath(KVDrawPath(static_cast<unsigned long>(width), static_cast<unsigned long>(height),
                         &coords));
    SetProperties(p, false, nullptr);
    return Result(s);
}

#pragma once
// The shared records of the project file (colours, fills, boxes, points,
// effects, gradients, erase strokes) and the small reading helpers every
// element's ReadSDF uses. Element chunks are also the clipboard's format.
//
// Reading is forgiving where the format says so (unknown ids are skipped,
// absent fields keep their defaults) and strict about damage: a chunk that
// cannot be read as its id says marks the reader's `damaged` flag, and the
// loader then refuses the file instead of building half a project.

#include "target/effects.h"
#include "foundation/color.h"
#include "foundation/file.h"
#include "foundation/geometry.h"
#include "foundation/process.h"
#include "foundation/sdf.h"

using KVSDFWriter = LSDFWriter<LOutputStreamFile>;
using KVSDFReader = LSDFReader<LInputStreamFile>;
using KVSDFChunk = LSDFReaderChunk<LInputStreamFile>;
using KVSDFIterator = LSDFReaderChunkIterator<LInputStreamFile>;

// Chunk ids of the project file.
enum KVProjectChunk : unsigned short {
    KVChunkProject = 1,
    KVChunkImage = 2,
    KVChunkLayer = 3,
    KVChunkElement = 4,
    KVChunkColour = 5,
    KVChunkBounds = 6,
    KVChunkFill = 7,
    KVChunkGradient = 8,
    KVChunkPoint = 9,
    KVChunkStops = 10,
    KVChunkShadow = 11,
    KVChunkStrokePath = 12,
    KVChunkPoints = 13,
    KVChunkCoefficients = 14,
    KVChunkBevel = 15,
    KVChunkCoords = 16,
    KVChunkInnerGlow = 17,
    KVChunkOuterGlow = 18,
    KVChunkErasers = 19,
    KVChunkStroke = 20,
    KVChunkWidth = 1000,
    KVChunkHeight = 1001,
    KVChunkPPI = 1002,
    KVChunkName = 1003,
    KVChunkRed = 1004,
    KVChunkGreen = 1005,
    KVChunkBlue = 1006,
    KVChunkAlpha = 1007,
    KVChunkLineWidth = 1008,
    KVChunkOldAlpha = 1009,
    KVChunkX = 1010,
    KVChunkY = 1011,
    KVChunkSoftness = 1012,
    KVChunkRotation = 1013,
    KVChunkStrength = 1014,
    KVChunkTransform = 1015,
    KVChunkVisible = 2000,
    KVChunkX1 = 2002,
    KVChunkY1 = 2003,
    KVChunkX2 = 2004,
    KVChunkY2 = 2005,
    KVChunkKey = 2006,
    KVChunkRadial = 2007,
    KVChunkRadiusA = 2008,
    KVChunkRadiusB = 2009,
    KVChunkStopCount = 2010,
    KVChunkStopPosition = 2011,
    KVChunkSides = 2012,
    KVChunkShadowSize = 2014,
    KVChunkText = 2015,
    KVChunkBold = 2016,
    KVChunkUnderline = 2017,
    KVChunkItalic = 2018,
    KVChunkFontSize = 2019,
    KVChunkCorner = 2020,
    KVChunkBrushShape = 2021,
    KVChunkPicture = 2022,
    KVChunkDrawPath = 2023,
    KVChunkBevelSize = 2024,
    KVChunkFontName = 2025,
    KVChunkCurviness = 2026,
    KVChunkAlignment = 2027,
    KVChunkLineSpacing = 2028,
    KVChunkScaleX = 2029,
    KVChunkScaleY = 2030,
    KVChunkVectorPaths = 2031,
    KVChunkVectorDetail = 2032,
    KVChunkVectorized = 2033,
    KVChunkEndCap = 2034,
    KVChunkStartCap = 2035,
    KVChunkDashStyle = 2036,
    KVChunkJoinStyle = 2037,
    KVChunkTextSegment = 2038,
    KVChunkNextLayerNumber = 2039,
};

// Reading context: the reader, and whether any chunk turned out damaged.
struct KVSDFReadState {
    explicit KVSDFReadState(KVSDFReader& r) : reader(r) {}
    KVSDFReader& reader;
    bool damaged = false;
    // An element chunk of a kind no reader knows.
    bool unknownElement = false;
    bool IsOk() const { return !damaged && reader.IsOk(); }
};

// Scalars: read when the chunk is wide enough, and always leave the stream at
// the chunk's end. A chunk too narrow for its id, or cut short, keeps the
// value as it was and marks the state damaged.
bool KVReadInt(KVSDFReadState& s, KVSDFChunk& c, int& v);
bool KVReadBool(KVSDFReadState& s, KVSDFChunk& c, bool& v);
bool KVReadFloat(KVSDFReadState& s, KVSDFChunk& c, float& v);
bool KVReadDouble(KVSDFReadState& s, KVSDFChunk& c, double& v);
bool KVReadText(KVSDFReadState& s, KVSDFChunk& c, LStringLongTemplate<char>& v);
bool KVReadName(KVSDFReadState& s, KVSDFChunk& c, char* field260);
bool KVReadBlob(KVSDFReadState& s, KVSDFChunk& c, LSizedArray<unsigned char>& v);
// Leaves the stream at the chunk's end, whatever was read of it.
void KVEndChunk(KVSDFReadState& s, KVSDFChunk& c);

// Colour record, chunk 5: only the high byte of each channel is kept.
void KVProjectFileWriteColor(KVSDFWriter& w, const LGuiColor& c);
void KVProjectFileWriteColor(KVSDFWriter& w, const LGuiColorAlpha& c);
void KVProjectFileWriteColor(KVSDFWriter& w, const LPixelColour& c);
// Absent components are 0; an alpha, if present, is skipped.
LGuiColor KVProjectFileReadColor(KVSDFReadState& s, KVSDFChunk& c);
// Alpha 255 when absent.
LGuiColorAlpha KVProjectFileReadColorAlpha(KVSDFReadState& s, KVSDFChunk& c);
// Every absent component 0, alpha included.
LPixelColour KVProjectFileReadPixelColor(KVSDFReadState& s, KVSDFChunk& c);

// Fill record, chunk 7: the four components; absent ones 0, alpha too.
void KVProjectFileWriteFill(KVSDFWriter& w, const LGuiColorAlpha& c);
LGuiColorAlpha KVProjectFileReadFill(KVSDFReadState& s, KVSDFChunk& c);

void KVProjectFileWriteBounds(KVSDFWriter& w, const LBoundingBox2T<float>& b);
LBoundingBox2T<float> KVProjectFileReadBounds(KVSDFReadState& s, KVSDFChunk& c);

void KVProjectFileWritePoint(KVSDFWriter& w, LPointTemplate<float> p);
LPointTemplate<float> KVProjectFileReadPoint(KVSDFReadState& s, KVSDFChunk& c);
// The same ids as 8-byte doubles, as older files stored curve coefficients.
LPointTemplate<double> KVProjectFileReadPointDouble(KVSDFReadState& s, KVSDFChunk& c);

void KVProjectFileWriteShadow(KVSDFWriter& w, const KVDropShadow& shadow);
KVDropShadow KVProjectFileReadShadow(KVSDFReadState& s, KVSDFChunk& c);
void KVProjectFileWriteBevel(KVSDFWriter& w, const KVBevelEmboss& bevel);
KVBevelEmboss KVProjectFileReadBevel(KVSDFReadState& s, KVSDFChunk& c);
void KVProjectFileWriteGlow(KVSDFWriter& w, unsigned short id, const KVGlow& glow);
KVGlow KVProjectFileReadGlow(KVSDFReadState& s, KVSDFChunk& c);

// Radii go out as x then y and come back the other way round: each load of a
// file swaps them. Files in circulation carry the effect, so both sides stay.
void KVProjectFileWriteGradient(KVSDFWriter& w, const KVGradient& g);
KVGradient KVProjectFileReadGradient(KVSDFReadState& s, KVSDFChunk& c);

// Erase strokes, chunk 19, newest first. The reader pushes each at the front
// (the order turns at each load) and passes the stored softness radius where
// a percentage is expected (it shrinks at each load): the format as it stands.
// The writer gives 1 when the process asks to stop between strokes.
LProcessResult KVProjectFileWriteErasers(LProcessInterface& process, KVSDFWriter& w,
                                         const KVErasableProperties& p);
void KVProjectFileReadErasers(KVSDFReadState& s, KVSDFChunk& c, KVErasableProperties& p);

// Walks the children of a container chunk.
template <class F> void KVForEachChild(KVSDFReadState& s, KVSDFChunk& parent, F handle) {
    for (KVSDFIterator it(s.reader, parent); it.IsValid() && s.IsOk(); it.Next()) {
        KVSDFChunk& child = it.Get();
        handle(child);
        KVEndChunk(s, child);
    }
}

#pragma once
// The stamps of the freehand brushes. Every brush but the pen lays a small
// picture again and again along its curve; its character lies in how that
// picture is built from random specks, how far apart the stamps fall and how
// each is turned. The specks come from rand(), which the program seeds once
// at start-up: two strokes are never alike, and nothing compares them.

#include <functional>

#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/process.h"
#include "target/render_image.h"
#include "target/render_types.h"

class LGraphicsPath;
class LImageBuffer;
struct LPaintContext;

// Steps a coordinate of a stamp's grid: a quarter of `step` at the centre,
// the whole `step` at the rim of a stamp `size` across, so that a spray is
// densest in the middle.
void IncrementFloat(float& x, float step, float size);

// Fills `path`, centred on (0, 0), with the specks of one stamp of `type` at
// `width` and sets `spacing`, the distance between stamps in pixels; gives
// `colour` with the alpha of one stamp. Types without specks give an empty
// path and alpha 255, and leave `spacing` as the caller set it.
LGuiColorAlpha GetStamp(LGraphicsPath& path, float& spacing, const LGuiColor& colour, float width,
                        KVBrushType type);

// Where the stamps of a path fall: the first at the start of its first
// segment, each next one the spacing away from the last in a straight line,
// within 5 % where the curve allows. `place` is called with the point, the index of its segment
// and the parameter there. The parameter step is found once per segment,
// fine enough at the segment's ends that a step moves the point by at most
// a fifteenth of the spacing; a step that worked is kept for the next
// stamp. A segment of no length lays at most one stamp. 1 when the process
// asks to stop.
LProcessResult PlaceStamps(LProcessInterface& process, KVSegments segments, float spacing,
                           const std::function<void(KVPoint, unsigned long, double)>& place);

// Whether each stamp of the brush is laid turned by a random angle (the
// spray, the pencil and the crayon's splotches) or as it is.
bool KVIsStampTurned(KVBrushType type);

// Every pixel of a format-0 picture that is not transparent takes the
// colour and keeps its alpha: a stamp's alpha is its shape. The picture
// stays premultiplied.
void SetStampColor(LImageBuffer& image, const LGuiColor& colour);

// The picture of one stamp, `width` and a half pixels square, its specks in
// `stampColour`: built once per path and laid many times, since a picture is
// laid far faster than its specks are filled. Left invalid when no picture
// or painter could be had; the specks are then filled at each stamp.
void MakeStampPicture(LImageBuffer& picture, const LGraphicsPath& specks,
                      const LGuiColorAlpha& stampColour, float width);

// The bar of the calligraphy pens (types 1 and 2), two pixels wide, from
// (x - r, y + r) to (x + r, y - r) or mirrored; nothing for other types.
void DrawCalligraphyStamp(LPaintContext& surface, float x, float y, float r,
                          const LGuiColorAlpha& colour, KVBrushType type);

// The angle at `b` of the triangle a, b, c, in radians.
double GetAngle(LPointTemplate<float> a, LPointTemplate<float> b, LPointTemplate<float> c);

#pragma once
// Turns a picture into flat-coloured regions, each a closed outline filled
// with the mean colour of the pixels it owns.

#include <memory>
#include <vector>

#include "document/element.h"
#include "foundation/list.h"
#include "foundation/process.h"
#include "imaging/image_buffer.h"
#include "target/draw_path.h"

struct KVVectorizeImageSettings {
    LImageBuffer input;
    // 0 (coarse) to 100 (fine).
    int detail = 50;
    // Simple-path elements in paint order, the first traced region first.
    LList<KVElement> output;
};

// Ok with the regions in `settings.output`, Stopped when cancelled, Error for
// an invalid input or a failed allocation (and then no regions).
LProcessResult KVVectorizeImage(LProcessInterface& process, KVVectorizeImageSettings& settings);

// Whether vectorising a placement of this size at this detail is slow enough
// to ask the user first.
bool KVVectorizeNeedsWarning(int width, int height, int detail);

// ---------------------------------------------------------------- the steps

// The same, with the noise reduction and the blur spread over `threadCount`
// threads (at least 1). One thread gives the same regions on every run.
LProcessResult KVVectorizeImage(LProcessInterface& process, KVVectorizeImageSettings& settings,
                                unsigned long threadCount);

// What a detail setting (clamped to 0..100) asks of each step: coarse
// settings smooth harder and keep fewer colour levels.
struct KVVectorizeStages {
    float noise = 1.0f;
    unsigned long blurRadius = 0;
    unsigned long blurPasses = 3;
    // Which of the six posterise tables, 0 (fewest levels) to 5.
    int posterizeLevel = 0;
};
KVVectorizeStages KVGetVectorizeStages(int detail);

// A red, green or blue value brought down to the levels of a posterise
// table. Levels outside 0..5 leave the value as it is.
unsigned char KVPosterize(int level, unsigned char value);

// Edge-preserving smoothing of a format-0 picture: each pixel takes the mean
// of itself and the pixels up to 10 to the right and below whose 7 x 7
// neighbourhoods look alike, weighted by how alike. `strength` 0.1 keeps
// fine texture, 1.0 flattens it. Stripes of rows run on `threadCount`
// threads; each stripe's additions to the rows below it are kept apart and
// merged once all have finished, so the result does not depend on timing.
// Alpha is kept. 0, 1 when stopped, 2 for an invalid picture or when the
// memory can't be had.
LProcessResult ProcessNoiseReduction(LProcessInterface& process, LImageBuffer& picture,
                                     float strength, unsigned long threadCount);

// A traced region: its outline through the pixel corners, and the sums of
// the colours of the pixels it owns.
class KVVectorizePath : public KVDrawPath {
public:
    // Starts with the region's colour as its only sample; the sums count as
    // stale, so the first pixel added replaces them.
    KVVectorizePath(unsigned long width, unsigned long height, LPixelColour colour);

    // The grid corner x, y, where the pixels x - 1 and x (and the rows y - 1
    // and y) meet. Pixel centres lie on whole coordinates, as on every
    // target, so the corner is placed half a pixel up and left of (x, y).
    void AddCoord(int x, int y);
    void AddPixel(LPixelColour colour);
    // The rounded means, each at most 255.
    LPixelColour GetAverageColor() const;

    bool sumsStale = true;
    float red = 0, green = 0, blue = 0, alpha = 0;
    unsigned long count = 0;
};

// Cuts a picture into its 4-connected regions of equal red, green and blue
// and traces the outline of each, keeping the region on the left hand. The
// regions come in the order their first pixel is met walking the columns
// from the left, each from the top; each region's colour is the mean of its
// pixels in `colours`, a picture of the same size. Both are format 0.
// Progress runs from 0.25 to 1.0 of `process`. 0, 1 when stopped, 2 for
// pictures that don't match or when the memory can't be had.
LProcessResult KVTraceRegions(LProcessInterface& process, const LImageBuffer& posterized,
                              const LImageBuffer& colours,
                              std::vector<std::unique_ptr<KVVectorizePath>>& paths);

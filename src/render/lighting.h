#pragma once
// The lighting pass under every bevel: the alpha of a picture, blurred, is
// taken as a height field; a distant light from the upper left shines on it,
// and what reaches the viewer straight above is a specular highlight.

#include "foundation/color.h"
#include "foundation/geometry.h"
#include "foundation/process.h"
#include "imaging/image_buffer.h"

struct KVSpeLgt3DVector {
    float x = 0, y = 0, z = 0;
    KVSpeLgt3DVector operator+(const KVSpeLgt3DVector& o) const {
        return {x + o.x, y + o.y, z + o.z};
    }
    float Dot(const KVSpeLgt3DVector& o) const { return x * o.x + y * o.y + z * o.z; }
    // False, and the vector unchanged, for a zero vector.
    bool Normalize();
};

// A light so far away that it falls in one direction everywhere.
struct KVSpeLgtDisLgt {
    const LGuiColor* colour = nullptr;
    // In radians.
    float azimuth = 0;
    float elevation = 0;

    void GetLightVector(KVSpeLgt3DVector& v) const;
    // The colour's 8-bit channels; white without a colour.
    void GetLightComponents(KVSpeLgt3DVector& v) const;
};

// A Sobel kernel for each border case, by row class, column class, then the
// kernel's row and column; class 0 is the first row (column), 1 an inner
// one, 2 the last. The border kernels leave out what lies past the edge.
extern const float KVSpeLgtKx[3][3][3][3];
// What scales each kernel's sum to a slope, by the same classes.
extern const float KVSpeLgtFactorx[3][3];

struct KVSpeLgting {
    const LImageBuffer* source = nullptr;
    LImageBuffer* target = nullptr;
    float blurRadius = 0;
    const LGuiColor* colour = nullptr;
    float depth = -3.0f;
    float reserved = 1.0f;
    float exponent = 16.0f;
    int divisor = 1;
    // In degrees.
    float azimuth = 45.0f;
    float elevation = 45.0f;
};

// The highlight of `source`'s shape into `target`, premultiplied, with an
// alpha equal to its brightest channel, so that it only ever brightens what
// it is drawn over. 0; 1 when stopped; 2 for a source that is not format 0
// or a target that cannot be had.
LProcessResult Process(LProcessInterface& process, KVSpeLgting& job);

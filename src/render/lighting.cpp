#include "render/lighting.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "imaging/image_blur.h"

const float KVSpeLgtKx[3][3][3][3] = {
    {{{0, 0, 0}, {0, -2, 2}, {0, -1, 1}},
     {{0, 0, 0}, {-2, 0, 2}, {-1, 0, 1}},
     {{0, 0, 0}, {-2, 2, 0}, {-1, 1, 0}}},
    {{{0, -1, 1}, {0, -2, 2}, {0, -1, 1}},
     {{-1, 0, 1}, {-2, 0, 2}, {-1, 0, 1}},
     {{-1, 1, 0}, {-2, 2, 0}, {-1, 1, 0}}},
    {{{0, -1, 1}, {0, -2, 2}, {0, 0, 0}},
     {{-1, 0, 1}, {-2, 0, 2}, {0, 0, 0}},
     {{-1, 1, 0}, {-2, 2, 0}, {0, 0, 0}}},
};

const float KVSpeLgtFactorx[3][3] = {
    {2.0f / 3.0f, 1.0f / 3.0f, 2.0f / 3.0f},
    {1.0f / 2.0f, 1.0f / 4.0f, 1.0f / 2.0f},
    {2.0f / 3.0f, 1.0f / 3.0f, 2.0f / 3.0f},
};

namespace {

constexpr float kDegrees = 3.1415927f / 180.0f;

struct Highlight {
    int red = 0, green = 0, blue = 0, alpha = 0;
};

int BorderClass(int i, int n) {
    if (i == 0)
        return 0;
    return i == n - 1 ? 2 : 1;
}

} // namespace

bool KVSpeLgt3DVector::Normalize() {
    const float length = std::sqrt(x * x + y * y + z * z);
    if (length == 0)
        return false;
    x /= length;
    y /= length;
    z /= length;
    return true;
}

void KVSpeLgtDisLgt::GetLightVector(KVSpeLgt3DVector& v) const {
    v.x = std::cos(azimuth) * std::cos(elevation);
    v.y = std::sin(azimuth) * std::cos(elevation);
    v.z = std::sin(elevation);
}

void KVSpeLgtDisLgt::GetLightComponents(KVSpeLgt3DVector& v) const {
    const LGuiColor white = LGuiColor::FromBytes(255, 255, 255);
    const LGuiColor& c = colour ? *colour : white;
    v.x = c.Red8();
    v.y = c.Green8();
    v.z = c.Blue8();
}

LProcessResult Process(LProcessInterface& process, KVSpeLgting& job) {
    if (!job.source || !job.target || !job.source->IsValid() ||
        job.source->format != LPixelFormatB8G8R8A8) {
        process.SetError("The lighting needs a picture of 8-bit colour and alpha.");
        return LProcessResultError;
    }
    const LImageBuffer& source = *job.source;
    const int width = source.width, height = source.height;
    LImage::New(*job.target, width, height, source.format);
    LImageBuffer heights;
    LImage::New(heights, width, height, source.format);
    if (!job.target->IsValid() || !heights.IsValid()) {
        process.SetError("Not enough memory for the lighting.");
        return LProcessResultError;
    }
    if (process.IsToStop())
        return LProcessResultStopped;
    LImage::Copy(source, heights, 0, 0, 0, 0, width, height);
    {
        LProcessInterfaceSubProcess sub(process, 0, 0.75);
        LImageBlurSettings settings(heights,
                                    static_cast<unsigned long>(std::max(0L, Round(job.blurRadius))));
        if (LProcessResult r = Process(sub, settings))
            return r;
    }

    const KVSpeLgtDisLgt light{job.colour, job.azimuth * kDegrees, job.elevation * kDegrees};
    KVSpeLgt3DVector half;
    light.GetLightVector(half);
    // Halfway between the light and the viewer, who looks straight down.
    half = half + KVSpeLgt3DVector{0, 0, 1};
    if (!half.Normalize()) {
        process.SetError("The light has no direction.");
        return LProcessResultError;
    }
    KVSpeLgt3DVector colour;
    light.GetLightComponents(colour);
    // Higher alpha lies nearer the viewer: the slope runs against the depth.
    const float k = -(job.depth / 255.0f);
    const float divisor = static_cast<float>(job.divisor);

    // The highlight of a normal (nx, ny, 1).
    auto shine = [&](float nx, float ny, Highlight& into) -> const Highlight& {
        KVSpeLgt3DVector normal{nx, ny, 1.0f};
        normal.Normalize();
        const float d = normal.Dot(half);
        const double spec =
            d > 0 ? std::pow(static_cast<double>(d), static_cast<double>(job.exponent)) : 0.0;
        auto channel = [&](float c) { return std::clamp(static_cast<int>(spec * c), 0, 255); };
        into.red = channel(colour.x);
        into.green = channel(colour.y);
        into.blue = channel(colour.z);
        into.alpha = std::max({into.red, into.green, into.blue});
        return into;
    };
    Highlight flat, scratch;
    shine(0.0f, 0.0f, flat);

    for (int y = 0; y < height; ++y) {
        const int cy = BorderClass(y, height);
        const unsigned char* rows[3] = {
            y > 0 ? heights.GetPictureRow(y - 1) : nullptr, heights.GetPictureRow(y),
            y + 1 < height ? heights.GetPictureRow(y + 1) : nullptr};
        const unsigned char* shape = source.GetPictureRow(y);
        unsigned char* out = job.target->GetPictureRow(y);
        for (int x = 0; x < width; ++x) {
            const int cover = shape[x * 4 + 3];
            // The light is multiplied by the shape's own alpha: outside the
            // shape there is none to work out.
            if (cover == 0) {
                std::memset(out + x * 4, 0, 4);
                continue;
            }
            const int cx = BorderClass(x, width);
            float gx = 0, gy = 0;
            for (int i = 0; i < 3; ++i) {
                if (!rows[i])
                    continue;
                for (int j = 0; j < 3; ++j) {
                    const int at = x + j - 1;
                    if (at < 0 || at >= width)
                        continue;
                    const float a = rows[i][at * 4 + 3];
                    gx += KVSpeLgtKx[cy][cx][i][j] * a;
                    gy += KVSpeLgtKx[cx][cy][j][i] * a;
                }
            }
            // Where the shape is flat, as over most of it, the light is the
            // same everywhere and is worked out once.
            const Highlight& light = gx == 0 && gy == 0
                                         ? flat
                                         : shine(gx * k * KVSpeLgtFactorx[cy][cx] / divisor,
                                                 gy * k * KVSpeLgtFactorx[cx][cy] / divisor,
                                                 scratch);
            const int red = light.red, green = light.green, blue = light.blue,
                      alpha = light.alpha;
            out[x * 4 + 0] = static_cast<unsigned char>(blue * cover / 255);
            out[x * 4 + 1] = static_cast<unsigned char>(green * cover / 255);
            out[x * 4 + 2] = static_cast<unsigned char>(red * cover / 255);
            out[x * 4 + 3] = static_cast<unsigned char>(alpha * cover / 255);
        }
        process.SetProgress(std::min(static_cast<double>(y) / height, 1.0) * 0.25 + 0.75);
        if (process.IsToStop())
            return LProcessResultStopped;
    }
    process.SetProgress(1.0);
    return LProcessResultOk;
}

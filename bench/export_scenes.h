#pragma once
// What the vector export benchmarks share: a project of many shapes and a
// scratch path per run.

#include <unistd.h>

#include <cstdio>
#include <string>

#include "document/project.h"
#include "document/shapes.h"

namespace kvbench {

inline std::string TempPath(const char* kind, const char* name) {
    return std::string(P_tmpdir) + "/kv-" + kind + "-bench-" + std::to_string(getpid()) + "-" + name;
}

// Rectangles, ellipses and triangles on a 2000×1000 image, half of them
// filled (flat or gradient), in the project's one layer.
inline void AddShapes(KVProject& project, long n) {
    KVImage* image = new KVImage("bench", 2000, 1000, 72, LPixelColour(255, 255, 255, 255));
    KVLayer* layer = project.AddNewImage(image);
    for (long i = 0; i < n; ++i) {
        const float x = static_cast<float>(i % 1900), y = static_cast<float>(i % 950);
        KVElement* e;
        if (i % 3 == 0) {
            KVRectangleElementProperties p;
            p.SetRectangle({x, y, x + 40, y + 30});
            if (i % 2)
                p.SetFill(LGuiColorAlpha(10, 20, 30, 255));
            e = new KVRectangleElement(p);
        } else if (i % 3 == 1) {
            KVEllipseElementProperties p;
            p.SetBounds({x, y, x + 40, y + 30});
            if (i % 2)
                p.SetGradient(KVGradient());
            e = new KVEllipseElement(p);
        } else {
            KVTriangleElementProperties p;
            p.SetBounds({x, y, x + 40, y + 30});
            e = new KVTriangleElement(p);
        }
        image->AddNewElement(e, layer, false, false);
    }
}

} // namespace kvbench

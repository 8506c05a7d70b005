#pragma once
// An SVG file as a project of editable elements. The step loses much by
// design: what survives is geometry, solid and gradient fills, stroke colour
// and width, and text. Transforms, clips and dashes stay behind, so a shape
// drawn turned arrives unturned; arcs are left out of paths, and a closed
// subpath arrives open.

#include <memory>

#include "document/project.h"
#include "exchange/svg_reader.h"
#include "foundation/ptr.h"
#include "target/draw_path.h"
#include "target/effects.h"

class KVReadImageSVG {
public:
    explicit KVReadImageSVG(const char* path);

    // The whole load: 0, 1 when stopped, or the reader's error (2) with its
    // message given to `process`.
    LProcessResult LoadImage(LProcessInterface& process);
    // The same on SVG text in memory.
    LProcessResult LoadImageFromText(LProcessInterface& process, const char* text, size_t length);

    // Made by the load; the caller takes it.
    std::unique_ptr<KVImage> image;

    // The subpaths of path data as pen paths of a canvas of that size, in
    // data order.
    static void ConstructPath(const std::vector<LVectorImagePathCommand>& commands,
                              unsigned long width, unsigned long height,
                              std::vector<std::unique_ptr<KVDrawPath>>& paths);
    // A gradient brush as the editor's gradient on the filled shape's box.
    static KVGradient LoadGradient(const LVectorImageBrush& brush, const LBoundingBox2T<float>& box);

private:
    LProcessResult Map(LProcessInterface& process, LVectorImage& vector);
    void LoadElement(const LVectorImageElement& element);
    void LoadPath(const LVectorImagePath& path);
    void LoadText(const LVectorImageText& text);
    void LoadImageElement(const LVectorImageImage& picture);
    void Add(KVElement* element);

    char path[260];
};

// An SVG file opened as a project, named by the file (without its
// extension), its one image named by the file name. A file that cannot be
// used gives 2 and the message "<file> is not a picture this program can
// open" followed by the reader's reason; a missing one says it was not found.
struct KVSVGProjectLoad {
    const char* path = nullptr;
    std::unique_ptr<KVProject> project;
};
LProcessResult Process(LProcessInterface& process, KVSVGProjectLoad& load);

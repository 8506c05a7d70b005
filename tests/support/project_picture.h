#pragma once
// What the picture tests of whole projects share: the project rendered as
// the editor and the export render it, and the picture written where a
// person can look at it when KV_PAINT_ORACLE_OUTPUT names a folder.

#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "document/project.h"
#include "render/render_results.h"

namespace kvtest {

inline LImageBuffer RenderProject(const KVProject& project) {
    KVProjectPicture work;
    work.project = &project;
    LProcessInterfaceVoid v;
    EXPECT_EQ(Process(v, work), LProcessResultOk);
    return std::move(work.picture);
}

inline void KeepPicture(LImageBuffer& image, const char* name) {
    const char* folder = std::getenv("KV_PAINT_ORACLE_OUTPUT");
    if (!folder)
        return;
    std::filesystem::create_directories(folder);
    cairo_surface_t* s = cairo_image_surface_create_for_data(
        image.GetData(), CAIRO_FORMAT_ARGB32, image.width, image.height, static_cast<int>(image.stride));
    cairo_surface_write_to_png(s, (std::string(folder) + "/" + name).c_str());
    cairo_surface_destroy(s);
}

} // namespace kvtest

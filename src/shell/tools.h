#pragma once
// The tools of the tool bar, once: command, key, label and tip, and the
// capture mode of the canvas each draws with.

#include <string>
#include <vector>

#include "foundation/color.h"
#include "surface/draw_surface.h"
#include "target/render_types.h"

enum KVToolCommand : unsigned {
    KVCmToolLine = 2054,
    KVCmToolText = 2056,
    KVCmToolSelect = 2057,
    KVCmToolRectangle = 2062,
    KVCmToolEllipse = 2063,
    KVCmToolPolygon = 2064,
    KVCmToolTriangle = 2065,
    KVCmToolPencil = 2067,
    KVCmToolBrush = 2068,
    KVCmToolSpray = 2069,
    KVCmToolMarker = 2070,
    KVCmToolPen = 2071,
    KVCmToolCrayon = 2072,
};

struct KVTool {
    unsigned command;
    // Empty for the selection tool.
    const char* key;
    const char* label;
    const char* tip;
    KV_CAPTURE_MODE mode;
    // The tool bar tab it is on: "Drawing" or "Shapes" (the selection is on both).
    const char* tab;
};

const std::vector<KVTool>& KVGetTools();
// Null for a command or key that is no tool.
const KVTool* KVFindTool(unsigned command);
const KVTool* KVFindTool(const std::string& key);

// How a tool draws on the canvas, from its record.
struct KVToolLook {
    float width = 1.0f;
    LGuiColorAlpha colour{0, 0, 0, 255};
    KVBrushType stamp = KVBrushRoundPen;
};

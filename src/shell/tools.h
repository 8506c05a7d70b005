#pragma once
// The tools of the tool bar, once: command, key, label and tip, the capture
// mode of the canvas each draws with, its stamp kind, the widget it makes and
// what it does to the fill colour control.

#include <string>
#include <vector>

#include "foundation/color.h"
#include "surface/draw_surface.h"
#include "target/render_types.h"

enum KVToolCommand : unsigned {
    // Not 2045: that command is "Gradient" in the controller's table.
    KVCmToolFill = 2043,
    KVCmToolEraser = 2052,
    KVCmToolCrop = 2053,
    KVCmToolLine = 2054,
    KVCmToolText = 2056,
    KVCmToolSelect = 2057,
    KVCmToolRectSelect = 2058,
    KVCmToolEllipseSelect = 2059,
    KVCmToolLasso = 2060,
    KVCmToolWand = 2061,
    KVCmToolRectangle = 2062,
    KVCmToolEllipse = 2063,
    KVCmToolPolygon = 2064,
    KVCmToolTriangle = 2065,
    KVCmToolPolyLine = 2066,
    KVCmToolPencil = 2067,
    KVCmToolBrush = 2068,
    KVCmToolSpray = 2069,
    KVCmToolMarker = 2070,
    KVCmToolPen = 2071,
    KVCmToolCrayon = 2072,
    KVCmToolBezier = 2073,
};

// What choosing a tool does to the fill colour control.
enum class KVFillControl {
    Enabled,
    Disabled,
    // Left as the tool before set it.
    Unchanged,
    // Follows whether the selected element can be filled.
    BySelection,
};

// The canvas widget a tool makes as it is chosen.
enum class KVToolWidget { None, Fill, RectSelection, EllipseSelection, LassoSelection, WandSelection, PolyLine, Bezier };

struct KVTool {
    unsigned command;
    // Empty for the selection tool.
    const char* key;
    const char* label;
    const char* tip;
    KV_CAPTURE_MODE mode;
    // The tool bar tab it is on: "Drawing", "Shapes", "Select" or "Edit" (the
    // selection is on all). Empty keeps a tool off the bars: the eyedropper,
    // and tools whose canvas widget is not built yet.
    const char* tab;
    KVToolWidget widget = KVToolWidget::None;
    KVFillControl fill = KVFillControl::Disabled;
    // The stamp a freehand tool draws its feedback with; -1 for none, and
    // the pen takes its pen type instead.
    int stamp = -1;
};

const std::vector<KVTool>& KVGetTools();
// Null for a command or key that is no tool.
const KVTool* KVFindTool(unsigned command);
const KVTool* KVFindTool(const std::string& key);

// The four tools that draw a selection mask.
bool KVIsMaskTool(const std::string& key);
// The tools whose open path must become an element before another tool
// takes over.
bool KVIsPathTool(const std::string& key);
bool KVIsFreehandTool(const std::string& key);

// What happens to the selection mask when tool `to` is chosen: a mask tool
// goes on with it, a freehand tool paints inside it, anything else drops it.
enum class KVMaskFate { Keep, KeepAsClip, Drop };
KVMaskFate KVMaskFateForTool(const std::string& to);

// How a tool draws on the canvas, from its record.
struct KVToolLook {
    float width = 1.0f;
    LGuiColorAlpha colour{0, 0, 0, 255};
    KVBrushType stamp = KVBrushRoundPen;
};

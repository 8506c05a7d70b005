#include "shell/tools.h"

namespace {

using W = KVToolWidget;
using F = KVFillControl;

} // namespace

const std::vector<KVTool>& KVGetTools() {
    static const std::vector<KVTool> tools = {
        {KVCmToolSelect, "", "Select", "Select any element", KVCaptureSelect, "", W::None,
         F::BySelection},
        {KVCmToolPencil, "pencil", "Pencil", "Draw a free-form shape with the pencil",
         KVCaptureFreehand, "Drawing", W::None, F::Disabled, KVBrushPencil},
        {KVCmToolBrush, "brush", "Brush", "Draw a free-form shape with the paint brush",
         KVCaptureFreehand, "Drawing", W::None, F::Disabled, KVBrushPaintbrush},
        {KVCmToolSpray, "spray", "Spray Paint", "Draw a free-form shape with spray paint",
         KVCaptureFreehand, "Drawing", W::None, F::Disabled, KVBrushSpray},
        {KVCmToolMarker, "marker", "Marker", "Draw a free-form shape with the marker",
         KVCaptureFreehand, "Drawing", W::None, F::Disabled, KVBrushMarker},
        {KVCmToolPen, "pen", "Pen", "Draw a free-form shape with the pen", KVCaptureFreehand,
         "Drawing", W::None, F::Enabled, KVBrushRoundPen},
        {KVCmToolCrayon, "crayon", "Crayon", "Draw a free-form shape with the crayon",
         KVCaptureFreehand, "Drawing", W::None, F::Disabled, KVBrushCrayon},
        {KVCmToolBezier, "beziertool", "Bezier",
         "Create a bezier curve by setting points and the bezier control points", KVCapturePathTool,
         "", W::Bezier, F::Enabled},
        {KVCmToolText, "text", "Text", "Draw text", KVCaptureRectangle, "Drawing"},
        {KVCmToolRectangle, "rectangle", "Rectangle", "Draw a rectangle", KVCaptureRectangle,
         "Shapes", W::None, F::Enabled},
        {KVCmToolEllipse, "ellipse", "Ellipse", "Draw an ellipse", KVCaptureRectangle, "Shapes",
         W::None, F::Enabled},
        {KVCmToolPolygon, "polygon", "Polygon", "Draw a polygon", KVCaptureRectangle, "Shapes",
         W::None, F::Enabled},
        {KVCmToolTriangle, "triangle", "Triangle", "Draw a triangle", KVCaptureRectangle, "Shapes",
         W::None, F::Enabled},
        {KVCmToolPolyLine, "polyline", "Poly Line", "Draw a free-form poly line", KVCapturePathTool,
         "", W::PolyLine, F::Enabled},
        {KVCmToolLine, "line", "Line", "Draw a line", KVCaptureLine, "Shapes"},
        {KVCmToolRectSelect, "rectselect", "Rectangular", "Create a rectangular selection area",
         KVCaptureMask, "", W::RectSelection, F::Unchanged},
        {KVCmToolEllipseSelect, "ellipseselect", "Elliptical",
         "Create an elliptical selection area", KVCaptureMask, "", W::EllipseSelection,
         F::Unchanged},
        {KVCmToolLasso, "lasso", "Lasso", "Create a free-form selection area", KVCaptureMask, "",
         W::LassoSelection, F::Unchanged},
        {KVCmToolWand, "wand", "Magic Wand", "Select an area that's a similar color", KVCaptureMask,
         "", W::WandSelection, F::Unchanged},
        {KVCmToolFill, "fill", "Fill", "Fill an area", KVCaptureMask, "", W::Fill, F::Enabled},
        {KVCmToolEraser, "eraser", "Eraser", "Use the eraser tool to erase things",
         KVCaptureFreehand, "", W::None, F::Unchanged, KVBrushRoundPen},
        {KVCmToolCrop, "crop", "Crop", "Crop the current image", KVCaptureCrop, "", W::None,
         F::Unchanged},
        // Chosen by the colour controls, not by a command.
        {0, "eyedropper", "Eyedropper", "Pick a colour from the picture", KVCaptureEyedropper, "",
         W::None, F::Unchanged},
    };
    return tools;
}

const KVTool* KVFindTool(unsigned command) {
    for (const KVTool& t : KVGetTools())
        if (command != 0 && t.command == command)
            return &t;
    return nullptr;
}

const KVTool* KVFindTool(const std::string& key) {
    for (const KVTool& t : KVGetTools())
        if (key == t.key)
            return &t;
    return nullptr;
}

bool KVIsMaskTool(const std::string& key) {
    return key == "rectselect" || key == "ellipseselect" || key == "lasso" || key == "wand";
}

bool KVIsPathTool(const std::string& key) {
    return key == "beziertool" || key == "polyline";
}

bool KVIsFreehandTool(const std::string& key) {
    return key == "pencil" || key == "brush" || key == "spray" || key == "marker" || key == "pen" ||
           key == "crayon";
}

KVMaskFate KVMaskFateForTool(const std::string& to) {
    if (KVIsMaskTool(to))
        return KVMaskFate::Keep;
    return KVIsFreehandTool(to) ? KVMaskFate::KeepAsClip : KVMaskFate::Drop;
}

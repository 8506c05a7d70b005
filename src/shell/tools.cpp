#include "shell/tools.h"

const std::vector<KVTool>& KVGetTools() {
    static const std::vector<KVTool> tools = {
        {KVCmToolSelect, "", "Select", "Select any element", KVCaptureSelect, ""},
        {KVCmToolPencil, "pencil", "Pencil", "Draw a free-form shape with the pencil", KVCaptureFreehand, "Drawing"},
        {KVCmToolBrush, "brush", "Brush", "Draw a free-form shape with the paint brush", KVCaptureFreehand, "Drawing"},
        {KVCmToolSpray, "spray", "Spray Paint", "Draw a free-form shape with spray paint", KVCaptureFreehand, "Drawing"},
        {KVCmToolMarker, "marker", "Marker", "Draw a free-form shape with the marker", KVCaptureFreehand, "Drawing"},
        {KVCmToolPen, "pen", "Pen", "Draw a free-form shape with the pen", KVCaptureFreehand, "Drawing"},
        {KVCmToolCrayon, "crayon", "Crayon", "Draw a free-form shape with the crayon", KVCaptureFreehand, "Drawing"},
        {KVCmToolText, "text", "Text", "Draw text", KVCaptureRectangle, "Drawing"},
        {KVCmToolRectangle, "rectangle", "Rectangle", "Draw a rectangle", KVCaptureRectangle, "Shapes"},
        {KVCmToolEllipse, "ellipse", "Ellipse", "Draw an ellipse", KVCaptureRectangle, "Shapes"},
        {KVCmToolPolygon, "polygon", "Polygon", "Draw a polygon", KVCaptureRectangle, "Shapes"},
        {KVCmToolTriangle, "triangle", "Triangle", "Draw a triangle", KVCaptureRectangle, "Shapes"},
        {KVCmToolLine, "line", "Line", "Draw a line", KVCaptureLine, "Shapes"},
        // Chosen by the colour controls, not by a command.
        {0, "eyedropper", "Eyedropper", "Pick a colour from the picture", KVCaptureEyedropper, ""},
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

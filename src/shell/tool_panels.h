#pragma once
// The property panel of each tool: a titled list of controls that holds the
// record the next element of its kind gets, and, while an element of the
// kind is selected, that element's record. A panel knows only its record;
// colours and effects are the tool panel's matter.

#include <QComboBox>

#include <functional>
#include <initializer_list>
#include <map>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/shapes.h"
#include "document/text_elements.h"
#include "toolkit/panel_controls.h"

class QCheckBox;
class QLabel;
class QPushButton;

// The controls by id. A panel's own numbers are shared between panels (3004
// is the brush's softness and the polygon's sides); the rest are ours.
enum KVPanelControlId : int {
    KVIdStrokeKind = 3000,
    KVIdLockAspect = 3000,
    KVIdSize = 3001,
    KVIdVectorize = 3001,
    KVIdDetail = 3002,
    KVIdSoftness = 3004,
    KVIdSides = 3004,
    KVIdFontSize = 3004,
    KVIdPencilSmoothing = 3005,
    KVIdPenSmoothing = 3006,
    KVIdBrushSmoothing = 3008,
    KVIdSpraySmoothing = 3010,
    KVIdDistortText = 3014,
    KVIdResizeBounds = 3015,
    KVIdLineEditing = 3100,
    KVIdPenType = 3101,
    KVIdJoinStyle = 3102,
    KVIdStartCap = 3103,
    KVIdEndCap = 3104,
    KVIdBodyStyle = 3105,
    KVIdFont = 3106,
    KVIdBold = 3107,
    KVIdItalic = 3108,
    KVIdUnderline = 3109,
    KVIdAlignment = 3110,
};

// A panel's controls by id. Setting a value is quiet; a value the user gives
// calls onChange with the control's id.
class KVPanel : public LPanelSection {
public:
    explicit KVPanel(const char* title);

    LPanelNumber& AddNumber(int id, const char* label, int minimum, int maximum, int value);
    QCheckBox& AddCheck(int id, const char* label, bool on);
    QComboBox& AddChooser(int id, const char* label, std::initializer_list<const char*> items,
                          int index);
    QPushButton& AddButton(const char* label, const char* tip);

    // A number, a check box (0 or 1) or a chooser's index; 0 for no control.
    int GetValue(int id) const;
    void SetValue(int id, int value);
    QWidget* GetControl(int id) const;

    std::function<void(int id)> onChange;

private:
    std::map<int, QWidget*> controls;
};

// The six freehand tools share one panel shape: size, smoothing and line
// editing; the brush adds softness, the pen its type and join.
template <class P> class KVFreehandPanel : public KVPanel {
public:
    KVFreehandPanel(const char* title, int minimumSize, int smoothingId);
    void GetProperties(P& p) const;
    void SetProperties(const P& p);

private:
    int smoothingId;
};
using KVPenPanel = KVFreehandPanel<KVPenElementProperties>;
using KVPencilPanel = KVFreehandPanel<KVPencilElementProperties>;
using KVBrushPanel = KVFreehandPanel<KVBrushElementProperties>;
using KVSprayPanel = KVFreehandPanel<KVSprayElementProperties>;
using KVMarkerPanel = KVFreehandPanel<KVMarkerElementProperties>;
using KVCrayonPanel = KVFreehandPanel<KVCrayonElementProperties>;

// The rectangle, ellipse, triangle and polygon: a border width, and the
// polygon's number of sides.
template <class P> class KVShapePanel : public KVPanel {
public:
    explicit KVShapePanel(const char* title);
    void GetProperties(P& p) const;
    void SetProperties(const P& p);
};
using KVRectanglePanel = KVShapePanel<KVRectangleElementProperties>;
using KVEllipsePanel = KVShapePanel<KVEllipseElementProperties>;
using KVTrianglePanel = KVShapePanel<KVTriangleElementProperties>;
using KVPolygonPanel = KVShapePanel<KVPolygonElementProperties>;

class KVLinePanel : public KVPanel {
public:
    KVLinePanel();
    void GetProperties(KVLineElementProperties& p) const;
    void SetProperties(const KVLineElementProperties& p);
};

class KVTextPanel : public KVPanel {
public:
    KVTextPanel();
    void GetProperties(KVTextElementProperties& p) const;
    void SetProperties(const KVTextElementProperties& p);
    // Until text is edited in place, a format from the panel goes to every
    // run of a rich text.
    void GetProperties(KVRichTextElementProperties& p) const;
    void SetProperties(const KVRichTextElementProperties& p);
};

class KVEraserPanel : public KVPanel {
public:
    KVEraserPanel();
};

class KVWandPanel : public KVPanel {
public:
    KVWandPanel();
};

class KVCropPanel : public KVPanel {
public:
    KVCropPanel();
    // The crop frame's size in pixels, and in the project's unit.
    void SetCropSize(long width, long height, double ppi, bool metric);

private:
    QLabel* widthLine;
    QLabel* heightLine;
};

class KVBezierPanel : public KVPanel {
public:
    KVBezierPanel();
    // The kind of stroke "Create" makes.
    const char* GetStrokeKind() const;
};

class KVPolyLinePanel : public KVPanel {
public:
    KVPolyLinePanel();
};

class KVImagePanel : public KVPanel {
public:
    KVImagePanel();
    void GetProperties(KVImageElementProperties& p) const;
    void SetProperties(const KVImageElementProperties& p);
    bool IsAspectLocked() const { return GetValue(KVIdLockAspect) != 0; }
};

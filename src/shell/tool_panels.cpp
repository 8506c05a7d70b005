#include "shell/tool_panels.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "foundation/fonts.h"

namespace {

int Percent(float fraction) {
    return static_cast<int>(std::lround(fraction * 100.0f));
}

} // namespace

KVPanel::KVPanel(const char* title) : LPanelSection(title, false) {}

LPanelNumber& KVPanel::AddNumber(int id, const char* label, int minimum, int maximum, int value) {
    auto* number = new LPanelNumber(label, minimum, maximum, value, this);
    number->onChange = [this, id](int) {
        if (onChange)
            onChange(id);
    };
    GetBody().addWidget(number);
    controls[id] = number;
    return *number;
}

QCheckBox& KVPanel::AddCheck(int id, const char* label, bool on) {
    auto* box = new QCheckBox(QString::fromUtf8(label), this);
    box->setChecked(on);
    QObject::connect(box, &QCheckBox::toggled, this, [this, id](bool) {
        if (onChange)
            onChange(id);
    });
    GetBody().addWidget(box);
    controls[id] = box;
    return *box;
}

QComboBox& KVPanel::AddChooser(int id, const char* label, std::initializer_list<const char*> items,
                               int index) {
    GetBody().addWidget(new QLabel(QString::fromUtf8(label), this));
    auto* chooser = new QComboBox(this);
    for (const char* item : items)
        chooser->addItem(QString::fromUtf8(item));
    chooser->setCurrentIndex(index);
    QObject::connect(chooser, &QComboBox::currentIndexChanged, this, [this, id](int) {
        if (onChange)
            onChange(id);
    });
    GetBody().addWidget(chooser);
    controls[id] = chooser;
    return *chooser;
}

QPushButton& KVPanel::AddButton(const char* label, const char* tip) {
    auto* button = new QPushButton(QString::fromUtf8(label), this);
    button->setToolTip(QString::fromUtf8(tip));
    GetBody().addWidget(button);
    return *button;
}

QWidget* KVPanel::GetControl(int id) const {
    auto found = controls.find(id);
    return found == controls.end() ? nullptr : found->second;
}

int KVPanel::GetValue(int id) const {
    QWidget* control = GetControl(id);
    if (auto* number = dynamic_cast<LPanelNumber*>(control))
        return number->GetValue();
    if (auto* box = dynamic_cast<QCheckBox*>(control))
        return box->isChecked() ? 1 : 0;
    if (auto* chooser = dynamic_cast<QComboBox*>(control))
        return chooser->currentIndex();
    return 0;
}

void KVPanel::SetValue(int id, int value) {
    QWidget* control = GetControl(id);
    if (auto* number = dynamic_cast<LPanelNumber*>(control)) {
        number->SetValue(value);
        return;
    }
    const QSignalBlocker quiet(control);
    if (auto* box = dynamic_cast<QCheckBox*>(control))
        box->setChecked(value != 0);
    else if (auto* chooser = dynamic_cast<QComboBox*>(control))
        chooser->setCurrentIndex(value);
}

// ---------------------------------------------------------------- freehand

template <class P>
KVFreehandPanel<P>::KVFreehandPanel(const char* title, int minimumSize, int smoothing)
    : KVPanel(title), smoothingId(smoothing) {
    const P defaults;
    AddNumber(KVIdSize, "Brush Size:", minimumSize, 500,
              static_cast<int>(std::lround(defaults.width)));
    if constexpr (requires { defaults.softness; })
        AddNumber(KVIdSoftness, "Softness:", 0, 50, defaults.softness);
    AddNumber(smoothingId, "Smoothing:", 0, 100, Percent(defaults.curviness));
    if constexpr (requires { defaults.penType; }) {
        AddChooser(KVIdPenType, "Pen Type", {"Round", "Calligraphy", "Reverse Calligraphy"},
                   defaults.penType);
        AddChooser(KVIdJoinStyle, "Join Style", {"Mitre", "Bevel", "Round"}, defaults.joinStyle);
    }
    AddCheck(KVIdLineEditing, "Allow line editing", false);
}

template <class P> void KVFreehandPanel<P>::GetProperties(P& p) const {
    p.width = static_cast<float>(GetValue(KVIdSize));
    p.curviness = static_cast<float>(GetValue(smoothingId)) / 100.0f;
    if constexpr (requires { p.softness; })
        p.softness = GetValue(KVIdSoftness);
    if constexpr (requires { p.penType; }) {
        p.penType = static_cast<KVBrushType>(GetValue(KVIdPenType));
        p.joinStyle = GetValue(KVIdJoinStyle);
    }
}

template <class P> void KVFreehandPanel<P>::SetProperties(const P& p) {
    SetValue(KVIdSize, static_cast<int>(std::lround(p.width)));
    SetValue(smoothingId, Percent(p.curviness));
    if constexpr (requires { p.softness; })
        SetValue(KVIdSoftness, p.softness);
    if constexpr (requires { p.penType; }) {
        SetValue(KVIdPenType, p.penType >= 0 && p.penType <= 2 ? p.penType : 0);
        SetValue(KVIdJoinStyle, p.joinStyle >= 0 && p.joinStyle <= 2 ? p.joinStyle : 0);
    }
}

template class KVFreehandPanel<KVPenElementProperties>;
template class KVFreehandPanel<KVPencilElementProperties>;
template class KVFreehandPanel<KVBrushElementProperties>;
template class KVFreehandPanel<KVSprayElementProperties>;
template class KVFreehandPanel<KVMarkerElementProperties>;
template class KVFreehandPanel<KVCrayonElementProperties>;

// ---------------------------------------------------------------- shapes

template <class P> KVShapePanel<P>::KVShapePanel(const char* title) : KVPanel(title) {
    const P defaults;
    AddNumber(KVIdSize, "Border Width:", 0, 500, static_cast<int>(std::lround(defaults.lineWidth)));
    if constexpr (requires { defaults.sides; })
        AddNumber(KVIdSides, "Number of Sides:", 3, 10, static_cast<int>(defaults.sides));
}

template <class P> void KVShapePanel<P>::GetProperties(P& p) const {
    p.lineWidth = static_cast<float>(GetValue(KVIdSize));
    if constexpr (requires { p.sides; })
        p.sides = static_cast<unsigned long>(GetValue(KVIdSides));
}

template <class P> void KVShapePanel<P>::SetProperties(const P& p) {
    SetValue(KVIdSize, static_cast<int>(std::lround(p.lineWidth)));
    if constexpr (requires { p.sides; })
        SetValue(KVIdSides, static_cast<int>(p.sides));
}

template class KVShapePanel<KVRectangleElementProperties>;
template class KVShapePanel<KVEllipseElementProperties>;
template class KVShapePanel<KVTriangleElementProperties>;
template class KVShapePanel<KVPolygonElementProperties>;

// ---------------------------------------------------------------- line

namespace {

const std::initializer_list<const char*> kCaps = {
    "Flat", "Square", "Round", "Flat End", "Diamond", "Circle", "Square Block", "Turned Square"};

} // namespace

KVLinePanel::KVLinePanel() : KVPanel("Line") {
    const KVLineElementProperties defaults;
    AddNumber(KVIdSize, "Line Width:", 1, 500, static_cast<int>(std::lround(defaults.lineWidth)));
    AddChooser(KVIdStartCap, "Start Cap", kCaps, defaults.startCap);
    AddChooser(KVIdEndCap, "End Cap", kCaps, defaults.endCap);
    AddChooser(KVIdBodyStyle, "Body Style", {"Solid", "Dash", "Dot", "Dash Dot", "Dash Dot Dot"},
               defaults.dashStyle);
}

void KVLinePanel::GetProperties(KVLineElementProperties& p) const {
    p.lineWidth = static_cast<float>(GetValue(KVIdSize));
    p.startCap = static_cast<KVLineCapStyle>(GetValue(KVIdStartCap));
    p.endCap = static_cast<KVLineCapStyle>(GetValue(KVIdEndCap));
    p.dashStyle = GetValue(KVIdBodyStyle);
}

void KVLinePanel::SetProperties(const KVLineElementProperties& p) {
    SetValue(KVIdSize, static_cast<int>(std::lround(p.lineWidth)));
    SetValue(KVIdStartCap, p.startCap);
    SetValue(KVIdEndCap, p.endCap);
    SetValue(KVIdBodyStyle, p.dashStyle);
}

// ---------------------------------------------------------------- text

KVTextPanel::KVTextPanel() : KVPanel("Text") {
    const KVTextElementProperties defaults;
    QComboBox& fonts = AddChooser(KVIdFont, "Font", {}, -1);
    // The families the text is drawn with; the default face leads when it is
    // a name fontconfig stands in for ("Arial"), so a new text box keeps it
    // rather than whatever family sorts first.
    for (LFontsInstalledIterator it; it.IsValid(); it.Next())
        fonts.addItem(QString::fromUtf8(it.Get()));
    {
        const QSignalBlocker quiet(fonts);
        const QString face = QString::fromUtf8(defaults.font);
        if (fonts.findText(face) < 0)
            fonts.insertItem(0, face);
        fonts.setCurrentIndex(fonts.findText(face));
    }
    AddCheck(KVIdBold, "Bold", defaults.bold);
    AddCheck(KVIdItalic, "Italic", defaults.italic);
    AddCheck(KVIdUnderline, "Underline", defaults.underline);
    AddChooser(KVIdAlignment, "Alignment", {"Align Left", "Center", "Align Right"},
               defaults.alignment);
    // A new text box has always started at 24, whatever a record made otherwise holds.
    AddNumber(KVIdFontSize, "Font Size:", 1, 255, 24);
    // What dragging the frame does: one or the other.
    auto* frame = new QButtonGroup(this);
    frame->addButton(&AddCheck(KVIdDistortText, "Distort Text", false));
    frame->addButton(&AddCheck(KVIdResizeBounds, "Resize Bounds", true));
}

void KVTextPanel::GetProperties(KVTextElementProperties& p) const {
    const auto* fonts = static_cast<QComboBox*>(GetControl(KVIdFont));
    if (fonts->currentIndex() >= 0)
        LStrCopy(p.font, fonts->currentText().toUtf8().constData());
    p.bold = GetValue(KVIdBold);
    p.italic = GetValue(KVIdItalic);
    p.underline = GetValue(KVIdUnderline);
    p.alignment = GetValue(KVIdAlignment);
    p.fontSize = static_cast<unsigned long>(GetValue(KVIdFontSize));
}

void KVTextPanel::SetProperties(const KVTextElementProperties& p) {
    auto* fonts = static_cast<QComboBox*>(GetControl(KVIdFont));
    const int font = fonts->findText(QString::fromUtf8(p.font));
    if (font >= 0)
        SetValue(KVIdFont, font);
    SetValue(KVIdBold, p.bold);
    SetValue(KVIdItalic, p.italic);
    SetValue(KVIdUnderline, p.underline);
    SetValue(KVIdAlignment, p.alignment);
    SetValue(KVIdFontSize, static_cast<int>(p.fontSize));
}

void KVTextPanel::GetProperties(KVRichTextElementProperties& p) const {
    KVTextElementProperties format;
    GetProperties(format);
    p.alignment = format.alignment;
    for (KVRichTextSegment& run : p.segments) {
        LStrCopy(run.font, format.font);
        run.size = static_cast<float>(format.fontSize);
        run.bold = format.bold;
        run.italic = format.italic;
        run.underline = format.underline;
    }
}

void KVTextPanel::SetProperties(const KVRichTextElementProperties& p) {
    KVTextElementProperties format;
    GetProperties(format);
    format.alignment = p.alignment;
    // The first run speaks for the text.
    if (!p.segments.empty()) {
        const KVRichTextSegment& run = p.segments.front();
        LStrCopy(format.font, run.font);
        format.fontSize = static_cast<unsigned long>(std::lround(run.size));
        format.bold = run.bold;
        format.italic = run.italic;
        format.underline = run.underline;
    }
    SetProperties(format);
}

// ---------------------------------------------------------------- the rest

KVEraserPanel::KVEraserPanel() : KVPanel("Eraser") {
    AddNumber(KVIdSize, "Brush Size:", 1, 500, 20);
    AddNumber(KVIdSoftness, "Softness:", 0, 50, 0);
}

KVWandPanel::KVWandPanel() : KVPanel("Magic Wand") {
    AddNumber(KVIdSize, "Tolerance:", 0, 200, 5);
}

KVCropPanel::KVCropPanel() : KVPanel("Crop") {
    widthLine = new QLabel(this);
    heightLine = new QLabel(this);
    GetBody().addWidget(widthLine);
    GetBody().addWidget(heightLine);
    SetCropSize(0, 0, 72, false);
    AddButton("Crop", "Crop the image to the frame").setEnabled(false);
    AddButton("Deselect", "Remove the crop frame").setEnabled(false);
}

void KVCropPanel::SetCropSize(long width, long height, double ppi, bool metric) {
    const double perUnit = metric ? ppi / 2.54 : ppi;
    const char* unit = metric ? "cm" : "in";
    char text[128];
    std::snprintf(text, sizeof text, "Width: %ld px   %.2f %s", width,
                  perUnit > 0 ? width / perUnit : 0.0, unit);
    widthLine->setText(text);
    std::snprintf(text, sizeof text, "Height: %ld px   %.2f %s", height,
                  perUnit > 0 ? height / perUnit : 0.0, unit);
    heightLine->setText(text);
}

namespace {

const char* const kBezierKinds[][2] = {{"Pencil", "pencil"}, {"Pen", "pen"},
                                       {"Marker", "marker"}, {"Brush", "brush"},
                                       {"Crayon", "crayon"}, {"Spray Paint", "spray"}};

} // namespace

KVBezierPanel::KVBezierPanel() : KVPanel("Bezier") {
    QComboBox& kinds = AddChooser(KVIdStrokeKind, "Stroke", {}, -1);
    for (const auto& kind : kBezierKinds)
        kinds.addItem(kind[0], QString(kind[1]));
    kinds.setCurrentIndex(1);
    AddButton("Create", "Make the stroke of the points").setEnabled(false);
    AddButton("Remove", "This removes all the points that you have drawn").setEnabled(false);
}

const char* KVBezierPanel::GetStrokeKind() const {
    const int index = GetValue(KVIdStrokeKind);
    return index >= 0 && index < 6 ? kBezierKinds[index][1] : "pen";
}

KVPolyLinePanel::KVPolyLinePanel() : KVPanel("Poly Line") {
    AddButton("Create Element", "Make the element of the points").setEnabled(false);
    AddButton("Remove Points", "This removes all the points that you have drawn").setEnabled(false);
}

KVImagePanel::KVImagePanel() : KVPanel("Image") {
    const KVImageElementProperties defaults;
    AddCheck(KVIdLockAspect, "Lock Aspect Ratio", true);
    AddCheck(KVIdVectorize, "Use Vectorization of Image", defaults.vectorized);
    AddNumber(KVIdDetail, "Detail:", 0, 100, defaults.detail);
}

void KVImagePanel::GetProperties(KVImageElementProperties& p) const {
    p.vectorized = GetValue(KVIdVectorize);
    p.detail = GetValue(KVIdDetail);
}

void KVImagePanel::SetProperties(const KVImageElementProperties& p) {
    SetValue(KVIdVectorize, p.vectorized);
    SetValue(KVIdDetail, p.detail);
}

#include "shell/tool_panel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>

#include "document/widget.h"

// ---------------------------------------------------------------- colours

KVColorPicker::KVColorPicker(QWidget* parent) : QWidget(parent) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    foreground = new LColourButton("Foreground Color", LGuiColorAlpha(0, 0, 0, 255), this);
    fill = new LColourButton("Fill Color", LGuiColorAlpha(255, 255, 255, 255), this);
    fill->SetNone(true);
    swap = new QToolButton(this);
    swap->setText("⇄");
    swap->setToolTip("Swap the foreground and fill colors");

    auto menuButton = [this](const char* tip) {
        auto* button = new QToolButton(this);
        button->setToolTip(tip);
        button->setPopupMode(QToolButton::InstantPopup);
        button->setArrowType(Qt::DownArrow);
        button->setMenu(new QMenu(button));
        return button;
    };
    QToolButton* foregroundMenu = menuButton("Foreground color options");
    foregroundMenu->menu()->addAction("Choose Color...", this, [this] { foreground->Choose(); });
    foregroundMenu->menu()->addAction("Pick Color from Picture", this, [this] {
        if (onEyedropper)
            onEyedropper();
    });
    QToolButton* fillMenu = menuButton("Fill color options");
    fillMenu->menu()->addAction("Choose Color...", this, [this] { fill->Choose(); });
    fillMenu->menu()->addAction("No Fill", this, [this] {
        fill->SetNone(true);
        if (onFill)
            onFill();
    });

    layout->addWidget(new QLabel("Color:", this));
    layout->addWidget(foreground);
    layout->addWidget(foregroundMenu);
    layout->addWidget(swap);
    layout->addWidget(new QLabel("Fill:", this));
    layout->addWidget(fill);
    layout->addWidget(fillMenu);
    layout->addStretch(1);

    foreground->onChange = [this](const LGuiColorAlpha&) {
        if (onForeground)
            onForeground();
    };
    fill->onChange = [this](const LGuiColorAlpha&) {
        if (onFill)
            onFill();
    };
    QObject::connect(swap, &QToolButton::clicked, this, [this] { Swap(); });
}

void KVColorPicker::Swap() {
    const LGuiColorAlpha ink = foreground->GetColour();
    foreground->SetColour(fill->GetColour());
    fill->SetColour(ink);
    if (onForeground)
        onForeground();
    if (onFill)
        onFill();
}

void KVColorPicker::SetFillEnabled(bool on) {
    fill->setEnabled(on);
}

bool KVColorPicker::IsFillEnabled() const {
    return fill->isEnabled();
}

// ---------------------------------------------------------------- panels

KVToolPanel::KVToolPanel(KVColorPicker& picker, QWidget* parent)
    : QScrollArea(parent), colours(picker) {
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    holder = new QWidget;
    auto* layout = new QVBoxLayout(holder);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(6);
    setWidget(holder);

    AddPanel("pen", pen = new KVPenPanel("Pen", 0, KVIdPenSmoothing));
    AddPanel("pencil", pencil = new KVPencilPanel("Pencil", 1, KVIdPencilSmoothing));
    AddPanel("brush", brush = new KVBrushPanel("Brush", 1, KVIdBrushSmoothing));
    AddPanel("spray", spray = new KVSprayPanel("Spray Paint", 1, KVIdSpraySmoothing));
    AddPanel("marker", marker = new KVMarkerPanel("Marker", 1, KVIdSpraySmoothing));
    AddPanel("crayon", crayon = new KVCrayonPanel("Crayon", 5, KVIdPencilSmoothing));
    AddPanel("line", line = new KVLinePanel);
    AddPanel("rectangle", rectangle = new KVRectanglePanel("Rectangle"));
    AddPanel("ellipse", ellipse = new KVEllipsePanel("Ellipse"));
    AddPanel("triangle", triangle = new KVTrianglePanel("Triangle"));
    AddPanel("polygon", polygon = new KVPolygonPanel("Polygon"));
    AddPanel("text", text = new KVTextPanel);
    AddPanel("eraser", new KVEraserPanel);
    AddPanel("wand", new KVWandPanel);
    AddPanel("crop", new KVCropPanel);
    AddPanel("beziertool", new KVBezierPanel);
    AddPanel("polyline", new KVPolyLinePanel);
    AddPanel("image", image = new KVImagePanel);

    gradient = new KVGradientPanel;
    shadow = new KVShadowPanel;
    bevel = new KVBevelEmbossPanel;
    innerGlow = new KVGlowPanel("Inner Glow", KVEffectInnerGlow);
    outerGlow = new KVGlowPanel("Outer Glow", KVEffectOuterGlow);
    for (KVEffectPanel* effect :
         {static_cast<KVEffectPanel*>(gradient), static_cast<KVEffectPanel*>(shadow),
          static_cast<KVEffectPanel*>(bevel), static_cast<KVEffectPanel*>(innerGlow),
          static_cast<KVEffectPanel*>(outerGlow)}) {
        layout->addWidget(effect);
        effect->hide();
        effect->onChange = [this] { Changed(false); };
        effect->onClose = [this, effect] { EvDeleteEffect(effect->GetId()); };
    }
    layout->addStretch(1);
    UpdatePanelVisibility("", false);
}

void KVToolPanel::AddPanel(const char* key, KVPanel* panel) {
    holder->layout()->addWidget(panel);
    panel->hide();
    panel->onChange = [this](int id) { Changed(id == KVIdSize); };
    panels.emplace_back(key, panel);
}

KVPanel* KVToolPanel::GetPanel(const std::string& key) const {
    // The fill tool shares the wand's tolerance; both texts one panel.
    const std::string k = key == "fill" ? "wand" : key == "richtext" ? "text" : key;
    for (const auto& [name, panel] : panels)
        if (name == k)
            return panel;
    return nullptr;
}

void KVToolPanel::Changed(bool size) {
    if (onChange)
        onChange(size);
}

std::string KVToolPanel::PanelKey() const {
    return selectedElementType.empty() ? tool : selectedElementType;
}

void KVToolPanel::SetSelectedElementType(const char* type, const std::string& currentTool) {
    selectedElementType = type ? type : "";
    UpdatePanelVisibility(currentTool, !selectedElementType.empty());
}

void KVToolPanel::UpdatePanelVisibility(const std::string& currentTool, bool hasSelection) {
    tool = currentTool;
    if (!hasSelection)
        selectedElementType.clear();
    KVPanel* wanted = GetPanel(PanelKey());
    for (const auto& [name, panel] : panels) {
        panel->setVisible(panel == wanted);
        // Line editing is only offered for a selected stroke.
        if (QWidget* box = panel->GetControl(KVIdLineEditing))
            box->setVisible(hasSelection);
    }
    shown = wanted;
    // Effects that no longer apply go out of sight; they stay on for the
    // tool they were chosen for.
    for (KVEffectId id :
         {KVEffectGradient, KVEffectShadow, KVEffectBevel, KVEffectInnerGlow, KVEffectOuterGlow})
        if (!IsEffectAvailable(id) && !IsEffectShown(id))
            GetEffectPanel(id).hide();
}

KVEffectPanel& KVToolPanel::GetEffectPanel(KVEffectId id) const {
    switch (id) {
    case KVEffectGradient:
        return *gradient;
    case KVEffectShadow:
        return *shadow;
    case KVEffectBevel:
        return *bevel;
    case KVEffectInnerGlow:
        return *innerGlow;
    default:
        return *outerGlow;
    }
}

bool KVToolPanel::IsEffectShown(KVEffectId id) const {
    return !GetEffectPanel(id).isHidden();
}

bool KVToolPanel::IsEffectAvailable(KVEffectId id) const {
    const KVKindEffects takes = KVEffectsOfKind(PanelKey().c_str());
    switch (id) {
    case KVEffectGradient:
        return takes.fill;
    case KVEffectShadow:
        return takes.shadow;
    case KVEffectBevel:
        return takes.bevel;
    default:
        return takes.glow;
    }
}

bool KVToolPanel::ShowEffect(KVEffectId id) {
    KVEffectPanel& panel = GetEffectPanel(id);
    if (IsEffectShown(id) || !IsEffectAvailable(id))
        return false;
    panel.Reset();
    panel.show();
    holder->adjustSize();
    Changed(false);
    return true;
}

void KVToolPanel::HideEffects() {
    for (KVEffectId id :
         {KVEffectGradient, KVEffectShadow, KVEffectBevel, KVEffectInnerGlow, KVEffectOuterGlow})
        GetEffectPanel(id).hide();
}

void KVToolPanel::EvDeleteEffect(int id) {
    switch (id) {
    case KVEffectGradient:
    case KVEffectShadow:
    case KVEffectBevel:
    case KVEffectInnerGlow:
    case KVEffectOuterGlow:
        GetEffectPanel(static_cast<KVEffectId>(id)).hide();
        Changed(false);
        break;
    default:
        break;
    }
}

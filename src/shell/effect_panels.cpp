#include "shell/effect_panels.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>

namespace {

// A glow made from the panel starts weaker than a record made otherwise.
constexpr int kPanelGlowStrength = 5;

} // namespace

KVEffectPanel::KVEffectPanel(const char* title, KVEffectId effect)
    : LPanelSection(title, true), id(effect) {}

LPanelNumber& KVEffectPanel::AddNumber(const char* label, int minimum, int maximum, int value) {
    auto* number = new LPanelNumber(label, minimum, maximum, value, this);
    number->onChange = [this](int) { Changed(); };
    GetBody().addWidget(number);
    return *number;
}

// ---------------------------------------------------------------- gradient

KVGradientPanel::KVGradientPanel() : KVEffectPanel("Gradient", KVEffectGradient) {
    slider = new KVGradientColorSlider(this);
    direction = new KVGradientDirectionControl(this);
    radial = new QCheckBox("Radial Gradient", this);
    auto* remove = new QPushButton("Remove Marker", this);
    remove->setToolTip("Remove the color stop that is currently selected");
    GetBody().addWidget(slider);
    auto* row = new QHBoxLayout;
    row->addWidget(direction);
    auto* side = new QVBoxLayout;
    side->addWidget(radial);
    side->addWidget(remove);
    side->addStretch(1);
    row->addLayout(side, 1);
    GetBody().addLayout(row);
    slider->onChange = [this] { Changed(); };
    direction->onChange = [this] { Changed(); };
    QObject::connect(radial, &QCheckBox::toggled, this, [this](bool) { Changed(); });
    QObject::connect(remove, &QPushButton::clicked, this, [this] { slider->RemoveStop(); });
}

void KVGradientPanel::Reset() {
    SetGradient(KVGradient());
}

KVGradient KVGradientPanel::GetGradient() const {
    KVGradient g = slider->GetGradient();
    g.start = direction->GetStart();
    g.end = direction->GetEnd();
    g.radial = radial->isChecked();
    return g;
}

void KVGradientPanel::SetGradient(const KVGradient& g) {
    slider->SetGradient(g);
    direction->ReInitialize(g);
    const QSignalBlocker quiet(radial);
    radial->setChecked(g.radial);
}

// ---------------------------------------------------------------- shadow

KVShadowPanel::KVShadowPanel() : KVEffectPanel("Drop Shadow", KVEffectShadow) {
    softness = &AddNumber("Edge softness:", 0, 100, 5);
    size = &AddNumber("Shadow Size:", -25, 25, 0);
    horizontal = &AddNumber("Horizontal Offset:", -50, 50, 5);
    vertical = &AddNumber("Vertical Offset:", -50, 50, 5);
}

void KVShadowPanel::Reset() {
    SetShadow(KVDropShadow());
}

KVDropShadow KVShadowPanel::GetShadow() const {
    KVDropShadow s;
    s.softness = softness->GetValue();
    s.size = size->GetValue();
    s.horizontalOffset = horizontal->GetValue();
    s.verticalOffset = vertical->GetValue();
    return s;
}

void KVShadowPanel::SetShadow(const KVDropShadow& s) {
    softness->SetValue(s.softness);
    size->SetValue(s.size);
    horizontal->SetValue(s.horizontalOffset);
    vertical->SetValue(s.verticalOffset);
}

// ---------------------------------------------------------------- bevel

KVBevelEmbossPanel::KVBevelEmbossPanel() : KVEffectPanel("Bevel/Emboss", KVEffectBevel) {
    size = &AddNumber("Size:", 0, 10, KVBevelEmboss().size);
}

void KVBevelEmbossPanel::Reset() {
    SetBevel(KVBevelEmboss());
}

KVBevelEmboss KVBevelEmbossPanel::GetBevel() const {
    KVBevelEmboss b;
    b.size = size->GetValue();
    return b;
}

void KVBevelEmbossPanel::SetBevel(const KVBevelEmboss& b) {
    size->SetValue(b.size);
}

// ---------------------------------------------------------------- glow

KVGlowPanel::KVGlowPanel(const char* title, KVEffectId id) : KVEffectPanel(title, id) {
    strength = &AddNumber("Strength:", 0, 100, kPanelGlowStrength);
    colour = new LColourButton("Glow Color", KVGlow().colour, this);
    auto* row = new QHBoxLayout;
    row->addWidget(colour);
    row->addWidget(new QLabel("Glow Color", this), 1);
    GetBody().addLayout(row);
    colour->onChange = [this](const LGuiColorAlpha&) { Changed(); };
}

void KVGlowPanel::Reset() {
    KVGlow g;
    g.strength = kPanelGlowStrength;
    SetGlow(g);
}

KVGlow KVGlowPanel::GetGlow() const {
    KVGlow g;
    g.strength = static_cast<float>(strength->GetValue());
    g.colour = colour->GetColour();
    return g;
}

void KVGlowPanel::SetGlow(const KVGlow& g) {
    strength->SetValue(static_cast<int>(std::lround(g.strength)));
    colour->SetColour(g.colour);
}

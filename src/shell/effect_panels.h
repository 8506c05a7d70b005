#pragma once
// The effect panels under the tool panel: gradient, drop shadow,
// bevel/emboss, inner and outer glow. A shown panel is an effect that is on;
// its close button takes the effect away.

#include <functional>

#include "shell/gradient_controls.h"
#include "target/effects.h"
#include "toolkit/panel_controls.h"

class QCheckBox;

// Title ids, which also name the effect.
enum KVEffectId : int {
    KVEffectGradient = 4017,
    KVEffectShadow = 4019,
    KVEffectBevel = 4020,
    KVEffectInnerGlow = 4021,
    KVEffectOuterGlow = 4022,
};

class KVEffectPanel : public LPanelSection {
public:
    KVEffectPanel(const char* title, KVEffectId id);
    KVEffectId GetId() const { return id; }
    // Back to the panel's own defaults.
    virtual void Reset() = 0;
    // Any change of a control.
    std::function<void()> onChange;

protected:
    void Changed() {
        if (onChange)
            onChange();
    }
    LPanelNumber& AddNumber(const char* label, int minimum, int maximum, int value);

private:
    KVEffectId id;
};

class KVGradientPanel : public KVEffectPanel {
public:
    KVGradientPanel();
    void Reset() override;
    KVGradient GetGradient() const;
    void SetGradient(const KVGradient& g);
    KVGradientColorSlider& GetSlider() const { return *slider; }
    KVGradientDirectionControl& GetDirection() const { return *direction; }
    QCheckBox& GetRadial() const { return *radial; }

private:
    KVGradientColorSlider* slider;
    KVGradientDirectionControl* direction;
    QCheckBox* radial;
};

class KVShadowPanel : public KVEffectPanel {
public:
    KVShadowPanel();
    void Reset() override;
    KVDropShadow GetShadow() const;
    void SetShadow(const KVDropShadow& s);

private:
    LPanelNumber* softness;
    LPanelNumber* size;
    LPanelNumber* horizontal;
    LPanelNumber* vertical;
};

class KVBevelEmbossPanel : public KVEffectPanel {
public:
    KVBevelEmbossPanel();
    void Reset() override;
    KVBevelEmboss GetBevel() const;
    void SetBevel(const KVBevelEmboss& b);

private:
    LPanelNumber* size;
};

// The inner and the outer glow differ only by their title.
class KVGlowPanel : public KVEffectPanel {
public:
    KVGlowPanel(const char* title, KVEffectId id);
    void Reset() override;
    KVGlow GetGlow() const;
    void SetGlow(const KVGlow& g);
    LColourButton& GetColourButton() const { return *colour; }

private:
    LPanelNumber* strength;
    LColourButton* colour;
};

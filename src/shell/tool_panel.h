#pragma once
// The right-hand column of the tool window: the colour picker, the panel of
// the current tool (or of the selected element) and the effect panels under
// it. Its controls always hold the record the next element gets; while an
// element is selected they hold that element's record, and a change goes to
// it.

#include <QScrollArea>

#include <functional>
#include <string>

#include "shell/effect_panels.h"
#include "shell/tool_panels.h"

class QToolButton;

// Foreground colour button 1003 with its menu 1004, the swap button 1005,
// and fill colour button 1006 with its menu 1007 ("No Fill").
class KVColorPicker : public QWidget {
public:
    explicit KVColorPicker(QWidget* parent = nullptr);

    LColourButton& GetForegroundButton() const { return *foreground; }
    LColourButton& GetFillButton() const { return *fill; }
    QToolButton& GetSwapButton() const { return *swap; }
    // Foreground and fill trade places; a fill of none gives its colour.
    void Swap();
    void SetFillEnabled(bool on);
    bool IsFillEnabled() const;

    // The foreground changed (message 37), the fill changed, the eyedropper
    // was asked for.
    std::function<void()> onForeground;
    std::function<void()> onFill;
    std::function<void()> onEyedropper;

private:
    LColourButton* foreground;
    LColourButton* fill;
    QToolButton* swap;
};

class KVToolPanel : public QScrollArea {
public:
    explicit KVToolPanel(KVColorPicker& colours, QWidget* parent = nullptr);

    // Shows the panel of the tool, or with a selection of the element type,
    // and the effect panels that apply to it; others collapse.
    void UpdatePanelVisibility(const std::string& tool, bool hasSelection);
    void SetSelectedElementType(const char* type, const std::string& tool);
    const std::string& GetSelectedElementType() const { return selectedElementType; }
    // The panel shown, or null.
    KVPanel* GetShownPanel() const { return shown; }
    KVPanel* GetPanel(const std::string& key) const;

    // The record the panel gives: its controls, the colours and the effects
    // that are on. Fields the panel has no control for stay as given.
    template <class P> void GetSelectedToolProperties(P& p) const;
    // Sets the panel's controls and the colours from a record.
    template <class P> void SetSelectedToolProperties(const P& p);
    // Shows the effect panels the record has, with its values; hides the rest.
    template <class P> void SetEffects(const P& p);
    void HideEffects();

    // Turn an effect on: only when it is off; reset to defaults, shown.
    // True when anything changed.
    bool ShowEffect(KVEffectId id);
    bool IsEffectShown(KVEffectId id) const;
    // The effect can be added to what the panel is for (the tool, or the
    // selected element).
    bool IsEffectAvailable(KVEffectId id) const;
    // The close button of an effect's panel: hidden, and a change reported.
    void EvDeleteEffect(int id);
    KVEffectPanel& GetEffectPanel(KVEffectId id) const;
    KVGradientPanel& GetGradientPanel() const { return *gradient; }

    KVColorPicker& GetColours() const { return colours; }

    // Any change (messages 2 and 35); `size` is true for a change of size
    // (message 36 follows).
    std::function<void(bool size)> onChange;

private:
    void AddPanel(const char* key, KVPanel* panel);
    void Changed(bool size);
    // The key whose panel and effects show: the selected element's type, or
    // the tool.
    std::string PanelKey() const;

    // The panel of each record kind.
    const KVPenPanel& PanelFor(const KVPenElementProperties&) const { return *pen; }
    const KVPencilPanel& PanelFor(const KVPencilElementProperties&) const { return *pencil; }
    const KVBrushPanel& PanelFor(const KVBrushElementProperties&) const { return *brush; }
    const KVSprayPanel& PanelFor(const KVSprayElementProperties&) const { return *spray; }
    const KVMarkerPanel& PanelFor(const KVMarkerElementProperties&) const { return *marker; }
    const KVCrayonPanel& PanelFor(const KVCrayonElementProperties&) const { return *crayon; }
    const KVLinePanel& PanelFor(const KVLineElementProperties&) const { return *line; }
    const KVRectanglePanel& PanelFor(const KVRectangleElementProperties&) const {
        return *rectangle;
    }
    const KVEllipsePanel& PanelFor(const KVEllipseElementProperties&) const { return *ellipse; }
    const KVTrianglePanel& PanelFor(const KVTriangleElementProperties&) const { return *triangle; }
    const KVPolygonPanel& PanelFor(const KVPolygonElementProperties&) const { return *polygon; }
    const KVTextPanel& PanelFor(const KVTextElementProperties&) const { return *text; }
    const KVTextPanel& PanelFor(const KVRichTextElementProperties&) const { return *text; }
    const KVImagePanel& PanelFor(const KVImageElementProperties&) const { return *image; }
    template <class P> auto& EditPanelFor(const P& p) {
        return const_cast<std::remove_const_t<std::remove_reference_t<decltype(PanelFor(p))>>&>(
            PanelFor(p));
    }

    KVColorPicker& colours;
    QWidget* holder;
    std::string selectedElementType;
    std::string tool;
    KVPanel* shown = nullptr;
    std::vector<std::pair<std::string, KVPanel*>> panels;

    KVPenPanel* pen;
    KVPencilPanel* pencil;
    KVBrushPanel* brush;
    KVSprayPanel* spray;
    KVMarkerPanel* marker;
    KVCrayonPanel* crayon;
    KVLinePanel* line;
    KVRectanglePanel* rectangle;
    KVEllipsePanel* ellipse;
    KVTrianglePanel* triangle;
    KVPolygonPanel* polygon;
    KVTextPanel* text;
    KVImagePanel* image;

    KVGradientPanel* gradient;
    KVShadowPanel* shadow;
    KVBevelEmbossPanel* bevel;
    KVGlowPanel* innerGlow;
    KVGlowPanel* outerGlow;
};

template <class P> void KVToolPanel::GetSelectedToolProperties(P& p) const {
    PanelFor(p).GetProperties(p);
    const LGuiColorAlpha ink = colours.GetForegroundButton().GetColour();
    if constexpr (requires { p.lineColour; }) {
        p.lineColour = ink;
    } else if constexpr (requires { p.segments; }) {
        for (KVRichTextSegment& run : p.segments)
            run.colour = ink;
    } else if constexpr (requires { p.colour; }) {
        static_cast<LGuiColor&>(p.colour) = ink;
        if constexpr (requires { p.colour.alpha; })
            p.colour.alpha = ink.alpha;
    }
    if constexpr (requires { p.TakeFill(p); }) {
        if (IsEffectShown(KVEffectGradient))
            p.SetGradient(gradient->GetGradient());
        else if (colours.IsFillEnabled() && !colours.GetFillButton().IsNone())
            p.SetFill(colours.GetFillButton().GetColour());
        else
            p.RemoveFill();
    }
    if constexpr (requires { p.shadow; }) {
        if (IsEffectShown(KVEffectShadow))
            p.SetShadow(shadow->GetShadow());
        else
            p.RemoveShadow();
    }
    if constexpr (requires { p.bevel; }) {
        if (IsEffectShown(KVEffectBevel))
            p.SetBevelEmboss(bevel->GetBevel());
        else
            p.RemoveBevelEmboss();
    }
    // A pen carries a glow record, but never gets a glow.
    if constexpr (requires {
                      p.innerGlow;
                      p.lineColour;
                  }) {
        if (IsEffectShown(KVEffectInnerGlow))
            p.SetInnerGlow(innerGlow->GetGlow());
        else
            p.RemoveInnerGlow();
        if (IsEffectShown(KVEffectOuterGlow))
            p.SetOuterGlow(outerGlow->GetGlow());
        else
            p.RemoveOuterGlow();
    }
}

template <class P> void KVToolPanel::SetSelectedToolProperties(const P& p) {
    EditPanelFor(p).SetProperties(p);
    LColourButton& ink = colours.GetForegroundButton();
    if constexpr (requires { p.lineColour; }) {
        ink.SetColour(p.lineColour);
    } else if constexpr (requires { p.segments; }) {
        if (!p.segments.empty())
            ink.SetColour(LGuiColorAlpha(p.segments.front().colour, 255));
    } else if constexpr (requires { p.colour; }) {
        LGuiColorAlpha c(p.colour, 255);
        if constexpr (requires { p.colour.alpha; })
            c.alpha = p.colour.alpha;
        ink.SetColour(c);
    }
    if constexpr (requires { p.TakeFill(p); }) {
        if (p.fill)
            colours.GetFillButton().SetColour(*p.fill);
        else if (!p.gradient)
            colours.GetFillButton().SetNone(true);
    }
}

template <class P> void KVToolPanel::SetEffects(const P& p) {
    HideEffects();
    auto show = [this](KVEffectPanel& panel) {
        panel.show();
        holder->adjustSize();
    };
    if constexpr (requires { p.gradient; }) {
        if (p.gradient) {
            gradient->SetGradient(*p.gradient);
            show(*gradient);
        }
    }
    if constexpr (requires { p.shadow; }) {
        if (p.shadow) {
            shadow->SetShadow(*p.shadow);
            show(*shadow);
        }
    }
    if constexpr (requires { p.bevel; }) {
        if (p.bevel) {
            bevel->SetBevel(*p.bevel);
            show(*bevel);
        }
    }
    if constexpr (requires {
                      p.innerGlow;
                      p.lineColour;
                  }) {
        if (p.innerGlow) {
            innerGlow->SetGlow(*p.innerGlow);
            show(*innerGlow);
        }
        if (p.outerGlow) {
            outerGlow->SetGlow(*p.outerGlow);
            show(*outerGlow);
        }
    }
}

#pragma once
// The controls property panels are made of: a number with its track bar,
// a colour button that opens the colour picker, a titled section that an
// effect's panel lives in (its close button takes the effect away), and a
// popup menu that tests can answer without a person.

#include <QFrame>
#include <QToolButton>
#include <QWidget>

#include <functional>
#include <string>
#include <vector>

#include "foundation/color.h"

class QLabel;
class QSlider;
class QSpinBox;
class QVBoxLayout;

// "Label:" over a track bar and an up-down box that follow each other.
class LPanelNumber : public QWidget {
public:
    LPanelNumber(const char* label, int minimum, int maximum, int value, QWidget* parent = nullptr);

    int GetValue() const;
    // Quietly: no change is reported.
    void SetValue(int value);
    // Called with each value the user gives.
    std::function<void(int)> onChange;

    QSlider& GetSlider() const { return *slider; }
    QSpinBox& GetSpinBox() const { return *spin; }

private:
    QSlider* slider;
    QSpinBox* spin;
};

// A button showing its colour; a click opens the picker, and a colour chosen
// there is reported.
class LColourButton : public QToolButton {
public:
    LColourButton(const char* tip, LGuiColorAlpha colour, QWidget* parent = nullptr);

    const LGuiColorAlpha& GetColour() const { return colour; }
    // Quietly.
    void SetColour(const LGuiColorAlpha& c);
    // A button with no colour shows a cross: "no fill".
    void SetNone(bool none);
    bool IsNone() const { return none; }
    // Opens the picker as a click does; true when a colour was chosen.
    bool Choose();
    std::function<void(const LGuiColorAlpha&)> onChange;

private:
    void Repaint();

    LGuiColorAlpha colour;
    bool none = false;
};

// A titled part of a panel list. With a close button, a click on it calls
// onClose.
class LPanelSection : public QFrame {
public:
    LPanelSection(const char* title, bool closable, QWidget* parent = nullptr);

    QVBoxLayout& GetBody() const { return *body; }
    QToolButton* GetCloseButton() const { return close; }
    std::function<void()> onClose;

private:
    QVBoxLayout* body;
    QToolButton* close = nullptr;
};

struct LPopupEntry {
    unsigned id = 0; // 0 with an empty label: a separator
    std::string label;
    bool enabled = true;
    std::vector<LPopupEntry> submenu;
};
// The id chosen, or 0 when the menu was closed.
using LPopupResponder = std::function<unsigned(const std::vector<LPopupEntry>&)>;
void LSetPopupResponder(LPopupResponder responder);
// Shows the menu at a point of `parent` and waits for the choice.
unsigned LPopupMenu(QWidget* parent, const std::vector<LPopupEntry>& entries, QPoint at);

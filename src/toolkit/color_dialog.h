#pragma once
// The colour picker. Like the alerts it goes through a responder that tests
// can replace, so that a colour is chosen without a person.

#include <functional>
#include <optional>

#include "foundation/color.h"

class QWidget;

// The colour chosen, or nothing when the picker was cancelled.
using LColorDialogResponder = std::function<std::optional<LGuiColorAlpha>(const LGuiColorAlpha& initial)>;

// Opens the picker on `initial`, with its alpha.
std::optional<LGuiColorAlpha> LChooseColor(QWidget* parent, const char* title, const LGuiColorAlpha& initial);

// A null responder brings back the real picker.
void LSetColorDialogResponder(LColorDialogResponder responder);

#pragma once
// Alerts and file dialogs. Every one goes through a responder that tests can
// replace, so that a question is answered without a person and the test can
// see what was asked.

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "foundation/color.h"

class QWidget;

struct LAlertRequest {
    std::string title;
    std::string text;
    std::vector<std::string> buttons; // left to right; the first is the default
};
// The index of the button chosen, or -1 when the alert was closed otherwise.
using LAlertResponder = std::function<int(const LAlertRequest&)>;

// Shows a modal alert and answers the index of the button pressed.
int LAlert(QWidget* parent, const char* title, const char* text,
           std::initializer_list<const char*> buttons = {"OK"});

struct LFileFilter {
    std::string name;     // "Korvane Project File (*.kvp)"
    std::string patterns; // "*.kvp;*.png"
};

struct LFileDialogRequest {
    bool save = false;
    std::string title;
    std::string folder;           // where it opens
    std::string fileName;         // proposed name (saves)
    std::string defaultExtension; // without the point, added to a bare name
    std::vector<LFileFilter> filters;
};
// What the user chose: the path as typed or picked (empty when cancelled),
// and the index of the file type chosen in the filters, -1 when none was.
struct LFileChoice {
    LFileChoice(std::string path = {}, int filter = -1) : path(std::move(path)), filter(filter) {}
    std::string path;
    int filter;
};
using LFileDialogResponder = std::function<LFileChoice(const LFileDialogRequest&)>;

// The chosen path, or empty when cancelled. A save whose file name has no
// extension takes the one of the chosen file type (its only pattern,
// "*.jpg"), else the default extension.
std::string LFileDialog(QWidget* parent, const LFileDialogRequest& request);

struct LTextInputRequest {
    std::string title;
    std::string label;
    std::string text; // offered, selected, in the box
};
// The text entered (UTF-8), or nothing when the dialog was cancelled.
using LTextInputResponder = std::function<std::optional<std::string>(const LTextInputRequest&)>;

// Asks for one line of text.
std::optional<std::string> LTextInput(QWidget* parent, const LTextInputRequest& request);

struct LColourRequest {
    std::string title;
    LGuiColorAlpha colour; // the colour it opens with
};
// The colour chosen, or nothing when the picker was cancelled.
using LColourResponder = std::function<std::optional<LGuiColorAlpha>(const LColourRequest&)>;

// The colour picker, with an alpha channel.
std::optional<LGuiColorAlpha> LColourDialog(QWidget* parent, const LColourRequest& request);

// A null responder brings back the real dialogs.
void LSetAlertResponder(LAlertResponder responder);
void LSetFileDialogResponder(LFileDialogResponder responder);
void LSetTextInputResponder(LTextInputResponder responder);
void LSetColourResponder(LColourResponder responder);

// The user's standard folders ("Pictures", "Documents"), or the home folder.
std::string LGetPicturesFolder();
std::string LGetDocumentsFolder();

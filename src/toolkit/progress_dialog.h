#pragma once
// The progress window of long operations. The operation sees it as its
// process interface: its waits keep the window's events flowing, Cancel asks
// it to stop, and the window itself appears only when the operation takes
// long enough to be worth watching. An error it reported is shown as an
// alert once it is over.

#include <memory>
#include <string>

#include "foundation/main_thread.h"
#include "foundation/process_thread.h"

class QWidget;
class QProgressDialog;
class QTimer;

class LProgressDialog : public LProcessInterfaceModal {
public:
    // How long an operation runs before the window shows.
    static constexpr int kShowAfterMilliseconds = 400;

    LProgressDialog(QWidget* parent, const char* title);
    ~LProgressDialog() override;

    void SetError(const char* message) override;
    void SetStatus(const char* text, int level) override;
    void SetProgress(double fraction) override;
    void SetProgressIndeterminateOn() override;
    void SetProgressIndeterminateOff() override;

    // Closes the window and, for a failure with a message, shows the message.
    void Finish(LProcessResult result);
    const std::string& GetError() const { return error; }
    bool IsShown() const;

private:
    void Show();

    QWidget* parent;
    std::string title;
    std::string error;
    std::unique_ptr<QProgressDialog> window;
    std::unique_ptr<QTimer> showTimer;
    double progress = 0.0;
    bool indeterminate = false;
    std::string status;
};

// Runs a process object on a worker thread under a progress window:
//     LProcessDialog<KVProjectFileLoadSettings> dialog(window, "Loading File", load);
//     LProcessResult r = dialog.Run();
template <class T> class LProcessDialog : public LProgressDialog {
public:
    LProcessDialog(QWidget* parent, const char* title, T& process)
        : LProgressDialog(parent, title), process(process) {}

    LProcessResult Run() {
        LProcessThreadData<T> data(process);
        const LProcessResult r = Process(*this, data);
        Finish(r);
        return r;
    }

private:
    T& process;
};

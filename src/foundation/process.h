#pragma once
// The link of every long operation to its owner: whether to stop, how to wait,
// and where errors, status and progress go.

#include "foundation/signal.h"

enum LProcessResult : int {
    LProcessResultOk = 0,
    LProcessResultStopped = 1,
    LProcessResultError = 2,
};

constexpr unsigned int kLWaitForever = 0xFFFFFFFFu;
constexpr unsigned long kLProcessMessageSize = 8192;

class LProcessInterface {
public:
    virtual bool IsToStop() = 0;
    virtual LProcessResult ProcessWait(unsigned int milliseconds) = 0;
    virtual LProcessResult ProcessWaitSignal(LSignalObjectRef signal, unsigned int milliseconds) = 0;
    virtual LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                        unsigned int milliseconds) = 0;
    virtual void SetError(const char* /*message*/) {}
    virtual void SetStatus(const char* /*text*/, int /*level*/) {}
    virtual void SetProgress(double /*fraction*/) {}
    virtual void SetProgressIndeterminateOn() {}
    virtual void SetProgressIndeterminateOff() {}

    // printf-style forms; the text is cut at 8192 bytes.
    void SetErrorF(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void SetStatusF(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));
    LProcessResult ProcessWaitSignalForever(LSignalObjectRef signal) {
        return ProcessWaitSignal(signal, kLWaitForever);
    }

protected:
    // Objects of the family are destroyed as their concrete class.
    ~LProcessInterface() = default;
};

// Silent work: never stops, drops every report.
class LProcessInterfaceVoid : public LProcessInterface {
public:
    bool IsToStop() override { return false; }
    // Sleeps, then 0.
    LProcessResult ProcessWait(unsigned int milliseconds) override;
    // 0 when the signal came, 2 on time-out.
    LProcessResult ProcessWaitSignal(LSignalObjectRef signal, unsigned int milliseconds) override;
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int milliseconds) override;
};

// Forwards everything to the parent but the indeterminate-progress switches.
class LProcessInterfaceNested : public LProcessInterface {
public:
    explicit LProcessInterfaceNested(LProcessInterface* parent) : parent(parent) {}

    bool IsToStop() override { return parent->IsToStop(); }
    LProcessResult ProcessWait(unsigned int ms) override { return parent->ProcessWait(ms); }
    LProcessResult ProcessWaitSignal(LSignalObjectRef signal, unsigned int ms) override {
        return parent->ProcessWaitSignal(signal, ms);
    }
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int ms) override {
        return parent->ProcessWaitSignalObjectGroup(group, ms);
    }
    void SetError(const char* message) override { parent->SetError(message); }
    void SetStatus(const char* text, int level) override { parent->SetStatus(text, level); }
    void SetProgress(double fraction) override { parent->SetProgress(fraction); }

protected:
    LProcessInterface* parent;
};

// A slice offset..offset + scale of the parent's bar; status lines one level deeper.
class LProcessInterfaceSubProcess : public LProcessInterfaceNested {
public:
    LProcessInterfaceSubProcess(LProcessInterface& parent, double offset, double scale)
        : LProcessInterfaceNested(&parent), offset(offset), scale(scale) {}

    void SetProgress(double p) override { parent->SetProgress(p * scale + offset); }
    void SetStatus(const char* text, int level) override { parent->SetStatus(text, level + 1); }

    double offset;
    double scale;
};

#pragma once
// An event made of one pipe: set by writing a byte, tested without consuming
// it, so several threads can wait on one signal and on descriptors of their
// own at once. Waits use poll, so no descriptor number is too high.

#include <vector>

// The two ends of a signal's pipe, passed by value.
struct LSignalObjectRef {
    int readEnd = -1;
    int writeEnd = -1;

    void Set() const;
    void Reset() const;
    bool IsSignaled() const;
    // True when the signal came in time. An interrupted wait counts as the
    // signal having come: it returns early rather than going back to sleep.
    bool WaitSignal(unsigned int milliseconds) const;
};

class LSignalObject {
public:
    LSignalObject();
    ~LSignalObject();
    LSignalObject(const LSignalObject&) = delete;
    LSignalObject& operator=(const LSignalObject&) = delete;

    LSignalObjectRef Ref() const { return ref; }
    operator LSignalObjectRef() const { return ref; }
    void Set() const { ref.Set(); }
    void Reset() const { ref.Reset(); }
    bool IsSignaled() const { return ref.IsSignaled(); }
    bool WaitSignal(unsigned int milliseconds) const { return ref.WaitSignal(milliseconds); }

private:
    LSignalObjectRef ref;
};

// A set of signals waited on together. Members past 256 are ignored.
class LSignalObjectGroup {
public:
    static constexpr unsigned kMaxMembers = 256;

    void Add(LSignalObjectRef signal);
    unsigned GetCount() const { return static_cast<unsigned>(fds.size()); }
    // True when at least one member is readable in time (an interruption
    // counts as readable). Afterwards only the readable members remain, so a
    // group is waited on once.
    bool Select(unsigned int milliseconds);
    void GetFileDescriptors(std::vector<int>& out) const { out = fds; }
    bool IsMember(LSignalObjectRef signal) const;

private:
    std::vector<int> fds;
};

// poll's timeout for one of our waits: 0xFFFFFFFF is no limit.
int LWaitTimeout(unsigned int milliseconds);

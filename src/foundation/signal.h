#pragma once
// An event made of one pipe: set by writing a byte, tested without consuming
// it, so several threads can wait on one signal and on descriptors of their
// own at once. Waits use poll, so no descriptor number is too high.

#include <atomic>
#include <vector>

// The two ends of a signal's pipe, passed by value.
//
// A pipe orders memory in the kernel, but the C++ memory model (and the race
// checker) only knows about atomics. So a signal also carries a counter that
// Set bumps with release order and a wait that sees the signal reads with
// acquire order: whatever the setter wrote before Set is visible to the
// thread that saw it. A ref made from bare descriptors has no counter.
struct LSignalObjectRef {
    int readEnd = -1;
    int writeEnd = -1;
    std::atomic<unsigned>* sync = nullptr;

    void Set() const;
    void Reset() const;
    bool IsSignaled() const;
    // True when the signal came in time. An interrupted wait counts as the
    // signal having come: it returns early rather than going back to sleep.
    // A signal whose pipe could not be made never comes and never blocks.
    bool WaitSignal(unsigned int milliseconds) const;

    // Makes the setter's writes visible after a wait saw the signal.
    void Acquire() const {
        if (sync)
            (void)sync->load(std::memory_order_acquire);
    }
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
    // False when the system refused the pipe (no descriptors left).
    bool IsValid() const { return ref.readEnd >= 0; }

private:
    mutable std::atomic<unsigned> sync{0};
    LSignalObjectRef ref;
};

// A set of signals waited on together. Members past 256 are ignored, and so
// are signals without a pipe.
class LSignalObjectGroup {
public:
    static constexpr unsigned kMaxMembers = 256;

    void Add(LSignalObjectRef signal);
    unsigned GetCount() const { return static_cast<unsigned>(members.size()); }
    bool IsMember(LSignalObjectRef signal) const;
    void GetFileDescriptors(std::vector<int>& out) const;

    // True when at least one member is readable in time; an interrupted wait
    // counts as readable. The group itself is left as it was.
    bool Select(unsigned int milliseconds) const;

    // The same wait, but afterwards only the members that were readable
    // remain, so the group is spent. `also`, when it has a pipe, is waited on
    // as well without joining the group.
    bool SelectNarrowing(unsigned int milliseconds, LSignalObjectRef also = {});

private:
    std::vector<LSignalObjectRef> members;
};

// poll's timeout for one of our waits: 0xFFFFFFFF is no limit.
int LWaitTimeout(unsigned int milliseconds);

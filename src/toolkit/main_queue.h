#pragma once
// The main-thread queue on Qt's event loop: each post becomes a posted event
// for a receiver object of its target, so items run in posting order among
// the window's own events, a target's items can be taken out before it dies,
// and a modal wait keeps them coming by pumping events in short slices.

#include <mutex>
#include <thread>
#include <unordered_map>

#include "foundation/main_thread.h"
#include "foundation/signal.h"

class QObject;

class LQtMainThreadQueue : public LMainThreadQueue {
public:
    // Made on the thread that runs the application object's event loop.
    LQtMainThreadQueue();
    // Items still queued are dropped, not run.
    ~LQtMainThreadQueue() override;
    LQtMainThreadQueue(const LQtMainThreadQueue&) = delete;
    LQtMainThreadQueue& operator=(const LQtMainThreadQueue&) = delete;

    void Post(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item) override;
    void Flush(LThreadRunOnMainThread* target) override;
    bool IsMainThread() const override;
    unsigned DeliverPending() override;
    bool WaitDelivering(const LSignalObjectGroup& awaited, unsigned int milliseconds) override;

    // How long one slice of a modal wait lets the window's own events run.
    static constexpr unsigned int kSliceMilliseconds = 10;

private:
    QObject* ReceiverFor(LThreadRunOnMainThread* target);

    std::mutex m;
    // One receiver per target, kept until the queue goes: a receiver is never
    // deleted while another thread may be posting to it.
    std::unordered_map<LThreadRunOnMainThread*, QObject*> receivers;
    LSignalObject pending;
    std::thread::id mainThread;
    unsigned delivered = 0;
};

#include "toolkit/main_queue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

#include <algorithm>
#include <chrono>

namespace {

QEvent::Type ItemEventType() {
    static const QEvent::Type type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

// Owns its item: a run marks it done; an event Qt deletes without delivering
// (taken out by Flush, or left when the queue goes) drops the item.
class ItemEvent : public QEvent {
public:
    ItemEvent(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item)
        : QEvent(ItemEventType()), target(target), item(item) {}
    ~ItemEvent() override {
        if (item)
            LThreadRunOnMainThread::Drop(target, item);
    }
    void Run() {
        LThreadRunOnMainThreadData* taken = item;
        item = nullptr;
        LThreadRunOnMainThread::Run(target, taken);
    }

private:
    LThreadRunOnMainThread* target;
    LThreadRunOnMainThreadData* item;
};

class Receiver : public QObject {
public:
    Receiver(unsigned& delivered, LSignalObjectRef pending) : delivered(delivered), pending(pending) {}
    bool event(QEvent* e) override {
        if (e->type() != ItemEventType())
            return QObject::event(e);
        pending.Reset();
        ++delivered;
        static_cast<ItemEvent*>(e)->Run();
        return true;
    }

private:
    unsigned& delivered;
    LSignalObjectRef pending;
};

} // namespace

LQtMainThreadQueue::LQtMainThreadQueue() : mainThread(std::this_thread::get_id()) {}

LQtMainThreadQueue::~LQtMainThreadQueue() {
    std::unordered_map<LThreadRunOnMainThread*, QObject*> all;
    {
        std::lock_guard<std::mutex> g(m);
        all.swap(receivers);
    }
    for (auto& [target, receiver] : all) {
        QCoreApplication::removePostedEvents(receiver, ItemEventType());
        delete receiver;
    }
}

QObject* LQtMainThreadQueue::ReceiverFor(LThreadRunOnMainThread* target) {
    std::lock_guard<std::mutex> g(m);
    QObject*& receiver = receivers[target];
    if (!receiver) {
        receiver = new Receiver(delivered, pending);
        // Made on a worker it would belong to the worker; events for it must
        // be delivered by the main loop.
        if (QCoreApplication::instance())
            receiver->moveToThread(QCoreApplication::instance()->thread());
    }
    return receiver;
}

void LQtMainThreadQueue::Post(LThreadRunOnMainThread* target, LThreadRunOnMainThreadData* item) {
    QObject* receiver = ReceiverFor(target);
    pending.Set();
    QCoreApplication::postEvent(receiver, new ItemEvent(target, item));
}

void LQtMainThreadQueue::Flush(LThreadRunOnMainThread* target) {
    QObject* receiver = nullptr;
    {
        std::lock_guard<std::mutex> g(m);
        auto found = receivers.find(target);
        if (found != receivers.end())
            receiver = found->second;
    }
    // Outside our lock: deleting the events drops their items, which takes
    // the target's lock, and a poster holds that one while it takes ours.
    if (receiver)
        QCoreApplication::removePostedEvents(receiver, ItemEventType());
}

bool LQtMainThreadQueue::IsMainThread() const { return std::this_thread::get_id() == mainThread; }

unsigned LQtMainThreadQueue::DeliverPending() {
    if (!IsMainThread())
        return 0;
    const unsigned before = delivered;
    QCoreApplication::sendPostedEvents(nullptr, ItemEventType());
    return delivered - before;
}

bool LQtMainThreadQueue::WaitDelivering(const LSignalObjectGroup& awaited,
                                        unsigned int milliseconds) {
    if (!IsMainThread())
        return awaited.Select(milliseconds);
    using Clock = std::chrono::steady_clock;
    const bool unlimited = milliseconds == kLWaitForever;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(unlimited ? 0 : milliseconds);
    for (;;) {
        // Everything the window has, not only our items: a progress window
        // has to paint and its Cancel button has to answer.
        QCoreApplication::processEvents(QEventLoop::AllEvents, static_cast<int>(kSliceMilliseconds));
        QCoreApplication::sendPostedEvents(nullptr, ItemEventType());
        if (awaited.GetCount() && awaited.Select(0))
            return true;
        unsigned int left = kSliceMilliseconds;
        if (!unlimited) {
            const auto remaining =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
            if (remaining <= 0)
                return false;
            left = static_cast<unsigned int>(std::min<long long>(remaining, kSliceMilliseconds));
        }
        LSignalObjectGroup both = awaited;
        both.SelectNarrowing(left, pending);
    }
}

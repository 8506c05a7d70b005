#pragma once
// Small pieces the threaded tests share.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/main_thread.h"
#include "foundation/thread.h"

extern int (*gLThreadCreate)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

namespace kvtest {

// A thread whose body is a function, counting its runs.
class FnThread : public LThread {
public:
    explicit FnThread(std::function<void(FnThread&)> body = {}) : body(std::move(body)) {}
    ~FnThread() override { StopThreadNow(); }
    void ThreadFunction() override {
        ++runs;
        if (body)
            body(*this);
    }
    using LThread::SetThreadName;
    std::function<void(FnThread&)> body;
    std::atomic<int> runs{0};
};

// Plays a system that refuses new threads while it lives.
struct RefuseThreads {
    RefuseThreads() {
        gLThreadCreate = [](pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) {
            return EAGAIN;
        };
    }
    ~RefuseThreads() { gLThreadCreate = real; }
    decltype(gLThreadCreate) real = gLThreadCreate;
};

// Counts events from any thread; waits end with a generous limit, so that a
// fault fails the test instead of hanging it.
class Counter {
public:
    void Add() {
        std::lock_guard<std::mutex> g(m);
        ++n;
        cv.notify_all();
    }
    bool WaitFor(int target) {
        std::unique_lock<std::mutex> g(m);
        return cv.wait_for(g, std::chrono::seconds(10), [&] { return n >= target; });
    }

private:
    std::mutex m;
    std::condition_variable cv;
    int n = 0;
};

// Records the reports of a long operation and the threads they came on;
// B gives the waits and the stop.
template <class B> class Recording : public B {
public:
    void SetError(const char* m) override { Log(errors, m); }
    void SetStatus(const char* t, int level) override {
        Log(statuses, t);
        levels.push_back(level);
    }
    void SetProgress(double f) override { Log(progress, f); }
    void SetProgressIndeterminateOn() override { ++indeterminate; }
    void SetProgressIndeterminateOff() override { --indeterminate; }

    std::vector<std::string> errors, statuses;
    std::vector<int> levels;
    std::vector<double> progress;
    int indeterminate = 0;
    std::vector<std::thread::id> threads;

private:
    template <class V, class T> void Log(V& v, T x) {
        v.push_back(x);
        threads.push_back(std::this_thread::get_id());
    }
};

// Installs a core main-thread queue for the life of a test.
class WithMainQueue {
public:
    WithMainQueue() { LThreadRunOnMainThread::Init(queue); }
    ~WithMainQueue() { LThreadRunOnMainThread::Destroy(); }
    LMainThreadQueueCore queue;
};

} // namespace kvtest

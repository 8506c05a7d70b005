#pragma once
// The one render worker of the editor window: it renders the current project
// into a fresh picture, then, when the image has unsaved changes, writes the
// whole project to its recovery file. It never touches a window: it reports
// to the main thread by queued notifications that carry a KVRenderNotice.

#include <atomic>
#include <cstddef>

#include "foundation/lock.h"
#include "foundation/main_thread.h"
#include "foundation/thread.h"
#include "render/render_results.h"

class KVProject;

// Notification ids.
enum KVRenderNotify : unsigned int {
    KVRenderNotifyFinished = 4,  // the picture is complete
    KVRenderNotifyFailed = 5,    // the render failed; the record can go
    KVRenderNotifyStopped = 6,   // the render was stopped; the record can go
    KVRenderNotifyProgress = 28, // the progress changed
    KVRenderNotifyAutosaved = 53 // after a finished render, whether or not it saved
};

// What each notification carries: the record it is about (none with the
// progress), and the progress in thousandths.
struct KVRenderNotice {
    const KVRenderResults* record = nullptr;
    long progress = 0;
};
// The notice in a notification's data; false for data that holds none.
bool KVReadRenderNotice(const void* data, unsigned long size, KVRenderNotice& notice);

class KVRenderThread : public LThread {
public:
    KVRenderThread();
    ~KVRenderThread() override;

    // Where the notifications go; set once, before the first render.
    void SetNotifyHandler(LQueuedNotifyDataHandler* h) { handler = h; }

    // Starts rendering `results` unless it has no target, the thread is
    // closing or already running: the record then waits on the caller's list.
    // While a render lock is held it is only remembered as current.
    void StartRender(KVRenderResults& results);
    // The project of the render under way, or null.
    const KVProject* GetCurrentProject();
    // Forgets `results` when it is only remembered, not rendering: its owner
    // is about to delete it.
    void ForgetRecord(const KVRenderResults* results);
    // Stops and waits for a render of `project` that is under way.
    void CloseProject(const KVProject* project);
    // From now on nothing starts; used at shutdown, before the last stop.
    void SetClosing() { closing.store(true, std::memory_order_release); }

    // Render locks: while one is held nothing starts.
    void AddRenderLock();
    void ReleaseRenderLock();
    int GetRenderLockCount() const { return lockCount.load(std::memory_order_acquire); }

    // Posts the progress, only when its value in thousandths changed.
    void SetProgress(double fraction) override;

    // The number the next recovery file is named after.
    size_t GetRecoveryCounter() const { return recoveryCounter; }

protected:
    void ThreadFunction() override;

private:
    void Post(unsigned int id, const KVRenderNotice& notice);

    LQueuedNotifyDataHandler* handler = nullptr;
    KVRenderResults* current = nullptr;
    std::atomic<bool> closing{false};
    LLockObject lock;
    std::atomic<int> lockCount{0};
    // Only the render thread touches these while it runs.
    size_t recoveryCounter = 0;
    long lastProgress = -1;
};

// Held by every command while it changes the document: it stops the render
// under way (waiting for it) and keeps new ones from starting until it goes.
class KVRenderLock {
public:
    explicit KVRenderLock(KVRenderThread& thread);
    ~KVRenderLock();
    KVRenderLock(const KVRenderLock&) = delete;
    KVRenderLock& operator=(const KVRenderLock&) = delete;

private:
    KVRenderThread& thread;
};

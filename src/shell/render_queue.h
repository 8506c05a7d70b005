#pragma once
// The editor's renders: the one render worker and the records of the renders
// under way or waiting for it. Each change asks for a fresh picture of its
// project; the picture goes to the client as soon as it is complete, and the
// worker's autosave follows it.

#include <memory>

#include "foundation/list.h"
#include "foundation/main_thread.h"
#include "render/render_results.h"
#include "render/render_thread.h"

class KVProject;
class LImageBuffer;

class KVRenderQueueClient {
public:
    virtual ~KVRenderQueueClient() = default;
    // The project on screen: its renders go first.
    virtual const KVProject* GetShownProject() const = 0;
    // On the main thread, when a picture of `project` is complete; the
    // picture is the client's to take.
    virtual void EvRenderedPicture(const KVProject* project, LImageBuffer& picture) = 0;
    virtual void EvRenderProgress(double fraction) = 0;
    // After every notification of the worker.
    virtual void EvRenderNoticeDone() {}
};

class KVRenderQueue : public LQueuedNotifyDataHandler {
public:
    explicit KVRenderQueue(KVRenderQueueClient& client);
    // Stops the worker and drops every record; nothing it posted arrives later.
    ~KVRenderQueue() override;

    // A fresh picture of `project`: a render of it still waiting will read
    // the newest state anyway; one under way is stopped and another queued.
    void Render(KVProject& project);
    // Starts a waiting render, the shown project's first, unless the worker
    // is busy or a lock holds it.
    void StartWaiting();
    // Stops a render of `project` that is under way, and waits for it.
    void StopRenderOf(const KVProject* project);
    // Before `project` is deleted: stops its render and drops its waiting ones.
    void ForgetProject(const KVProject* project);

    // Held while a command changes a document.
    std::unique_ptr<KVRenderLock> Lock() { return std::make_unique<KVRenderLock>(*thread); }

    // Whether a render is under way or waiting to start.
    bool IsRendering() const;
    // Whether the worker has nothing left to do, no render and no autosave:
    // at most it is on its way out after its last notification.
    bool IsIdle() const { return records.IsEmpty(); }

    KVRenderThread& GetThread() { return *thread; }
    const LList<KVRenderResults>& GetRecords() const { return records; }

    void EvQueuedNotifyData(unsigned int id, const void* data, unsigned long size) override;

private:
    KVRenderResults* FindRecord(const KVRenderResults* record) const;
    void DeleteRecord(KVRenderResults* record);

    KVRenderQueueClient& client;
    std::unique_ptr<KVRenderThread> thread;
    LList<KVRenderResults> records;
};

#include "shell/render_queue.h"

#include "document/project.h"
#include "foundation/process.h"

KVRenderQueue::KVRenderQueue(KVRenderQueueClient& client)
    : client(client), thread(std::make_unique<KVRenderThread>()) {
    thread->SetNotifyHandler(this);
}

KVRenderQueue::~KVRenderQueue() {
    // Nothing the worker posted may reach a half-destroyed owner.
    GetRunOnMainThread().Close();
    thread->SetClosing();
    thread->StopThreadNow();
    thread.reset();
    records.DeleteAll();
}

void KVRenderQueue::Render(KVProject& project) {
    if (!project.GetCurrentImage())
        return;
    for (KVRenderResults& r : records) {
        if (r.project != &project)
            continue;
        // A render still waiting will read the newest state when it starts.
        if (!r.started && !r.finished) {
            StartWaiting();
            return;
        }
        if (r.started && thread->GetCurrentProject() == &project)
            thread->StopThreadSoon();
    }
    auto* record = new KVRenderResults;
    record->project = &project;
    // A picture too large to make has nothing to show: the render is not asked for.
    LProcessInterfaceVoid quiet;
    if (KVNewProjectPicture(quiet, *record) != LProcessResultOk) {
        delete record;
        return;
    }
    records.PushFront(record);
    thread->StartRender(*record);
}

void KVRenderQueue::StartWaiting() {
    if (thread->IsRunning() || thread->GetRenderLockCount() > 0)
        return;
    const KVProject* shown = client.GetShownProject();
    KVRenderResults* waiting = nullptr;
    for (KVRenderResults& r : records)
        if (!r.started && !r.finished && (!waiting || r.project == shown))
            waiting = &r;
    if (waiting)
        thread->StartRender(*waiting);
}

void KVRenderQueue::StopRenderOf(const KVProject* project) { thread->CloseProject(project); }

void KVRenderQueue::ForgetProject(const KVProject* project) {
    // Renders still waiting for it would read a project that is gone; a
    // stopped one goes when its notification comes.
    thread->CloseProject(project);
    for (KVRenderResults* r = records.GetFirst(); r;) {
        KVRenderResults* next = r->GetNext();
        if (r->project == project && !r->started)
            DeleteRecord(r);
        r = next;
    }
}

bool KVRenderQueue::IsRendering() const {
    for (const KVRenderResults& r : records)
        if (!r.finished)
            return true;
    return false;
}

KVRenderResults* KVRenderQueue::FindRecord(const KVRenderResults* record) const {
    for (KVRenderResults& r : records)
        if (&r == record)
            return &r;
    return nullptr;
}

void KVRenderQueue::DeleteRecord(KVRenderResults* record) {
    thread->ForgetRecord(record);
    delete records.Remove(record);
}

void KVRenderQueue::EvQueuedNotifyData(unsigned int id, const void* data, unsigned long size) {
    KVRenderNotice notice;
    if (!KVReadRenderNotice(data, size, notice))
        return;
    if (id == KVRenderNotifyProgress) {
        client.EvRenderProgress(static_cast<double>(notice.progress) / 1000.0);
        return;
    }
    KVRenderResults* record = FindRecord(notice.record);
    if (!record)
        return;
    switch (id) {
    case KVRenderNotifyFinished: {
        record->started = false;
        record->finished = true;
        // The worker is done with the target (only the autosave of the
        // project follows): the picture leaves it, and it goes.
        LImageBuffer picture(std::move(KVFinishProjectPicture(*record)));
        record->target.Reset();
        client.EvRenderedPicture(record->project, picture);
        client.EvRenderProgress(1.0);
        break;
    }
    case KVRenderNotifyFailed:
    case KVRenderNotifyStopped:
    case KVRenderNotifyAutosaved: {
        KVProject* project = const_cast<KVProject*>(record->project);
        const bool stopped = id == KVRenderNotifyStopped;
        DeleteRecord(record);
        // A render of the shown project that was stopped with nothing after
        // it (a save stops it too) would leave the picture behind.
        const KVProject* shown = client.GetShownProject();
        bool another = false;
        for (KVRenderResults& r : records)
            another = another || r.project == shown;
        if (stopped && project == shown && !another)
            Render(*project);
        else
            StartWaiting();
        break;
    }
    default:
        break;
    }
    client.EvRenderNoticeDone();
}

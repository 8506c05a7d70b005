#include "render/render_thread.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "document/project.h"
#include "foundation/app_paths.h"
#include "foundation/geometry.h"
#include "foundation/text_layout.h"
#include "persistence/project_file.h"

namespace {

// Gives the project a recovery file of its own, named after the next number
// of the counter; false when no such file can be named. A project keeps its
// first name for all its later autosaves.
bool EnsureRecoveryPath(LProcessInterface& process, const KVProject& project, size_t& counter) {
    if (project.GetRecoveryPath()[0] != '\0')
        return true;
    const std::string folder = LEnsureFolder(LGetRecoveryFolder());
    if (folder.empty()) {
        process.SetError("The recovery folder cannot be created.");
        return false;
    }
    char path[sizeof(KVProjectFileSaveSettings::path)];
    const int n = std::snprintf(path, sizeof path, "%s/%zu.kvp", folder.c_str(), counter);
    if (n < 0 || static_cast<size_t>(n) >= sizeof path) {
        // A cut name would write somewhere else than the folder.
        process.SetError("The recovery folder's path is too long.");
        return false;
    }
    ++counter;
    // The record only lends the project for reading, yet the recovery path
    // is the project's own. Writing it here is safe: the main thread changes
    // a project only while it holds a render lock, and taking one stops this
    // thread and waits for it first.
    const_cast<KVProject&>(project).SetRecoveryPath(path);
    return true;
}

// Writes the project to its recovery file when its image has changes the
// user has not saved. The save is atomic: a stop or a failure leaves the
// previous copy as it was.
void Autosave(LProcessInterface& process, const KVProject& project, size_t& counter) {
    const KVImage* image = project.GetCurrentImage();
    if (!image || image->GetUndoRedoStack().IsCurrentStateSaved())
        return;
    if (!EnsureRecoveryPath(process, project, counter))
        return;
    KVProjectFileSave(process, project, project.GetRecoveryPath());
}

} // namespace

KVRenderThread::KVRenderThread() {
    // Takes effect at every start.
    SetThreadName("Render");
}

KVRenderThread::~KVRenderThread() {
    SetClosing();
    StopThreadNow();
}

void KVRenderThread::StartRender(KVRenderResults& results) {
    if (!results.target || closing.load(std::memory_order_acquire))
        return;
    {
        LLockGuard guard(lock);
        // A thread that has let go of its record is only on its way out; one
        // that still holds a record is busy, and this one waits on the list.
        if (IsRunning() && current)
            return;
        current = &results;
        if (lockCount.load(std::memory_order_acquire) > 0)
            return;
    }
    // Start leaves a thread that still runs as it is.
    WaitToStop();
    results.started = true;
    // The user waits for this picture: below normal, any other busy program
    // on the machine took the worker's time and doubled the wait.
    Start(kLThreadPriorityNormal);
}

const KVProject* KVRenderThread::GetCurrentProject() {
    LLockGuard guard(lock);
    return current ? current->project : nullptr;
}

void KVRenderThread::ForgetRecord(const KVRenderResults* results) {
    LLockGuard guard(lock);
    if (current == results && !IsRunning())
        current = nullptr;
}

void KVRenderThread::CloseProject(const KVProject* project) {
    if (!IsRunning())
        return;
    {
        LLockGuard guard(lock);
        if (!current || current->project != project)
            return;
    }
    // Not under `lock`: the thread takes it on its way out.
    StopThreadNow();
}

void KVRenderThread::AddRenderLock() {
    lockCount.fetch_add(1, std::memory_order_acq_rel);
    StopThreadNow();
}

void KVRenderThread::ReleaseRenderLock() { lockCount.fetch_sub(1, std::memory_order_acq_rel); }

void KVRenderThread::SetProgress(double fraction) {
    // Written so that NaN comes out as 0.
    if (!(fraction > 0.0))
        fraction = 0.0;
    else if (fraction > 1.0)
        fraction = 1.0;
    const long value = Round(fraction * 1000.0);
    // Large renders report far more often than the bar can move.
    if (value == lastProgress)
        return;
    lastProgress = value;
    Post(KVRenderNotifyProgress, KVRenderNotice{nullptr, value});
}

void KVRenderThread::Post(unsigned int id, const KVRenderNotice& notice) {
    if (handler)
        handler->PostNotifyFromSender(id, &notice, sizeof notice);
}

bool KVReadRenderNotice(const void* data, unsigned long size, KVRenderNotice& notice) {
    if (!data || size != sizeof notice)
        return false;
    std::memcpy(&notice, data, sizeof notice);
    return true;
}

void KVRenderThread::ThreadFunction() {
    KVRenderResults* record;
    {
        LLockGuard guard(lock);
        record = current;
    }
    if (!record)
        return;
    lastProgress = -1;
    SetProgress(0.0);
    const LProcessResult result = Process(*this, *record);
    unsigned int last = KVRenderNotifyFailed;
    if (result == LProcessResultOk) {
        Post(KVRenderNotifyFinished, KVRenderNotice{record, 1000});
        Autosave(*this, *record->project, recoveryCounter);
        last = KVRenderNotifyAutosaved;
    } else if (result == LProcessResultStopped) {
        last = KVRenderNotifyStopped;
    }
    // A thread of its own renders each time: its fonts go with it, before
    // anyone hears that it is done.
    LPaintReleaseThreadFonts();
    // The record is let go before its last notification: the main thread
    // starts the next render from that notification, which must not find
    // this thread still holding a record it has finished with.
    {
        LLockGuard guard(lock);
        current = nullptr;
    }
    Post(last, KVRenderNotice{record, lastProgress});
}

KVRenderLock::KVRenderLock(KVRenderThread& thread) : thread(thread) { thread.AddRenderLock(); }

KVRenderLock::~KVRenderLock() { thread.ReleaseRenderLock(); }

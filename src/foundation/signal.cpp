#include "foundation/signal.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "foundation/process.h"

int LWaitTimeout(unsigned int milliseconds) {
    if (milliseconds == kLWaitForever)
        return -1;
    return milliseconds > static_cast<unsigned int>(INT_MAX) ? INT_MAX
                                                             : static_cast<int>(milliseconds);
}

void LSignalObjectRef::Set() const {
    if (sync)
        sync->fetch_add(1, std::memory_order_release);
    const unsigned char one = 1;
    // A full pipe is already set: losing this byte changes nothing.
    while (write(writeEnd, &one, 1) < 0 && errno == EINTR) {
    }
}

void LSignalObjectRef::Reset() const {
    unsigned char byte;
    for (;;) {
        const ssize_t n = read(readEnd, &byte, 1);
        if (n == 1)
            continue;
        if (n < 0 && errno == EINTR)
            continue;
        break;
    }
}

bool LSignalObjectRef::IsSignaled() const {
    if (readEnd < 0)
        return false;
    pollfd p{readEnd, POLLIN, 0};
    if (poll(&p, 1, 0) > 0 && (p.revents & POLLIN)) {
        Acquire();
        return true;
    }
    return false;
}

bool LSignalObjectRef::WaitSignal(unsigned int milliseconds) const {
    // poll skips a negative descriptor, so without this a wait for ever on a
    // signal that could not be made would never end.
    if (readEnd < 0)
        return false;
    pollfd p{readEnd, POLLIN, 0};
    const int r = poll(&p, 1, LWaitTimeout(milliseconds));
    if (r < 0)
        return errno == EINTR;
    if (r > 0 && (p.revents & POLLIN)) {
        Acquire();
        return true;
    }
    return false;
}

LSignalObject::LSignalObject() {
    int fds[2];
    if (pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0) {
        ref.readEnd = fds[0];
        ref.writeEnd = fds[1];
        ref.sync = &sync;
    }
}

LSignalObject::~LSignalObject() {
    if (ref.readEnd >= 0)
        close(ref.readEnd);
    if (ref.writeEnd >= 0)
        close(ref.writeEnd);
}

void LSignalObjectGroup::Add(LSignalObjectRef signal) {
    if (signal.readEnd < 0 || members.size() >= kMaxMembers || IsMember(signal))
        return;
    members.push_back(signal);
}

bool LSignalObjectGroup::IsMember(LSignalObjectRef signal) const {
    for (const LSignalObjectRef& m : members)
        if (m.readEnd == signal.readEnd)
            return true;
    return false;
}

void LSignalObjectGroup::GetFileDescriptors(std::vector<int>& out) const {
    out.clear();
    for (const LSignalObjectRef& m : members)
        out.push_back(m.readEnd);
}

namespace {

enum class PollOutcome { Ready, TimedOut, Interrupted, Failed };

// Waits on the read ends of `refs`; on Ready, `ready[i]` tells which came.
PollOutcome PollRefs(const std::vector<LSignalObjectRef>& refs, unsigned int milliseconds,
                     std::vector<bool>& ready) {
    std::vector<pollfd> polls;
    polls.reserve(refs.size());
    for (const LSignalObjectRef& r : refs)
        polls.push_back(pollfd{r.readEnd, POLLIN, 0});
    const int r = poll(polls.data(), polls.size(), LWaitTimeout(milliseconds));
    if (r < 0)
        return errno == EINTR ? PollOutcome::Interrupted : PollOutcome::Failed;
    ready.assign(refs.size(), false);
    bool any = false;
    for (std::size_t i = 0; i < polls.size(); ++i)
        if (polls[i].revents & POLLIN) {
            ready[i] = true;
            refs[i].Acquire();
            any = true;
        }
    return any ? PollOutcome::Ready : PollOutcome::TimedOut;
}

} // namespace

bool LSignalObjectGroup::Select(unsigned int milliseconds) const {
    std::vector<bool> ready;
    const PollOutcome o = PollRefs(members, milliseconds, ready);
    return o == PollOutcome::Ready || o == PollOutcome::Interrupted;
}

bool LSignalObjectGroup::SelectNarrowing(unsigned int milliseconds, LSignalObjectRef also) {
    std::vector<LSignalObjectRef> refs = members;
    const bool withAlso = also.readEnd >= 0 && !IsMember(also);
    if (withAlso)
        refs.push_back(also);
    std::vector<bool> ready;
    const PollOutcome o = PollRefs(refs, milliseconds, ready);
    if (o == PollOutcome::Interrupted)
        return true; // nothing is known to be readable: the set stays as it was
    if (o == PollOutcome::Failed)
        return false;
    std::vector<LSignalObjectRef> kept;
    for (std::size_t i = 0; i < members.size(); ++i)
        if (ready[i])
            kept.push_back(members[i]);
    members.swap(kept);
    return o == PollOutcome::Ready;
}

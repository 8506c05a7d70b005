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
    pollfd p{readEnd, POLLIN, 0};
    return poll(&p, 1, 0) > 0 && (p.revents & POLLIN);
}

bool LSignalObjectRef::WaitSignal(unsigned int milliseconds) const {
    pollfd p{readEnd, POLLIN, 0};
    const int r = poll(&p, 1, LWaitTimeout(milliseconds));
    if (r < 0)
        return errno == EINTR;
    return r > 0 && (p.revents & POLLIN);
}

LSignalObject::LSignalObject() {
    int fds[2];
    if (pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0) {
        ref.readEnd = fds[0];
        ref.writeEnd = fds[1];
    }
}

LSignalObject::~LSignalObject() {
    if (ref.readEnd >= 0)
        close(ref.readEnd);
    if (ref.writeEnd >= 0)
        close(ref.writeEnd);
}

void LSignalObjectGroup::Add(LSignalObjectRef signal) {
    if (fds.size() >= kMaxMembers || IsMember(signal))
        return;
    fds.push_back(signal.readEnd);
}

bool LSignalObjectGroup::IsMember(LSignalObjectRef signal) const {
    for (int fd : fds)
        if (fd == signal.readEnd)
            return true;
    return false;
}

bool LSignalObjectGroup::Select(unsigned int milliseconds) {
    std::vector<pollfd> polls;
    polls.reserve(fds.size());
    for (int fd : fds)
        polls.push_back(pollfd{fd, POLLIN, 0});
    const int r = poll(polls.data(), polls.size(), LWaitTimeout(milliseconds));
    if (r < 0)
        return errno == EINTR;
    std::vector<int> ready;
    for (const pollfd& p : polls)
        if (p.revents & POLLIN)
            ready.push_back(p.fd);
    fds.swap(ready);
    return r > 0 && !fds.empty();
}

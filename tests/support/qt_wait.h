#pragma once
// Lets the window's events run until a condition holds or the time is up.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

namespace kvtest {

template <class Condition> bool WaitFor(Condition condition, int milliseconds = 10000) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > milliseconds)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(1);
    }
    return true;
}

inline void Pump(int milliseconds) {
    WaitFor([] { return false; }, milliseconds);
}

} // namespace kvtest

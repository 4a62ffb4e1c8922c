#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <functional>

namespace quillon::test {

// Spins the event loop until `done` holds or `ms` milliseconds have passed; tells which.
inline bool waitUntil(const std::function<bool()>& done, int ms = 5000) {
    QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

// Spins the event loop for `ms` milliseconds.
inline void spin(int ms) {
    waitUntil([] { return false; }, ms);
}

} // namespace quillon::test

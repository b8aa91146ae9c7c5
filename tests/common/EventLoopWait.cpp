#include "EventLoopWait.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

bool waitUntil(const std::function<bool()> &done, int guardMs, const std::function<void()> &eachPass)
{
    const QDeadlineTimer deadline(guardMs);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        if (eachPass)
            eachPass();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(5);
    }
    return true;
}

void settle(int milliseconds)
{
    waitUntil([] { return false; }, milliseconds);
}

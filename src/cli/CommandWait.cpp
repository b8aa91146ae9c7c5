#include "cli/CommandWait.h"

#include <QEventLoop>
#include <QTimer>

void CommandWait::until(const std::function<bool()> &done, QDeadlineTimer deadline)
{
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done() || deadline.hasExpired())
            loop.quit();
    });
    poll.start(20);
    if (!done())
        loop.exec();
}

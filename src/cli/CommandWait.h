// Lets a command's transfers run to an end it names, on the command's own event loop. It never waits
// past the deadline it is given.
#pragma once

#include <QDeadlineTimer>
#include <functional>

class CommandWait
{
public:
    // Runs the event loop until the condition holds or the deadline passes.
    static void until(const std::function<bool()> &done, QDeadlineTimer deadline = QDeadlineTimer::Forever);
};

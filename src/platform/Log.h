// Writes the program's log lines, one line per call, to standard error.
// Listeners may hear every line (tests do); a listener must never write a log line itself.
#pragma once

#include <QString>
#include <functional>

class Log
{
public:
    using Listener = std::function<void(const QString &line)>;

    static void write(const QString &line);
    static int addListener(Listener listener);
    static void removeListener(int token);
};

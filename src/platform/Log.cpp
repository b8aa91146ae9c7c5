#include "platform/Log.h"

#include <QMap>
#include <QMutex>
#include <cstdio>

namespace {
QMutex &listenerLock()
{
    static QMutex lock;
    return lock;
}

QMap<int, Log::Listener> &listeners()
{
    static QMap<int, Log::Listener> map;
    return map;
}
} // namespace

void Log::write(const QString &line)
{
    QMutexLocker locker(&listenerLock());
    std::fprintf(stderr, "QuillBay: %s\n", line.toUtf8().constData());
    for (const Listener &listener : std::as_const(listeners()))
        listener(line);
}

int Log::addListener(Listener listener)
{
    static int nextToken = 1;
    QMutexLocker locker(&listenerLock());
    const int token = nextToken++;
    listeners().insert(token, std::move(listener));
    return token;
}

void Log::removeListener(int token)
{
    QMutexLocker locker(&listenerLock());
    listeners().remove(token);
}

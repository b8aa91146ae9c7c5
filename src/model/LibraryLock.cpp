#include "model/LibraryLock.h"

#include <QFile>
#include <QLockFile>

LibraryLock::LibraryLock(const QString &folder)
    : m_folder(folder), m_file(std::make_unique<QLockFile>(lockFilePath(folder)))
{
    // The lock lasts as long as the program runs, so its age says nothing: only a holder that is no
    // longer running makes it stale.
    m_file->setStaleLockTime(std::chrono::milliseconds::zero());
}

LibraryLock::~LibraryLock() = default;

QString LibraryLock::lockFilePath(const QString &folder)
{
    return folder + QStringLiteral("/Library.lock");
}

bool LibraryLock::tryLock(std::chrono::milliseconds wait)
{
    return m_file->isLocked() || m_file->tryLock(wait);
}

bool LibraryLock::isLocked() const
{
    return m_file->isLocked();
}

QString LibraryLock::holder() const
{
    qint64 pid = 0;
    QString host;
    QString application;
    if (!m_file->getLockInfo(&pid, &host, &application))
        return {};
    // Both programs share one application name; the process's own name tells them apart.
    QFile command(QStringLiteral("/proc/%1/comm").arg(pid));
    if (command.open(QIODevice::ReadOnly))
        application = QString::fromLocal8Bit(command.readAll().trimmed());
    return QStringLiteral("%1 (process %2)")
        .arg(application.isEmpty() ? QStringLiteral("QuillBay") : application)
        .arg(pid);
}

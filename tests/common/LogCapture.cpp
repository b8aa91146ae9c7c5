#include "LogCapture.h"

#include "platform/Log.h"

LogCapture::LogCapture()
{
    m_token = Log::addListener([this](const QString &line) {
        QMutexLocker locker(&m_lock);
        m_lines.append(line);
    });
}

LogCapture::~LogCapture()
{
    Log::removeListener(m_token);
}

QStringList LogCapture::lines() const
{
    QMutexLocker locker(&m_lock);
    return m_lines;
}

bool LogCapture::contains(const QString &line) const
{
    return lines().contains(line);
}

void LogCapture::clear()
{
    QMutexLocker locker(&m_lock);
    m_lines.clear();
}

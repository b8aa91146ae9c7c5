// Records the log lines written while it lives, so that tests can check the lines an operation gives.
#pragma once

#include <QMutex>
#include <QStringList>

class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QStringList lines() const;
    bool contains(const QString &line) const;
    void clear();

private:
    int m_token;
    mutable QMutex m_lock;
    QStringList m_lines;
};

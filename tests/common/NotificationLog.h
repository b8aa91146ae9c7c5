// Records the notifications posted on a centre (the default one unless told) while it lives whose names
// begin with one of the prefixes (an empty prefix takes every one), so that tests can check what an
// operation announced.
#pragma once

#include "platform/NotificationCenter.h"

#include <QStringList>

class NotificationLog
{
public:
    explicit NotificationLog(const QStringList &prefixes = {QString()})
        : NotificationLog(NotificationCenter::defaultCenter(), prefixes)
    {
    }
    explicit NotificationLog(NotificationCenter &center, const QStringList &prefixes = {QString()})
        : m_center(center)
    {
        m_token = center.addObserver({}, [this, prefixes](const Notification &note) {
            for (const QString &prefix : prefixes) {
                if (note.name.startsWith(prefix)) {
                    notes << note;
                    return;
                }
            }
        });
    }
    ~NotificationLog() { m_center.removeObserver(m_token); }
    NotificationLog(const NotificationLog &) = delete;
    NotificationLog &operator=(const NotificationLog &) = delete;

    QStringList names() const
    {
        QStringList list;
        for (const Notification &note : notes)
            list << note.name;
        return list;
    }

    QList<Notification> notes;

private:
    NotificationCenter &m_center;
    int m_token;
};

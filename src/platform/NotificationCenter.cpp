#include "platform/NotificationCenter.h"

NotificationCenter &NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return center;
}

int NotificationCenter::addObserver(const QString &name, Observer observer)
{
    QMutexLocker locker(&m_lock);
    const int token = m_nextToken++;
    m_entries.append({token, name, std::make_shared<Observer>(std::move(observer))});
    return token;
}

void NotificationCenter::removeObserver(int token)
{
    QMutexLocker locker(&m_lock);
    m_entries.removeIf([token](const Entry &entry) { return entry.token == token; });
}

void NotificationCenter::post(const QString &name, const QVariant &object, const QVariantMap &userInfo)
{
    // Observers run without the lock held, so they may post, add or remove observers themselves.
    QList<std::shared_ptr<Observer>> matching;
    {
        QMutexLocker locker(&m_lock);
        for (const Entry &entry : std::as_const(m_entries)) {
            if (entry.name.isEmpty() || entry.name == name)
                matching.append(entry.observer);
        }
    }
    const Notification notification{name, object, userInfo};
    for (const auto &observer : std::as_const(matching))
        (*observer)(notification);
}

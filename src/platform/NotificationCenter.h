// Broadcasts named notifications to observers, synchronously on the posting thread.
// It never queues or reorders: an observer that needs the main thread must hop there itself.
#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <QList>
#include <QMutex>
#include <functional>
#include <memory>

struct Notification
{
    QString name;
    QVariant object;
    QVariantMap userInfo;
};

class NotificationCenter
{
public:
    using Observer = std::function<void(const Notification &)>;

    static NotificationCenter &defaultCenter();

    // An empty name observes every notification. The answer is the token for removeObserver.
    int addObserver(const QString &name, Observer observer);
    void removeObserver(int token);
    void post(const QString &name, const QVariant &object = {}, const QVariantMap &userInfo = {});

private:
    struct Entry
    {
        int token;
        QString name;
        std::shared_ptr<Observer> observer;
    };
    QList<Entry> m_entries;
    int m_nextToken = 1;
    mutable QMutex m_lock;
};

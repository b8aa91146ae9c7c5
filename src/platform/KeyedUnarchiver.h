// Reads a keyed archive written by KeyedArchiver back into objects, through a table of class
// names to factories. Damaged or foreign data gives nothing and one log line, never a crash.
#pragma once

#include "platform/Archivable.h"
#include "platform/CalendarDate.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <memory>

class QCborMap;
class QCborValue;

class KeyedUnarchiver
{
public:
    using Factory = std::function<std::shared_ptr<Archivable>()>;
    using ClassTable = QHash<QString, Factory>;

    // A value of the wrong type under a key fails the whole archive, as damaged data does.
    static std::shared_ptr<Archivable> unarchiveObjectWithData(const QByteArray &data,
                                                               const ClassTable &classes);

    bool containsValue(const QString &key) const;
    QString decodeString(const QString &key) const;            // null when absent or nil
    qint32 decodeInt32(const QString &key) const;              // 0 when absent
    quint64 decodeUInt64(const QString &key) const;            // 0 when absent
    double decodeDouble(const QString &key) const;             // 0 when absent
    bool decodeBool(const QString &key) const;                 // false when absent
    QUrl decodeUrl(const QString &key) const;                  // empty when absent
    CalendarDate decodeCalendarDate(const QString &key) const; // null when absent
    QDateTime decodeDateTime(const QString &key) const;        // invalid when absent
    QStringList decodeStringList(const QString &key) const;
    // A reference to an object the archive has already given answers that very object, even while
    // it is still reading its own keys (a child's link back to its parent).
    std::shared_ptr<Archivable> decodeObject(const QString &key);
    QList<std::shared_ptr<Archivable>> decodeObjectList(const QString &key);

    QString decodeNextString();
    QUrl decodeNextUrl();

    // The class version the archive recorded for a class name; -1 when it recorded none.
    int versionForClassName(const QString &className) const;

    ~KeyedUnarchiver();

private:
    KeyedUnarchiver();
    QCborValue valueForKey(const QString &key) const;
    std::shared_ptr<Archivable> objectForReference(const QCborValue &reference, const QString &key);
    std::shared_ptr<Archivable> objectAtIndex(qint64 index);
    void readObject(Archivable &object, qint64 index, const QString &className, const QCborMap &values);

    struct Private;
    std::unique_ptr<Private> d;
};

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

class KeyedUnarchiver
{
public:
    using Factory = std::function<std::shared_ptr<Archivable>()>;
    using ClassTable = QHash<QString, Factory>;

    static std::shared_ptr<Archivable> unarchiveObjectWithData(const QByteArray &data, const ClassTable &classes);

    bool containsValue(const QString &key) const;
    QString decodeString(const QString &key) const;        // null when absent or nil
    qint32 decodeInt32(const QString &key) const;          // 0 when absent
    quint64 decodeUInt64(const QString &key) const;        // 0 when absent
    double decodeDouble(const QString &key) const;         // 0 when absent
    bool decodeBool(const QString &key) const;             // false when absent
    QUrl decodeUrl(const QString &key) const;              // empty when absent
    CalendarDate decodeCalendarDate(const QString &key) const; // null when absent
    QDateTime decodeDateTime(const QString &key) const;    // invalid when absent
    QStringList decodeStringList(const QString &key) const;
    std::shared_ptr<Archivable> decodeObject(const QString &key);
    QList<std::shared_ptr<Archivable>> decodeObjectList(const QString &key);

    QString decodeNextString();
    QUrl decodeNextUrl();

    // The class version the archive recorded for a class name; -1 when it recorded none.
    int versionForClassName(const QString &className) const;

    ~KeyedUnarchiver();

private:
    KeyedUnarchiver();
    struct Private;
    std::unique_ptr<Private> d;
};

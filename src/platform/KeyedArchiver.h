// Writes a graph of archivable objects into a keyed archive with an object table, so that an
// object reached twice (a child's parent, say) is stored once and read back as one object.
#pragma once

#include "platform/Archivable.h"
#include "platform/CalendarDate.h"

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <QUrl>
#include <memory>

class KeyedArchiver
{
public:
    static QByteArray archivedDataWithRootObject(const std::shared_ptr<Archivable> &root);

    // Keyed values of the object being written. Null strings, empty URLs, null dates and
    // null objects are stored as nil and read back as such; null entries of an object list are left out.
    void encodeString(const QString &key, const QString &value);
    void encodeInt32(const QString &key, qint32 value);
    void encodeUInt64(const QString &key, quint64 value);
    void encodeDouble(const QString &key, double value);
    void encodeBool(const QString &key, bool value);
    void encodeUrl(const QString &key, const QUrl &value);
    void encodeCalendarDate(const QString &key, const CalendarDate &value);
    void encodeDateTime(const QString &key, const QDateTime &value);
    void encodeStringList(const QString &key, const QStringList &value);
    void encodeObject(const QString &key, const std::shared_ptr<Archivable> &object);
    void encodeObjectList(const QString &key, const QList<std::shared_ptr<Archivable>> &objects);

    // Sequential values, for classes that write their fields in a fixed order without keys.
    void encodeNextString(const QString &value);
    void encodeNextUrl(const QUrl &value);

    ~KeyedArchiver();

private:
    KeyedArchiver();
    struct Private;
    std::unique_ptr<Private> d;
};

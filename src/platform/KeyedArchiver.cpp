#include "platform/KeyedArchiver.h"

#include "platform/ArchiveFormat.h"
#include "platform/Log.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QHash>
#include <QTimeZone>

using namespace ArchiveFormat;

struct KeyedArchiver::Private
{
    // Table order; objects met while writing one are appended and written in their turn, so a deep
    // graph never makes the writer recurse.
    QList<std::shared_ptr<Archivable>> objects;
    QHash<const Archivable *, qint64> indexes;
    QCborMap values;
    int nextSequential = 0;

    QCborValue reference(const std::shared_ptr<Archivable> &object);
};

QCborValue KeyedArchiver::Private::reference(const std::shared_ptr<Archivable> &object)
{
    if (!object)
        return QCborValue(QCborValue::Null);
    auto known = indexes.constFind(object.get());
    if (known != indexes.cend())
        return QCborValue(ObjectReferenceTag, *known);
    const qint64 index = objects.size();
    objects.append(object);
    indexes.insert(object.get(), index);
    return QCborValue(ObjectReferenceTag, index);
}

KeyedArchiver::KeyedArchiver() : d(std::make_unique<Private>()) {}

KeyedArchiver::~KeyedArchiver() = default;

QByteArray KeyedArchiver::archivedDataWithRootObject(const std::shared_ptr<Archivable> &root)
{
    if (!root) {
        Log::write(
            QStringLiteral("-[KeyedArchiver archivedDataWithRootObject:] called with nil root object"));
        return {};
    }
    KeyedArchiver archiver;
    Private &d = *archiver.d;
    const QCborValue rootReference = d.reference(root);
    QCborArray table;
    QCborMap classes;
    for (qsizetype i = 0; i < d.objects.size(); ++i) {
        const std::shared_ptr<Archivable> object = d.objects.at(i);
        d.values = QCborMap();
        d.nextSequential = 0;
        object->encodeWithCoder(archiver);
        const QString className = object->archiveClassName();
        table.append(QCborMap{{ClassKey, className}, {ValuesKey, d.values}});
        classes.insert(className, object->archiveClassVersion());
    }
    const QCborMap archive{{FormatKey, Marker},
                           {VersionKey, Version},
                           {ClassesKey, classes},
                           {ObjectsKey, table},
                           {RootKey, rootReference}};
    return QCborValue(archive).toCbor();
}

void KeyedArchiver::encodeString(const QString &key, const QString &value)
{
    d->values.insert(key, value.isNull() ? QCborValue(QCborValue::Null) : QCborValue(value));
}

void KeyedArchiver::encodeInt32(const QString &key, qint32 value)
{
    d->values.insert(key, qint64(value));
}

void KeyedArchiver::encodeUInt64(const QString &key, quint64 value)
{
    d->values.insert(key, QCborValue(UInt64Tag, static_cast<qint64>(value)));
}

void KeyedArchiver::encodeDouble(const QString &key, double value)
{
    d->values.insert(key, value);
}

void KeyedArchiver::encodeBool(const QString &key, bool value)
{
    d->values.insert(key, value);
}

void KeyedArchiver::encodeUrl(const QString &key, const QUrl &value)
{
    d->values.insert(key, value.isEmpty() ? QCborValue(QCborValue::Null) : QCborValue(value));
}

void KeyedArchiver::encodeCalendarDate(const QString &key, const CalendarDate &value)
{
    if (value.isNull()) {
        d->values.insert(key, QCborValue(QCborValue::Null));
        return;
    }
    const QString format = value.calendarFormat();
    const QCborArray fields{value.moment().toMSecsSinceEpoch(), value.offsetSeconds(),
                            format.isNull() ? QCborValue(QCborValue::Null) : QCborValue(format)};
    d->values.insert(key, QCborValue(CalendarDateTag, fields));
}

void KeyedArchiver::encodeDateTime(const QString &key, const QDateTime &value)
{
    if (!value.isValid()) {
        d->values.insert(key, QCborValue(QCborValue::Null));
        return;
    }
    QCborArray fields{value.toMSecsSinceEpoch(), int(value.timeSpec())};
    if (value.timeSpec() == Qt::OffsetFromUTC)
        fields.append(value.offsetFromUtc());
    else if (value.timeSpec() == Qt::TimeZone)
        fields.append(QString::fromUtf8(value.timeZone().id()));
    d->values.insert(key, QCborValue(DateTimeTag, fields));
}

void KeyedArchiver::encodeStringList(const QString &key, const QStringList &value)
{
    d->values.insert(key, QCborArray::fromStringList(value));
}

void KeyedArchiver::encodeObject(const QString &key, const std::shared_ptr<Archivable> &object)
{
    d->values.insert(key, d->reference(object));
}

void KeyedArchiver::encodeObjectList(const QString &key, const QList<std::shared_ptr<Archivable>> &objects)
{
    QCborArray references;
    for (const std::shared_ptr<Archivable> &object : objects) {
        if (object)
            references.append(d->reference(object));
    }
    d->values.insert(key, references);
}

void KeyedArchiver::encodeNextString(const QString &value)
{
    encodeString(sequentialKey(d->nextSequential++), value);
}

void KeyedArchiver::encodeNextUrl(const QUrl &value)
{
    encodeUrl(sequentialKey(d->nextSequential++), value);
}

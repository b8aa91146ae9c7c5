#include "platform/KeyedArchiver.h"

#include "platform/ArchiveFormat.h"
#include "platform/Log.h"

#include <QCborArray>
#include <QCborStreamWriter>
#include <QCborValue>
#include <QHash>
#include <QMap>
#include <QTimeZone>
#include <algorithm>

using namespace ArchiveFormat;

// The archive is written as it is made, straight into CBOR: building it as a tree of QCbor values
// first and encoding that afterwards took several times as long for a large library, all of it on the
// main thread. Object values are indefinite-length maps, as their number of keys is known only at the end.
struct KeyedArchiver::Private
{
    // Table order; objects met while writing one are appended and written in their turn, so a deep
    // graph never makes the writer recurse.
    QList<std::shared_ptr<Archivable>> objects;
    QHash<const Archivable *, qint64> indexes;
    QMap<QString, int> classVersions;
    QByteArray bytes;
    QCborStreamWriter writer{&bytes};
    int nextSequential = 0;

    qint64 indexOf(const std::shared_ptr<Archivable> &object);
    void appendReference(const std::shared_ptr<Archivable> &object);
    void appendKey(const QString &key);

    // Keys are mostly literals, met once per object: each is turned into UTF-8 once, found again by
    // where its text lives and checked against it, since another key may later live at that place.
    QHash<const QChar *, QByteArray> keyText;
};

void KeyedArchiver::Private::appendKey(const QString &key)
{
    auto known = keyText.constFind(key.constData());
    if (known == keyText.cend() || QLatin1StringView(*known) != key)
        known = keyText.insert(key.constData(), key.toUtf8());
    writer.appendTextString(known->constData(), known->size());
}

qint64 KeyedArchiver::Private::indexOf(const std::shared_ptr<Archivable> &object)
{
    auto known = indexes.constFind(object.get());
    if (known != indexes.cend())
        return *known;
    const qint64 index = objects.size();
    objects.append(object);
    indexes.insert(object.get(), index);
    return index;
}

void KeyedArchiver::Private::appendReference(const std::shared_ptr<Archivable> &object)
{
    if (!object) {
        writer.appendNull();
        return;
    }
    writer.append(ObjectReferenceTag);
    writer.append(indexOf(object));
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
    QCborStreamWriter &writer = d.writer;
    d.bytes.reserve(1 << 20);
    writer.startMap(5);
    writer.append(FormatKey);
    writer.append(Marker);
    writer.append(VersionKey);
    writer.append(Version);
    writer.append(RootKey);
    d.appendReference(root);
    writer.append(ObjectsKey);
    writer.startArray();
    for (qsizetype i = 0; i < d.objects.size(); ++i) {
        const std::shared_ptr<Archivable> object = d.objects.at(i);
        const QString className = object->archiveClassName();
        d.classVersions.insert(className, object->archiveClassVersion());
        writer.startMap(2);
        writer.append(ClassKey);
        writer.append(className);
        writer.append(ValuesKey);
        writer.startMap();
        d.nextSequential = 0;
        object->encodeWithCoder(archiver);
        writer.endMap();
        writer.endMap();
    }
    writer.endArray();
    writer.append(ClassesKey);
    writer.startMap(d.classVersions.size());
    for (auto it = d.classVersions.cbegin(); it != d.classVersions.cend(); ++it) {
        writer.append(it.key());
        writer.append(qint64(it.value()));
    }
    writer.endMap();
    writer.endMap();
    return d.bytes;
}

void KeyedArchiver::encodeString(const QString &key, const QString &value)
{
    d->appendKey(key);
    if (value.isNull())
        d->writer.appendNull();
    else
        d->writer.append(value);
}

void KeyedArchiver::encodeInt32(const QString &key, qint32 value)
{
    d->appendKey(key);
    d->writer.append(qint64(value));
}

void KeyedArchiver::encodeUInt64(const QString &key, quint64 value)
{
    d->appendKey(key);
    d->writer.append(UInt64Tag);
    d->writer.append(static_cast<qint64>(value));
}

void KeyedArchiver::encodeDouble(const QString &key, double value)
{
    d->appendKey(key);
    d->writer.append(value);
}

void KeyedArchiver::encodeBool(const QString &key, bool value)
{
    d->appendKey(key);
    d->writer.append(value);
}

void KeyedArchiver::encodeUrl(const QString &key, const QUrl &value)
{
    d->appendKey(key);
    if (value.isEmpty())
        d->writer.appendNull();
    else
        QCborValue(value).toCbor(d->writer);
}

void KeyedArchiver::encodeCalendarDate(const QString &key, const CalendarDate &value)
{
    d->appendKey(key);
    if (value.isNull()) {
        d->writer.appendNull();
        return;
    }
    const QString format = value.calendarFormat();
    const QCborArray fields{value.moment().toMSecsSinceEpoch(), value.offsetSeconds(),
                            format.isNull() ? QCborValue(QCborValue::Null) : QCborValue(format)};
    QCborValue(CalendarDateTag, fields).toCbor(d->writer);
}

void KeyedArchiver::encodeDateTime(const QString &key, const QDateTime &value)
{
    d->appendKey(key);
    if (!value.isValid()) {
        d->writer.appendNull();
        return;
    }
    QCborArray fields{value.toMSecsSinceEpoch(), int(value.timeSpec())};
    if (value.timeSpec() == Qt::OffsetFromUTC)
        fields.append(value.offsetFromUtc());
    else if (value.timeSpec() == Qt::TimeZone)
        fields.append(QString::fromUtf8(value.timeZone().id()));
    QCborValue(DateTimeTag, fields).toCbor(d->writer);
}

void KeyedArchiver::encodeStringList(const QString &key, const QStringList &value)
{
    d->appendKey(key);
    d->writer.startArray(value.size());
    for (const QString &text : value)
        d->writer.append(text);
    d->writer.endArray();
}

void KeyedArchiver::encodeObject(const QString &key, const std::shared_ptr<Archivable> &object)
{
    d->appendKey(key);
    d->appendReference(object);
}

void KeyedArchiver::encodeObjectList(const QString &key, const QList<std::shared_ptr<Archivable>> &objects)
{
    d->appendKey(key);
    const qsizetype count =
        std::count_if(objects.cbegin(), objects.cend(), [](const auto &object) { return bool(object); });
    d->writer.startArray(count);
    for (const std::shared_ptr<Archivable> &object : objects) {
        if (object)
            d->appendReference(object);
    }
    d->writer.endArray();
}

void KeyedArchiver::encodeNextString(const QString &value)
{
    encodeString(sequentialKey(d->nextSequential++), value);
}

void KeyedArchiver::encodeNextUrl(const QUrl &value)
{
    encodeUrl(sequentialKey(d->nextSequential++), value);
}

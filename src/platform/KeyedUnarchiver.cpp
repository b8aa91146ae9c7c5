#include "platform/KeyedUnarchiver.h"

#include "platform/ArchiveFormat.h"
#include "platform/Log.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborParserError>
#include <QCborValue>
#include <QTimeZone>
#include <limits>
#include <optional>
#include <utility>

using namespace ArchiveFormat;

namespace {

// Objects that reach further objects are read depth-first; beyond this the archive is refused
// rather than followed, so a hostile chain of references cannot exhaust the stack.
constexpr int MaximumNesting = 256;

constexpr int SecondsPerDay = 86400;

// QCborValue answers a null string for an empty text string; nil and empty must stay apart.
QString textOf(const QCborValue &value)
{
    const QString text = value.toString();
    return text.isNull() ? QStringLiteral("") : text;
}

std::optional<QCborArray> taggedArray(const QCborValue &value, QCborTag tag, qsizetype minimum,
                                      qsizetype maximum)
{
    if (!value.isTag() || value.tag() != tag || !value.taggedValue().isArray())
        return std::nullopt;
    const QCborArray fields = value.taggedValue().toArray();
    if (fields.size() < minimum || fields.size() > maximum || !fields.at(0).isInteger())
        return std::nullopt;
    return fields;
}

bool isPlausibleOffset(const QCborValue &value)
{
    return value.isInteger() && value.toInteger() > -SecondsPerDay && value.toInteger() < SecondsPerDay;
}

std::optional<CalendarDate> calendarDateFrom(const QCborValue &value)
{
    const auto fields = taggedArray(value, CalendarDateTag, 3, 3);
    if (!fields || !isPlausibleOffset(fields->at(1)))
        return std::nullopt;
    const QCborValue format = fields->at(2);
    if (!format.isString() && !format.isNull())
        return std::nullopt;
    const QDateTime moment = QDateTime::fromMSecsSinceEpoch(fields->at(0).toInteger(), Qt::UTC);
    if (!moment.isValid())
        return std::nullopt;
    return CalendarDate(moment, int(fields->at(1).toInteger()), format.isNull() ? QString() : textOf(format));
}

std::optional<QDateTime> dateTimeFrom(const QCborValue &value)
{
    const auto fields = taggedArray(value, DateTimeTag, 2, 3);
    if (!fields || !fields->at(1).isInteger())
        return std::nullopt;
    const qint64 msecs = fields->at(0).toInteger();
    const QCborValue extra = fields->at(2);
    QDateTime moment;
    switch (fields->at(1).toInteger()) {
    case Qt::UTC:
        moment = QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC);
        break;
    case Qt::LocalTime:
        moment = QDateTime::fromMSecsSinceEpoch(msecs, Qt::LocalTime);
        break;
    case Qt::OffsetFromUTC:
        if (isPlausibleOffset(extra))
            moment = QDateTime::fromMSecsSinceEpoch(msecs, Qt::OffsetFromUTC, int(extra.toInteger()));
        break;
    case Qt::TimeZone:
        if (extra.isString())
            moment = QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone(extra.toString().toUtf8()));
        break;
    default:
        break;
    }
    return moment.isValid() ? std::optional<QDateTime>(moment) : std::nullopt;
}

} // namespace

struct KeyedUnarchiver::Private
{
    ClassTable classes;
    QHash<QString, int> versions;
    QCborArray objects;
    QHash<qint64, std::shared_ptr<Archivable>> decoded;

    // The object whose keys are being read.
    QCborMap values;
    qint64 currentIndex = -1;
    QString currentClass;
    int nextSequential = 0;
    int depth = 0;

    bool failed = false;

    void fail(const QString &problem);
    QString describeKey(const QString &key) const;
    void failWrongType(const QString &key, const char *expected);
    bool readTable(const QByteArray &data, QCborValue &rootReference);
    bool readClassVersions(const QCborValue &classTable);
};

void KeyedUnarchiver::Private::fail(const QString &problem)
{
    if (failed)
        return;
    failed = true;
    Log::write(QStringLiteral("-[KeyedUnarchiver unarchiveObjectWithData:] ") + problem);
}

QString KeyedUnarchiver::Private::describeKey(const QString &key) const
{
    if (currentIndex < 0)
        return QStringLiteral("the root");
    return QStringLiteral("the value of \"%1\" in object %2 (%3)")
        .arg(key.left(60))
        .arg(currentIndex)
        .arg(currentClass);
}

void KeyedUnarchiver::Private::failWrongType(const QString &key, const char *expected)
{
    fail(QStringLiteral("%1 is not %2").arg(describeKey(key), QLatin1String(expected)));
}

bool KeyedUnarchiver::Private::readTable(const QByteArray &data, QCborValue &rootReference)
{
    if (data.isEmpty()) {
        fail(QStringLiteral("no data to read"));
        return false;
    }
    QCborParserError error;
    const QCborValue top = QCborValue::fromCbor(data, &error);
    if (error.error != QCborError::NoError) {
        fail(QStringLiteral("damaged data: %1 at byte %2").arg(error.errorString()).arg(error.offset));
        return false;
    }
    if (error.offset < data.size()) {
        fail(QStringLiteral("unexpected bytes after the archive at byte %1").arg(error.offset));
        return false;
    }
    const QCborMap archive = top.toMap();
    if (!top.isMap() || archive.value(FormatKey).toString() != Marker) {
        fail(QStringLiteral("the data is not a QuillBay archive"));
        return false;
    }
    const QCborValue version = archive.value(VersionKey);
    if (!version.isInteger() || version.toInteger() < 1 || version.toInteger() > Version) {
        fail(QStringLiteral("unsupported archive version"));
        return false;
    }
    if (!archive.value(ObjectsKey).isArray() || !readClassVersions(archive.value(ClassesKey))) {
        fail(QStringLiteral("damaged object or class table"));
        return false;
    }
    objects = archive.value(ObjectsKey).toArray();
    rootReference = archive.value(RootKey);
    return true;
}

bool KeyedUnarchiver::Private::readClassVersions(const QCborValue &classTable)
{
    if (!classTable.isMap())
        return false;
    const QCborMap table = classTable.toMap();
    for (auto it = table.cbegin(); it != table.cend(); ++it) {
        const QCborValue version = it.value();
        const bool fits = version.isInteger() && version.toInteger() >= std::numeric_limits<int>::min() &&
                          version.toInteger() <= std::numeric_limits<int>::max();
        if (!it.key().isString() || !fits)
            return false;
        versions.insert(it.key().toString(), int(version.toInteger()));
    }
    return true;
}

KeyedUnarchiver::KeyedUnarchiver() : d(std::make_unique<Private>()) {}

KeyedUnarchiver::~KeyedUnarchiver() = default;

std::shared_ptr<Archivable> KeyedUnarchiver::unarchiveObjectWithData(const QByteArray &data,
                                                                     const ClassTable &classes)
{
    KeyedUnarchiver unarchiver;
    unarchiver.d->classes = classes;
    QCborValue rootReference;
    if (!unarchiver.d->readTable(data, rootReference))
        return nullptr;
    std::shared_ptr<Archivable> root = unarchiver.objectForReference(rootReference, QString());
    if (!root && !unarchiver.d->failed)
        unarchiver.d->fail(QStringLiteral("the archive has no root object"));
    return unarchiver.d->failed ? nullptr : root;
}

std::shared_ptr<Archivable> KeyedUnarchiver::objectForReference(const QCborValue &reference,
                                                                const QString &key)
{
    if (d->failed || reference.isNull())
        return nullptr;
    if (!reference.isTag() || reference.tag() != ObjectReferenceTag || !reference.taggedValue().isInteger()) {
        d->failWrongType(key, "an object reference");
        return nullptr;
    }
    const qint64 index = reference.taggedValue().toInteger();
    if (index < 0 || index >= d->objects.size()) {
        d->fail(
            QStringLiteral("%1 refers to object %2, outside the table").arg(d->describeKey(key)).arg(index));
        return nullptr;
    }
    const auto known = d->decoded.constFind(index);
    return known != d->decoded.cend() ? *known : objectAtIndex(index);
}

std::shared_ptr<Archivable> KeyedUnarchiver::objectAtIndex(qint64 index)
{
    if (d->depth >= MaximumNesting) {
        d->fail(QStringLiteral("objects nested deeper than %1 levels").arg(MaximumNesting));
        return nullptr;
    }
    const QCborMap entry = d->objects.at(index).toMap();
    const QCborValue className = entry.value(ClassKey);
    const QCborValue values = entry.value(ValuesKey);
    if (!className.isString() || !values.isMap()) {
        d->fail(QStringLiteral("object %1 is damaged").arg(index));
        return nullptr;
    }
    const Factory factory = d->classes.value(className.toString());
    std::shared_ptr<Archivable> object = factory ? factory() : nullptr;
    if (!object) {
        d->fail(QStringLiteral("object %1 has the unknown class \"%2\"")
                    .arg(index)
                    .arg(className.toString().left(60)));
        return nullptr;
    }
    // Registered before it reads its keys, so that a reference back to it (a child's parent) is
    // answered with this very object.
    d->decoded.insert(index, object);
    readObject(*object, index, className.toString(), values.toMap());
    return object;
}

void KeyedUnarchiver::readObject(Archivable &object, qint64 index, const QString &className,
                                 const QCborMap &values)
{
    const QCborMap outerValues = std::exchange(d->values, values);
    const qint64 outerIndex = std::exchange(d->currentIndex, index);
    const QString outerClass = std::exchange(d->currentClass, className);
    const int outerSequential = std::exchange(d->nextSequential, 0);
    ++d->depth;
    object.initWithCoder(*this);
    --d->depth;
    d->values = outerValues;
    d->currentIndex = outerIndex;
    d->currentClass = outerClass;
    d->nextSequential = outerSequential;
}

bool KeyedUnarchiver::containsValue(const QString &key) const
{
    return d->values.contains(key);
}

QCborValue KeyedUnarchiver::valueForKey(const QString &key) const
{
    return d->failed ? QCborValue() : d->values.value(key);
}

QString KeyedUnarchiver::decodeString(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    if (value.isString())
        return textOf(value);
    if (!value.isUndefined() && !value.isNull())
        d->failWrongType(key, "a string");
    return {};
}

qint32 KeyedUnarchiver::decodeInt32(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    const bool fits = value.isInteger() && value.toInteger() >= std::numeric_limits<qint32>::min() &&
                      value.toInteger() <= std::numeric_limits<qint32>::max();
    if (fits)
        return qint32(value.toInteger());
    if (!value.isUndefined())
        d->failWrongType(key, "a 32-bit integer");
    return 0;
}

quint64 KeyedUnarchiver::decodeUInt64(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    if (value.isTag() && value.tag() == UInt64Tag && value.taggedValue().isInteger())
        return static_cast<quint64>(value.taggedValue().toInteger());
    if (!value.isUndefined())
        d->failWrongType(key, "an unsigned 64-bit integer");
    return 0;
}

double KeyedUnarchiver::decodeDouble(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    if (value.isDouble())
        return value.toDouble();
    if (!value.isUndefined())
        d->failWrongType(key, "a double");
    return 0;
}

bool KeyedUnarchiver::decodeBool(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    if (value.isBool())
        return value.toBool();
    if (!value.isUndefined())
        d->failWrongType(key, "a boolean");
    return false;
}

QUrl KeyedUnarchiver::decodeUrl(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    if (value.isUrl())
        return value.toUrl();
    if (!value.isUndefined() && !value.isNull())
        d->failWrongType(key, "a URL");
    return {};
}

CalendarDate KeyedUnarchiver::decodeCalendarDate(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    if (value.isUndefined() || value.isNull())
        return {};
    const std::optional<CalendarDate> date = calendarDateFrom(value);
    if (!date)
        d->failWrongType(key, "a calendar date");
    return date.value_or(CalendarDate());
}

QDateTime KeyedUnarchiver::decodeDateTime(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    if (value.isUndefined() || value.isNull())
        return {};
    const std::optional<QDateTime> moment = dateTimeFrom(value);
    if (!moment)
        d->failWrongType(key, "a date");
    return moment.value_or(QDateTime());
}

QStringList KeyedUnarchiver::decodeStringList(const QString &key) const
{
    const QCborValue value = valueForKey(key);
    if (value.isUndefined())
        return {};
    const QCborArray items = value.toArray();
    QStringList list;
    for (const QCborValue &item : items) {
        if (!item.isString())
            break;
        list.append(textOf(item));
    }
    if (!value.isArray() || list.size() != items.size()) {
        d->failWrongType(key, "a list of strings");
        return {};
    }
    return list;
}

std::shared_ptr<Archivable> KeyedUnarchiver::decodeObject(const QString &key)
{
    const QCborValue value = valueForKey(key);
    return value.isUndefined() ? nullptr : objectForReference(value, key);
}

QList<std::shared_ptr<Archivable>> KeyedUnarchiver::decodeObjectList(const QString &key)
{
    const QCborValue value = valueForKey(key);
    if (value.isUndefined())
        return {};
    if (!value.isArray()) {
        d->failWrongType(key, "a list of objects");
        return {};
    }
    QList<std::shared_ptr<Archivable>> objects;
    for (const QCborValue &reference : value.toArray()) {
        if (std::shared_ptr<Archivable> object = objectForReference(reference, key))
            objects.append(std::move(object));
    }
    return d->failed ? QList<std::shared_ptr<Archivable>>() : objects;
}

QString KeyedUnarchiver::decodeNextString()
{
    return decodeString(sequentialKey(d->nextSequential++));
}

QUrl KeyedUnarchiver::decodeNextUrl()
{
    return decodeUrl(sequentialKey(d->nextSequential++));
}

int KeyedUnarchiver::versionForClassName(const QString &className) const
{
    return d->versions.value(className, -1);
}

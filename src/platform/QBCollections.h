// Nil-safe helpers for lists of shared pointers or variants and for variant maps.
// They never append or store a null value and never fail on a bad index: they log and answer null.
#pragma once

#include "platform/Log.h"

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <type_traits>

// Qt 6 no longer calls a variant holding a null text null; a missing text is still nothing here.
inline bool qb_isNil(const QVariant &object)
{
    switch (object.typeId()) {
    case QMetaType::QString:
        return object.toString().isNull();
    case QMetaType::QByteArray:
        return object.toByteArray().isNull();
    default:
        return object.isNull();
    }
}

template <typename T> bool qb_isNil(const std::shared_ptr<T> &object)
{
    return !object;
}

// How an object reads in a log line; overload it for other element types.
inline QString qb_describe(const QVariant &object)
{
    return qb_isNil(object) ? QStringLiteral("(null)") : object.toString();
}

template <typename T> QString qb_describe(const std::shared_ptr<T> &object)
{
    if (!object)
        return QStringLiteral("(null)");
    if constexpr (requires { object->description(); })
        return object->description();
    else
        return QStringLiteral("<%1>").arg(quintptr(object.get()), 0, 16);
}

// Appends the object unless it is null.
template <typename T> void qb_addObject(QList<T> &list, const std::type_identity_t<T> &object)
{
    if (qb_isNil(object)) {
        Log::write(QStringLiteral("Attempt to insert nil object into mutable array"));
        return;
    }
    list.append(object);
}

// A list held as const cannot grow; the attempt is only logged.
template <typename T> void qb_addObject(const QList<T> &, const std::type_identity_t<T> &object)
{
    Log::write(QStringLiteral("Attempt to insert object %1 into immutable array").arg(qb_describe(object)));
}

// The object at the index, or null without a word when the index is outside the list.
template <typename T> T qb_objectAtIndex(QList<T> &list, int index)
{
    return index >= 0 && index < list.size() ? list.at(index) : T();
}

// The object at the index, or null with two log lines naming the index and the list's last object.
template <typename T> T qb_objectAtIndex(const QList<T> &list, qint64 index)
{
    if (index >= 0 && index < list.size())
        return list.at(index);
    Log::write(QStringLiteral("Index %1 is out of bounds %2").arg(index).arg(list.size()));
    const T last = list.isEmpty() ? T() : list.last();
    Log::write(QStringLiteral("Last known object in array: %1").arg(qb_describe(last)));
    return T();
}

// Stores the value under the key only when it is not null; a null value is ignored silently.
inline void addObject(QVariantMap &map, const QString &key, const QVariant &object)
{
    if (!qb_isNil(object))
        map.insert(key, object);
}

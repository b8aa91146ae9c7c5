// Stateless text, date and file helpers shared by the whole program.
// None keeps state or fails loudly: a missing argument gives a fixed answer.
#pragma once

#include "platform/CalendarDate.h"

#include <QColor>
#include <QString>

class QBUtilities
{
public:
    static QString applicationSupportPath();

    static QString dateToFriendlyDate(const CalendarDate &date, bool withTime);
    // The same against a given present moment, so that the rules can be checked on any day.
    static QString dateToFriendlyDate(const CalendarDate &date, bool withTime, const QDateTime &now);

    static QString decodeCharacterEntitiesIn(const QString &text);
    static QString longToFileSize(quint64 bytes);
    static QString removeTagsFromString(const QString &text);
    static QString makeStringFileNameSafe(const QString &text);
    static QString generateUniqueID();
    static QString hexRGBValueOfColor(const QColor &colour);

    // The date rule both feed readers apply to an element's text; a null date when unreadable.
    static CalendarDate dateFromCurrentValue(const QString &text);
};

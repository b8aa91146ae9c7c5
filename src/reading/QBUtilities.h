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

    // The day and time as the user's own time zone has them.
    static QString dateToFriendlyDate(const CalendarDate &date, bool withTime);
    // The same against a given present moment, so that the rules can be checked on any day.
    static QString dateToFriendlyDate(const CalendarDate &date, bool withTime, const QDateTime &now);

    // HTML's named references, from libxml2's table of them (XML's own five are left for the XML
    // decoding), and numeric references of at most two characters.
    static QString decodeCharacterEntitiesIn(const QString &text);
    static QString longToFileSize(quint64 bytes);
    static QString removeTagsFromString(const QString &text);
    static QString makeStringFileNameSafe(const QString &text);
    static QString generateUniqueID();
    static QString hexRGBValueOfColor(const QColor &colour);

    // The date rule both feed readers apply to an element's text; a null date when unreadable.
    static CalendarDate dateFromCurrentValue(const QString &text);
};

// Reads the loosely written dates that feeds carry (RFC 822/1123 in their many real-world shapes and
// "2006-05-17 14:32"). It never guesses: text it cannot place in full gives a null date.
#pragma once

#include "platform/CalendarDate.h"

#include <QString>

class NaturalDateReader
{
public:
    // The date at the offset the text names (UTC when it names none), with the default format.
    static CalendarDate dateFromString(const QString &text);
};

// The table of user-facing texts, looked up by key. A key the table lacks answers the empty text,
// never the key itself, so a missing entry never shows a programmer's name to the user.
#pragma once

#include <QString>

class LocalizedStrings
{
public:
    static QString text(const QString &key);
};

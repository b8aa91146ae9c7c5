// String conversions that need a real parser: HTML to plain text and XML entity unescaping.
// They never fail on malformed input and never let libxml2 print anything.
#pragma once

#include <QString>

class QBStringExtras
{
public:
    // The text content of the string read as an HTML document; the content of code, frames and forms
    // is dropped.
    static QString removeTags(const QString &html);
    // The five XML entities and numeric character references decoded; other entities left alone.
    static QString stringByReplacingEntities(const QString &text);
    // The value of one hexadecimal digit of either case; -1 for any other character.
    static int hexDigitValue(QChar c);
};

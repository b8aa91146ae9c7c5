// Reads and writes old-style (OpenStep) property-list text: strings, lists and dictionaries, nested.
// Reading never throws: malformed text gives a null value and one log line.
#pragma once

#include <QString>
#include <QVariant>

class PropertyList
{
public:
    // Accepts QString, QVariantList/QStringList and QVariantMap, nested; any other scalar
    // (numbers, booleans, URLs) is written as its text.
    static QString write(const QVariant &value);

    // Answers QString, QVariantList or QVariantMap values; a null QVariant when the text is malformed.
    static QVariant read(const QString &text);
};

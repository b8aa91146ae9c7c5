// Turns bytes into text by a character set's IANA name, through the system's iconv.
// It never guesses: an unknown name or a byte the character set does not allow gives no text at all.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

class TextDecoder
{
public:
    // Names are compared without regard to letter case. Nothing is stripped from the result: a
    // byte-order mark stays unless the character set itself consumes it (as "UTF-16" does).
    static std::optional<QString> decode(const QByteArray &bytes, const QString &ianaName);

private:
    static bool isCharacterSetName(const QString &name);
};

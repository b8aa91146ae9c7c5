// Turns bytes into text by a character set's IANA name, through the system's iconv.
// It never guesses a character set: an unknown name gives no text at all.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

class TextDecoder
{
public:
    // Names are compared without regard to letter case. Nothing is stripped from the result: a
    // byte-order mark stays unless the character set itself consumes it (as "UTF-16" does).
    // A byte the character set does not allow gives no text at all.
    static std::optional<QString> decode(const QByteArray &bytes, const QString &ianaName);
    // The same, but each byte the character set does not allow, and a sequence cut off at the end,
    // becomes U+FFFD, so that a few bad bytes cost only themselves.
    static std::optional<QString> decodeLeniently(const QByteArray &bytes, const QString &ianaName);
    static bool isKnown(const QString &ianaName);

private:
    static std::optional<QString> run(const QByteArray &bytes, const QString &ianaName, bool lenient);
    static bool isCharacterSetName(const QString &name);
};

// Decides which character set a downloaded feed document is written in and turns it into text, for the
// parser front and the Atom reader alike. It never drops a document for a few bad bytes: they become U+FFFD.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

class DocumentDecoder
{
public:
    struct Decoded
    {
        // None only when the document declares a character set nobody knows.
        std::optional<QString> text;
        // The name the feed should remember from now on; empty when it keeps the one it has.
        QString encoding;
    };

    // servedEncoding is the set the server named (or the feed remembers); empty when there is none.
    // A byte-order mark wins; then the served set, or UTF-8 when the bytes are valid UTF-8 and
    // Latin-1 when not; bytes the served set refuses are read as UTF-8; and a declaration in the
    // document's first processing instruction decodes it again.
    static Decoded decode(const QByteArray &bytes, const QString &servedEncoding);

    // The document as UTF-8, for an XML parser that is told to ignore the declaration: the very same
    // bytes when they already are what decode would read.
    static QByteArray utf8(const QByteArray &bytes, const QString &servedEncoding);

private:
    static Decoded decodeMarked(const QByteArray &bytes, const QString &marked, qsizetype markLength);
    static std::optional<QString> strictly(const QByteArray &bytes, const QString &name, bool validUtf8);
    static std::optional<QString> leniently(const QByteArray &bytes, const QString &name);
    static bool isUtf8Name(const QString &name);
    static bool isLatin1Name(const QString &name);
};

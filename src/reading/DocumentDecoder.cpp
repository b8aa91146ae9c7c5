#include "reading/DocumentDecoder.h"

#include "reading/TagScanner.h"
#include "reading/TextDecoder.h"

#include <QByteArrayView>
#include <cstring>

namespace {

struct Mark
{
    const char *bytes;
    qsizetype length;
    const char *encoding;
};

// Byte-order marks, and the first characters of a UTF-16 document that has none.
const Mark byteOrderMarks[] = {
    {"\xEF\xBB\xBF", 3, "UTF-8"},
    {"\xFF\xFE", 2, "UTF-16LE"},
    {"\xFE\xFF", 2, "UTF-16BE"},
};
const Mark unmarkedUtf16[] = {
    {"<\0?\0", 4, "UTF-16LE"},
    {"\0<\0?", 4, "UTF-16BE"},
};

const Mark *firstMark(const QByteArray &bytes, const auto &marks)
{
    for (const Mark &mark : marks) {
        if (bytes.startsWith(QByteArrayView(mark.bytes, mark.length)))
            return &mark;
    }
    return nullptr;
}

// What the text before the first "?>" names as its encoding; empty when it names none.
QString declaredEncoding(const QString &text)
{
    const qsizetype end = text.indexOf(QLatin1String("?>"));
    if (end < 0)
        return {};
    const QString declaration = text.first(end);
    if (!declaration.contains(QLatin1String("encoding")))
        return {};
    return TagScanner::valueForProperty(declaration, QStringLiteral("encoding"));
}

// The encoding named by the first processing instruction, read straight from bytes of an
// ASCII-compatible document without turning the rest of it into text.
QByteArray declaredInBytes(const QByteArray &bytes)
{
    const qsizetype end = bytes.indexOf("?>");
    if (end < 0)
        return {};
    return declaredEncoding(QString::fromLatin1(bytes.first(end + 2))).toLatin1();
}

// Whether the bytes are UTF-8 as the standard has it (no overlong forms, no surrogates, nothing past
// U+10FFFF). Feeds are mostly ASCII, which is passed over eight bytes at a time.
bool isValidUtf8(const QByteArray &bytes)
{
    const auto *at = reinterpret_cast<const unsigned char *>(bytes.constData());
    const auto *end = at + bytes.size();
    while (at < end) {
        if (end - at >= 8) {
            quint64 block;
            std::memcpy(&block, at, 8);
            if ((block & 0x8080808080808080ULL) == 0) {
                at += 8;
                continue;
            }
        }
        const unsigned char lead = *at;
        if (lead < 0x80) {
            ++at;
            continue;
        }
        int length = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            low = lead == 0xE0 ? 0xA0 : 0x80;
            high = lead == 0xED ? 0x9F : 0xBF;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            low = lead == 0xF0 ? 0x90 : 0x80;
            high = lead == 0xF4 ? 0x8F : 0xBF;
        } else {
            return false;
        }
        if (end - at < length || at[1] < low || at[1] > high)
            return false;
        for (int i = 2; i < length; ++i) {
            if (at[i] < 0x80 || at[i] > 0xBF)
                return false;
        }
        at += length;
    }
    return true;
}

} // namespace

DocumentDecoder::Decoded DocumentDecoder::decode(const QByteArray &bytes, const QString &servedEncoding)
{
    if (const Mark *mark = firstMark(bytes, byteOrderMarks))
        return decodeMarked(bytes, QString::fromLatin1(mark->encoding), mark->length);
    if (const Mark *mark = firstMark(bytes, unmarkedUtf16))
        return decodeMarked(bytes, QString::fromLatin1(mark->encoding), 0);

    const bool validUtf8 = isValidUtf8(bytes);
    QString name = servedEncoding;
    QString remembered;
    if (name.isEmpty()) {
        name = validUtf8 ? QStringLiteral("utf-8") : QStringLiteral("iso-8859-1");
        remembered = name;
    }
    std::optional<QString> text = strictly(bytes, name, validUtf8);
    if (!text) {
        // The served set does not fit these bytes, so whatever the document says of itself is not
        // trusted either: they are UTF-8, or the served set with its few bad bytes replaced.
        const QString fallback = TextDecoder::isKnown(name) ? name : QStringLiteral("utf-8");
        return {validUtf8 ? QString::fromUtf8(bytes) : leniently(bytes, fallback), remembered};
    }
    const QString declared = declaredEncoding(*text);
    if (declared.isEmpty())
        return {text, remembered};
    if (declared.compare(name, Qt::CaseInsensitive) == 0)
        return {text, declared};
    text = strictly(bytes, declared, validUtf8);
    return {text ? text : leniently(bytes, declared), declared};
}

QByteArray DocumentDecoder::utf8(const QByteArray &bytes, const QString &servedEncoding)
{
    const bool plain = !firstMark(bytes, byteOrderMarks) && !firstMark(bytes, unmarkedUtf16);
    if (plain && isValidUtf8(bytes)) {
        const QByteArray declared = declaredInBytes(bytes);
        const bool servedFits = servedEncoding.isEmpty() || isUtf8Name(servedEncoding);
        if (isUtf8Name(QString::fromLatin1(declared)) || (declared.isEmpty() && servedFits))
            return bytes;
    }
    const Decoded decoded = decode(bytes, servedEncoding);
    return decoded.text ? decoded.text->toUtf8() : QByteArray();
}

// A byte-order mark says what the bytes are, whatever else claims otherwise; the declaration is still
// what the feed remembers when there is one.
DocumentDecoder::Decoded DocumentDecoder::decodeMarked(const QByteArray &bytes, const QString &marked,
                                                       qsizetype markLength)
{
    Decoded decoded;
    decoded.text = leniently(bytes.sliced(markLength), marked);
    const QString declared = decoded.text ? declaredEncoding(*decoded.text) : QString();
    decoded.encoding = declared.isEmpty() ? marked : declared;
    return decoded;
}

// Latin-1 as the web reads it: its unused control range holds Windows' quotes, dashes and euro sign,
// which is what documents that say Latin-1 almost always mean by those bytes.
std::optional<QString> DocumentDecoder::strictly(const QByteArray &bytes, const QString &name, bool validUtf8)
{
    if (isUtf8Name(name))
        return validUtf8 ? std::optional<QString>(QString::fromUtf8(bytes)) : std::nullopt;
    if (isLatin1Name(name)) {
        const std::optional<QString> windows = TextDecoder::decode(bytes, QStringLiteral("windows-1252"));
        return windows ? windows : TextDecoder::decode(bytes, name);
    }
    return TextDecoder::decode(bytes, name);
}

std::optional<QString> DocumentDecoder::leniently(const QByteArray &bytes, const QString &name)
{
    if (isUtf8Name(name))
        return QString::fromUtf8(bytes);
    if (isLatin1Name(name))
        return strictly(bytes, name, false);
    return TextDecoder::decodeLeniently(bytes, name);
}

bool DocumentDecoder::isUtf8Name(const QString &name)
{
    return name.compare(QLatin1String("utf-8"), Qt::CaseInsensitive) == 0 ||
           name.compare(QLatin1String("utf8"), Qt::CaseInsensitive) == 0;
}

bool DocumentDecoder::isLatin1Name(const QString &name)
{
    return name.compare(QLatin1String("iso-8859-1"), Qt::CaseInsensitive) == 0 ||
           name.compare(QLatin1String("latin1"), Qt::CaseInsensitive) == 0;
}

#include "model/Enclosure.h"

#include "platform/KeyedUnarchiver.h"

#include <QStringList>

// The file's own name, as a podcast's address ends with it: the last segment of the path, without the
// query that so many add for their statistics. Hosts that wrap the real address into their own path,
// escaped, still end with the file's name once it is unescaped.
void Enclosure::setLink(const QUrl &link)
{
    m_link = link;
    if (link.isEmpty())
        return;
    const QStringList segments = link.path(QUrl::FullyDecoded).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    m_title = segments.isEmpty() ? QString() : segments.last();
}

QVariantMap Enclosure::archiveToDictionary() const
{
    QVariantMap dictionary;
    if (!m_title.isEmpty())
        dictionary.insert(QStringLiteral("title"), m_title);
    if (!m_link.isEmpty())
        dictionary.insert(QStringLiteral("link"), m_link.toString());
    if (!m_localFilePath.isEmpty())
        dictionary.insert(QStringLiteral("localFilePath"), m_localFilePath);
    if (!m_mimeType.isEmpty())
        dictionary.insert(QStringLiteral("mimeType"), m_mimeType);
    dictionary.insert(QStringLiteral("size"), m_size);
    dictionary.insert(QStringLiteral("mediaType"), m_mediaType);
    dictionary.insert(QStringLiteral("played"), int(m_played));
    return dictionary;
}

std::shared_ptr<Enclosure> Enclosure::initWithDictionary(const QVariantMap &dictionary)
{
    auto enclosure = std::make_shared<Enclosure>();
    enclosure->setTitle(dictionary.value(QStringLiteral("title")).toString());
    const QString link = dictionary.value(QStringLiteral("link")).toString();
    if (!link.isEmpty())
        enclosure->setLink(QUrl(link));
    enclosure->setLocalFilePath(dictionary.value(QStringLiteral("localFilePath")).toString());
    enclosure->setMimeType(dictionary.value(QStringLiteral("mimeType")).toString());
    enclosure->setSize(sizeFromText(dictionary.value(QStringLiteral("size")).toString()));
    enclosure->setMediaType(dictionary.value(QStringLiteral("mediaType")).toString().toInt());
    enclosure->setPlayed(dictionary.value(QStringLiteral("played")).toString().toInt() != 0);
    return enclosure;
}

// Feeds declare sizes of every shape; a negative length was stored as its unsigned bits, and some
// write "1.5e6". Whole numbers are taken exactly, anything else truncated.
quint64 Enclosure::sizeFromText(const QString &text)
{
    bool whole = false;
    const quint64 exact = text.trimmed().toULongLong(&whole);
    if (whole)
        return exact;
    const double approximate = text.trimmed().toDouble();
    if (!(approximate > 0))
        return 0;
    if (approximate >= 18446744073709551615.0)
        return std::numeric_limits<quint64>::max();
    return quint64(approximate);
}

// Only reading is archived: an enclosure written into a library file comes back empty, as before.
void Enclosure::encodeWithCoder(KeyedArchiver &) const {}

void Enclosure::initWithCoder(KeyedUnarchiver &coder)
{
    m_title = coder.decodeString(QStringLiteral("title"));
    m_link = coder.decodeUrl(QStringLiteral("link"));
    m_localFilePath = coder.decodeString(QStringLiteral("localFilePath"));
    m_mimeType = coder.decodeString(QStringLiteral("mimeType"));
    m_size = coder.decodeUInt64(QStringLiteral("size"));
    m_mediaType = coder.decodeInt32(QStringLiteral("mediaType"));
    m_played = coder.decodeBool(QStringLiteral("played"));
}

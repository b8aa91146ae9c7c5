#include "reading/QBParser.h"

#include "model/Feed.h"
#include "reading/QBAtomParser.h"
#include "reading/QBLiberalRSSParser.h"
#include "reading/TextDecoder.h"

namespace {

const QString atom10Namespace = QStringLiteral("http://www.w3.org/2005/Atom");
// Atom 0.3 documents name their namespace with a trailing segment that varies between producers.
const QString atom03NamespaceStem = QStringLiteral("http://purl.org/atom");

QString decodedOrNull(const QByteArray &data, const QString &encoding)
{
    return TextDecoder::decode(data, encoding).value_or(QString());
}

} // namespace

QBParser::QBParser() : QBParser(FeedLibrary::feedLibrary()) {}

QBParser::QBParser(FeedLibrary &library) : m_feedLibrary(library) {}

void QBParser::processData(const QByteArray &data)
{
    if (data.isNull() || !m_feed)
        return;
    m_rawXML = decodedText(data);
    m_syndicationFormat = idenitfyFeedFormat(m_rawXML);
    parseCachedFeed(data, m_syndicationFormat);
}

// A declaration naming another character set wins over the stored one, even when it cannot be used:
// then there is no text, which the RSS reader reports.
QString QBParser::decodedText(const QByteArray &data)
{
    if (m_encoding.isEmpty()) {
        m_encoding = QStringLiteral("iso-8859-1");
        m_feed->setEncoding(m_encoding);
    }
    const std::optional<QString> decoded = TextDecoder::decode(data, m_encoding);
    if (!decoded)
        return decodedOrNull(data, QStringLiteral("utf-8"));
    const qsizetype declarationEnd = decoded->indexOf(QStringLiteral("?>"));
    if (declarationEnd < 0)
        return *decoded;
    const QString declaration = decoded->left(declarationEnd);
    if (!declaration.contains(QStringLiteral("encoding")))
        return *decoded;
    m_encoding = tag(declaration, QStringLiteral("encoding"));
    m_feed->setEncoding(m_encoding);
    return decodedOrNull(data, m_encoding);
}

int QBParser::idenitfyFeedFormat(const QString &text)
{
    if (!text.contains(atom10Namespace) && !text.contains(atom03NamespaceStem))
        return RSSFormat;
    if (text.contains(QStringLiteral("<channel")))
        return RSSFormat;
    return AtomFormat;
}

void QBParser::parseCachedFeed(const QByteArray &data, int withFormat)
{
    if (withFormat == RSSFormat) {
        QBLiberalRSSParser reader(m_rawXML, m_feedLibrary);
        reader.setFeed(m_feed);
        reader.parse();
    } else if (withFormat == AtomFormat) {
        QBAtomParser reader(data, m_feedLibrary);
        reader.setFeed(m_feed);
        reader.parse();
    }
    if ((withFormat == RSSFormat || withFormat == AtomFormat) && m_feed->publicationDate().isNull())
        m_feed->setPublicationDate(CalendarDate::now());
    m_feed->updateUnreadCount();
}

QString QBParser::tag(const QString &tag, const QString &valueForProperty)
{
    return QBLiberalRSSParser::tag(tag, valueForProperty);
}

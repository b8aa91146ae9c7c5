#include "reading/QBParser.h"

#include "model/Feed.h"
#include "reading/DocumentDecoder.h"
#include "reading/QBAtomParser.h"
#include "reading/QBLiberalRSSParser.h"
#include "reading/TagScanner.h"

namespace {

const QString atom10Namespace = QStringLiteral("http://www.w3.org/2005/Atom");
// Atom 0.3 documents name their namespace with a trailing segment that varies between producers.
const QString atom03NamespaceStem = QStringLiteral("http://purl.org/atom");

// Where the markup that starts at open ends: a comment, a processing instruction or a document type with
// its internal subset is passed over whole.
qsizetype endOfMarkup(const QString &text, qsizetype open)
{
    const QStringView rest = QStringView(text).sliced(open);
    const auto after = [&text, open](QStringView closing) {
        const qsizetype end = text.indexOf(closing, open + 2);
        return end < 0 ? text.size() : end + closing.size();
    };
    if (rest.startsWith(u"<!--"))
        return after(u"-->");
    if (rest.startsWith(u"<?"))
        return after(u"?>");
    const qsizetype close = text.indexOf(u'>', open);
    const qsizetype subset = text.indexOf(u'[', open);
    if (subset >= 0 && (close < 0 || subset < close))
        return after(u"]>");
    return close < 0 ? text.size() : close + 1;
}

// The name of the document's first element, past any declaration, comment or document type.
QStringView rootElementName(const QString &text)
{
    for (qsizetype open = text.indexOf(u'<'); open >= 0 && open + 1 < text.size();) {
        const QChar first = text.at(open + 1);
        if (first == u'?' || first == u'!') {
            open = text.indexOf(u'<', endOfMarkup(text, open));
            continue;
        }
        qsizetype end = open + 1;
        while (end < text.size() && !text.at(end).isSpace() && text.at(end) != u'>' && text.at(end) != u'/')
            ++end;
        return QStringView(text).sliced(open + 1, end - open - 1);
    }
    return {};
}

} // namespace

QBParser::QBParser() : QBParser(FeedLibrary::feedLibrary()) {}

QBParser::QBParser(FeedLibrary &library) : m_feedLibrary(library) {}

void QBParser::processData(const QByteArray &data)
{
    if (data.isNull() || !m_feed)
        return;
    m_servedEncoding = m_encoding;
    m_rawXML = decodedText(data);
    m_syndicationFormat = idenitfyFeedFormat(m_rawXML);
    parseCachedFeed(data, m_syndicationFormat);
}

// A declaration naming a character set nobody knows wins even so: then there is no text, which the RSS
// reader reports.
QString QBParser::decodedText(const QByteArray &data)
{
    const DocumentDecoder::Decoded decoded = DocumentDecoder::decode(data, m_encoding);
    if (!decoded.encoding.isEmpty()) {
        m_encoding = decoded.encoding;
        m_feed->setEncoding(m_encoding);
    }
    return decoded.text.value_or(QString());
}

// A document whose first element is a feed is Atom even when it forgets the namespace.
int QBParser::idenitfyFeedFormat(const QString &text)
{
    if (rootElementName(text) == u"feed")
        return AtomFormat;
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
        reader.setEncoding(m_servedEncoding);
        reader.setFeed(m_feed);
        reader.parse();
    }
    if ((withFormat == RSSFormat || withFormat == AtomFormat) && m_feed->publicationDate().isNull())
        m_feed->setPublicationDate(CalendarDate::now());
    m_feed->updateUnreadCount();
}

QString QBParser::tag(const QString &tag, const QString &valueForProperty)
{
    return TagScanner::valueForProperty(tag, valueForProperty);
}

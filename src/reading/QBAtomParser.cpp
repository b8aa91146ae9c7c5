#include "reading/QBAtomParser.h"

#include "reading/FeedReaderSupport.h"
#include "reading/QBUtilities.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

namespace {

bool is(const char *name, const char *expected)
{
    return std::strcmp(name, expected) == 0;
}

bool isDateElement(const char *name)
{
    return is(name, "created") || is(name, "issued") || is(name, "published") || is(name, "updated") ||
           is(name, "modified");
}

// An address that does not parse is no address at all, as for a link the feed never gave.
// In place, so that the collecting buffer keeps its capacity from one element to the next.
void trimInPlace(QString &text)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && text.at(start).isSpace())
        ++start;
    while (end > start && text.at(end - 1).isSpace())
        --end;
    text.truncate(end);
    if (start > 0)
        text.remove(0, start);
}

} // namespace

// libxml2 calls these with the reader as its user data. The element callbacks are the SAX1 ones, so
// that names arrive with their prefixes as written and no namespace is resolved.
struct QBAtomParser::SaxEvents
{
    static QBAtomParser *reader(void *user) { return static_cast<QBAtomParser *>(user); }

    static void startElement(void *user, const xmlChar *name, const xmlChar **attributes)
    {
        reader(user)->startElement(reinterpret_cast<const char *>(name),
                                   reinterpret_cast<const char **>(attributes));
    }

    static void endElement(void *user, const xmlChar *name)
    {
        reader(user)->endElement(reinterpret_cast<const char *>(name));
    }

    static void characters(void *user, const xmlChar *text, int length)
    {
        reader(user)->appendText(reinterpret_cast<const char *>(text), length);
    }

    static void entityDeclaration(void *user, const xmlChar *name, int, const xmlChar *, const xmlChar *,
                                  xmlChar *)
    {
        reader(user)->m_declaredEntities.append(QByteArray(reinterpret_cast<const char *>(name)));
    }

    // Asked for every reference to an entity beyond XML's five. Inside the document type it only
    // looks up a declaration it has just read; in the document itself a reference ends the reading,
    // so that no declared entity is ever expanded (a billion laughs stays one reference).
    static xmlEntityPtr entity(void *user, const xmlChar *name)
    {
        QBAtomParser *parser = reader(user);
        if (parser->m_context->inSubset != 0)
            return nullptr;
        const QByteArray entityName(reinterpret_cast<const char *>(name));
        parser->stopWithError(
            parser->m_declaredEntities.contains(entityName)
                ? QStringLiteral("Entity '%1' is declared by the document and is not expanded")
                      .arg(QString::fromUtf8(entityName))
                : QStringLiteral("Entity '%1' not defined").arg(QString::fromUtf8(entityName)));
        return nullptr;
    }

    static void error(void *user, const char *format, ...)
    {
        char message[512];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(message, sizeof message, format, arguments);
        va_end(arguments);
        reader(user)->stopWithError(QString::fromUtf8(message).trimmed());
    }

    static xmlSAXHandler handler()
    {
        xmlSAXHandler handler;
        std::memset(&handler, 0, sizeof handler);
        // A handler of the first version: with the SAX2 mark libxml2 would resolve namespaces.
        handler.initialized = 1;
        handler.startElement = startElement;
        handler.endElement = endElement;
        handler.characters = characters;
        handler.ignorableWhitespace = characters;
        handler.cdataBlock = characters;
        handler.entityDecl = entityDeclaration;
        handler.getEntity = entity;
        handler.error = error;
        handler.fatalError = error;
        return handler;
    }
};

QBAtomParser::QBAtomParser(const QByteArray &data) : QBAtomParser(data, FeedLibrary::feedLibrary()) {}

QBAtomParser::QBAtomParser(const QByteArray &data, FeedLibrary &library)
    : m_data(data), m_feedLibrary(library), m_feed(std::make_shared<Feed>()),
      m_currentArticle(std::make_shared<Article>())
{
}

void QBAtomParser::setFeed(const FeedPtr &feed)
{
    m_feed = feed;
    m_feed->setFeedType(Feed::AtomType);
    m_feed->setPublicationDate(CalendarDate());
    m_currentArticle->setParent(m_feed);
    m_currentArticle->setSource(m_feed);
}

bool QBAtomParser::parse()
{
    if (m_data.isEmpty() || m_data.size() > INT_MAX) {
        m_parserError = m_data.isEmpty() ? QStringLiteral("Document is empty")
                                         : QStringLiteral("Document is too large to read");
        return false;
    }
    xmlParserCtxtPtr context = xmlCreateMemoryParserCtxt(m_data.constData(), int(m_data.size()));
    if (!context) {
        m_parserError = QStringLiteral("Document cannot be read");
        return false;
    }
    *context->sax = SaxEvents::handler();
    context->userData = this;
    // Neither XML_PARSE_NOENT nor XML_PARSE_DTDLOAD: entities stay unexpanded and nothing is fetched.
    xmlCtxtUseOptions(context, XML_PARSE_NONET);
    m_context = context;
    xmlParseDocument(context);
    const bool wellFormed = context->wellFormed && m_parserError.isEmpty();
    if (!wellFormed && m_parserError.isEmpty())
        m_parserError = QStringLiteral("Document is not well-formed");
    // libxml2 keeps entity declarations in a document of its own even in SAX mode.
    if (context->myDoc)
        xmlFreeDoc(context->myDoc);
    xmlFreeParserCtxt(context);
    m_context = nullptr;
    if (!wellFormed)
        return false;
    FeedReaderSupport::insertNewArticles(m_feed, m_articleArray);
    return true;
}

void QBAtomParser::stopWithError(const QString &message)
{
    if (m_parserError.isEmpty())
        m_parserError = QStringLiteral("line %1: %2").arg(xmlSAX2GetLineNumber(m_context)).arg(message);
    xmlStopParser(m_context);
}

void QBAtomParser::resetContentType()
{
    m_currentValue.truncate(0);
    m_contentType = TextContent;
}

QString QBAtomParser::stringWithDecodedHTMLEntities() const
{
    return QBUtilities::decodeCharacterEntitiesIn(detachedValue());
}

// Values handed out share nothing with the collecting buffer, so that it keeps its capacity.
QString QBAtomParser::detachedValue() const
{
    return m_currentValue.isNull() ? QStringLiteral("")
                                   : QString(m_currentValue.constData(), m_currentValue.size());
}

CalendarDate QBAtomParser::dateFromCurrentValue() const
{
    return QBUtilities::dateFromCurrentValue(m_currentValue);
}

void QBAtomParser::appendText(const char *utf8, int length)
{
    const qsizetype kept = m_currentValue.size();
    m_currentValue.resize(kept + m_utf8.requiredSpace(length));
    const QChar *end = m_utf8.appendToBuffer(m_currentValue.data() + kept, QByteArrayView(utf8, length));
    m_currentValue.truncate(end - m_currentValue.constData());
}

void QBAtomParser::startElement(const char *name, const char **attributes)
{
    keepAttributes(attributes);
    if (m_contentType == InlineMarkup)
        appendStartTag(name);
    if (is(name, "link"))
        takeLink();
    if (is(name, "entry")) {
        m_block = InEntry;
    } else if (is(name, "author") || is(name, "contributor")) {
        m_currentPerson = std::make_shared<QBPerson>();
        m_previousBlock = m_block;
        m_block = InPerson;
    }
    takeContentType();
}

void QBAtomParser::keepAttributes(const char **attributes)
{
    m_tagAttribs.clear();
    for (const char **pair = attributes; pair && pair[0]; pair += 2)
        m_tagAttribs.append({QString::fromUtf8(pair[0]), QString::fromUtf8(pair[1])});
}

QString QBAtomParser::attribute(QLatin1String name) const
{
    for (const auto &[key, value] : m_tagAttribs) {
        if (key == name)
            return value;
    }
    return {};
}

void QBAtomParser::appendStartTag(const char *name)
{
    m_currentValue.append(u'<');
    appendText(name, int(std::strlen(name)));
    for (const auto &[key, value] : m_tagAttribs) {
        m_currentValue.append(u' ');
        m_currentValue.append(key);
        m_currentValue.append(QLatin1String("=\""));
        m_currentValue.append(value);
        m_currentValue.append(u'"');
    }
    m_currentValue.append(u'>');
}

// The first link with an address wins, whatever its rel: a later "alternate" does not replace a "self".
void QBAtomParser::takeLink()
{
    const QString href = attribute(QLatin1String("href"));
    if (href.isNull())
        return;
    if (m_block == FeedLevel && m_feed->link().isEmpty())
        m_feed->setLink(FeedReaderSupport::urlFromText(href));
    else if (m_block == InEntry && m_currentArticle->link().isEmpty())
        m_currentArticle->setLink(FeedReaderSupport::urlFromText(href));
}

void QBAtomParser::takeContentType()
{
    const QString mode = attribute(QLatin1String("mode"));
    if (!mode.isNull()) {
        if (mode == QLatin1String("xml"))
            m_contentType = InlineMarkup;
        else if (mode == QLatin1String("escaped"))
            m_contentType = TextContent;
    } else if (attribute(QLatin1String("xml:space")) == QLatin1String("preserve")) {
        m_contentType = InlineMarkup;
    }
    if (attribute(QLatin1String("type")) == QLatin1String("xhtml"))
        m_contentType = InlineMarkup;
}

void QBAtomParser::endElement(const char *name)
{
    trimInPlace(m_currentValue);

    if (is(name, "content")) {
        setSummary();
        resetContentType();
    } else if (is(name, "summary")) {
        // Content wins over summary in either order: a summary only fills an empty one.
        if (m_currentArticle->summary().isEmpty())
            setSummary();
        resetContentType();
    } else if (is(name, "title")) {
        if (m_block != FeedLevel)
            m_currentArticle->setTitle(stringWithDecodedHTMLEntities());
        else if (m_feed->title().isEmpty())
            m_feed->setTitle(stringWithDecodedHTMLEntities());
        resetContentType();
    }

    // A feed-level id comes before the first entry and so becomes its guid unless it has its own.
    if (is(name, "id"))
        m_currentArticle->setGuid(detachedValue());
    else if (isDateElement(name))
        takeDate();

    if (m_block == InPerson && m_currentPerson) {
        if (is(name, "name"))
            m_currentPerson->setName(stringWithDecodedHTMLEntities());
        else if (is(name, "email"))
            m_currentPerson->setEmail(stringWithDecodedHTMLEntities());
        else if (is(name, "url") || is(name, "uri"))
            m_currentPerson->setURI(FeedReaderSupport::urlFromText(stringWithDecodedHTMLEntities()));
    }

    if (is(name, "author") || is(name, "contributor"))
        finishPerson();
    else if (is(name, "entry"))
        finishEntry();

    // Inside inline markup the text keeps growing until the enclosing content, summary or title ends.
    if (m_contentType != InlineMarkup) {
        m_currentValue.truncate(0);
    } else {
        m_currentValue.append(QLatin1String("</"));
        appendText(name, int(std::strlen(name)));
        m_currentValue.append(u'>');
    }
}

// The first date of an entry dates it; at feed level the last one wins.
void QBAtomParser::takeDate()
{
    if (m_block == InPerson)
        return;
    const CalendarDate date = dateFromCurrentValue();
    if (date.isNull())
        return;
    if (m_block == InEntry) {
        if (m_currentArticle->legacyPublicationDate().isNull())
            m_currentArticle->setLegacyPublicationDate(date);
    } else {
        m_feed->setPublicationDate(date);
    }
}

// A person read at feed level goes to the article being prepared for the first entry.
void QBAtomParser::finishPerson()
{
    if (m_currentPerson)
        m_currentArticle->addAuthor(m_currentPerson);
    m_block = m_previousBlock;
    resetContentType();
}

void QBAtomParser::finishEntry()
{
    // Without an id an entry cannot be recognised again, so it is new at every reading.
    if (m_currentArticle->guid().isEmpty())
        m_currentArticle->setGuid(QBUtilities::generateUniqueID());
    if (m_currentArticle->legacyPublicationDate().isNull() && !m_feed->publicationDate().isNull())
        m_currentArticle->setLegacyPublicationDate(m_feed->publicationDate());
    FeedReaderSupport::finishArticle(m_feedLibrary, m_feed, m_currentArticle, m_articleArray);
    freshArticle();
    m_block = FeedLevel;
    resetContentType();
}

void QBAtomParser::freshArticle()
{
    m_currentArticle = std::make_shared<Article>();
    m_currentArticle->setParent(m_feed);
    m_currentArticle->setSource(m_feed);
}

// Taken as it stands when the latest start tag declared xhtml; other text may still hold HTML entities.
void QBAtomParser::setSummary()
{
    const QString source = attribute(QLatin1String("type")) == QLatin1String("xhtml")
                               ? detachedValue()
                               : stringWithDecodedHTMLEntities();
    m_currentArticle->setFullSummary(source);
    m_currentArticle->setSummary(
        FeedReaderSupport::summaryFromPlainText(FeedReaderSupport::textWithTagsAsSpaces(source)));
    resetContentType();
}

#include "reading/QBAtomParser.h"

#include "model/Enclosure.h"
#include "model/QBPerson.h"
#include "reading/DocumentDecoder.h"
#include "reading/FeedReaderSupport.h"
#include "reading/LenientXml.h"
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

    // Asked for every reference to an entity beyond XML's five; the mending before the parse has
    // already turned HTML's into characters. Inside the document type it only looks up a declaration
    // it has just read; in the document itself a reference to a declared entity ends the reading, so
    // that no declared entity is ever expanded (a billion laughs stays one reference).
    static xmlEntityPtr entity(void *user, const xmlChar *name)
    {
        QBAtomParser *parser = reader(user);
        if (parser->m_context->inSubset != 0)
            return nullptr;
        const QByteArray entityName(reinterpret_cast<const char *>(name));
        if (parser->m_declaredEntities.contains(entityName))
            parser->refuse(QStringLiteral("Entity '%1' is declared by the document and is not expanded")
                               .arg(QString::fromUtf8(entityName)));
        else
            parser->noteError(QStringLiteral("Entity '%1' not defined").arg(QString::fromUtf8(entityName)));
        return nullptr;
    }

    static void error(void *user, const char *format, ...)
    {
        char message[512];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(message, sizeof message, format, arguments);
        va_end(arguments);
        reader(user)->noteError(QString::fromUtf8(message).trimmed());
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
    m_feedHadLink = !m_feed->link().isEmpty();
    m_currentArticle->setParent(m_feed);
    m_currentArticle->setSource(m_feed);
}

// The bytes are turned into UTF-8 by the same rules as the parser front's and mended where real feeds
// break XML; libxml2 then recovers from whatever is left, so that one bad byte or one "&nbsp;" no longer
// costs the whole refresh. It never loads a document type, an external entity or anything from the
// network, and expands no entity.
bool QBAtomParser::parse()
{
    if (m_data.isEmpty()) {
        m_parserError = QStringLiteral("Document is empty");
        return false;
    }
    const QByteArray xml = LenientXml::repaired(DocumentDecoder::utf8(m_data, m_servedEncoding));
    if (xml.isEmpty() || xml.size() > INT_MAX) {
        m_parserError = xml.isEmpty() ? QStringLiteral("Document holds no XML")
                                      : QStringLiteral("Document is too large to read");
        return false;
    }
    xmlParserCtxtPtr context = xmlCreateMemoryParserCtxt(xml.constData(), int(xml.size()));
    if (!context) {
        m_parserError = QStringLiteral("Document cannot be read");
        return false;
    }
    *context->sax = SaxEvents::handler();
    context->userData = this;
    // Neither XML_PARSE_NOENT nor XML_PARSE_DTDLOAD: entities stay unexpanded and nothing is fetched.
    // The text is UTF-8 whatever the declaration says, since it has been decoded already.
    xmlCtxtUseOptions(context, XML_PARSE_NONET | XML_PARSE_RECOVER | XML_PARSE_IGNORE_ENC);
    m_context = context;
    xmlParseDocument(context);
    // libxml2 keeps entity declarations in a document of its own even in SAX mode.
    if (context->myDoc)
        xmlFreeDoc(context->myDoc);
    xmlFreeParserCtxt(context);
    m_context = nullptr;
    applyFeedLink();
    if (m_refused)
        return false;
    FeedReaderSupport::insertNewArticles(m_feed, m_articleArray);
    return true;
}

void QBAtomParser::noteError(const QString &message)
{
    if (m_parserError.isEmpty())
        m_parserError = QStringLiteral("line %1: %2").arg(xmlSAX2GetLineNumber(m_context)).arg(message);
}

void QBAtomParser::refuse(const QString &message)
{
    m_parserError.clear();
    noteError(message);
    m_refused = true;
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

bool QBAtomParser::inEntryProper() const
{
    return m_block == InEntry && m_sourceDepth == 0;
}

void QBAtomParser::startElement(const char *name, const char **attributes)
{
    keepAttributes(attributes);
    ++m_depth;
    enterBase();
    if (m_contentType == InlineMarkup)
        appendStartTag(name);
    if (is(name, "source") && m_block == InEntry && m_sourceDepth == 0)
        m_sourceDepth = m_depth;
    if (is(name, "link"))
        takeLink();
    else if (is(name, "media:content"))
        takeMediaContent();
    else if (is(name, "media:thumbnail"))
        takeMediaThumbnail();
    if (is(name, "entry")) {
        applyFeedLink();
        m_block = InEntry;
    } else if (is(name, "author") || is(name, "contributor")) {
        m_currentPerson = std::make_shared<QBPerson>();
        m_previousBlock = m_block;
        m_block = InPerson;
    }
    takeContentType();
}

// libxml2 hands an attribute's '&' on as "&#38;" when it does not substitute entities; it is the only
// reference left in a value by then, so that an address is decoded exactly once.
void QBAtomParser::keepAttributes(const char **attributes)
{
    m_tagAttribs.clear();
    for (const char **pair = attributes; pair && pair[0]; pair += 2) {
        QString value = QString::fromUtf8(pair[1]);
        if (std::strstr(pair[1], "&#38;"))
            value.replace(QLatin1String("&#38;"), QLatin1String("&"));
        m_tagAttribs.append({QString::fromUtf8(pair[0]), value});
    }
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

void QBAtomParser::enterBase()
{
    const QString declared = attribute(QLatin1String("xml:base"));
    if (declared.isNull())
        return;
    const QUrl resolved = FeedReaderSupport::urlFromText(declared, base());
    if (FeedReaderSupport::isWebAddress(resolved))
        m_bases.append({m_depth, resolved});
}

void QBAtomParser::leaveBase()
{
    if (!m_bases.isEmpty() && m_bases.last().first == m_depth)
        m_bases.removeLast();
}

// The xml:base in force, else the address the document was fetched from.
QUrl QBAtomParser::base() const
{
    if (!m_bases.isEmpty())
        return m_bases.last().second;
    return FeedReaderSupport::isWebAddress(m_feed->feed()) ? m_feed->feed() : QUrl();
}

// The feed's and each entry's link is its first alternate link (a link without rel is one); only
// without any, the first link with an address. A source copied from another feed names none of them.
void QBAtomParser::takeLink()
{
    if (m_sourceDepth != 0)
        return;
    const QUrl href = FeedReaderSupport::urlFromText(attribute(QLatin1String("href")), base());
    if (href.isEmpty())
        return;
    const QString rel = attribute(QLatin1String("rel"));
    Links *links = nullptr;
    if (m_block == InEntry) {
        links = &m_pending.links;
        if (rel == QLatin1String("enclosure"))
            takeEnclosureLink(href);
    } else if (m_block == FeedLevel) {
        links = &m_feedLinks;
    } else {
        return;
    }
    if ((rel.isEmpty() || rel == QLatin1String("alternate")) && links->alternate.isEmpty())
        links->alternate = href;
    if (links->first.isEmpty())
        links->first = href;
}

void QBAtomParser::takeEnclosureLink(const QUrl &href)
{
    if (m_pending.enclosure)
        return;
    m_pending.enclosure = std::make_shared<Enclosure>();
    m_pending.enclosure->setLink(href);
    m_pending.enclosure->setMimeType(attribute(QLatin1String("type")));
    m_pending.enclosure->setSize(FeedReaderSupport::declaredSize(attribute(QLatin1String("length"))));
}

void QBAtomParser::takeMediaContent()
{
    if (!inEntryProper())
        return;
    const FeedReaderSupport::MediaContent content = FeedReaderSupport::mediaContent(
        FeedReaderSupport::urlFromText(attribute(QLatin1String("url")), base()),
        attribute(QLatin1String("type")), attribute(QLatin1String("medium")),
        attribute(QLatin1String("fileSize")));
    if (!m_pending.mediaEnclosure)
        m_pending.mediaEnclosure = content.enclosure;
    if (m_pending.mediaPicture.isEmpty())
        m_pending.mediaPicture = content.picture;
}

void QBAtomParser::takeMediaThumbnail()
{
    if (inEntryProper() && m_pending.mediaPicture.isEmpty())
        m_pending.mediaPicture = FeedReaderSupport::urlFromText(attribute(QLatin1String("url")), base());
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
    takeText(name);

    // A feed-level id comes before the first entry and so becomes its guid unless it has its own.
    if (m_sourceDepth == 0 && is(name, "id"))
        m_currentArticle->setGuid(detachedValue());
    else if (isDateElement(name))
        takeDate();
    else if (is(name, "media:description") && inEntryProper() && m_pending.mediaDescription.isEmpty())
        m_pending.mediaDescription = detachedValue();

    if (m_block == InPerson && m_currentPerson) {
        if (is(name, "name"))
            m_currentPerson->setName(stringWithDecodedHTMLEntities());
        else if (is(name, "email"))
            m_currentPerson->setEmail(stringWithDecodedHTMLEntities());
        else if (is(name, "url") || is(name, "uri"))
            m_currentPerson->setURI(FeedReaderSupport::urlFromText(stringWithDecodedHTMLEntities(), base()));
    }

    if (is(name, "author") || is(name, "contributor"))
        finishPerson(is(name, "author"));
    else if (is(name, "entry"))
        finishEntry();
    else if (is(name, "source") && m_sourceDepth == m_depth)
        m_sourceDepth = 0;

    // Inside inline markup the text keeps growing until the enclosing content, summary or title ends.
    if (m_contentType != InlineMarkup) {
        m_currentValue.truncate(0);
    } else {
        m_currentValue.append(QLatin1String("</"));
        appendText(name, int(std::strlen(name)));
        m_currentValue.append(u'>');
    }
    leaveBase();
    --m_depth;
}

// Content wins over summary in either order. Taken as written when the latest start tag declared
// xhtml; other text may still hold HTML entities, which are decoded when the entry turns out new.
void QBAtomParser::takeText(const char *name)
{
    const bool content = is(name, "content");
    if (content || is(name, "summary")) {
        if (inEntryProper() && !m_currentValue.isEmpty()) {
            const Text text{detachedValue(), attribute(QLatin1String("type")) == QLatin1String("xhtml")};
            if (content)
                m_pending.content = text;
            else if (!m_pending.summary)
                m_pending.summary = text;
        }
        resetContentType();
    } else if (is(name, "title")) {
        if (m_sourceDepth == 0 && m_block != FeedLevel)
            m_currentArticle->setTitle(stringWithDecodedHTMLEntities());
        else if (m_sourceDepth == 0 && m_feed->title().isEmpty())
            m_feed->setTitle(stringWithDecodedHTMLEntities());
        resetContentType();
    }
}

// The first readable date of an entry dates it; at feed level the last one wins.
void QBAtomParser::takeDate()
{
    if (m_block == InPerson || m_sourceDepth != 0)
        return;
    if (m_block == InEntry) {
        m_pending.dateTexts.append(detachedValue());
        return;
    }
    const CalendarDate date = dateFromCurrentValue();
    if (!date.isNull())
        m_feed->setPublicationDate(date);
}

// An author read at feed level stands for every entry that names none of its own; one read in a source
// for the entry copied from there. Contributors stand only for themselves.
void QBAtomParser::finishPerson(bool author)
{
    if (m_currentPerson && m_sourceDepth == 0 && m_previousBlock != FeedLevel) {
        m_currentArticle->addAuthor(m_currentPerson);
        m_pending.ownAuthor = m_pending.ownAuthor || author;
    } else if (m_currentPerson && author) {
        (m_sourceDepth != 0 ? m_pending.sourceAuthors : m_feedAuthors).append(m_currentPerson);
    }
    m_block = m_previousBlock;
    resetContentType();
}

// A feed whose link was not known before this reading takes its alternate link, once the feed's own
// elements are read (they come before the first entry).
void QBAtomParser::applyFeedLink()
{
    if (!m_feedHadLink && m_feed->link().isEmpty() && !m_feedLinks.chosen().isEmpty())
        m_feed->setLink(m_feedLinks.chosen());
}

void QBAtomParser::finishEntry()
{
    // Without an id an entry cannot be recognised again, so it is new at every reading.
    if (m_currentArticle->guid().isEmpty())
        m_currentArticle->setGuid(QBUtilities::generateUniqueID());
    if (!FeedReaderSupport::markKnownArticle(m_feedLibrary, m_feed, m_currentArticle)) {
        completeNewEntry();
        FeedReaderSupport::addNewArticle(m_feedLibrary, m_feed, m_currentArticle, m_articleArray);
    }
    freshArticle();
    m_pending = PendingEntry();
    m_sourceDepth = 0;
    m_block = FeedLevel;
    resetContentType();
}

void QBAtomParser::completeNewEntry()
{
    const ArticlePtr article = m_currentArticle;
    if (m_pending.content)
        setSummary(*m_pending.content);
    else if (m_pending.summary)
        setSummary(*m_pending.summary);
    else if (!m_pending.mediaDescription.isEmpty())
        setSummary({m_pending.mediaDescription, false});
    for (const QString &text : std::as_const(m_pending.dateTexts)) {
        const CalendarDate date = QBUtilities::dateFromCurrentValue(text);
        if (!date.isNull()) {
            article->setLegacyPublicationDate(date);
            break;
        }
    }
    if (article->legacyPublicationDate().isNull() && !m_feed->publicationDate().isNull())
        article->setLegacyPublicationDate(m_feed->publicationDate());
    if (!m_pending.links.chosen().isEmpty())
        article->setLink(m_pending.links.chosen());
    if (!m_pending.ownAuthor) {
        const auto &inherited = m_pending.sourceAuthors.isEmpty() ? m_feedAuthors : m_pending.sourceAuthors;
        for (const std::shared_ptr<QBPerson> &person : inherited)
            article->addAuthor(std::make_shared<QBPerson>(*person));
    }
    article->setEnclosure(m_pending.enclosure ? m_pending.enclosure : m_pending.mediaEnclosure);
    article->setImageURL(m_pending.mediaPicture);
}

void QBAtomParser::freshArticle()
{
    m_currentArticle = std::make_shared<Article>();
    m_currentArticle->setParent(m_feed);
    m_currentArticle->setSource(m_feed);
}

void QBAtomParser::setSummary(const Text &text)
{
    const QString source = text.xhtml ? text.value : QBUtilities::decodeCharacterEntitiesIn(text.value);
    m_currentArticle->setFullSummary(source);
    m_currentArticle->setSummary(
        FeedReaderSupport::summaryFromPlainText(FeedReaderSupport::textWithTagsAsSpaces(source)));
}

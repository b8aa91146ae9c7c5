#include "reading/QBLiberalRSSParser.h"

#include "model/Article.h"
#include "model/Enclosure.h"
#include "model/Feed.h"
#include "model/QBPerson.h"
#include "platform/Log.h"
#include "reading/FeedReaderSupport.h"
#include "reading/QBStringExtras.h"
#include "reading/QBUtilities.h"
#include "reading/TagScanner.h"

#include <QHash>
#include <QRegularExpression>
#include <algorithm>
#include <limits>
#include <optional>

namespace {

// Shorter tag texts are taken whole as the name, so that a short tag with an attribute is not
// mistaken for the element it starts with.
constexpr qsizetype shortestTagWithAttributes = 13;
constexpr qsizetype titleFromSummaryLength = 60;
// How far down the open elements an end tag looks for its start; beyond that it is taken as stray, so
// that a document of unclosed tags costs no more than one of closed ones. Elements further down than
// any end tag could reach are forgotten.
constexpr qsizetype deepestMatch = 32;
constexpr qsizetype openElementsKept = 8 * deepestMatch;

// The element name a tag's text begins with, up to white space, a '/' or the tag's end.
QStringView elementName(QStringView tagText)
{
    qsizetype end = 0;
    while (end < tagText.size() && !tagText[end].isSpace() && tagText[end] != u'/' && tagText[end] != u'>')
        ++end;
    return tagText.first(end);
}

// Elements read from their attributes, wherever they stand and however they are closed.
bool isReadFromAttributes(const QString &lowerName)
{
    return lowerName.startsWith(u"enclosure") || lowerName.startsWith(u"media:content") ||
           lowerName.startsWith(u"media:thumbnail");
}

// "me@example.com (Me)", "Me (me@example.com)" and "Me <me@example.com>" as mail writes a person, as
// name and address; nothing for other shapes.
std::optional<std::pair<QString, QString>> nameAndEmail(const QString &text)
{
    // Longer texts are no person's name and address, and the patterns would take too long over them.
    constexpr qsizetype longestPerson = 320;
    if (text.size() > longestPerson)
        return std::nullopt;
    static const QRegularExpression emailThenName(QStringLiteral("^(\\S+@\\S+)\\s*\\((.+)\\)$"));
    static const QRegularExpression nameThenEmail(QStringLiteral("^(.+?)\\s*[<(](\\S+@[^\\s>)]+)[>)]$"));
    if (const QRegularExpressionMatch match = emailThenName.match(text); match.hasMatch())
        return std::pair(match.captured(2).trimmed(), match.captured(1));
    if (const QRegularExpressionMatch match = nameThenEmail.match(text); match.hasMatch())
        return std::pair(match.captured(1).trimmed(), match.captured(2));
    return std::nullopt;
}

// Leading white space, a sign and digits, as a 32-bit count; out-of-range values stop at the limits.
qint32 leadingInt32(QStringView text)
{
    qsizetype at = 0;
    while (at < text.size() && text[at].isSpace())
        ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == u'-' || text[at] == u'+'))
        negative = text[at++] == u'-';
    qint64 value = 0;
    for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at) {
        value = value * 10 + (text[at].unicode() - u'0');
        if (value > qint64(std::numeric_limits<qint32>::max()) + 1)
            break;
    }
    value = negative ? -value : value;
    return qint32(
        std::clamp<qint64>(value, std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()));
}

} // namespace

QBLiberalRSSParser::QBLiberalRSSParser(const QString &source)
    : QBLiberalRSSParser(source, FeedLibrary::feedLibrary())
{
}

QBLiberalRSSParser::QBLiberalRSSParser(const QString &source, FeedLibrary &library)
    : m_feedLibrary(&library), m_source(source), m_currentArticle(std::make_shared<Article>()),
      m_feed(std::make_shared<Feed>())
{
}

void QBLiberalRSSParser::setFeed(const FeedPtr &feed)
{
    if (!feed) {
        Log::write(QStringLiteral("-[QBLiberalRSSParser setFeed:] called with nil feed"));
        return;
    }
    m_feed = feed;
    m_feed->setFeedType(Feed::RSSType);
    m_feed->setPublicationDate(CalendarDate());
    m_currentArticle->setSource(m_feed);
}

bool QBLiberalRSSParser::parse()
{
    if (m_source.isNull()) {
        Log::write(QStringLiteral("-[QBLiberalRSSParser parse] no XML to parse, aborting."));
        return false;
    }
    qsizetype lastIndex = -1;
    bool cdataSeen = false;
    while (m_index != lastIndex) {
        lastIndex = m_index;
        const QString token = identifyNextTagFromIndex();
        if (token.isNull())
            break;
        if (token.startsWith(TagScanner::cdataOpening) && token.size() >= shortestTagWithAttributes) {
            m_currentValue += QStringView(token).sliced(TagScanner::cdataOpening.size(),
                                                        token.size() - TagScanner::cdataOpening.size() -
                                                            TagScanner::cdataClosing.size());
            cdataSeen = true;
        } else if (isClosingTag(token)) {
            handleEndTag(token, cdataSeen);
            cdataSeen = false;
        } else if (isSingleTag(token)) {
            handleSingleTag(token);
        } else {
            handleStartTag(token);
        }
    }
    FeedReaderSupport::insertNewArticles(m_feed, m_articleArray);
    return true;
}

// An element's text runs from the end of its own start tag, so that markup written into a description
// without escaping keeps all of its text.
void QBLiberalRSSParser::handleEndTag(const QString &token, bool cdataSeen)
{
    const QString name = token.sliced(2, token.size() - 3);
    const qsizetype valueStart = valueStartFor(elementName(name));
    if (!cdataSeen) {
        // Only elements that are read get their raw text copied, so that a long text followed by
        // many stray end tags costs no more than reading it once.
        const qsizetype tagStart = m_index - token.size();
        m_currentValue = actionForElement(name.toLower())
                             ? m_source.sliced(valueStart, std::max<qsizetype>(tagStart - valueStart, 0))
                             : QStringLiteral("");
    }
    parserDidEndElement(name);
    m_currentValue = QStringLiteral("");
}

// Where the text of the element this end tag closes begins; an end tag with no start in reach takes
// the text since the latest start tag.
qsizetype QBLiberalRSSParser::valueStartFor(QStringView name)
{
    const qsizetype lowest = std::max<qsizetype>(m_openElements.size() - deepestMatch, 0);
    for (qsizetype i = m_openElements.size() - 1; i >= lowest; --i) {
        if (m_openElements.at(i).name.compare(name, Qt::CaseInsensitive) == 0) {
            const qsizetype start = m_openElements.at(i).valueStart;
            m_openElements.resize(i);
            return start;
        }
    }
    return m_lastValueStart;
}

void QBLiberalRSSParser::handleStartTag(const QString &token)
{
    const QString tagText = token.sliced(1, token.size() - 2);
    const qsizetype space = tagText.indexOf(u' ');
    const QString name =
        tagText.size() >= shortestTagWithAttributes && space >= 0 ? tagText.first(space) : tagText;
    parserDidStartElement(isReadFromAttributes(name.toLower()) ? tagText : name);
    m_lastValueStart = m_index;
    if (m_openElements.size() == openElementsKept)
        m_openElements.remove(0, openElementsKept - deepestMatch);
    m_openElements.append({elementName(QStringView(m_source).sliced(m_index - token.size() + 1)), m_index});
}

// A self-closing element has no text, so only its end is reported; an enclosure or a media element
// is read from its attributes as well, since that is how nearly every podcast writes them.
void QBLiberalRSSParser::handleSingleTag(const QString &token)
{
    const QString tagText = token.sliced(1, token.size() - 3);
    if (isReadFromAttributes(elementName(tagText).toString().toLower()))
        parserDidStartElement(tagText);
    parserDidEndElement(tagText);
}

QString QBLiberalRSSParser::identifyNextTagFromIndex()
{
    // The final tag is out of reach: it is the end tag of the root element, which means nothing here.
    return TagScanner::nextTag(m_source, m_index);
}

bool QBLiberalRSSParser::isClosingTag(QStringView token)
{
    return TagScanner::isClosingTag(token);
}

bool QBLiberalRSSParser::isSingleTag(QStringView token)
{
    return TagScanner::isSingleTag(token);
}

QString QBLiberalRSSParser::tag(const QString &tag, const QString &valueForProperty)
{
    return TagScanner::valueForProperty(tag, valueForProperty);
}

void QBLiberalRSSParser::parserDidStartElement(const QString &tag)
{
    const QString name = tag.toLower();
    if (name.startsWith(u"item"))
        m_block = Item;
    else if (name == u"channel")
        m_block = Channel;
    else if (name == u"image")
        m_block = Image;
    else if (name == u"skipdays")
        m_block = SkipDays;
    else if (name == u"skiphours")
        m_block = SkipHours;
    else if (name == u"textinput")
        m_block = TextInput;
    else if (name.startsWith(u"enclosure"))
        readEnclosure(tag);
    else if (name.startsWith(u"media:content"))
        readMediaContent(tag);
    else if (name.startsWith(u"media:thumbnail"))
        readMediaThumbnail(tag);
}

// Attribute values are read one by one and decoded once, so an address with "&amp;" in its query
// keeps its '&' and a "type" inside the address is never taken for the type.
void QBLiberalRSSParser::readEnclosure(const QString &tagText)
{
    auto enclosure = std::make_shared<Enclosure>();
    enclosure->setLink(FeedReaderSupport::urlFromText(attributeValue(tagText, u"url"), documentAddress()));
    enclosure->setMimeType(attributeValue(tagText, u"type"));
    // A negative declared length keeps its sign bits, as the size has always been read.
    enclosure->setSize(quint64(qint64(leadingInt32(attributeValue(tagText, u"length")))));
    m_currentArticle->setEnclosure(enclosure);
}

// Only an item's first audio or video counts, and only when the item has no enclosure of its own;
// a picture is the item's picture when its text shows none.
void QBLiberalRSSParser::readMediaContent(const QString &tagText)
{
    if (m_block != Item)
        return;
    const FeedReaderSupport::MediaContent content = FeedReaderSupport::mediaContent(
        FeedReaderSupport::urlFromText(attributeValue(tagText, u"url"), documentAddress()),
        attributeValue(tagText, u"type"), attributeValue(tagText, u"medium"),
        attributeValue(tagText, u"fileSize"));
    if (!m_pending.mediaEnclosure)
        m_pending.mediaEnclosure = content.enclosure;
    if (m_pending.mediaPicture.isEmpty())
        m_pending.mediaPicture = content.picture;
}

void QBLiberalRSSParser::readMediaThumbnail(const QString &tagText)
{
    if (m_block == Item && m_pending.mediaPicture.isEmpty())
        m_pending.mediaPicture =
            FeedReaderSupport::urlFromText(attributeValue(tagText, u"url"), documentAddress());
}

QString QBLiberalRSSParser::attributeValue(const QString &tagText, QStringView name) const
{
    const QString value = TagScanner::attribute(tagText, name);
    return value.isNull() ? QStringLiteral("") : QBStringExtras::stringByReplacingEntities(value);
}

// Relative addresses in the document are taken from where it was fetched.
QUrl QBLiberalRSSParser::documentAddress() const
{
    return FeedReaderSupport::isWebAddress(m_feed->feed()) ? m_feed->feed() : QUrl();
}

void QBLiberalRSSParser::parserDidEndElement(const QString &name)
{
    m_currentValue = m_currentValue.trimmed();
    const QString lowerName = name.toLower();
    if (lowerName == u"image")
        m_block = Channel;
    if (lowerName == u"item") {
        finishItem();
        return;
    }
    if (const ElementAction action = actionForElement(lowerName))
        (this->*action)();
    m_currentValue = QStringLiteral("");
}

QBLiberalRSSParser::ElementAction QBLiberalRSSParser::actionForElement(const QString &lowerName) const
{
    static const QHash<QString, ElementAction> channelActions = {
        {QStringLiteral("title"), &QBLiberalRSSParser::setChannelTitle},
        {QStringLiteral("link"), &QBLiberalRSSParser::setChannelLink},
        {QStringLiteral("description"), &QBLiberalRSSParser::setChannelDescription},
        {QStringLiteral("language"), &QBLiberalRSSParser::setChannelLanguage},
        {QStringLiteral("dc:language"), &QBLiberalRSSParser::setChannelLanguage},
        {QStringLiteral("copyright"), &QBLiberalRSSParser::setChannelCopyright},
        {QStringLiteral("dc:rights"), &QBLiberalRSSParser::setChannelCopyright},
        {QStringLiteral("pubdate"), &QBLiberalRSSParser::setChannelDate},
        {QStringLiteral("dc:date"), &QBLiberalRSSParser::setChannelDate},
        {QStringLiteral("lastbuilddate"), &QBLiberalRSSParser::setChannelDate},
    };
    static const QHash<QString, ElementAction> itemActions = {
        {QStringLiteral("title"), &QBLiberalRSSParser::setItemTitle},
        {QStringLiteral("link"), &QBLiberalRSSParser::setItemLink},
        {QStringLiteral("description"), &QBLiberalRSSParser::setSummary},
        {QStringLiteral("content"), &QBLiberalRSSParser::setSummary},
        {QStringLiteral("content:encoded"), &QBLiberalRSSParser::setSummary},
        {QStringLiteral("guid"), &QBLiberalRSSParser::setItemGuid},
        {QStringLiteral("dc:creator"), &QBLiberalRSSParser::addItemCreator},
        {QStringLiteral("author"), &QBLiberalRSSParser::addItemAuthor},
        {QStringLiteral("dc:date"), &QBLiberalRSSParser::setItemDate},
        {QStringLiteral("pubdate"), &QBLiberalRSSParser::setItemDate},
        {QStringLiteral("media:description"), &QBLiberalRSSParser::setMediaDescription},
    };
    if (m_block == Channel)
        return channelActions.value(lowerName);
    if (m_block == Item)
        return itemActions.value(lowerName);
    return nullptr;
}

// Whether an item is known rests on its guid alone, so a known item is dropped before its text, date
// and addresses are worked out.
void QBLiberalRSSParser::finishItem()
{
    m_block = AfterItem;
    const ArticlePtr article = m_currentArticle;
    const bool ownGuid = article->hasGuid() && !article->guid().isEmpty();
    if (!ownGuid) {
        // Without a guid of its own an item is known by its title and link from now on.
        completeNewItem();
        const QUrl link = article->link();
        article->setGuid(QStringLiteral("%1-%2").arg(
            article->title(), link.isEmpty() ? QStringLiteral("(null)") : link.toString()));
    }
    if (!FeedReaderSupport::markKnownArticle(*m_feedLibrary, m_feed, article)) {
        if (ownGuid)
            completeNewItem();
        FeedReaderSupport::addNewArticle(*m_feedLibrary, m_feed, article, m_articleArray);
    }
    m_currentArticle = std::make_shared<Article>();
    m_currentArticle->setSource(m_feed);
    m_pending = PendingItem();
    ++m_articleCount;
}

// The text, date, link and attachments of an item that is to be stored, in the order they have always
// been settled: an undated item is dated now, an item without a link takes the feed's, one without a
// title takes the start of its summary.
void QBLiberalRSSParser::completeNewItem()
{
    const ArticlePtr article = m_currentArticle;
    if (!m_pending.summarySource.isEmpty())
        applySummary(m_pending.summarySource);
    else if (!m_pending.mediaDescription.isEmpty())
        applySummary(m_pending.mediaDescription);
    if (m_pending.hasDate)
        article->setLegacyPublicationDate(QBUtilities::dateFromCurrentValue(m_pending.dateText));
    if (article->legacyPublicationDate().isNull())
        article->setLegacyPublicationDate(CalendarDate::now());
    if (m_pending.hasLink)
        article->setLink(FeedReaderSupport::urlFromText(
            QBStringExtras::stringByReplacingEntities(m_pending.linkText), documentAddress()));
    if (article->link().isEmpty())
        article->setLink(m_feed->link());
    if (article->title().isEmpty()) {
        const QString summary = article->summary();
        article->setTitle(summary.size() >= titleFromSummaryLength
                              ? summary.first(titleFromSummaryLength) + QStringLiteral("...")
                              : summary);
    }
    if (!article->enclosure() && m_pending.mediaEnclosure)
        article->setEnclosure(m_pending.mediaEnclosure);
    if (article->imageURL().isEmpty())
        article->setImageURL(m_pending.mediaPicture);
    article->setParent(m_feed);
    article->setSource(m_feed);
}

// The last non-empty text element of an item wins; an empty one never blanks what an earlier one said.
void QBLiberalRSSParser::setSummary()
{
    if (!m_currentValue.isEmpty())
        m_pending.summarySource = m_currentValue;
}

void QBLiberalRSSParser::applySummary(const QString &source)
{
    const QString decoded = QBStringExtras::stringByReplacingEntities(source);
    m_currentArticle->setFullSummary(decoded.trimmed());
    m_currentArticle->setSummary(
        FeedReaderSupport::summaryFromPlainText(FeedReaderSupport::textWithTagsAsSpaces(decoded)));
}

QString QBLiberalRSSParser::stringWithDecodedHTMLEntities() const
{
    return QBStringExtras::stringByReplacingEntities(m_currentValue);
}

QString QBLiberalRSSParser::decodeCharacterEntities() const
{
    return QBUtilities::decodeCharacterEntitiesIn(stringWithDecodedHTMLEntities());
}

CalendarDate QBLiberalRSSParser::dateFromCurrentValue() const
{
    return QBUtilities::dateFromCurrentValue(m_currentValue);
}

void QBLiberalRSSParser::setChannelTitle()
{
    // A title the user gave the feed, or one read earlier, is never replaced.
    if (!m_feed->title().isEmpty())
        return;
    const QString title = decodeCharacterEntities();
    m_feed->setTitle(title.isEmpty() ? QStringLiteral("Untitled feed") : title);
}

void QBLiberalRSSParser::setChannelLink()
{
    if (m_feed->link().isEmpty())
        m_feed->setLink(FeedReaderSupport::urlFromText(stringWithDecodedHTMLEntities(), documentAddress()));
}

void QBLiberalRSSParser::setChannelDescription()
{
    m_feed->setDescription(decodeCharacterEntities());
}

void QBLiberalRSSParser::setChannelLanguage()
{
    m_feed->setLanguage(m_currentValue);
}

void QBLiberalRSSParser::setChannelCopyright()
{
    m_feed->setCopyright(decodeCharacterEntities());
}

void QBLiberalRSSParser::setChannelDate()
{
    m_feed->setPublicationDate(dateFromCurrentValue());
}

void QBLiberalRSSParser::setItemTitle()
{
    m_currentArticle->setTitle(decodeCharacterEntities());
}

void QBLiberalRSSParser::setItemLink()
{
    m_pending.linkText = m_currentValue;
    m_pending.hasLink = true;
}

void QBLiberalRSSParser::setItemGuid()
{
    m_currentArticle->setGuid(m_currentValue);
}

// A creator is a name, unless it is written as mail writes a person.
void QBLiberalRSSParser::addItemCreator()
{
    const QString text = decodeCharacterEntities();
    const auto person = nameAndEmail(text);
    m_currentArticle->addAuthor(std::make_shared<QBPerson>(
        person ? person->first : text, QStringLiteral("Author"), person ? person->second : QString()));
}

// Mail's "me@example.com (Me)" is the person Me with that address; a text of no such shape stands
// for both, as it always has.
void QBLiberalRSSParser::addItemAuthor()
{
    const QString text = decodeCharacterEntities();
    const auto person = nameAndEmail(text);
    m_currentArticle->addAuthor(std::make_shared<QBPerson>(
        person ? person->first : text, QStringLiteral("Author"), person ? person->second : text));
}

void QBLiberalRSSParser::setItemDate()
{
    m_pending.dateText = m_currentValue;
    m_pending.hasDate = true;
}

void QBLiberalRSSParser::setMediaDescription()
{
    if (m_pending.mediaDescription.isEmpty())
        m_pending.mediaDescription = m_currentValue;
}

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
#include <algorithm>
#include <limits>

namespace {

// Shorter tag texts are taken whole as the name, so that a short tag with an attribute is not
// mistaken for the element it starts with.
constexpr qsizetype shortestTagWithAttributes = 13;
constexpr qsizetype titleFromSummaryLength = 60;

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
    qsizetype valueStart = 0;
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
            handleEndTag(token, valueStart, cdataSeen);
            cdataSeen = false;
        } else if (isSingleTag(token)) {
            // A self-closing element has no text, so only its end is reported.
            parserDidEndElement(token.sliced(1, token.size() - 3));
        } else {
            handleStartTag(token);
            valueStart = m_index;
        }
    }
    FeedReaderSupport::insertNewArticles(m_feed, m_articleArray);
    return true;
}

void QBLiberalRSSParser::handleEndTag(const QString &token, qsizetype valueStart, bool cdataSeen)
{
    const QString name = token.sliced(2, token.size() - 3);
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

void QBLiberalRSSParser::handleStartTag(const QString &token)
{
    const QString tagText = token.sliced(1, token.size() - 2);
    const qsizetype space = tagText.indexOf(u' ');
    const QString name =
        tagText.size() >= shortestTagWithAttributes && space >= 0 ? tagText.first(space) : tagText;
    parserDidStartElement(name.toLower().startsWith(u"enclosure") ? tagText : name);
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
    if (tag.isEmpty())
        return QStringLiteral("");
    const qsizetype name = tag.indexOf(valueForProperty, 0, Qt::CaseInsensitive);
    if (name < 0)
        return QStringLiteral("");
    const QStringView span = QStringView(tag).first(tag.size() - 1);
    qsizetype open = span.indexOf(u'"', name);
    if (open < 0)
        open = span.indexOf(u'\'', name);
    if (open < 0)
        return QStringLiteral("");
    qsizetype close = tag.indexOf(u'"', open + 1);
    if (close < 0)
        close = tag.indexOf(u'\'', open + 1);
    if (close < 0)
        return QStringLiteral("");
    return tag.sliced(open + 1, close - open - 1);
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
}

void QBLiberalRSSParser::readEnclosure(const QString &tagText)
{
    auto enclosure = std::make_shared<Enclosure>();
    enclosure->setLink(FeedReaderSupport::urlFromText(tag(tagText, QStringLiteral("url"))));
    enclosure->setMimeType(tag(tagText, QStringLiteral("type")));
    // A negative declared length keeps its sign bits, as the size has always been read.
    enclosure->setSize(quint64(qint64(leadingInt32(tag(tagText, QStringLiteral("length"))))));
    m_currentArticle->setEnclosure(enclosure);
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
    };
    if (m_block == Channel)
        return channelActions.value(lowerName);
    if (m_block == Item)
        return itemActions.value(lowerName);
    return nullptr;
}

void QBLiberalRSSParser::finishItem()
{
    m_block = AfterItem;
    const ArticlePtr article = m_currentArticle;
    if (article->legacyPublicationDate().isNull())
        article->setLegacyPublicationDate(CalendarDate::now());
    if (article->link().isEmpty())
        article->setLink(m_feed->link());
    if (article->title().isEmpty()) {
        const QString summary = article->summary();
        article->setTitle(summary.size() >= titleFromSummaryLength
                              ? summary.first(titleFromSummaryLength) + QStringLiteral("...")
                              : summary);
    }
    article->setParent(m_feed);
    article->setSource(m_feed);
    // Without a guid of its own an item is known by its title and link from now on.
    if (!article->hasGuid() || article->guid().isEmpty()) {
        const QUrl link = article->link();
        article->setGuid(QStringLiteral("%1-%2").arg(
            article->title(), link.isEmpty() ? QStringLiteral("(null)") : link.toString()));
    }
    FeedReaderSupport::finishArticle(*m_feedLibrary, m_feed, article, m_articleArray);

    m_currentArticle = std::make_shared<Article>();
    m_currentArticle->setSource(m_feed);
    ++m_articleCount;
}

void QBLiberalRSSParser::setSummary()
{
    const QString decoded = stringWithDecodedHTMLEntities();
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
        m_feed->setLink(FeedReaderSupport::urlFromText(stringWithDecodedHTMLEntities()));
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
    m_currentArticle->setLink(FeedReaderSupport::urlFromText(stringWithDecodedHTMLEntities()));
}

void QBLiberalRSSParser::setItemGuid()
{
    m_currentArticle->setGuid(m_currentValue);
}

void QBLiberalRSSParser::addItemCreator()
{
    m_currentArticle->addAuthor(
        std::make_shared<QBPerson>(decodeCharacterEntities(), QStringLiteral("Author"), QString()));
}

void QBLiberalRSSParser::addItemAuthor()
{
    m_currentArticle->addAuthor(
        std::make_shared<QBPerson>(m_currentValue, QStringLiteral("Author"), m_currentValue));
}

void QBLiberalRSSParser::setItemDate()
{
    m_currentArticle->setLegacyPublicationDate(dateFromCurrentValue());
}

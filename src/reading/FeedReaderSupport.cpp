#include "reading/FeedReaderSupport.h"

#include "fetch/ImagingService.h"
#include "model/Article.h"
#include "model/Enclosure.h"
#include "model/Feed.h"

#include <limits>
#include <QRegularExpression>

namespace {

constexpr qsizetype summaryThreshold = 200;

qsizetype skipWhiteSpace(const QString &text, qsizetype from)
{
    while (from < text.size() && text.at(from).isSpace())
        ++from;
    return from;
}

// A tracking pixel says so in its tag (width="1", height="0"): such a picture is never worth a fetch.
bool declaresTrackingPixel(const QString &summary, qsizetype attributeAt)
{
    const qsizetype open = summary.lastIndexOf(u'<', attributeAt);
    const qsizetype close = summary.indexOf(u'>', attributeAt);
    if (open < 0 || close < 0)
        return false;
    static const QRegularExpression side(QStringLiteral("\\b(?:width|height)\\s*[=:]\\s*[\"']?\\s*(\\d+)"),
                                         QRegularExpression::CaseInsensitiveOption);
    auto sizes = side.globalMatch(QStringView(summary).mid(open, close - open));
    while (sizes.hasNext()) {
        if (sizes.next().captured(1).toInt() <= 1)
            return true;
    }
    return false;
}

} // namespace

QUrl FeedReaderSupport::urlFromText(const QString &text)
{
    const QUrl url(text.trimmed(), QUrl::TolerantMode);
    return url.isValid() ? url : QUrl();
}

QUrl FeedReaderSupport::urlFromText(const QString &text, const QUrl &base)
{
    const QUrl url = urlFromText(text);
    if (url.isEmpty() || !url.isRelative() || base.isEmpty() || base.isRelative())
        return url;
    return base.resolved(url);
}

bool FeedReaderSupport::isWebAddress(const QUrl &url)
{
    return url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
}

quint64 FeedReaderSupport::declaredSize(QStringView text)
{
    const QStringView digits = text.trimmed();
    quint64 size = 0;
    for (const QChar c : digits) {
        if (c < u'0' || c > u'9')
            break;
        const quint64 digit = quint64(c.unicode() - u'0');
        if (size > (std::numeric_limits<quint64>::max() - digit) / 10)
            return std::numeric_limits<quint64>::max();
        size = size * 10 + digit;
    }
    return size;
}

QString FeedReaderSupport::textWithTagsAsSpaces(const QString &text)
{
    // Every character gives at most one, so the result is written in place and cut to length.
    QString plain(text.size(), Qt::Uninitialized);
    QChar *out = plain.data();
    int depth = 0;
    for (const QChar c : text) {
        if (c == u'<') {
            ++depth;
        } else if (c == u'>') {
            if (depth == 1) {
                *out++ = u' ';
                depth = 0;
            } else {
                --depth;
            }
        } else if (depth == 0) {
            *out++ = c;
        }
    }
    plain.truncate(out - plain.constData());
    return plain;
}

QString FeedReaderSupport::summaryFromPlainText(const QString &plainText)
{
    if (plainText.size() < summaryThreshold)
        return plainText;
    const qsizetype stop = plainText.indexOf(u'.');
    if (stop < 0)
        return plainText.left(summaryThreshold) + QStringLiteral("...");
    const qsizetype start = skipWhiteSpace(plainText, 0);
    return plainText.mid(start, std::max<qsizetype>(stop - start, 0)) + QStringLiteral(".");
}

QUrl FeedReaderSupport::imageURLInSummary(const QString &fullSummary, const QUrl &feedLink)
{
    if (!fullSummary.contains(QStringLiteral("src=")))
        return {};
    const bool singleQuoted = fullSummary.contains(QStringLiteral("src='"));
    const QString marker = singleQuoted ? QStringLiteral("src='") : QStringLiteral("src=\"");
    const QChar closing = singleQuoted ? u'\'' : u'"';
    const qsizetype found = fullSummary.indexOf(marker);
    if (found < 0 || declaresTrackingPixel(fullSummary, found))
        return {};
    const qsizetype start = skipWhiteSpace(fullSummary, found + marker.size());
    qsizetype end = fullSummary.indexOf(closing, start);
    if (end < 0)
        end = fullSummary.size();
    QString candidate = fullSummary.mid(start, end - start);
    const bool isPicture = candidate.contains(QStringLiteral(".jpg")) ||
                           candidate.contains(QStringLiteral(".gif")) ||
                           candidate.contains(QStringLiteral(".png"));
    if (!isPicture)
        return {};
    if (!candidate.startsWith(QStringLiteral("http")))
        candidate = QStringLiteral("%1://%2%3").arg(feedLink.scheme(), feedLink.host(), candidate);
    return urlFromText(candidate);
}

FeedReaderSupport::MediaContent FeedReaderSupport::mediaContent(const QUrl &url, const QString &type,
                                                                const QString &medium,
                                                                const QString &fileSize)
{
    const auto is = [&type, &medium](QStringView kind) {
        return type.startsWith(kind, Qt::CaseInsensitive) || medium.startsWith(kind, Qt::CaseInsensitive);
    };
    MediaContent content;
    if (url.isEmpty())
        return content;
    if (is(u"audio") || is(u"video")) {
        content.enclosure = std::make_shared<Enclosure>();
        content.enclosure->setLink(url);
        content.enclosure->setMimeType(type);
        content.enclosure->setSize(declaredSize(fileSize));
    } else if (is(u"image")) {
        content.picture = url;
    }
    return content;
}

void FeedReaderSupport::findImageURLInSummary(const QString &fullSummary, const ArticlePtr &article,
                                              const QUrl &feedLink)
{
    const QUrl url = imageURLInSummary(fullSummary, feedLink);
    if (!url.isEmpty())
        article->setImageURL(url);
    if (!article->imageURL().isEmpty())
        ImagingService::sharedImagingService().addToQueue(article);
}

bool FeedReaderSupport::markKnownArticle(FeedLibrary &library, const FeedPtr &feed, const ArticlePtr &article)
{
    if (!library.feedContainsArticle(feed, article))
        return false;
    if (const ArticlePtr known = library.articleWithGuid(article->guid(), feed))
        known->setStillInFeed(true);
    return true;
}

void FeedReaderSupport::addNewArticle(FeedLibrary &library, const FeedPtr &feed, const ArticlePtr &article,
                                      ArticleList &newArticles)
{
    library.saveSummary(article->fullSummary(), article);
    findImageURLInSummary(article->fullSummary(), article, feed->link());
    article->setFullSummary(QStringLiteral(""));
    article->setStillInFeed(true);
    newArticles.append(article);
}

void FeedReaderSupport::insertNewArticles(const FeedPtr &feed, const ArticleList &newArticles)
{
    if (!newArticles.isEmpty()) {
        TreeNodeList children;
        children.reserve(newArticles.size() + feed->childCount());
        for (const ArticlePtr &article : newArticles)
            children.append(article);
        children.append(feed->children());
        feed->setChildren(children);
    }
    if (feed->publicationDate().isNull())
        feed->setPublicationDate(CalendarDate::now());
}

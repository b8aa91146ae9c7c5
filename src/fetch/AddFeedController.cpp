#include "fetch/AddFeedController.h"

#include "fetch/Downloader.h"
#include "fetch/FeedUpdater.h"
#include "fetch/TransferFailure.h"
#include "fetch/URLHandlerCommand.h"
#include "platform/CalendarDate.h"
#include "platform/NotificationCenter.h"
#include "reading/QBParser.h"
#include "reading/TextDecoder.h"

#include <QDateTime>
#include <libxml/HTMLparser.h>
#include <limits>

AddFeedController::AddFeedController(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater,
                                     NotificationCenter &notificationCenter, QObject *parent)
    : QObject(parent), m_feedLibrary(feedLibrary), m_feedUpdater(feedUpdater),
      m_notificationCenter(notificationCenter)
{
}

AddFeedController::~AddFeedController()
{
    cancelDownload();
}

QString AddFeedController::normalisedAddress(const QString &typed)
{
    QString address = typed;
    address.remove(u' ');
    if (address.startsWith(QStringLiteral("feed://")))
        address.remove(0, 7);
    if (address.startsWith(QStringLiteral("feed:")))
        address.remove(0, 5);
    // Only a bare word is a guess at a ".com" site; a typed host of its own ("localhost:8080",
    // "http://intranet/feed") is kept as it is.
    const bool bareWord = !address.contains(u'.') && !address.contains(u'/') && !address.contains(u':');
    if (!address.startsWith(QStringLiteral("http")))
        address.prepend(QStringLiteral("http://"));
    if (bareWord)
        address.append(QStringLiteral(".com"));
    return address;
}

void AddFeedController::setAddress(const QString &address)
{
    if (address == m_address)
        return;
    m_address = address;
    emit changed();
}

bool AddFeedController::textShouldBeginEditing()
{
    if (m_addressRed) {
        m_addressRed = false;
        emit changed();
    }
    return true;
}

// ---- adding

bool AddFeedController::doAddFeed()
{
    if (m_address.isEmpty()) {
        emit beepRequested();
        return false;
    }
    m_iconURL.clear();
    m_address = normalisedAddress(m_address);
    const QUrl url(m_address);
    if (!url.isValid() || url.host().isEmpty()) {
        emit changed();
        emit beepRequested();
        return false;
    }
    cancelDownload();
    m_discoveryHops = 0;
    m_addedFeed.reset();
    m_failureReason.clear();
    m_addressRed = false;
    m_addEnabled = false;
    m_addressEditable = false;
    m_spinning = true;
    m_state = Downloading;
    emit changed();
    return startDownload(url);
}

bool AddFeedController::startDownload(const QUrl &url)
{
    m_download = std::make_unique<Downloader>();
    m_downloadURL = url;
    const bool started = m_download->beginDownloadFromURL(
        url, QString(), QString(), this, QVariant::fromValue(std::make_shared<Feed>()),
        [this](Downloader *downloader) { downloadComplete(downloader); });
    if (!started) {
        m_download.reset();
        m_failureReason = TransferFailure::notAWebAddress();
        downloadFailed();
    }
    return started;
}

void AddFeedController::downloadComplete(Downloader *downloader)
{
    if (downloader != m_download.get())
        return;
    // The finished transfer stays readable until this call is over; a linked feed gets a Downloader
    // of its own.
    Downloader *finished = m_download.release();
    finished->deleteLater();
    if (finished->state() != Downloader::DownloadStateDone) {
        m_failureReason = finished->failureReason();
        downloadFailed();
        return;
    }
    const FeedPtr feed = finished->contextInfo().value<FeedPtr>();
    const QByteArray data = finished->receivedData();
    QBParser parser(m_feedLibrary);
    parser.setFeed(feed);
    parser.setEncoding(feed->encoding());
    parser.processData(data);
    feed->setFeed(m_downloadURL);
    m_addressEditable = true;

    // Undecodable bytes still leave the markup's ASCII readable for the page scan.
    const QString text = TextDecoder::decode(data, finished->encoding()).value_or(QString::fromLatin1(data));
    if (isFeed(*feed, text)) {
        accept(feed);
        return;
    }
    // Reading the document stored what items it had; a document that is no subscription keeps none.
    m_feedLibrary.deleteHistoryFor(feed, nullptr);
    // Relative links are relative to where the page really was, after any redirect.
    followLinkedFeed(text, finished->effectiveURL());
    m_spinning = false;
    emit changed();
}

void AddFeedController::downloadFailed()
{
    m_state = Failed;
    m_addEnabled = true;
    emit changed();
    emit beepRequested();
}

bool AddFeedController::isFeed(const Feed &feed, const QString &text)
{
    if (feed.childCount() < 1)
        return false;
    if (feed.title().isEmpty() && feed.link().isEmpty())
        return false;
    const qsizetype doctype = text.indexOf(QStringLiteral("<!DOCTYPE html"), 0, Qt::CaseInsensitive);
    return doctype < 0 || doctype >= text.size() - 1;
}

void AddFeedController::accept(const FeedPtr &feed)
{
    // It was fetched and read just now: neither its selection nor the timed check need fetch it again.
    feed->setState(Feed::Parsed);
    feed->setLastDownloaded(CalendarDate::now());
    feed->setLastSucceeded(QDateTime::currentDateTimeUtc());
    m_feedLibrary.add(feed, m_folder, 0);
    m_feedLibrary.setSelectedItems({feed});
    m_addedFeed = feed;
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"), QVariant::fromValue(feed));
    if (m_iconURL.isEmpty())
        m_feedUpdater.downloadIconForFeed(feed);
    else
        m_feedUpdater.downloadIconFromURL(m_iconURL, feed);
    close(1);
}

void AddFeedController::followLinkedFeed(const QString &page, const QUrl &pageURL)
{
    const QMap<QString, QUrl> properties = websitePropertiesFromHTML(page, pageURL);
    const QUrl linked = properties.value(QStringLiteral("atom"), properties.value(QStringLiteral("rss")));
    if (linked.isEmpty() || m_discoveryHops >= maximumDiscoveryHops) {
        reject();
        return;
    }
    ++m_discoveryHops;
    m_iconURL = properties.value(QStringLiteral("apple-touch-icon"));
    // A page may name its feed with the feed: scheme, which no transfer understands.
    const QUrl feedURL = linked.scheme() == QLatin1String("feed")
                             ? QUrl(URLHandlerCommand::webAddress(linked.toString()))
                             : linked;
    m_address = feedURL.toString();
    startDownload(feedURL);
}

void AddFeedController::reject()
{
    m_failureReason = TransferFailure::notAFeed();
    m_state = Rejected;
    m_addressRed = true;
    m_addEnabled = true;
}

void AddFeedController::doCancel()
{
    cancelDownload();
    close(0);
}

void AddFeedController::cancelDownload()
{
    if (!m_download)
        return;
    m_download->cancel();
    m_download.reset();
}

void AddFeedController::close(int result)
{
    m_iconURL.clear();
    m_address.clear();
    m_addressEditable = true;
    m_addressRed = false;
    m_addEnabled = true;
    m_spinning = false;
    m_discoveryHops = 0;
    m_state = result == 1 ? Accepted : Idle;
    emit changed();
    emit closed(result);
}

// ---- web pages

namespace {

struct LinkScan
{
    QUrl base;
    bool baseSeen = false;
    QMap<QString, QUrl> properties;
};

QString attribute(const xmlChar **attributes, const char *name)
{
    for (const xmlChar **at = attributes; at && at[0]; at += 2) {
        if (xmlStrcasecmp(at[0], reinterpret_cast<const xmlChar *>(name)) == 0)
            return at[1] ? QString::fromUtf8(reinterpret_cast<const char *>(at[1])).trimmed() : QString();
    }
    return {};
}

// Only addresses a transfer or the subscribe panel can use; "javascript:" and "data:" links are none.
QUrl usableAddress(const QUrl &base, const QString &href)
{
    const QUrl address = base.resolved(QUrl(href));
    const QString scheme = address.scheme().toLower();
    return scheme == u"http" || scheme == u"https" || scheme == u"feed" ? address : QUrl();
}

void startElement(void *context, const xmlChar *name, const xmlChar **attributes)
{
    auto *scan = static_cast<LinkScan *>(context);
    const auto *tag = reinterpret_cast<const char *>(name);
    if (qstricmp(tag, "base") == 0 && !scan->baseSeen) {
        const QString href = attribute(attributes, "href");
        if (!href.isEmpty()) {
            scan->base = scan->base.resolved(QUrl(href));
            scan->baseSeen = true;
        }
        return;
    }
    if (qstricmp(tag, "link") != 0)
        return;
    const QString href = attribute(attributes, "href");
    const QUrl address = href.isEmpty() ? QUrl() : usableAddress(scan->base, href);
    if (address.isEmpty())
        return;
    const QStringList keys =
        AddFeedController::keysForLink(attribute(attributes, "rel"), attribute(attributes, "type"));
    for (const QString &key : keys)
        scan->properties.insert(key, address);
}

void ignoreMessage(void *, const char *, ...) {}

} // namespace

QMap<QString, QUrl> AddFeedController::websitePropertiesFromHTML(const QString &html, const QUrl &withBaseURL)
{
    const QByteArray bytes = html.toUtf8();
    if (bytes.isEmpty() || bytes.size() > std::numeric_limits<int>::max())
        return {};
    LinkScan scan{withBaseURL, false, {}};
    htmlSAXHandler handler{};
    handler.startElement = startElement;
    handler.warning = ignoreMessage;
    handler.error = ignoreMessage;
    htmlParserCtxtPtr context =
        htmlCreatePushParserCtxt(&handler, &scan, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8);
    if (!context)
        return {};
    htmlCtxtUseOptions(context, HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                                    HTML_PARSE_NONET | HTML_PARSE_NOBLANKS);
    htmlParseChunk(context, bytes.constData(), int(bytes.size()), 1);
    htmlFreeParserCtxt(context);
    return scan.properties;
}

QStringList AddFeedController::keysForLink(const QString &rel, const QString &type)
{
    const QStringList relations = rel.toLower().split(u' ', Qt::SkipEmptyParts);
    QStringList keys;
    if (relations.contains(u"apple-touch-icon") || relations.contains(u"apple-touch-icon-precomposed"))
        keys << QStringLiteral("apple-touch-icon");
    if (relations.contains(u"icon"))
        keys << QStringLiteral("icon");
    if (!relations.contains(u"alternate"))
        return keys;
    keys << QStringLiteral("alternate");
    const QString kind = type.trimmed().toLower();
    if (kind == u"application/rss+xml")
        keys << QStringLiteral("rss");
    else if (kind == u"application/atom+xml")
        keys << QStringLiteral("atom");
    return keys;
}

#include "fetch/AddFeedController.h"

#include "fetch/Downloader.h"
#include "fetch/FeedUpdater.h"
#include "fetch/URLHandlerCommand.h"
#include "platform/CalendarDate.h"
#include "platform/NotificationCenter.h"
#include "reading/QBLiberalRSSParser.h"
#include "reading/QBParser.h"
#include "reading/TextDecoder.h"

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
    if (!address.startsWith(QStringLiteral("http")))
        address.prepend(QStringLiteral("http://"));
    if (!address.contains(u'.'))
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
    followLinkedFeed(text);
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

void AddFeedController::followLinkedFeed(const QString &page)
{
    const QMap<QString, QUrl> properties = websitePropertiesFromHTML(page, m_downloadURL);
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

QMap<QString, QUrl> AddFeedController::websitePropertiesFromHTML(const QString &html, const QUrl &withBaseURL)
{
    QMap<QString, QUrl> properties;
    const QString base = withBaseURL.toString();
    qsizetype position = 0;
    while (true) {
        const qsizetype start = html.indexOf(QStringLiteral("<link"), position, Qt::CaseInsensitive);
        if (start < 0)
            break;
        const qsizetype end = html.indexOf(u'>', start);
        if (end < 0)
            break;
        const QString linkTag = html.sliced(start, end - start + 1);
        position = end + 1;
        const QString href = QBLiberalRSSParser::tag(linkTag, QStringLiteral("href"));
        if (href.isEmpty())
            continue;
        const QUrl address(resolvedAddress(href, base));
        for (const QString &key : keysForLink(linkTag))
            properties.insert(key, address);
    }
    return properties;
}

QString AddFeedController::resolvedAddress(const QString &href, const QString &base)
{
    if (href.startsWith(u'/')) {
        const QString trimmed = base.endsWith(u'/') ? base.chopped(1) : base;
        return QStringLiteral("%1%2").arg(trimmed, href);
    }
    if (!href.startsWith(QStringLiteral("http")) && !href.startsWith(QStringLiteral("feed")))
        return QStringLiteral("%1/%2").arg(base, href);
    return href;
}

QStringList AddFeedController::keysForLink(const QString &linkTag)
{
    const QString rel = QBLiberalRSSParser::tag(linkTag, QStringLiteral("rel")).trimmed().toLower();
    if (rel == u"apple-touch-icon" || rel == u"apple-touch-icon-precomposed")
        return {QStringLiteral("apple-touch-icon")};
    if (rel == u"icon")
        return {QStringLiteral("icon")};
    if (rel != u"alternate")
        return {};
    const QString type = QBLiberalRSSParser::tag(linkTag, QStringLiteral("type")).trimmed().toLower();
    if (type == u"application/rss+xml")
        return {QStringLiteral("alternate"), QStringLiteral("rss")};
    if (type == u"application/atom+xml")
        return {QStringLiteral("alternate"), QStringLiteral("atom")};
    return {QStringLiteral("alternate")};
}

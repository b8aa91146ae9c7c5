#include "fetch/FeedUpdater.h"

#include "fetch/AddFeedController.h"
#include "fetch/DownloadItem.h"
#include "fetch/Downloader.h"
#include "fetch/FeedDocumentSniffer.h"
#include "fetch/FeedIconCandidates.h"
#include "fetch/QBDockBadge.h"
#include "fetch/TransferFailure.h"
#include "model/Article.h"
#include "model/Enclosure.h"
#include "platform/Defaults.h"
#include "platform/LocalizedStrings.h"
#include "platform/NotificationCenter.h"
#include "platform/QBDockTile.h"
#include "platform/QBUserAlert.h"
#include "platform/QBUserNotifier.h"
#include "reading/QBParser.h"
#include "reading/TextDecoder.h"

#include <QFileInfo>
#include <QSet>
#include <algorithm>
#include <cstdlib>

namespace {

FeedUpdater *sharedInstance = nullptr;

FeedPtr feedInContext(const QVariant &context)
{
    if (context.metaType() == QMetaType::fromType<FeedPtr>())
        return context.value<FeedPtr>();
    if (context.metaType() == QMetaType::fromType<TreeNodePtr>())
        return std::dynamic_pointer_cast<Feed>(context.value<TreeNodePtr>());
    return {};
}

// An icon search cut short by the end of the run is taken up again by the next one.
void forgetIconSearch(const QVariant &context)
{
    const QVariantMap map = context.toMap();
    if (map.value(DownloadTypeKey).toInt() != Downloader::DownloadTypeIcon)
        return;
    if (const FeedPtr feed = map.value(DownloadFeedKey).value<FeedPtr>())
        feed->setIconChecked(QDateTime());
}

} // namespace

FeedUpdater &FeedUpdater::sharedFeedUpdater()
{
    if (!sharedInstance)
        sharedInstance = new FeedUpdater(FeedLibrary::feedLibrary(), Defaults::standard());
    return *sharedInstance;
}

FeedUpdater *FeedUpdater::existingSharedFeedUpdater()
{
    return sharedInstance;
}

FeedUpdater::FeedUpdater(FeedLibrary &library, Defaults &defaults, QObject *parent)
    : QObject(parent), m_notificationCenter(NotificationCenter::defaultCenter()), m_feedLibrary(library),
      m_defaults(defaults)
{
    // The due check runs on the main thread too: it then never races the processor, the completions
    // or the windows over the queue, the counters and the feeds' fields.
    m_scheduledUpdateTimer.setInterval(2000);
    connect(&m_scheduledUpdateTimer, &QTimer::timeout, this, &FeedUpdater::checkForDueFeeds);
    m_scheduledUpdateTimer.start();
    m_downloadProcessorTimer.setInterval(500);
    connect(&m_downloadProcessorTimer, &QTimer::timeout, this, &FeedUpdater::processQueuedDownloads);
    m_downloadProcessorTimer.start();
}

FeedUpdater::~FeedUpdater()
{
    for (auto &[raw, downloader] : m_runningDownloads) {
        downloader->cancel();
        forgetIconSearch(downloader->contextInfo());
    }
    for (const auto &item : std::as_const(m_lanes[IconLane].queue))
        forgetIconSearch(item->representedObject());
    if (sharedInstance == this)
        sharedInstance = nullptr;
}

QList<std::shared_ptr<DownloadItem>> FeedUpdater::queuedDownloads() const
{
    QList<std::shared_ptr<DownloadItem>> all;
    for (const LaneQueue &lane : m_lanes)
        all += lane.queue;
    return all;
}

int FeedUpdater::downloadsInProgress() const
{
    int running = 0;
    for (const LaneQueue &lane : m_lanes)
        running += lane.running;
    return running;
}

FeedUpdater::Lane FeedUpdater::laneFor(const QVariant &context)
{
    if (feedInContext(context))
        return FeedLane;
    return context.toMap().value(DownloadTypeKey).toInt() == Downloader::DownloadTypeEnclosure ? EnclosureLane
                                                                                               : IconLane;
}

int FeedUpdater::slotsFor(Lane lane) const
{
    switch (lane) {
    case FeedLane:
        return m_defaults.integer(QStringLiteral("downloadConcurrent"));
    case IconLane:
        return iconSlots;
    case EnclosureLane:
        return enclosureSlots;
    }
    return 0;
}

// ---- queueing

void FeedUpdater::requestFeedDownload(const FeedPtr &feed)
{
    auto item = std::make_shared<DownloadItem>();
    item->setTitle(feed->title());
    item->setDownloadURL(feed->feed());
    item->setRepresentedObject(QVariant::fromValue(feed));
    m_lanes[FeedLane].queue.append(item);
    ++m_pendingFeeds[feed.get()];
    ++m_totalDownloads;
}

void FeedUpdater::requestDownload(const QUrl &url, const QString &toDestination,
                                  const QVariantMap &representedObject)
{
    auto item = std::make_shared<DownloadItem>();
    item->setTitle(QFileInfo(url.toString()).fileName());
    item->setDownloadURL(url);
    item->setDestination(toDestination);
    item->setRepresentedObject(representedObject);
    m_lanes[laneFor(representedObject)].queue.append(item);
}

void FeedUpdater::downloadIconForFeed(const FeedPtr &feed)
{
    feed->setIconChecked(QDateTime::currentDateTimeUtc());
    // A feed without a web address of its own or of its site has nowhere to ask.
    const QUrl first = FeedIconCandidates::url(*feed, FeedIconCandidates::PrecomposedTouchIcon);
    if (!first.isEmpty())
        queueIcon(first, feed);
}

void FeedUpdater::downloadIconFromURL(const QUrl &url, const FeedPtr &forFeed)
{
    if (url.isEmpty())
        return;
    forFeed->setIconChecked(QDateTime::currentDateTimeUtc());
    queueIcon(url, forFeed);
}

void FeedUpdater::queueIcon(const QUrl &url, const FeedPtr &feed)
{
    requestDownload(url, FeedLibrary::iconPath(),
                    FeedIconCandidates::context(feed, FeedIconCandidates::PrecomposedTouchIcon));
}

// ---- the timers

void FeedUpdater::checkForDueFeeds()
{
    if (m_pauseScheduledUpdates)
        return;
    const FeedList feeds = m_feedLibrary.allFeeds();
    const CalendarDate now = CalendarDate::now();
    const qint64 defaultInterval = qint64(m_defaults.integer(QStringLiteral("generalRefreshInterval"))) * 60;
    for (const FeedPtr &feed : feeds) {
        if (m_pauseScheduledUpdates)
            return;
        if (isDue(*feed, now.moment(), defaultInterval)) {
            feed->setLastDownloaded(now);
            feed->setState(Feed::Idle);
            requestFeedDownload(feed);
        }
    }
}

bool FeedUpdater::isDue(const Feed &feed, const QDateTime &now, qint64 defaultInterval) const
{
    // Waiting in the queue already, downloading, or asked by its server to wait: queued again, a feed
    // stuck behind a long queue or a slow server would be fetched over and over.
    if (m_pendingFeeds.value(&feed) > 0 || (feed.retryAfter().isValid() && feed.retryAfter() > now))
        return false;
    const qint64 interval = feed.updateInterval() >= 0 ? qint64(feed.updateInterval()) * 60 : defaultInterval;
    const CalendarDate last = feed.lastDownloaded();
    // An unset date counts as downloaded just now, so such a feed is never due.
    const qint64 age = last.isNull() ? 0 : std::llabs(last.moment().secsTo(now));
    return age > interval;
}

void FeedUpdater::processQueuedDownloads()
{
    for (const Lane lane : {FeedLane, IconLane, EnclosureLane})
        startNext(lane);
}

// A feed starts at most once a run; files fill every free slot of their lane.
void FeedUpdater::startNext(Lane lane)
{
    LaneQueue &queue = m_lanes[lane];
    const int limit = slotsFor(lane);
    do {
        if (queue.queue.isEmpty() || queue.running >= limit)
            return;
        const std::shared_ptr<DownloadItem> item = queue.queue.takeFirst();
        ++queue.running;
        startDownload(item);
        if (lane == FeedLane)
            postActiveTask(m_totalDownloads, m_completedDownloads, QStringLiteral("UpdateFeedsTask"));
    } while (lane != FeedLane);
}

void FeedUpdater::startDownload(const std::shared_ptr<DownloadItem> &item)
{
    auto downloader = std::make_unique<Downloader>();
    Downloader *raw = downloader.get();
    m_runningDownloads.emplace(raw, std::move(downloader));
    const auto completion = [this](Downloader *finished) { downloadComplete(finished); };
    const QVariant context = item->representedObject();
    const FeedPtr feed = feedInContext(context);
    // The icon search's home page is read, not saved.
    const bool page = feed || context.toMap().value(IconTypeKey).toInt() == FeedIconCandidates::HomePage;
    if (feed) {
        QMap<QString, QString> validators;
        validators.insert(QStringLiteral("If-None-Match"), feed->entityTag());
        validators.insert(QStringLiteral("If-Modified-Since"), feed->lastModified());
        raw->setHttpHeaders(validators);
        // A refresh, asked for or timed, restarts the feed's interval.
        feed->setLastDownloaded(CalendarDate::now());
    }
    const bool started =
        page ? raw->beginDownloadFromURL(item->downloadURL(), item->username(), item->password(), this,
                                         context, completion)
             : raw->beginDownloadFromURL(item->downloadURL(), item->destination(), item->username(),
                                         item->password(), this, context, completion);
    if (feed) {
        feed->setState(Feed::Downloading);
        m_notificationCenter.post(QStringLiteral("FeedDownloadBeginingNotification"),
                                  QVariant::fromValue(feed));
    }
    // An address no transfer can be made of ends as a failed download, on a later pass like any other
    // completion; otherwise it would hold its running slot for good.
    if (!started) {
        // Left active, as a transfer that never finished is.
        raw->setState(Downloader::DownloadStateActive);
        QMetaObject::invokeMethod(
            this, [this, raw] { downloadComplete(raw); }, Qt::QueuedConnection);
    }
}

// ---- completions

std::unique_ptr<Downloader> FeedUpdater::takeDownloader(Downloader *downloader)
{
    const auto found = m_runningDownloads.find(downloader);
    if (found == m_runningDownloads.end())
        return {};
    std::unique_ptr<Downloader> owned = std::move(found->second);
    m_runningDownloads.erase(found);
    return owned;
}

void FeedUpdater::cancelDownload(Downloader *downloader)
{
    const std::unique_ptr<Downloader> owned = takeDownloader(downloader);
    if (!owned)
        return;
    owned->cancel();
    --m_lanes[laneFor(owned->contextInfo())].running;
    forgetFeed(feedInContext(owned->contextInfo()));
}

void FeedUpdater::forgetFeed(const FeedPtr &feed)
{
    if (feed && --m_pendingFeeds[feed.get()] <= 0)
        m_pendingFeeds.remove(feed.get());
}

void FeedUpdater::downloadComplete(Downloader *downloader)
{
    // Held until this call returns: the handlers below still read it.
    const std::unique_ptr<Downloader> owned = takeDownloader(downloader);
    const QVariant context = downloader->contextInfo();
    const Lane lane = laneFor(context);
    --m_lanes[lane].running;
    if (const FeedPtr feed = feedInContext(context)) {
        ++m_completedDownloads;
        forgetFeed(feed);
        feedDownloadComplete(downloader, feed);
        endBatchIfDone();
    } else if (context.toMap().value(IconTypeKey).toInt() == FeedIconCandidates::HomePage) {
        iconPageComplete(downloader);
    } else if (downloader->state() == Downloader::DownloadStateDone) {
        fileDownloadComplete(downloader);
    } else if (context.toMap().value(DownloadTypeKey).toInt() == Downloader::DownloadTypeIcon) {
        iconCandidateFailed(context.toMap());
    }
}

// A batch ends when no refresh is left waiting or running, whether its last one failed or not.
void FeedUpdater::endBatchIfDone()
{
    if (!isIdle(FeedLane))
        return;
    m_completedDownloads = 0;
    m_totalDownloads = 0;
    postActiveTask(100, 100, QStringLiteral("DownloadsCompletedTask"));
    if (m_newArticlesDownloaded) {
        m_newArticlesDownloaded = false;
        alertNewArticles();
    }
}

void FeedUpdater::feedDownloadComplete(Downloader *downloader, const FeedPtr &feed)
{
    const int state = downloader->state();
    if (state == Downloader::DownloadStateNotModified) {
        // Nothing new: the articles, their states and the validators stay as they are.
        feed->setState(Feed::Parsed);
        feedSucceeded(feed);
        return;
    }
    if (state != Downloader::DownloadStateDone) {
        postponeIfAsked(*downloader, feed);
        feedFailed(feed, downloader->failureReason().isEmpty() ? TransferFailure::notAWebAddress()
                                                               : downloader->failureReason());
        return;
    }
    const QByteArray data = downloader->receivedData();
    if (!FeedDocumentSniffer::looksLikeFeed(data)) {
        feedFailed(feed, TransferFailure::notAFeed());
        return;
    }
    m_feedLibrary.applyArticleState(Article::Unread, feed, true);
    feed->setState(Feed::Parsed);

    QBParser parser(m_feedLibrary);
    parser.setFeed(feed);
    parser.setEncoding(feed->encoding());
    parser.processData(data);

    keepValidators(*downloader, feed);
    if (feed->hasNewArticles())
        m_newArticlesDownloaded = true;
    expireOldArticlesForFeed(feed);
    feed->updateUnreadCount();
    feedSucceeded(feed);
}

void FeedUpdater::feedFailed(const FeedPtr &feed, const QString &reason)
{
    feed->setState(Feed::Failed);
    feed->setFailureReason(reason);
    m_notificationCenter.post(QStringLiteral("feedDownloaded"), QVariant::fromValue(feed));
}

void FeedUpdater::feedSucceeded(const FeedPtr &feed)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    feed->setFailureReason(QString());
    feed->setLastSucceeded(now);
    feed->setRetryAfter(QDateTime());
    m_notificationCenter.post(QStringLiteral("feedDownloaded"), QVariant::fromValue(feed));
    // New libraries' feeds get their icons this way, and every icon is looked for again now and then.
    if (!feed->iconChecked().isValid() || feed->iconChecked().daysTo(now) >= iconRefreshDays)
        downloadIconForFeed(feed);
}

// "Retry-After" gives seconds or a date; either way the wait is capped, so that no server can silence
// a feed for good.
void FeedUpdater::postponeIfAsked(const Downloader &downloader, const FeedPtr &feed)
{
    const int status = downloader.statusCode();
    const QString asked = downloader.responseHeader(QStringLiteral("Retry-After")).trimmed();
    if ((status != 429 && status != 503) || asked.isEmpty())
        return;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    bool isNumber = false;
    const qint64 seconds = asked.toLongLong(&isNumber);
    const QDateTime until = isNumber ? now.addSecs(qMax<qint64>(0, qMin(seconds, longestRetryAfterSeconds)))
                                     : QDateTime::fromString(asked, Qt::RFC2822Date);
    if (until.isValid())
        feed->setRetryAfter(qMin(until, now.addSecs(longestRetryAfterSeconds)));
}

// Sent back as request headers, so only short single-line values are kept.
void FeedUpdater::keepValidators(const Downloader &downloader, const FeedPtr &feed)
{
    const auto validator = [&](const QString &name) {
        const QString value = downloader.responseHeader(name);
        const bool plain = value.size() <= 512 && std::all_of(value.cbegin(), value.cend(),
                                                              [](QChar c) { return c.unicode() >= 0x20; });
        return plain ? value : QString();
    };
    feed->setEntityTag(validator(QStringLiteral("ETag")));
    feed->setLastModified(validator(QStringLiteral("Last-Modified")));
}

// A failed icon candidate leads to the next; after the last, the feed has no icon of its own.
void FeedUpdater::iconCandidateFailed(const QVariantMap &context)
{
    const FeedPtr feed = context.value(DownloadFeedKey).value<FeedPtr>();
    if (!feed)
        return;
    const int next = context.value(IconTypeKey).toInt() + 1;
    const QUrl address = FeedIconCandidates::url(*feed, next);
    if (address.isEmpty())
        feed->setCustomIconAvailable(false);
    else
        requestDownload(address, FeedLibrary::iconPath(), FeedIconCandidates::context(feed, next));
}

// The last try of the icon search: the icon the site's home page names.
void FeedUpdater::iconPageComplete(Downloader *page)
{
    const FeedPtr feed = feedInContext(page->contextInfo().toMap().value(DownloadFeedKey));
    if (!feed)
        return;
    if (page->state() == Downloader::DownloadStateDone) {
        const QByteArray data = page->receivedData();
        const QString html = TextDecoder::decode(data, page->encoding()).value_or(QString::fromLatin1(data));
        const QMap<QString, QUrl> properties =
            AddFeedController::websitePropertiesFromHTML(html, page->effectiveURL());
        const QUrl icon =
            properties.value(QStringLiteral("icon"), properties.value(QStringLiteral("apple-touch-icon")));
        if (icon.isValid()) {
            requestDownload(icon, FeedLibrary::iconPath(),
                            FeedIconCandidates::context(feed, FeedIconCandidates::PageIcon));
            return;
        }
    }
    feed->setCustomIconAvailable(false);
}

void FeedUpdater::alertNewArticles()
{
    if (m_userAlert && m_defaults.boolean(QStringLiteral("generalPlaySound")) &&
        !m_userAlert->playSound(m_defaults.string(QStringLiteral("generalAlertSound"))))
        m_userAlert->beep();
    if (m_userAlert && m_defaults.boolean(QStringLiteral("generalBounceDockIcon")))
        m_userAlert->requestAttention();
    if (m_userNotifier) {
        const int unread = m_feedLibrary.totalUnreadArticleCount();
        const QString text = unread == 1 ? LocalizedStrings::text(QStringLiteral("OneUnreadArticle"))
                                         : LocalizedStrings::text(QStringLiteral("UnreadArticleCount"))
                                               .replace(QStringLiteral("%d"), QString::number(unread));
        m_userNotifier->deliver(LocalizedStrings::text(QStringLiteral("NewArticlesDownloaded")), text);
    }
    updateDockIcon();
}

void FeedUpdater::fileDownloadComplete(Downloader *downloader)
{
    const QVariantMap context = downloader->contextInfo().toMap();
    if (!context.contains(DownloadEnclosureKey))
        return;
    // Kept with the enclosure under the name the file really got, for the windows and the next run.
    if (const auto enclosure = context.value(DownloadEnclosureKey).value<std::shared_ptr<Enclosure>>()) {
        enclosure->setLocalFilePath(
            QStringLiteral("%1/%2").arg(downloader->destination(), downloader->fileName()));
        m_feedLibrary.saveEnclosure(enclosure);
    }
    if (m_userAlert && m_defaults.boolean(QStringLiteral("downloadPlaySound")))
        m_userAlert->playSound(m_defaults.string(QStringLiteral("downloadAlertSound")));
    if (m_userNotifier) {
        const auto enclosure = context.value(DownloadEnclosureKey).value<std::shared_ptr<Enclosure>>();
        m_userNotifier->deliver(LocalizedStrings::text(QStringLiteral("FileDownloadComplete")),
                                enclosure ? enclosure->title() : QString());
    }
}

void FeedUpdater::postActiveTask(double maximum, double value, const QString &nameKey)
{
    m_notificationCenter.post(QStringLiteral("ActiveTaskNotification"),
                              QVariant::fromValue(static_cast<QObject *>(this)),
                              {{QStringLiteral("ActiveTaskMaxValueKey"), maximum},
                               {QStringLiteral("ActiveTaskValueKey"), value},
                               {QStringLiteral("ActiveTaskNameKey"), LocalizedStrings::text(nameKey)}});
}

// ---- expiry

void FeedUpdater::expireOldArticlesForFeed(const FeedPtr &feed)
{
    const int retention = feed->retentionPeriod() != -1
                              ? feed->retentionPeriod()
                              : m_defaults.integer(QStringLiteral("generalExpireAfter"));
    const TreeNodeList articles = feed->children();
    if (articles.isEmpty())
        return;
    const auto first = std::dynamic_pointer_cast<Article>(articles.first());
    const CalendarDate reference = first ? first->legacyPublicationDate() : CalendarDate();
    if (reference.isNull())
        return;
    const QDateTime cutoff = reference.localMoment().addDays(-retention);

    QSet<const TreeNode *> expired;
    for (const TreeNodePtr &node : articles) {
        const auto article = std::dynamic_pointer_cast<Article>(node);
        if (!article || article->stillInFeed())
            continue;
        const CalendarDate published = article->legacyPublicationDate();
        if (published.isNull() || published.moment() > cutoff)
            continue;
        m_feedLibrary.deleteHistoryFor(article, feed);
        expired.insert(article.get());
    }
    // A feed whose every article went would be left empty; its list stays as it is.
    if (expired.size() >= articles.size())
        return;
    m_feedLibrary.setLibraryDirty(true);
    if (expired.isEmpty())
        return;
    TreeNodeList kept;
    kept.reserve(articles.size() - expired.size());
    for (const TreeNodePtr &node : articles)
        if (!expired.contains(node.get()))
            kept.append(node);
    feed->setChildren(kept);
}

// ---- the dock badge

void FeedUpdater::updateDockIcon()
{
    if (!m_defaults.boolean(QStringLiteral("displayUnreadInDockIcon")))
        return;
    const int count = m_feedLibrary.totalUnreadArticleCount();
    if (count == 0) {
        resetDockIcon();
        return;
    }
    if (m_dockTile)
        m_dockTile->setIcon(QBDockBadge::image(m_dockTile->dockImage(), count));
}

void FeedUpdater::resetDockIcon()
{
    if (m_dockTile)
        m_dockTile->resetIcon();
}

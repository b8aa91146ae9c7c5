#include "fetch/FeedUpdater.h"

#include "fetch/DownloadItem.h"
#include "fetch/Downloader.h"
#include "fetch/QBDockBadge.h"
#include "model/Article.h"
#include "model/Enclosure.h"
#include "platform/Defaults.h"
#include "platform/LocalizedStrings.h"
#include "platform/NotificationCenter.h"
#include "platform/QBDockTile.h"
#include "platform/QBUserAlert.h"
#include "platform/QBUserNotifier.h"
#include "reading/QBParser.h"

#include <QFileInfo>
#include <QSet>
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

} // namespace

FeedUpdater &FeedUpdater::sharedFeedUpdater()
{
    if (!sharedInstance) {
        sharedInstance = new FeedUpdater(FeedLibrary::feedLibrary(), Defaults::standard());
        Downloader::setIconRequester(
            [](const QUrl &url, const QString &destination, const QVariantMap &context) {
                sharedFeedUpdater().requestDownload(url, destination, context);
            });
    }
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
    for (auto &[raw, downloader] : m_runningDownloads)
        downloader->cancel();
    if (sharedInstance == this)
        sharedInstance = nullptr;
}

// ---- queueing

void FeedUpdater::requestFeedDownload(const FeedPtr &feed)
{
    auto item = std::make_shared<DownloadItem>();
    item->setTitle(feed->title());
    item->setDownloadURL(feed->feed());
    item->setRepresentedObject(QVariant::fromValue(feed));
    m_queuedDownloads.append(item);
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
    m_queuedDownloads.append(item);
    ++m_totalDownloads;
}

void FeedUpdater::downloadIconForFeed(const FeedPtr &feed)
{
    const QString host = feed->link().host();
    // A feed whose site address is missing or unreadable has no site to ask.
    if (host.isEmpty())
        return;
    queueIcon(QUrl(QStringLiteral("http://%1/apple-touch-icon-precomposed.png").arg(host)), feed);
}

void FeedUpdater::downloadIconFromURL(const QUrl &url, const FeedPtr &forFeed)
{
    if (!url.isEmpty())
        queueIcon(url, forFeed);
}

void FeedUpdater::queueIcon(const QUrl &url, const FeedPtr &feed)
{
    requestDownload(url, FeedLibrary::iconPath(),
                    {{DownloadTypeKey, Downloader::DownloadTypeIcon},
                     {DownloadFeedKey, QVariant::fromValue(feed)},
                     {IconTypeKey, 1}});
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
        const qint64 interval =
            feed->updateInterval() >= 0 ? qint64(feed->updateInterval()) * 60 : defaultInterval;
        const CalendarDate last = feed->lastDownloaded();
        // An unset date counts as downloaded just now, so such a feed is never due.
        const qint64 age = last.isNull() ? 0 : std::llabs(last.moment().secsTo(now.moment()));
        if (age > interval) {
            feed->setLastDownloaded(now);
            feed->setState(Feed::Idle);
            requestFeedDownload(feed);
        }
    }
}

void FeedUpdater::processQueuedDownloads()
{
    if (m_queuedDownloads.isEmpty() ||
        m_downloadsInProgress >= m_defaults.integer(QStringLiteral("downloadConcurrent")))
        return;
    const std::shared_ptr<DownloadItem> item = m_queuedDownloads.first();
    startDownload(item);
    ++m_downloadsInProgress;
    m_queuedDownloads.removeFirst();
    postActiveTask(m_totalDownloads, m_completedDownloads, QStringLiteral("UpdateFeedsTask"));
}

void FeedUpdater::startDownload(const std::shared_ptr<DownloadItem> &item)
{
    auto downloader = std::make_unique<Downloader>();
    Downloader *raw = downloader.get();
    m_runningDownloads.emplace(raw, std::move(downloader));
    const auto completion = [this](Downloader *finished) { downloadComplete(finished); };
    const QVariant context = item->representedObject();
    const FeedPtr feed = feedInContext(context);
    const bool started =
        feed ? raw->beginDownloadFromURL(item->downloadURL(), item->username(), item->password(), this,
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
    --m_downloadsInProgress;
}

void FeedUpdater::downloadComplete(Downloader *downloader)
{
    // Held until this call returns: the handlers below still read it.
    const std::unique_ptr<Downloader> owned = takeDownloader(downloader);
    ++m_completedDownloads;
    --m_downloadsInProgress;

    if (downloader->state() != Downloader::DownloadStateDone) {
        if (const FeedPtr feed = feedInContext(downloader->contextInfo())) {
            feed->setState(Feed::Failed);
            m_notificationCenter.post(QStringLiteral("feedDownloaded"), QVariant::fromValue(feed));
        }
        return;
    }
    if (m_downloadsInProgress <= 0 && m_queuedDownloads.isEmpty()) {
        m_completedDownloads = 0;
        m_totalDownloads = 0;
        postActiveTask(100, 100, QStringLiteral("DownloadsCompletedTask"));
    }
    if (feedInContext(downloader->contextInfo()))
        feedDownloadComplete(downloader);
    else
        fileDownloadComplete(downloader);
}

void FeedUpdater::feedDownloadComplete(Downloader *downloader)
{
    const FeedPtr feed = feedInContext(downloader->contextInfo());
    m_feedLibrary.applyArticleState(Article::Unread, feed, true);
    feed->setState(Feed::Parsed);

    QBParser parser(m_feedLibrary);
    parser.setFeed(feed);
    parser.setEncoding(feed->encoding());
    parser.processData(downloader->receivedData());

    if (feed->hasNewArticles())
        m_newArticlesDownloaded = true;
    expireOldArticlesForFeed(feed);
    feed->updateUnreadCount();
    m_notificationCenter.post(QStringLiteral("feedDownloaded"), QVariant::fromValue(feed));

    if (m_downloadsInProgress <= 0 && m_queuedDownloads.isEmpty() && m_newArticlesDownloaded) {
        m_newArticlesDownloaded = false;
        alertNewArticles();
    }
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

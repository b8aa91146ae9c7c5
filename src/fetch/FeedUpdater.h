// Decides when feeds are refreshed and runs every queued download of the program: feeds, icons,
// enclosures and feed sources, each kind in a lane of its own so that a slow podcast or a site without
// icons never holds up a refresh. The queues, the counters and the feeds' download fields are touched on
// the main thread only; it never blocks that thread on a transfer.
#pragma once

#include "model/FeedLibrary.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QVariantMap>
#include <array>
#include <memory>
#include <unordered_map>

class Defaults;
class DownloadItem;
class Downloader;
class NotificationCenter;
class QBDockTile;
class QBUserAlert;
class QBUserNotifier;

class FeedUpdater : public QObject
{
    Q_OBJECT

public:
    // Feed refreshes run "downloadConcurrent" at a time, one more at most every half second; icons (and
    // the other small files: icon pages, feed sources) and enclosures have slots of their own.
    enum Lane
    {
        FeedLane,
        IconLane,
        EnclosureLane
    };
    static constexpr int iconSlots = 3;
    static constexpr int enclosureSlots = 2;
    // An icon is looked for again after this many days.
    static constexpr int iconRefreshDays = 30;
    // The longest wait a server's Retry-After is granted.
    static constexpr qint64 longestRetryAfterSeconds = 24 * 3600;

    // Created with its timers running on the first call, over the program's library and settings.
    static FeedUpdater &sharedFeedUpdater();
    // The shared updater when something already created it, else none; asking never creates one.
    static FeedUpdater *existingSharedFeedUpdater();

    // An updater of its own over the given library and settings, with its timers running.
    FeedUpdater(FeedLibrary &library, Defaults &defaults, QObject *parent = nullptr);
    ~FeedUpdater() override;

    // Only feed refreshes make up a batch (the progress and the new-articles alert); files do not.
    void requestFeedDownload(const FeedPtr &feed);
    void requestDownload(const QUrl &url, const QString &toDestination, const QVariantMap &representedObject);

    bool pauseScheduledUpdates() const { return m_pauseScheduledUpdates; }
    void setPauseScheduledUpdates(bool pause) { m_pauseScheduledUpdates = pause; }

    void downloadIconForFeed(const FeedPtr &feed);
    void downloadIconFromURL(const QUrl &url, const FeedPtr &forFeed);

    void updateDockIcon();
    void resetDockIcon();

    // The completion of every download this updater starts.
    void downloadComplete(Downloader *downloader);
    // A transfer the user stopped never completes; this stops it and frees its running slot.
    void cancelDownload(Downloader *downloader);

    // What the two timers run: the due check every 2.0 seconds, the processor every 0.5 seconds.
    void checkForDueFeeds();
    void processQueuedDownloads();

    // Removes articles old enough to go and no longer in the feed's document.
    void expireOldArticlesForFeed(const FeedPtr &feed);

    // Every lane's queue, feeds first.
    QList<std::shared_ptr<DownloadItem>> queuedDownloads() const;
    // Transfers started and not yet completed, in all lanes or in one.
    int downloadsInProgress() const;
    int downloadsInProgress(Lane lane) const { return m_lanes[lane].running; }
    // Nothing queued or running in the lane.
    bool isIdle(Lane lane) const { return m_lanes[lane].queue.isEmpty() && m_lanes[lane].running <= 0; }
    int completedDownloads() const { return m_completedDownloads; }
    int totalDownloads() const { return m_totalDownloads; }
    bool newArticlesDownloaded() const { return m_newArticlesDownloaded; }

    // The desktop's services; without them alerts, notifications and the badge do nothing.
    void setUserAlert(QBUserAlert *alert) { m_userAlert = alert; }
    void setUserNotifier(QBUserNotifier *notifier) { m_userNotifier = notifier; }
    void setDockTile(QBDockTile *tile) { m_dockTile = tile; }

private:
    struct LaneQueue
    {
        QList<std::shared_ptr<DownloadItem>> queue;
        int running = 0;
    };

    static Lane laneFor(const QVariant &context);
    int slotsFor(Lane lane) const;
    bool isDue(const Feed &feed, const QDateTime &now, qint64 defaultInterval) const;
    void startNext(Lane lane);
    void startDownload(const std::shared_ptr<DownloadItem> &item);
    void feedDownloadComplete(Downloader *downloader, const FeedPtr &feed);
    void feedFailed(const FeedPtr &feed, const QString &reason);
    void feedSucceeded(const FeedPtr &feed);
    void postponeIfAsked(const Downloader &downloader, const FeedPtr &feed);
    void keepValidators(const Downloader &downloader, const FeedPtr &feed);
    void iconCandidateFailed(const QVariantMap &context);
    void iconPageComplete(Downloader *page);
    void fileDownloadComplete(Downloader *downloader);
    void endBatchIfDone();
    void alertNewArticles();
    void postActiveTask(double maximum, double value, const QString &nameKey);
    void queueIcon(const QUrl &url, const FeedPtr &feed);
    void forgetFeed(const FeedPtr &feed);
    std::unique_ptr<Downloader> takeDownloader(Downloader *downloader);

    NotificationCenter &m_notificationCenter;
    FeedLibrary &m_feedLibrary;
    Defaults &m_defaults;
    std::array<LaneQueue, 3> m_lanes;
    std::unordered_map<Downloader *, std::unique_ptr<Downloader>> m_runningDownloads;
    // How often each feed waits in the queue or downloads; the due check leaves those alone.
    QHash<const Feed *, int> m_pendingFeeds;
    QTimer m_scheduledUpdateTimer;
    QTimer m_downloadProcessorTimer;
    int m_completedDownloads = 0;
    int m_totalDownloads = 0;
    bool m_newArticlesDownloaded = false;
    bool m_pauseScheduledUpdates = false;
    QBUserAlert *m_userAlert = nullptr;
    QBUserNotifier *m_userNotifier = nullptr;
    QBDockTile *m_dockTile = nullptr;
};

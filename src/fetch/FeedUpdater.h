// Decides when feeds are refreshed and runs every queued download of the program: feeds, icons,
// enclosures and feed sources. The queue, its counters and the feeds' download fields are touched
// on the main thread only; it never blocks that thread on a transfer.
#pragma once

#include "model/FeedLibrary.h"

#include <QList>
#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QVariantMap>
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
    // Created with its timers running on the first call, over the program's library and settings.
    static FeedUpdater &sharedFeedUpdater();
    // The shared updater when something already created it, else none; asking never creates one.
    static FeedUpdater *existingSharedFeedUpdater();

    // An updater of its own over the given library and settings, with its timers running.
    FeedUpdater(FeedLibrary &library, Defaults &defaults, QObject *parent = nullptr);
    ~FeedUpdater() override;

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

    QList<std::shared_ptr<DownloadItem>> queuedDownloads() const { return m_queuedDownloads; }
    int downloadsInProgress() const { return m_downloadsInProgress; }
    int completedDownloads() const { return m_completedDownloads; }
    int totalDownloads() const { return m_totalDownloads; }
    bool newArticlesDownloaded() const { return m_newArticlesDownloaded; }

    // The desktop's services; without them alerts, notifications and the badge do nothing.
    void setUserAlert(QBUserAlert *alert) { m_userAlert = alert; }
    void setUserNotifier(QBUserNotifier *notifier) { m_userNotifier = notifier; }
    void setDockTile(QBDockTile *tile) { m_dockTile = tile; }

private:
    void startDownload(const std::shared_ptr<DownloadItem> &item);
    void feedDownloadComplete(Downloader *downloader);
    void fileDownloadComplete(Downloader *downloader);
    void alertNewArticles();
    void postActiveTask(double maximum, double value, const QString &nameKey);
    void queueIcon(const QUrl &url, const FeedPtr &feed);
    std::unique_ptr<Downloader> takeDownloader(Downloader *downloader);

    NotificationCenter &m_notificationCenter;
    FeedLibrary &m_feedLibrary;
    Defaults &m_defaults;
    QList<std::shared_ptr<DownloadItem>> m_queuedDownloads;
    std::unordered_map<Downloader *, std::unique_ptr<Downloader>> m_runningDownloads;
    QTimer m_scheduledUpdateTimer;
    QTimer m_downloadProcessorTimer;
    int m_downloadsInProgress = 0;
    int m_completedDownloads = 0;
    int m_totalDownloads = 0;
    bool m_newArticlesDownloaded = false;
    bool m_pauseScheduledUpdates = false;
    QBUserAlert *m_userAlert = nullptr;
    QBUserNotifier *m_userNotifier = nullptr;
    QBDockTile *m_dockTile = nullptr;
};

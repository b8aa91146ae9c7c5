#include "EventLoopWait.h"
#include "LoopbackServer.h"
#include "ResponseWith.h"
#include "ShrunkLimits.h"
#include "TestFiles.h"
#include "UpdaterFixture.h"
#include "fetch/Downloader.h"

#include <QElapsedTimer>

namespace {

using Response = LoopbackServer::Response;

const QByteArray refreshedFeed = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel>"
                                 "<title>Loopback news</title><link>http://127.0.0.1/</link>"
                                 "<item><title>Fresh one</title><guid>refresh-fresh-1</guid>"
                                 "<description>First fresh text</description>"
                                 "<pubDate>Fri, 20 Mar 2026 12:00:00 +0000</pubDate></item>"
                                 "<item><title>Fresh two</title><guid>refresh-fresh-2</guid>"
                                 "<description>Second fresh text</description>"
                                 "<pubDate>Thu, 19 Mar 2026 12:00:00 +0000</pubDate></item>"
                                 "</channel></rss>";

// Given the updater, runs its processor far oftener than its own timer does, so that a batch of many feeds
// starts at once.
bool waitForFeeds(const NotificationLog &log, int feeds, FeedUpdater *updater = nullptr, int guardMs = 20000)
{
    return waitUntil([&] { return log.names().count(QStringLiteral("feedDownloaded")) >= feeds; }, guardMs,
                     [updater] {
                         if (updater)
                             updater->processQueuedDownloads();
                     });
}

} // namespace

TEST_F(UpdaterTest, ARefreshFromTheNetworkMergesTheFeedExpiresOldArticlesAndAlertsOnce)
{
    LoopbackServer server;
    server.route(QStringLiteral("/news.xml"),
                 Response::ok(refreshedFeed, "application/rss+xml; charset=utf-8"));
    const FeedPtr feed = addFeed(QStringLiteral("loopback"), server.url(QStringLiteral("/news.xml")));
    addArticle(feed, "refresh-earlier-new", 18);
    const ArticlePtr earlierRead = addArticle(feed, "refresh-earlier-read", 18, false, Article::Read);
    const ArticlePtr ancient = addArticle(feed, "refresh-ancient", 1, false, Article::Read);
    library.saveSummary(QStringLiteral("ancient text"), ancient);
    NotificationLog log(updaterNotes);
    // Only the requests below run: a paused check queues nothing, while queued downloads still start.
    updater.setPauseScheduledUpdates(true);

    updater.requestFeedDownload(feed);
    ASSERT_TRUE(waitForFeeds(log, 1));

    EXPECT_EQ(guidsOf(feed), QStringList({"refresh-fresh-1", "refresh-fresh-2", "refresh-earlier-new",
                                          "refresh-earlier-read"}));
    EXPECT_EQ(feed->state(), Feed::Parsed);
    const auto fresh = std::dynamic_pointer_cast<Article>(feed->children().first());
    EXPECT_EQ(fresh->state(), Article::New);
    EXPECT_EQ(library.longSummaryForArticle(fresh), "First fresh text");
    EXPECT_EQ(library.longSummaryForArticle(ancient), "");
    EXPECT_EQ(earlierRead->state(), Article::Read);
    EXPECT_EQ(feed->unreadCount(), 3);

    EXPECT_EQ(log.names(), QStringList({"FeedDownloadBeginingNotification", "ActiveTaskNotification",
                                        "feedDownloaded", "ActiveTaskNotification"}));
    EXPECT_EQ(log.notes.at(2).object.value<FeedPtr>(), feed);
    EXPECT_EQ(alert.events, QStringList({"sound New Articles", "beep", "attention"}));
    EXPECT_EQ(notifier.delivered, QStringList({"New articles / You have 3 unread articles."}));
    EXPECT_EQ(tile.icons.size(), 1);
    EXPECT_EQ(updater.downloadsInProgress(), 0);

    // The same document again brings nothing new, so the batch ends without an alert.
    alert.events.clear();
    updater.requestFeedDownload(feed);
    ASSERT_TRUE(waitForFeeds(log, 2));
    EXPECT_EQ(feed->childCount(), 4);
    EXPECT_EQ(fresh->state(), Article::Unread);
    EXPECT_TRUE(alert.events.isEmpty());
    EXPECT_EQ(notifier.delivered.size(), 1);
}

TEST_F(UpdaterTest, HostileServersEndInFailedFeedsWithTheirReasonWhileTheRestOfTheBatchRefreshes)
{
    const ShrunkLimits limits;
    limits.apply();
    defaults.setInteger(QStringLiteral("downloadConcurrent"), 13);
    LoopbackServer server;
    server.route("/good.xml", Response::ok(refreshedFeed, "application/rss+xml; charset=utf-8"));
    const QByteArray rss = "application/rss+xml";
    const Response drip = with(Response::ok(refreshedFeed, rss), &Response::chunkSize, 1);
    const QMap<QString, std::pair<Response, QString>> failures{
        {"/bomb.xml", {Response::gzipBomb(40 * 1024 * 1024), "Too large"}},
        {"/endless.xml",
         {with(Response::ok(QByteArray(64 * 1024, 'e'), rss), &Response::endless, true), "Too large"}},
        {"/drip.xml", {with(drip, &Response::chunkDelayMs, 100), "Timed out"}},
        {"/stalled.xml", {with(Response(), &Response::stall, true), "Timed out"}},
        {"/missing.xml", {with(Response(), &Response::status, 404), "404 Not Found"}},
        {"/broken.xml",
         {with(Response::ok("<html>Oops</html>", "text/html"), &Response::status, 500),
          "500 Internal Server Error"}},
        {"/busy.xml",
         {with(Response(), &Response::status, 429).withHeader("Retry-After", "600"),
          "429 Too Many Requests"}},
        {"/private.xml",
         {with(Response(), &Response::status, 401).withHeader("WWW-Authenticate", "Basic realm=\"x\""),
          "401 Unauthorized"}},
        {"/home.html",
         {Response::ok("<!DOCTYPE html><html><body><p>A site</p></body></html>", "text/html"), "Not a feed"}},
        {"/declared.xml", {Response::ok(QByteArray(2 * 1024 * 1024, 'd'), rss), "Too large"}},
        {"/cut.xml",
         {with(Response::ok(refreshedFeed, rss), &Response::closeMidBody, true), "Connection lost"}},
        {"http://127.0.0.1:9/refused.xml", {Response(), "Could not connect"}}};
    updater.setPauseScheduledUpdates(true);
    const FeedPtr good = addFeed("good", server.url("/good.xml"));
    updater.requestFeedDownload(good);
    QMap<QString, FeedPtr> failing;
    for (const QString &path : failures.keys()) {
        server.route(path, failures[path].first);
        failing[path] = addFeed(path, path.startsWith(u'/') ? server.url(path) : QUrl(path));
        addArticle(failing[path], "kept-" + path, 1);
        updater.requestFeedDownload(failing[path]);
    }
    NotificationLog log(updaterNotes);
    QElapsedTimer clock;
    clock.start();

    ASSERT_TRUE(waitForFeeds(log, 13, &updater));
    EXPECT_LT(clock.elapsed(), 4000) << "the slowest of them are stopped by the limits";
    EXPECT_EQ(good->state(), Feed::Parsed);
    EXPECT_EQ(good->childCount(), 2);
    EXPECT_TRUE(good->failureReason().isEmpty());
    EXPECT_TRUE(good->lastSucceeded().isValid());
    for (auto it = failing.cbegin(); it != failing.cend(); ++it) {
        const FeedPtr &feed = it.value();
        EXPECT_EQ(feed->state(), Feed::Failed) << it.key().toStdString();
        EXPECT_EQ(feed->failureReason(), failures[it.key()].second) << it.key().toStdString();
        EXPECT_FALSE(feed->lastSucceeded().isValid());
        ASSERT_EQ(feed->childCount(), 1) << "nothing of a failed answer is read";
        EXPECT_EQ(std::dynamic_pointer_cast<Article>(feed->children().first())->state(), Article::New);
    }
    const qint64 postponed = QDateTime::currentDateTimeUtc().secsTo(failing["/busy.xml"]->retryAfter());
    EXPECT_TRUE(postponed > 590 && postponed <= 600) << postponed;
    EXPECT_FALSE(failing["/stalled.xml"]->retryAfter().isValid());

    // The batch ends with its last download, though that one failed.
    ASSERT_EQ(log.names().last(), "ActiveTaskNotification");
    EXPECT_EQ(log.notes.last().userInfo.value("ActiveTaskNameKey").toString(), "Downloads completed");
    EXPECT_EQ(updater.totalDownloads(), 0);
}

TEST_F(UpdaterTest, AnUnchangedFeedIsAskedConditionallyAndA304KeepsItsArticlesAsTheyAre)
{
    LoopbackServer server;
    server.route("/news.xml", with(Response::ok(refreshedFeed, "application/rss+xml"),
                                   &Response::notModifiedWhenConditional, true)
                                  .withHeader("ETag", "\"v1\"")
                                  .withHeader("Last-Modified", "Fri, 20 Mar 2026 12:00:00 GMT"));
    const FeedPtr feed = addFeed("conditional", server.url("/news.xml"));
    updater.setPauseScheduledUpdates(true);
    NotificationLog log(updaterNotes);

    updater.requestFeedDownload(feed);
    ASSERT_TRUE(waitForFeeds(log, 1, &updater));
    EXPECT_FALSE(server.lastRequest("/news.xml").headers.contains("if-none-match"));
    ASSERT_EQ(feed->childCount(), 2);
    const auto fresh = std::dynamic_pointer_cast<Article>(feed->children().first());
    EXPECT_EQ(fresh->state(), Article::New);

    feed->setFailureReason("Timed out");
    updater.requestFeedDownload(feed);
    ASSERT_TRUE(waitForFeeds(log, 2, &updater));
    const LoopbackServer::Request asked = server.lastRequest("/news.xml");
    EXPECT_EQ(asked.header("If-None-Match"), "\"v1\"");
    EXPECT_EQ(asked.header("If-Modified-Since"), "Fri, 20 Mar 2026 12:00:00 GMT");
    EXPECT_EQ(feed->state(), Feed::Parsed);
    EXPECT_TRUE(feed->failureReason().isEmpty());
    EXPECT_EQ(feed->childCount(), 2);
    EXPECT_EQ(fresh->state(), Article::New) << "a 304 leaves every article as it was";
    EXPECT_EQ(feed->entityTag(), "\"v1\"");

    feed->setFeed(server.url("/moved.xml"));
    EXPECT_TRUE(feed->entityTag().isEmpty() && feed->lastModified().isEmpty())
        << "another address has validators of its own";
}

TEST_F(UpdaterTest, SlowEnclosuresAndIconsNeverHoldUpARefresh)
{
    defaults.setInteger(QStringLiteral("downloadConcurrent"), 1);
    LoopbackServer server;
    const Response stall = with(Response(), &Response::stall, true);
    server.route("/episode.mp3", stall);
    server.route("/apple-touch-icon-precomposed.png", stall);
    server.route("/news.xml", Response::ok(refreshedFeed, "application/rss+xml"));
    QTemporaryDir downloads;
    updater.setPauseScheduledUpdates(true);
    for (int i = 0; i < 4; ++i) {
        updater.requestDownload(server.url("/episode.mp3"), downloads.path(),
                                {{DownloadTypeKey, int(Downloader::DownloadTypeEnclosure)}});
        updater.downloadIconForFeed(addFeed(QStringLiteral("site %1").arg(i), server.url("/site.xml")));
    }
    const FeedPtr feed = addFeed("news", server.url("/news.xml"));
    feed->setIconChecked(QDateTime::currentDateTimeUtc());
    updater.requestFeedDownload(feed);
    NotificationLog log(updaterNotes);

    ASSERT_TRUE(waitForFeeds(log, 1, &updater, 3000));
    EXPECT_EQ(feed->state(), Feed::Parsed);
    EXPECT_EQ(updater.downloadsInProgress(FeedUpdater::EnclosureLane), FeedUpdater::enclosureSlots);
    EXPECT_EQ(updater.downloadsInProgress(FeedUpdater::IconLane), FeedUpdater::iconSlots);
    EXPECT_EQ(updater.totalDownloads(), 0) << "files are no part of the refresh batch";
}

TEST_F(UpdaterTest, AFeedRefreshedForTheFirstTimeGetsItsIconAndLooksAgainAfterThirtyDays)
{
    LoopbackServer site;
    site.route("/apple-touch-icon.png", Response::ok(pictureBytes("PNG"), "image/png"));
    LoopbackServer pageSite;
    pageSite.route("/", Response::ok("<html><head><link rel=\"shortcut icon\" href=\"/static/i.png\">"
                                     "</head></html>",
                                     "text/html"));
    pageSite.route("/static/i.png", Response::ok(pictureBytes("PNG"), "image/png"));
    updater.setPauseScheduledUpdates(true);
    QList<FeedPtr> feeds;
    for (LoopbackServer *server : {&site, &pageSite}) {
        const QByteArray document =
            "<rss version=\"2.0\"><channel><title>Site</title><link>" + server->url("/").toEncoded() +
            "</link><item><guid>icon-item</guid><title>T</title></item></channel></rss>";
        server->route("/news.xml", Response::ok(document, "application/rss+xml"));
        feeds << addFeed("site", server->url("/news.xml"));
        updater.requestFeedDownload(feeds.last());
    }
    NotificationLog log(updaterNotes);
    const auto refreshAndSettle = [&](int feedsSoFar) {
        EXPECT_TRUE(waitForFeeds(log, feedsSoFar, &updater));
        EXPECT_TRUE(waitUntil([&] { return updater.isIdle(FeedUpdater::IconLane); }, 20000,
                              [&] { updater.processQueuedDownloads(); }));
    };

    refreshAndSettle(2);
    for (const FeedPtr &feed : feeds) {
        EXPECT_FALSE(QImage(FeedLibrary::iconPath() + "/" + feed->uniqueID() + ".png").isNull());
        EXPECT_TRUE(feed->iconChecked().isValid());
    }
    EXPECT_EQ(site.requestCount("/apple-touch-icon-precomposed.png"), 1) << "a 404 page is no icon";
    EXPECT_EQ(pageSite.requestCount("/favicon.ico"), 1);
    EXPECT_EQ(pageSite.requestCount("/static/i.png"), 1);

    updater.requestFeedDownload(feeds.first());
    refreshAndSettle(3);
    EXPECT_EQ(site.requestCount("/apple-touch-icon.png"), 1) << "a fresh icon is not fetched again";
    feeds.first()->setIconChecked(QDateTime::currentDateTimeUtc().addDays(-31));
    updater.requestFeedDownload(feeds.first());
    refreshAndSettle(4);
    EXPECT_EQ(site.requestCount("/apple-touch-icon.png"), 2);
}

TEST_F(UpdaterTest, TheNewArticlesAlertPlaysTheChosenSoundBeepsForAMissingOneAndHonoursBothSwitches)
{
    LoopbackServer server;
    const FeedPtr feed = addFeed(QStringLiteral("alerting"), server.url(QStringLiteral("/alerts.xml")));
    alert.knownSounds = QStringList({"New Articles", "Chime"});
    NotificationLog log(updaterNotes);
    updater.setPauseScheduledUpdates(true);
    int batches = 0;
    // Each batch serves one article not seen before, so that every batch ends with an alert.
    const auto alertOfNextBatch = [&] {
        ++batches;
        server.route(
            QStringLiteral("/alerts.xml"),
            Response::ok("<rss version=\"2.0\"><channel><title>Alerts</title><item><guid>alert-" +
                             QByteArray::number(batches) +
                             "</guid><title>Item</title>"
                             "<pubDate>Fri, 20 Mar 2026 12:00:00 +0000</pubDate></item></channel></rss>",
                         "application/rss+xml"));
        alert.events.clear();
        updater.requestFeedDownload(feed);
        EXPECT_TRUE(waitForFeeds(log, batches));
        EXPECT_EQ(notifier.delivered.size(), batches) << "batch " << batches << " brought a new article";
        return alert.events;
    };

    EXPECT_EQ(alertOfNextBatch(), QStringList({"sound New Articles", "attention"}));

    defaults.setString(QStringLiteral("generalAlertSound"), QStringLiteral("No Such Sound"));
    EXPECT_EQ(alertOfNextBatch(), QStringList({"sound No Such Sound", "beep", "attention"}));

    defaults.setBoolean(QStringLiteral("generalPlaySound"), false);
    EXPECT_EQ(alertOfNextBatch(), QStringList({"attention"}));

    defaults.setBoolean(QStringLiteral("generalPlaySound"), true);
    defaults.setString(QStringLiteral("generalAlertSound"), QStringLiteral("Chime"));
    defaults.setBoolean(QStringLiteral("generalBounceDockIcon"), false);
    EXPECT_EQ(alertOfNextBatch(), QStringList({"sound Chime"}));
}

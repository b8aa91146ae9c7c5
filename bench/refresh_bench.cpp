// Refreshes feeds served from a loopback server through the feed updater with five downloads at a
// time: the whole batch's time against the floor that one start per half second sets, and the
// longest wait between event-loop passes while it runs. Then the main thread's CPU time of a second,
// warm refresh answered in full against one answered "304 Not Modified" to validators the feeds kept.
// "--quick" refreshes 10 feeds instead of 100.
#include "EventLoopGapMeter.h"
#include "LoopbackServer.h"
#include "fetch/FeedUpdater.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <ctime>

namespace {

constexpr int itemsPerFeed = 50;
constexpr int feedBytes = 100 * 1024;

QByteArray feedDocument(int feed)
{
    QByteArray text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<rss version=\"2.0\"><channel><title>Feed " +
        QByteArray::number(feed) + "</title><link>http://127.0.0.1/</link>\n";
    const QByteArray words(feedBytes / itemsPerFeed - 300, 'w');
    for (int item = 0; item < itemsPerFeed; ++item) {
        const QByteArray id = QByteArray::number(feed) + "-" + QByteArray::number(item);
        text += "<item><title>Story " + id + "</title><link>http://127.0.0.1/story/" + id + "</link><guid>" +
                id + "</guid><pubDate>Mon, 23 Nov 2026 10:00:00 GMT</pubDate><description>&lt;p&gt;" + words +
                " " + id + "&lt;/p&gt;</description></item>\n";
    }
    return text + "</channel></rss>\n";
}

double mainThreadCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// One batch of every feed; the processor is run far oftener than its timer does, so that only the
// work of the refresh itself is left to measure. Answers the main thread's CPU seconds.
double refreshCpu(FeedUpdater &updater, FeedLibrary &library, int feedCount)
{
    int finished = 0;
    QEventLoop loop;
    const int token = NotificationCenter::defaultCenter().addObserver(
        QStringLiteral("feedDownloaded"), [&](const Notification &note) {
            if (const FeedPtr feed = note.object.value<FeedPtr>(); feed->state() == Feed::Failed)
                std::printf("  %s failed: %s\n", qPrintable(feed->feed().toString()),
                            qPrintable(feed->failureReason()));
            if (++finished == feedCount)
                loop.quit();
        });
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] { updater.processQueuedDownloads(); });
    const double start = mainThreadCpuSeconds();
    for (const FeedPtr &feed : library.allFeeds())
        updater.requestFeedDownload(feed);
    driver.start(2);
    loop.exec();
    const double used = mainThreadCpuSeconds() - start;
    NotificationCenter::defaultCenter().removeObserver(token);
    return used;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const int feedCount = app.arguments().contains(QStringLiteral("--quick")) ? 10 : 100;
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", scratch.filePath(QStringLiteral("data")).toUtf8());

    LoopbackServer server;
    FeedLibrary library;
    library.load();
    // The shipped subscriptions go before anything runs: nothing here may fetch them.
    library.root()->removeChildren();
    for (int f = 0; f < feedCount; ++f) {
        const QString path = QStringLiteral("/feed%1.xml").arg(f);
        server.route(path, LoopbackServer::Response::ok(feedDocument(f), "application/rss+xml"));
        auto feed = std::make_shared<Feed>();
        feed->setFeed(server.url(path));
        // Icons are not what is measured here.
        feed->setIconChecked(QDateTime::currentDateTimeUtc());
        library.add(feed, nullptr, f);
    }

    SettingsTable::install();
    Defaults settings(scratch.filePath(QStringLiteral("settings.ini")));
    SettingsTable::registerWith(settings);
    settings.setInteger(QStringLiteral("downloadConcurrent"), 5);
    FeedUpdater updater(library, settings);
    updater.setPauseScheduledUpdates(true);

    int finished = 0;
    int failed = 0;
    QEventLoop loop;
    const int token = NotificationCenter::defaultCenter().addObserver(
        QStringLiteral("feedDownloaded"), [&](const Notification &note) {
            failed += note.object.value<FeedPtr>()->state() == Feed::Failed;
            if (++finished == feedCount)
                loop.quit();
        });
    EventLoopGapMeter meter;
    QElapsedTimer clock;
    meter.start();
    clock.start();
    for (const FeedPtr &feed : library.allFeeds())
        updater.requestFeedDownload(feed);
    loop.exec();
    const double seconds = double(clock.nsecsElapsed()) / 1e9;
    meter.stop();
    NotificationCenter::defaultCenter().removeObserver(token);

    const double floorSeconds = feedCount * 0.5;
    std::printf("refresh_bench: %d feeds of %d items (%d KB) from loopback, 5 at a time, %d failed\n",
                feedCount, itemsPerFeed, feedBytes / 1024, failed);
    std::printf("  batch took %.2f s; the start rule's floor is %.1f s (%+.1f %%)\n", seconds, floorSeconds,
                (seconds / floorSeconds - 1) * 100);
    std::printf("  longest gap between event-loop passes: %.1f ms over %lld passes\n", meter.longestGapMs(),
                static_cast<long long>(meter.turns()));
    std::printf("  articles now in the library: %d\n", int(library.allArticles().size()));

    const double fullCpu = refreshCpu(updater, library, feedCount);
    // The server starts sending validators, which the next full answer leaves with the feeds.
    for (int f = 0; f < feedCount; ++f) {
        LoopbackServer::Response validated =
            LoopbackServer::Response::ok(feedDocument(f), "application/rss+xml")
                .withHeader("ETag", "\"v" + QByteArray::number(f) + "\"")
                .withHeader("Last-Modified", "Mon, 23 Nov 2026 10:00:00 GMT");
        validated.notModifiedWhenConditional = true;
        server.route(QStringLiteral("/feed%1.xml").arg(f), validated);
    }
    refreshCpu(updater, library, feedCount);
    const double notModifiedCpu = refreshCpu(updater, library, feedCount);
    std::printf("  main-thread CPU of a warm refresh: %.3f s answered in full, %.3f s answered 304 "
                "(%.1f %% of the full one; at most a third wanted)\n",
                fullCpu, notModifiedCpu, notModifiedCpu / fullCpu * 100);
    return failed == 0 && notModifiedCpu * 3 <= fullCpu ? 0 : 1;
}

// Refreshes feeds served from a loopback server through the feed updater with five downloads at a
// time: the whole batch's time against the floor that one start per half second sets, and the
// longest wait between event-loop passes while it runs. "--quick" refreshes 10 feeds instead of 100.
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
#include <cstdio>

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
    for (const TreeNodePtr &seeded : library.root()->children())
        library.remove(seeded, nullptr);
    for (int f = 0; f < feedCount; ++f) {
        const QString path = QStringLiteral("/feed%1.xml").arg(f);
        server.route(path, LoopbackServer::Response::ok(feedDocument(f), "application/rss+xml"));
        auto feed = std::make_shared<Feed>();
        feed->setFeed(server.url(path));
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
    return failed == 0 ? 0 : 1;
}

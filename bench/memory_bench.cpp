// Resident memory of the core under the two loads that once made it grow without bound: a refresh
// batch against hostile servers (a gzip bomb, an endless body, a drip, a stall, error pages) beside
// well-behaved feeds, and storing 10,000 new articles with pictures while their thumbnails are made.
// Prints the peak of each phase and what stays resident after it. "--quick" stores 1,000 articles.
#include "LoopbackServer.h"
#include "fetch/FeedUpdater.h"
#include "fetch/ImagingService.h"
#include "fetch/TransferDefaults.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"

#include <QBuffer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <functional>

namespace {

using Response = LoopbackServer::Response;

// VmRSS or VmHWM of this process, in megabytes.
double statusMegabytes(const char *field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(qstrlen(field) + 1).trimmed().split(' ').first().toDouble() / 1024;
    }
    return 0;
}

// The kernel's peak starts again from the present size.
void resetPeak()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

// Runs the event loop until done, running the processor far oftener than its own timer so that a
// batch starts at once.
void runUntil(FeedUpdater &updater, const std::function<bool()> &done)
{
    QEventLoop loop;
    QTimer driver;
    QObject::connect(&driver, &QTimer::timeout, [&] {
        updater.processQueuedDownloads();
        if (done())
            loop.quit();
    });
    driver.start(5);
    loop.exec();
}

QByteArray jpegPicture()
{
    QImage picture(1200, 900, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb(x % 256, y % 256, (x * y) % 256));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPEG", 80);
    return bytes;
}

QByteArray feedWithPictures(const LoopbackServer &server, int feed, int items)
{
    QByteArray text = "<rss version=\"2.0\"><channel><title>Pictures " + QByteArray::number(feed) +
                      "</title><link>http://127.0.0.1/</link>\n";
    for (int item = 0; item < items; ++item) {
        const QByteArray id = QByteArray::number(feed) + "-" + QByteArray::number(item);
        text +=
            "<item><title>Story " + id + "</title><guid>" + id +
            "</guid><pubDate>Mon, 23 Nov 2026 10:00:00 GMT</pubDate><description><![CDATA[<p><img src=\"" +
            server.url("/picture.jpg").toEncoded() + "?n=" + id + "\"> " + QByteArray(1500, 'w') +
            "</p>]]></description></item>\n";
    }
    return text + "</channel></rss>\n";
}

FeedPtr addFeed(FeedLibrary &library, const QUrl &url)
{
    auto feed = std::make_shared<Feed>();
    feed->setTitle(url.path());
    feed->setFeed(url);
    // Icons are not what is measured here.
    feed->setIconChecked(QDateTime::currentDateTimeUtc());
    library.add(feed, nullptr, library.root()->childCount());
    return feed;
}

void refreshAll(FeedUpdater &updater, FeedLibrary &library, const std::function<bool()> &alsoDone)
{
    int finished = 0;
    const int feeds = int(library.allFeeds().size());
    const int token = NotificationCenter::defaultCenter().addObserver(
        QStringLiteral("feedDownloaded"), [&](const Notification &) { ++finished; });
    for (const FeedPtr &feed : library.allFeeds())
        updater.requestFeedDownload(feed);
    runUntil(updater, [&] { return finished == feeds && alsoDone(); });
    NotificationCenter::defaultCenter().removeObserver(token);
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", scratch.filePath(QStringLiteral("data")).toUtf8());
    qputenv("XDG_CONFIG_HOME", scratch.filePath(QStringLiteral("config")).toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const int pictureFeeds = app.arguments().contains(QStringLiteral("--quick")) ? 10 : 100;
    const int itemsPerFeed = 100;

    SettingsTable::install();
    Defaults settings(scratch.filePath(QStringLiteral("settings.ini")));
    SettingsTable::registerWith(settings);
    FeedLibrary library;
    library.load();
    // The shipped subscriptions go before anything runs: nothing here may fetch them.
    library.root()->removeChildren();
    FeedUpdater updater(library, settings);
    updater.setPauseScheduledUpdates(true);
    std::printf("memory_bench: %.1f MB resident at the start\n", statusMegabytes("VmRSS:"));

    // The size limits are the program's own; only the clock is shortened, which changes no size.
    TransferDefaults::Limits limits;
    limits.totalMs = 10 * 1000;
    limits.stallMs = 5 * 1000;
    TransferDefaults::setLimits(limits);
    LoopbackServer hostile;
    hostile.route("/bomb.xml", Response::gzipBomb(qint64(1) << 30));
    Response endless = Response::ok(QByteArray(256 * 1024, 'e'), "application/rss+xml");
    endless.endless = true;
    hostile.route("/endless.xml", endless);
    Response drip = Response::ok(QByteArray(1000, 'd'), "application/rss+xml");
    drip.chunkSize = 1;
    drip.chunkDelayMs = 1000;
    hostile.route("/drip.xml", drip);
    Response stall;
    stall.stall = true;
    hostile.route("/stall.xml", stall);
    Response broken = Response::ok("<html><body>Oops</body></html>", "text/html");
    broken.status = 500;
    hostile.route("/broken.xml", broken);
    hostile.route("/good.xml", Response::ok(feedWithPictures(hostile, 0, 10), "application/rss+xml"));
    for (const char *path : {"/bomb.xml", "/endless.xml", "/bomb.xml", "/endless.xml", "/drip.xml",
                             "/stall.xml", "/broken.xml", "/missing.xml", "/good.xml"})
        addFeed(library, hostile.url(QString::fromLatin1(path)));
    resetPeak();
    refreshAll(updater, library, [] { return true; });
    int failed = 0;
    for (const FeedPtr &feed : library.allFeeds())
        failed += feed->state() == Feed::Failed;
    const double hostilePeak = statusMegabytes("VmHWM:");
    std::printf("hostile servers: %d of %d feeds failed, each with its reason; peak %.1f MB resident, "
                "%.1f MB after (under 300 MB wanted)\n",
                failed, int(library.allFeeds().size()), hostilePeak, statusMegabytes("VmRSS:"));
    TransferDefaults::setLimits({});
    library.root()->removeChildren();

    LoopbackServer pictures;
    pictures.route("/picture.jpg", Response::ok(jpegPicture(), "image/jpeg"));
    for (int f = 0; f < pictureFeeds; ++f) {
        const QString path = QStringLiteral("/pictures%1.xml").arg(f);
        pictures.route(path,
                       Response::ok(feedWithPictures(pictures, f, itemsPerFeed), "application/rss+xml"));
        addFeed(library, pictures.url(path));
    }
    ImagingService &thumbnails = ImagingService::sharedImagingService();
    thumbnails.start();
    resetPeak();
    const int before = thumbnails.count();
    refreshAll(updater, library, [&] { return thumbnails.queue().isEmpty(); });
    const double picturesPeak = statusMegabytes("VmHWM:");
    std::printf("%d new articles with pictures stored, %d thumbnails made: peak %.1f MB resident, %.1f MB "
                "after (under 400 MB wanted)\n",
                int(library.allArticles().size()), thumbnails.count() - before, picturesPeak,
                statusMegabytes("VmRSS:"));
    thumbnails.terminate();
    return failed == 8 && hostilePeak < 300 && picturesPeak < 400 ? 0 : 1;
}

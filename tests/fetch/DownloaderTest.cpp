#include "fetch/Downloader.h"

#include "LogCapture.h"
#include "LoopbackServer.h"
#include "fetch/DownloadItem.h"
#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>
#include <memory>

namespace {

using Response = LoopbackServer::Response;

// Counts completions and can wait for them with a bound, so that a lost completion fails instead of hanging.
class Completions
{
public:
    Downloader::Completion completion()
    {
        return [this](Downloader *downloader) {
            ++m_calls;
            m_last = downloader;
            m_loop.quit();
        };
    }
    bool waitFor(int calls, int guardMs = 5000)
    {
        QTimer guard;
        guard.setSingleShot(true);
        QObject::connect(&guard, &QTimer::timeout, &m_loop, &QEventLoop::quit);
        guard.start(guardMs);
        while (m_calls < calls && guard.isActive())
            m_loop.exec();
        return m_calls >= calls;
    }
    int calls() const { return m_calls; }
    Downloader *last() const { return m_last; }

private:
    QEventLoop m_loop;
    int m_calls = 0;
    Downloader *m_last = nullptr;
};

void spin(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

QStringList fileNotificationsWhile(const std::function<void()> &work)
{
    QStringList names;
    NotificationCenter &center = NotificationCenter::defaultCenter();
    const int token = center.addObserver({}, [&](const Notification &note) {
        if (note.name.startsWith(QStringLiteral("FileDownload")))
            names.append(note.name);
    });
    work();
    center.removeObserver(token);
    return names;
}

QVariantMap iconContext(const std::shared_ptr<Feed> &feed, int candidate)
{
    return {{DownloadTypeKey, int(Downloader::DownloadTypeIcon)},
            {DownloadFeedKey, QVariant::fromValue(feed)},
            {IconTypeKey, candidate}};
}

} // namespace

TEST(Downloader, PageTransferSendsItsHeadersAndHandsBackBodyAndDeclaredCharsetOnALaterPass)
{
    LoopbackServer server;
    server.route("/feed.xml", Response::ok("<rss/>", "text/xml; charset=\"UTF-8\""));
    server.route("/plain", Response::ok("caf\xe9", "text/plain"));
    Defaults::standard().setString("UserAgent", "QuillBay/9.9 Macintosh");
    auto feed = std::make_shared<Feed>();

    Completions done;
    Downloader downloader;
    downloader.setHttpHeaders({{"X-Wanted", "yes"}, {"X-Empty", ""}});
    ASSERT_TRUE(downloader.beginDownloadFromURL(server.url("/feed.xml"), "user", "secret", nullptr,
                                                QVariant::fromValue(feed), done.completion()));
    EXPECT_EQ(downloader.state(), Downloader::DownloadStateActive);
    ASSERT_TRUE(done.waitFor(1));
    EXPECT_EQ(done.last(), &downloader);
    EXPECT_EQ(downloader.state(), Downloader::DownloadStateDone);
    EXPECT_EQ(downloader.receivedData(), "<rss/>");
    EXPECT_EQ(downloader.bytes(), 6.0);
    EXPECT_EQ(downloader.encoding(), "UTF-8");
    EXPECT_EQ(feed->encoding(), "UTF-8");
    EXPECT_EQ(downloader.responseHeaders().value("Content-Length"), "6");

    const LoopbackServer::Request sent = server.lastRequest("/feed.xml");
    EXPECT_EQ(sent.method, "GET");
    EXPECT_EQ(sent.header("User-agent"), "QuillBay/9.9 Macintosh");
    EXPECT_EQ(sent.header("X-Wanted"), "yes");
    EXPECT_FALSE(sent.headers.contains("x-empty"));
    EXPECT_EQ(sent.header("Cache-Control"), "no-cache");
    EXPECT_FALSE(sent.headers.contains("authorization"));
    EXPECT_FALSE(sent.headers.contains("if-none-match"));

    // Without a declared charset the body is taken as ISO-8859-1 and the feed remembers none.
    Downloader plain;
    ASSERT_TRUE(plain.beginDownloadFromURL(server.url("/plain"), {}, {}, nullptr, QVariant::fromValue(feed),
                                           done.completion()));
    ASSERT_TRUE(done.waitFor(2));
    EXPECT_EQ(plain.encoding(), "ISO-8859-1");
    EXPECT_EQ(feed->encoding(), "");
    spin(50);
    EXPECT_EQ(done.calls(), 2);
    Defaults::standard().removeObject("UserAgent");
}

TEST(Downloader, NotModifiedRefusedChallengeAndErrorPagesEndInTheirStates)
{
    LoopbackServer server;
    server.route("/same", Response::notModified());
    server.route("/locked", Response::authenticationRequired());
    Response missing = Response::ok("<html>gone</html>", "text/html");
    missing.status = 404;
    server.route("/missing", missing);

    Completions done;
    Downloader same;
    Downloader locked;
    Downloader gone;
    ASSERT_TRUE(same.beginDownloadFromURL(server.url("/same"), {}, {}, nullptr, {}, done.completion()));
    ASSERT_TRUE(
        locked.beginDownloadFromURL(server.url("/locked"), "user", "secret", nullptr, {}, done.completion()));
    ASSERT_TRUE(gone.beginDownloadFromURL(server.url("/missing"), {}, {}, nullptr, {}, done.completion()));
    ASSERT_TRUE(done.waitFor(3));
    spin(50);
    EXPECT_EQ(done.calls(), 3);

    EXPECT_EQ(same.state(), Downloader::DownloadStateNotModified);
    EXPECT_TRUE(same.receivedData().isEmpty());
    EXPECT_EQ(locked.state(), Downloader::DownloadStateAuthFailed);
    EXPECT_FALSE(server.lastRequest("/locked").headers.contains("authorization"));
    EXPECT_EQ(server.requestCount("/locked"), 1);
    EXPECT_EQ(gone.state(), Downloader::DownloadStateDone);
    EXPECT_EQ(gone.receivedData(), "<html>gone</html>");
}

TEST(Downloader, FollowsRedirectsDecodesGzipAndCountsOnlyTheFinalBody)
{
    LoopbackServer server;
    Response first = Response::redirect("/second", 301);
    first.body = "moved away, with a body of its own";
    server.route("/first", first);
    server.route("/second", Response::redirect(server.url("/final").toString(), 302));
    const QByteArray text = QByteArray("<item>news</item>").repeated(500);
    Response zipped = Response::ok(text, "application/rss+xml");
    zipped.gzip = true;
    server.route("/final", zipped);

    Completions done;
    Downloader downloader;
    ASSERT_TRUE(
        downloader.beginDownloadFromURL(server.url("/first"), {}, {}, nullptr, {}, done.completion()));
    ASSERT_TRUE(done.waitFor(1));
    EXPECT_EQ(downloader.state(), Downloader::DownloadStateDone);
    EXPECT_EQ(downloader.receivedData(), text);
    EXPECT_EQ(downloader.bytes(), double(text.size()));
    EXPECT_EQ(downloader.responseHeaders().value("Content-Encoding"), "gzip");
    EXPECT_EQ(server.requestCount("/second"), 1);
    EXPECT_EQ(server.requestCount("/final"), 1);
}

TEST(Downloader, StalledOrCutOffTransfersFailWithStateThreeAndPagesLogNothing)
{
    LoopbackServer server;
    Response slow = Response::ok("too late");
    slow.delayMs = 3000;
    server.route("/slow", slow);
    Response cut = Response::ok(QByteArray(20000, 'x'));
    cut.closeMidBody = true;
    server.route("/cut", cut);

    LogCapture log;
    Completions done;
    Downloader slowPage;
    slowPage.setTimeoutInterval(200);
    Downloader cutPage;
    ASSERT_TRUE(slowPage.beginDownloadFromURL(server.url("/slow"), {}, {}, nullptr, {}, done.completion()));
    ASSERT_TRUE(cutPage.beginDownloadFromURL(server.url("/cut"), {}, {}, nullptr, {}, done.completion()));
    // The server answers after three seconds; the guard ends the wait before that.
    ASSERT_TRUE(done.waitFor(2, 2000));
    EXPECT_EQ(slowPage.state(), Downloader::DownloadStateActive);
    EXPECT_TRUE(slowPage.receivedData().isEmpty());
    EXPECT_EQ(cutPage.state(), Downloader::DownloadStateActive);
    EXPECT_TRUE(log.lines().isEmpty());

    Downloader refused;
    EXPECT_FALSE(
        refused.beginDownloadFromURL(QUrl("not a url at all"), {}, {}, nullptr, {}, done.completion()));
    EXPECT_FALSE(
        refused.beginDownloadFromURL(QUrl("ftp://127.0.0.1/x"), {}, {}, nullptr, {}, done.completion()));
    spin(50);
    EXPECT_EQ(done.calls(), 2);
}

TEST(Downloader, FileTransferNamesTheFileAndAnnouncesBeginProgressAndCompleteInOrder)
{
    LoopbackServer server;
    const QByteArray audio(30000, 'a');
    Response episode = Response::ok(audio, "audio/mpeg");
    episode.chunkSize = 10000;
    episode.chunkDelayMs = 20;
    server.route("/media/episode.mp3", episode);
    server.route("/get", Response::ok("named", "application/pdf")
                             .withHeader("Content-Disposition", "attachment; filename=\"../notes.pdf\""));
    QTemporaryDir folder;
    const QVariantMap context{{DownloadTypeKey, int(Downloader::DownloadTypeEnclosure)}};

    Completions done;
    Downloader downloader;
    const QStringList names = fileNotificationsWhile([&] {
        ASSERT_TRUE(downloader.beginDownloadFromURL(server.url("/media/episode.mp3"), folder.path(), {}, {},
                                                    nullptr, context, done.completion()));
        ASSERT_TRUE(done.waitFor(1));
    });
    ASSERT_GE(names.size(), 3);
    EXPECT_EQ(names.first(), "FileDownloadBeginingNotification");
    EXPECT_EQ(names.last(), "FileDownloadCompleteNotification");
    EXPECT_EQ(names.count("FileDownloadProgressedNotification"), names.size() - 2);
    EXPECT_EQ(downloader.state(), Downloader::DownloadStateDone);
    EXPECT_EQ(downloader.fileName(), "episode.mp3");
    EXPECT_EQ(downloader.bytes(), double(audio.size()));
    EXPECT_TRUE(downloader.receivedData().isEmpty());
    QFile saved(folder.filePath("episode.mp3"));
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), audio);

    Downloader named;
    ASSERT_TRUE(named.beginDownloadFromURL(server.url("/get"), folder.path(), {}, {}, nullptr, context,
                                           done.completion()));
    ASSERT_TRUE(done.waitFor(2));
    EXPECT_EQ(named.fileName(), "notes.pdf");
    EXPECT_TRUE(QFile::exists(folder.filePath("notes.pdf")));
}

TEST(Downloader, FailedFileTransferLogsItsAddressPostsNoCompletionAndLeavesNoPartialFile)
{
    LoopbackServer server;
    Response cut = Response::ok(QByteArray(20000, 'v'), "video/mp4");
    cut.closeMidBody = true;
    server.route("/film.mp4", cut);
    QTemporaryDir folder;

    LogCapture log;
    Completions done;
    Downloader downloader;
    const QStringList names = fileNotificationsWhile([&] {
        ASSERT_TRUE(downloader.beginDownloadFromURL(server.url("/film.mp4"), folder.path(), {}, {}, nullptr,
                                                    QVariantMap{{DownloadTypeKey, 1}}, done.completion()));
        ASSERT_TRUE(done.waitFor(1));
    });
    EXPECT_EQ(downloader.state(), Downloader::DownloadStateActive);
    EXPECT_FALSE(names.contains("FileDownloadCompleteNotification"));
    EXPECT_FALSE(QFile::exists(folder.filePath("film.mp4")));
    ASSERT_FALSE(log.lines().isEmpty());
    EXPECT_EQ(log.lines().first(), "Failed downloading: " + server.url("/film.mp4").toString());
    EXPECT_TRUE(log.lines().value(1).startsWith("- Cause: "));
}

TEST(Downloader, IconIsStoredUnderTheFeedIdentifierReplacingAnOlderOne)
{
    LoopbackServer server;
    server.route("/apple-touch-icon.png", Response::ok("new picture", "image/png"));
    QTemporaryDir folder;
    auto feed = std::make_shared<Feed>();
    feed->setUniqueID("FEED-X");
    feed->setCustomIconAvailable(false);
    QFile older(folder.filePath("FEED-X.png"));
    ASSERT_TRUE(older.open(QIODevice::WriteOnly));
    older.write("an older and longer picture");
    older.close();

    Completions done;
    Downloader downloader;
    ASSERT_TRUE(downloader.beginDownloadFromURL(server.url("/apple-touch-icon.png"), folder.path(), {}, {},
                                                nullptr, iconContext(feed, 2), done.completion()));
    ASSERT_TRUE(done.waitFor(1));
    EXPECT_EQ(downloader.fileName(), "FEED-X.png");
    EXPECT_TRUE(feed->customIconAvailable());
    ASSERT_TRUE(older.open(QIODevice::ReadOnly));
    EXPECT_EQ(older.readAll(), "new picture");
}

TEST(Downloader, FailedIconCandidatesFallBackToTouchIconThenFavicon)
{
    LoopbackServer server;
    Response cut = Response::ok(QByteArray(4000, 'i'), "image/png");
    cut.closeMidBody = true;
    server.route("/first.png", cut);
    server.route("/apple-touch-icon.png", cut);
    server.route("/favicon.ico", Response::ok("icon bytes", "image/x-icon"));
    QTemporaryDir folder;
    auto feed = std::make_shared<Feed>();
    feed->setUniqueID("FEED-Y");
    feed->setLink(server.url("/blog/index.html"));

    LogCapture log;
    Completions done;
    QList<QUrl> requested;
    QStringList destinations;
    std::vector<std::unique_ptr<Downloader>> queue;
    Downloader::setIconRequester([&](const QUrl &url, const QString &destination,
                                     const QVariantMap &context) {
        requested.append(url);
        destinations.append(destination);
        queue.push_back(std::make_unique<Downloader>());
        queue.back()->beginDownloadFromURL(url, folder.path(), {}, {}, nullptr, context, done.completion());
    });
    Downloader first;
    ASSERT_TRUE(first.beginDownloadFromURL(server.url("/first.png"), folder.path(), {}, {}, nullptr,
                                           iconContext(feed, 1), done.completion()));
    ASSERT_TRUE(done.waitFor(3));
    Downloader::setIconRequester({});

    ASSERT_EQ(requested.size(), 2);
    EXPECT_EQ(requested[0], server.url("/apple-touch-icon.png"));
    EXPECT_EQ(requested[1], server.url("/favicon.ico"));
    EXPECT_EQ(destinations, QStringList({FeedLibrary::iconPath(), FeedLibrary::iconPath()}));
    EXPECT_EQ(queue.back()->fileName(), "FEED-Y.ico");
    EXPECT_TRUE(QFile::exists(folder.filePath("FEED-Y.ico")));
    EXPECT_TRUE(feed->customIconAvailable());
    for (const QString &line : log.lines())
        EXPECT_FALSE(line.startsWith("Failed downloading")) << line.toStdString();
}

TEST(Downloader, ThirdFailedIconCandidateEndsTheChainWithoutCustomIcon)
{
    LoopbackServer server;
    Response cut = Response::ok(QByteArray(4000, 'i'), "image/x-icon");
    cut.closeMidBody = true;
    server.route("/favicon.ico", cut);
    QTemporaryDir folder;
    auto feed = std::make_shared<Feed>();
    feed->setUniqueID("FEED-Z");
    feed->setLink(server.url("/"));
    int requests = 0;
    Downloader::setIconRequester([&](const QUrl &, const QString &, const QVariantMap &) { ++requests; });

    Completions done;
    Downloader last;
    ASSERT_TRUE(last.beginDownloadFromURL(server.url("/favicon.ico"), folder.path(), {}, {}, nullptr,
                                          iconContext(feed, 3), done.completion()));
    ASSERT_TRUE(done.waitFor(1));
    Downloader::setIconRequester({});
    EXPECT_EQ(requests, 0);
    EXPECT_FALSE(feed->customIconAvailable());
    EXPECT_FALSE(QFile::exists(folder.filePath("FEED-Z.ico")));
}

TEST(Downloader, CancelledTransfersNeverCompleteNorAnnounceCompletion)
{
    LoopbackServer server;
    Response slow = Response::ok("eventually");
    slow.delayMs = 200;
    server.route("/slow", slow);
    Response big = Response::ok(QByteArray(50000, 'b'), "audio/mpeg");
    big.chunkSize = 5000;
    big.chunkDelayMs = 10;
    server.route("/big.mp3", big);
    QTemporaryDir folder;

    Completions done;
    Downloader page;
    ASSERT_TRUE(page.beginDownloadFromURL(server.url("/slow"), {}, {}, nullptr, {}, done.completion()));
    page.cancel();

    Downloader file;
    const int token = NotificationCenter::defaultCenter().addObserver(
        "FileDownloadProgressedNotification", [&](const Notification &) { file.cancel(); });
    const QStringList names = fileNotificationsWhile([&] {
        ASSERT_TRUE(file.beginDownloadFromURL(server.url("/big.mp3"), folder.path(), {}, {}, nullptr,
                                              QVariantMap{{DownloadTypeKey, 1}}, done.completion()));
        spin(800);
    });
    NotificationCenter::defaultCenter().removeObserver(token);
    EXPECT_EQ(done.calls(), 0);
    EXPECT_EQ(names.count("FileDownloadProgressedNotification"), 1);
    EXPECT_FALSE(names.contains("FileDownloadCompleteNotification"));
    EXPECT_FALSE(QFile::exists(folder.filePath("big.mp3")));
}

TEST(DownloadItem, StartsUntitledWithNothingElseSet)
{
    const DownloadItem item;
    EXPECT_EQ(item.title(), "Untitled download");
    EXPECT_TRUE(item.downloadURL().isEmpty());
    EXPECT_FALSE(item.representedObject().isValid());
    EXPECT_TRUE(item.username().isEmpty() && item.password().isEmpty() && item.destination().isEmpty());
}

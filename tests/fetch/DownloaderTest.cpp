#include "fetch/Downloader.h"

#include "EventLoopWait.h"
#include "LogCapture.h"
#include "LoopbackServer.h"
#include "NotificationLog.h"
#include "ResponseWith.h"
#include "TestFiles.h"
#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "platform/Defaults.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace {

using Response = LoopbackServer::Response;

// Counts completions, so that a lost or a doubled one shows.
struct Completions
{
    int calls = 0;
    Downloader *last = nullptr;
    Downloader::Completion completion()
    {
        return [this](Downloader *downloader) {
            ++calls;
            last = downloader;
        };
    }
    bool waitFor(int count)
    {
        return waitUntil([&] { return calls >= count; });
    }
};

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
    EXPECT_EQ(done.last, &downloader);
    EXPECT_EQ(downloader.state(), Downloader::DownloadStateDone);
    EXPECT_EQ(downloader.receivedData(), "<rss/>");
    EXPECT_EQ(downloader.encoding(), "UTF-8");
    EXPECT_EQ(feed->encoding(), "UTF-8");

    const LoopbackServer::Request sent = server.lastRequest("/feed.xml");
    EXPECT_EQ(sent.header("User-agent"), "QuillBay/9.9 Macintosh");
    EXPECT_EQ(sent.header("X-Wanted"), "yes");
    EXPECT_FALSE(sent.headers.contains("x-empty"));
    EXPECT_EQ(sent.header("Cache-Control"), "no-cache");
    EXPECT_FALSE(sent.headers.contains("authorization"));

    // Without a declared charset the body is taken as ISO-8859-1 and the feed remembers none.
    Downloader plain;
    ASSERT_TRUE(plain.beginDownloadFromURL(server.url("/plain"), {}, {}, nullptr, QVariant::fromValue(feed),
                                           done.completion()));
    ASSERT_TRUE(done.waitFor(2));
    EXPECT_EQ(plain.encoding(), "ISO-8859-1");
    EXPECT_EQ(feed->encoding(), "");
    Defaults::standard().removeObject("UserAgent");
}

// The failure reasons of error statuses are the refresh's to show; here, the states they leave behind.
TEST(Downloader, NotModifiedIsItsOwnStateAndAChallengeFailsWithoutSendingTheCredentials)
{
    LoopbackServer server;
    server.route("/same", with(Response(), &Response::status, 304));
    server.route(
        "/locked",
        with(Response(), &Response::status, 401).withHeader("WWW-Authenticate", "Basic realm=\"x\""));

    Completions done;
    Downloader same, locked;
    ASSERT_TRUE(same.beginDownloadFromURL(server.url("/same"), {}, {}, nullptr, {}, done.completion()));
    ASSERT_TRUE(
        locked.beginDownloadFromURL(server.url("/locked"), "user", "secret", nullptr, {}, done.completion()));
    ASSERT_TRUE(done.waitFor(2));
    settle(50);
    EXPECT_EQ(done.calls, 2);

    EXPECT_EQ(same.state(), Downloader::DownloadStateNotModified);
    EXPECT_TRUE(same.receivedData().isEmpty());
    EXPECT_TRUE(same.failureReason().isEmpty());
    EXPECT_EQ(locked.state(), Downloader::DownloadStateAuthFailed);
    EXPECT_EQ(locked.failureReason(), "401 Unauthorized");
    EXPECT_FALSE(server.lastRequest("/locked").headers.contains("authorization"));

    Downloader refused;
    EXPECT_FALSE(
        refused.beginDownloadFromURL(QUrl("not a url at all"), {}, {}, nullptr, {}, done.completion()));
    EXPECT_FALSE(
        refused.beginDownloadFromURL(QUrl("ftp://127.0.0.1/x"), {}, {}, nullptr, {}, done.completion()));
    settle(50);
    EXPECT_EQ(done.calls, 2) << "a transfer that never started never completes";
}

TEST(Downloader, FollowsRedirectsDecodesGzipAndCountsOnlyTheFinalBody)
{
    LoopbackServer server;
    const Response moved = with(Response(), &Response::body, "moved, with a body of its own");
    server.route("/first", with(moved, &Response::status, 301).withHeader("Location", "/second"));
    server.route("/second", with(Response(), &Response::status, 302)
                                .withHeader("Location", server.url("/final").toString().toUtf8()));
    const QByteArray text = QByteArray("<item>news</item>").repeated(500);
    server.route("/final", with(Response::ok(text, "application/rss+xml"), &Response::gzip, true));

    Completions done;
    Downloader downloader;
    ASSERT_TRUE(
        downloader.beginDownloadFromURL(server.url("/first"), {}, {}, nullptr, {}, done.completion()));
    ASSERT_TRUE(done.waitFor(1));
    EXPECT_EQ(downloader.state(), Downloader::DownloadStateDone);
    EXPECT_EQ(downloader.receivedData(), text);
    EXPECT_EQ(downloader.bytes(), double(text.size()));
    EXPECT_EQ(downloader.effectiveURL(), server.url("/final"));

    EXPECT_EQ(server.requestCount("/second"), 1);
    EXPECT_EQ(server.requestCount("/final"), 1);
}

TEST(Downloader, FileTransferNamesTheFileAndAnnouncesBeginProgressAndCompleteInOrder)
{
    LoopbackServer server;
    const QByteArray audio(30000, 'a');
    server.route("/media/episode.mp3",
                 with(with(Response::ok(audio), &Response::chunkSize, 10000), &Response::chunkDelayMs, 20));
    server.route("/get", Response::ok("named", "application/pdf")
                             .withHeader("Content-Disposition", "attachment; filename=\"../.notes.pdf\""));
    QTemporaryDir folder;
    const QVariantMap context{{DownloadTypeKey, int(Downloader::DownloadTypeEnclosure)}};

    Completions done;
    Downloader downloader;
    NotificationLog log({"FileDownload"});
    ASSERT_TRUE(downloader.beginDownloadFromURL(
        QUrl(server.url("/media/episode.mp3").toString() + "?id=7&utm_source=feed"), folder.path(), {}, {},
        nullptr, context, done.completion()));
    ASSERT_TRUE(done.waitFor(1));
    const QStringList names = log.names();
    ASSERT_GE(names.size(), 3);
    EXPECT_EQ(names.first(), "FileDownloadBeginingNotification");
    EXPECT_EQ(names.last(), "FileDownloadCompleteNotification");
    EXPECT_EQ(names.count("FileDownloadProgressedNotification"), names.size() - 2);
    EXPECT_EQ(downloader.state(), Downloader::DownloadStateDone);
    EXPECT_EQ(downloader.fileName(), "episode.mp3") << "the query string is no part of the name";
    EXPECT_EQ(downloader.bytes(), double(audio.size()));
    EXPECT_TRUE(downloader.receivedData().isEmpty());
    EXPECT_EQ(fileBytes(folder.filePath("episode.mp3")), audio);

    Downloader named;
    ASSERT_TRUE(named.beginDownloadFromURL(server.url("/get"), folder.path(), {}, {}, nullptr, context,
                                           done.completion()));
    ASSERT_TRUE(done.waitFor(2));
    EXPECT_EQ(named.fileName(), "notes.pdf") << "no path and no hidden file from the server's name";
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList({"episode.mp3", "notes.pdf"}));
}

TEST(Downloader, FilesNeverReplaceOthersAndAFailedOrCancelledDownloadLeavesTheEarlierCopy)
{
    LoopbackServer server;
    for (const char *path : {"/one/audio.mp3", "/two/audio.mp3"})
        server.route(path, with(with(Response::ok(QByteArray(20000, path[1])), &Response::chunkSize, 5000),
                                &Response::chunkDelayMs, 20));
    server.route("/cut/audio.mp3", with(Response::ok(QByteArray(20000, 'c')), &Response::closeMidBody, true));
    server.route("/slow/audio.mp3", with(Response::ok(QByteArray(20000, 's')), &Response::delayMs, 2000));
    QTemporaryDir folder;
    writeFile(folder.filePath("audio.mp3"), "the copy already there");
    const QVariantMap context{{DownloadTypeKey, int(Downloader::DownloadTypeEnclosure)}};

    LogCapture log;
    Completions done;
    std::vector<std::unique_ptr<Downloader>> files;
    for (const char *path :
         {"/one/audio.mp3", "/two/audio.mp3", "/cut/audio.mp3", "/missing/audio.mp3", "/slow/audio.mp3"}) {
        files.push_back(std::make_unique<Downloader>());
        ASSERT_TRUE(files.back()->beginDownloadFromURL(server.url(path), folder.path(), {}, {}, nullptr,
                                                       context, done.completion()));
    }
    settle(200);
    files.back()->cancel();
    ASSERT_TRUE(done.waitFor(4));
    settle(50);
    EXPECT_EQ(done.calls, 4);

    EXPECT_EQ(QSet<QString>({files[0]->fileName(), files[1]->fileName()}),
              QSet<QString>({"audio (2).mp3", "audio (3).mp3"}));
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(fileBytes(folder.filePath(files[i]->fileName())), QByteArray(20000, i == 0 ? 'o' : 't'));
    EXPECT_EQ(files[2]->failureReason(), "Connection lost");
    EXPECT_EQ(files[3]->failureReason(), "404 Not Found");
    EXPECT_EQ(fileBytes(folder.filePath("audio.mp3")), "the copy already there");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files).size(), 3) << "no partial file is left behind";
    EXPECT_TRUE(log.contains("Failed downloading: " + server.url("/cut/audio.mp3").toString()));
    EXPECT_TRUE(log.contains("- Cause: 404 Not Found"));
}

TEST(Downloader, OnlyAPictureBecomesTheIconStoredAsItsFormatUnderTheFeedIdentifier)
{
    LoopbackServer server;
    server.route("/touch.png", Response::ok(pictureBytes("PNG"), "image/png"));
    server.route("/favicon.ico", Response::ok(pictureBytes("ICO"), "image/x-icon"));
    server.route("/logo.gif", Response::ok(pictureBytes("BMP"), "image/gif"));
    server.route("/page.png", Response::ok("<html><body>Not here</body></html>", "text/html"));
    QTemporaryDir folder;
    auto feed = std::make_shared<Feed>();
    feed->setUniqueID("FEED-X");
    feed->setCustomIconAvailable(false);
    feed->setFavIcon(QImage(4, 4, QImage::Format_RGB32));
    writeFile(folder.filePath("FEED-X.png"), "an older and longer picture");
    const QVariantMap context{{DownloadTypeKey, int(Downloader::DownloadTypeIcon)},
                              {DownloadFeedKey, QVariant::fromValue(feed)},
                              {IconTypeKey, 5}};

    const auto fetchIcon = [&](const QString &path) {
        Completions done;
        Downloader downloader;
        EXPECT_TRUE(downloader.beginDownloadFromURL(server.url(path), folder.path(), {}, {}, nullptr, context,
                                                    done.completion()));
        EXPECT_TRUE(done.waitFor(1));
        return std::make_pair(downloader.fileName(), downloader.failureReason());
    };
    EXPECT_EQ(fetchIcon("/touch.png").first, "FEED-X.png");
    EXPECT_TRUE(feed->customIconAvailable());
    EXPECT_TRUE(feed->favIcon().isNull()) << "the new icon is read afresh";
    EXPECT_EQ(fileBytes(folder.filePath("FEED-X.png")), pictureBytes("PNG"));

    EXPECT_EQ(fetchIcon("/favicon.ico").first, "FEED-X.ico");
    EXPECT_FALSE(QFile::exists(folder.filePath("FEED-X.png"))) << "the older icon of another format goes";
    EXPECT_EQ(fetchIcon("/logo.gif").first, "FEED-X.png") << "other formats are kept as PNG";
    EXPECT_FALSE(QImage(folder.filePath("FEED-X.png")).isNull());
    EXPECT_EQ(fetchIcon("/page.png").second, "Not an image");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList({"FEED-X.png"}));
}

TEST(Downloader, CancelledTransfersNeverCompleteNorAnnounceCompletion)
{
    LoopbackServer server;
    server.route("/big.mp3", with(with(Response::ok(QByteArray(50000, 'b')), &Response::chunkSize, 5000),
                                  &Response::chunkDelayMs, 10));
    QTemporaryDir folder;

    Completions done;
    Downloader file;
    const int token = NotificationCenter::defaultCenter().addObserver(
        "FileDownloadProgressedNotification", [&](const Notification &) { file.cancel(); });
    NotificationLog log({"FileDownload"});
    ASSERT_TRUE(file.beginDownloadFromURL(server.url("/big.mp3"), folder.path(), {}, {}, nullptr,
                                          QVariantMap{{DownloadTypeKey, 1}}, done.completion()));
    settle(800);
    NotificationCenter::defaultCenter().removeObserver(token);
    const QStringList names = log.names();
    EXPECT_EQ(done.calls, 0);
    EXPECT_EQ(names.count("FileDownloadProgressedNotification"), 1);
    EXPECT_FALSE(names.contains("FileDownloadCompleteNotification"));
    EXPECT_FALSE(QFile::exists(folder.filePath("big.mp3")));
}

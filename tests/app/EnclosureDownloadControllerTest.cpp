#include "app/EnclosureDownloadController.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"
#include "LoopbackServer.h"
#include "TestFiles.h"
#include "fetch/DownloadItem.h"
#include "fetch/Downloader.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace {

using Response = LoopbackServer::Response;

// The engine posts its file notices on the default center, so the window listens there.
class EnclosureWindowTest : public ::testing::Test
{
protected:
    EnclosureWindowTest()
    {
        t.defaults.setString("downloadPath", downloads.path());
        // Registered after the window's own observer: it sees the window as each notice left it.
        progressObserver =
            center().addObserver("FileDownloadProgressedNotification", [this](const Notification &) {
                progressStates << window.actionButton()->text() +
                                      (window.progressBar()->isVisible() ? " bar" : "");
            });
    }
    ~EnclosureWindowTest() override { center().removeObserver(progressObserver); }

    static NotificationCenter &center() { return NotificationCenter::defaultCenter(); }

    std::shared_ptr<Enclosure> enclosure(const QString &title, const QUrl &link, quint64 size = 0)
    {
        auto enclosure = std::make_shared<Enclosure>();
        enclosure->setLink(link);
        enclosure->setTitle(title);
        enclosure->setSize(size);
        return enclosure;
    }

    void choose(const std::shared_ptr<Enclosure> &chosen)
    {
        center().post("EnclosureSelectionChanged", QVariant::fromValue(chosen));
    }

    // What the engine posts when a transfer of the enclosure ends, with the file already in place.
    void finishWithoutNetwork(const std::shared_ptr<Enclosure> &finished)
    {
        writeFile(downloads.filePath(finished->title()), {});
        Downloader downloader;
        downloader.setDestination(downloads.path());
        downloader.setFileName(finished->title());
        downloader.setContextInfo(
            QVariantMap{{DownloadTypeKey, 1}, {DownloadEnclosureKey, QVariant::fromValue(finished)}});
        center().post("FileDownloadCompleteNotification", QVariant::fromValue(&downloader));
    }

    // Clicks Download and starts the queued transfer at once instead of on the updater's next tick.
    void startDownload()
    {
        window.actionButton()->click();
        t.updater.processQueuedDownloads();
    }

    AppTestLibrary t;
    QTemporaryDir downloads;
    RecordingDesktop desktop;
    EnclosureDownloadController window{t.updater, t.defaults, center(), desktop};
    LoopbackServer server;
    QStringList progressStates;
    int progressObserver = 0;
};

TEST_F(EnclosureWindowTest, ADownloadGoesFromDownloadThroughCancelToOpenFileAndOpensTheEpisode)
{
    const QByteArray body = QByteArray("sound of the sea ").repeated(4000);
    Response slow = Response::ok(body, "audio/mpeg");
    slow.chunkSize = 16 * 1024;
    slow.chunkDelayMs = 20;
    server.route("/casts/episode.MP3", slow);
    // Podcast hosts add tracking to their links, and another feed's episode may have the same name.
    const auto episode = enclosure(
        "episode.MP3", QUrl(server.url("/casts/episode.MP3").toString() + "?src=feed"), quint64(body.size()));
    writeFile(downloads.filePath("episode.MP3"), {});

    choose(episode);
    EXPECT_TRUE(window.window()->isVisible());
    EXPECT_EQ(window.fileNameField()->text(), "episode.MP3");
    EXPECT_EQ(window.fileSizeField()->text(), "66 KB");
    EXPECT_FALSE(window.iconView()->pixmap().isNull());
    EXPECT_EQ(window.actionButton()->text(), "Download");
    EXPECT_EQ(window.locationField()->text(), "Not downloaded");
    EXPECT_FALSE(window.progressBar()->isVisible());

    window.actionButton()->click();
    EXPECT_FALSE(window.actionButton()->isEnabled()) << "queued: nothing to press until the transfer starts";
    EXPECT_TRUE(window.progressBar()->isVisible());
    EXPECT_EQ(window.progressBar()->maximum(), 0) << "indeterminate while queued";
    ASSERT_EQ(t.updater.queuedDownloads().size(), 1);

    t.updater.processQueuedDownloads();
    EXPECT_EQ(window.actionButton()->text(), "Cancel");
    EXPECT_TRUE(window.actionButton()->isEnabled());
    EXPECT_EQ(window.progressBar()->maximum(), body.size());

    ASSERT_TRUE(QTest::qWaitFor([&] { return !episode->localFilePath().isEmpty(); }, 10000));
    EXPECT_FALSE(progressStates.isEmpty());
    EXPECT_EQ(progressStates.first(), "Cancel bar");
    EXPECT_EQ(window.actionButton()->text(), "Open File");
    EXPECT_FALSE(window.progressBar()->isVisible());
    EXPECT_EQ(window.locationField()->text(), QDir(downloads.path()).dirName());
    EXPECT_EQ(episode->localFilePath(), downloads.filePath("episode (2).MP3"));
    QFile saved(episode->localFilePath());
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), body);
    EXPECT_EQ(desktop.openedFiles, QStringList({episode->localFilePath()})) << "audio opens by default";

    ASSERT_TRUE(QTest::qWaitFor([&] { return t.updater.downloadsInProgress() == 0; }, 2000));
    EXPECT_EQ(window.locationField()->text(), QDir(downloads.path()).dirName()) << "no failure after success";
    window.actionButton()->click();
    EXPECT_EQ(desktop.openedFiles.size(), 2);
    EXPECT_EQ(desktop.openedFiles.last(), episode->localFilePath());

    // Chosen again after the file went away, it offers to fetch it once more.
    QFile::remove(episode->localFilePath());
    choose(episode);
    EXPECT_EQ(window.actionButton()->text(), "Redownload");
    EXPECT_EQ(window.locationField()->text(), "Not found");
}

TEST_F(EnclosureWindowTest, FinishedFilesOpenByThemselvesOnlyForTheKindsTheUserChose)
{
    for (const char *setting : {"downloadOpenBT", "downloadOpenDocument", "downloadOpenImage",
                                "downloadOpenMovie", "downloadOpenZip"})
        t.defaults.setBoolean(setting, true);
    t.defaults.setBoolean("downloadOpenAudio", false);
    const auto episode = enclosure("episode.MP3", QUrl("http://127.0.0.1:9/episode.MP3"));
    choose(episode);
    finishWithoutNetwork(episode);
    EXPECT_EQ(window.actionButton()->text(), "Open File");
    EXPECT_TRUE(desktop.openedFiles.isEmpty()) << "audio is off";

    const auto notes = enclosure("notes.doc", QUrl("http://127.0.0.1:9/notes.doc"));
    choose(notes);
    finishWithoutNetwork(notes);
    EXPECT_EQ(desktop.openedFiles, QStringList({downloads.filePath("notes.doc")}));

    for (const bool open : {false, true}) {
        desktop.openedFiles.clear();
        t.defaults.setBoolean("downloadOpenBT", open);
        const auto torrent = enclosure("season.torrent", QUrl("http://127.0.0.1:9/season.torrent"));
        choose(torrent);
        finishWithoutNetwork(torrent);
        EXPECT_EQ(desktop.openedFiles.size(), open ? 1 : 0) << "downloadOpenBT " << open;
    }
}

TEST_F(EnclosureWindowTest, NoticesAboutOtherTransfersChangeNothing)
{
    const auto shown = enclosure("episode.mp3", QUrl("http://127.0.0.1:9/episode.mp3"), 5000);
    choose(shown);
    // Another enclosure with the very same name and address is still another enclosure.
    const auto twin = enclosure("episode.mp3", QUrl("http://127.0.0.1:9/episode.mp3"), 5000);
    Downloader other;
    other.setDestination(downloads.path());
    other.setContextInfo(
        QVariantMap{{DownloadTypeKey, 1}, {DownloadEnclosureKey, QVariant::fromValue(twin)}});
    Downloader icon;
    icon.setContextInfo(QVariantMap{{DownloadTypeKey, 2}, {DownloadFeedKey, QVariant::fromValue(t.harbour)}});
    for (Downloader *downloader : {&other, &icon}) {
        for (const char *name : {"FileDownloadBeginingNotification", "FileDownloadProgressedNotification",
                                 "FileDownloadCompleteNotification"})
            center().post(name, QVariant::fromValue(downloader));
    }
    EXPECT_EQ(window.actionButton()->text(), "Download");
    EXPECT_EQ(window.locationField()->text(), "Not downloaded");
    EXPECT_FALSE(window.progressBar()->isVisible());
    EXPECT_EQ(window.downloader(), nullptr);
    EXPECT_TRUE(shown->localFilePath().isEmpty());
    EXPECT_TRUE(desktop.openedFiles.isEmpty());
}

TEST_F(EnclosureWindowTest, CancellingReturnsToDownloadAndAFailureOffersToDownloadAgainBothFreeingTheSlot)
{
    Response stalled;
    stalled.stall = true;
    server.route("/long.mp4", stalled);
    const auto movie = enclosure("long.mp4", server.url("/long.mp4"), 1 << 20);
    choose(movie);
    startDownload();
    ASSERT_EQ(window.actionButton()->text(), "Cancel");
    EXPECT_EQ(t.updater.downloadsInProgress(), 1);
    window.actionButton()->click();
    EXPECT_EQ(window.actionButton()->text(), "Download");
    EXPECT_TRUE(window.actionButton()->isEnabled());
    EXPECT_FALSE(window.progressBar()->isVisible());
    EXPECT_EQ(window.progressBar()->value(), 0);
    EXPECT_EQ(window.downloader(), nullptr);
    EXPECT_EQ(t.updater.downloadsInProgress(), 0);
    QTest::qWait(100);
    EXPECT_EQ(window.locationField()->text(), "Not downloaded") << "a cancel is no failure";
    EXPECT_TRUE(movie->localFilePath().isEmpty());
    EXPECT_TRUE(QDir(downloads.path()).isEmpty());

    Response broken = Response::ok(QByteArray(40000, 'x'), "video/mp4");
    broken.closeMidBody = true;
    server.route("/broken.mp4", broken);
    const auto failed = enclosure("broken.mp4", server.url("/broken.mp4"), 40000);
    choose(failed);
    startDownload();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.actionButton()->text() == "Redownload"; }, 10000));
    EXPECT_EQ(window.locationField()->text(), "Download failed");
    EXPECT_TRUE(window.actionButton()->isEnabled());
    EXPECT_FALSE(window.progressBar()->isVisible());
    EXPECT_TRUE(failed->localFilePath().isEmpty());
    EXPECT_EQ(t.updater.downloadsInProgress(), 0);

    // The address the engine would refuse is refused here, with no slot taken for ever.
    choose(enclosure("secret.txt", QUrl("ftp://127.0.0.1:9/secret.txt")));
    window.actionButton()->click();
    EXPECT_EQ(window.actionButton()->text(), "Redownload");
    EXPECT_TRUE(t.updater.queuedDownloads().isEmpty());
}

} // namespace

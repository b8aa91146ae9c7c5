#include "fetch/ImagingService.h"

#include "CentredGreen.h"
#include "EventLoopWait.h"
#include "ResponseWith.h"
#include "TestFiles.h"
#include "fetch/QBImageManipulator.h"
#include "model/Article.h"
#include "model/Feed.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <optional>

namespace {
LoopbackServer::Response served(int width, int height, const char *format = "PNG")
{
    return LoopbackServer::Response::ok(pictureBytes(format, centredGreen(width, height)),
                                        "image/" + QByteArray(format).toLower());
}

class ThumbnailWorker : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.isListening());
        FeedLibrary::setLibraryPath(library.path());
        ASSERT_TRUE(QDir().mkpath(FeedLibrary::articleImagePath()));
        feed->setTitle("Pictures");
        observer = NotificationCenter::defaultCenter().addObserver(
            "SummaryWebViewNeedsReload", [this](const Notification &) {
                ++reloads;
                if (QThread::currentThread() != QCoreApplication::instance()->thread())
                    ++reloadsOffTheMainThread;
            });
    }

    void TearDown() override
    {
        service.terminate();
        NotificationCenter::defaultCenter().removeObserver(observer);
        FeedLibrary::setLibraryPath(QString());
    }

    // Served as given, or answered 404 without an answer.
    ArticlePtr queued(const QString &path, const std::optional<LoopbackServer::Response> &answer = {})
    {
        if (answer)
            server.route(path, *answer);
        auto article = std::make_shared<Article>();
        article->setSource(feed);
        article->setImageURL(server.url(path));
        service.addToQueue(article);
        return article;
    }

    QString thumbnailPath(const ArticlePtr &article) const
    {
        return QString("%1/%2/%3.jpg")
            .arg(FeedLibrary::articleImagePath(), feed->uniqueID(), article->uniqueID());
    }

    bool drained()
    {
        return waitUntil([this] { return service.queue().isEmpty() && reloads > 0; });
    }

    QTemporaryDir library;
    LoopbackServer server;
    FeedPtr feed = std::make_shared<Feed>();
    ImagingService service;
    int observer = 0;
    int reloads = 0;
    int reloadsOffTheMainThread = 0;
};
} // namespace

TEST_F(ThumbnailWorker,
       PicturesAreCroppedSquareTinyOrUnfetchableOnesAreForgottenAndUndecodableOnesGetTheStandIn)
{
    const ArticlePtr wide = queued("/wide.png", served(1000, 500));
    const ArticlePtr small = queued("/small.jpg", served(200, 100, "JPEG"));
    const ArticlePtr thin = queued("/thin.png", served(49, 400));
    const ArticlePtr missing = queued("/missing.jpg");
    const ArticlePtr garbage =
        queued("/garbage.jpg", LoopbackServer::Response::ok("this is not a picture", "image/jpeg"));
    service.start();
    ASSERT_TRUE(drained());

    QImageReader wideReader(thumbnailPath(wide));
    EXPECT_EQ(wideReader.format(), "jpeg");
    const QImage wideThumb = wideReader.read();
    ASSERT_EQ(wideThumb.size(), QSize(280, 280));
    EXPECT_GT(wideThumb.pixelColor(2, 2).green(), 200) << "the centred square, not the red sides";
    EXPECT_EQ(QImageReader(thumbnailPath(small)).size(), QSize(200, 200));
    EXPECT_FALSE(QFile::exists(thumbnailPath(thin)));
    EXPECT_TRUE(thin->imageURL().isEmpty()) << "a picture under 50 pixels wide is forgotten";
    EXPECT_TRUE(missing->imageURL().isEmpty()) << "a 404 is a failed fetch";
    EXPECT_FALSE(QFile::exists(thumbnailPath(missing)));
    const QSize standIn = QBImageManipulator::dummyImage().size();
    const int side = std::min(std::max(standIn.width(), standIn.height()), 280);
    EXPECT_EQ(QImageReader(thumbnailPath(garbage)).size(), QSize(side, side));
    EXPECT_FALSE(garbage->imageURL().isEmpty());
    EXPECT_EQ(server.lastRequest("/wide.png").header("User-Agent"), "QuillBay/" QB_VERSION " Macintosh")
        << "without the setting the program still names itself";
}

TEST_F(ThumbnailWorker, TheHeadlinePageIsReloadedEveryTenthThumbnailAndWhenTheQueueDrains)
{
    server.route("/p.jpg", served(80, 60, "JPEG"));
    for (int i = 0; i < 23; ++i)
        queued("/p.jpg");
    service.start();
    ASSERT_TRUE(waitUntil([this] { return reloads >= 3; }));
    settle(300);
    EXPECT_EQ(reloads, 3);
    EXPECT_EQ(reloadsOffTheMainThread, 0);
    EXPECT_EQ(service.count(), 23);
}

TEST_F(ThumbnailWorker, NothingIsFetchedBeforeStartRemovedArticlesNeverAndAHibernatingWorkerWakesForANewOne)
{
    service.hibernate();
    const ArticlePtr kept = queued("/keep.png", served(64, 64));
    EXPECT_EQ(service.heartBeat(), 0) << "queueing wakes the worker";
    const ArticlePtr removed = queued("/removed.png");
    service.addToQueue(nullptr);
    EXPECT_EQ(service.queue(), (ArticleList{kept, removed}));
    settle(200);
    EXPECT_TRUE(server.requests().isEmpty()) << "the worker waits for start";

    service.removeFromQueue(removed);
    service.start();
    ASSERT_TRUE(drained());
    EXPECT_EQ(server.requestCount("/removed.png"), 0);
    EXPECT_FALSE(removed->imageURL().isEmpty());
    EXPECT_TRUE(QFile::exists(thumbnailPath(kept)));

    ASSERT_TRUE(waitUntil([this] { return service.heartBeat() == ImagingService::hibernatingHeartBeat; }));
    const ArticlePtr late = queued("/late.png", served(90, 70));
    ASSERT_TRUE(waitUntil([this] { return reloads == 2; }))
        << "an article queued while hibernating is picked up";
    EXPECT_EQ(QImageReader(thumbnailPath(late)).size(), QSize(90, 90));
    ASSERT_TRUE(waitUntil([this] { return service.heartBeat() == 2; })) << "and the worker sleeps again";
}

TEST_F(ThumbnailWorker, TerminateAbandonsTheFetchUnderWayAndEndsTheWorkerForGood)
{
    server.route("/stall.png", with(LoopbackServer::Response(), &LoopbackServer::Response::stall, true));
    const ArticlePtr waiting = queued("/stall.png");
    service.start();
    ASSERT_TRUE(waitUntil([this] { return server.requestCount("/stall.png") == 1; }));

    service.terminate();
    EXPECT_FALSE(service.active());
    EXPECT_EQ(service.queue(), ArticleList{waiting}) << "the interrupted article stays queued";
    settle(100);
    EXPECT_FALSE(waiting->imageURL().isEmpty()) << "an interrupted fetch is not a failed one";
    EXPECT_EQ(service.count(), 0);

    queued("/after.png", served(64, 64));
    service.start();
    settle(300);
    EXPECT_EQ(server.requestCount("/after.png"), 0) << "a terminated worker never starts again";
    EXPECT_EQ(reloads, 0);
}

#include "fetch/AddFeedController.h"

#include "EventLoopWait.h"
#include "ResponseWith.h"
#include "UpdaterFixture.h"
#include "db/FMDatabase.h"
#include "db/FMResultSet.h"
#include "fetch/DownloadItem.h"
#include "fetch/Downloader.h"
#include "platform/NotificationCenter.h"

#include <gtest/gtest.h>

// Which kind of link leads where is shown by the add tests below; here, how a hostile or odd page's
// addresses are read.
TEST(WebsiteProperties, HrefsResolveAsABrowserResolvesThemAndOnlyTheLastLinkOutsideCommentsAndScriptsCounts)
{
    const QString article = "http://example.com/blog/2026/story.html";
    const QList<std::tuple<QString, QString, QString>> rows = {
        {"<link rel=\"icon\" href=\"img/i.png\">", article, "http://example.com/blog/2026/img/i.png"},
        {"<LINK rel='icon' href='/i.png'>", article, "http://example.com/i.png"},
        {"<link rel=\"icon\" href=\"feed://example.com/i\">", article, "feed://example.com/i"},

        {"<link rel=\"icon\" href=\"../i.png\">", article, "http://example.com/blog/i.png"},
        {"<link rel=\"icon\" href=\"//cdn.example/i.png\">", "https://example.com/",
         "https://cdn.example/i.png"},
        {"<link rel=\"icon\" href=\" https://other.example/i.png \">", article,
         "https://other.example/i.png"},
        {"<base href=\"http://static.example/s/\"><link rel=\"icon\" href=\"i.png\">", article,
         "http://static.example/s/i.png"},
        {"<link rel=\"icon\" href=\"javascript:alert(1)\">", article, ""},
        {"<link rel=\"icon\" href=\"data:image/png;base64,AAAA\">", article, ""},
        {"<link rel=\"icon\" href=\"/first.ico\"><link rel=\"icon\" href=\"/second.ico\">", "http://h",
         "http://h/second.ico"}};
    for (const auto &[page, base, icon] : rows)
        EXPECT_EQ(AddFeedController::websitePropertiesFromHTML(page, QUrl(base)).value("icon"), QUrl(icon))
            << page.toStdString();

    for (const char *page : {"<!-- <link rel=\"apple-touch-icon\" href=\"/commented.png\"> -->",
                             "<script>document.write('<link rel=\"alternate\" type=\"application/rss+xml\" "
                             "href=\"/scripted.xml\">')</script>",
                             "<p>no links</p>", ""})
        EXPECT_TRUE(AddFeedController::websitePropertiesFromHTML(page, QUrl("http://h")).isEmpty()) << page;
}

TEST(AddFeedController, TypedAddressesAreNormalisedBeforeTheyAreDownloaded)
{
    const QList<std::pair<QString, QString>> rows = {
        {"harbour", "http://harbour.com"},
        {" feed://news.example.org/rss ", "http://news.example.org/rss"},
        {"feed:https://news.example.org/x", "https://news.example.org/x"},
        {"feed:news.example.org", "http://news.example.org"},
        {"https://news.example.org/a b", "https://news.example.org/ab"},
        {"http://localhost/feed", "http://localhost/feed"}, // a host without a dot is kept as typed
        {"intranet:8080", "http://intranet:8080"}};
    for (const auto &[typed, address] : rows)
        EXPECT_EQ(AddFeedController::normalisedAddress(typed), address) << typed.toStdString();
}

namespace {

using Response = LoopbackServer::Response;

const QByteArray rssWithItem =
    "<?xml version=\"1.0\"?><rss version=\"2.0\"><channel><title>Tide Tables</title>"
    "<link>http://127.0.0.1/</link><item><title>High water</title>"
    "<guid>tide-1</guid><description>At noon.</description></item></channel></rss>";
const QByteArray rssWithoutItems = "<?xml version=\"1.0\"?><rss version=\"2.0\"><channel><title>Empty</title>"
                                   "<link>http://127.0.0.1/</link></channel></rss>";
const QByteArray atomWithEntry =
    "<?xml version=\"1.0\"?><feed xmlns=\"http://www.w3.org/2005/Atom\"><title>Lighthouse Log</title>"
    "<link href=\"http://127.0.0.1/\"/><entry><title>Beam</title><id>urn:beam</id>"
    "<updated>2026-03-01T12:00:00Z</updated><content>Bright.</content></entry></feed>";

class AddFeedTest : public UpdaterTest
{
protected:
    void SetUp() override
    {
        UpdaterTest::SetUp();
        folder = std::make_shared<Folder>();
        folder->setTitle("Coast");
        library.add(folder, nullptr, 0);
        library.add(std::make_shared<Feed>(), folder, 0);
        QObject::connect(&controller, &AddFeedController::beepRequested, [this] { ++beeps; });
        QObject::connect(&controller, &AddFeedController::closed, [this](int result) { results << result; });
        modifiedToken = center.addObserver(
            "feedLibraryModified", [this](const Notification &n) { modified << n.object.value<FeedPtr>(); });
    }
    void TearDown() override { center.removeObserver(modifiedToken); }

    // Until the controller has nothing left to download or the panel closed.
    void settleDownloads()
    {
        waitUntil([this] { return !controller.download(); }, 5000);
    }

    bool add(const QUrl &url)
    {
        controller.setAddress(url.toString());
        const bool started = controller.doAddFeed();
        settleDownloads();
        return started;
    }

    QStringList queuedIconAddresses() const
    {
        QStringList addresses;
        for (const auto &item : updater.queuedDownloads())
            addresses << item->downloadURL().toString();
        return addresses;
    }

    NotificationCenter center;
    AddFeedController controller{library, updater, center};
    LoopbackServer server;
    FolderPtr folder;
    int beeps = 0;
    QList<int> results;
    QList<FeedPtr> modified;
    int modifiedToken = 0;
};

} // namespace

TEST_F(AddFeedTest, AFeedIsAddedAtTheTopOfTheChosenFolderSelectedAnnouncedAndGivenAnIcon)
{
    server.route("/tides.xml", Response::ok(rssWithItem, "application/rss+xml"));
    controller.setFolder(folder);

    ASSERT_TRUE(add(server.url("/tides.xml")));

    ASSERT_EQ(results, QList<int>{1});
    const FeedPtr feed = controller.addedFeed();
    ASSERT_TRUE(feed);
    EXPECT_EQ(folder->children().size(), 2);
    EXPECT_EQ(folder->children().value(0), feed);
    EXPECT_EQ(library.selectedItems(), TreeNodeList{feed});
    EXPECT_EQ(modified, QList<FeedPtr>{feed});
    EXPECT_EQ(feed->feed(), server.url("/tides.xml"));
    EXPECT_EQ(feed->childCount(), 1);
    EXPECT_EQ(queuedIconAddresses(), QStringList{server.url("/apple-touch-icon-precomposed.png").toString()})
        << "a site on the feed's own host is asked on the feed's port";
    updater.checkForDueFeeds();
    for (const auto &item : updater.queuedDownloads())
        EXPECT_NE(item->downloadURL(), server.url("/tides.xml")) << "fetched just now, it is not due again";
    EXPECT_EQ(feed->state(), Feed::Parsed) << "selecting it asks for no second download";
    EXPECT_EQ(controller.state(), AddFeedController::Accepted);
    EXPECT_TRUE(controller.address().isEmpty()) << "the panel is ready for the next use";
    EXPECT_TRUE(controller.addressEditable());
    EXPECT_FALSE(controller.spinning());
}

TEST_F(AddFeedTest, AnArticlePageLinkingBothKindsRootRelativelyLeadsToTheAtomFeedAndItsTouchIcon)
{
    server.route("/2026/03/lighthouse.html",
                 Response::ok("<html><head>"
                              "<link rel=\"alternate\" type=\"application/atom+xml\" href=\"/log.atom\">"
                              "<link rel=\"alternate\" type=\"application/rss+xml\" href=\"/log.rss\">"
                              "<link rel=\"apple-touch-icon-precomposed\" href=\"/touch.png\">"
                              "</head><body>Lighthouse</body></html>",
                              "text/html"));
    server.route("/log.atom", Response::ok(atomWithEntry, "application/atom+xml"));
    server.route("/log.rss", Response::ok(rssWithItem, "application/rss+xml"));

    ASSERT_TRUE(add(server.url("/2026/03/lighthouse.html")));

    ASSERT_EQ(results, QList<int>{1});
    EXPECT_EQ(server.requestCount("/log.rss"), 0);
    const FeedPtr feed = controller.addedFeed();
    ASSERT_TRUE(feed);
    EXPECT_EQ(feed->title(), "Lighthouse Log");
    EXPECT_EQ(library.root()->children().value(0), feed) << "without a chosen folder it goes to the top";
    EXPECT_EQ(queuedIconAddresses(), QStringList{server.url("/touch.png").toString()});
}

TEST_F(AddFeedTest, AFeedWithoutItemsOrAnHtmlPageWithoutLinksTurnsTheAddressRed)
{
    server.route("/empty.xml", Response::ok(rssWithoutItems, "application/rss+xml"));
    server.route("/page.html", Response::ok("<!DOCTYPE html><html><body><rss><channel><title>x</title>"
                                            "<item><title>y</title></item></channel></rss></body></html>",
                                            "text/html"));
    const qsizetype before = library.allFeeds().size();

    for (const char *path : {"/empty.xml", "/page.html"}) {
        ASSERT_TRUE(add(server.url(path))) << path;
        EXPECT_EQ(controller.state(), AddFeedController::Rejected) << path;
        EXPECT_TRUE(controller.addressRed());
        EXPECT_TRUE(controller.addressEditable());
        EXPECT_FALSE(controller.spinning());
        EXPECT_EQ(controller.address(), server.url(path).toString());
        EXPECT_EQ(controller.failureReason(), "Not a feed");
        EXPECT_TRUE(controller.textShouldBeginEditing());
        EXPECT_FALSE(controller.addressRed()) << "typing turns the address black again";
    }
    EXPECT_TRUE(results.isEmpty()) << "the panel stays open";
    EXPECT_EQ(library.allFeeds().size(), before);
    EXPECT_EQ(beeps, 0);
    const auto stored = library.database()->executeQuery("SELECT COUNT(*) AS n FROM articles");
    ASSERT_TRUE(stored && stored->next());
    EXPECT_EQ(stored->intForColumn("n"), 0) << "the page's items were not kept";
}

TEST_F(AddFeedTest, APageWhoseLinkedFeedIsItselfIsFollowedFiveTimesThenTurnsRed)
{
    const QByteArray selfLink = "<html><head><link rel=\"alternate\" type=\"application/rss+xml\" href=\"" +
                                server.url("/loop").toString().toUtf8() + "\"></head></html>";
    server.route("/loop", Response::ok(selfLink, "text/html"));

    ASSERT_TRUE(add(server.url("/loop")));

    EXPECT_EQ(server.requestCount("/loop"), 1 + AddFeedController::maximumDiscoveryHops);
    EXPECT_TRUE(controller.addressRed());

    server.route("/loop", Response::ok(rssWithItem, "application/rss+xml"));
    ASSERT_TRUE(add(server.url("/loop")));
    EXPECT_EQ(results, QList<int>{1}) << "a new add starts counting afresh";
}

TEST_F(AddFeedTest, AFailedDownloadBeepsAndLeavesThePanelOpenForAnotherTry)
{
    server.route("/broken.xml", with(Response::ok(rssWithItem), &Response::closeMidBody, true));

    ASSERT_TRUE(add(server.url("/broken.xml")));

    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(controller.state(), AddFeedController::Failed);
    EXPECT_EQ(controller.failureReason(), "Connection lost");
    EXPECT_TRUE(controller.addEnabled());
    EXPECT_FALSE(controller.addressEditable()) << "only the add button comes back";
    EXPECT_TRUE(controller.spinning());
    EXPECT_TRUE(results.isEmpty());

    server.route("/broken.xml", Response::ok(rssWithItem, "application/rss+xml"));
    ASSERT_TRUE(controller.doAddFeed());
    settleDownloads();
    EXPECT_EQ(results, QList<int>{1});
}

TEST_F(AddFeedTest, CancellingDuringADownloadAddsNothingAndNoCompletionFollows)
{
    server.route("/slow.xml", with(Response::ok(rssWithItem), &Response::delayMs, 300));
    const qsizetype before = library.allFeeds().size();
    controller.setAddress(server.url("/slow.xml").toString());
    ASSERT_TRUE(controller.doAddFeed());
    EXPECT_EQ(controller.state(), AddFeedController::Downloading);
    EXPECT_FALSE(controller.addEnabled());
    EXPECT_FALSE(controller.addressEditable());
    EXPECT_TRUE(controller.spinning());

    controller.doCancel();
    settle(600);

    EXPECT_EQ(results, QList<int>{0});
    EXPECT_EQ(library.allFeeds().size(), before);
    EXPECT_TRUE(modified.isEmpty());
    EXPECT_EQ(controller.state(), AddFeedController::Idle);
    EXPECT_TRUE(controller.addEnabled());
    EXPECT_FALSE(controller.spinning());
    EXPECT_EQ(beeps, 0);
}

TEST_F(AddFeedTest, AnEmptyAddressOrOneThatMakesNoAddressBeepsWithoutDownloading)
{
    controller.setAddress("");
    EXPECT_FALSE(controller.doAddFeed());
    controller.setAddress("http://[bad");
    EXPECT_FALSE(controller.doAddFeed());
    EXPECT_EQ(beeps, 2);
    EXPECT_EQ(controller.state(), AddFeedController::Idle);
    EXPECT_TRUE(server.requests().isEmpty());
}

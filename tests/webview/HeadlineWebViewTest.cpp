#include "AppTestDoubles.h"
#include "EventLoopWait.h"
#include "LoopbackServer.h"
#include "TestFiles.h"
#include "app/HeadlineViewDelegate.h"
#include "app/MainWindow.h"
#include "app/QBHeadlineWebView.h"
#include "app/QuillBayController.h"
#include "fetch/FeedUpdater.h"
#include "headlines/HeadlinePage.h"
#include "model/FeedLibrary.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"
#include "platform/Resources.h"

#include <QImage>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <gtest/gtest.h>

namespace {

// Records every navigation the view asks about and passes it on to the main window, whose desktop is a
// recording stand-in: whatever would reach the user's browser is written down instead.
class RecordingDelegate : public HeadlineViewDelegate
{
public:
    bool acceptNavigation(const HeadlineLinkPolicy::NavigationAction &action) override
    {
        navigations.append(action);
        return window->acceptNavigation(action);
    }
    void linkHovered(const QUrl &url) override { window->linkHovered(url); }
    void pageFinishedLoading() override { ++loads; }
    void pageScrolled(const QPointF &) override {}
    void openInDefaultBrowser(const QUrl &url) override { window->openInDefaultBrowser(url); }

    QStringList clicked() const
    {
        QStringList addresses;
        for (const auto &action : navigations)
            if (action.origin == HeadlineLinkPolicy::ClickedLink)
                addresses << action.url.toString();
        return addresses;
    }

    QuillBayController *window = nullptr;
    QList<HeadlineLinkPolicy::NavigationAction> navigations;
    int loads = 0;
};

class HeadlineWebViewTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Defaults &defaults = Defaults::standard();
        SettingsTable::registerWith(defaults);
        defaults.setInteger("ArticleDisplayModeKey", HeadlinePage::ListMode);
        defaults.setBoolean("displayLoadRemoteImages", true);
        library.load();
        library.root()->removeChildren();
        server.route("/pictures/pier.png",
                     LoopbackServer::Response::ok(pictureBytes("PNG", Qt::blue, 8), "image/png"));
        feed = std::make_shared<Feed>();
        feed->setTitle("Harbour <script>document.title='pwned'</script>");
        feed->setState(Feed::Parsed);
        library.add(feed, nullptr, 0);
        for (int i = 0; i < 2; ++i)
            addArticle(i);
        delegate.window = &controller;
        controller.setupMainWindow();
        view->setDelegate(&delegate);
        controller.window()->resize(1000, 760);
        controller.window()->show();
    }

    // Feed text written to do harm: every piece that acted would ask the loopback server for a /pwned path.
    void addArticle(int number)
    {
        const QString base = server.url("/").toString();
        auto article = std::make_shared<Article>();
        article->setTitle(
            QString("Tide <b onmouseover=\"new Image().src='%1pwned-title'\">%2</b>"
                    "<style>.article{display:none}</style><a href=\"%1pwned-overlay\" style=\"position:"
                    "fixed;top:0;left:0;width:100%;height:100%;z-index:99999\"></a>")
                .arg(base)
                .arg(number));
        article->setGuid("guid-" + QString::number(number));
        article->setLink(server.url(QString("/stories/%1").arg(number)));
        const QString text =
            QString(
                "<script>new Image().src='%1pwned-script'</script>"
                "<img src=\"%1missing.png\" onerror=\"new Image().src='%1pwned-onerror'\">"
                "<img src=\"%1pwned-pixel\" width=\"1\" height=\"1\">"
                "<a href=\"%1pwned-link\"><img src=\"../pictures/pier.png\" alt=\"pier\"></a>"
                "<iframe src=\"%1pwned-iframe\"></iframe><object data=\"%1pwned-object\"></object>"
                "<form action=\"%1pwned-form\"><input name=\"a\"><button>Win</button></form>"
                "<meta http-equiv=\"refresh\" content=\"0;url=%1pwned-refresh\"><base href=\"%1pwned-base/\">"
                "<link rel=\"stylesheet\" href=\"%1pwned-style.css\">"
                "<a href=\"javascript:new Image().src='%1pwned-jslink'\">look</a>"
                "<a href=\"data:text/html,<script>new Image().src='%1pwned-data'</script>\">data</a>"
                "<a href=\"smb://host/share/x.desktop\">share</a>")
                .arg(base);
        // The list shows the summary, a page of its own the stored full text; both are the same here.
        article->setSummary(text);
        article->setLegacyPublicationDate(
            CalendarDate(QDateTime(QDate(2026, 3, 10), QTime(12, feed->childCount()), Qt::UTC), 0));
        article->setSource(feed);
        article->setParent(feed);
        library.saveSummary(text, article);
        feed->addChild(article, feed->childCount());
    }

    ArticlePtr article(int index) const
    {
        return std::static_pointer_cast<Article>(feed->children().at(index));
    }

    // The window builds the page of the selection, as it does when the user picks the feed.
    void showSelection(const TreeNodeList &selection)
    {
        library.setSelectedItems(selection);
        const int loads = delegate.loads;
        center.post("feedSelectionChanged");
        waitUntil([&] { return delegate.loads > loads; }, 20000);
        ASSERT_GT(delegate.loads, loads) << "the page never finished loading";
        // Handlers and refreshes that would act do so at once or soon after loading.
        QTest::qWait(1200);
    }

    QVariant evaluate(const QString &script)
    {
        QVariant result;
        bool done = false;
        view->page()->runJavaScript(script, QWebEngineScript::ApplicationWorld, [&](const QVariant &value) {
            result = value;
            done = true;
        });
        waitUntil([&] { return done; }, 10000);
        return result;
    }

    // A real click of the user's, on the middle of the first element the selector finds.
    void clickOn(const QString &selector)
    {
        const QVariantList box =
            evaluate(QString("var r = document.querySelector('%1').getBoundingClientRect();"
                             "[r.left + r.width / 2, r.top + r.height / 2]")
                         .arg(selector))
                .toList();
        ASSERT_EQ(box.size(), 2) << selector.toStdString();
        QTest::mouseClick(view->focusProxy(), Qt::LeftButton, {},
                          QPoint(box.at(0).toInt(), box.at(1).toInt()));
    }

    QStringList pwnedRequests() const
    {
        QStringList paths;
        for (const LoopbackServer::Request &request : server.requests())
            if (request.path.startsWith("/pwned"))
                paths << request.path;
        return paths;
    }

    QTemporaryDir scratch;
    LoopbackServer server;
    FeedLibrary library;
    NotificationCenter center;
    FeedUpdater updater{library, Defaults::standard()};
    RecordingDesktop desktop;
    FeedPtr feed;
    RecordingDelegate delegate;
    // The main window takes the view as its own and deletes it.
    QBHeadlineWebView *view = new QBHeadlineWebView("QuillBay test");
    QuillBayController controller{library, updater, Defaults::standard(), center, desktop, *view};
};

TEST_F(HeadlineWebViewTest, HostileFeedTextRunsNothingHidesNothingCoversNothingAndReadsNoLocalFile)
{
    showSelection({feed});
    EXPECT_TRUE(evaluate("document.body.innerText.indexOf('Tide 1') >= 0").toBool()) << "the page shows";
    EXPECT_EQ(
        evaluate("[...document.querySelectorAll('.article')].filter(e => e.offsetHeight > 0).length").toInt(),
        2)
        << "a feed's style hides no article";
    EXPECT_EQ(evaluate("document.querySelectorAll('iframe, frame, form, input, button, object, embed, base, "
                       "meta[http-equiv=refresh], [style], [onmouseover], [onerror], a[href^=javascript], "
                       "a[href^=data], a[href^=smb]').length")
                  .toInt(),
              0);
    EXPECT_EQ(evaluate("document.scripts.length").toInt(), 1);
    EXPECT_EQ(evaluate("document.title").toString(), "QuillBay");

    // The user moves over the titles and clicks on an empty stretch of the page: no overlay is there to
    // take the click, and no handler text runs.
    QTest::mouseMove(view->focusProxy(), QPoint(60, 70));
    clickOn(".sortbar");
    QTest::mouseMove(view->focusProxy(), QPoint(300, 90));
    QTest::qWait(800);
    EXPECT_EQ(pwnedRequests(), QStringList());
    EXPECT_TRUE(delegate.clicked().isEmpty()) << delegate.clicked().join(' ').toStdString();
    EXPECT_TRUE(desktop.opened.isEmpty());
    EXPECT_EQ(view->page()->url().scheme(), "qbpage") << "the view stays on its page";

    // Only the program's own pictures are local files the page may show.
    const QString outside = scratch.filePath("secret.png");
    QImage(8, 8, QImage::Format_RGB32).save(outside);
    const QString load =
        "var i = new Image(); i.src = '%1'; document.body.appendChild(i); i.className = '%2'; true";
    evaluate(load.arg(QUrl::fromLocalFile(outside).toString(), "outside"));
    evaluate(load.arg(QUrl::fromLocalFile(Resources::folder() + "/read.png").toString(), "inside"));
    QTest::qWait(800);
    EXPECT_EQ(evaluate("document.querySelector('img.outside').naturalWidth").toInt(), 0);
    EXPECT_GT(evaluate("document.querySelector('img.inside').naturalWidth").toInt(), 0);
}

TEST_F(HeadlineWebViewTest, CopiedHandlerTextRunsNothingThePagesScriptFollowsClicksAndFileLinksStayInside)
{
    showSelection({feed});
    // A script's location change is refused: only the user's clicks count.
    view->page()->runJavaScript("location.href = 'quillbay:article=" + article(0)->uniqueID() + "';");
    QTest::qWait(1000);
    EXPECT_TRUE(delegate.clicked().isEmpty());
    EXPECT_EQ(evaluate("document.URL").toString().left(7), "qbpage:");

    // The very text the page once allowed as a handler, were a feed to smuggle it in, runs nothing.
    evaluate(QString("document.querySelector('.summary').setAttribute('onclick', \"JavaScript:new "
                     "Image().src='%1pwned-handler'\"); true")
                 .arg(server.url("/").toString()));
    clickOn(".summary");
    waitUntil([&] { return !delegate.clicked().isEmpty(); }, 5000);
    QTest::qWait(500);
    EXPECT_EQ(pwnedRequests(), QStringList());
    ASSERT_EQ(delegate.clicked().size(), 1);
    EXPECT_TRUE(delegate.clicked().first().startsWith("quillbay:article=")) << "the block's own command";

    // A link inside a clickable article is followed itself, and a file address never reaches the desktop.
    article(1)->setLink(QUrl("file:///etc/passwd"));
    showSelection({feed});
    clickOn(QString("a[href=\"quillbay:open=%1\"]").arg(article(1)->uniqueID()));
    waitUntil([&] { return delegate.clicked().size() > 1; }, 5000);
    QTest::qWait(300);
    EXPECT_EQ(delegate.clicked().mid(1), QStringList{"quillbay:open=" + article(1)->uniqueID()});
    EXPECT_TRUE(desktop.opened.isEmpty());
    EXPECT_EQ(desktop.beeps, 1);
    EXPECT_TRUE(controller.window()->statusMessage()->text().contains("“file:”"));
}

TEST_F(HeadlineWebViewTest, PicturesLoadFromTheArticlesSiteAndWhileRemoteImagesAreOffOnlyOnTheUsersClick)
{
    showSelection({article(0)});
    EXPECT_EQ(server.requestCount("/pictures/pier.png"), 1) << "the relative picture is the article's site's";
    EXPECT_GT(evaluate("document.querySelector('img[alt=pier]').naturalWidth").toInt(), 0);

    Defaults::standard().setBoolean("displayLoadRemoteImages", false);
    showSelection({article(1)});
    EXPECT_EQ(server.requestCount("/pictures/pier.png"), 1) << "no picture loads by itself";
    EXPECT_EQ(evaluate("document.querySelectorAll('.summary img').length").toInt(), 0);
    clickOn(".heldPicture[data-alt=pier]");
    waitUntil([&] { return server.requestCount("/pictures/pier.png") == 2; }, 5000);
    QTest::qWait(300);
    EXPECT_GT(evaluate("document.querySelector('.summary img[alt=pier]').naturalWidth").toInt(), 0);
    EXPECT_TRUE(delegate.clicked().isEmpty()) << "the picture's link stays where it is";
    EXPECT_EQ(pwnedRequests(), QStringList());
}

} // namespace

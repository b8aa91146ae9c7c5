#include "LoopbackServer.h"
#include "app/HeadlineViewDelegate.h"
#include "app/QBHeadlineWebView.h"
#include "headlines/HeadlinePage.h"
#include "model/FeedLibrary.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/Resources.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <gtest/gtest.h>

namespace {

class RecordingDelegate : public HeadlineViewDelegate
{
public:
    bool acceptNavigation(const HeadlineLinkPolicy::NavigationAction &action) override
    {
        navigations.append(action);
        return action.origin == HeadlineLinkPolicy::PageLoad;
    }
    void linkHovered(const QUrl &) override {}
    void pageFinishedLoading() override { ++loads; }
    void pageScrolled(const QPointF &) override {}
    void openInDefaultBrowser(const QUrl &) override {}

    QList<HeadlineLinkPolicy::NavigationAction> navigations;
    int loads = 0;

    int count(HeadlineLinkPolicy::Origin origin) const
    {
        return int(std::count_if(navigations.begin(), navigations.end(),
                                 [origin](const auto &action) { return action.origin == origin; }));
    }
};

// Feed text written to do harm: every piece that acted would ask the loopback server for a /pwned path.
QString hostileSummary(const LoopbackServer &server, const QString &outsideImage)
{
    const QString base = server.url("/").toString();
    return QString("<script>document.body.setAttribute('data-pwned','script');"
                   "new Image().src='%1pwned-script'</script>"
                   "<img src=\"%1missing.png\" onerror=\"document.body.setAttribute('data-pwned','onerror');"
                   "new Image().src='%1pwned-onerror'\">"
                   "<iframe src=\"%1pwned-iframe\"></iframe>"
                   "<object data=\"%1pwned-object\"></object>"
                   "<form id=\"f\" action=\"%1pwned-form\"><input name=\"a\" value=\"b\"></form>"
                   "<meta http-equiv=\"refresh\" content=\"0;url=%1pwned-refresh\">"
                   "<link rel=\"stylesheet\" href=\"%1pwned-style.css\">"
                   "<a id=\"js\" href=\"javascript:new Image().src='%1pwned-jslink'\">look</a>"
                   "<img id=\"outside\" src=\"%2\">"
                   "<img id=\"inside\" src=\"%3\">")
        .arg(base, QUrl::fromLocalFile(outsideImage).toString(),
             QUrl::fromLocalFile(Resources::folder() + "/read.png").toString());
}

class HeadlineWebViewTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        SettingsTable::registerWith(Defaults::standard());
        Defaults::standard().setInteger("ArticleDisplayModeKey", HeadlinePage::ListMode);
        library.load();
        library.root()->removeChildren();
        QImage picture(8, 8, QImage::Format_RGB32);
        picture.fill(Qt::red);
        outsideImage = scratch.filePath("secret.png");
        picture.save(outsideImage);
        feed = std::make_shared<Feed>();
        feed->setTitle("Harbour <script>document.title='pwned'</script>");
        library.add(feed, nullptr, 0);
        for (int i = 0; i < 2; ++i)
            addArticle(
                QString("Tide <b onmouseover=\"document.body.setAttribute('data-pwned','title')\">%1</b>"
                        "<script>new Image().src='%2pwned-title'</script>")
                    .arg(i)
                    .arg(server.url("/").toString()));
        view.setDelegate(&delegate);
        view.resize(900, 700);
        view.show();
    }

    void addArticle(const QString &title)
    {
        auto article = std::make_shared<Article>();
        article->setTitle(title);
        article->setGuid("guid-" + QString::number(feed->childCount()));
        article->setLink(server.url("/story"));
        article->setSummary(hostileSummary(server, outsideImage));
        article->setLegacyPublicationDate(
            CalendarDate(QDateTime(QDate(2026, 3, 10), QTime(12, feed->childCount()), Qt::UTC), 0));
        article->setSource(feed);
        article->setParent(feed);
        feed->addChild(article, feed->childCount());
    }

    void showSelection()
    {
        library.setSelectedItems({feed});
        HeadlinePage page(library, Defaults::standard());
        page.setDisplayMode(HeadlinePage::ListMode);
        const int loads = delegate.loads;
        view.showPage(page.generateHTML());
        waitFor([&] { return delegate.loads > loads; }, 20000);
        // Handlers and refreshes that would act do so at once or soon after loading.
        QTest::qWait(1500);
    }

    QVariant evaluate(const QString &script)
    {
        QVariant result;
        bool done = false;
        view.page()->runJavaScript(script, QWebEngineScript::ApplicationWorld, [&](const QVariant &value) {
            result = value;
            done = true;
        });
        waitFor([&] { return done; }, 10000);
        return result;
    }

    static void waitFor(const std::function<bool()> &condition, int milliseconds)
    {
        QElapsedTimer clock;
        clock.start();
        while (!condition() && clock.elapsed() < milliseconds)
            QTest::qWait(20);
    }

    int pwnedRequests() const
    {
        int count = 0;
        for (const LoopbackServer::Request &request : server.requests())
            count += request.path.startsWith("/pwned");
        return count;
    }

    QTemporaryDir scratch;
    LoopbackServer server;
    FeedLibrary library;
    FeedPtr feed;
    QString outsideImage;
    RecordingDelegate delegate;
    QBHeadlineWebView view{"QuillBay test"};
};

TEST_F(HeadlineWebViewTest, FeedTextThatCarriesScriptsFramesFormsAndLocalFilesDoesNothing)
{
    showSelection();
    ASSERT_GE(delegate.loads, 1) << "the page never finished loading";
    EXPECT_TRUE(evaluate("document.body.innerText.indexOf('Tide') >= 0").toBool()) << "the page shows";
    EXPECT_EQ(pwnedRequests(), 0);
    EXPECT_FALSE(evaluate("document.body.hasAttribute('data-pwned')").toBool());
    EXPECT_EQ(evaluate("document.querySelectorAll('iframe')[0].contentDocument === null || "
                       "document.querySelectorAll('iframe')[0].contentWindow.location.href === 'about:blank'")
                  .toBool(),
              true);
    EXPECT_EQ(evaluate("document.getElementById('outside').naturalWidth").toInt(), 0)
        << "a file outside the program's picture folders must not load";
    EXPECT_GT(evaluate("document.getElementById('inside').naturalWidth").toInt(), 0)
        << "the program's own pictures load";
    EXPECT_EQ(delegate.count(HeadlineLinkPolicy::ClickedLink), 0);
    EXPECT_TRUE(view.page()->url().scheme() == "qbpage") << "the view stays on its page";

    // A submit or a javascript: link started without the user is refused as well.
    evaluate("document.getElementById('f').submit(); document.getElementById('js').click(); true");
    QTest::qWait(1000);
    EXPECT_EQ(pwnedRequests(), 0);
    EXPECT_EQ(delegate.count(HeadlineLinkPolicy::ClickedLink), 0);
    EXPECT_EQ(evaluate("document.URL").toString().left(7), "qbpage:") << "the refresh was refused in place";
}

TEST_F(HeadlineWebViewTest, TheUsersClickOnAnArticleRunsThePagesOwnHandlerWhileAScriptsLocationChangeDoesNot)
{
    showSelection();
    view.page()->runJavaScript("location.href = 'quillbay:article=" + feed->children().first()->uniqueID() +
                               "';");
    QTest::qWait(1000);
    EXPECT_EQ(delegate.count(HeadlineLinkPolicy::ClickedLink), 0);
    EXPECT_EQ(evaluate("document.URL").toString().left(7), "qbpage:") << "the refused change leaves the page";
    const QVariantList box = evaluate("var r = document.querySelector('[onclick]').getBoundingClientRect();"
                                      "[r.left + 5, r.top + r.height / 2]")
                                 .toList();
    ASSERT_EQ(box.size(), 2);
    QWidget *surface = view.focusProxy();
    ASSERT_TRUE(surface);
    const QPoint point(box.at(0).toInt(), box.at(1).toInt());
    QTest::mouseClick(surface, Qt::LeftButton, {}, point);
    waitFor([&] { return delegate.count(HeadlineLinkPolicy::ClickedLink) > 0; }, 5000);
    ASSERT_EQ(delegate.count(HeadlineLinkPolicy::ClickedLink), 1);
    const auto &click =
        *std::find_if(delegate.navigations.begin(), delegate.navigations.end(),
                      [](const auto &a) { return a.origin == HeadlineLinkPolicy::ClickedLink; });
    EXPECT_TRUE(click.url.toString().startsWith("quillbay:article=")) << click.url.toString().toStdString();
    QTest::qWait(500);
    EXPECT_EQ(evaluate("document.URL").toString().left(7), "qbpage:");
}

} // namespace

TEST_F(HeadlineWebViewTest, AClickOnALinkInsideAClickableArticleFollowsTheLinkNotTheArticle)
{
    showSelection();
    const QVariantList box =
        evaluate("var r = document.querySelector('a[href^=\"quillbay:open\"]')"
                 ".getBoundingClientRect(); [r.left + r.width / 2, r.top + r.height / 2]")
            .toList();
    ASSERT_EQ(box.size(), 2);
    QTest::mouseClick(view.focusProxy(), Qt::LeftButton, {}, QPoint(box.at(0).toInt(), box.at(1).toInt()));
    waitFor([&] { return delegate.count(HeadlineLinkPolicy::ClickedLink) > 0; }, 5000);
    QTest::qWait(300);
    QStringList clicked;
    for (const auto &action : delegate.navigations)
        if (action.origin == HeadlineLinkPolicy::ClickedLink)
            clicked << action.url.toString();
    ASSERT_EQ(clicked.size(), 1) << clicked.join(' ').toStdString();
    EXPECT_TRUE(clicked.first().startsWith("quillbay:open=")) << clicked.first().toStdString();
}

#include "app/ApplicationController.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"
#include "LoopbackServer.h"
#include "app/DesktopHandover.h"
#include "app/EnclosureDownloadController.h"
#include "app/FeedEditorController.h"
#include "app/FindPanel.h"
#include "app/InspectorController.h"
#include "app/MainWindow.h"
#include "app/QuillBayController.h"
#include "app/SideBarController.h"
#include "fetch/DownloadItem.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTextBrowser>
#include <gtest/gtest.h>

namespace {

class ApplicationControllerTest : public ::testing::Test
{
protected:
    ApplicationControllerTest()
    {
        t.defaults.setBoolean("firstRun", false);
        t.rebind();
        controller.setAuxiliaryWindows(&windows);
    }

    AppTestLibrary t;
    RecordingDesktop desktop;
    RecordingWindows windows;
    // The controller deletes only the view's widget; the stand-in around it is the test's to delete.
    std::unique_ptr<RecordingDisplay> display;
    ApplicationController controller{t.library, t.updater, t.defaults, t.center, desktop, [this] {
                                         display = std::make_unique<RecordingDisplay>();
                                         return display.get();
                                     }};
};

TEST_F(ApplicationControllerTest,
       EveryFormTheDesktopHandsOverReachesItsSheetOnceTheWindowIsUpAndRaisingKeepsItMaximised)
{
    QTemporaryDir start;
    QFile(start.filePath("here.opml")).open(QIODevice::WriteOnly);
    QFile(start.filePath("notes:2024.opml")).open(QIODevice::WriteOnly);
    const QStringList handed = DesktopHandover::argumentsToHandOver(
        {"file:///home/r%C3%A9/My%20Lists/list.opml", "file://localhost/srv/feeds.xml", "here.opml",
         "notes:2024.opml", "/data/../data/plain.opml", "feed://127.0.0.1/a.xml", "feed:https://127.0.0.1/b",
         "https://127.0.0.1/c.xml", "--sync", "smb://server/share/list.opml", "file://server/list.opml"},
        start.path());
    EXPECT_EQ(handed,
              QStringList({"/home/ré/My Lists/list.opml", "/srv/feeds.xml", start.filePath("here.opml"),
                           start.filePath("notes:2024.opml"), "/data/plain.opml", "feed://127.0.0.1/a.xml",
                           "feed:https://127.0.0.1/b", "https://127.0.0.1/c.xml"}))
        << "options and files on other computers are left out";

    // Arrivals during launch wait for the window; a later address replaces an earlier one, and only the
    // lower-case suffixes are subscription lists.
    EXPECT_TRUE(controller.openFile("/data/old.opml"));
    controller.openFiles({"/data/Feeds.OPML", "/data/feeds.xml", "/data/notes.txt"});
    controller.requestNewChannel(QUrl("feed://127.0.0.1/first.xml"));
    controller.requestNewChannel(QUrl("feed://127.0.0.1/second.xml"));
    EXPECT_TRUE(windows.calls.isEmpty());
    controller.applicationDidFinishLaunching();
    EXPECT_EQ(windows.calls, QStringList({"add feed://127.0.0.1/second.xml", "import /data/feeds.xml"}));

    windows.calls.clear();
    MainWindow *window = controller.mainWindowController()->window();
    window->showMaximized();
    controller.openHandedOver(handed);
    EXPECT_EQ(windows.calls,
              QStringList({"add http://127.0.0.1/a.xml", "add https://127.0.0.1/b",
                           "add https://127.0.0.1/c.xml", "import /home/ré/My Lists/list.opml",
                           "import /srv/feeds.xml", "import " + start.filePath("here.opml"),
                           "import " + start.filePath("notes:2024.opml"), "import /data/plain.opml"}));

    // A second start, a clicked notification, Return in the find panel and Window > Main Window all
    // raise the window; none of them may undo what the user made of it.
    for (const Qt::WindowStates state :
         {Qt::WindowStates(Qt::WindowMaximized), Qt::WindowStates(Qt::WindowMaximized | Qt::WindowMinimized),
          Qt::WindowStates(Qt::WindowFullScreen)}) {
        window->setWindowState(state);
        EXPECT_TRUE(controller.applicationShouldHandleReopen("token-from-the-launcher"));
        controller.perform(MenuCommand::OpenMainWindow);
        EXPECT_EQ(window->windowState(), state & ~Qt::WindowMinimized);
        EXPECT_TRUE(window->isVisible());
    }
}

TEST_F(ApplicationControllerTest, MenuItemsAreEnabledByWhatIsSelected)
{
    using C = MenuCommand;
    t.library.setSelectedItems({});
    for (C command : {C::About, C::RefreshAllFeeds, C::MarkAllFeedsAsRead, C::ViewAsList, C::FindNext})
        EXPECT_TRUE(controller.validateMenuItem(command));
    for (C command : {C::RefreshSelectedFeed, C::RemoveSelectedFeed, C::OpenLink, C::ShowNextArticle})
        EXPECT_FALSE(controller.validateMenuItem(command));

    t.library.setSelectedItems({t.folder});
    EXPECT_TRUE(controller.validateMenuItem(C::RemoveSelectedFeed)) << "any item can be removed";
    EXPECT_TRUE(controller.validateMenuItem(C::RefreshSelectedFeed)) << "the folder's feed counts";

    t.library.setSelectedItems({t.harbour});
    EXPECT_TRUE(controller.validateMenuItem(C::ShowNextUnreadArticle));
    EXPECT_FALSE(controller.validateMenuItem(C::AddToNewsBin)) << "three articles are not one";

    t.library.setSelectedItems({t.article(t.harbour, 0)});
    for (C command : {C::OpenLink, C::AddToNewsBin, C::PostToDigg, C::BackToParent})
        EXPECT_TRUE(controller.validateMenuItem(command));
    EXPECT_FALSE(controller.validateMenuItem(C::MarkSelectedFeedAsRead));
}

TEST_F(ApplicationControllerTest, FeedCommandsChangeStatesOnlyWhereThePreferencesSay)
{
    controller.applicationDidFinishLaunching();
    t.library.setSelectedItems({t.harbour});
    t.defaults.setBoolean("behaviorWebOpened", false);
    controller.perform(MenuCommand::OpenSelectedFeedLink);
    ASSERT_EQ(desktop.opened.size(), 1);
    EXPECT_EQ(desktop.opened.first().first, t.harbour->link());
    EXPECT_EQ(t.article(t.harbour, 0)->state(), Article::Unread);

    t.defaults.setBoolean("behaviorWebOpened", true);
    controller.perform(MenuCommand::OpenSelectedFeedLink);
    EXPECT_EQ(t.article(t.harbour, 0)->state(), Article::Read);
    EXPECT_EQ(t.article(t.kitchen, 0)->state(), Article::Unread);

    controller.perform(MenuCommand::MarkSelectedFeedAsUnread);
    EXPECT_EQ(t.article(t.harbour, 0)->state(), Article::Unread);
}

TEST_F(ApplicationControllerTest, FindingNothingBeepsAndFindingFromTheFieldHidesThePanel)
{
    controller.applicationDidFinishLaunching();
    controller.doFindNext();
    EXPECT_EQ(desktop.beeps, 1);
    EXPECT_TRUE(display->searches.isEmpty());

    FindPanel *panel = controller.findPanel();
    panel->present();
    panel->setText("tide");
    controller.doFindPrevious();
    EXPECT_TRUE(panel->isVisible()) << "the buttons keep the panel open";
    controller.doFindNext(true);
    EXPECT_FALSE(panel->isVisible()) << "Return in the field hides it";
    ASSERT_EQ(display->searches.size(), 2);
    EXPECT_EQ(display->searches.at(0), std::make_pair(QString("tide"), false));
    EXPECT_EQ(display->searches.at(1), std::make_pair(QString("tide"), true));
}

TEST_F(ApplicationControllerTest, QuittingMarksEverythingReadFirstWhenAskedThenSavesAndEndsTheFirstRun)
{
    controller.applicationDidFinishLaunching();
    t.defaults.setBoolean("firstRun", true);
    t.defaults.setBoolean("behaviorOnQuit", true);
    controller.applicationWillTerminate();
    EXPECT_FALSE(t.defaults.boolean("firstRun"));
    EXPECT_EQ(t.library.totalUnreadArticleCount(), 0);

    FeedLibrary reloaded;
    reloaded.load();
    int unread = 0;
    for (const ArticlePtr &article : reloaded.allArticles())
        unread += article->state() != Article::Read;
    EXPECT_EQ(reloaded.allFeeds().size(), 3);
    EXPECT_EQ(unread, 0) << "the states were saved after being marked";
}

} // namespace

TEST_F(ApplicationControllerTest, EditingAFeedAsksItsSiteForTheTouchIconBeforeThePlainOne)
{
    LoopbackServer site;
    site.route(
        "/", LoopbackServer::Response::ok("<html><head><link rel=\"icon\" href=\"/small.ico\">"
                                          "<link rel=\"apple-touch-icon\" href=\"/touch.png\"></head></html>",
                                          "text/html"));
    t.harbour->setLink(site.url("/"));
    t.library.setSelectedItems({t.harbour});
    controller.perform(MenuCommand::EditSelectedFeed);
    EXPECT_EQ(windows.calls, QStringList({"editor"}));

    const auto queuedIcon = [this] {
        for (const auto &item : t.updater.queuedDownloads())
            if (item->downloadURL().path() == "/touch.png")
                return true;
        return false;
    };
    for (int i = 0; i < 200 && !queuedIcon(); ++i)
        QTest::qWait(10);
    EXPECT_TRUE(queuedIcon());
}

TEST_F(ApplicationControllerTest, TheTagsCommandShowsTheSelectedFeedsInTheInspectorWhichFollowsTheSelection)
{
    using C = MenuCommand;
    InspectorController inspector(t.center, desktop);
    t.harbour->setKeywords({"sea", "weather"});

    t.library.setSelectedItems({});
    EXPECT_FALSE(controller.validateMenuItem(C::EditSelectedFeedTags));
    t.library.setSelectedItems({t.harbour});
    ASSERT_TRUE(controller.validateMenuItem(C::EditSelectedFeedTags));
    controller.perform(C::EditSelectedFeedTags);
    EXPECT_EQ(windows.calls, QStringList({"inspector"}));

    // The stand-in window list does not make the inspector; shown, it hears the next selection.
    inspector.showInspector();
    controller.perform(C::EditSelectedFeedTags);
    EXPECT_EQ(inspector.channels(), QList<FeedPtr>({t.harbour}));
    EXPECT_EQ(inspector.tags(), QStringList({"sea", "weather"}));

    t.library.setSelectedItems({t.folder});
    t.center.post("feedSelectionChanged");
    EXPECT_EQ(inspector.channels(), QList<FeedPtr>({t.sky})) << "a folder stands for its feeds";
}

TEST_F(ApplicationControllerTest, DeleteInAnotherWindowLeavesTheLibraryAloneAndRemovesOnlyInTheMainWindow)
{
    controller.applicationDidFinishLaunching();
    MainWindow *window = controller.mainWindowController()->window();
    window->show();
    InspectorController inspector(t.center, desktop);
    inspector.showInspector();
    inspector.window()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(inspector.window()));
    t.library.setSelectedItems({t.harbour});
    QTest::keyClick(inspector.window(), Qt::Key_Delete);
    EXPECT_TRUE(t.library.root()->hasChild(t.harbour));
    EXPECT_EQ(desktop.questions, 0);

    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    t.library.setSelectedItems({t.harbour});
    QTest::keyClick(window, Qt::Key_Delete);
    EXPECT_FALSE(t.library.root()->hasChild(t.harbour));
}

TEST(ApplicationControllerStart,
     ALibraryThatCannotBeReadIsKeptAsideAndTheUserIsOfferedItsNewestReadableBackup)
{
    AppTestLibrary t;
    t.library.load(); // a second start, which keeps the library it read as a backup
    QFile tree(FeedLibrary::libraryFilePath());
    ASSERT_TRUE(tree.open(QIODevice::WriteOnly));
    tree.write("torn");
    tree.close();

    RecordingDesktop desktop;
    std::unique_ptr<RecordingDisplay> display;
    ApplicationController controller(t.library, t.updater, t.defaults, t.center, desktop, [&display] {
        display = std::make_unique<RecordingDisplay>();
        return display.get();
    });
    EXPECT_TRUE(t.library.allFeeds().isEmpty()) << "no default feeds while the user has not chosen";
    controller.applicationDidFinishLaunching();
    ASSERT_EQ(desktop.asked.size(), 1);
    const QStringList kept = QDir(FeedLibrary::libraryPath()).entryList({"Feeds.library.unreadable-*"});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_TRUE(desktop.asked.first().startsWith(
        "Your feed library could not be read.\nThe damaged file has been "
        "kept as " +
        FeedLibrary::libraryPath() + "/" + kept.first() + ". The newest readable backup, " +
        FeedLibrary::libraryFilePath() + ".backup-1, was made on "))
        << desktop.asked.first().toStdString();
    EXPECT_EQ(t.library.allFeeds().size(), 3) << "the backup was restored";
    FeedLibrary reloaded;
    reloaded.load();
    EXPECT_EQ(reloaded.allFeeds().size(), 3);
}

TEST_F(ApplicationControllerTest, HelpOpensTheBundledBookWhoseContentsLeadToSectionsThatExist)
{
    controller.perform(MenuCommand::ShowHelp);
    ASSERT_EQ(desktop.opened.size(), 1);
    const QUrl book = desktop.opened.first().first;
    ASSERT_TRUE(book.isLocalFile());
    QFile file(book.toLocalFile());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << book.toString().toStdString();
    const QString text = QString::fromUtf8(file.readAll());

    const QRegularExpression contentsLink(QStringLiteral("href=\"#([a-z-]+)\""));
    QStringList anchors;
    for (const QRegularExpressionMatch &link : contentsLink.globalMatch(text))
        anchors.append(link.captured(1));
    ASSERT_GE(anchors.size(), 10);
    for (const QString &anchor : anchors)
        EXPECT_TRUE(text.contains("id=\"" + anchor + "\"")) << anchor.toStdString();

    controller.showHelpBookAnchor("shortcuts");
    EXPECT_EQ(desktop.opened.last().first.fragment(), "shortcuts");
    EXPECT_EQ(desktop.opened.last().first.adjusted(QUrl::RemoveFragment), book);
}

// Whatever a feed names as its or an article's address, a file: one never reaches the desktop's opener:
// every path refuses it alike, with a beep and the scheme named in the status line, and nothing is
// marked read for it.
TEST_F(ApplicationControllerTest, EveryPathToTheDesktopRefusesAFileAddressWithABeepAndAWordInTheStatusLine)
{
    controller.applicationDidFinishLaunching();
    QuillBayController &window = *controller.mainWindowController();
    QStringList statusLine;
    t.center.addObserver("StatusBarMessageNotification",
                         [&](const Notification &note) { statusLine << note.object.toString(); });
    const QUrl file("file:///etc/passwd");
    const ArticlePtr article = t.article(t.harbour, 0);
    article->setLink(file);
    t.harbour->setLink(file);
    QWidget pane;
    SideBarController sideBar(&pane, t.library, t.defaults, t.center, desktop);
    auto bin = std::make_shared<VirtualFolder>("News Clippings");
    bin->addChildren({article});
    sideBar.setNewsBin(bin);
    FeedEditorController editor(t.library, t.center, desktop, nullptr);

    const std::pair<const char *, std::function<void()>> paths[] = {
        {"title, follow-link icon or tile",
         [&] {
             window.acceptNavigation(
                 {QUrl("quillbay:open=" + article->uniqueID()), HeadlineLinkPolicy::ClickedLink, {}});
         }},
        {"a link in the article's text",
         [&] {
             window.acceptNavigation({file, HeadlineLinkPolicy::ClickedLink, {}});
         }},
        {"the page's context menu", [&] { window.openInDefaultBrowser(file); }},
        {"Open in Browser",
         [&] {
             t.library.setSelectedItems({article});
             controller.perform(MenuCommand::OpenLink);
         }},
        {"the feed's home page",
         [&] {
             t.library.setSelectedItems({t.harbour});
             window.doOpenFeedLink();
         }},
        {"the feed's home page from the menu",
         [&] { controller.perform(MenuCommand::OpenSelectedFeedLink); }},
        {"sharing on a service", [&] { sideBar.postArticle(article, SideBarController::Digg); }},
        {"opening the clippings", [&] { sideBar.doOpenInBrowser(); }},
        {"the feed editor's description", [&] { emit editor.descriptionWebView()->anchorClicked(file); }},
    };
    for (const auto &[path, follow] : paths) {
        SCOPED_TRACE(path);
        const int beeps = desktop.beeps;
        statusLine.clear();
        follow();
        EXPECT_EQ(desktop.beeps, beeps + 1);
        ASSERT_EQ(statusLine.size(), 1);
        EXPECT_TRUE(statusLine.first().contains("“file:”")) << statusLine.first().toStdString();
    }
    EXPECT_TRUE(desktop.opened.isEmpty());
    EXPECT_EQ(article->state(), Article::Unread);

    // An enclosure's address is fetched, never handed over; the download window refuses it in place.
    EnclosureDownloadController enclosures(t.updater, t.defaults, t.center, desktop);
    auto enclosure = std::make_shared<Enclosure>();
    enclosure->setLink(file);
    enclosures.setEnclosure(enclosure);
    enclosures.actionButton()->click();
    EXPECT_EQ(enclosures.locationField()->text(), "Not a web address");
    EXPECT_TRUE(t.updater.queuedDownloads().isEmpty());
    EXPECT_TRUE(desktop.opened.isEmpty() && desktop.openedFiles.isEmpty());
}

#include "app/QuillBayController.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"
#include "app/DesktopAppearance.h"
#include "app/MainWindow.h"
#include "app/NavigationBar.h"
#include "app/SourceListView.h"
#include "model/ColourTheme.h"
#include "model/SourceListModel.h"

#include <QApplication>
#include <QLabel>
#include <QToolButton>
#include <gtest/gtest.h>

namespace {

class QuillBayControllerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        t.defaults.setBoolean("firstRun", false);
        controller.setAuxiliaryWindows(&windows);
        controller.setupMainWindow();
        AppTestLibrary::settle();
        display.pages.clear();
    }

    void clickRow(const TreeNodePtr &item)
    {
        SourceListView *list = controller.window()->sourceList();
        const QModelIndex row = controller.sourceListModel()->indexForItem(item);
        list->selectionModel()->select(row, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        AppTestLibrary::settle();
    }

    bool click(const QString &address)
    {
        return controller.acceptNavigation({QUrl(address), HeadlineLinkPolicy::ClickedLink, {}});
    }

    TreeNodePtr selected() const
    {
        const TreeNodeList items = t.library.selectedItems();
        return items.size() == 1 ? items.first() : nullptr;
    }

    AppTestLibrary t;
    RecordingDisplay display;
    RecordingDesktop desktop;
    RecordingWindows windows;
    QuillBayController controller{t.library, t.updater, t.defaults, t.center, desktop, display};
};

TEST_F(QuillBayControllerTest, SelectingARowShowsItsArticlesOnceWithItsBreadcrumbAndReopensAtItsScrollPlace)
{
    clickRow(t.kitchen);
    EXPECT_EQ(selected(), t.kitchen);
    // The selection handler and its notification both ask for the page; it is built once.
    ASSERT_EQ(display.pages.size(), 1);
    EXPECT_TRUE(display.pages.first().contains("Soup 1"));
    EXPECT_FALSE(display.pages.first().contains("Tide 1"));
    NavigationBar *bar = controller.window()->mainNavBar();
    EXPECT_EQ(bar->title(), "Small Kitchen");
    EXPECT_FALSE(bar->isBackEnabled()) << "a top-level feed has nowhere to go back to";

    clickRow(t.sky);
    EXPECT_EQ(bar->title(), "Night Sky");
    EXPECT_TRUE(bar->isBackEnabled()) << "a feed in a folder goes back to the folder";
    controller.doBreadCrumbClick();
    AppTestLibrary::settle();
    EXPECT_EQ(selected(), t.folder);
    EXPECT_EQ(bar->title(), "Science");

    // Each item reopens at its own scroll place; scrolling reported while a page loads belongs to none.
    clickRow(t.harbour);
    controller.pageFinishedLoading();
    controller.pageScrolled(QPointF(0, 480));
    clickRow(t.kitchen);
    controller.pageFinishedLoading();
    EXPECT_EQ(display.scrolls.last(), QPointF(0, 0));
    clickRow(t.harbour);
    controller.pageScrolled(QPointF(0, 5));
    controller.pageFinishedLoading();
    EXPECT_EQ(display.scrolls.last(), QPointF(0, 480));
}

TEST_F(QuillBayControllerTest, TheFirstPageAfterAStartIsGroupedAndFilteredAsTheSideBarWasLeft)
{
    t.defaults.setInteger("sortMethod", 1);
    t.defaults.setInteger("filterMethod", 11);
    RecordingDisplay restartedDisplay;
    QuillBayController restarted{t.library, t.updater, t.defaults, t.center, desktop, restartedDisplay};
    EXPECT_EQ(restarted.headlinePage().sortMethod(), 2) << "the second sort item groups by feed";
    EXPECT_EQ(restarted.headlinePage().filterMethod(), 11);
}

TEST_F(QuillBayControllerTest, TheDefaultThemeWearsTheDesktopsColoursAndADarkDesktopGetsTheDarkPage)
{
    const QPalette light = QApplication::palette();
    const auto restore = qScopeGuard([&light] { QApplication::setPalette(light); });
    NavigationBar *bar = controller.window()->mainNavBar();
    EXPECT_EQ(bar->colorTint(), light.color(QPalette::Window)) << "a new installation follows the desktop";
    EXPECT_EQ(bar->textColour(), light.color(QPalette::WindowText));
    // The bar pictures are drawn for the screen's density rather than scaled from one bitmap.
    EXPECT_EQ(controller.window()->addButton()->icon().pixmap(QSize(20, 20), 2.0).size(), QSize(40, 40));

    const QPalette dark = DesktopAppearance::darkPalette();
    QApplication::setPalette(dark);
    t.center.post("ThemeChangedNotification");
    AppTestLibrary::settle();
    EXPECT_EQ(bar->colorTint(), dark.color(QPalette::Window));
    EXPECT_EQ(bar->textColour(), dark.color(QPalette::WindowText));
    ASSERT_FALSE(display.pages.isEmpty());
    EXPECT_TRUE(display.pages.last().startsWith("<!DOCTYPE html><html class=\"dark\">"));

    // A tint keeps its own colours on a dark desktop; the page still follows the desktop.
    t.defaults.setInteger("displayColourTheme", 4);
    display.pages.clear();
    t.center.post("ThemeChangedNotification");
    AppTestLibrary::settle();
    EXPECT_EQ(bar->colorTint(), ColourTheme::colourThemeOfType(4));
    EXPECT_TRUE(display.pages.isEmpty()) << "the page is only rebuilt when its look changes";
}

TEST_F(QuillBayControllerTest, ClickingAnArticleShowsItAloneAndReadAndOutsidePagesOpenBehindWhenTheUserAsks)
{
    t.defaults.setBoolean("behaviorFeedClick", true);
    clickRow(t.harbour);
    const ArticlePtr tide = t.article(t.harbour, 1);
    EXPECT_FALSE(click("quillbay:article=" + tide->uniqueID())) << "the view stays on its page";
    AppTestLibrary::settle();
    EXPECT_EQ(selected(), tide);
    EXPECT_EQ(tide->state(), Article::Read);
    EXPECT_EQ(controller.window()->mainNavBar()->title(), tide->title());
    const QModelIndex current = controller.window()->sourceList()->currentIndex();
    EXPECT_EQ(controller.sourceListModel()->itemForIndex(current), t.harbour);

    // Outside pages open behind the window when the preference or the Alt key asks for it.
    t.library.setSelectedItems({t.harbour});
    const QUrl story("https://example.org/story");
    const auto clickStory = [&](Qt::KeyboardModifiers modifiers) {
        controller.acceptNavigation({story, HeadlineLinkPolicy::ClickedLink, modifiers});
        return desktop.opened.value(desktop.opened.size() - 1);
    };
    EXPECT_EQ(clickStory(Qt::NoModifier), std::make_pair(story, false));
    EXPECT_EQ(clickStory(Qt::AltModifier), std::make_pair(story, true));
    controller.doOpenFeedLink();
    EXPECT_EQ(desktop.opened.last(), std::make_pair(t.harbour->link(), false));
    t.defaults.setBoolean("behaviorOpenInBackground", true);
    EXPECT_EQ(clickStory(Qt::NoModifier), std::make_pair(story, true));
    controller.doOpenFeedLink();
    EXPECT_EQ(desktop.opened.last(), std::make_pair(t.harbour->link(), true));
}

TEST_F(QuillBayControllerTest,
       BrowsingAndNextUnreadMoveThroughArticlesAndMarkThemReadOnlyWhenThePreferenceSaysSo)
{
    clickRow(t.harbour);
    t.library.setSelectedItems({t.article(t.harbour, 0)});
    t.defaults.setBoolean("behaviorBrowsing", false);
    controller.doNextItem();
    EXPECT_EQ(selected(), t.article(t.harbour, 1));
    EXPECT_EQ(t.article(t.harbour, 1)->state(), Article::Unread);

    t.defaults.setBoolean("behaviorBrowsing", true);
    controller.doNextItem();
    EXPECT_EQ(selected(), t.article(t.harbour, 2));
    EXPECT_EQ(t.article(t.harbour, 2)->state(), Article::Read);
    controller.doPreviousItem();
    EXPECT_EQ(selected(), t.article(t.harbour, 1));

    // With two or more articles selected, next starts at the first article of the first feed.
    clickRow(t.kitchen);
    controller.doNextItem();
    EXPECT_EQ(selected(), t.article(t.kitchen, 0));

    // Next unread skips read articles and after the last unread wraps to the library's first article.
    const ArticleList all = t.library.allArticles();
    for (const ArticlePtr &article : all)
        article->setState(Article::Read);
    const ArticlePtr lastUnread = all.at(4);
    lastUnread->setState(Article::Unread);
    t.library.setSelectedItems({all.at(1)});
    controller.doNextUnreadItem();
    EXPECT_EQ(selected(), lastUnread);
    EXPECT_EQ(lastUnread->state(), Article::Read);
    controller.doNextUnreadItem();
    EXPECT_EQ(selected(), all.first()) << "no unread article is left: the library's first, read or not";
    EXPECT_FALSE(t.updater.pauseScheduledUpdates()) << "the pause ends with the command";
}

TEST_F(QuillBayControllerTest, RemovingFoldersStopsAtTheFirstRefusalAndTheSelectionMovesToTheNewLastRow)
{
    QList<FolderPtr> folders;
    for (int i = 0; i < 3; ++i) {
        auto folder = std::make_shared<Folder>();
        folder->setTitle(QString("Box %1").arg(i));
        t.library.add(folder, nullptr, 0);
        folders.append(folder);
    }
    controller.reloadSourceList();
    t.library.setSelectedItems({folders[0], folders[1], folders[2]});
    desktop.answers = {true, false, true};
    controller.doRemoveItem();
    EXPECT_EQ(desktop.questions, 2);
    EXPECT_FALSE(t.library.root()->hasChild(folders[0]));
    EXPECT_TRUE(t.library.root()->hasChild(folders[1]));
    EXPECT_TRUE(t.library.root()->hasChild(folders[2]));

    SourceListView *list = controller.window()->sourceList();
    list->collapseAll();
    clickRow(t.folder); // the last row
    controller.doRemoveItem();
    AppTestLibrary::settle();
    EXPECT_FALSE(t.library.root()->hasChild(t.folder));
    EXPECT_EQ(selected(), t.kitchen) << "the new last row";
}

TEST_F(QuillBayControllerTest, RemovingAVirtualSelectionOrFeedsWithStoredArticlesAsksFirstNamingTheCounts)
{
    const ArticleList unread = t.library.allUnreadArticles();
    ASSERT_EQ(unread.size(), 9);
    controller.setBreadCrumbMode(4); // the side bar's all-unread list
    t.library.setSelectedItems(TreeNodeList(unread.begin(), unread.end()));
    desktop.answers = {false};
    controller.doRemoveItem();
    EXPECT_EQ(desktop.asked.value(0).section('\n', 0, 0), "Remove 9 articles?");
    EXPECT_EQ(t.library.allArticles().size(), 9) << "nothing is removed unless the user says so";

    controller.setBreadCrumbMode(QuillBayController::NormalMode);
    t.library.setSelectedItems({t.harbour, t.folder});
    desktop.asked.clear();
    desktop.answers = {false};
    controller.doRemoveItem();
    EXPECT_EQ(desktop.asked,
              QStringList({"Remove 2 feeds and their 6 stored articles?\nThe stored articles are "
                           "deleted for good. Subscribing again brings back only what the feed "
                           "still offers."}));
    EXPECT_TRUE(t.library.root()->hasChild(t.harbour));
    desktop.answers = {true, true};
    controller.doRemoveItem();
    EXPECT_FALSE(t.library.root()->hasChild(t.harbour));
    EXPECT_FALSE(t.library.root()->hasChild(t.folder)) << "after the folder's own question";
    EXPECT_EQ(desktop.questions, 4);
}

TEST_F(QuillBayControllerTest, DisplayModeFontSizeAndFeedCommandsReachTheirTargets)
{
    controller.doToggleDisplayMode(HeadlinePage::ListMode);
    AppTestLibrary::settle();
    EXPECT_EQ(t.defaults.integer("ArticleDisplayModeKey"), 0);
    EXPECT_TRUE(controller.window()->normalViewModeButton()->isChecked());
    EXPECT_FALSE(controller.window()->pictureViewModeButton()->isChecked());
    EXPECT_TRUE(display.pages.last().contains("Tide")) << "the list page is rebuilt";

    t.defaults.setInteger("displayFontSize", 3);
    t.center.post("SummaryWebViewFontSizeChanged");
    EXPECT_DOUBLE_EQ(display.textSize, 1.5);

    clickRow(t.harbour);
    controller.doCopyFeedLink();
    EXPECT_EQ(desktop.clipboard, "http://127.0.0.1:9/Harbour-Notes/");
    controller.doEmailFeedLink();
    const QString mail = desktop.opened.last().first.toString(QUrl::FullyEncoded);
    EXPECT_TRUE(mail.startsWith("mailto:?subject=Harbour%20Notes&body=Hi%0A%0ACheck%20out"))
        << mail.toStdString();

    controller.linkHovered(QUrl("https://example.org/a"));
    EXPECT_EQ(controller.window()->statusMessage()->text(), "https://example.org/a");
    controller.linkHovered(QUrl("quillbay:article=x"));
    EXPECT_EQ(controller.window()->statusMessage()->text(), "https://example.org/a");
}

} // namespace

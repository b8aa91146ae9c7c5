#include "app/SideBarController.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"
#include "app/BlogEditorCommand.h"
#include "app/NavigationBar.h"
#include "app/NewsBinModel.h"
#include "model/ColourTheme.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QDropEvent>
#include <QFile>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMimeData>
#include <QSlider>
#include <QTest>
#include <QTextToSpeech>
#include <QThread>
#include <QUrlQuery>
#include <gtest/gtest.h>

namespace {

// A side bar in a pane of its own, over the test library, with every notification it posts recorded.
struct SideBarFixture
{
    explicit SideBarFixture(AppTestLibrary &t) : library(t)
    {
        token = t.center.addObserver(QString(), [this](const Notification &n) { posted.append(n); });
        sideBar = new SideBarController(&pane, t.library, t.defaults, t.center, desktop);
    }
    ~SideBarFixture() { library.center.removeObserver(token); }

    QStringList names() const
    {
        QStringList list;
        for (const Notification &n : posted)
            list.append(n.name);
        return list;
    }
    NewsBinModel *model() const { return static_cast<NewsBinModel *>(sideBar->newsBinTable()->model()); }
    void select(std::initializer_list<int> rows) const
    {
        QItemSelectionModel *selection = sideBar->newsBinTable()->selectionModel();
        selection->clearSelection();
        for (int row : rows)
            selection->setCurrentIndex(model()->index(row, 0), QItemSelectionModel::Select);
    }
    QList<int> selectedRows() const
    {
        QList<int> rows;
        for (const QModelIndex &index : sideBar->newsBinTable()->selectionModel()->selectedIndexes())
            rows.append(index.row());
        std::sort(rows.begin(), rows.end());
        return rows;
    }
    // The bin holding exactly the harbour feed's three articles, in feed order.
    void fillWithHarbour()
    {
        sideBar->doEmptyNewsBin();
        library.library.setSelectedItems({library.harbour});
        sideBar->doAdd(nullptr);
        posted.clear();
    }
    QString openedText(int index = 0) const
    {
        return desktop.opened.value(index).first.toString(QUrl::FullyEncoded);
    }

    AppTestLibrary &library;
    RecordingDesktop desktop;
    QWidget pane;
    SideBarController *sideBar = nullptr;
    QList<Notification> posted;
    int token = 0;
};

std::unique_ptr<QMimeData> dragOf(const QString &text)
{
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl(text)});
    return data;
}

} // namespace

TEST(SideBarController,
     StartsFromTheStoredSettingsWithTheClippingsLoadedAndArticlesWithoutAFeedShowTheirSummary)
{
    AppTestLibrary t;
    t.defaults.setInteger("sortMethod", 2);
    t.defaults.setInteger("filterMethod", 6);
    SideBarFixture f(t);

    EXPECT_EQ(f.sideBar->sortPopUp()->currentIndex(), 2);
    EXPECT_EQ(f.sideBar->filterPopUp()->currentData().toInt(), 6);
    QList<int> filters;
    for (int i = 0; i < f.sideBar->filterPopUp()->count(); ++i)
        filters << f.sideBar->filterPopUp()->itemData(i).toInt();
    EXPECT_EQ(filters, QList<int>({0, 1, 2, 5, 6, 7, 10, 11, 12})) << "every filter the page knows";
    EXPECT_EQ(t.defaults.doubleValue("articleLength"), 1.0);
    EXPECT_EQ(f.sideBar->articleSlider()->value(), f.sideBar->articleSlider()->maximum());
    EXPECT_EQ(f.sideBar->newsBin(), t.library.newsClippings());

    // A new library holds the program's own two pages, which belong to no feed.
    ASSERT_EQ(f.sideBar->numberOfRows(), 2);
    const ArticlePtr page = f.model()->articleAt(0);
    EXPECT_FALSE(page->source());
    EXPECT_FALSE(page->summary().isEmpty());
    EXPECT_EQ(f.model()->index(0, 0).data(NewsBinModel::SubtitleRole).toString(), page->summary());
    EXPECT_EQ(f.sideBar->newsBinTable()->sizeHintForRow(0), 40);

    f.fillWithHarbour();
    EXPECT_EQ(f.model()->index(0, 0).data(Qt::DisplayRole).toString(), t.article(t.harbour, 0)->title());
    EXPECT_EQ(f.model()->index(0, 0).data(NewsBinModel::SubtitleRole).toString(), "Harbour Notes");

    t.defaults.setInteger("displayColourTheme", 1);
    t.center.post("ThemeChangedNotification");
    EXPECT_EQ(f.sideBar->navigationBar()->colorTint(), ColourTheme::colourThemeOfType(1));
}

TEST(SideBarController, SortItemsPostTheirPositionPlusOneUpToTheThirdAndOneAfterItAndFiltersPostTheirTag)
{
    AppTestLibrary t;
    SideBarFixture f(t);
    QComboBox *sort = f.sideBar->sortPopUp();

    sort->setCurrentIndex(2);
    emit sort->activated(2);
    sort->addItem("Later item");
    sort->setCurrentIndex(3);
    f.sideBar->doChangeSortMethod();
    ASSERT_EQ(f.posted.size(), 2);
    EXPECT_EQ(f.posted.at(0).name, "ArticleSortOrderChangeNotification");
    EXPECT_EQ(f.posted.at(0).object.toInt(), 3);
    EXPECT_EQ(f.posted.at(1).object.toInt(), 1) << "a fourth item sorts by date";
    EXPECT_EQ(t.defaults.integer("sortMethod"), 3) << "the position is stored, not the code";

    f.posted.clear();
    f.sideBar->filterPopUp()->setCurrentIndex(f.sideBar->filterPopUp()->findData(12));
    f.sideBar->doChangeFilterMethod();
    ASSERT_EQ(f.names(), QStringList{"ArticleFilteringChanged"});
    EXPECT_EQ(f.posted.at(0).object.toInt(), 12);
    EXPECT_EQ(t.defaults.integer("filterMethod"), 12);

    f.posted.clear();
    f.sideBar->articleSlider()->setValue(f.sideBar->articleSlider()->maximum() / 2);
    EXPECT_EQ(t.defaults.doubleValue("articleLength"), 0.5);
    EXPECT_EQ(f.names(), QStringList{"ArticleLengthChanged"});
}

TEST(SideBarController, PublishedTodaySendsTheDateWhileUnreadAndSearchSendNone)
{
    AppTestLibrary t;
    SideBarFixture f(t);
    const ArticlePtr fresh = t.addArticle(t.kitchen, "Fresh bread", 1);
    fresh->setLegacyPublicationDate(CalendarDate::now());
    t.article(t.sky, 0)->setState(Article::Read);

    f.sideBar->doQuickBrowseUnread();
    EXPECT_EQ(f.names(), (QStringList{"ChangeBreadcrumbModeUnreadNotification", "feedSelectionChanged"}));
    EXPECT_FALSE(f.posted.at(1).object.isValid());
    EXPECT_EQ(t.library.selectedItems().size(), 9) << "every unread article, the read one left out";

    f.posted.clear();
    f.sideBar->doQuickBrowseToday();
    EXPECT_EQ(f.names(), (QStringList{"ChangeBreadcrumbModeDateNotification", "feedSelectionChanged"}));
    ASSERT_TRUE(f.posted.at(1).object.canConvert<CalendarDate>());
    EXPECT_EQ(f.posted.at(1).object.value<CalendarDate>().moment().toLocalTime().date(),
              QDate::currentDate());
    EXPECT_EQ(t.library.selectedItems(), TreeNodeList{fresh});

    f.posted.clear();
    f.sideBar->searchField()->setText("Soup");
    QTest::keyClick(f.sideBar->searchField(), Qt::Key_Return);
    EXPECT_EQ(f.names(), QStringList{"ChangeBreadcrumbModeSearchNotificationi"});
    ASSERT_TRUE(t.library.searchFolder());
    EXPECT_EQ(t.library.searchFolder()->childCount(), 3);
}

TEST(SideBarController, AddingKeepsTheSelectedArticlesOnceSelectsTheLastAndSurvivesALibraryReload)
{
    AppTestLibrary t;
    SideBarFixture f(t);
    f.fillWithHarbour();
    ASSERT_EQ(f.sideBar->numberOfRows(), 3);
    EXPECT_EQ(f.selectedRows(), QList<int>{2});
    EXPECT_EQ(f.model()->articleAt(2)->parent(), t.harbour) << "the clipping stays in its feed";

    t.library.setSelectedItems({t.harbour});
    f.sideBar->doAdd(nullptr);
    EXPECT_EQ(f.sideBar->numberOfRows(), 3) << "articles already kept are not kept twice";
    EXPECT_TRUE(f.posted.isEmpty()) << "nothing added, so the selection stays";

    // Picking a row reads that clipping.
    f.select({0});
    EXPECT_EQ(t.library.selectedItems(), TreeNodeList{f.model()->articleAt(0)});
    EXPECT_EQ(f.names(), (QStringList{"ChangeBreadcrumbModeNormalNotification", "feedSelectionChanged"}));
    EXPECT_FALSE(f.posted.at(1).object.isValid());
    f.sideBar->clearSelection();
    EXPECT_TRUE(f.selectedRows().isEmpty());

    const QString removedID = f.model()->articleAt(0)->uniqueID();
    f.select({0});
    f.sideBar->doRemove(nullptr);

    FeedLibrary reloaded;
    reloaded.load();
    const VirtualFolderPtr clippings = reloaded.loadNewsClippings();
    ASSERT_EQ(clippings->childCount(), 2);
    EXPECT_EQ(clippings->children().at(0)->uniqueID(), t.article(t.harbour, 1)->uniqueID());
    EXPECT_EQ(reloaded.itemWithUniqueIDInClippings(removedID), nullptr);
    EXPECT_EQ(std::dynamic_pointer_cast<Article>(clippings->children().at(1))->title(),
              t.article(t.harbour, 2)->title());
}

TEST(SideBarController, DropsTakeTheHeadlinePagesAddressesAndTheReadArticlesLinkButNothingTwice)
{
    AppTestLibrary t;
    SideBarFixture f(t);
    f.sideBar->doEmptyNewsBin();
    NewsBinModel *model = f.model();
    const ArticlePtr soup = t.article(t.kitchen, 0);
    const ArticlePtr comet = t.article(t.sky, 1);
    const ArticlePtr tide = t.article(t.harbour, 2);

    EXPECT_TRUE(
        model->dropMimeData(dragOf("quillbay:article=" + soup->uniqueID()).get(), Qt::CopyAction, 0, 0, {}));
    EXPECT_FALSE(
        model->dropMimeData(dragOf("quillbay:article=" + soup->uniqueID()).get(), Qt::CopyAction, 0, 0, {}))
        << "already a clipping";
    EXPECT_TRUE(
        model->dropMimeData(dragOf("quillbay:open=" + comet->uniqueID()).get(), Qt::CopyAction, 0, 0, {}));
    EXPECT_EQ(f.sideBar->numberOfRows(), 2);
    EXPECT_EQ(model->articleAt(0), comet) << "dropped above the first row";

    // A web link only counts when it is the link of the article being read.
    t.library.setSelectedItems({tide});
    const QString link = tide->link().toString();
    EXPECT_FALSE(
        model->canDropMimeData(dragOf("http://127.0.0.1:9/elsewhere").get(), Qt::CopyAction, -1, 0, {}));
    EXPECT_FALSE(model->canDropMimeData(dragOf("ftp://127.0.0.1:9/x").get(), Qt::CopyAction, -1, 0, {}));
    EXPECT_FALSE(
        model->canDropMimeData(dragOf("quillbay:article=NO-SUCH-ID").get(), Qt::CopyAction, -1, 0, {}));
    EXPECT_FALSE(f.sideBar->acceptDrop("quillbay:open=" + t.harbour->uniqueID(), 0))
        << "a feed is no article";
    ASSERT_TRUE(model->canDropMimeData(dragOf(link).get(), Qt::CopyAction, -1, 0, {}));
    EXPECT_TRUE(model->dropMimeData(dragOf(link).get(), Qt::CopyAction, -1, 0, {}));
    EXPECT_EQ(model->articleAt(2), tide) << "dropped below the rows";
    EXPECT_EQ(f.sideBar->numberOfRows(), 3);

    // A link dragged out of the headline page, let go below the rows of the bin on screen.
    f.pane.resize(220, 400);
    f.pane.show();
    QWidget *viewport = f.sideBar->newsBinTable()->viewport();
    const QPoint below(20, viewport->height() - 5);
    const auto drag = dragOf("quillbay:article=" + t.article(t.kitchen, 2)->uniqueID());
    QDragEnterEvent enter(below, Qt::CopyAction | Qt::LinkAction, drag.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &enter);
    QDragMoveEvent move(below, Qt::CopyAction | Qt::LinkAction, drag.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &move);
    EXPECT_TRUE(move.isAccepted());
    QDropEvent drop(below, Qt::CopyAction | Qt::LinkAction, drag.get(), Qt::LeftButton, Qt::NoModifier);
    // A dispatched drop arrives unanswered; the view takes an answered one as handled elsewhere.
    drop.setAccepted(false);
    QApplication::sendEvent(viewport, &drop);
    ASSERT_EQ(f.sideBar->numberOfRows(), 4);
    EXPECT_EQ(model->articleAt(3), t.article(t.kitchen, 2));

    FeedLibrary reloaded;
    reloaded.load();
    EXPECT_EQ(reloaded.loadNewsClippings()->childCount(), 4) << "every drop was stored";
}

TEST(SideBarController, RemovingSelectsTheRowThatTookItsPlaceOrTheNewLastAndTheOnlyRowLeavesNone)
{
    AppTestLibrary t;
    SideBarFixture f(t);
    f.fillWithHarbour();

    f.sideBar->doRemove(nullptr);
    EXPECT_EQ(f.sideBar->numberOfRows(), 2) << "the last row added was still selected";
    EXPECT_EQ(f.selectedRows(), QList<int>{1}) << "the new last row";

    f.select({0});
    f.sideBar->doRemove(nullptr);
    EXPECT_EQ(f.sideBar->numberOfRows(), 1);
    EXPECT_EQ(f.selectedRows(), QList<int>{0}) << "the row that moved up";

    f.sideBar->clearSelection();
    f.sideBar->doRemove(nullptr);
    EXPECT_EQ(f.sideBar->numberOfRows(), 1) << "nothing selected, nothing removed";

    // The main window removes the clipping it shows even when the bin has no row selected.
    f.sideBar->doRemove(f.model()->articleAt(0));
    EXPECT_EQ(f.sideBar->numberOfRows(), 0);
    EXPECT_TRUE(f.selectedRows().isEmpty());
}

TEST(SideBarController, WithTwoClippingsSelectedOnlyOpeningRemovingAndEmptyingStayEnabledAndOpeningTakesAll)
{
    AppTestLibrary t;
    t.defaults.setString("generalBlogEditor", "sh {file}");
    SideBarFixture f(t);
    f.fillWithHarbour();
    using C = SideBarController;
    const QList<C::Command> single = {C::SendInEmail,   C::OpenInBlogEditor, C::SpeakArticle,
                                      C::PostToDigg,    C::PostToDelicious,  C::PostToInstapaper,
                                      C::PostToTwitter, C::PostToFaceBook};

    f.select({0, 1});
    for (C::Command command : single)
        EXPECT_FALSE(f.sideBar->validateMenuItem(f.sideBar->menuItem(command))) << command;
    for (C::Command command : {C::OpenInBrowser, C::RemoveClipping, C::EmptyNewsBin})
        EXPECT_TRUE(f.sideBar->validateMenuItem(f.sideBar->menuItem(command))) << command;
    EXPECT_TRUE(f.sideBar->validateMenuItem(nullptr)) << "pop-up items are always enabled";

    f.sideBar->menuItem(C::OpenInBrowser)->trigger();
    ASSERT_EQ(f.desktop.opened.size(), 3) << "the unselected clipping too";
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(f.desktop.opened.at(i).first, t.article(t.harbour, i)->link());
        EXPECT_TRUE(f.desktop.opened.at(i).second) << "behind the program";
    }

    f.select({1});
    for (C::Command command : single)
        EXPECT_TRUE(f.sideBar->validateMenuItem(f.sideBar->menuItem(command))) << command;

    f.sideBar->menuItem(C::EmptyNewsBin)->trigger();
    EXPECT_EQ(f.sideBar->numberOfRows(), 0);
    for (QAction *item : f.sideBar->contextualMenu()->actions())
        EXPECT_TRUE(item->isSeparator() || !f.sideBar->validateMenuItem(item)) << item->text().toStdString();
}

TEST(SideBarController, EmailAndServicesGetTheArticleInTheirOwnEscaping)
{
    AppTestLibrary t;
    SideBarFixture f(t);
    const ArticlePtr article = std::make_shared<Article>();
    article->setTitle("Q&A: a/b?c=d é");
    article->setLink(QUrl("http://127.0.0.1:9/x?y=1&z=2"));
    article->setSummary("one=two");
    article->setParent(t.harbour);
    t.library.saveSummary("Hot &amp; <b>fresh</b>", article);

    f.sideBar->postArticleInEmail(article);
    EXPECT_EQ(f.openedText(), "mailto:?subject=Q%26A%3A%20a%2Fb%3Fc%3Dd%20%C3%A9"
                              "&body=Hot%20%26%20fresh%0A%0AArticle%20from%20Harbour%20Notes%0A"
                              "http%3A%2F%2F127.0.0.1%3A9%2Fx%3Fy%3D1%26z%3D2");
    EXPECT_FALSE(f.desktop.opened.at(0).second);

    for (int service : {0, 1, 2, 3, 4, 5, 6})
        f.sideBar->postArticle(article, service);
    ASSERT_EQ(f.desktop.opened.size(), 6) << "codes outside 1 to 5 open nothing";
    EXPECT_EQ(
        f.openedText(1),
        "https://digg.com/submit?phase=2&url=http://127.0.0.1:9/x?y=1&z=2&title=Q&A:%20a/b?c=d%20%C3%A9");
    EXPECT_EQ(f.openedText(2), "https://del.icio.us/post?v=4&noui&jump=close&url=http://127.0.0.1:9/x?y=1&z=2"
                               "&title=Q&A:%20a/b?c=d%20%C3%A9");
    EXPECT_EQ(f.openedText(3),
              "https://www.instapaper.com/hello2?url=http%3A%2F%2F127.0.0.1%3A9%2Fx%3Fy%3D1%26z%3D2"
              "&title=Q%26A%3A%20a%2Fb%3Fc%3Dd%20%C3%A9&description=one%3Dtwo");
    const QUrl tweet = f.desktop.opened.at(4).first;
    EXPECT_EQ(tweet.toString(QUrl::RemoveQuery), "https://twitter.com/intent/tweet");
    EXPECT_EQ(QUrlQuery(tweet).queryItemValue("text", QUrl::FullyDecoded),
              "Q&A: a/b?c=d é http://127.0.0.1:9/x?y=1&z=2");
    const QUrlQuery share(f.desktop.opened.at(5).first);
    EXPECT_EQ(f.desktop.opened.at(5).first.host(), "www.facebook.com");
    EXPECT_EQ(share.queryItemValue("u", QUrl::FullyDecoded), "http://127.0.0.1:9/x?y=1&z=2");
    EXPECT_EQ(share.queryItemValue("quote", QUrl::FullyDecoded),
              "Q&A: a/b?c=d é http://127.0.0.1:9/x?y=1&z=2 posted from QuillBay");

    // Without a selected clipping the menu's commands do nothing.
    f.desktop.opened.clear();
    f.sideBar->doSendInEmail();
    f.sideBar->doPostToInstapaper();
    EXPECT_TRUE(f.desktop.opened.isEmpty());
}

TEST(SideBarController, TheBlogEditorIsACommandLineWhoseFieldsNoShellReadsAndUntilOneIsSetItsItemSaysWhere)
{
    AppTestLibrary t;
    SideBarFixture f(t);
    f.fillWithHarbour();
    f.select({0});
    QAction *item = f.sideBar->menuItem(SideBarController::OpenInBlogEditor);
    emit f.sideBar->contextualMenu()->aboutToShow();
    EXPECT_FALSE(item->isEnabled()) << "no editor is set on a new installation";
    EXPECT_TRUE(item->toolTip().contains("Preferences")) << item->toolTip().toStdString();
    t.defaults.setString("generalBlogEditor", "no-such-blog-editor-anywhere {file}");
    emit f.sideBar->contextualMenu()->aboutToShow();
    EXPECT_FALSE(item->isEnabled());

    QTemporaryDir folder;
    const QString output = folder.filePath("arguments");
    QFile editor(folder.filePath("editor"));
    ASSERT_TRUE(editor.open(QIODevice::WriteOnly));
    editor.write(QString("#!/bin/sh\nfor a in \"$@\"; do printf '%s\\0' \"$a\"; cat \"$a\" 2>/dev/null; done "
                         "> '%1.part'\nmv '%1.part' '%1'\n")
                     .arg(output)
                     .toUtf8());
    editor.close();
    editor.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    t.defaults.setString("generalBlogEditor",
                         "\"" + editor.fileName() + "\" --new-post --title={title} {link} {text} {file}");
    emit f.sideBar->contextualMenu()->aboutToShow();
    EXPECT_TRUE(item->isEnabled());
    EXPECT_TRUE(item->toolTip().isEmpty() || item->toolTip() == item->text());

    const ArticlePtr article = t.article(t.kitchen, 1);
    article->setTitle("Soup $(touch pwned) \"quoted\" `x`; rm -rf\n");
    article->setLink(QUrl("http://127.0.0.1:9/--exec=pwned"));
    f.sideBar->postArticleToWeblogEditor(article);
    const QDeadlineTimer deadline(10000);
    while (!QFile::exists(output) && !deadline.hasExpired())
        QThread::msleep(20);
    QFile written(output);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly)) << "the editor was started";
    const QStringList arguments = QString::fromUtf8(written.readAll()).split(QChar(0));
    // The script prints each argument, and after the draft file's name its contents.
    ASSERT_EQ(arguments.size(), 6) << arguments.join('|').toStdString();
    EXPECT_EQ(arguments.mid(0, 4),
              (QStringList{"--new-post", "--title=Soup $(touch pwned) \"quoted\" `x`; rm -rf",
                           "http://127.0.0.1:9/--exec=pwned", "Text of Soup 1"}));
    EXPECT_EQ(arguments.at(5), "Soup $(touch pwned) \"quoted\" `x`; rm -rf\n\nText of Soup 1\n\n"
                               "http://127.0.0.1:9/--exec=pwned\n");
    QFile::remove(arguments.at(4));
    EXPECT_EQ(f.desktop.beeps, 0);
    EXPECT_FALSE(QFile::exists("pwned"));
    EXPECT_FALSE(QFile::exists(folder.filePath("pwned")));

    // A field at the start of an argument can never pass for one of the editor's options.
    article->setTitle("--delete-everything");
    EXPECT_EQ(BlogEditorCommand("editor {title}").argumentsFor({article->title(), {}, {}}, {}),
              QStringList{" --delete-everything"});
}

TEST(SideBarController, SpeakingOnAMachineWithoutSpeechEnginesOnlyBeeps)
{
    if (!QTextToSpeech::availableEngines().isEmpty())
        GTEST_SKIP() << "this machine can speak";
    AppTestLibrary t;
    SideBarFixture f(t);
    f.fillWithHarbour();
    f.sideBar->doSpeakArticle();
    EXPECT_EQ(f.desktop.beeps, 1);
}

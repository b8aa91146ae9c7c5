#include "app/SideBarController.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"
#include "NotificationLog.h"
#include "TestFiles.h"
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
class SideBarTest : public ::testing::Test
{
protected:
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
        t.library.setSelectedItems({t.harbour});
        sideBar->doAdd(nullptr);
        heard.notes.clear();
    }
    static std::unique_ptr<QMimeData> dragOf(const QString &text)
    {
        auto data = std::make_unique<QMimeData>();
        data->setUrls({QUrl(text)});
        return data;
    }
    QString opened(int index) const { return desktop.opened.value(index).first.toString(QUrl::FullyEncoded); }

    AppTestLibrary t;
    RecordingDesktop desktop;
    QWidget pane;
    SideBarController *sideBar = new SideBarController(&pane, t.library, t.defaults, t.center, desktop);
    NotificationLog heard{t.center};
};

} // namespace

TEST_F(SideBarTest, SortFilterLengthAndTintStartAsStoredAndEachChangeIsStoredAndPosted)
{
    t.defaults.setInteger("sortMethod", 2);
    t.defaults.setInteger("filterMethod", 6);
    QWidget otherPane;
    const auto *restarted = new SideBarController(&otherPane, t.library, t.defaults, t.center, desktop);
    EXPECT_EQ(restarted->sortPopUp()->currentIndex(), 2);
    EXPECT_EQ(restarted->filterPopUp()->currentData().toInt(), 6);
    QList<int> filters;
    for (int i = 0; i < restarted->filterPopUp()->count(); ++i)
        filters << restarted->filterPopUp()->itemData(i).toInt();
    EXPECT_EQ(filters, QList<int>({0, 1, 2, 5, 6, 7, 10, 11, 12})) << "every filter the page knows";
    EXPECT_EQ(restarted->articleSlider()->value(), restarted->articleSlider()->maximum());

    // Sort items post their position plus one up to the third, and the date sort after it.
    QComboBox *sort = sideBar->sortPopUp();
    sort->setCurrentIndex(2);
    emit sort->activated(2);
    sort->addItem("Later item");
    sort->setCurrentIndex(3);
    sideBar->doChangeSortMethod();
    ASSERT_EQ(heard.notes.size(), 2);
    EXPECT_EQ(heard.notes.at(0).name, "ArticleSortOrderChangeNotification");
    EXPECT_EQ(heard.notes.at(0).object.toInt(), 3);
    EXPECT_EQ(heard.notes.at(1).object.toInt(), 1) << "a fourth item sorts by date";
    EXPECT_EQ(t.defaults.integer("sortMethod"), 3) << "the position is stored, not the code";

    heard.notes.clear();
    sideBar->filterPopUp()->setCurrentIndex(sideBar->filterPopUp()->findData(12));
    sideBar->doChangeFilterMethod();
    ASSERT_EQ(heard.names(), QStringList{"ArticleFilteringChanged"});
    EXPECT_EQ(heard.notes.at(0).object.toInt(), 12);
    EXPECT_EQ(t.defaults.integer("filterMethod"), 12);

    heard.notes.clear();
    sideBar->articleSlider()->setValue(sideBar->articleSlider()->maximum() / 2);
    EXPECT_EQ(t.defaults.doubleValue("articleLength"), 0.5);
    EXPECT_EQ(heard.names(), QStringList{"ArticleLengthChanged"});

    t.defaults.setInteger("displayColourTheme", 1);
    t.center.post("ThemeChangedNotification");
    EXPECT_EQ(sideBar->navigationBar()->colorTint(), ColourTheme::colourThemeOfType(1));
}

TEST_F(SideBarTest, PublishedTodaySendsTheDateWhileUnreadAndSearchSendNone)
{
    const ArticlePtr fresh = t.addArticle(t.kitchen, "Fresh bread", 1);
    fresh->setLegacyPublicationDate(CalendarDate::now());
    t.article(t.sky, 0)->setState(Article::Read);

    sideBar->doQuickBrowseUnread();
    EXPECT_EQ(heard.names(), (QStringList{"ChangeBreadcrumbModeUnreadNotification", "feedSelectionChanged"}));
    EXPECT_FALSE(heard.notes.at(1).object.isValid());
    EXPECT_EQ(t.library.selectedItems().size(), 9) << "every unread article, the read one left out";

    heard.notes.clear();
    sideBar->doQuickBrowseToday();
    EXPECT_EQ(heard.names(), (QStringList{"ChangeBreadcrumbModeDateNotification", "feedSelectionChanged"}));
    ASSERT_TRUE(heard.notes.at(1).object.canConvert<CalendarDate>());
    EXPECT_EQ(heard.notes.at(1).object.value<CalendarDate>().moment().toLocalTime().date(),
              QDate::currentDate());
    EXPECT_EQ(t.library.selectedItems(), TreeNodeList{fresh});

    heard.notes.clear();
    sideBar->searchField()->setText("Soup");
    QTest::keyClick(sideBar->searchField(), Qt::Key_Return);
    EXPECT_EQ(heard.names(), QStringList{"ChangeBreadcrumbModeSearchNotificationi"});
    ASSERT_TRUE(t.library.searchFolder());
    EXPECT_EQ(t.library.searchFolder()->childCount(), 3);
}

TEST_F(SideBarTest, ClippingsAreKeptOnceReadWhenPickedAndRemovedWithTheSelectionMovingOnAndAllIsStored)
{
    // A new library holds the program's own two pages, which belong to no feed and show their summary.
    EXPECT_EQ(sideBar->newsBin(), t.library.newsClippings());
    ASSERT_EQ(sideBar->numberOfRows(), 2);
    EXPECT_FALSE(model()->articleAt(0)->source());
    EXPECT_FALSE(model()->articleAt(0)->summary().isEmpty());
    EXPECT_EQ(model()->index(0, 0).data(NewsBinModel::SubtitleRole).toString(),
              model()->articleAt(0)->summary());

    fillWithHarbour();
    ASSERT_EQ(sideBar->numberOfRows(), 3);
    EXPECT_EQ(selectedRows(), QList<int>{2}) << "the last one added";
    EXPECT_EQ(model()->articleAt(2)->parent(), t.harbour) << "the clipping stays in its feed";
    EXPECT_EQ(model()->index(0, 0).data(Qt::DisplayRole).toString(), t.article(t.harbour, 0)->title());
    EXPECT_EQ(model()->index(0, 0).data(NewsBinModel::SubtitleRole).toString(), "Harbour Notes");
    t.library.setSelectedItems({t.harbour});
    sideBar->doAdd(nullptr);
    EXPECT_EQ(sideBar->numberOfRows(), 3) << "articles already kept are not kept twice";
    EXPECT_TRUE(heard.notes.isEmpty()) << "nothing added, so the selection stays";

    sideBar->doRemove(nullptr);
    EXPECT_EQ(sideBar->numberOfRows(), 2);
    EXPECT_EQ(selectedRows(), QList<int>{1}) << "the new last row";
    heard.notes.clear();
    select({0});
    EXPECT_EQ(t.library.selectedItems(), TreeNodeList{model()->articleAt(0)}) << "picking a row reads it";
    EXPECT_EQ(heard.names(), (QStringList{"ChangeBreadcrumbModeNormalNotification", "feedSelectionChanged"}));
    EXPECT_FALSE(heard.notes.at(1).object.isValid());
    const QString removedID = model()->articleAt(0)->uniqueID();
    sideBar->doRemove(nullptr);
    EXPECT_EQ(sideBar->numberOfRows(), 1);
    EXPECT_EQ(selectedRows(), QList<int>{0}) << "the row that moved up";
    sideBar->clearSelection();
    sideBar->doRemove(nullptr);
    EXPECT_EQ(sideBar->numberOfRows(), 1) << "nothing selected, nothing removed";

    FeedLibrary reloaded;
    reloaded.load();
    const VirtualFolderPtr clippings = reloaded.loadNewsClippings();
    ASSERT_EQ(clippings->childCount(), 1);
    EXPECT_EQ(clippings->children().at(0)->uniqueID(), t.article(t.harbour, 1)->uniqueID());
    EXPECT_EQ(reloaded.itemWithUniqueIDInClippings(removedID), nullptr);

    // The main window removes the clipping it shows even when the bin has no row selected.
    sideBar->doRemove(model()->articleAt(0));
    EXPECT_EQ(sideBar->numberOfRows(), 0);
}

TEST_F(SideBarTest, DropsTakeTheHeadlinePagesAddressesAndTheReadArticlesLinkButNothingTwice)
{
    sideBar->doEmptyNewsBin();
    NewsBinModel *bin = model();
    const auto drop = [bin](const QString &text, int row) {
        return bin->dropMimeData(dragOf(text).get(), Qt::CopyAction, row, 0, {});
    };
    const ArticlePtr soup = t.article(t.kitchen, 0);
    const ArticlePtr comet = t.article(t.sky, 1);
    const ArticlePtr tide = t.article(t.harbour, 2);
    EXPECT_TRUE(drop("quillbay:article=" + soup->uniqueID(), 0));
    EXPECT_FALSE(drop("quillbay:article=" + soup->uniqueID(), 0)) << "already a clipping";
    EXPECT_TRUE(drop("quillbay:open=" + comet->uniqueID(), 0));
    EXPECT_EQ(bin->articleAt(0), comet) << "dropped above the first row";

    // A web link only counts when it is the link of the article being read.
    t.library.setSelectedItems({tide});
    for (const QString &refused :
         {QString("http://127.0.0.1:9/elsewhere"), QString("ftp://127.0.0.1:9/x"),
          QString("quillbay:article=NO-SUCH-ID"), "quillbay:open=" + t.harbour->uniqueID()})
        EXPECT_FALSE(bin->canDropMimeData(dragOf(refused).get(), Qt::CopyAction, -1, 0, {}))
            << refused.toStdString();
    ASSERT_TRUE(bin->canDropMimeData(dragOf(tide->link().toString()).get(), Qt::CopyAction, -1, 0, {}));
    EXPECT_TRUE(drop(tide->link().toString(), -1));
    EXPECT_EQ(bin->articleAt(2), tide) << "dropped below the rows";

    // A link dragged out of the headline page, let go below the rows of the bin on screen.
    pane.resize(220, 400);
    pane.show();
    QWidget *viewport = sideBar->newsBinTable()->viewport();
    const QPoint below(20, viewport->height() - 5);
    const auto drag = dragOf("quillbay:article=" + t.article(t.kitchen, 2)->uniqueID());
    const Qt::DropActions actions = Qt::CopyAction | Qt::LinkAction;
    QDragEnterEvent enter(below, actions, drag.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &enter);
    QDragMoveEvent move(below, actions, drag.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &move);
    EXPECT_TRUE(move.isAccepted());
    QDropEvent dropEvent(below, actions, drag.get(), Qt::LeftButton, Qt::NoModifier);
    // A dispatched drop arrives unanswered; the view takes an answered one as handled elsewhere.
    dropEvent.setAccepted(false);
    QApplication::sendEvent(viewport, &dropEvent);
    ASSERT_EQ(sideBar->numberOfRows(), 4);
    EXPECT_EQ(bin->articleAt(3), t.article(t.kitchen, 2));

    FeedLibrary reloaded;
    reloaded.load();
    EXPECT_EQ(reloaded.loadNewsClippings()->childCount(), 4) << "every drop was stored";
}

TEST_F(SideBarTest, WithTwoClippingsSelectedOnlyOpeningRemovingAndEmptyingStayEnabledAndOpeningTakesAll)
{
    t.defaults.setString("generalBlogEditor", "sh {file}");
    fillWithHarbour();
    using C = SideBarController;
    const QList<C::Command> single = {C::SendInEmail,   C::OpenInBlogEditor, C::SpeakArticle,
                                      C::PostToDigg,    C::PostToDelicious,  C::PostToInstapaper,
                                      C::PostToTwitter, C::PostToFaceBook};
    const auto enabled = [this](C::Command command) {
        return sideBar->validateMenuItem(sideBar->menuItem(command));
    };

    select({0, 1});
    for (C::Command command : single)
        EXPECT_FALSE(enabled(command)) << command;
    for (C::Command command : {C::OpenInBrowser, C::RemoveClipping, C::EmptyNewsBin})
        EXPECT_TRUE(enabled(command)) << command;
    EXPECT_TRUE(sideBar->validateMenuItem(nullptr)) << "pop-up items are always enabled";

    sideBar->menuItem(C::OpenInBrowser)->trigger();
    ASSERT_EQ(desktop.opened.size(), 3) << "the unselected clipping too";
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(desktop.opened.at(i), std::make_pair(t.article(t.harbour, i)->link(), true)) << "behind";

    select({1});
    for (C::Command command : single)
        EXPECT_TRUE(enabled(command)) << command;
    if (QTextToSpeech::availableEngines().isEmpty()) {
        sideBar->doSpeakArticle();
        EXPECT_EQ(desktop.beeps, 1) << "a machine without speech engines only beeps";
    }

    sideBar->menuItem(C::EmptyNewsBin)->trigger();
    EXPECT_EQ(sideBar->numberOfRows(), 0);
    for (QAction *item : sideBar->contextualMenu()->actions())
        EXPECT_TRUE(item->isSeparator() || !sideBar->validateMenuItem(item)) << item->text().toStdString();
}

TEST_F(SideBarTest, EmailAndServicesGetTheArticleInTheirOwnEscaping)
{
    const ArticlePtr article = std::make_shared<Article>();
    article->setTitle("Q&A: a/b?c=d é");
    article->setLink(QUrl("http://127.0.0.1:9/x?y=1&z=2"));
    article->setSummary("one=two");
    article->setParent(t.harbour);
    t.library.saveSummary("Hot &amp; <b>fresh</b>", article);

    sideBar->postArticleInEmail(article);
    EXPECT_EQ(opened(0), "mailto:?subject=Q%26A%3A%20a%2Fb%3Fc%3Dd%20%C3%A9"
                         "&body=Hot%20%26%20fresh%0A%0AArticle%20from%20Harbour%20Notes%0A"
                         "http%3A%2F%2F127.0.0.1%3A9%2Fx%3Fy%3D1%26z%3D2");
    EXPECT_FALSE(desktop.opened.at(0).second);

    for (int service : {0, 1, 2, 3, 4, 5, 6})
        sideBar->postArticle(article, service);
    ASSERT_EQ(desktop.opened.size(), 6) << "codes outside 1 to 5 open nothing";
    // Delicious escapes as Digg does.
    EXPECT_EQ(
        opened(1),
        "https://digg.com/submit?phase=2&url=http://127.0.0.1:9/x?y=1&z=2&title=Q&A:%20a/b?c=d%20%C3%A9");
    EXPECT_EQ(opened(3),
              "https://www.instapaper.com/hello2?url=http%3A%2F%2F127.0.0.1%3A9%2Fx%3Fy%3D1%26z%3D2"
              "&title=Q%26A%3A%20a%2Fb%3Fc%3Dd%20%C3%A9&description=one%3Dtwo");
    const QUrl tweet = desktop.opened.at(4).first;
    EXPECT_EQ(tweet.toString(QUrl::RemoveQuery), "https://twitter.com/intent/tweet");
    EXPECT_EQ(QUrlQuery(tweet).queryItemValue("text", QUrl::FullyDecoded),
              "Q&A: a/b?c=d é http://127.0.0.1:9/x?y=1&z=2");
    const QUrlQuery share(desktop.opened.at(5).first);
    EXPECT_EQ(share.queryItemValue("u", QUrl::FullyDecoded), "http://127.0.0.1:9/x?y=1&z=2");
    EXPECT_EQ(share.queryItemValue("quote", QUrl::FullyDecoded),
              "Q&A: a/b?c=d é http://127.0.0.1:9/x?y=1&z=2 posted from QuillBay");

    // Without a selected clipping the menu's commands do nothing.
    desktop.opened.clear();
    sideBar->doSendInEmail();
    sideBar->doPostToInstapaper();
    EXPECT_TRUE(desktop.opened.isEmpty());
}

TEST_F(SideBarTest, TheBlogEditorIsACommandLineWhoseFieldsNoShellReadsAndUntilOneIsSetItsItemSaysWhere)
{
    fillWithHarbour();
    select({0});
    QAction *item = sideBar->menuItem(SideBarController::OpenInBlogEditor);
    emit sideBar->contextualMenu()->aboutToShow();
    EXPECT_FALSE(item->isEnabled()) << "no editor is set on a new installation";
    EXPECT_TRUE(item->toolTip().contains("Preferences")) << item->toolTip().toStdString();
    t.defaults.setString("generalBlogEditor", "no-such-blog-editor-anywhere {file}");
    emit sideBar->contextualMenu()->aboutToShow();
    EXPECT_FALSE(item->isEnabled());

    // The stand-in editor writes each argument, and after the draft file's name its contents.
    QTemporaryDir folder;
    const QString output = folder.filePath("arguments");
    const QString editor = folder.filePath("editor");
    writeFile(editor, QString("#!/bin/sh\nfor a in \"$@\"; do printf '%s\\0' \"$a\"; cat \"$a\" 2>/dev/null; "
                              "done > '%1.part'\nmv '%1.part' '%1'\n")
                          .arg(output)
                          .toUtf8());
    QFile::setPermissions(editor, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    t.defaults.setString("generalBlogEditor",
                         "\"" + editor + "\" --new-post --title={title} {link} {text} {file}");
    emit sideBar->contextualMenu()->aboutToShow();
    EXPECT_TRUE(item->isEnabled());
    EXPECT_TRUE(item->toolTip().isEmpty() || item->toolTip() == item->text());

    const ArticlePtr article = t.article(t.kitchen, 1);
    article->setTitle("Soup $(touch pwned) \"quoted\" `x`; rm -rf\n");
    article->setLink(QUrl("http://127.0.0.1:9/--exec=pwned"));
    sideBar->postArticleToWeblogEditor(article);
    const QDeadlineTimer deadline(10000);
    while (!QFile::exists(output) && !deadline.hasExpired())
        QThread::msleep(20);
    QFile written(output);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly)) << "the editor was started";
    const QStringList arguments = QString::fromUtf8(written.readAll()).split(QChar(0));
    ASSERT_EQ(arguments.size(), 6) << arguments.join('|').toStdString();
    EXPECT_EQ(arguments.mid(0, 4),
              (QStringList{"--new-post", "--title=Soup $(touch pwned) \"quoted\" `x`; rm -rf",
                           "http://127.0.0.1:9/--exec=pwned", "Text of Soup 1"}));
    EXPECT_EQ(arguments.at(5), "Soup $(touch pwned) \"quoted\" `x`; rm -rf\n\nText of Soup 1\n\n"
                               "http://127.0.0.1:9/--exec=pwned\n");
    QFile::remove(arguments.at(4));
    EXPECT_EQ(desktop.beeps, 0);
    EXPECT_FALSE(QFile::exists("pwned"));
    EXPECT_FALSE(QFile::exists(folder.filePath("pwned")));

    // A field at the start of an argument can never pass for one of the editor's options.
    EXPECT_EQ(BlogEditorCommand("editor {title}").argumentsFor({"--delete-everything", {}, {}}, {}),
              QStringList{" --delete-everything"});
}

#include "app/SourceListView.h"

#include "TestTree.h"
#include "app/SourceListDelegate.h"
#include "model/FeedLibrary.h"
#include "model/SourceListModel.h"
#include "platform/Defaults.h"

#include <QLineEdit>
#include <QMimeData>
#include <QScrollBar>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// Pixels in the row's right end that differ from the row's own background, taken at its top corner.
int markedPixelsAtRightEnd(const QImage &row, int width)
{
    const QRgb background = row.pixel(row.width() - 1, 0);
    int marked = 0;
    for (int x = row.width() - width; x < row.width(); ++x)
        for (int y = 0; y < row.height(); ++y)
            marked += row.pixel(x, y) != background;
    return marked;
}

// root: Tech [Sub [Deep], Alpha], Loose, Quiet
class SourceListWidget : public ::testing::Test
{
protected:
    void SetUp() override
    {
        library.load();
        root = library.root();
        root->removeChildren();
        tech = makeFolder(library, "Tech", root);
        sub = makeFolder(library, "Sub", tech);
        deep = makeFeed(library, "Deep", sub);
        alpha = makeFeed(library, "Alpha", tech);
        loose = makeFeed(library, "Loose", root);
        quiet = makeFeed(library, "Quiet", root);
        model = std::make_unique<SourceListModel>(library, defaults);
        view = std::make_unique<SourceListView>(defaults);
        view->setModel(model.get());
        view->resize(300, 400);
    }

    void show()
    {
        view->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
    }

    QModelIndex row(const TreeNodePtr &node) const { return model->indexForItem(node); }
    QPoint centreOf(const TreeNodePtr &node) const { return view->visualRect(row(node)).center(); }
    void click(const TreeNodePtr &node, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseClick(view->viewport(), Qt::LeftButton, modifiers, centreOf(node));
    }

    TreeNodeList selectedNodes() const
    {
        TreeNodeList nodes;
        for (const QModelIndex &index : view->selectionModel()->selectedRows())
            nodes << model->itemForIndex(index);
        return nodes;
    }

    QSet<QString> savedExpanded() const
    {
        const QStringList saved = defaults.value(SourceListView::expandedItemsKey()).toStringList();
        return QSet<QString>(saved.cbegin(), saved.cend());
    }

    QLineEdit *openEditor() const
    {
        for (QLineEdit *editor : view->viewport()->findChildren<QLineEdit *>())
            if (editor->isVisible())
                return editor;
        return nullptr;
    }

    QImage rowImage(const TreeNodePtr &node) const
    {
        return view->viewport()->grab(view->visualRect(row(node))).toImage();
    }

    QTemporaryDir scratch;
    Defaults defaults{scratch.filePath("settings.ini")};
    FeedLibrary library;
    FolderPtr root, tech, sub;
    FeedPtr deep, alpha, loose, quiet;
    std::unique_ptr<SourceListModel> model;
    std::unique_ptr<SourceListView> view;
};

} // namespace

TEST_F(SourceListWidget, AWholeRefreshKeepsSelectionScrollExpandedFoldersAndARenameInProgress)
{
    view->resize(300, 120);
    show();
    view->expand(row(tech));
    view->expand(row(sub));
    EXPECT_EQ(savedExpanded(), (QSet<QString>{tech->uniqueID(), sub->uniqueID()}));
    view->selectItemSilently(row(quiet));
    view->verticalScrollBar()->setValue(view->verticalScrollBar()->maximum());
    const int scrolled = view->verticalScrollBar()->value();
    ASSERT_GT(scrolled, 0);
    view->edit(row(quiet));
    ASSERT_NE(openEditor(), nullptr);
    QTest::keyClick(openEditor(), Qt::Key_End);
    QTest::keyClicks(openEditor(), " and calm");

    // Every count changes, a download starts, a feed arrives above: nothing the user holds is lost, and
    // the rows moving down under the selection are not taken for the user choosing anew.
    QSignalSpy chosen(view.get(), &SourceListView::selectionChangedByUser);
    addArticles(quiet, 3);
    addArticles(deep, 2);
    loose->setState(Feed::Downloading);
    library.add(std::make_shared<Feed>(), root, 0);
    model->reloadData();
    model->reloadItem(quiet);
    QCoreApplication::processEvents();
    EXPECT_EQ(selectedNodes(), TreeNodeList{quiet});
    EXPECT_EQ(chosen.size(), 0);
    EXPECT_EQ(view->verticalScrollBar()->value(), scrolled);
    EXPECT_TRUE(view->isExpanded(row(tech)) && view->isExpanded(row(sub)));
    ASSERT_NE(openEditor(), nullptr);
    EXPECT_EQ(openEditor()->text(), "Quiet and calm");
    QTest::keyClick(openEditor(), Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(quiet->title(), "Quiet and calm");

    view->collapse(row(tech));
    EXPECT_EQ(savedExpanded(), QSet<QString>{sub->uniqueID()})
        << "a folder inside a collapsed one stays open";
    // A one-item list must come back from the settings file as a list.
    Defaults reread(defaults.filePath());
    SourceListView second(reread);
    second.setModel(model.get());
    EXPECT_FALSE(second.isExpanded(row(tech)));
    EXPECT_TRUE(second.isExpanded(row(sub)));
}

TEST_F(SourceListWidget, ClicksNeverLeaveTheSelectionEmptyAndOnlyClicksAndDropsCountAsTheUsersChoice)
{
    show();
    QSignalSpy byUser(view.get(), &SourceListView::selectionChangedByUser);
    view->selectItemSilently(row(deep));
    EXPECT_EQ(byUser.count(), 0);
    EXPECT_EQ(selectedNodes(), TreeNodeList{deep});
    EXPECT_EQ(view->currentIndex(), row(deep));
    EXPECT_TRUE(view->isExpanded(row(sub))) << "the row is revealed";

    const QPoint belowTheRows(20, view->viewport()->height() - 4);
    ASSERT_FALSE(view->indexAt(belowTheRows).isValid());
    click(loose);
    EXPECT_EQ(byUser.count(), 1);
    EXPECT_EQ(selectedNodes(), TreeNodeList{loose});
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, belowTheRows);
    EXPECT_EQ(selectedNodes(), TreeNodeList{loose}) << "a click on empty space";
    click(loose, Qt::ControlModifier);
    EXPECT_EQ(selectedNodes(), TreeNodeList{loose}) << "toggling off the only selected row";
    click(quiet, Qt::ControlModifier);
    EXPECT_EQ(selectedNodes(), (TreeNodeList{loose, quiet}));
    click(loose, Qt::ControlModifier);
    EXPECT_EQ(selectedNodes(), TreeNodeList{quiet}) << "toggling off one of several rows still works";
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ShiftModifier, belowTheRows);
    EXPECT_EQ(selectedNodes(), TreeNodeList{quiet});

    // A dropped row becomes the selected and current row.
    byUser.clear();
    std::unique_ptr<QMimeData> drag(model->mimeData({row(loose)}));
    ASSERT_TRUE(model->dropMimeData(drag.get(), Qt::MoveAction, -1, 0, row(sub)));
    ASSERT_EQ(loose->parent(), sub);
    EXPECT_EQ(selectedNodes(), TreeNodeList{loose});
    EXPECT_EQ(view->currentIndex(), row(loose));
    EXPECT_TRUE(view->isExpanded(row(sub)));
    EXPECT_EQ(byUser.count(), 1);
}

TEST_F(SourceListWidget, RowsOfEitherIconSizeAreRenamedBesideTheIconAfterF2OrAClickOnTheSelectedRow)
{
    view->setSmallIcons(true);
    EXPECT_EQ(view->visualRect(row(loose)).height(), 20);
    view->setSmallIcons(false);
    EXPECT_EQ(view->visualRect(row(loose)).height(), 38);
    model->reloadData();
    EXPECT_EQ(view->visualRect(row(tech)).height(), 38);
    show();
    view->selectItemSilently(row(quiet));
    QTest::keyClick(view.get(), Qt::Key_F2);
    QLineEdit *editor = openEditor();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->text(), "Quiet");
    const QRect rowRect = view->visualRect(row(quiet));
    EXPECT_GT(editor->geometry().left(), rowRect.left() + view->sourceListDelegate()->iconExtent());
    EXPECT_LE(editor->geometry().right(), rowRect.right());

    editor->setText("Calm & Quiet");
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents(); // the editor hands its text over on the next pass of the loop
    EXPECT_EQ(quiet->title(), "Calm & Quiet");
    EXPECT_EQ(openEditor(), nullptr);

    click(loose);
    click(loose);
    ASSERT_TRUE(QTest::qWaitFor([&] { return openEditor() != nullptr; }));
    EXPECT_EQ(openEditor()->text(), "Loose");
}

TEST_F(SourceListWidget, OnlyRowsWithUnreadArticlesShowABadgeDownloadsSpinAndFailedFeedsAreMarked)
{
    addArticles(loose, 7);
    model->reloadData();
    show();
    const QImage withBadge = rowImage(loose);
    EXPECT_GT(markedPixelsAtRightEnd(withBadge, 24), 0);
    EXPECT_EQ(markedPixelsAtRightEnd(rowImage(quiet), 24), 0);
    EXPECT_FALSE(view->isSpinnerRunning());

    loose->setState(Feed::Downloading);
    model->reloadData();
    ASSERT_TRUE(view->isSpinnerRunning());
    EXPECT_NE(rowImage(loose), withBadge) << "the spinner takes the badge's place";
    const int phase = view->sourceListDelegate()->spinnerPhase();
    EXPECT_TRUE(QTest::qWaitFor([&] { return view->sourceListDelegate()->spinnerPhase() != phase; }));

    loose->setState(Feed::Parsed);
    model->reloadData();
    EXPECT_FALSE(view->isSpinnerRunning());

    const auto redPixels = [](const QImage &image) {
        int red = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                red += qRed(image.pixel(x, y)) > 150 && qGreen(image.pixel(x, y)) < 100;
        return red;
    };
    EXPECT_EQ(redPixels(rowImage(quiet)), 0);
    quiet->setFailureReason("404 Not Found");
    model->reloadData();
    EXPECT_GT(redPixels(rowImage(quiet)), 20) << "a feed whose refresh failed carries a mark";
}

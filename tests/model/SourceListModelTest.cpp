#include "model/SourceListModel.h"

#include "TestTree.h"
#include "model/FeedLibrary.h"
#include "platform/Defaults.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// root: Tech [Sub [Deep], Alpha, Beta], Loose, Vault (locked) [Secret]
class SourceList : public ::testing::Test
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
        beta = makeFeed(library, "Beta", tech);
        loose = makeFeed(library, "Loose", root);
        vault = makeFolder(library, "Vault", root);
        vault->setLocked(true);
        secret = makeFeed(library, "Secret", vault);
        model = std::make_unique<SourceListModel>(library, defaults);
        tester = std::make_unique<QAbstractItemModelTester>(
            model.get(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    }

    QStringList titles(const TreeNodePtr &parent) const
    {
        QStringList list;
        for (const TreeNodePtr &child : parent->children())
            list << SourceListModel::objectValueForItem(child);
        return list;
    }

    // Starts a drag of the nodes as the view would, through the rows' indexes.
    std::unique_ptr<QMimeData> drag(const TreeNodeList &nodes) const
    {
        QModelIndexList indexes;
        for (const TreeNodePtr &node : nodes)
            indexes << model->indexForItem(node);
        return std::unique_ptr<QMimeData>(model->mimeData(indexes));
    }

    QTemporaryDir scratch;
    Defaults defaults{scratch.filePath("settings.ini")};
    FeedLibrary library;
    FolderPtr root, tech, sub, vault;
    FeedPtr deep, alpha, beta, loose, secret;
    std::unique_ptr<SourceListModel> model;
    std::unique_ptr<QAbstractItemModelTester> tester;
};

} // namespace

TEST_F(SourceList, TopLevelRowsAreTheRootsChildrenAndFeedsHaveNoRowsBeneathThem)
{
    ASSERT_EQ(model->rowCount(), 3);
    const QModelIndex techRow = model->index(0, 0);
    EXPECT_EQ(model->itemForIndex(techRow), tech);
    EXPECT_EQ(model->rowCount(techRow), 3);

    const QModelIndex deepRow = model->index(0, 0, model->index(0, 0, techRow));
    EXPECT_EQ(model->itemForIndex(deepRow), deep);
    EXPECT_EQ(model->itemForIndex(model->parent(deepRow)), sub);

    addArticles(alpha, 1, Article::Unread);
    const QModelIndex alphaRow = model->indexForItem(alpha);
    EXPECT_EQ(alphaRow.row(), 1);
    EXPECT_EQ(model->rowCount(alphaRow), 0) << "articles are not rows of the source list";
    EXPECT_FALSE(model->hasChildren(alphaRow));

    auto empty = makeFolder(library, "Empty", root);
    model->reloadData();
    EXPECT_FALSE(model->hasChildren(model->indexForItem(empty)));

    EXPECT_EQ(model->data(deepRow, SourceListModel::UniqueIDRole).toString(), deep->uniqueID());
    EXPECT_EQ(model->itemForPersistentObject(deep->uniqueID()), deepRow);
    EXPECT_FALSE(model->itemForPersistentObject("no such node").isValid());
    EXPECT_FALSE(model->indexForItem(root).isValid());
    EXPECT_EQ(SourceListModel::objectValueForItem(nullptr), "???");
}

TEST_F(SourceList, RowsCarryTitleIconBadgesAndTheDownloadIndicator)
{
    addArticles(alpha, 1, Article::Unread);
    addArticles(alpha, 1, Article::New);
    addArticles(alpha, 1, Article::Read);
    addArticles(beta, 1, Article::Unread);
    alpha->setState(Feed::Downloading);

    const QModelIndex alphaRow = model->indexForItem(alpha);
    EXPECT_EQ(model->data(alphaRow).toString(), "Alpha");
    EXPECT_EQ(model->data(alphaRow, SourceListModel::UnreadCountRole).toInt(), 2);
    EXPECT_TRUE(model->data(alphaRow, SourceListModel::HasNewArticlesRole).toBool());
    EXPECT_TRUE(model->data(alphaRow, SourceListModel::DownloadingRole).toBool());
    EXPECT_EQ(model->data(alphaRow, SourceListModel::KindRole).toInt(), int(TreeNode::FeedKind));
    EXPECT_FALSE(model->data(alphaRow, Qt::DecorationRole).value<QImage>().isNull());

    const QModelIndex betaRow = model->indexForItem(beta);
    EXPECT_FALSE(model->data(betaRow, SourceListModel::HasNewArticlesRole).toBool());
    EXPECT_FALSE(model->data(betaRow, SourceListModel::DownloadingRole).toBool()) << "only state 1 spins";
    EXPECT_FALSE(model->data(betaRow, Qt::ToolTipRole).isValid());
    beta->setState(Feed::Failed);
    beta->setFailureReason("404 Not Found");
    QSignalSpy changes(model.get(), &QAbstractItemModel::dataChanged);
    model->reloadItem(beta);
    ASSERT_FALSE(changes.isEmpty());
    EXPECT_EQ(changes.first().at(0).toModelIndex(), betaRow);
    EXPECT_TRUE(changes.first().at(2).value<QList<int>>().contains(SourceListModel::FailureReasonRole))
        << "the mark appears without waiting for another change to the row";
    EXPECT_EQ(model->data(betaRow, Qt::ToolTipRole).toString(), "404 Not Found");

    const QModelIndex techRow = model->indexForItem(tech);
    EXPECT_EQ(model->data(techRow, SourceListModel::UnreadCountRole).toInt(), 3) << "a folder sums its feeds";
    EXPECT_TRUE(model->data(techRow, SourceListModel::HasNewArticlesRole).toBool());
    EXPECT_FALSE(model->data(techRow, SourceListModel::DownloadingRole).toBool());
    EXPECT_TRUE(model->data(techRow, SourceListModel::DownloadingRole).isValid());
}

TEST_F(SourceList, EditingARowRenamesItsNodeAndAnnouncesTheChange)
{
    const QModelIndex subRow = model->indexForItem(sub);
    QList<QModelIndex> changed;
    QObject::connect(model.get(), &QAbstractItemModel::dataChanged,
                     [&](const QModelIndex &from, const QModelIndex &) { changed << from; });

    EXPECT_TRUE(model->flags(subRow).testFlag(Qt::ItemIsEditable));
    EXPECT_TRUE(model->setData(subRow, "Gadgets & Gizmos"));
    EXPECT_EQ(sub->title(), "Gadgets & Gizmos");
    EXPECT_EQ(changed, QList<QModelIndex>{subRow});

    EXPECT_TRUE(model->setData(model->indexForItem(loose), "Renamed feed"));
    EXPECT_EQ(loose->title(), "Renamed feed");
    EXPECT_FALSE(model->setData(subRow, "ignored", Qt::DecorationRole));
    EXPECT_FALSE(model->setData(QModelIndex(), "nothing"));
    EXPECT_EQ(sub->title(), "Gadgets & Gizmos");
}

TEST_F(SourceList, DropValidationRefusesLockedFoldersFeedRowsAndAFolderIntoItself)
{
    using Op = SourceListModel::DragOperation;
    QMimeData foreign;
    foreign.setText("not ours");
    EXPECT_EQ(model->validateDrop(&foreign, sub, -1), Op::DragOperationGeneric) << "nothing remembered";

    auto pasteboard = drag({alpha});
    EXPECT_TRUE(pasteboard->hasFormat("sourceListDragType"));
    EXPECT_EQ(model->draggedNodes(), TreeNodeList{alpha});
    EXPECT_EQ(model->validateDrop(&foreign, sub, -1), Op::DragOperationGeneric) << "not a source-list drag";
    EXPECT_EQ(model->validateDrop(pasteboard.get(), sub, -1), Op::DragOperationMove);
    EXPECT_EQ(model->validateDrop(pasteboard.get(), vault, 0), Op::DragOperationMove);
    EXPECT_EQ(model->validateDrop(pasteboard.get(), nullptr, 1), Op::DragOperationGeneric);
    EXPECT_EQ(model->validateDrop(pasteboard.get(), root, 1), Op::DragOperationMove)
        << "the root is a folder";
    EXPECT_EQ(model->validateDrop(pasteboard.get(), beta, -1), Op::DragOperationNone);
    EXPECT_FALSE(model->canDropMimeData(pasteboard.get(), Qt::MoveAction, -1, 0, model->indexForItem(beta)));

    pasteboard = drag({tech});
    EXPECT_EQ(model->validateDrop(pasteboard.get(), tech, -1), Op::DragOperationNone) << "onto itself";
    EXPECT_EQ(model->validateDrop(pasteboard.get(), sub, 0), Op::DragOperationNone) << "into its sub-folder";
    EXPECT_EQ(model->validateDrop(pasteboard.get(), deep, -1), Op::DragOperationNone) << "onto a feed";
    EXPECT_EQ(model->validateDrop(pasteboard.get(), vault, -1), Op::DragOperationGeneric);
    EXPECT_FALSE(model->canDropMimeData(pasteboard.get(), Qt::MoveAction, 0, 0, model->indexForItem(sub)));
    EXPECT_FALSE(model->dropMimeData(pasteboard.get(), Qt::MoveAction, 0, 0, model->indexForItem(sub)));
    EXPECT_EQ(tech->parent(), root) << "a refused drop leaves the tree alone";

    pasteboard = drag({vault});
    EXPECT_EQ(model->validateDrop(pasteboard.get(), nullptr, 0), Op::DragOperationNone) << "locked";
    EXPECT_EQ(model->validateDrop(pasteboard.get(), tech, -1), Op::DragOperationNone) << "locked";
}

TEST_F(SourceList, DroppingAFeedOntoAFolderRowPutsItFirstAndAsksTheViewToSelectIt)
{
    QList<QModelIndex> selected;
    QObject::connect(model.get(), &SourceListModel::itemsDropped,
                     [&](const QModelIndex &index) { selected << index; });
    const QPersistentModelIndex betaRow = model->indexForItem(beta);

    auto pasteboard = drag({loose});
    ASSERT_TRUE(model->dropMimeData(pasteboard.get(), Qt::MoveAction, -1, 0, model->indexForItem(sub)));
    EXPECT_EQ(titles(sub), QStringList({"Loose", "Deep"}));
    EXPECT_EQ(loose->parent(), sub);
    EXPECT_EQ(titles(root), QStringList({"Tech", "Vault"}));
    EXPECT_TRUE(model->draggedNodes().isEmpty()) << "the drag is forgotten once carried out";
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(model->itemForIndex(selected.first()), loose);
    EXPECT_EQ(model->itemForIndex(betaRow), beta) << "rows the view holds follow their nodes";
}

TEST_F(SourceList, MovingWithinAFolderCountsTheGapTheMovedNodeLeaves)
{
    makeFeed(library, "Gamma", tech);
    model->reloadData();
    ASSERT_EQ(titles(tech), QStringList({"Sub", "Alpha", "Beta", "Gamma"}));

    drag({sub});
    EXPECT_TRUE(model->acceptDrop(tech, 3));
    EXPECT_EQ(titles(tech), QStringList({"Alpha", "Beta", "Sub", "Gamma"}));

    drag({beta});
    EXPECT_TRUE(model->acceptDrop(tech, 0));
    EXPECT_EQ(titles(tech), QStringList({"Beta", "Alpha", "Sub", "Gamma"})) << "no correction moving up";

    drag({beta});
    EXPECT_TRUE(model->acceptDrop(tech, 4));
    EXPECT_EQ(titles(tech), QStringList({"Alpha", "Sub", "Gamma", "Beta"})) << "to the end";
}

TEST_F(SourceList, ANodeFromAnotherFolderLandsExactlyAtTheDropPoint)
{
    // Loose sits at position 1 of the root, lower than the drop point, yet it leaves no gap in Tech.
    auto pasteboard = drag({loose});
    ASSERT_TRUE(model->dropMimeData(pasteboard.get(), Qt::MoveAction, 2, 0, model->indexForItem(tech)));
    EXPECT_EQ(titles(tech), QStringList({"Sub", "Alpha", "Loose", "Beta"}));

    pasteboard = drag({alpha});
    ASSERT_TRUE(model->dropMimeData(pasteboard.get(), Qt::MoveAction, 1, 0, QModelIndex()));
    EXPECT_EQ(titles(root), QStringList({"Tech", "Alpha", "Vault"}));
}

TEST_F(SourceList, ADropOntoAFeedAnswersNoAndKeepsTheDrag)
{
    drag({alpha, beta});
    EXPECT_FALSE(model->acceptDrop(loose, -1));
    EXPECT_EQ(model->draggedNodes(), TreeNodeList({alpha, beta}));
    EXPECT_EQ(titles(tech), QStringList({"Sub", "Alpha", "Beta"}));
    EXPECT_EQ(loose->childCount(), 0);

    // With a target that can hold them, each node goes in at the drop point, so the last lands first.
    EXPECT_TRUE(model->acceptDrop(nullptr, -1));
    EXPECT_EQ(titles(root), QStringList({"Beta", "Alpha", "Tech", "Loose", "Vault"}));
}

TEST_F(SourceList, AFolderDraggedAlongWithAFeedNeverEndsUpInsideItself)
{
    // Only the first node is validated while dragging, so the drop itself must keep Tech out of Sub.
    auto pasteboard = drag({loose, tech});
    ASSERT_TRUE(model->dropMimeData(pasteboard.get(), Qt::MoveAction, -1, 0, model->indexForItem(sub)));
    EXPECT_EQ(titles(sub), QStringList({"Loose", "Deep"}));
    EXPECT_EQ(tech->parent(), root);
    EXPECT_EQ(titles(root), QStringList({"Tech", "Vault"}));
}

TEST_F(SourceList, NodesGoneFromTheTreeBeforeTheDropAreSkipped)
{
    drag({alpha});
    library.remove(alpha, tech);
    model->reloadData();
    EXPECT_FALSE(model->acceptDrop(vault, -1));
    EXPECT_EQ(titles(vault), QStringList({"Secret"}));
}

TEST_F(SourceList, ARefreshAnnouncesOnlyTheRowsThatCameWentMovedOrChangedAndNeverResets)
{
    QStringList said;
    const auto where = [this](const QModelIndex &parent) {
        return parent.isValid() ? SourceListModel::objectValueForItem(model->itemForIndex(parent)) : "top";
    };
    QObject::connect(model.get(), &QAbstractItemModel::modelReset, [&] { said << "reset"; });
    const auto rows = [&](const QString &what) {
        return [&, what](const QModelIndex &p, int a, int b) { said << what.arg(where(p)).arg(a).arg(b); };
    };
    QObject::connect(model.get(), &QAbstractItemModel::rowsInserted, rows("inserted %1 %2-%3"));
    QObject::connect(model.get(), &QAbstractItemModel::rowsRemoved, rows("removed %1 %2-%3"));
    QObject::connect(model.get(), &QAbstractItemModel::rowsMoved,
                     [&](const QModelIndex &, int a, int, const QModelIndex &p, int to) {
                         said << QString("moved %1 %2 to %3").arg(where(p)).arg(a).arg(to);
                     });
    QObject::connect(model.get(), &QAbstractItemModel::dataChanged,
                     [&](const QModelIndex &from, const QModelIndex &to, const QList<int> &roles) {
                         said << QString("changed %1-%2 %3")
                                     .arg(model->data(from).toString(), model->data(to).toString())
                                     .arg(roles.contains(SourceListModel::UnreadCountRole) ? "count"
                                                                                           : "other");
                     });

    // Behind the model's back the rows stay as the view last saw them, until the refresh.
    library.remove(loose, root);
    makeFeed(library, "Gamma", tech);
    makeFeed(library, "Delta", tech);
    library.add(vault, root, 0);
    addArticles(alpha, 1, Article::Unread);
    EXPECT_EQ(model->rowCount(), 3);
    EXPECT_EQ(model->itemForIndex(model->index(1, 0)), loose);

    model->reloadData();
    EXPECT_EQ(said.join(", ").toStdString(), "removed top 1-1, moved top 1 to 0, changed Tech-Tech count, "
                                             "inserted Tech 3-4, changed Alpha-Alpha count");
    EXPECT_EQ(model->itemForIndex(model->index(4, 0, model->indexForItem(tech)))->uniqueID(),
              tech->children().at(4)->uniqueID());
    EXPECT_FALSE(model->indexForItem(loose).isValid());

    said.clear();
    model->reloadData();
    EXPECT_TRUE(said.isEmpty()) << said.join(", ").toStdString();

    // One feed's download: its row and the folders above it, nothing else.
    beta->setState(Feed::Downloading);
    addArticles(beta, 1, Article::New);
    model->reloadItem(beta);
    EXPECT_EQ(said.join(", ").toStdString(), "changed Beta-Beta count, changed Tech-Tech count");
    EXPECT_TRUE(model->isAnyRowDownloading());
}

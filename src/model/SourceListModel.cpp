#include "model/SourceListModel.h"

#include "model/Article.h"
#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "model/Folder.h"
#include "model/VirtualFolder.h"
#include "platform/Defaults.h"

#include <QMimeData>

namespace {

bool isKind(const TreeNodePtr &item, TreeNode::Kind kind)
{
    return item && item->kindOfObject() == kind;
}

bool holdsRows(const TreeNodePtr &item)
{
    return isKind(item, TreeNode::FolderKind) || isKind(item, TreeNode::VirtualFolderKind);
}

bool hasBadges(const TreeNodePtr &item)
{
    return isKind(item, TreeNode::FolderKind) || isKind(item, TreeNode::FeedKind);
}

template <typename Node> bool setTitleOf(const TreeNodePtr &item, const QString &title)
{
    const auto node = std::dynamic_pointer_cast<Node>(item);
    if (node)
        node->setTitle(title);
    return node != nullptr;
}

template <typename Node> bool titleOf(const TreeNodePtr &item, QString &title)
{
    const auto node = std::dynamic_pointer_cast<Node>(item);
    if (node)
        title = node->title();
    return node != nullptr;
}

} // namespace

SourceListModel::SourceListModel(FeedLibrary &library, QObject *parent)
    : SourceListModel(library, Defaults::standard(), parent)
{
}

SourceListModel::SourceListModel(FeedLibrary &library, Defaults &defaults, QObject *parent)
    : QAbstractItemModel(parent), m_library(library), m_icons(defaults)
{
}

TreeNodePtr SourceListModel::rootNode() const
{
    return m_library.root();
}

TreeNodePtr SourceListModel::itemForIndex(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this)
        return {};
    return static_cast<TreeNode *>(index.internalPointer())->shared_from_this();
}

TreeNodePtr SourceListModel::nodeOrRoot(const QModelIndex &index) const
{
    return index.isValid() ? itemForIndex(index) : rootNode();
}

QModelIndex SourceListModel::indexForItem(const TreeNodePtr &item) const
{
    const TreeNodePtr root = rootNode();
    // A node cut off from the tree, or still on its way into it, has no row.
    if (!item || !root || item == root || !m_library.isItemAncestorOf(root, item))
        return {};
    return indexInParent(item, item->parent());
}

QModelIndex SourceListModel::indexInParent(const TreeNodePtr &item, const TreeNodePtr &parent) const
{
    const qsizetype row = parent ? parent->indexOfChild(item) : -1;
    return row < 0 ? QModelIndex() : createIndex(int(row), 0, item.get());
}

QModelIndex SourceListModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    const TreeNodePtr child = nodeOrRoot(parent)->children().value(row);
    return child ? createIndex(row, column, child.get()) : QModelIndex();
}

QModelIndex SourceListModel::parent(const QModelIndex &child) const
{
    const TreeNodePtr item = itemForIndex(child);
    const TreeNodePtr parentNode = item ? item->parent() : TreeNodePtr();
    if (!parentNode || parentNode == rootNode())
        return {};
    return indexInParent(parentNode, parentNode->parent());
}

int SourceListModel::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0)
        return 0;
    const TreeNodePtr item = nodeOrRoot(parent);
    if (!parent.isValid())
        return item ? item->childCount() : 0;
    return holdsRows(item) ? item->childCount() : 0;
}

int SourceListModel::columnCount(const QModelIndex &) const
{
    return 1;
}

bool SourceListModel::hasChildren(const QModelIndex &parent) const
{
    return rowCount(parent) > 0;
}

QString SourceListModel::objectValueForItem(const TreeNodePtr &item)
{
    QString title = QStringLiteral("???");
    if (item && !titleOf<Folder>(item, title) && !titleOf<Feed>(item, title) &&
        !titleOf<Article>(item, title))
        titleOf<VirtualFolder>(item, title);
    return title;
}

QString SourceListModel::persistentObjectForItem(const TreeNodePtr &item)
{
    return item ? item->uniqueID() : QString();
}

QModelIndex SourceListModel::itemForPersistentObject(const QString &uniqueID) const
{
    return indexForItem(m_library.itemWithUniqueID(uniqueID));
}

QVariant SourceListModel::data(const QModelIndex &index, int role) const
{
    const TreeNodePtr item = itemForIndex(index);
    if (!item)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return objectValueForItem(item);
    case Qt::DecorationRole:
        return smallIconForItem(item);
    case UniqueIDRole:
        return persistentObjectForItem(item);
    case KindRole:
        return item->kindOfObject();
    case Qt::ToolTipRole:
    case FailureReasonRole: {
        const auto feed = std::dynamic_pointer_cast<Feed>(item);
        const QString reason = feed ? feed->failureReason() : QString();
        return reason.isEmpty() && role == Qt::ToolTipRole ? QVariant() : QVariant(reason);
    }
    default:
        return badgeData(item, role);
    }
}

QVariant SourceListModel::badgeData(const TreeNodePtr &item, int role) const
{
    if (!hasBadges(item))
        return {};
    switch (role) {
    case UnreadCountRole:
        return item->unreadCount();
    case HasNewArticlesRole:
        return item->hasNewArticles();
    case DownloadingRole: {
        const auto feed = std::dynamic_pointer_cast<Feed>(item);
        return feed && feed->state() == Feed::Downloading;
    }
    default:
        return {};
    }
}

bool SourceListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const TreeNodePtr item = itemForIndex(index);
    if (!item || role != Qt::EditRole)
        return false;
    const QString title = value.toString();
    if (!setTitleOf<Folder>(item, title) && !setTitleOf<Feed>(item, title) &&
        !setTitleOf<Article>(item, title) && !setTitleOf<VirtualFolder>(item, title))
        return false;
    m_library.treeDidChange();
    emit dataChanged(index, index, {Qt::DisplayRole, Qt::EditRole});
    return true;
}

Qt::ItemFlags SourceListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    Qt::ItemFlags flags =
        Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemIsDragEnabled;
    if (isKind(itemForIndex(index), TreeNode::FolderKind))
        flags |= Qt::ItemIsDropEnabled;
    return flags;
}

QStringList SourceListModel::mimeTypes() const
{
    return {sourceListDragType()};
}

QMimeData *SourceListModel::mimeData(const QModelIndexList &indexes) const
{
    TreeNodeList items;
    for (const QModelIndex &index : indexes) {
        const TreeNodePtr item = itemForIndex(index);
        if (item && !items.contains(item))
            items.append(item);
    }
    auto *pasteboard = new QMimeData;
    writeItems(items, *pasteboard);
    return pasteboard;
}

bool SourceListModel::writeItems(const TreeNodeList &items, QMimeData &toPasteboard) const
{
    toPasteboard.setData(sourceListDragType(), QByteArray());
    m_draggedNodes = items;
    return true;
}

Qt::DropActions SourceListModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

Qt::DropActions SourceListModel::supportedDragActions() const
{
    return Qt::MoveAction;
}

SourceListModel::DragOperation SourceListModel::validateDrop(const QMimeData *info,
                                                             const TreeNodePtr &proposedItem, int) const
{
    if (!info || !info->hasFormat(sourceListDragType()) || m_draggedNodes.isEmpty())
        return DragOperationGeneric;
    const TreeNodePtr &dragged = m_draggedNodes.first();
    if (isKind(proposedItem, TreeNode::FolderKind) && isKind(dragged, TreeNode::FeedKind))
        return DragOperationMove;
    const auto folder = std::dynamic_pointer_cast<Folder>(dragged);
    if (folder && folder->locked())
        return DragOperationNone;
    if (!proposedItem || proposedItem == rootNode())
        return DragOperationGeneric;
    if (!isKind(proposedItem, TreeNode::FolderKind) || m_library.isItemAncestorOf(dragged, proposedItem))
        return DragOperationNone;
    return DragOperationGeneric;
}

bool SourceListModel::canDropMimeData(const QMimeData *data, Qt::DropAction, int row, int,
                                      const QModelIndex &parent) const
{
    return validateDrop(data, itemForIndex(parent), row) != DragOperationNone;
}

bool SourceListModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                   const QModelIndex &parent)
{
    if (action == Qt::IgnoreAction)
        return true;
    // A view drops without asking again, and a refused drop must not reach the tree.
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    return acceptDrop(itemForIndex(parent), row);
}

bool SourceListModel::acceptDrop(const TreeNodePtr &item, int childIndex)
{
    const TreeNodePtr target = item ? item : rootNode();
    if (!target || isKind(target, TreeNode::FeedKind) || isKind(target, TreeNode::ArticleKind))
        return false;

    // The rows only move, so the view keeps its expanded rows and selection through the change.
    emit layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    TreeNodeList held;
    for (const QModelIndex &index : before)
        held.append(itemForIndex(index));

    TreeNodePtr lastMoved;
    const int moved = moveDraggedNodes(target, childIndex, lastMoved);

    QModelIndexList after;
    for (const TreeNodePtr &node : held)
        after.append(indexForItem(node));
    changePersistentIndexList(before, after);
    emit layoutChanged();

    m_draggedNodes.clear();
    if (lastMoved)
        emit itemsDropped(indexForItem(lastMoved));
    return moved > 0;
}

int SourceListModel::moveDraggedNodes(const TreeNodePtr &target, int childIndex, TreeNodePtr &lastMoved)
{
    int moved = 0;
    for (const TreeNodePtr &dragged : std::as_const(m_draggedNodes)) {
        const TreeNodePtr node = m_library.itemWithUniqueID(dragged->uniqueID());
        // Only the first dragged node is checked while dragging; no node may go inside itself.
        if (!node || m_library.isItemAncestorOf(node, target))
            continue;
        // Taking the node out first shortens the list in front of the drop point. A node from another
        // folder leaves no gap here, so its index stays as dropped.
        if (node->parent() == target && childIndex > target->indexOfChild(node))
            --childIndex;
        m_library.add(node, target, childIndex);
        lastMoved = node;
        ++moved;
    }
    return moved;
}

void SourceListModel::reloadData()
{
    beginResetModel();
    endResetModel();
}

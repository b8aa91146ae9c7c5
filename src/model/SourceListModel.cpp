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
    rebuildRows();
}

TreeNodePtr SourceListModel::rootNode() const
{
    return m_library.root();
}

SourceListModel::Row *SourceListModel::rowOf(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this)
        return nullptr;
    return static_cast<Row *>(index.internalPointer());
}

QModelIndex SourceListModel::indexOfRow(const Row *row) const
{
    if (!row || row == &m_top)
        return {};
    return createIndex(row->position, 0, const_cast<Row *>(row));
}

TreeNodePtr SourceListModel::itemForIndex(const QModelIndex &index) const
{
    const Row *row = rowOf(index);
    return row ? row->node : TreeNodePtr();
}

QModelIndex SourceListModel::indexForItem(const TreeNodePtr &item) const
{
    return item ? indexOfRow(m_rows.value(item.get())) : QModelIndex();
}

QModelIndex SourceListModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    const Row *holder = parent.isValid() ? rowOf(parent) : &m_top;
    return createIndex(row, column, holder->children[size_t(row)].get());
}

QModelIndex SourceListModel::parent(const QModelIndex &child) const
{
    const Row *row = rowOf(child);
    return row ? indexOfRow(row->parent) : QModelIndex();
}

int SourceListModel::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0)
        return 0;
    const Row *holder = parent.isValid() ? rowOf(parent) : &m_top;
    return holder ? int(holder->children.size()) : 0;
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
        const QString reason = failureReason(item);
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
    rowOf(index)->values.title = title;
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
    // Whatever changed before the drop is announced first, so that the move below is only a move.
    reloadData();

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
        relocateRow(node);
        lastMoved = node;
        ++moved;
    }
    return moved;
}

// ---- following the tree

SourceListModel::RowValues SourceListModel::rowValues(const TreeNodePtr &item) const
{
    RowValues values;
    values.title = objectValueForItem(item);
    if (hasBadges(item)) {
        values.unreadCount = item->unreadCount();
        values.hasNewArticles = item->hasNewArticles();
        values.downloading = badgeData(item, DownloadingRole).toBool();
    }
    values.iconKey = smallIconForItem(item).cacheKey();
    values.failureReason = failureReason(item);
    return values;
}

QString SourceListModel::failureReason(const TreeNodePtr &item)
{
    const auto feed = std::dynamic_pointer_cast<Feed>(item);
    return feed ? feed->failureReason() : QString();
}

QList<int> SourceListModel::changedRoles(const RowValues &before, const RowValues &after)
{
    QList<int> roles;
    if (before.title != after.title)
        roles << Qt::DisplayRole << Qt::EditRole;
    if (before.unreadCount != after.unreadCount)
        roles << UnreadCountRole;
    if (before.hasNewArticles != after.hasNewArticles)
        roles << HasNewArticlesRole;
    if (before.downloading != after.downloading)
        roles << DownloadingRole;
    if (before.iconKey != after.iconKey)
        roles << Qt::DecorationRole;
    if (before.failureReason != after.failureReason)
        roles << Qt::ToolTipRole << FailureReasonRole;
    return roles;
}

// The rows beneath a node: the root's children at the top, a folder's or a virtual folder's beneath
// them, none beneath a feed (its articles are not rows).
TreeNodeList SourceListModel::liveChildren(const TreeNodePtr &node, bool top)
{
    if (!node || (!top && !holdsRows(node)))
        return {};
    return node->children();
}

std::unique_ptr<SourceListModel::Row> SourceListModel::makeRow(const TreeNodePtr &node, Row *parent,
                                                               int position)
{
    auto row = std::make_unique<Row>();
    row->node = node;
    row->parent = parent;
    row->position = position;
    takeValues(*row, rowValues(node));
    m_rows.insert(node.get(), row.get());
    const TreeNodeList children = liveChildren(node, false);
    for (int i = 0; i < children.size(); ++i)
        row->children.push_back(makeRow(children.at(i), row.get(), i));
    return row;
}

// A node can sit in two rows for a moment, when it moved between folders behind the model's back.
void SourceListModel::forgetRows(const Row &row)
{
    const auto known = m_rows.constFind(row.node.get());
    if (known != m_rows.constEnd() && *known == &row)
        m_rows.erase(known);
    m_downloadingRows -= row.values.downloading;
    for (const auto &child : row.children)
        forgetRows(*child);
}

void SourceListModel::takeValues(Row &row, const RowValues &values)
{
    m_downloadingRows += int(values.downloading) - int(row.values.downloading);
    row.values = values;
}

void SourceListModel::renumber(Row &parent, int from)
{
    for (size_t i = size_t(std::max(from, 0)); i < parent.children.size(); ++i)
        parent.children[i]->position = int(i);
}

void SourceListModel::rebuildRows()
{
    m_rows.clear();
    m_top.children.clear();
    m_downloadingRows = 0;
    m_top.node = rootNode();
    const TreeNodeList top = liveChildren(m_top.node, true);
    for (int i = 0; i < top.size(); ++i)
        m_top.children.push_back(makeRow(top.at(i), &m_top, i));
}

// The row follows its node to the place the library moved it to, as the same object, so that the
// view's indexes stay good through the layout change.
void SourceListModel::relocateRow(const TreeNodePtr &node)
{
    Row *row = m_rows.value(node.get());
    const TreeNodePtr parentNode = node->parent();
    Row *holder = parentNode && parentNode == m_top.node ? &m_top : m_rows.value(parentNode.get());
    if (!row || !holder)
        return;
    Row &from = *row->parent;
    std::unique_ptr<Row> taken = std::move(from.children[size_t(row->position)]);
    from.children.erase(from.children.begin() + row->position);
    renumber(from, row->position);
    const int at = std::clamp(int(parentNode->indexOfChild(node)), 0, int(holder->children.size()));
    taken->parent = holder;
    holder->children.insert(holder->children.begin() + at, std::move(taken));
    renumber(*holder, at);
}

void SourceListModel::reloadData()
{
    m_top.node = rootNode();
    syncRow(m_top, true);
}

void SourceListModel::syncRow(Row &row, bool top)
{
    const TreeNodeList live = liveChildren(row.node, top);
    const bool sameShape = std::equal(
        live.cbegin(), live.cend(), row.children.cbegin(), row.children.cend(),
        [](const TreeNodePtr &node, const std::unique_ptr<Row> &shown) { return node == shown->node; });
    if (!sameShape) {
        removeGoneRows(row, live);
        placeRows(row, live);
    }
    refreshValues(row);
    for (const auto &child : row.children)
        syncRow(*child, false);
}

// Runs of rows whose nodes left this place go in one announcement each, from the end.
void SourceListModel::removeGoneRows(Row &parent, const TreeNodeList &live)
{
    const QSet<const TreeNode *> staying = [&live] {
        QSet<const TreeNode *> nodes;
        for (const TreeNodePtr &node : live)
            nodes.insert(node.get());
        return nodes;
    }();
    const QModelIndex parentIndex = indexOfRow(&parent);
    for (int last = int(parent.children.size()) - 1; last >= 0; --last) {
        if (staying.contains(parent.children[size_t(last)]->node.get()))
            continue;
        int first = last;
        while (first > 0 && !staying.contains(parent.children[size_t(first - 1)]->node.get()))
            --first;
        beginRemoveRows(parentIndex, first, last);
        for (int i = first; i <= last; ++i)
            forgetRows(*parent.children[size_t(i)]);
        parent.children.erase(parent.children.begin() + first, parent.children.begin() + last + 1);
        renumber(parent, first);
        endRemoveRows();
        last = first;
    }
}

// Every remaining row is a node still here; rows are moved into the tree's order and new nodes inserted.
void SourceListModel::placeRows(Row &parent, const TreeNodeList &live)
{
    const QModelIndex parentIndex = indexOfRow(&parent);
    for (int i = 0; i < live.size(); ++i) {
        const TreeNode *wanted = live.at(i).get();
        if (size_t(i) < parent.children.size() && parent.children[size_t(i)]->node.get() == wanted)
            continue;
        const auto shown = std::find_if(
            parent.children.begin() + std::min(size_t(i), parent.children.size()), parent.children.end(),
            [wanted](const std::unique_ptr<Row> &row) { return row->node.get() == wanted; });
        if (shown == parent.children.end()) {
            int last = i;
            while (last + 1 < live.size() && !m_rows.contains(live.at(last + 1).get()))
                ++last;
            insertRows(parent, live, i, last);
            i = last;
            continue;
        }
        const int from = int(shown - parent.children.begin());
        beginMoveRows(parentIndex, from, from, parentIndex, i);
        std::unique_ptr<Row> moving = std::move(*shown);
        parent.children.erase(shown);
        parent.children.insert(parent.children.begin() + i, std::move(moving));
        renumber(parent, i);
        endMoveRows();
    }
}

void SourceListModel::insertRows(Row &parent, const TreeNodeList &live, int first, int last)
{
    beginInsertRows(indexOfRow(&parent), first, last);
    for (int i = first; i <= last; ++i)
        parent.children.insert(parent.children.begin() + i, makeRow(live.at(i), &parent, i));
    renumber(parent, first);
    endInsertRows();
}

// Neighbouring rows with the same changes are announced together.
void SourceListModel::refreshValues(Row &parent)
{
    int runStart = -1;
    QList<int> runRoles;
    const auto flush = [&](int end) {
        if (runStart >= 0)
            emit dataChanged(indexOfRow(parent.children[size_t(runStart)].get()),
                             indexOfRow(parent.children[size_t(end)].get()), runRoles);
        runStart = -1;
    };
    for (size_t i = 0; i < parent.children.size(); ++i) {
        Row &row = *parent.children[i];
        const RowValues now = rowValues(row.node);
        const QList<int> roles = changedRoles(row.values, now);
        takeValues(row, now);
        if (roles.isEmpty() || roles != runRoles)
            flush(int(i) - 1);
        if (!roles.isEmpty() && runStart < 0) {
            runStart = int(i);
            runRoles = roles;
        }
    }
    flush(int(parent.children.size()) - 1);
}

void SourceListModel::reloadItem(const TreeNodePtr &item)
{
    m_icons.lookAgainForIconOf(item);
    for (Row *row = item ? m_rows.value(item.get()) : nullptr; row && row != &m_top; row = row->parent) {
        const RowValues now = rowValues(row->node);
        const QList<int> roles = changedRoles(row->values, now);
        takeValues(*row, now);
        if (!roles.isEmpty()) {
            const QModelIndex index = indexOfRow(row);
            emit dataChanged(index, index, roles);
        }
    }
}

void SourceListModel::setDevicePixelRatio(qreal ratio)
{
    if (qFuzzyCompare(ratio, m_icons.devicePixelRatio()))
        return;
    m_icons.setDevicePixelRatio(ratio);
    reloadData();
}

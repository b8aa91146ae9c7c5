// The source list's rows: the library's folders and feeds as an item model, with titles, icons, unread
// and new badges, the download indicator, renaming and drag-and-drop moves. It draws nothing itself,
// and it never resets: a refresh announces only the rows that came, went or changed.
#pragma once

#include "model/SourceListIcons.h"
#include "model/TreeNode.h"

#include <QAbstractItemModel>
#include <QHash>
#include <memory>
#include <vector>

class Defaults;
class FeedLibrary;

class SourceListModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    // Besides Qt's display and edit roles (the title), the decoration role (the row's icon as a QImage)
    // and the tool-tip role (a failed feed's reason), every row answers these. The badge roles answer an
    // invalid QVariant for rows other than folders and feeds, so that a view draws no badge there.
    enum Role
    {
        UnreadCountRole = Qt::UserRole + 1, // int: the number in the unread badge
        HasNewArticlesRole,                 // bool: whether the new-articles badge shows
        DownloadingRole,                    // bool: whether the activity indicator spins (a feed in state 1)
        UniqueIDRole,                       // QString: what the view saves expanded rows by
        KindRole,                           // int: the node's kindOfObject
        FailureReasonRole                   // QString: why a feed's latest refresh failed; empty otherwise
    };

    // What a drop would do, as the outline asks it while the pointer moves.
    enum DragOperation
    {
        DragOperationNone,
        DragOperationGeneric,
        DragOperationMove
    };

    static QString sourceListDragType() { return QStringLiteral("sourceListDragType"); }

    explicit SourceListModel(FeedLibrary &library, QObject *parent = nullptr);
    SourceListModel(FeedLibrary &library, Defaults &defaults, QObject *parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;

    // None for the top level, whose rows are the root's children; the root itself is never a row.
    TreeNodePtr itemForIndex(const QModelIndex &index) const;
    QModelIndex indexForItem(const TreeNodePtr &item) const;
    // The row's text: the item's title, "???" when there is no item.
    static QString objectValueForItem(const TreeNodePtr &item);
    static QString persistentObjectForItem(const TreeNodePtr &item);
    QModelIndex itemForPersistentObject(const QString &uniqueID) const;
    QImage smallIconForItem(const TreeNodePtr &item) const { return m_icons.smallIconForItem(item); }
    QImage tinyIconForItem(const TreeNodePtr &item) const { return m_icons.tinyIconForItem(item); }

    // Starts a drag: the pasteboard carries only the type, the nodes stay here until the drop.
    bool writeItems(const TreeNodeList &items, QMimeData &toPasteboard) const;
    TreeNodeList draggedNodes() const { return m_draggedNodes; }
    // The proposed item is none for the top level; the child index is -1 for a drop onto the item.
    DragOperation validateDrop(const QMimeData *info, const TreeNodePtr &proposedItem,
                               int proposedChildIndex) const;
    // Moves the remembered nodes into the item (the root for none) at the child index; false, with
    // nothing changed and the drag still remembered, when the item cannot hold them.
    bool acceptDrop(const TreeNodePtr &item, int childIndex);

    // The tree changed behind the model's back (an import, a removal, new unread counts): the rows are
    // brought in line with it, announcing inserted, removed and moved rows and changed values only, so
    // that the view keeps its selection, scroll position, expanded folders and an edit in progress.
    void reloadData();
    // Only this row's values and those of the folders above it (whose badges sum it) are asked again,
    // as after one feed's download; the tree's shape is taken as unchanged.
    void reloadItem(const TreeNodePtr &item);

    // Whether any row showed a downloading feed when the rows were last brought in line.
    bool isAnyRowDownloading() const { return m_downloadingRows > 0; }

    // Pictures are drawn for the screen the list is shown on; a change redraws every row's icon.
    void setDevicePixelRatio(qreal ratio);
    qreal devicePixelRatio() const { return m_icons.devicePixelRatio(); }

signals:
    // After a drop: the row of the last node moved, for the view to select.
    void itemsDropped(const QModelIndex &lastMovedItem);

private:
    // What the view was last told about a row. A value the rows show goes here, in rowValues() and in
    // changedRoles(), and a refresh then announces it like the others.
    struct RowValues
    {
        QString title;
        int unreadCount = 0;
        bool hasNewArticles = false;
        bool downloading = false;
        qint64 iconKey = 0;
        QString failureReason;
    };
    // The model's own copy of the tree's shape as the view last saw it. The view is answered from it,
    // never from the live tree, so a tree changed by an import or a removal stays safe to draw until a
    // refresh brings the change in with the proper announcements.
    struct Row
    {
        TreeNodePtr node;
        Row *parent = nullptr;
        int position = 0;
        std::vector<std::unique_ptr<Row>> children;
        RowValues values;
    };

    TreeNodePtr rootNode() const;
    Row *rowOf(const QModelIndex &index) const;
    QModelIndex indexOfRow(const Row *row) const;
    QVariant badgeData(const TreeNodePtr &item, int role) const;
    int moveDraggedNodes(const TreeNodePtr &target, int childIndex, TreeNodePtr &lastMoved);

    RowValues rowValues(const TreeNodePtr &item) const;
    static QString failureReason(const TreeNodePtr &item);
    static QList<int> changedRoles(const RowValues &before, const RowValues &after);
    static TreeNodeList liveChildren(const TreeNodePtr &node, bool top);
    std::unique_ptr<Row> makeRow(const TreeNodePtr &node, Row *parent, int position);
    void forgetRows(const Row &row);
    void renumber(Row &parent, int from);
    void syncRow(Row &row, bool top);
    void removeGoneRows(Row &parent, const TreeNodeList &live);
    void placeRows(Row &parent, const TreeNodeList &live);
    void insertRows(Row &parent, const TreeNodeList &live, int first, int last);
    void refreshValues(Row &parent);
    void rebuildRows();
    void relocateRow(const TreeNodePtr &node);
    void takeValues(Row &row, const RowValues &values);

    FeedLibrary &m_library;
    SourceListIcons m_icons;
    Row m_top;
    QHash<const TreeNode *, Row *> m_rows;
    int m_downloadingRows = 0;
    // mimeData() is const in Qt's interface, yet a drag must remember its nodes until the drop.
    mutable TreeNodeList m_draggedNodes;
};

// A node of the library tree: an identity, an ordered list of owned children and a non-owning parent link.
// Worker threads walk the tree, so uniqueID and children are only ever read and replaced whole, under the
// lock.
#pragma once

#include "platform/Archivable.h"

#include <QList>
#include <QMetaType>
#include <QMutex>
#include <QPointF>
#include <QString>
#include <memory>

class TreeNode;
using TreeNodePtr = std::shared_ptr<TreeNode>;
using TreeNodeList = QList<TreeNodePtr>;

class TreeNode : public Archivable, public std::enable_shared_from_this<TreeNode>
{
public:
    enum Kind
    {
        BaseKind = -1,
        VirtualFolderKind = 0,
        FolderKind = 1,
        FeedKind = 2,
        ArticleKind = 3
    };

    TreeNode();
    ~TreeNode() override = default;
    TreeNode(const TreeNode &) = delete;
    TreeNode &operator=(const TreeNode &) = delete;

    virtual int kindOfObject() const { return BaseKind; }

    QString uniqueID() const;
    void setUniqueID(const QString &uniqueID);
    // Const, so that iterating the returned copy never detaches it: a detach would copy the whole
    // list and race with a thread that still shares it.
    const TreeNodeList children() const;
    void setChildren(const TreeNodeList &children);

    virtual TreeNodePtr parent() const;
    virtual void setParent(const TreeNodePtr &parent);

    virtual void addChild(const TreeNodePtr &child);
    virtual void addChild(const TreeNodePtr &child, int index);
    void removeChild(const TreeNodePtr &child);
    void removeChildren();
    bool hasChild(const TreeNodePtr &child) const;
    virtual bool isParentOfChild(const TreeNodePtr &child) const;
    qsizetype indexOfChild(const TreeNodePtr &child) const; // -1 when not found
    void exchangeChildAtIndex(int first, int second);
    int childCount() const;

    // Identity as the rest of the program sees it; `this` is the object asked, as lists ask it.
    virtual bool isEqual(const TreeNode &other) const;

    virtual int unreadCount() const { return 0; }
    virtual bool hasNewArticles() const { return false; }
    virtual QString description() const;

    QPointF scrollPosition() const { return m_scrollPosition; }
    void setScrollPosition(const QPointF &position) { m_scrollPosition = position; }

    QString archiveClassName() const override { return QStringLiteral("TreeNode"); }
    void encodeWithCoder(KeyedArchiver &coder) const override;
    void initWithCoder(KeyedUnarchiver &coder) override;

protected:
    void encodeIdentity(KeyedArchiver &coder) const; // uniqueID and parent, the keys every node writes
    QString childrenDescription() const;

private:
    mutable QMutex m_lock;
    QString m_uniqueID;
    TreeNodeList m_children;
    std::weak_ptr<TreeNode> m_parent;
    QPointF m_scrollPosition;
};

Q_DECLARE_METATYPE(TreeNodePtr)

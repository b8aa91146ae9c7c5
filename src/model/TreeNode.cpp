#include "model/TreeNode.h"

#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "reading/QBUtilities.h"

TreeNode::TreeNode() : m_uniqueID(QBUtilities::generateUniqueID()) {}

QString TreeNode::uniqueID() const
{
    QMutexLocker locker(&m_lock);
    return m_uniqueID;
}

void TreeNode::setUniqueID(const QString &uniqueID)
{
    QMutexLocker locker(&m_lock);
    m_uniqueID = uniqueID;
}

const TreeNodeList TreeNode::children() const
{
    QMutexLocker locker(&m_lock);
    return m_children;
}

void TreeNode::setChildren(const TreeNodeList &children)
{
    QMutexLocker locker(&m_lock);
    m_children = children;
}

TreeNodePtr TreeNode::parent() const
{
    return m_parent.lock();
}

void TreeNode::setParent(const TreeNodePtr &parent)
{
    m_parent = parent;
}

// Appended in place under the lock: a reader holding an earlier copy keeps it unchanged, and a long
// list no longer gets copied once for every child added to it.
void TreeNode::addChild(const TreeNodePtr &child)
{
    QMutexLocker locker(&m_lock);
    m_children.append(child);
}

void TreeNode::addChild(const TreeNodePtr &child, int index)
{
    TreeNodeList list = children();
    index = std::max(index, 0);
    if (!list.isEmpty() && index < list.size())
        list.insert(index, child);
    else
        list.append(child);
    setChildren(list);
}

void TreeNode::removeChild(const TreeNodePtr &child)
{
    if (!child)
        return;
    TreeNodeList list = children();
    list.removeIf([&child](const TreeNodePtr &node) { return child->isEqual(*node); });
    setChildren(list);
}

void TreeNode::removeChildren()
{
    for (const TreeNodePtr &child : children())
        child->removeChildren();
    setChildren({});
}

bool TreeNode::hasChild(const TreeNodePtr &child) const
{
    return indexOfChild(child) >= 0;
}

bool TreeNode::isParentOfChild(const TreeNodePtr &child) const
{
    return hasChild(child);
}

qsizetype TreeNode::indexOfChild(const TreeNodePtr &child) const
{
    if (!child)
        return -1;
    const TreeNodeList list = children();
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (child->isEqual(*list.at(i)))
            return i;
    }
    return -1;
}

void TreeNode::exchangeChildAtIndex(int first, int second)
{
    TreeNodeList list = children();
    if (first < 0 || second < 0 || first >= list.size() || second >= list.size())
        return;
    list.swapItemsAt(first, second);
    setChildren(list);
}

int TreeNode::childCount() const
{
    QMutexLocker locker(&m_lock);
    return int(m_children.size());
}

bool TreeNode::isEqual(const TreeNode &other) const
{
    return this == &other || uniqueID() == other.uniqueID();
}

QString TreeNode::description() const
{
    return QStringLiteral("TreeNode (%1) has %2 children {\n").arg(uniqueID()).arg(childCount()) +
           childrenDescription();
}

QString TreeNode::childrenDescription() const
{
    QString text;
    for (const TreeNodePtr &child : children())
        text += QLatin1Char('\t') + child->description();
    return text + QStringLiteral("}\n");
}

void TreeNode::encodeIdentity(KeyedArchiver &coder) const
{
    coder.encodeString(QStringLiteral("uniqueID"), uniqueID());
    coder.encodeObject(QStringLiteral("parent"), parent());
}

void TreeNode::encodeWithCoder(KeyedArchiver &coder) const
{
    encodeIdentity(coder);
    QList<std::shared_ptr<Archivable>> list;
    for (const TreeNodePtr &child : children())
        list.append(child);
    coder.encodeObjectList(QStringLiteral("children"), list);
}

void TreeNode::initWithCoder(KeyedUnarchiver &coder)
{
    setUniqueID(coder.decodeString(QStringLiteral("uniqueID")));
    TreeNodeList list;
    for (const auto &object : coder.decodeObjectList(QStringLiteral("children"))) {
        if (auto node = std::dynamic_pointer_cast<TreeNode>(object))
            list.append(node);
    }
    setChildren(list);
    setParent(std::dynamic_pointer_cast<TreeNode>(coder.decodeObject(QStringLiteral("parent"))));
}

#include "model/VirtualFolder.h"

#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

void VirtualFolder::addChild(const TreeNodePtr &child, int index)
{
    TreeNodeList list = children();
    if (list.isEmpty())
        list.append(child);
    else
        list.insert(std::clamp<qsizetype>(index, 0, list.size() - 1), child);
    setChildren(list);
    child->setParent(shared_from_this());
}

void VirtualFolder::addChildren(const TreeNodeList &nodes)
{
    setChildren(children() + nodes);
}

void VirtualFolder::encodeWithCoder(KeyedArchiver &coder) const
{
    TreeNode::encodeWithCoder(coder);
    coder.encodeString(QStringLiteral("title"), m_title);
}

void VirtualFolder::initWithCoder(KeyedUnarchiver &coder)
{
    TreeNode::initWithCoder(coder);
    m_title = coder.decodeString(QStringLiteral("title"));
}

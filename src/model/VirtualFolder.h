// A flat collection of articles beside the tree (the news clippings, a search result). It has no
// parent and never becomes one in the tree's sense, though its articles point back at it.
#pragma once

#include "model/TreeNode.h"

class VirtualFolder : public TreeNode
{
public:
    VirtualFolder() = default;
    explicit VirtualFolder(const QString &title) : m_title(title) {}

    int kindOfObject() const override { return VirtualFolderKind; }

    QString title() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }

    TreeNodePtr parent() const override { return {}; }
    void setParent(const TreeNodePtr &) override {}
    bool isParentOfChild(const TreeNodePtr &) const override { return false; }
    using TreeNode::addChild;
    void addChild(const TreeNodePtr &child, int index) override;
    void addChildren(const TreeNodeList &nodes);

    QString archiveClassName() const override { return QStringLiteral("VirtualFolder"); }
    void encodeWithCoder(KeyedArchiver &coder) const override;
    void initWithCoder(KeyedUnarchiver &coder) override;

private:
    QString m_title;
};

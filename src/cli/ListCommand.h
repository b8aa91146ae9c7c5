// `list`: the library's folders and feeds as an indented tree, each feed with its address, each line
// with its unread count, and a failed feed with its reason. It saves nothing.
#pragma once

#include "model/TreeNode.h"

#include <QString>

class ListCommand
{
public:
    int run() const;

private:
    // One line per folder or feed below the node, two spaces of indent per level; articles are not shown.
    static QString treeText(const TreeNodePtr &node, int depth = 0);
    static QString lineForNode(const TreeNode &node);
};

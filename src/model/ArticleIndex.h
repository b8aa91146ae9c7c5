// Finds a feed's article equal to another (same identifier or same guid) without walking the whole
// list, so that refreshing a feed of many thousands of articles stays linear. It holds a snapshot
// of the list it was built from and must be rebuilt once that list has been replaced.
#pragma once

#include "model/TreeNode.h"

#include <QHash>

class ArticleIndex
{
public:
    void rebuild(const TreeNodeList &list);
    // True while list is the very list the index was built from or has since grown into.
    bool isCurrent(const TreeNodeList &list) const;
    const TreeNodeList &list() const { return m_list; }

    // The first position holding an equal article, as a walk from the top would find it; -1 if none.
    qsizetype indexOfEqual(const TreeNode &node) const;
    qsizetype indexOfGuid(const QString &guid) const;

    void replace(qsizetype at, const TreeNodePtr &node);
    void append(const TreeNodePtr &node);

private:
    void remember(qsizetype index);
    void forget(qsizetype index);

    TreeNodeList m_list;
    QHash<QString, qsizetype> m_byIdentifier;
    QHash<QString, qsizetype> m_byGuid;
};

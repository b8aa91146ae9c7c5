// Drops the articles a filter method rules out, keeping the others in their order. It never shortens
// groups (the recent-article filters do that while rendering) and never touches a selection of one.
#pragma once

#include "model/TreeNode.h"

#include <QDateTime>

class HeadlineFilter
{
public:
    // "now" is the present moment in the local time zone, given so that any day can be checked.
    static TreeNodeList filterArticles(const TreeNodeList &items, int filterMethod, const QDateTime &now);
};

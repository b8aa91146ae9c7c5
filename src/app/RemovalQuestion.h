// The question asked before a removal that would delete many stored articles at once: the articles of
// a virtual selection, or feeds and folders holding stored articles. It counts and asks; it removes nothing.
#pragma once

#include "model/TreeNode.h"

class DesktopServices;

class RemovalQuestion
{
public:
    // fromVirtualSelection: the items came from a search, a day, an author or a quick-browse list rather
    // than from the source list. True when the removal may go ahead.
    static bool confirm(DesktopServices &desktop, const TreeNodeList &items, bool fromVirtualSelection);

private:
    struct Counts
    {
        qsizetype articles = 0;     // selected directly
        qsizetype feeds = 0;        // selected, or inside selected folders
        qsizetype feedArticles = 0; // stored in those feeds
    };

    static Counts count(const TreeNodeList &items);
    static void countFeeds(const TreeNodePtr &item, Counts &counts);
};

// Chooses the picture of a library node for the source list and for the add-feed folder menu, by the
// display settings. It only reads settings and icon files; the one thing it keeps is a feed's loaded icon.
#pragma once

#include "model/TreeNode.h"

#include <QImage>

class Defaults;
class Feed;

class SourceListIcons
{
public:
    explicit SourceListIcons(Defaults &defaults);

    // For source-list rows: regular or small pictures as "displaySmallIcons" says, and a feed's own
    // icon while "displayCustomIcons" is on.
    QImage smallIconForItem(const TreeNodePtr &item) const;
    // For the folder menu of the add-feed sheet: always the small pictures, and the root has one.
    QImage tinyIconForItem(const TreeNodePtr &item) const;

private:
    // The feed's own icon, loaded from the icon folder on first need; null when it has none.
    QImage customIconForFeed(Feed &feed) const;
    QImage feedIcon(const TreeNodePtr &item, bool small) const;

    Defaults &m_defaults;
};

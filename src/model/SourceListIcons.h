// Chooses the picture of a library node for the source list and for the add-feed folder menu, by the
// display settings. It only reads settings and icon files; it keeps a feed's loaded icon and which feeds
// have none.
#pragma once

#include "model/TreeNode.h"

#include <QImage>
#include <QSet>

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

    // A feed whose icon files were missing is not looked for on disk again until this is called, as
    // when its icon has just been downloaded.
    void lookAgainForIconOf(const TreeNodePtr &item);

    // The drawn pictures come with this many pixels per point, for the screen they are shown on.
    qreal devicePixelRatio() const { return m_devicePixelRatio; }
    void setDevicePixelRatio(qreal ratio) { m_devicePixelRatio = ratio; }

private:
    // The feed's own icon, loaded from the icon folder on first need; null when it has none.
    QImage customIconForFeed(Feed &feed) const;
    QImage feedIcon(const TreeNodePtr &item, bool small) const;
    QImage named(const char *name) const;

    Defaults &m_defaults;
    qreal m_devicePixelRatio = 1.0;
    // By feed identifier; a list of thousands of feeds without icons would otherwise ask the disk for
    // two files per row every time it is drawn or compared.
    mutable QSet<QString> m_missingIcons;
};

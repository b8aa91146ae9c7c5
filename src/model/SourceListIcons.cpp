#include "model/SourceListIcons.h"

#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "model/SourceListImages.h"
#include "platform/Defaults.h"

#include <QFileInfo>

namespace {
int kindOf(const TreeNodePtr &item)
{
    return item ? item->kindOfObject() : TreeNode::BaseKind;
}
} // namespace

SourceListIcons::SourceListIcons(Defaults &defaults) : m_defaults(defaults) {}

QImage SourceListIcons::named(const char *name) const
{
    return SourceListImages::imageNamed(QLatin1String(name), m_devicePixelRatio);
}

QImage SourceListIcons::smallIconForItem(const TreeNodePtr &item) const
{
    const bool small = m_defaults.boolean(QStringLiteral("displaySmallIcons"));
    switch (kindOf(item)) {
    case TreeNode::VirtualFolderKind:
        return named("search16");
    case TreeNode::FolderKind:
        return named(small ? "folder16" : "folder");
    case TreeNode::ArticleKind:
        return named("article16");
    default:
        return feedIcon(item, small);
    }
}

QImage SourceListIcons::tinyIconForItem(const TreeNodePtr &item) const
{
    if (item && item->uniqueID() == QLatin1String("root"))
        return named("library16");
    switch (kindOf(item)) {
    case TreeNode::VirtualFolderKind:
        return named("search16");
    case TreeNode::FolderKind:
        return named("folder16");
    case TreeNode::ArticleKind:
        return named("article16");
    default:
        return feedIcon(item, true);
    }
}

// Anything that is not a feed falls through to here too and shows as a feed without an icon of its own.
QImage SourceListIcons::feedIcon(const TreeNodePtr &item, bool small) const
{
    const auto feed = std::dynamic_pointer_cast<Feed>(item);
    if (feed && m_defaults.boolean(QStringLiteral("displayCustomIcons"))) {
        const QImage own = customIconForFeed(*feed);
        if (!own.isNull())
            return own;
    }
    return named(small ? "feed16" : "feed");
}

QImage SourceListIcons::customIconForFeed(Feed &feed) const
{
    if (!feed.favIcon().isNull())
        return feed.favIcon();
    if (!feed.customIconAvailable() || m_missingIcons.contains(feed.uniqueID()))
        return {};
    for (const char *format : {"%1/%2.png", "%1/%2.ico"}) {
        const QString path = QString::fromLatin1(format).arg(FeedLibrary::iconPath(), feed.uniqueID());
        const QImage image(path);
        if (image.isNull())
            continue;
        const QImage icon = image.scaled(16, 16, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        feed.setFavIcon(icon);
        return icon;
    }
    m_missingIcons.insert(feed.uniqueID());
    return {};
}

void SourceListIcons::lookAgainForIconOf(const TreeNodePtr &item)
{
    if (item)
        m_missingIcons.remove(item->uniqueID());
}

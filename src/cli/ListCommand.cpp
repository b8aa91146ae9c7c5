#include "cli/ListCommand.h"

#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/LibraryLoader.h"
#include "model/FeedLibrary.h"

int ListCommand::run() const
{
    FeedLibrary &library = FeedLibrary::feedLibrary();
    if (const ExitStatus status = LibraryLoader::load(library); status != ExitSuccess)
        return status;
    Console::print(treeText(library.root()));
    return ExitSuccess;
}

QString ListCommand::treeText(const TreeNodePtr &node, int depth)
{
    QString text;
    if (!node)
        return text;
    for (const TreeNodePtr &child : node->children()) {
        const QString line = lineForNode(*child);
        if (line.isNull())
            continue;
        text += QString(depth * 2, u' ') + line + u'\n';
        text += treeText(child, depth + 1);
    }
    return text;
}

QString ListCommand::lineForNode(const TreeNode &node)
{
    const QString unread = QStringLiteral("(%1 unread)").arg(node.unreadCount());
    if (const auto *feed = dynamic_cast<const Feed *>(&node)) {
        const QString line = QStringLiteral("%1  <%2>  %3")
                                 .arg(Console::oneLine(feed->title()), feed->feed().toString(), unread);
        return feed->failureReason().isEmpty()
                   ? line
                   : line + QStringLiteral("  failed: ") + Console::oneLine(feed->failureReason());
    }
    if (const auto *folder = dynamic_cast<const Folder *>(&node))
        return QStringLiteral("%1/  %2").arg(Console::oneLine(folder->title()), unread);
    if (const auto *folder = dynamic_cast<const VirtualFolder *>(&node))
        return QStringLiteral("%1/  %2").arg(Console::oneLine(folder->title()), unread);
    return {};
}

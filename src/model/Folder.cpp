#include "model/Folder.h"

#include "model/Feed.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/Log.h"

namespace {
bool countsTowardsFolder(const TreeNodePtr &child)
{
    return child->kindOfObject() == TreeNode::FolderKind || child->kindOfObject() == TreeNode::FeedKind;
}
} // namespace

int Folder::unreadCount() const
{
    int count = 0;
    for (const TreeNodePtr &child : children()) {
        if (countsTowardsFolder(child))
            count += child->unreadCount();
    }
    return count;
}

bool Folder::hasNewArticles() const
{
    const TreeNodeList list = children();
    return std::any_of(list.cbegin(), list.cend(), [](const TreeNodePtr &child) {
        return countsTowardsFolder(child) && child->hasNewArticles();
    });
}

QString Folder::description() const
{
    Log::write(m_title);
    QString text =
        QStringLiteral("Folder \"%1\"(%2) has %3 children {\n").arg(m_title, uniqueID()).arg(childCount());
    for (const TreeNodePtr &child : children()) {
        const auto feed = std::dynamic_pointer_cast<Feed>(child);
        text += QLatin1Char('\t') + (feed ? feed->debugDescription() : child->description());
    }
    return text + QStringLiteral("}\n");
}

void Folder::encodeWithCoder(KeyedArchiver &coder) const
{
    TreeNode::encodeWithCoder(coder);
    coder.encodeString(QStringLiteral("title"), m_title);
    coder.encodeBool(QStringLiteral("locked"), m_locked);
}

void Folder::initWithCoder(KeyedUnarchiver &coder)
{
    TreeNode::initWithCoder(coder);
    m_title = coder.decodeString(QStringLiteral("title"));
    m_locked = coder.decodeBool(QStringLiteral("locked"));
}

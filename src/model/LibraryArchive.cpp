#include "model/LibraryArchive.h"

#include "model/Article.h"
#include "model/Feed.h"
#include "model/Folder.h"
#include "model/VirtualFolder.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"
#include "platform/Log.h"

namespace {
template <typename T> KeyedUnarchiver::Factory factory()
{
    return [] { return std::make_shared<T>(); };
}

const KeyedUnarchiver::ClassTable &classTable()
{
    static const KeyedUnarchiver::ClassTable table{
        {QStringLiteral("TreeNode"), factory<TreeNode>()},
        {QStringLiteral("Folder"), factory<Folder>()},
        {QStringLiteral("Feed"), factory<Feed>()},
        {QStringLiteral("VirtualFolder"), factory<VirtualFolder>()},
        {QStringLiteral("Article"), factory<Article>()},
        {QStringLiteral("Enclosure"), factory<Enclosure>()},
        {QStringLiteral("QBPerson"), factory<QBPerson>()},
    };
    return table;
}
} // namespace

QByteArray LibraryArchive::archivedData(const TreeNodePtr &root)
{
    return KeyedArchiver::archivedDataWithRootObject(root);
}

TreeNodePtr LibraryArchive::unarchiveRoot(const QByteArray &data)
{
    const auto object = KeyedUnarchiver::unarchiveObjectWithData(data, classTable());
    if (!object)
        return {};
    auto root = std::dynamic_pointer_cast<TreeNode>(object);
    if (!root)
        Log::write(
            QStringLiteral("-[LibraryArchive unarchiveRoot:] the archive's root is a %1, not a tree node")
                .arg(object->archiveClassName()));
    return root;
}

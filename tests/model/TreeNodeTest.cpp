#include "model/Article.h"
#include "model/Feed.h"
#include "model/Folder.h"
#include "model/VirtualFolder.h"

#include <gtest/gtest.h>

namespace {
template <typename T> std::shared_ptr<T> named(const QString &uniqueID)
{
    auto node = std::make_shared<T>();
    node->setUniqueID(uniqueID);
    return node;
}

QStringList identifiers(const TreeNodePtr &node)
{
    QStringList ids;
    for (const TreeNodePtr &child : node->children())
        ids << child->uniqueID();
    return ids;
}

ArticlePtr article(const QString &guid, int state = Article::Unread)
{
    auto a = std::make_shared<Article>();
    a->setGuid(guid);
    a->setState(state);
    return a;
}
} // namespace

TEST(TreeNode, IndexesAreClampedAndNodesWithOneIdentifierAreEqualAndRemovedTogether)
{
    auto folder = std::make_shared<Folder>();
    folder->addChild(named<Feed>("b"), 7); // empty list: appended whatever the index
    folder->addChild(named<Feed>("a"), -5);
    folder->addChild(named<Feed>("c"), 2);
    folder->addChild(named<Feed>("x"), 1);
    EXPECT_EQ(identifiers(folder), QStringList({"a", "x", "b", "c"}));
    EXPECT_EQ(folder->children().first()->parent(), nullptr) << "adding a child must not set its parent";

    folder->addChild(named<Folder>("a"));
    EXPECT_EQ(folder->indexOfChild(named<Feed>("a")), 0);
    EXPECT_EQ(folder->indexOfChild(named<Feed>("missing")), -1);
    folder->removeChild(named<Feed>("a"));
    EXPECT_EQ(identifiers(folder), QStringList({"x", "b", "c"}));
    folder->exchangeChildAtIndex(0, 2);
    EXPECT_EQ(identifiers(folder), QStringList({"c", "b", "x"}));
    folder->exchangeChildAtIndex(0, 9);
    EXPECT_EQ(identifiers(folder), QStringList({"c", "b", "x"})) << "an index out of range exchanges nothing";

    auto inner = std::make_shared<Folder>();
    auto feed = std::make_shared<Feed>();
    feed->addChild(article("g1"));
    inner->addChild(feed);
    folder->addChild(inner);
    folder->removeChildren();
    EXPECT_EQ(folder->childCount() + inner->childCount() + feed->childCount(), 0) << "every level empties";
}

TEST(TreeNode, AVirtualFolderInsertsPastTheEndBeforeItsLastChildAdoptsChildrenAndNeverTakesAParent)
{
    auto clippings = std::make_shared<VirtualFolder>("News Clippings");
    clippings->addChild(named<Article>("a"), 99);
    clippings->addChild(named<Article>("b"), 99);
    EXPECT_EQ(identifiers(clippings), QStringList({"b", "a"}));
    clippings->addChild(named<Article>("c"));
    auto inserted = named<Article>("d");
    clippings->addChild(inserted, 3);
    clippings->addChild(named<Article>("e"), -1);
    EXPECT_EQ(identifiers(clippings), QStringList({"e", "b", "a", "d", "c"}));
    EXPECT_EQ(inserted->parent(), clippings);

    clippings->setParent(std::make_shared<Folder>());
    EXPECT_EQ(clippings->parent(), nullptr);
    EXPECT_FALSE(clippings->isParentOfChild(inserted));
    EXPECT_TRUE(clippings->hasChild(inserted));
}

TEST(Feed, AddingAnArticleWithAKnownGuidReplacesItInPlaceAlsoWhenManyAreAddedAtOnce)
{
    auto feed = std::make_shared<Feed>();
    for (const char *guid : {"g1", "g2", "g3"})
        feed->addChild(article(guid));
    auto replacement = article("g2", Article::New);
    feed->addChild(replacement);
    EXPECT_EQ(feed->childCount(), 3);
    EXPECT_EQ(feed->children().at(1), replacement);

    auto sameIdentifier = article("other");
    auto incoming =
        TreeNodeList({article("g2"), article("g9"), article("g9"), sameIdentifier, article("g1")});
    sameIdentifier->setUniqueID("fixed");
    auto held = TreeNodeList({article("g1"), article("g2"), named<Article>("fixed")});
    auto oneByOne = std::make_shared<Feed>();
    auto atOnce = std::make_shared<Feed>();
    oneByOne->setChildren(held);
    atOnce->setChildren(held);
    for (const TreeNodePtr &node : incoming)
        oneByOne->addChild(node);
    atOnce->addChildren(incoming);
    EXPECT_EQ(atOnce->children(), oneByOne->children());
    EXPECT_EQ(atOnce->childCount(), 4);
}

TEST(Folder, CountsTheCachedUnreadArticlesOfItsFeedsAndSubFoldersOnly)
{
    auto three = std::make_shared<Feed>();
    auto first = article("1");
    three->addChild(first);
    three->addChild(article("2", Article::New));
    three->addChild(article("3", Article::Read));
    EXPECT_EQ(three->unreadCount(), 0) << "counted only when recomputed";
    three->updateUnreadCount();
    EXPECT_EQ(three->unreadCount(), 2);
    EXPECT_TRUE(three->hasNewArticles());
    first->setState(Article::Read);
    EXPECT_EQ(three->unreadCount(), 2) << "a state change alone leaves the cache as it was";
    three->updateUnreadCount();
    EXPECT_EQ(three->unreadCount(), 1);

    auto four = std::make_shared<Feed>();
    for (const char *guid : {"4", "5", "6", "7"})
        four->addChild(article(guid));
    four->updateUnreadCount();
    auto inner = std::make_shared<Folder>();
    inner->addChild(four);
    auto outer = std::make_shared<Folder>();
    outer->addChild(three);
    outer->addChild(inner);
    outer->addChild(article("loose")); // neither feed nor folder: not counted
    EXPECT_EQ(outer->unreadCount(), 5);
    EXPECT_TRUE(outer->hasNewArticles());
    EXPECT_FALSE(inner->hasNewArticles());
    EXPECT_EQ(std::make_shared<VirtualFolder>()->unreadCount(), 0);
}

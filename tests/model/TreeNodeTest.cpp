#include "LogCapture.h"
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

TEST(TreeNode, AddChildAtIndexClampsNegativeIndexesAndAppendsPastTheEnd)
{
    auto folder = std::make_shared<Folder>();
    folder->addChild(named<Feed>("b"), 7); // empty list: appended whatever the index
    folder->addChild(named<Feed>("a"), -5);
    folder->addChild(named<Feed>("c"), 2);
    folder->addChild(named<Feed>("x"), 1);
    EXPECT_EQ(identifiers(folder), QStringList({"a", "x", "b", "c"}));
    EXPECT_EQ(folder->children().first()->parent(), nullptr) << "adding a child must not set its parent";
}

TEST(TreeNode, VirtualFolderInsertsBeforeItsLastChildWhenTheIndexIsPastTheEndAndAdoptsTheChild)
{
    auto clippings = std::make_shared<VirtualFolder>("News Clippings");
    clippings->addChild(named<Article>("a"), 99);
    clippings->addChild(named<Article>("b"), 99);
    EXPECT_EQ(identifiers(clippings), QStringList({"b", "a"})) << "past the end means before the last child";
    clippings->addChild(named<Article>("c"));
    EXPECT_EQ(identifiers(clippings), QStringList({"b", "a", "c"}));

    auto inserted = named<Article>("d");
    clippings->addChild(inserted, 3);
    EXPECT_EQ(identifiers(clippings), QStringList({"b", "a", "d", "c"}));
    EXPECT_EQ(inserted->parent(), clippings);

    clippings->addChild(named<Article>("e"), -1);
    EXPECT_EQ(identifiers(clippings).first(), "e");

    EXPECT_EQ(clippings->parent(), nullptr);
    clippings->setParent(std::make_shared<Folder>());
    EXPECT_EQ(clippings->parent(), nullptr) << "a virtual folder never takes a parent";
    EXPECT_FALSE(clippings->isParentOfChild(inserted));
    EXPECT_TRUE(clippings->hasChild(inserted));
}

TEST(TreeNode, NodesWithTheSameIdentifierAreEqualAndRemovedTogether)
{
    auto folder = std::make_shared<Folder>();
    folder->addChild(named<Feed>("same"));
    folder->addChild(named<Folder>("other"));
    folder->addChild(named<Feed>("same"));
    EXPECT_EQ(folder->indexOfChild(named<Feed>("same")), 0);
    EXPECT_EQ(folder->indexOfChild(named<Feed>("missing")), -1);

    folder->removeChild(named<Feed>("same"));
    EXPECT_EQ(identifiers(folder), QStringList({"other"}));

    folder->addChild(named<Feed>("z"));
    folder->exchangeChildAtIndex(0, 1);
    EXPECT_EQ(identifiers(folder), QStringList({"z", "other"}));
    folder->exchangeChildAtIndex(0, 9);
    EXPECT_EQ(identifiers(folder), QStringList({"z", "other"})) << "an index out of range exchanges nothing";
}

TEST(TreeNode, RemovingChildrenEmptiesEveryLevel)
{
    auto root = std::make_shared<Folder>();
    auto inner = std::make_shared<Folder>();
    auto feed = std::make_shared<Feed>();
    feed->addChild(article("g1"));
    inner->addChild(feed);
    root->addChild(inner);
    root->removeChildren();
    EXPECT_EQ(root->childCount(), 0);
    EXPECT_EQ(inner->childCount(), 0);
    EXPECT_EQ(feed->childCount(), 0);
}

TEST(Feed, AddingAnArticleWithAKnownGuidReplacesItInPlace)
{
    auto feed = std::make_shared<Feed>();
    feed->addChild(article("g1"));
    feed->addChild(article("g2"));
    feed->addChild(article("g3"));
    auto replacement = article("g2", Article::New);
    feed->addChild(replacement);
    EXPECT_EQ(feed->childCount(), 3);
    EXPECT_EQ(feed->children().at(1), replacement);
}

TEST(Feed, AddingManyArticlesAtOnceFollowsTheRuleOfAddingThemOneByOne)
{
    auto sameIdentifier = article("other");
    auto incoming = TreeNodeList({article("g2"), article("g9"), article("g9"), sameIdentifier, article("g1")});
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

TEST(Feed, UnreadCacheChangesOnlyWhenRecomputed)
{
    auto feed = std::make_shared<Feed>();
    auto first = article("a", Article::Unread);
    feed->addChild(first);
    feed->addChild(article("b", Article::New));
    feed->addChild(article("c", Article::Read));
    EXPECT_EQ(feed->unreadCount(), 0);
    feed->updateUnreadCount();
    EXPECT_EQ(feed->unreadCount(), 2);
    EXPECT_TRUE(feed->hasNewArticles());

    first->setState(Article::Read);
    EXPECT_EQ(feed->unreadCount(), 2) << "a state change alone leaves the cache as it was";
    feed->updateUnreadCount();
    EXPECT_EQ(feed->unreadCount(), 1);
}

TEST(Folder, CountsTheUnreadArticlesOfItsFeedsAndSubFoldersOnly)
{
    auto three = std::make_shared<Feed>();
    for (const char *guid : {"1", "2", "3"})
        three->addChild(article(guid));
    auto four = std::make_shared<Feed>();
    for (const char *guid : {"4", "5", "6"})
        four->addChild(article(guid));
    four->addChild(article("7", Article::New));
    three->updateUnreadCount();
    four->updateUnreadCount();

    auto inner = std::make_shared<Folder>();
    inner->addChild(four);
    auto outer = std::make_shared<Folder>();
    outer->addChild(three);
    outer->addChild(inner);
    outer->addChild(article("loose")); // neither feed nor folder: not counted

    EXPECT_EQ(outer->unreadCount(), 7);
    EXPECT_TRUE(outer->hasNewArticles());
    EXPECT_EQ(std::make_shared<Folder>()->unreadCount(), 0);
    EXPECT_FALSE(std::make_shared<Folder>()->hasNewArticles());
    EXPECT_EQ(std::make_shared<VirtualFolder>()->unreadCount(), 0);
}

TEST(TreeNode, DebuggingTextsNameEveryLevel)
{
    auto root = named<Folder>("root");
    root->setTitle("Feed Library");
    auto feed = named<Feed>("F");
    feed->setTitle("Planet");
    feed->setParent(root);
    auto item = named<Article>("A");
    item->setTitle("Hello");
    feed->addChild(item);
    root->addChild(feed);

    LogCapture log;
    EXPECT_EQ(root->description(), "Folder \"Feed Library\"(root) has 1 children {\n"
                                   "\tFeed \"Planet\"(F) has 1 children, child of root {\n"
                                   "\t[Article:A] Hello}\n"
                                   "}\n");
    EXPECT_TRUE(log.contains("Feed Library"));

    auto base = named<TreeNode>("T");
    base->addChild(item);
    EXPECT_EQ(base->description(), "TreeNode (T) has 1 children {\n\t[Article:A] Hello}\n");
}

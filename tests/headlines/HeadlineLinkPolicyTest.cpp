#include "headlines/HeadlineLinkPolicy.h"

#include "LogCapture.h"
#include "NotificationLog.h"
#include "db/FMDatabase.h"
#include "db/FMResultSet.h"
#include "headlines/HeadlineActions.h"
#include "model/Enclosure.h"
#include "model/QBPerson.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"
#include "reading/QBUtilities.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class RecordingActions : public HeadlineActions
{
public:
    void doOpenURL(const QUrl &url, bool forceBackground) override
    {
        calls << QStringLiteral("open %1%2").arg(url.toString(), forceBackground ? " in background" : "");
    }
    void reload() override { calls << "reload"; }
    void reloadRespectingOffset() override { calls << "reload respecting offset"; }
    void showEnclosureWindow() override { calls << "show enclosure window"; }
    void setBreadCrumbMode(int mode) override { calls << QStringLiteral("mode %1").arg(mode); }

    QStringList calls;
};

CalendarDate noonOn(int year, int month, int day)
{
    return CalendarDate(QDateTime(QDate(year, month, day), QTime(12, 0), Qt::UTC), 0);
}

class HeadlineLinkPolicyTest : public ::testing::Test
{
protected:
    using Policy = HeadlineLinkPolicy;

    void SetUp() override
    {
        library.load();
        library.root()->removeChildren();
        SettingsTable::registerWith(defaults);
        feed = std::make_shared<Feed>();
        feed->setTitle("Harbour Notes");
        library.add(feed, library.root(), 0);
    }

    ArticlePtr addArticle(const QString &title, const CalendarDate &date = noonOn(2025, 3, 14))
    {
        auto article = std::make_shared<Article>();
        article->setTitle(title);
        article->setGuid("guid-" + title);
        article->setLink(QUrl("http://news.example/" + QString(title).replace(' ', '-')));
        article->setState(Article::Unread);
        article->setLegacyPublicationDate(date);
        article->setSource(feed);
        article->setParent(feed);
        library.saveSummary("Text of " + title, article);
        feed->addChild(article, feed->childCount());
        return article;
    }

    int storedState(const ArticlePtr &article, const QString &table = "articles") const
    {
        const auto results = library.database()->executeQuery(
            "SELECT state FROM " + table + " WHERE uniqueID=?", {article->uniqueID()});
        return results && results->next() ? results->intForColumn("state") : -1;
    }

    Policy::Decision click(const QString &address, Qt::KeyboardModifiers modifiers = {})
    {
        return policy.decidePolicyForNavigationAction({QUrl(address), Policy::ClickedLink, modifiers});
    }

    QTemporaryDir settingsFolder;
    Defaults defaults{settingsFolder.filePath("QuillBay.ini")};
    FeedLibrary library;
    NotificationCenter center;
    RecordingActions actions;
    Policy policy{library, defaults, actions, center};
    NotificationLog heard{center};
    FeedPtr feed;
};

} // namespace

TEST_F(HeadlineLinkPolicyTest, OpenAndOutsideLinksMarkTheArticleReadAndStoreItAlsoForANewsClipping)
{
    const ArticlePtr article = addArticle("Ferry returns");
    EXPECT_EQ(click("quillbay:open=" + article->uniqueID()), Policy::CarriedOutCommand);
    EXPECT_EQ(article->state(), Article::Read);
    EXPECT_EQ(storedState(article), Article::Read);
    EXPECT_EQ(actions.calls, QStringList{"open http://news.example/Ferry-returns"});
    EXPECT_EQ(heard.names(),
              (QStringList{"FeedUnreadCountChangedNotification", "SummaryWebViewNeedsReload"}));

    auto clipping = std::make_shared<Article>();
    clipping->setLink(QUrl("http://kept.example/"));
    clipping->setState(Article::Unread);
    library.newsClippings()->addChild(clipping, 0);
    library.addArticle(clipping, library.newsClippings());
    click("quillbay:open=" + clipping->uniqueID());
    EXPECT_EQ(storedState(clipping, "clippings"), Article::Read);
    EXPECT_EQ(actions.calls.last(), "open http://kept.example/");

    // A clicked outside link opens in the browser and marks the last selected article read.
    const ArticlePtr other = addArticle("Pier repaired");
    const ArticlePtr last = addArticle("Buoy lit");
    library.setSelectedItems({other, last});
    actions.calls.clear();
    heard.notes.clear();
    EXPECT_EQ(click("https://elsewhere.example/story"), Policy::OpenedOutside);
    EXPECT_EQ(last->state(), Article::Read);
    EXPECT_EQ(storedState(last), Article::Read);
    EXPECT_EQ(other->state(), Article::Unread);
    EXPECT_EQ(actions.calls, (QStringList{"reload", "open https://elsewhere.example/story"}));
    EXPECT_EQ(heard.names(), QStringList{"FeedUnreadCountChangedNotification"});
    EXPECT_EQ(click("http://elsewhere.example/", Qt::AltModifier), Policy::OpenedOutside);
    EXPECT_EQ(actions.calls.last(), "open http://elsewhere.example/ in background");
    EXPECT_EQ(click("mailto:ann@harbour.example", Qt::ShiftModifier), Policy::OpenedOutside);
    EXPECT_EQ(actions.calls.last(), "open mailto:ann@harbour.example");

    // Without the preference pages open but stay unread.
    defaults.setBoolean("behaviorLinkClick", false);
    library.setSelectedItems({other});
    actions.calls.clear();
    click("quillbay:open=" + other->uniqueID());
    click("http://elsewhere.example/");
    EXPECT_EQ(other->state(), Article::Unread);
    EXPECT_EQ(actions.calls,
              (QStringList{"open http://news.example/Pier-repaired", "open http://elsewhere.example/"}));
}

TEST_F(HeadlineLinkPolicyTest, UnknownIdentifiersAreLoggedTheMoreArticlesBarKeepsTheOffsetAndEnclosuresShow)
{
    const ArticlePtr article = addArticle("Ferry returns");
    library.setSelectedItems({article});
    LogCapture log;
    click("quillbay:open=NOPE");
    click("quillbay:article=NOPE");
    click("quillbay:feed=" + article->uniqueID()); // an article is not a feed
    EXPECT_EQ(click("quillbay:delete=everything"), Policy::CarriedOutCommand);
    policy.processURLCommandString("quillbay");
    const QString unrecognised =
        "-[TidewireUtilityCategory processURLCommandString] Unregonised URL command string: ";
    EXPECT_EQ(log.lines(),
              (QStringList{"-[MainController processURLCommandString:] could not find article with UNID NOPE",
                           "-[TidewireUtilityCatagory processURLCommandString:] invalid unid! NOPE",
                           "-[TidewireUtilityCatagory processURLCommandString:] invalid unid! " +
                               article->uniqueID(),
                           unrecognised + "quillbay:delete=everything", unrecognised + "quillbay"}));
    EXPECT_EQ(actions.calls, QStringList{"mode 1"}) << "the feed command sets the mode before it looks";
    EXPECT_TRUE(heard.notes.isEmpty());
    EXPECT_EQ(library.selectedItems(), TreeNodeList{article});

    click("quillbay:displayArticlesFromOffset");
    EXPECT_EQ(actions.calls.last(), "reload respecting offset");

    // An enclosure goes to the download window even when its article is unknown.
    auto enclosure = std::make_shared<Enclosure>();
    article->setEnclosure(enclosure);
    for (const QString &id : {article->uniqueID(), QString("NOPE")}) {
        heard.notes.clear();
        click("quillbay:enclosure=" + id);
        ASSERT_EQ(heard.names(), QStringList{"EnclosureSelectionChanged"});
        EXPECT_EQ(heard.notes.first().object.value<std::shared_ptr<Enclosure>>(),
                  id == "NOPE" ? nullptr : enclosure);
        EXPECT_EQ(actions.calls.last(), "show enclosure window");
    }
    EXPECT_EQ(article->state(), Article::Unread);
}

TEST_F(HeadlineLinkPolicyTest,
       ArticleAndFeedSelectTheirNodeAloneAndTheArticleIsMarkedReadWhenThePreferenceSaysSo)
{
    const ArticlePtr article = addArticle("Ferry returns");
    click("quillbay:article=" + article->uniqueID());
    EXPECT_EQ(article->state(), Article::Read);
    EXPECT_EQ(storedState(article), Article::Read);
    EXPECT_EQ(library.selectedItems(), TreeNodeList{article});
    EXPECT_EQ(heard.names(), (QStringList{"FeedUnreadCountChangedNotification", "feedSelectionChanged",
                                          "FeedUnreadCountChangedNotification"}));
    EXPECT_FALSE(heard.notes.at(0).object.isValid());
    EXPECT_EQ(heard.notes.at(1).object.value<TreeNodePtr>(), article);
    EXPECT_EQ(heard.notes.at(2).object.value<TreeNodePtr>(), article);
    EXPECT_TRUE(actions.calls.isEmpty()) << "opening inside the program keeps the selection kind";

    defaults.setBoolean("behaviorFeedClick", false);
    const ArticlePtr other = addArticle("Pier repaired");
    heard.notes.clear();
    click("quillbay:article=" + other->uniqueID());
    EXPECT_EQ(other->state(), Article::Unread);
    EXPECT_EQ(heard.names(), (QStringList{"feedSelectionChanged", "FeedUnreadCountChangedNotification"}));

    heard.notes.clear();
    click("quillbay:feed=" + feed->uniqueID());
    EXPECT_EQ(actions.calls, QStringList{"mode 1"});
    EXPECT_EQ(library.selectedItems(), TreeNodeList{feed});
    ASSERT_EQ(heard.names(), QStringList{"feedSelectionChanged"});
    EXPECT_EQ(heard.notes.first().object.value<TreeNodePtr>(), feed);

    LogCapture log;
    click("quillbay:feedback"); // a word that merely begins with a command counts as that command
    EXPECT_EQ(log.lines(),
              QStringList{"-[TidewireUtilityCatagory processURLCommandString:] invalid unid! ack"});
}

TEST_F(HeadlineLinkPolicyTest, DateAndAuthorShowTheirArticlesAsTheSearchFolderWithoutTakingThemFromTheirFeed)
{
    const ArticlePtr morning = addArticle("Morning tide", noonOn(2025, 3, 14));
    addArticle("Next day", noonOn(2025, 3, 15));
    // The view escapes the spaces of the date's text form.
    click("quillbay:date=2025-03-14 12:00:00 +0000");
    EXPECT_EQ(actions.calls, QStringList{"mode 3"});
    const VirtualFolderPtr folder = library.searchFolder();
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->title(), "Published: " + QBUtilities::dateToFriendlyDate(noonOn(2025, 3, 14), false));
    EXPECT_EQ(folder->children(), TreeNodeList{morning});
    EXPECT_EQ(library.selectedItems(), TreeNodeList{folder});
    EXPECT_EQ(morning->parent(), feed) << "the day view must not take articles out of the tree";
    ASSERT_EQ(heard.names(), QStringList{"feedSelectionChanged"});
    EXPECT_EQ(heard.notes.first().object.value<CalendarDate>().localMoment().date(), QDate(2025, 3, 14));
    click("quillbay:date=sometime");
    EXPECT_EQ(library.searchFolder(), folder) << "a value without a readable day changes nothing";
    EXPECT_EQ(actions.calls.size(), 1);

    morning->setAuthors({std::make_shared<QBPerson>("José Durán", "", "")});
    heard.notes.clear();
    EXPECT_EQ(click("quillbay:author=José Durán"), Policy::CarriedOutCommand);
    EXPECT_EQ(actions.calls.last(), "mode 5");
    EXPECT_EQ(library.searchFolder()->title(), "Author: José Durán");
    EXPECT_EQ(library.searchFolder()->children(), TreeNodeList{morning});
    ASSERT_EQ(heard.names(), QStringList{"feedSelectionChanged"});
    EXPECT_EQ(heard.notes.first().object.toString(), "José Durán");
}

TEST_F(HeadlineLinkPolicyTest, PageLoadsStayInTheViewAndNeitherThemNorScriptsMayRunACommandOrMarkAnythingRead)
{
    const ArticlePtr article = addArticle("Ferry returns");
    EXPECT_EQ(policy.decidePolicyForNavigationAction({QUrl("qbpage:/headlines"), Policy::PageLoad, {}}),
              Policy::LoadInView);
    EXPECT_EQ(
        policy.decidePolicyForNavigationAction({QUrl("http://evil.example/"), Policy::ScriptOrRedirect, {}}),
        Policy::Refused);
    LogCapture log;
    for (const Policy::Origin origin : {Policy::ScriptOrRedirect, Policy::PageLoad}) {
        for (const QString &address :
             {"quillbay:open=" + article->uniqueID(), QString("quillbay:author=Anyone")})
            EXPECT_EQ(policy.decidePolicyForNavigationAction({QUrl(address), origin, {}}), Policy::Refused);
    }
    EXPECT_EQ(article->state(), Article::Unread);
    EXPECT_TRUE(actions.calls.isEmpty());
    EXPECT_TRUE(heard.notes.isEmpty());
    EXPECT_TRUE(library.selectedItems().isEmpty());
    EXPECT_TRUE(log.lines().isEmpty());

    library.setSelectedItems({article});
    // The window's gate refuses them and tells the user why; the article stays as it was.
    for (const char *address : {"file:///usr/bin/xterm", "javascript:alert(1)", "qbpage:/other",
                                "smb://host/share", "http:///no-host"}) {
        EXPECT_EQ(click(address), Policy::Refused) << address;
        EXPECT_EQ(actions.calls.last(), QString("open ") + QUrl(address).toString());
    }
    article->setLink(QUrl("file:///etc/passwd"));
    policy.processURLCommandString("quillbay:open=" + article->uniqueID());
    EXPECT_EQ(actions.calls.last(), "open file:///etc/passwd");
    EXPECT_EQ(article->state(), Article::Unread);
}

#include "app/LocalFileGuard.h"
#include "app/QBHeadlineWebPage.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(HeadlineWebPage, OnlyTheViewsOwnLoadAndARecentUserClickCountAsAnythingButTheScriptsDoing)
{
    using Page = QBHeadlineWebPage;
    using Policy = HeadlineLinkPolicy;
    EXPECT_EQ(Page::originOf(Page::NavigationTypeTyped, true, true, false), Policy::PageLoad);
    EXPECT_EQ(Page::originOf(Page::NavigationTypeLinkClicked, true, false, true), Policy::ClickedLink);
    // The engine reports a script's location change as a click; without the user's input it is not one.
    EXPECT_EQ(Page::originOf(Page::NavigationTypeLinkClicked, true, false, false), Policy::ScriptOrRedirect);
    EXPECT_EQ(Page::originOf(Page::NavigationTypeRedirect, true, true, true), Policy::ScriptOrRedirect);
    EXPECT_EQ(Page::originOf(Page::NavigationTypeOther, true, false, true), Policy::ScriptOrRedirect);
    EXPECT_EQ(Page::originOf(Page::NavigationTypeTyped, false, true, false), Policy::ScriptOrRedirect)
        << "a frame loading our page is not the view loading it";
}

TEST(LocalFileGuard, PagesReadOnlyFilesInsideTheProgramsPictureFoldersWhateverThePathSays)
{
    QTemporaryDir root;
    QDir(root.path()).mkpath("Images/feed");
    QDir(root.path()).mkpath("Images-extra");
    QDir(root.path()).mkpath("private");
    QFile::link(root.filePath("private"), root.filePath("Images/escape"));
    const LocalFileGuard guard({root.filePath("Images")});

    EXPECT_TRUE(guard.mayLoad(QUrl::fromLocalFile(root.filePath("Images/feed/a.jpg"))));
    EXPECT_FALSE(guard.mayLoad(QUrl::fromLocalFile(root.filePath("Images-extra/a.jpg"))));
    EXPECT_FALSE(guard.mayLoad(QUrl::fromLocalFile(root.filePath("Images/../private/a.jpg"))));
    EXPECT_FALSE(guard.mayLoad(QUrl::fromLocalFile(root.filePath("Images/escape/a.jpg"))));
    EXPECT_FALSE(guard.mayLoad(QUrl("file:///etc/passwd")));
    EXPECT_TRUE(guard.mayLoad(QUrl("https://example.org/a.jpg"))) << "the page's policy rules the web";
}

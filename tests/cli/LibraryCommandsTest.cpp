#include "CliRun.h"
#include "HarbourLibrary.h"
#include "model/FeedLibrary.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QString importedTree =
    QStringLiteral("Coast/  (0 unread)\n"
                   "  Harbour Notes  <http://harbour.example/rss.xml>  (0 unread)\n"
                   "  Lights/  (0 unread)\n"
                   "    Lighthouse Log  <http://lighthouse.example/atom.xml>  (0 unread)\n"
                   "Fishing Times  <http://fish.example/feed>  (0 unread)\n");

} // namespace

TEST(ImportAndList, ImportKeepsTheFileFoldersUnderTheRootAndListShowsThemIndented)
{
    QTemporaryDir scratch;
    const QString folder = scratch.filePath("my library");

    const CliRun import({"import", CliRun::dataFile("harbour.opml"), "--library", folder});
    ASSERT_EQ(import.exitCode(), 0) << import.errorText().toStdString();
    EXPECT_EQ(import.outputText(), QStringLiteral("Imported 3 feeds into %1\n").arg(folder));
    // --library names the very folder that holds the library files.
    EXPECT_TRUE(QFileInfo::exists(folder + "/Feeds.library"));
    EXPECT_TRUE(QFileInfo::exists(folder + "/Articles.db"));
    EXPECT_FALSE(QFileInfo::exists(qEnvironmentVariable("XDG_DATA_HOME") + "/QuillBay"));

    // A new library starts with the default subscriptions; the imported tree follows them.
    const CliRun list({"--library", folder, "list"});
    ASSERT_EQ(list.exitCode(), 0) << list.errorText().toStdString();
    EXPECT_TRUE(list.outputText().endsWith(importedTree)) << list.outputText().toStdString();

    // The first import was saved: a second one adds the same tree again after it.
    ASSERT_EQ(CliRun({"--library=" + folder, "import", CliRun::dataFile("harbour.opml")}).exitCode(), 0);
    const QString twice = CliRun({"list", "--library", folder}).outputText();
    EXPECT_TRUE(twice.endsWith(importedTree + importedTree)) << twice.toStdString();
}

TEST(SearchAndList, StoredArticlesAreFoundByTitleOrTextAndCountedAsUnread)
{
    storeHarbourLibrary();
    const QString folder = FeedLibrary::libraryPath();
    const auto search = [&](const QString &text) {
        const CliRun run({"--library", folder, "search", text});
        EXPECT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
        return run.outputText();
    };
    const QString spring = QStringLiteral("Harbour Notes\tSpring tide\thttp://harbour.example/spring\n");
    const QString neap = QStringLiteral("Harbour Notes\tNeap tide\thttp://harbour.example/neap\n");

    const QString bothTides = search("tide");
    EXPECT_EQ(bothTides.size(), (spring + neap).size());
    EXPECT_TRUE(bothTides.contains(spring) && bothTides.contains(neap)) << bothTides.toStdString();
    EXPECT_EQ(search("SPRING"), spring);
    // Only the stored full text holds these words, not the title or the short summary.
    EXPECT_EQ(search("harbour master"), spring);
    EXPECT_EQ(search("no such words anywhere"), QString());

    const QString tree = CliRun({"--library", folder, "list"}).outputText();
    EXPECT_TRUE(
        tree.contains(QStringLiteral("Coast/  (2 unread)\n"
                                     "  Harbour Notes  <http://harbour.example/rss.xml>  (2 unread)\n")))
        << tree.toStdString();
}

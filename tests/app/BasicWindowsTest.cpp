#include "app/BasicWindows.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"

#include <QFile>
#include <gtest/gtest.h>

TEST(BasicWindows, SubscribingTakesWebAndFeedAddressesAndRefusesEverythingElseWithNothingAdded)
{
    AppTestLibrary t;
    RecordingDesktop desktop;
    BasicWindows windows(t.library, t.updater, t.center, desktop);
    const qsizetype before = t.library.allFeeds().size();

    EXPECT_TRUE(windows.subscribe(QUrl("feed://127.0.0.1:8/a.xml")));
    EXPECT_EQ(t.library.allFeeds().last()->feed(), QUrl("http://127.0.0.1:8/a.xml"));
    EXPECT_EQ(t.library.selectedItems().value(0), t.library.allFeeds().last()) << "the new feed is selected";
    EXPECT_TRUE(windows.subscribe(QUrl("feed:https://127.0.0.1:8/b.xml")));
    EXPECT_EQ(t.library.allFeeds().last()->feed(), QUrl("https://127.0.0.1:8/b.xml"));
    EXPECT_TRUE(windows.subscribe(QUrl("https://127.0.0.1:8/c.xml")));

    for (const char *bad : {"file:///etc/passwd", "javascript:alert(1)", "http://", "not an address"})
        EXPECT_FALSE(windows.subscribe(QUrl(bad))) << bad;
    EXPECT_EQ(t.library.allFeeds().size(), before + 3);
}

TEST(BasicWindows, ImportingKeepsTheFilesFoldersAfterTheLibrarysOwnAndAFileWithoutFeedsAddsNothing)
{
    AppTestLibrary t;
    RecordingDesktop desktop;
    BasicWindows windows(t.library, t.updater, t.center, desktop);
    QTemporaryDir folder;
    QFile list(folder.filePath("list.opml"));
    ASSERT_TRUE(list.open(QIODevice::WriteOnly));
    list.write(
        "<?xml version=\"1.0\"?><opml version=\"1.0\"><body>"
        "<outline text=\"Boats\"><outline text=\"Ferry\" type=\"rss\" xmlUrl=\"http://127.0.0.1:8/f.xml\"/>"
        "</outline><outline text=\"Loose\" type=\"rss\" xmlUrl=\"http://127.0.0.1:8/l.xml\"/></body></opml>");
    list.close();
    const qsizetype topLevel = t.library.root()->children().size();

    EXPECT_EQ(windows.importFile(list.fileName()), 2);
    const TreeNodeList children = t.library.root()->children();
    ASSERT_EQ(children.size(), topLevel + 2);
    EXPECT_EQ(children.at(topLevel)->kindOfObject(), TreeNode::FolderKind);
    EXPECT_EQ(children.at(topLevel)->children().size(), 1);

    QFile notOpml(folder.filePath("notes.xml"));
    ASSERT_TRUE(notOpml.open(QIODevice::WriteOnly));
    notOpml.write("<html><body>hello</body></html>");
    notOpml.close();
    windows.runOPMLImporter(notOpml.fileName());
    EXPECT_EQ(desktop.beeps, 1);
    EXPECT_EQ(t.library.root()->children().size(), topLevel + 2);
}

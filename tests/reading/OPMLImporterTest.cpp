#include "reading/OPMLImporter.h"

#include "LogCapture.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {
QString fixture(const QString &name)
{
    return QStringLiteral(QB_TEST_DATA "/opml/") + name;
}

std::shared_ptr<Folder> folderAt(const TreeNodePtr &node, int index)
{
    return std::dynamic_pointer_cast<Folder>(node->children().value(index));
}

std::shared_ptr<Feed> feedAt(const TreeNodePtr &node, int index)
{
    return std::dynamic_pointer_cast<Feed>(node->children().value(index));
}

QStringList titlesOf(const QList<std::shared_ptr<Feed>> &feeds)
{
    QStringList titles;
    for (const auto &feed : feeds)
        titles << feed->title();
    return titles;
}

OPMLImporter importedText(const QString &text)
{
    OPMLImporter importer;
    importer.parseOPML(text);
    return importer;
}
} // namespace

TEST(OPMLImporter, NestedFolderOutlinesBecomeNestedFoldersEndTagsClimbBackOutAndUidsAreKept)
{
    const OPMLImporter importer = OPMLImporter::importFeedsFromPath(fixture("nested.opml"));
    const auto top = importer.importedFeedsFolder();
    EXPECT_EQ(top->title(), "Imported Feeds");
    ASSERT_EQ(top->childCount(), 3);

    const auto outer = folderAt(top, 0);
    ASSERT_TRUE(outer);
    EXPECT_EQ(outer->title(), "Outer");
    const auto inner = folderAt(outer, 0);
    ASSERT_TRUE(inner);
    EXPECT_EQ(inner->title(), "Inner") << "the title wins over the text";
    ASSERT_TRUE(feedAt(inner, 0));
    EXPECT_EQ(feedAt(inner, 0)->parent(), inner);
    EXPECT_EQ(feedAt(outer, 1)->title(), "Outer feed") << "a feed after the inner folder's end tag";
    EXPECT_EQ(folderAt(top, 1)->title(), "Untitled folder");
    EXPECT_EQ(folderAt(top, 1)->childCount(), 0);
    EXPECT_EQ(feedAt(top, 2)->title(), "Top feed");
    EXPECT_EQ(titlesOf(importer.feeds()), QStringList({"Deep feed", "Outer feed", "Top feed"}))
        << "the flat list is in document order";

    const QStringList uids = {"DEEP-0001", "OUTER-0002", "TOP-0003"};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(importer.feeds().at(i)->uniqueID(), uids.at(i));
    EXPECT_EQ(OPMLImporter::importFeedsFromPath(fixture("nested.opml")).feeds().size(), 3)
        << "importing twice gives twin feeds";
}

TEST(OPMLImporter, QuirkyOutlinesAreReadAttributeByAttributeAndAnOpenFeedOutlineClosesItsFolderEarly)
{
    const OPMLImporter importer = OPMLImporter::importFeedsFromPath(fixture("quirks.opml"));
    ASSERT_EQ(titlesOf(importer.feeds()),
              QStringList({"Home page only", "After the open one", "Café & Bar", "single quoted"}))
        << "an outline with neither title, text nor address makes nothing at all, and one written open "
           "makes no feed";
    const auto top = importer.importedFeedsFolder();
    ASSERT_TRUE(folderAt(top, 0));
    EXPECT_EQ(folderAt(top, 0)->childCount(), 1) << "only the feed before the open outline";
    EXPECT_EQ(feedAt(top, 1)->title(), "After the open one") << "its end tag closed the folder early";
    EXPECT_EQ(feedAt(top, 1)->parent(), top);
    EXPECT_EQ(importer.currentFolder(), top) << "the folder's own end tag cannot climb above the top";

    const auto home = importer.feeds().at(0);
    EXPECT_EQ(home->feed(), QUrl("http://pages.example/home")) << "looking for url finds the end of htmlUrl";
    EXPECT_EQ(home->link(), QUrl("http://pages.example/home"));
    EXPECT_EQ(home->feedType(), Feed::AtomType) << "no type";
    EXPECT_EQ(home->description(), "");
    EXPECT_FALSE(home->description().isNull());
    EXPECT_NE(home->uniqueID(), importer.feeds().at(1)->uniqueID()) << "a feed without uid gets its own";
    EXPECT_EQ(importer.feeds().at(1)->feedType(), Feed::AtomType) << "\"rss\" is not \"RSS\"";

    const auto cafe = importer.feeds().at(2);
    EXPECT_EQ(cafe->feedType(), Feed::RSSType);
    EXPECT_EQ(cafe->feed(), QUrl("http://cafe.example/feed?a=1&b=2"));
    EXPECT_EQ(cafe->link(), QUrl("http://cafe.example")) << "without a home page, the feed's own host";
    EXPECT_EQ(cafe->description(), "Beans & more");
    EXPECT_EQ(cafe->language(), "fr");
    EXPECT_EQ(cafe->keywords(), QStringList({"coffee", " tea", "", "cocoa"})) << "split, never trimmed";

    const auto spaced = importer.feeds().at(3);
    EXPECT_EQ(spaced->feed(), QUrl("http://spaced.example/feed")) << "the name, a space and '='";
}

TEST(OPMLImporter, EntitiesEscapedTwiceInTitlesStillBecomeTheirCharacters)
{
    const OPMLImporter importer = importedText(
        "<outline title=\"Caf&amp;eacute; &amp;amp; Cr&#232;me &amp;#39;n&amp;apos; &amp;hellip;\" "
        "xmlUrl=\"http://x.example/\"/> ");
    ASSERT_EQ(importer.feeds().size(), 1);
    EXPECT_EQ(importer.feeds().first()->title(), "Café & Crème 'n' …");

    // A numeric reference to an ampersand turns into a named entity only on the last pass.
    const QString layered = QStringLiteral("&amp;amp;#38;eacute;");
    const OPMLImporter again = importedText(QStringLiteral("<outline title=\"%1\" description=\"%1\" "
                                                           "keywords=\"%1\" xmlUrl=\"http://x.example/\"/> ")
                                                .arg(layered));
    ASSERT_EQ(again.feeds().size(), 1);
    EXPECT_EQ(again.feeds().first()->title(), "é");
    EXPECT_EQ(again.feeds().first()->description(), "é");
    EXPECT_EQ(again.feeds().first()->keywords(), QStringList({"&eacute;"})) << "keywords get no extra pass";
}

TEST(OPMLImporter, TheDeclaredEncodingIsHonouredLatin1IsAssumedAndAnUnusableFileImportsNothingAndSaysSo)
{
    EXPECT_EQ(titlesOf(OPMLImporter::importFeedsFromPath(fixture("declared-utf8.opml")).feeds()),
              QStringList{"Café – Nachrichten"});
    EXPECT_EQ(titlesOf(OPMLImporter::importFeedsFromPath(fixture("undeclared-latin1.opml")).feeds()),
              QStringList{"Café"});

    QTemporaryDir scratch;
    const QString missing = scratch.filePath("missing.opml");
    for (const QString &path :
         {fixture("unknown-encoding.opml"), fixture("invalid-utf8.opml"), missing, scratch.path()}) {
        SCOPED_TRACE(path.toStdString());
        LogCapture log;
        const OPMLImporter importer = OPMLImporter::importFeedsFromPath(path);
        EXPECT_TRUE(importer.feeds().isEmpty());
        EXPECT_EQ(importer.importedFeedsFolder()->childCount(), 0);
        const bool unreadable = path.startsWith(scratch.path());
        ASSERT_EQ(log.lines().size(), unreadable ? 2 : 1);
        EXPECT_EQ(log.lines().last(), "-[OPMLImporter parseOPML] no XML to parse, aborting.");
        EXPECT_EQ(
            log.lines().first().startsWith("-[OPMLImporter importFeedsFromPath:] cannot read " + path + ": "),
            unreadable)
            << "an unreadable file is named";
    }
}

TEST(OPMLImporter, ReadingStopsWhereTheScannerStopsAndToleratesJunk)
{
    const OPMLImporter importer = importedText(
        "<<outline text=\"a\" xmlUrl=\"http://a/\"/> & > <![CDATA[<outline xmlUrl=\"http://cdata/\"/>]]> "
        "</outline></outline><outline text=\"b\" xmlUrl=\"http://b/\"/><outline title=t text='u' "
        "xmlUrl=\"http://u/\"/>"
        "<![CDATA[ x> <outline text=\"c\" xmlUrl=\"http://c/\"/> ");
    EXPECT_EQ(titlesOf(importer.feeds()), QStringList({"b", "Untitled"}))
        << "a doubled '<' hides its outline, a section's content is no markup, stray end tags do no harm, "
           "a value needs double quotes or a space before '=', and nothing after an unterminated section is "
           "read";

    const OPMLImporter empty = importedText(QStringLiteral(""));
    EXPECT_TRUE(empty.feeds().isEmpty());
}

TEST(OPMLImporter, AbsurdlyDeepFoldersAreCappedWithoutLosingTheirEndTags)
{
    QString text;
    const int depth = 100000;
    for (int i = 0; i < depth; ++i)
        text += QStringLiteral("<outline text=\"f%1\">").arg(i);
    text += QStringLiteral("<outline text=\"deepest\" xmlUrl=\"http://deep/\"/>");
    for (int i = 0; i < depth; ++i)
        text += QStringLiteral("</outline>");
    text += QStringLiteral("<outline text=\"back on top\" xmlUrl=\"http://top/\"/> ");

    const OPMLImporter importer = importedText(text);
    ASSERT_EQ(importer.feeds().size(), 2);
    EXPECT_EQ(importer.feeds().at(1)->parent(), importer.importedFeedsFolder());
    int levels = 0;
    for (TreeNodePtr node = importer.feeds().at(0)->parent(); node; node = node->parent())
        ++levels;
    EXPECT_GT(levels, 100) << "legitimately deep lists keep their folders";
    EXPECT_LT(levels, depth);
}

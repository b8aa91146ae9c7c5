#include "model/OPMLExporter.h"

#include "LogCapture.h"
#include "TestFiles.h"
#include "model/Article.h"
#include "model/Feed.h"
#include "model/Folder.h"
#include "reading/OPMLImporter.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/resource.h>

namespace {

const QString head = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                    "<opml version=\"1.1\">\n"
                                    "\t<head>\n"
                                    "\t\t<title>QuillBay Feeds</title>\n"
                                    "\t</head>\n"
                                    "\t<body>\n");
const QString tail = QStringLiteral("\t</body>\n"
                                    "</opml>\n");

std::shared_ptr<Folder> folderIn(const TreeNodePtr &parent, const QString &title)
{
    auto folder = std::make_shared<Folder>();
    folder->setTitle(title);
    folder->setParent(parent);
    parent->addChild(folder, parent->childCount());
    return folder;
}

std::shared_ptr<Feed> feedIn(const TreeNodePtr &parent, const QString &title, const QString &url,
                             int type = Feed::RSSType)
{
    auto feed = std::make_shared<Feed>();
    feed->setTitle(title);
    feed->setFeed(QUrl(url));
    feed->setFeedType(type);
    feed->setParent(parent);
    parent->addChild(feed, parent->childCount());
    return feed;
}

// Folders and feeds as indented lines of title and address.
QStringList outline(const TreeNodePtr &node, const QString &indent = {})
{
    QStringList lines;
    for (const TreeNodePtr &child : node->children()) {
        if (const auto feed = std::dynamic_pointer_cast<Feed>(child))
            lines << indent + feed->title() + " <" + feed->feed().toString() + ">";
        else if (const auto folder = std::dynamic_pointer_cast<Folder>(child))
            lines << indent + folder->title() + "/" << outline(folder, indent + "  ");
    }
    return lines;
}

// Lets a write past the given size fail, as a full disk would, for the life of the object.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_saved);
        m_savedHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_saved;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_saved);
        std::signal(SIGXFSZ, m_savedHandler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_saved{};
    void (*m_savedHandler)(int) = nullptr;
};

} // namespace

TEST(OPMLExport, AFolderAndItsFeedsAreWrittenLineByLineAtTwoTabsWhateverTheDepth)
{
    auto root = std::make_shared<Folder>();
    auto tech = folderIn(root, "Tech");
    auto atom = feedIn(tech, "Atomic", "https://atomic.example/feed.atom", Feed::AtomType);
    atom->setLink(QUrl("https://atomic.example/"));
    auto deeper = folderIn(tech, "Deeper");
    feedIn(deeper, "Unknown", "http://unknown.example/rss", Feed::UnknownType);
    feedIn(root, "Nowhere", "");
    root->addChild(std::make_shared<Article>(), 2);

    EXPECT_EQ(
        OPMLExporter(root).text(),
        head +
            "\t\t<outline text=\"Tech\" title=\"Tech\">\n"
            "\t\t<outline text=\"Atomic\" title=\"Atomic\" description=\"\" type=\"Atom\" version=\"Atom\" "
            "htmlUrl=\"https://atomic.example/\" xmlUrl=\"https://atomic.example/feed.atom\"/>\n"
            "\t\t<outline text=\"Deeper\" title=\"Deeper\">\n"
            "\t\t<outline text=\"Unknown\" title=\"Unknown\" description=\"\" type=\"RSS\" version=\"RSS\" "
            "htmlUrl=\"(null)\" xmlUrl=\"http://unknown.example/rss\"/>\n"
            "\t\t</outline>\n"
            "\t\t</outline>\n"
            "\t\t<outline text=\"Nowhere\" title=\"Nowhere\" description=\"\" type=\"RSS\" version=\"RSS\" "
            "htmlUrl=\"(null)\" xmlUrl=\"(null)\"/>\n" +
            tail);
    EXPECT_EQ(OPMLExporter(std::make_shared<Folder>()).text(), head + tail);
}

// The importer is forgiving, so libxml2 is the judge of whether the file is XML at all.
TEST(OPMLExport, AnExportImportsBackAsTheSameTreeAndAwkwardTitlesStillMakeXML)
{
    auto root = std::make_shared<Folder>();
    auto news = folderIn(root, "News & Views");
    feedIn(news, "Harbour Notes", "http://harbour.example/rss.xml")->setLink(QUrl("http://harbour.example/"));
    feedIn(folderIn(news, "Lights"), "Lighthouse Log", "http://lighthouse.example/atom.xml", Feed::AtomType);
    feedIn(root, "Fishing Times", "http://fish.example/feed?x=1&y=2");
    QTemporaryDir scratch;
    const QString path = scratch.filePath("Feeds.opml");
    OPMLExporter exporter(root);
    ASSERT_TRUE(exporter.saveToOPMLFile(path));
    EXPECT_TRUE(exporter.errorString().isEmpty());
    EXPECT_EQ(fileBytes(path), exporter.text().toUtf8());
    const OPMLImporter importer = OPMLImporter::importFeedsFromPath(path);
    EXPECT_EQ(outline(importer.importedFeedsFolder()).join('\n').toStdString(),
              outline(root).join('\n').toStdString());

    auto awkward = std::make_shared<Folder>();
    const QString folderTitle = "Q&A <\"best\"> 100%1 %2";
    const QString feedTitle = QString("Bell\x07 and\tform\x0c feed\r\nnews") + QChar(0xFFFE) + "\U0001F30A";
    feedIn(folderIn(awkward, folderTitle), feedTitle, "https://example.org/feed?a=1&b=<2>");
    ASSERT_TRUE(OPMLExporter(awkward).saveToOPMLFile(path));
    EXPECT_TRUE(fileBytes(path).contains("title=\"Q&amp;A &lt;&quot;best&quot;&gt; 100%1 %2\""));
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadFile(QFile::encodeName(path).constData(), nullptr, XML_PARSE_NONET), &xmlFreeDoc);
    ASSERT_TRUE(document) << "not XML: " << fileBytes(path).toStdString();
    QStringList attributes;
    const std::function<void(xmlNode *)> walk = [&](xmlNode *node) {
        for (; node; node = node->next) {
            for (const char *name : {"title", "xmlUrl"}) {
                if (xmlChar *value = xmlGetProp(node, reinterpret_cast<const xmlChar *>(name))) {
                    attributes << QString::fromUtf8(reinterpret_cast<const char *>(value));
                    xmlFree(value);
                }
            }
            walk(node->children);
        }
    };
    walk(xmlDocGetRootElement(document.get()));
    EXPECT_EQ(attributes,
              QStringList({folderTitle, "Bell and\tform feed\r\nnews\U0001F30A",
                           QUrl("https://example.org/feed?a=1&b=<2>").toString(QUrl::FullyEncoded)}))
        << "what XML cannot hold is dropped, line breaks and tabs come back as they were";
}

TEST(OPMLExport, AFailedWriteLeavesTheOldFileWholeAndNoTemporaryFileBehind)
{
    QTemporaryDir scratch;
    const QString path = scratch.filePath("Feeds.opml");
    writeFile(path, "old export\n");
    auto root = std::make_shared<Folder>();
    for (int i = 0; i < 50; ++i)
        feedIn(root, QStringLiteral("Feed %1").arg(i), QStringLiteral("https://example.org/%1.xml").arg(i));

    LogCapture log;
    OPMLExporter exporter(root);
    {
        const FileSizeLimit limit(1024);
        EXPECT_FALSE(exporter.saveToOPMLFile(path));
    }
    EXPECT_EQ(fileBytes(path), "old export\n");
    EXPECT_EQ(QDir(scratch.path()).entryList(QDir::Files), QStringList{"Feeds.opml"});
    EXPECT_FALSE(exporter.errorString().isEmpty());
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().first().startsWith("-[FeedLibrary saveToOPMLFile:] could not write " + path));

    EXPECT_FALSE(exporter.saveToOPMLFile(scratch.filePath("missing folder/Feeds.opml")));
    EXPECT_TRUE(exporter.saveToOPMLFile(path));
    EXPECT_TRUE(exporter.errorString().isEmpty());
    EXPECT_EQ(fileBytes(path), exporter.text().toUtf8());
}

#include "reading/QBLiberalRSSParser.h"

#include "FeedCorpus.h"
#include "LogCapture.h"
#include "db/FMDatabase.h"
#include "db/FMResultSet.h"
#include "fetch/ImagingService.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

QString rss(const QString &channel)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<rss version=\"2.0\">\n<channel>\n" + channel +
           "\n</channel>\n</rss>\n";
}

struct StoredRow
{
    QString guid;
    QString fullSummary;
    int state;
};

class RSSReader : public ::testing::Test
{
protected:
    void SetUp() override
    {
        library.load();
        feed = std::make_shared<Feed>();
    }

    bool read(const QString &document, const FeedPtr &into)
    {
        QBLiberalRSSParser parser(document, library);
        parser.setFeed(into);
        return parser.parse();
    }
    bool read(const QString &document) { return read(document, feed); }

    ArticlePtr article(int at) const { return std::dynamic_pointer_cast<Article>(feed->children().at(at)); }

    QStringList titles() const
    {
        QStringList list;
        for (const TreeNodePtr &child : feed->children())
            list << std::dynamic_pointer_cast<Article>(child)->title();
        return list;
    }

    QList<StoredRow> storedRows() const
    {
        QList<StoredRow> rows;
        const auto results = library.database()->executeQuery(
            QStringLiteral("SELECT * FROM articles WHERE parent = ? ORDER BY id"), {feed->uniqueID()});
        while (results && results->next())
            rows.append({results->stringForColumn("guid"), results->stringForColumn("fullSummary"),
                         results->intForColumn("state")});
        return rows;
    }

    FeedLibrary library;
    FeedPtr feed;
};

} // namespace

TEST(RSSScanner, AttributeValuesFollowTheirLooseRules)
{
    // A double quote anywhere after the name is taken before a nearer single one; the quotes need not
    // match; a quote in the last place never opens.
    const QList<std::tuple<QString, QString, QString>> rows = {
        {"enclosure length='12' type = \"audio/mpeg\"", "LENGTH", "audio/mpeg"},
        {"a href=\"x'", "href", "x"},
        {"a href=x", "href", ""},
        {"a href=\"", "href", ""}};
    for (const auto &[text, name, value] : rows)
        EXPECT_EQ(QBLiberalRSSParser::tag(text, name), value)
            << text.toStdString() << " / " << name.toStdString();
}

TEST_F(RSSReader, NoTextIsLoggedAndLeavesTheFeedAsSetFeedLeftIt)
{
    feed->setTitle("Kept");
    feed->setPublicationDate(CalendarDate::now());
    LogCapture log;
    EXPECT_FALSE(read(QString()));
    EXPECT_TRUE(log.contains("-[QBLiberalRSSParser parse] no XML to parse, aborting."));
    EXPECT_EQ(feed->feedType(), Feed::RSSType);
    EXPECT_TRUE(feed->publicationDate().isNull());
    EXPECT_EQ(feed->title(), "Kept");
    EXPECT_EQ(feed->childCount(), 0);
}

TEST_F(RSSReader, ChannelPropertiesAreDecodedAndTheLaterDateWins)
{
    ASSERT_TRUE(read(rss("<title>News &amp; Views &eacute;t&eacute;</title>\n"
                         "<link>http://example.com/?a=1&amp;b=2</link>\n"
                         "<description>About &lt;things&gt; &copy;</description>\n"
                         "<language> en-GB </language>\n"
                         "<copyright>&copy; 2024 &#39;Us&#39;</copyright>\n"
                         "<managingEditor>ed@example.com</managingEditor>\n"
                         "<pubDate>Wed, 17 May 2006 14:32:10 GMT</pubDate>\n"
                         "<lastBuildDate>Thu, 18 May 2006 10:00:00 GMT</lastBuildDate>")));
    EXPECT_EQ(feed->title(), "News & Views \u00e9t\u00e9");
    EXPECT_EQ(feed->link(), QUrl("http://example.com/?a=1&b=2"));
    EXPECT_EQ(feed->description(), "About <things> \u00a9");
    EXPECT_EQ(feed->language(), "en-GB");
    EXPECT_EQ(feed->copyright(), "\u00a9 2024 'Us'");
    EXPECT_EQ(feed->publicationDate().moment(), QDateTime(QDate(2006, 5, 18), QTime(10, 0), Qt::UTC));
    ASSERT_TRUE(read(rss("<title>Their new name</title>")));
    EXPECT_EQ(feed->title(), "News & Views \u00e9t\u00e9") << "a title the feed has, given or read, stays";

    auto other = std::make_shared<Feed>();
    other->setLink(QUrl("http://mine.example/"));
    ASSERT_TRUE(read(rss("<title></title><link>http://theirs.example/</link><dc:language>fr</dc:language>"
                         "<dc:rights>Theirs</dc:rights>"),
                     other));
    EXPECT_EQ(other->title(), "Untitled feed");
    EXPECT_EQ(other->link(), QUrl("http://mine.example/")) << "a link the feed has is kept";
    EXPECT_EQ(other->language(), "fr");
    EXPECT_EQ(other->copyright(), "Theirs");
    const qint64 age = other->publicationDate().moment().secsTo(QDateTime::currentDateTimeUtc());
    EXPECT_TRUE(age >= 0 && age < 600) << "a channel without a date is dated when read";
}

TEST_F(RSSReader, ItemFieldsAreReadEachWithItsOwnDecoding)
{
    ASSERT_TRUE(
        read(rss("<link>http://example.com/</link>\n"
                 "<item>\n"
                 "  <title>Caf&eacute; &amp; bar</title>\n"
                 "  <link>http://example.com/p?x=1&amp;y=2</link>\n"
                 "  <guid isPermaLink=\"false\">tag:a&amp;b</guid>\n"
                 "  <dc:creator>Ann &amp; Bo</dc:creator>\n"
                 "  <author>cy@example.com (Cy)</author>\n"
                 "  <author>Dee &lt;dee@example.com&gt;</author>\n"
                 "  <author>Ed</author>\n"
                 "  <pubDate>Wed, 17 May 2006 14:32:10 +0200</pubDate>\n"
                 "  <description>First</description>\n"
                 "  <content:encoded>&lt;p&gt;Second&lt;/p&gt;</content:encoded>\n"
                 "</item>\n"
                 "<item><title>Undated</title><link>http://example.com/a b.html</link><guid>u</guid></item>"
                 "<ITEM><title>Unlinked</title><link></link><guid>v</guid></Item>")));
    ASSERT_EQ(feed->childCount(), 3) << "item tags are known in any letter case";
    const ArticlePtr first = article(0);
    EXPECT_EQ(first->title(), "Caf\u00e9 & bar");
    EXPECT_EQ(first->link(), QUrl("http://example.com/p?x=1&y=2"));
    EXPECT_EQ(first->guid(), "tag:a&amp;b") << "guids are taken as written";
    ASSERT_EQ(first->authors().size(), 4);
    EXPECT_EQ(first->authors().at(0)->name(), "Ann & Bo");
    EXPECT_TRUE(first->authors().at(0)->email().isNull());
    EXPECT_EQ(first->authors().at(1)->name(), "Cy");
    EXPECT_EQ(first->authors().at(1)->email(), "cy@example.com");
    EXPECT_EQ(first->authors().at(2)->name(), "Dee");
    EXPECT_EQ(first->authors().at(2)->email(), "dee@example.com");
    EXPECT_EQ(first->authors().at(3)->name(), "Ed");
    EXPECT_EQ(first->legacyPublicationDate().moment(),
              QDateTime(QDate(2006, 5, 17), QTime(12, 32, 10), Qt::UTC));
    EXPECT_EQ(first->summary(), " Second ") << "the last summary element of an item wins";
    EXPECT_EQ(library.longSummaryForArticle(first), "<p>Second</p>");
    EXPECT_EQ(first->parent(), feed);
    EXPECT_EQ(first->source(), feed);
    EXPECT_TRUE(first->stillInFeed());
    EXPECT_EQ(first->fullSummary(), "") << "the full text lives in the database only";

    const ArticlePtr undated = article(1);
    EXPECT_EQ(undated->link().toString(QUrl::FullyEncoded), "http://example.com/a%20b.html")
        << "a space is encoded, not a reason to drop the link";
    EXPECT_EQ(article(2)->link(), QUrl("http://example.com/")) << "no link gives way to the feed's";
    const qint64 age = undated->legacyPublicationDate().moment().secsTo(QDateTime::currentDateTimeUtc());
    EXPECT_TRUE(age >= 0 && age < 600);
}

TEST_F(RSSReader, CDATATitlesAndSummariesKeepTheirTextAndMarkupUntilASectionIsLeftOpen)
{
    ASSERT_TRUE(read(rss("<item><title><![CDATA[Hello]]></title><guid>1</guid>"
                         "<description><![CDATA[<p>Body &amp; more</p>]]> tail > end</description></item>")));
    ASSERT_EQ(feed->childCount(), 1);
    EXPECT_EQ(article(0)->title(), "Hello");
    EXPECT_EQ(library.longSummaryForArticle(article(0)), "<p>Body & more</p>  tail > end")
        << "a section takes in the text after it, a stray '>' included";
    EXPECT_EQ(article(0)->summary(), " Body & more   tail ") << "in the summary it hides the text after it";

    auto cut = std::make_shared<Feed>();
    EXPECT_TRUE(read(rss("<item><title>Whole</title><guid>1</guid></item>"
                         "<item><title><![CDATA[broken</title><guid>2</guid></item>"
                         "<item><title>Never reached</title><guid>3</guid></item>"),
                     cut));
    EXPECT_EQ(cut->childCount(), 1) << "an unterminated section ends the reading, keeping what came before";
}

TEST_F(RSSReader, AnItemWithoutGuidIsKnownByItsTitleAndLinkOnTheNextRead)
{
    const QString document =
        rss("<link>http://example.com/</link>"
            "<item><title>Linked</title><link>http://example.com/a</link></item>"
            "<item><title>Unlinked</title></item>"
            "<item><title>Blank</title><guid></guid><link>http://example.com/b</link></item>");
    ASSERT_TRUE(read(document));
    ASSERT_EQ(feed->childCount(), 3);
    EXPECT_EQ(article(0)->guid(), "Linked-http://example.com/a");
    EXPECT_EQ(article(1)->guid(), "Unlinked-http://example.com/");
    EXPECT_EQ(article(2)->guid(), "Blank-http://example.com/b");

    for (const TreeNodePtr &child : feed->children())
        std::dynamic_pointer_cast<Article>(child)->setStillInFeed(false);
    ASSERT_TRUE(read(document));
    EXPECT_EQ(feed->childCount(), 3);
    for (const TreeNodePtr &child : feed->children())
        EXPECT_TRUE(std::dynamic_pointer_cast<Article>(child)->stillInFeed());
    EXPECT_EQ(storedRows().size(), 3) << "known items are not stored again";

    auto linkless = std::make_shared<Feed>();
    ASSERT_TRUE(read(rss("<item><title>Lonely</title></item>"), linkless));
    ASSERT_EQ(linkless->childCount(), 1);
    EXPECT_EQ(std::dynamic_pointer_cast<Article>(linkless->children().first())->guid(), "Lonely-(null)");
}

TEST_F(RSSReader, NewItemsGoOnTopStoredUnreadWhileAKnownItemKeepsItsTextAndStateAndIsOnlyMarkedStillInFeed)
{
    auto old = std::make_shared<Article>();
    old->setGuid("old");
    feed->addChild(old);
    ASSERT_TRUE(read(rss("<item><title>A</title><guid>a</guid><description>text a</description></item>"
                         "<item><title>B</title><guid>b</guid><description>text b</description></item>")));
    EXPECT_EQ(titles(), QStringList({"A", "B", ""}));
    const ArticlePtr known = article(0);
    EXPECT_EQ(known->state(), Article::New);
    known->setState(Article::Read);
    known->setStillInFeed(false);

    ASSERT_TRUE(read(rss("<item><title>After</title><guid>a</guid><description>New text</description></item>"
                         "<item><title>C</title><guid>c</guid><description>text c</description></item>")));
    EXPECT_EQ(titles(), QStringList({"C", "A", "B", ""}));
    EXPECT_EQ(known->summary(), "text a");
    EXPECT_EQ(known->state(), Article::Read);
    EXPECT_TRUE(known->stillInFeed());
    const auto rows = storedRows();
    ASSERT_EQ(rows.size(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rows.at(i).guid, QString(QChar(u'a' + i)));
        EXPECT_EQ(rows.at(i).fullSummary, "text " + rows.at(i).guid);
        EXPECT_EQ(rows.at(i).state, Article::Unread) << "new exists only in memory";
    }
}

TEST_F(RSSReader, AnItemWithoutTitleTakesItsSummaryCutAtSixtyCharacters)
{
    const QString undotted = QString("abcdefghij").repeated(25);
    const QString sentence = "A short first sentence. " + QString("More words without end ").repeated(10);
    const QString fiftyNine(59, u'y');
    const QString sixty(60, u'z');
    QString items;
    for (const QString &text : {undotted, sentence, fiftyNine, sixty})
        items += "<item><guid>" + text + "</guid><description>" + text + "</description></item>";
    ASSERT_TRUE(read(rss(items)));
    ASSERT_EQ(feed->childCount(), 4);
    EXPECT_EQ(article(0)->summary(), undotted.left(200) + "...");
    EXPECT_EQ(article(0)->title(), undotted.left(60) + "...");
    EXPECT_EQ(article(1)->summary(), "A short first sentence.");
    EXPECT_EQ(article(1)->title(), "A short first sentence.");
    EXPECT_EQ(article(2)->title(), fiftyNine);
    EXPECT_EQ(article(3)->title(), sixty + "...");
}

TEST_F(RSSReader, APodcastEpisodeKeepsItsEnclosureHoweverTheTagIsClosed)
{
    feed->setFeed(QUrl("https://casts.example/show/feed.xml"));
    ASSERT_TRUE(read(rss(
        "<item>\n"
        "  <title>Episode 12: Tides</title>\n"
        "  <guid isPermaLink=\"false\">casts-12</guid>\n"
        "  <enclosure url=\"https://cdn.example/ep12.mp3?src=rss&amp;type=full\" length=\"48213000\" "
        "type=\"audio/mpeg\"/>\n"
        "  <itunes:duration>41:07</itunes:duration>\n"
        "</item>"
        "<item><guid>2</guid><enclosure url=\"http://example.com/a.mp3\" length=\"1234\" type=\"audio/mpeg\">"
        "</enclosure></item>"
        "<item><guid>3</guid><ENCLOSURE URL='media/c.ogg' LENGTH='-1' TYPE='audio/ogg'></ENCLOSURE></item>"
        "<item><guid>4</guid><enclosure length=\" 99999999999\"/></item>"
        "<item><guid>5</guid>"
        "<media:content url=\"http://example.com/clip.jpg\" medium=\"image\"/>"
        "<media:content url=\"http://example.com/clip.mp4\" type=\"video/mp4\" fileSize=\"5000000000\">"
        "<media:title>Clip</media:title></media:content></item>"
        "<item><guid>6</guid><enclosure url=\"http://example.com/own.mp3\"/>"
        "<media:content url=\"http://example.com/other.mp4\" medium=\"video\"/></item>")));
    ASSERT_EQ(feed->childCount(), 6);
    const auto podcast = article(0)->enclosure();
    ASSERT_TRUE(podcast) << "a self-closing enclosure is how podcasts write it";
    EXPECT_EQ(podcast->link(), QUrl("https://cdn.example/ep12.mp3?src=rss&type=full"));
    EXPECT_EQ(podcast->title(), "ep12.mp3");
    EXPECT_EQ(podcast->size(), 48213000u);
    EXPECT_EQ(podcast->mimeType(), "audio/mpeg");

    EXPECT_TRUE(article(1)->enclosure());
    ASSERT_TRUE(article(2)->enclosure());
    EXPECT_EQ(article(2)->enclosure()->size(), 18446744073709551615u) << "a negative length keeps its sign";
    EXPECT_EQ(article(2)->enclosure()->link(), QUrl("https://casts.example/show/media/c.ogg"));
    ASSERT_TRUE(article(3)->enclosure()) << "an enclosure without url is still made";
    EXPECT_EQ(article(3)->enclosure()->size(), 2147483647u);
    EXPECT_TRUE(article(3)->enclosure()->link().isEmpty());

    const auto video = article(4)->enclosure();
    ASSERT_TRUE(video) << "Media RSS video stands in for a missing enclosure";
    EXPECT_EQ(video->link(), QUrl("http://example.com/clip.mp4"));
    EXPECT_EQ(video->size(), 5000000000u);
    EXPECT_EQ(article(4)->imageURL(), QUrl("http://example.com/clip.jpg"));
    ASSERT_TRUE(article(5)->enclosure());
    EXPECT_EQ(article(5)->enclosure()->link(), QUrl("http://example.com/own.mp3"));
    for (int i = 0; i < feed->childCount(); ++i)
        ImagingService::sharedImagingService().removeFromQueue(article(i));
}

TEST_F(RSSReader, InlineMarkupKeepsItsTextAndNoEmptyElementBlanksAnother)
{
    ASSERT_TRUE(read(rss("<item><guid>1</guid>"
                         "<description>Text <b>bold</b> after <a href=\"x\">link</a><br> end</description>"
                         "<content:encoded></content:encoded></item>"
                         "<item><guid>2</guid><description>Short</description>"
                         "<content:encoded><![CDATA[<p>Long</p>]]></content:encoded></item>"
                         "<item><guid>3</guid><media:group><media:thumbnail url=\"http://v.example/3.jpg\"/>"
                         "<media:description>Only this</media:description></media:group></item>")));
    ASSERT_EQ(feed->childCount(), 3);
    EXPECT_EQ(library.longSummaryForArticle(article(0)),
              "Text <b>bold</b> after <a href=\"x\">link</a><br> end");
    EXPECT_EQ(article(0)->summary(), "Text  bold  after  link   end");
    EXPECT_EQ(library.longSummaryForArticle(article(1)), "<p>Long</p>");
    EXPECT_EQ(article(2)->summary(), "Only this") << "video sites write no other text";
    EXPECT_EQ(article(2)->imageURL(), QUrl("http://v.example/3.jpg"));
    EXPECT_TRUE(ImagingService::sharedImagingService().queue().contains(article(2)));
    ImagingService::sharedImagingService().removeFromQueue(article(2));
}

TEST_F(RSSReader, ChannelElementsAfterTheFirstItemAreIgnoredUntilAnImageEnds)
{
    ASSERT_TRUE(read(rss("<title>Feed</title>"
                         "<image><title>Logo</title><link>http://img.example/</link></image>"
                         "<link>http://example.com/</link>"
                         "<item><title>One</title><guid>1</guid></item>"
                         "<description>Late</description><language>fr</language><title>Late title</title>"
                         "<skipDays><day>Monday</day></skipDays>"
                         "<image><title>Logo again</title></image>"
                         "<copyright>After the image</copyright>")));
    EXPECT_EQ(feed->title(), "Feed");
    EXPECT_EQ(feed->link(), QUrl("http://example.com/")) << "an image's link is not the channel's";
    EXPECT_TRUE(feed->description().isEmpty());
    EXPECT_TRUE(feed->language().isEmpty());
    EXPECT_EQ(feed->copyright(), "After the image");
    EXPECT_EQ(titles(), QStringList({"One"}));
}

TEST_F(RSSReader, RSS10ItemsListOpensTheItemBlockBeforeTheFirstItem)
{
    ASSERT_TRUE(read("<?xml version=\"1.0\"?>\n"
                     "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\" "
                     "xmlns=\"http://purl.org/rss/1.0/\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n"
                     "<channel rdf:about=\"http://example.org/\">\n"
                     "<title>Ten</title>\n<link>http://example.org/</link>\n"
                     "<items><rdf:Seq><rdf:li rdf:resource=\"http://example.org/1\"/></rdf:Seq></items>\n"
                     "<description>Said between the list and the first item</description>\n"
                     "</channel>\n"
                     "<item rdf:about=\"http://example.org/1\">\n<link>http://example.org/1</link>\n"
                     "<dc:creator>Ann</dc:creator>\n<dc:date>2006-05-17T14:32:10+02:00</dc:date>\n</item>\n"
                     "</rdf:RDF>\n"));
    EXPECT_EQ(feed->title(), "Ten");
    EXPECT_TRUE(feed->description().isEmpty());
    ASSERT_EQ(feed->childCount(), 1);
    const ArticlePtr item = article(0);
    EXPECT_EQ(item->title(), "Said between the list and the first item");
    EXPECT_EQ(item->guid(), "Said between the list and the first item-http://example.org/1");
    EXPECT_EQ(item->legacyPublicationDate().moment(),
              QDateTime(QDate(2006, 5, 17), QTime(12, 32, 10), Qt::UTC));
    EXPECT_EQ(item->legacyPublicationDate().offsetSeconds(), 7200);
    ASSERT_EQ(item->authors().size(), 1);
}

TEST_F(RSSReader, OnlyALongEnoughChannelTagWithAttributesIsRecognised)
{
    // A tag text of twelve characters is taken whole as the name.
    const QList<std::pair<QString, QString>> rows = {{"<channel x=\"\">", ""},
                                                     {"<channel x=\"1\">", "Thirteen"}};
    for (const auto &[tag, title] : rows) {
        auto into = std::make_shared<Feed>();
        ASSERT_TRUE(read("<rss><channel><item><title>I</title><guid>i</guid></item>" + tag + "<title>" +
                             (title.isEmpty() ? "Short" : title) + "</title></channel></rss>\n",
                         into));
        EXPECT_EQ(into->title(), title) << tag.toStdString();
    }
    ASSERT_TRUE(read(rss("<item id=\"7\"><title>Short item tag</title><guid>7</guid></item>")));
    EXPECT_EQ(feed->childCount(), 1) << "an item tag is known by its beginning";
}

TEST_F(RSSReader, ASummaryPictureIsQueuedWithRelativePathsResolvedAgainstTheFeedLinkButNeverATrackingPixel)
{
    const qsizetype queuedBefore = ImagingService::sharedImagingService().queue().size();
    const QString document = rss(
        "<link>http://example.com/news/today</link>"
        "<item><guid>1</guid><description>&lt;p&gt;&lt;img src='/i/x.png'&gt;&lt;/p&gt;</description></item>"
        "<item><guid>2</guid><description><![CDATA[<img "
        "src=\"http://cdn.example/p.jpg\">]]></description></item>"
        "<item><guid>3</guid><description>&lt;script src=\"/s.js\"&gt;&lt;/script&gt;</description></item>"
        "<item><guid>4</guid><description><![CDATA[<img width=\"1\" height=\"1\" "
        "src=\"http://t.example/p.gif\">]]></description></item>"
        "<item><guid>5</guid><description><![CDATA[<img src=\"http://t.example/q.gif\" "
        "style=\"width:0px\">]]></description></item>");
    ASSERT_TRUE(read(document));
    ASSERT_EQ(feed->childCount(), 5);
    EXPECT_EQ(article(0)->imageURL(), QUrl("http://example.com/i/x.png"));
    EXPECT_EQ(article(1)->imageURL(), QUrl("http://cdn.example/p.jpg"));
    EXPECT_TRUE(article(2)->imageURL().isEmpty());
    EXPECT_TRUE(article(3)->imageURL().isEmpty()) << "a 1 by 1 picture is never fetched";
    EXPECT_TRUE(article(4)->imageURL().isEmpty());
    ArticleList queue = ImagingService::sharedImagingService().queue();
    ASSERT_EQ(queue.size(), queuedBefore + 2);
    EXPECT_EQ(queue.at(queuedBefore), article(0));
    EXPECT_EQ(queue.at(queuedBefore + 1), article(1));

    ASSERT_TRUE(read(document));
    EXPECT_EQ(ImagingService::sharedImagingService().queue().size(), queuedBefore + 2)
        << "known articles are not queued again";
}

TEST(RSSReaderCorpus, EveryCorpusDocumentIsReadToTheEndAndASecondReadAddsNothing)
{
    const QStringList files = FeedCorpus::files();
    if (files.isEmpty())
        GTEST_SKIP() << "no feed corpus at " << FeedCorpus::folder().toStdString();
    // An unloaded library stores nothing, which keeps this to the reading alone.
    FeedLibrary scratch;
    for (const QString &path : files) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        const QString text = QString::fromUtf8(file.readAll());
        auto feed = std::make_shared<Feed>();
        feed->setLink(QUrl("http://corpus.example/"));
        QBLiberalRSSParser first(text, scratch);
        first.setFeed(feed);
        EXPECT_TRUE(first.parse()) << path.toStdString();
        const qsizetype count = feed->childCount();
        QBLiberalRSSParser second(text, scratch);
        second.setFeed(feed);
        second.parse();
        EXPECT_EQ(feed->childCount(), count) << path.toStdString();
        for (const TreeNodePtr &child : feed->children()) {
            const auto item = std::dynamic_pointer_cast<Article>(child);
            EXPECT_FALSE(item->guid().isEmpty()) << path.toStdString();
        }
    }
}

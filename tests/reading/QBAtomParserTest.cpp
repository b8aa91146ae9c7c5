#include "reading/QBAtomParser.h"

#include "fetch/ImagingService.h"

#include <gtest/gtest.h>

namespace {
class AtomReader : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        if (!library().root())
            library().load();
    }
    static FeedLibrary &library() { return FeedLibrary::feedLibrary(); }

    bool read(const FeedPtr &feed, const QByteArray &body, bool wrap = true)
    {
        QBAtomParser parser(wrap ? "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                   "<feed xmlns=\"http://www.w3.org/2005/Atom\">" +
                                       body + "</feed>"
                                 : body);
        parser.setFeed(feed);
        const bool parsed = parser.parse();
        error = parser.parserError();
        return parsed;
    }

    static ArticlePtr articleAt(const FeedPtr &feed, int index)
    {
        return std::dynamic_pointer_cast<Article>(feed->children().value(index));
    }

    static QDateTime utc(int month, int day, int hour, int minute)
    {
        return QDateTime(QDate(2006, month, day), QTime(hour, minute), Qt::UTC);
    }

    FeedPtr feed = std::make_shared<Feed>();
    QString error;
};
} // namespace

TEST_F(AtomReader, TheAlternateLinkWinsAndRelativeLinksResolveAgainstXmlBaseOrTheDocument)
{
    feed->setFeed(QUrl("https://blog.example/feeds/atom.xml"));
    ASSERT_TRUE(read(
        feed, "<link rel=\"self\" href=\"/feeds/atom.xml\"/>"
              "<link rel=\"alternate\" href=\"/\"/>"
              "<entry><id>a</id><link rel=\"replies\" href=\"a/comments\"/>"
              "<link rel=\"self\" href=\"http://example.org/a.atom\"/>"
              "<link href=\"http://example.org/a?x=1&amp;y=2\"/></entry>"
              "<entry xml:base=\"http://example.org/2024/\"><id>b</id>"
              "<link rel=\"edit\" href=\"b/edit\"/><link rel=\"replies\" href=\"b/comments\"/></entry>"
              "<entry><id>c</id><link rel=\"alternate\" href=\"http://example.org/my post.html\"/></entry>"));
    EXPECT_EQ(feed->link(), QUrl("https://blog.example/"));
    EXPECT_EQ(articleAt(feed, 0)->link(), QUrl("http://example.org/a?x=1&y=2"))
        << "a link without rel is the alternate one, and its '&amp;' is decoded exactly once";
    EXPECT_EQ(articleAt(feed, 1)->link(), QUrl("http://example.org/2024/b/edit"))
        << "without an alternate link the first one stands";
    EXPECT_EQ(articleAt(feed, 2)->link().toString(QUrl::FullyEncoded), "http://example.org/my%20post.html");

    auto own = std::make_shared<Feed>();
    own->setLink(QUrl("http://mine.example/"));
    ASSERT_TRUE(read(own, "<link href=\"http://example.org/\"/>"));
    EXPECT_EQ(own->link(), QUrl("http://mine.example/"));
}

TEST_F(AtomReader, ContentWinsOverSummaryInEitherOrderAndHtmlIsDecodedThenTagsBecomeSpaces)
{
    ASSERT_TRUE(read(feed,
                     "<entry><id>a</id><summary>From summary</summary><content>From content</content></entry>"
                     "<entry><id>b</id><content>From content</content><summary>From summary</summary></entry>"
                     "<entry><id>c</id><summary>Only summary</summary></entry>"
                     "<entry><id>d</id><content type=\"html\">&lt;p&gt;Caf&amp;eacute; &lt;b&gt;au&lt;/b&gt;"
                     " lait&lt;/p&gt;</content></entry>"
                     "<entry><id>e</id><content type=\"html\"><![CDATA[<i>Hi</i>]]></content></entry>"));
    ASSERT_EQ(feed->childCount(), 5);
    for (int index : {0, 1}) {
        EXPECT_EQ(articleAt(feed, index)->summary(), "From content");
        EXPECT_EQ(library().longSummaryForArticle(articleAt(feed, index)), "From content");
        EXPECT_EQ(articleAt(feed, index)->fullSummary(), "") << "the full text lives in the database";
    }
    EXPECT_EQ(articleAt(feed, 2)->summary(), "Only summary");
    EXPECT_EQ(articleAt(feed, 3)->summary(), " Café  au  lait ");
    EXPECT_EQ(library().longSummaryForArticle(articleAt(feed, 3)), "<p>Café <b>au</b> lait</p>");
    EXPECT_EQ(articleAt(feed, 4)->summary(), " Hi ");
}

TEST_F(AtomReader, XhtmlContentKeepsItsMarkupRewrittenInDocumentOrder)
{
    ASSERT_TRUE(read(feed,
                     "<entry><id>x</id><content type=\"xhtml\">\n"
                     "  <div xmlns=\"http://www.w3.org/1999/xhtml\">Fish <b id=\"b1\" class=\"big\">and</b>"
                     " chips</div>\n</content></entry>"));
    const ArticlePtr article = articleAt(feed, 0);
    EXPECT_EQ(
        library().longSummaryForArticle(article),
        "<div xmlns=\"http://www.w3.org/1999/xhtml\">Fish <b id=\"b1\" class=\"big\">and</b> chips</div>");
    EXPECT_EQ(article->summary(), " Fish  and  chips ");
}

TEST_F(AtomReader, AnEntryIsDatedByItsFirstDateAndOtherwiseByTheFeedsDateAtThatPoint)
{
    ASSERT_TRUE(read(feed,
                     "<updated>2006-05-17T10:00:00Z</updated>"
                     "<entry><id>a</id><updated>soon</updated><updated>2006-05-18T14:32:10Z</updated>"
                     "<published>2006-05-01T08:00:00Z</published></entry>"
                     "<entry><id>b</id></entry>"
                     "<entry><id>c</id><author><name>N</name><updated>2001-01-01T00:00:00Z</updated></author>"
                     "<published>2006-05-19T07:15:00Z</published></entry>"
                     "<modified>2006-05-20T09:00:00Z</modified>"));
    EXPECT_EQ(articleAt(feed, 0)->legacyPublicationDate().moment(), utc(5, 18, 14, 32).addSecs(10));
    EXPECT_EQ(articleAt(feed, 1)->legacyPublicationDate().moment(), utc(5, 17, 10, 0));
    EXPECT_EQ(articleAt(feed, 2)->legacyPublicationDate().moment(), utc(5, 19, 7, 15));
    EXPECT_EQ(feed->publicationDate().moment(), utc(5, 20, 9, 0)) << "at feed level the last date wins";
}

TEST_F(AtomReader, KnownEntriesAreOnlyMarkedEntriesWithoutIdAreNewAtEveryReadingAndAFeedIdIsTheFirstGuid)
{
    ASSERT_TRUE(read(
        feed, "<entry><title>Anonymous</title></entry><entry><id>tag:k</id><title>Kept</title></entry>"));
    EXPECT_FALSE(feed->publicationDate().isNull()) << "a feed without a date gets the time of reading";
    ASSERT_EQ(feed->childCount(), 2);
    const ArticlePtr first = articleAt(feed, 0);
    const ArticlePtr known = articleAt(feed, 1);
    EXPECT_EQ(first->guid().size(), 36);
    EXPECT_EQ(first->parent(), feed);
    known->setStillInFeed(false);

    ASSERT_TRUE(read(
        feed, "<entry><title>Anonymous</title></entry><entry><id>tag:k</id><title>Changed</title></entry>"));
    ASSERT_EQ(feed->childCount(), 3);
    EXPECT_EQ(articleAt(feed, 0)->title(), "Anonymous");
    EXPECT_NE(articleAt(feed, 0)->guid(), first->guid());
    EXPECT_EQ(articleAt(feed, 1), first);
    EXPECT_EQ(articleAt(feed, 2), known);
    EXPECT_TRUE(known->stillInFeed());
    EXPECT_EQ(known->title(), "Kept");

    auto withId = std::make_shared<Feed>();
    ASSERT_TRUE(
        read(withId, "<id>urn:feed</id><entry><title>one</title></entry><entry><title>two</title></entry>"));
    EXPECT_EQ(articleAt(withId, 0)->guid(), "urn:feed") << "a feed-level id becomes the first entry's guid";
}

TEST_F(AtomReader, TheFeedTitleIsTakenOnlyWhenTheFeedHasNone)
{
    ASSERT_TRUE(read(
        feed, "<title>Caf&amp;eacute; news</title><entry><id>1</id><title>A &amp;amp; B</title></entry>"));
    EXPECT_EQ(feed->title(), "Café news");
    EXPECT_EQ(articleAt(feed, 0)->title(), "A &amp; B") << "XML's own entities are decoded once only";

    auto named = std::make_shared<Feed>();
    named->setTitle("Mine");
    ASSERT_TRUE(read(named, "<title>Theirs</title>"));
    EXPECT_EQ(named->title(), "Mine");
}

TEST_F(AtomReader, AuthorsAndContributorsBecomePersonsAndAFeedAuthorStandsForEveryEntryWithoutOne)
{
    ASSERT_TRUE(read(
        feed,
        "<author><name>Owner</name></author><contributor><name>Helper</name></contributor>"
        "<entry><id>1</id><author><name>Jos&amp;eacute;</name><email>jose@example.org</email>"
        "<uri>http://example.org/jose</uri></author>"
        "<contributor><name>Kim</name><url>http://example.org/kim</url></contributor></entry>"
        "<entry><id>2</id></entry><entry><id>3</id><contributor><name>Lee</name></contributor></entry>"));
    const auto authors = articleAt(feed, 0)->authors();
    ASSERT_EQ(authors.size(), 2);
    EXPECT_EQ(authors.at(0)->name(), "José");
    EXPECT_EQ(authors.at(0)->email(), "jose@example.org");
    EXPECT_EQ(authors.at(0)->URI(), QUrl("http://example.org/jose"));
    EXPECT_EQ(authors.at(1)->name(), "Kim");
    EXPECT_EQ(authors.at(1)->URI(), QUrl("http://example.org/kim"));
    ASSERT_EQ(articleAt(feed, 1)->authors().size(), 1);
    EXPECT_EQ(articleAt(feed, 1)->authors().at(0)->name(), "Owner");
    ASSERT_EQ(articleAt(feed, 2)->authors().size(), 2) << "a contributor is no author";
    EXPECT_EQ(articleAt(feed, 2)->authors().at(1)->name(), "Owner");
}

TEST_F(AtomReader, APlanetEntryKeepsItsOwnTitleIdAndLinkWhateverItsSourceSays)
{
    ASSERT_TRUE(read(feed, "<title>Planet Example</title><author><name>Planet</name></author>"
                           "<entry><title>Release day</title><link href=\"http://ann.example/release\"/>"
                           "<id>tag:ann.example,2024:1</id><updated>2024-03-01T10:11:12.123-07:00</updated>"
                           "<content type=\"html\">&lt;p&gt;Out now&lt;/p&gt;</content>"
                           "<source><id>tag:ann.example,2024:feed</id><title>Ann's blog</title>"
                           "<link rel=\"alternate\" href=\"http://ann.example/\"/>"
                           "<link rel=\"self\" href=\"http://ann.example/atom.xml\"/>"
                           "<updated>2024-03-02T00:00:00Z</updated><author><name>Ann</name></author></source>"
                           "</entry>"));
    ASSERT_EQ(feed->childCount(), 1);
    const ArticlePtr entry = articleAt(feed, 0);
    EXPECT_EQ(entry->title(), "Release day");
    EXPECT_EQ(entry->guid(), "tag:ann.example,2024:1");
    EXPECT_EQ(entry->link(), QUrl("http://ann.example/release"));
    EXPECT_EQ(entry->legacyPublicationDate().localMoment().toString(Qt::ISODate),
              "2024-03-01T10:11:12-07:00");
    ASSERT_EQ(entry->authors().size(), 1);
    EXPECT_EQ(entry->authors().at(0)->name(), "Ann") << "the source's author comes before the planet's";
    EXPECT_EQ(feed->title(), "Planet Example");
}

TEST_F(AtomReader, EnclosureLinksMediaElementsAndContentGiveAttachmentsPicturesAndText)
{
    feed->setLink(QUrl("http://example.org/blog/"));
    ASSERT_TRUE(read(
        feed, "<entry><id>ep</id><link rel=\"alternate\" href=\"http://casts.example/ep1\"/>"
              "<link rel=\"enclosure\" type=\"audio/mpeg\" length=\"4096\" "
              "href=\"http://cdn.example/ep1.mp3?token=a&amp;b=c\"/></entry>"
              "<entry xmlns:media=\"http://search.yahoo.com/mrss/\"><id>yt:video:1</id><title>Video</title>"
              "<link rel=\"alternate\" href=\"https://video.example/watch?v=1\"/>"
              "<media:group><media:title>Video</media:title>"
              "<media:content url=\"https://video.example/v/1\" type=\"application/x-shockwave-flash\"/>"
              "<media:thumbnail url=\"https://i.video.example/1/hq.jpg\" width=\"480\"/>"
              "<media:description>What the video shows</media:description></media:group></entry>"
              "<entry><id>p</id><content type=\"html\">&lt;img src='/i/x.png'&gt;</content></entry>"));
    ASSERT_EQ(feed->childCount(), 3);
    const auto audio = articleAt(feed, 0)->enclosure();
    ASSERT_TRUE(audio);
    EXPECT_EQ(audio->link(), QUrl("http://cdn.example/ep1.mp3?token=a&b=c"));
    EXPECT_EQ(audio->title(), "ep1.mp3");
    EXPECT_EQ(audio->size(), 4096u);
    EXPECT_EQ(audio->mimeType(), "audio/mpeg");

    const ArticlePtr video = articleAt(feed, 1);
    EXPECT_FALSE(video->enclosure()) << "a player is no media file";
    EXPECT_EQ(video->summary(), "What the video shows");
    EXPECT_EQ(video->imageURL(), QUrl("https://i.video.example/1/hq.jpg"));
    EXPECT_EQ(articleAt(feed, 2)->imageURL(), QUrl("http://example.org/i/x.png"))
        << "a picture in the content";
    for (int i : {1, 2}) {
        EXPECT_TRUE(ImagingService::sharedImagingService().queue().contains(articleAt(feed, i)));
        ImagingService::sharedImagingService().removeFromQueue(articleAt(feed, i));
    }
}

TEST_F(AtomReader, ADocumentThatIsNotQuiteXmlIsMendedAndRecoveredFrom)
{
    // As WordPress serves it when a plugin prints a blank line first, with HTML's entities in it.
    ASSERT_TRUE(read(feed,
                     "\n\n<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                     "<feed xmlns=\"http://www.w3.org/2005/Atom\"><title>Caf&eacute;&nbsp;Bar</title>"
                     "<entry><id>1</id><title>Fish &amp; chips &trade; &bull; R&D &foo; &#8217;</title>"
                     "<link href=\"http://example.org/?a=1&b=2&amp;c=&lt;3&gt;\"/></entry>"
                     "<entry><id>2</id><summary>1 < 2</summary><title>After &amp; &lt;it&gt;</title></entry>"
                     "<entry><id>3</id><title>Unclosed",
                     false));
    EXPECT_FALSE(error.isEmpty()) << "what was recovered from is still reported";
    EXPECT_EQ(feed->title(), u"Caf\u00E9\u00A0Bar");
    ASSERT_EQ(feed->childCount(), 2);
    EXPECT_EQ(articleAt(feed, 0)->title(), u"Fish & chips \u2122 \u2022 R&D &foo; \u2019");
    EXPECT_EQ(articleAt(feed, 0)->link(), QUrl("http://example.org/?a=1&b=2&c=<3>"));
    EXPECT_EQ(articleAt(feed, 1)->title(), "After & <it>") << "XML's own entities survive the recovery";

    auto unnamed = std::make_shared<Feed>();
    ASSERT_TRUE(read(unnamed, "<feed><entry><id>x</id><title>No namespace</title></entry></feed>", false));
    ASSERT_EQ(unnamed->childCount(), 1);
    EXPECT_EQ(articleAt(unnamed, 0)->title(), "No namespace");

    auto latin1 = std::make_shared<Feed>();
    ASSERT_TRUE(read(
        latin1, "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><feed><title>Caf\xe9</title></feed>", false));
    EXPECT_EQ(latin1->title(), "Café") << "the document's own declaration is honoured";

    auto prefixed = std::make_shared<Feed>();
    ASSERT_TRUE(read(prefixed,
                     "<atom:feed xmlns:atom=\"http://www.w3.org/2005/Atom\"><atom:title>T</atom:title>"
                     "<atom:entry><atom:id>1</atom:id></atom:entry></atom:feed>",
                     false));
    EXPECT_EQ(prefixed->childCount(), 0) << "prefixed element names are not recognised";
    EXPECT_TRUE(prefixed->title().isEmpty());
}

TEST_F(AtomReader, DeclaredEntitiesAreNeverExpandedSoABillionLaughsIsRefused)
{
    QByteArray laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE feed [\n<!ENTITY lol0 \"lol\">\n";
    for (int level = 1; level <= 9; ++level)
        laughs += "<!ENTITY lol" + QByteArray::number(level) + " \"" +
                  QByteArray("&lol" + QByteArray::number(level - 1) + ";").repeated(10) + "\">\n";
    laughs += "]>\n<feed xmlns=\"http://www.w3.org/2005/Atom\"><entry><id>1</id></entry>";
    EXPECT_FALSE(read(feed, laughs + "<entry><title>&lol9;</title></entry></feed>", false));
    EXPECT_TRUE(error.contains("lol9")) << error.toStdString();
    EXPECT_EQ(feed->childCount(), 0);
    EXPECT_FALSE(read(feed, laughs + "<entry><link href=\"&lol9;\"/></entry></feed>", false));
    EXPECT_EQ(feed->childCount(), 0);

    ASSERT_TRUE(read(feed, laughs + "</feed>", false)) << "declaring is not refused, only referring";
    EXPECT_EQ(feed->childCount(), 1);
}

#include "reading/QBParser.h"

#include "LogCapture.h"
#include "model/Article.h"
#include "model/Feed.h"

#include <QDateTime>
#include <QStringEncoder>
#include <gtest/gtest.h>

namespace {

class ParserFront : public ::testing::Test
{
protected:
    void SetUp() override
    {
        library.load();
        feed = std::make_shared<Feed>();
    }

    void process(const QByteArray &bytes, const QString &storedEncoding)
    {
        QBParser front(library);
        front.setFeed(feed);
        front.setEncoding(storedEncoding);
        front.processData(bytes);
        format = front.syndicationFormat();
    }

    QString firstTitle() const
    {
        return feed->childCount() ? std::dynamic_pointer_cast<Article>(feed->children().first())->title()
                                  : QString();
    }

    FeedLibrary library;
    FeedPtr feed;
    int format = 0;
};

const QByteArray rssBody = "<rss version=\"2.0\"><channel><title>Caf\xc3\xa9</title>"
                           "<item><title>Cr\xc3\xa8me</title><guid>g1</guid></item></channel></rss>\n";

} // namespace

TEST_F(ParserFront, TheTextIsDecodedByMarkDeclarationStoredSetOrContentAndAFewBadBytesBecomeReplacements)
{
    const QByteArray declared = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    const QString cafe = QString::fromUtf8("Caf\xc3\xa9");
    QStringEncoder utf16(QStringEncoder::Utf16LE);
    // Bytes, the encoding stored with the feed, the encoding it has afterwards (null: any) and its title.
    const QList<std::tuple<QByteArray, QString, QString, QString>> rows = {
        {rssBody, QString(), "utf-8", cafe},
        {"<rss><channel><title>\x93"
         "Caf\xe9\x94</title></channel></rss>",
         QString(), "iso-8859-1",
         QString::fromUtf16(
             u"\u201CCaf\u00E9\u201D")}, // with the quotes Windows puts in Latin-1's control range
        {"<?xml version='1.0' encoding = 'utf-8'?>" + rssBody, "iso-8859-1", "utf-8", cafe},
        {"\xef\xbb\xbf" + declared + rssBody, "iso-8859-1", QString(), cafe},
        {"\n\n  \r\n" + declared + rssBody, "iso-8859-1", QString(), cafe},
        {"\xff\xfe" + QByteArray(utf16(QString::fromUtf8(rssBody))), "iso-8859-1", QString(), cafe},
        // Bytes invalid in the stored set fall back to UTF-8 without reading the declaration.
        {"<?xml version=\"1.0\" encoding=\"windows-1252\"?>" + rssBody, "us-ascii", Feed().encoding(), cafe},
        {declared + "<rss version=\"2.0\"><channel><title>Caf\xe9</title><item><title>Cr\xc3\xa8me \x93"
                    "br\xfbl\xe9"
                    "e\x94</title><guid>g1</guid></item></channel></rss>\n",
         QString(), "UTF-8", QString::fromUtf16(u"Caf\uFFFD")}};
    for (const auto &[bytes, stored, encoding, title] : rows) {
        SCOPED_TRACE(bytes.left(60).toStdString());
        feed = std::make_shared<Feed>();
        process(bytes, stored);
        EXPECT_EQ(feed->title(), title);
        EXPECT_TRUE(encoding.isNull() || feed->encoding() == encoding) << feed->encoding().toStdString();
        EXPECT_EQ(format, QBParser::RSSFormat);
    }
    EXPECT_EQ(firstTitle(), u"Cr\u00E8me \uFFFDbr\uFFFDl\uFFFDe\uFFFD");
}

TEST_F(ParserFront, AnUnknownDeclaredEncodingAddsNothingAndTheRSSReaderSaysSo)
{
    LogCapture log;
    process("<?xml version=\"1.0\" encoding=\"x-no-such-set\"?>" + rssBody, QString());
    EXPECT_EQ(feed->childCount(), 0);
    EXPECT_TRUE(log.contains(QStringLiteral("-[QBLiberalRSSParser parse] no XML to parse, aborting.")));
    EXPECT_FALSE(feed->publicationDate().isNull());
}

TEST_F(ParserFront, FormatDetectionLooksForTheAtomNamespacesAnywhereAndLetsAChannelWin)
{
    const QString padding(120, u' ');
    EXPECT_EQ(QBParser::idenitfyFeedFormat(padding + "<feed xmlns=\"http://www.w3.org/2005/Atom\">"),
              QBParser::AtomFormat);
    EXPECT_EQ(QBParser::idenitfyFeedFormat("<feed xmlns=\"http://purl.org/atom/ns#\">"),
              QBParser::AtomFormat);
    EXPECT_EQ(QBParser::idenitfyFeedFormat(
                  "<rss xmlns:atom=\"http://www.w3.org/2005/Atom\"><channel><atom:link/></channel></rss>"),
              QBParser::RSSFormat);
    EXPECT_EQ(
        QBParser::idenitfyFeedFormat("<?xml version=\"1.0\"?><!-- <rss> --><feed><title>T</title></feed>"),
        QBParser::AtomFormat)
        << "a feed that forgets its namespace is still Atom";
    EXPECT_EQ(QBParser::idenitfyFeedFormat("<rss><channel><feed/></channel></rss>"), QBParser::RSSFormat);
    EXPECT_EQ(QBParser::idenitfyFeedFormat(QString()), QBParser::RSSFormat);
}

TEST_F(ParserFront, AnAtomDocumentReachesTheAtomReaderAndAnUndatedFeedIsDatedNow)
{
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    process("<?xml version=\"1.0\" encoding=\"utf-8\"?><feed xmlns=\"http://www.w3.org/2005/Atom\">"
            "<title>A</title><entry><id>e1</id><title>First</title></entry></feed>",
            QString());
    EXPECT_EQ(format, QBParser::AtomFormat);
    EXPECT_EQ(feed->feedType(), Feed::AtomType);
    EXPECT_EQ(firstTitle(), "First");
    EXPECT_GE(feed->publicationDate().moment(), before);
    EXPECT_EQ(feed->cachedUnreadCount(), 1);
}

TEST_F(ParserFront, NilBytesLeaveTheFeedUntouched)
{
    process(QByteArray(), QString());
    EXPECT_TRUE(feed->publicationDate().isNull());
    EXPECT_EQ(feed->encoding(), Feed().encoding());
}

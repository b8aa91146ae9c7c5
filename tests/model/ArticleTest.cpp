#include "model/Article.h"

#include "model/ArticleRow.h"
#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "model/VirtualFolder.h"

#include <gtest/gtest.h>

namespace {
const ArticleRow::Lookup noLookup = [](const QString &) { return TreeNodePtr(); };

// One insert's values by column name, and what the database gives back for them.
struct Row
{
    QVariantList values;
    QVariant operator[](const char *column) const
    {
        return values.at(ArticleRow::columnNames().indexOf(QLatin1String(column)));
    }
    ArticleRowValues stored() const
    {
        const auto text = [this](const char *column) {
            const QVariant value = (*this)[column];
            return value.isNull() ? QString() : value.toString();
        };
        return {text("uniqueID"),      text("title"),   text("link"),
                text("imageURL"),      text("guid"),    text("authors"),
                text("enclosure"),     text("source"),  text("publicationDate"),
                text("pubDateFormat"), text("summary"), text("state").toInt()};
    }
};

ArticlePtr richArticle(const std::shared_ptr<Feed> &feed)
{
    auto article = std::make_shared<Article>();
    article->setTitle("Stop \"the\" press");
    article->setLink(QUrl("https://example.org/news/1?a=b&c=d"));
    article->setGuid("tag:example.org,2006:1");
    article->setImageURL(QUrl("https://example.org/pic.jpg"));
    article->setSummary("Short.");
    article->setParent(feed);
    article->setSource(feed);
    article->setLegacyPublicationDate(
        CalendarDate(QDateTime(QDate(2006, 5, 17), QTime(14, 32), Qt::OffsetFromUTC, 7200), 7200));
    auto jane = std::make_shared<QBPerson>("Jane Doe", "Author", "jane@example.org");
    jane->setURI(QUrl("https://jane.example.org/"));
    article->setAuthors({jane, std::make_shared<QBPerson>("Ann \"Q\" O'Neil", QString(), QString())});
    auto enclosure = std::make_shared<Enclosure>();
    enclosure->setLink(QUrl("https://example.org/media/ep12.mp3"));
    enclosure->setMimeType("audio/mpeg");
    enclosure->setSize(std::numeric_limits<quint64>::max());
    enclosure->setPlayed(true);
    article->setEnclosure(enclosure);
    return article;
}
} // namespace

TEST(Article, AGuidIsEmptyAtCreationFallsBackToTheIdentifierAndDecidesEqualityAmongArticlesOnly)
{
    Article fresh;
    EXPECT_EQ(fresh.guid(), "");
    EXPECT_FALSE(fresh.guid().isNull());
    EXPECT_EQ(fresh.state(), Article::New);
    Article absent;
    absent.setGuid(QString());
    EXPECT_EQ(absent.guid(), absent.uniqueID());

    auto a = std::make_shared<Article>();
    auto b = std::make_shared<Article>();
    EXPECT_TRUE(a->isEqual(*b)) << "two empty guids are equal whatever the identifiers";
    a->setGuid("one");
    b->setGuid("two");
    EXPECT_FALSE(a->isEqual(*b));
    b->setUniqueID(a->uniqueID());
    EXPECT_TRUE(a->isEqual(*b));
    Feed feed;
    feed.setUniqueID(a->uniqueID());
    EXPECT_FALSE(a->isEqual(feed));
}

TEST(ArticleRow, AnArticleSurvivesTheRoundTripThroughARowExceptThatNewComesBackUnread)
{
    auto feed = std::make_shared<Feed>();
    auto original = richArticle(feed);
    const Row row{ArticleRow::rowValues(*original, ArticleRow::ArticlesTable, "<p>Full</p>")};
    EXPECT_EQ(row["parent"].toString(), feed->uniqueID());
    EXPECT_EQ(row["fullSummary"].toString(), "<p>Full</p>");
    EXPECT_EQ(row["publicationDate"].toString(), "2006-05-17 14:32:00 +0200");
    EXPECT_EQ(Row{ArticleRow::rowValues(*original, ArticleRow::ClippingsTable, "x")}["parent"], "")
        << "a clipping never names a parent";

    auto other = std::make_shared<Feed>();
    const ArticlePtr read = ArticleRow::articleFromRow(row.stored(), other, noLookup);
    EXPECT_EQ(read->uniqueID(), original->uniqueID());
    EXPECT_EQ(read->title(), original->title());
    EXPECT_EQ(read->link(), original->link());
    EXPECT_EQ(read->imageURL(), original->imageURL());
    EXPECT_EQ(read->guid(), original->guid());
    EXPECT_EQ(read->summary(), "Short.");
    EXPECT_EQ(read->state(), Article::Unread);
    EXPECT_EQ(read->legacyPublicationDate(), original->legacyPublicationDate());
    EXPECT_EQ(read->parent(), other);
    EXPECT_EQ(read->source(), other);
    ASSERT_EQ(read->authors().size(), 2);
    EXPECT_EQ(read->authors().at(0)->URI(), QUrl("https://jane.example.org/"));
    EXPECT_EQ(read->authors().at(1)->name(), "Ann \"Q\" O'Neil");
    EXPECT_TRUE(read->authors().at(1)->title().isNull());
    ASSERT_TRUE(read->enclosure());
    EXPECT_EQ(read->enclosure()->title(), "ep12.mp3");
    EXPECT_EQ(read->enclosure()->mimeType(), "audio/mpeg");
    EXPECT_EQ(read->enclosure()->size(), std::numeric_limits<quint64>::max());
    EXPECT_TRUE(read->enclosure()->played());

    // An article with nothing set stores empty texts where the columns are looked up, NULL elsewhere.
    Article bare;
    const Row plain{ArticleRow::rowValues(bare, ArticleRow::ArticlesTable, QString())};
    for (const char *column : {"guid", "pubDateFormat", "publicationDate", "enclosure"}) {
        EXPECT_FALSE(plain[column].isNull()) << column;
        EXPECT_EQ(plain[column].toString(), "") << column;
    }
    EXPECT_TRUE(plain["fullSummary"].isNull());
}

TEST(ArticleRow, OddColumnsReadBackAsNothing)
{
    ArticleRowValues row;
    row.uniqueID = "U";
    row.imageURL = "x";
    row.authors = "()";
    row.enclosure = "";
    row.publicationDate = "17 May 2006";
    row.pubDateFormat = CalendarDate::defaultFormat();
    const ArticlePtr read = ArticleRow::articleFromRow(row, nullptr, noLookup);
    EXPECT_TRUE(read->imageURL().isEmpty()) << "a one-character image URL is no image";
    EXPECT_EQ(read->guid(), "U") << "a NULL guid falls back to the identifier";
    EXPECT_TRUE(read->authors().isEmpty());
    EXPECT_FALSE(read->enclosure());
    EXPECT_TRUE(read->legacyPublicationDate().isNull()) << "text that does not match its format is no date";
    EXPECT_EQ(read->state(), Article::Read);
    EXPECT_EQ(read->parent(), nullptr);
    row.uniqueID = QString();
    EXPECT_EQ(ArticleRow::articleFromRow(row, nullptr, noLookup)->uniqueID().size(), 36);

    // A stored link names the enclosure whatever title was stored.
    const auto enclosure = Enclosure::initWithDictionary(
        {{"title", "Episode"}, {"link", "http://example.com/casts/ep12.mp3"}, {"size", "1.5e6"}});
    EXPECT_EQ(enclosure->title(), "ep12.mp3");
    EXPECT_EQ(enclosure->size(), 1500000u);
    // Podcast hosts add a query for their statistics; the file is still named by its path.
    enclosure->setLink(QUrl("https://cdn.example/casts/ep%2013.mp3?src=rss&t=1#start"));
    EXPECT_EQ(enclosure->title(), "ep 13.mp3");
    enclosure->setLink(QUrl("https://cdn.example/casts/ep14/"));
    EXPECT_EQ(enclosure->title(), "ep14");
    enclosure->setLink(QUrl("https://host.example/play/2/https%3A%2F%2Fcdn.example%2Fep15.m4a"));
    EXPECT_EQ(enclosure->title(), "ep15.m4a");
    EXPECT_EQ(Enclosure().archiveToDictionary(),
              QVariantMap({{"size", quint64(0)}, {"mediaType", 0}, {"played", 0}}));
}

TEST(ArticleRow, AClippingRowFindsItsSourceFeedInTheLibrary)
{
    auto root = std::make_shared<Folder>();
    root->setUniqueID("root");
    auto feed = std::make_shared<Feed>();
    feed->setParent(root);
    root->addChild(feed);
    FeedLibrary::feedLibrary().setRoot(root);
    const auto lookup = [](const QString &id) { return FeedLibrary::feedLibrary().itemWithUniqueID(id); };

    ArticleRowValues row;
    row.uniqueID = "clip";
    row.source = feed->uniqueID();
    const ArticlePtr clipped = ArticleRow::articleFromRow(row, nullptr, lookup);
    EXPECT_EQ(clipped->source(), feed);
    EXPECT_EQ(clipped->parent(), nullptr);
    row.source = "deleted-feed";
    EXPECT_EQ(ArticleRow::articleFromRow(row, nullptr, lookup)->source(), nullptr);

    auto pending = std::make_shared<Article>();
    pending->setTempSource(feed->uniqueID());
    EXPECT_EQ(pending->source(), feed) << "a pending source identifier resolves on first use";
    FeedLibrary::feedLibrary().setRoot(nullptr);
}

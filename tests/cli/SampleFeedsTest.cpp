#include "CliRun.h"

#include <QJsonArray>
#include <gtest/gtest.h>

namespace {

QString sampleFeed(const QString &name)
{
    return QStringLiteral(QB_TEST_DATA "/../../docs/sample-feeds/") + name;
}

QJsonObject parsed(const QString &name)
{
    const CliRun run({"parse", sampleFeed(name)});
    EXPECT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
    return run.json();
}

QJsonObject article(const QJsonObject &feed, int index)
{
    return feed["articles"].toArray().at(index).toObject();
}

} // namespace

// The screenshots are taken of a library built from these feeds, so each must read whole, with the
// pictures that the picture tiles need served from the screenshot script's own loopback server.
TEST(SampleFeeds, ReadWholeWithTheirPicturesAuthorsAndEnclosures)
{
    const QJsonObject harbour = parsed("harbour-light.xml");
    EXPECT_EQ(harbour["title"].toString(), "Harbour Light Journal");
    EXPECT_EQ(harbour["feedType"].toInt(), 2);
    ASSERT_EQ(harbour["articles"].toArray().size(), 4);
    EXPECT_EQ(article(harbour, 0)["imageURL"].toString(), "http://127.0.0.1:8765/images/scene-4.jpg");
    EXPECT_EQ(article(harbour, 3)["imageURL"].toString(), "http://127.0.0.1:8765/images/scene-5.jpg");
    EXPECT_EQ(article(harbour, 1)["authors"].toArray().at(0).toObject()["name"].toString(), "Owen Pardell");

    const QJsonObject garden = parsed("patient-gardener.xml");
    EXPECT_EQ(garden["feedType"].toInt(), 1);
    ASSERT_EQ(garden["articles"].toArray().size(), 3);
    EXPECT_EQ(article(garden, 0)["title"].toString(), "Planting garlic before the first hard frost");
    EXPECT_TRUE(article(garden, 0)["fullSummary"].toString().contains("<blockquote>"));
    EXPECT_EQ(article(garden, 0)["imageURL"].toString(), "http://127.0.0.1:8765/images/scene-2.jpg");

    const QJsonObject kitchen = parsed("small-kitchen.xml");
    ASSERT_EQ(kitchen["articles"].toArray().size(), 3);
    const QJsonObject episode = article(kitchen, 0)["enclosure"].toObject();
    EXPECT_EQ(episode["mimeType"].toString(), "audio/mpeg");
    EXPECT_EQ(episode["size"].toInteger(), 29779968);
    EXPECT_TRUE(article(kitchen, 1)["enclosure"].toObject()["url"].toString().isEmpty());

    const QJsonObject sky = parsed("night-sky.xml");
    ASSERT_EQ(sky["articles"].toArray().size(), 2);
    EXPECT_EQ(article(sky, 0)["authors"].toArray().at(0).toObject()["email"].toString(),
              "rafe@night-sky.example");
}

// Only one sample article may mention garlic: the screenshot script searches for it to get a page with a
// single article.
TEST(SampleFeeds, OneArticleAloneMentionsGarlicInItsTitle)
{
    int titles = 0;
    for (const QString name :
         {"harbour-light.xml", "patient-gardener.xml", "small-kitchen.xml", "night-sky.xml"}) {
        for (const QJsonValue value : parsed(name)["articles"].toArray()) {
            titles += value.toObject()["title"].toString().contains("garlic", Qt::CaseInsensitive) ? 1 : 0;
        }
    }
    EXPECT_EQ(titles, 1);
}

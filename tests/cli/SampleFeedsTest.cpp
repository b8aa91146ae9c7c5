#include "CliRun.h"

#include <QJsonArray>
#include <gtest/gtest.h>

// The screenshots are taken of a library built from these feeds, so each must read whole, with the
// pictures that the picture tiles need served from the screenshot script's own loopback server; and
// the script searches for "garlic" to get a page with a single article.
TEST(SampleFeeds, ReadWholeWithPicturesOnTheScreenshotServerAndOneArticleAloneMentionsGarlic)
{
    int garlic = 0;
    int pictures = 0;
    for (const auto &[name, count] : {std::pair("harbour-light.xml", 4), std::pair("patient-gardener.xml", 3),
                                      std::pair("small-kitchen.xml", 3), std::pair("night-sky.xml", 2)}) {
        const CliRun run({"parse", QStringLiteral(QB_TEST_DATA "/../../docs/sample-feeds/") + name});
        EXPECT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
        const QJsonArray articles = run.json()["articles"].toArray();
        EXPECT_EQ(articles.size(), count) << name;
        for (const QJsonValue value : articles) {
            const QJsonObject article = value.toObject();
            const QString picture = article["imageURL"].toString();
            EXPECT_TRUE(picture.isEmpty() || picture.startsWith("http://127.0.0.1:8765/images/")) << name;
            pictures += picture.isEmpty() ? 0 : 1;
            garlic += article["title"].toString().contains("garlic", Qt::CaseInsensitive) ? 1 : 0;
        }
    }
    EXPECT_EQ(garlic, 1);
    EXPECT_GE(pictures, 3);
}

#include "fetch/AddFeedController.h"

#include <gtest/gtest.h>

TEST(WebsiteProperties, LinkTagsGiveIconsAndFeedsByKind)
{
    const QString page = R"(<html><head>
        <LINK rel="icon" href="/favicon.png">
        <link rel="apple-touch-icon-precomposed" href="http://cdn.example/touch.png">
        <link rel='alternate' type='application/rss+xml' href='/rss.xml'>
        <link rel="alternate" type="application/atom+xml" href="feed://example.com/atom">
        <link rel="alternate" type="text/html" href="mobile.html">
        <link rel="stylesheet" href="/style.css">
        </head><body></body></html>)";
    const QMap<QString, QUrl> properties =
        AddFeedController::websitePropertiesFromHTML(page, QUrl("http://example.com"));
    EXPECT_EQ(properties.value("icon"), QUrl("http://example.com/favicon.png"));
    EXPECT_EQ(properties.value("apple-touch-icon"), QUrl("http://cdn.example/touch.png"));
    EXPECT_EQ(properties.value("rss"), QUrl("http://example.com/rss.xml"));
    EXPECT_EQ(properties.value("atom"), QUrl("feed://example.com/atom")) << "feed addresses stay as they are";
    EXPECT_EQ(properties.value("alternate"), QUrl("http://example.com/mobile.html"))
        << "the last alternate link of any type";
    EXPECT_EQ(properties.size(), 5);
}

TEST(WebsiteProperties, RelativeAddressesJoinTheBaseText)
{
    const auto resolve = [](const QString &href, const QString &base) {
        const QString page = "<link rel=\"icon\" href=\"" + href + "\">";
        return AddFeedController::websitePropertiesFromHTML(page, QUrl(base)).value("icon");
    };
    EXPECT_EQ(resolve("img/i.png", "http://example.com/blog"), QUrl("http://example.com/blog/img/i.png"));
    EXPECT_EQ(resolve("/i.png", "http://example.com/"), QUrl("http://example.com/i.png"));
    EXPECT_EQ(resolve("/i.png", "http://example.com/blog"), QUrl("http://example.com/blog/i.png"));
    EXPECT_EQ(resolve("https://other.example/i.png", "http://example.com/"),
              QUrl("https://other.example/i.png"));
}

TEST(WebsiteProperties, ALaterTagReplacesAnEarlierAndAnUnclosedTagEndsTheScan)
{
    const QString page = "<link rel=\"icon\" href=\"/first.ico\"><link rel=\"icon\" href=\"/second.ico\">"
                         "<link rel=\"apple-touch-icon\" href=\"/never.png\"";
    const QMap<QString, QUrl> properties =
        AddFeedController::websitePropertiesFromHTML(page, QUrl("http://h"));
    EXPECT_EQ(properties.value("icon"), QUrl("http://h/second.ico"));
    EXPECT_FALSE(properties.contains("apple-touch-icon"));
    EXPECT_TRUE(AddFeedController::websitePropertiesFromHTML("<p>no links</p>", QUrl("http://h")).isEmpty());
    EXPECT_TRUE(AddFeedController::websitePropertiesFromHTML("", QUrl("http://h")).isEmpty());
}

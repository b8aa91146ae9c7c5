#include "headlines/HeadlinePage.h"

#include "TestFiles.h"
#include "headlines/HeadlineFilter.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/LocalizedStrings.h"
#include "platform/Resources.h"
#include "reading/QBUtilities.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QString resourcesURL()
{
    return QUrl::fromLocalFile(Resources::folder()).toString(QUrl::FullyEncoded) + u'/';
}

CalendarDate noonOn(int year, int month, int day, int minutes = 0)
{
    return CalendarDate(QDateTime(QDate(year, month, day), QTime(12, minutes), Qt::UTC), 0);
}

// The page is shown by a view that draws a broken-image box for a missing file, so every picture a page
// names is shipped, at twice the size it is shown for sharp high-density screens; and every class it uses
// is styled, or the browser's own look shows in the middle of the page.
void expectShippedAndStyled(const QString &html)
{
    static const QString css = QString::fromUtf8(fileBytes(Resources::path("stylesheet", "css")));
    static const QRegularExpression picture("src=\"" + QRegularExpression::escape(resourcesURL()) +
                                            "/?([^\"]+)\"(?:\\s+width=\"(\\d+)\"\\s+height=\"(\\d+)\")?");
    for (auto match = picture.globalMatch(html); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QImage image(Resources::folder() + "/" + found.captured(1));
        EXPECT_FALSE(image.isNull()) << found.captured(1).toStdString();
        if (found.hasCaptured(2)) {
            EXPECT_EQ(image.size(), QSize(found.captured(2).toInt(), found.captured(3).toInt()) * 2)
                << found.captured(1).toStdString();
        }
    }
    static const QRegularExpression classes("class=[\"']([^\"']+)[\"']");
    for (auto match = classes.globalMatch(html); match.hasNext();) {
        for (const QString &name : match.next().captured(1).split(' ', Qt::SkipEmptyParts))
            EXPECT_TRUE(css.contains(QRegularExpression("\\." + name + "(?![A-Za-z0-9_-])")))
                << name.toStdString();
    }
}

class HeadlinePageTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        library.load();
        library.root()->removeChildren();
        SettingsTable::registerWith(defaults);
        page.setDisplayMode(HeadlinePage::ListMode);
    }

    FeedPtr addFeed(const QString &title)
    {
        auto feed = std::make_shared<Feed>();
        feed->setTitle(title);
        library.add(feed, library.root(), library.root()->childCount());
        return feed;
    }

    ArticlePtr addArticle(const FeedPtr &feed, const QString &title, int state = Article::Unread,
                          const CalendarDate &date = noonOn(2025, 3, 14))
    {
        auto article = std::make_shared<Article>();
        article->setTitle(title);
        article->setSummary("Summary of " + title);
        article->setLink(QUrl("http://news.example/" + QString(title).replace(' ', '-')));
        article->setState(state);
        article->setLegacyPublicationDate(date);
        article->setSource(feed);
        feed->addChild(article, feed->childCount());
        return article;
    }

    static void writeThumbnail(const FeedPtr &feed, const ArticlePtr &article)
    {
        const QString folder = FeedLibrary::articleImagePath() + '/' + feed->uniqueID();
        QDir().mkpath(folder);
        QFile file(folder + '/' + article->uniqueID() + ".jpg");
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("jpeg");
    }

    static QString thumbnailURL(const FeedPtr &feed, const ArticlePtr &article)
    {
        return QUrl::fromLocalFile(FeedLibrary::articleImagePath() + '/' + feed->uniqueID() + '/' +
                                   article->uniqueID() + ".jpg")
            .toString(QUrl::FullyEncoded);
    }

    QString render(const TreeNodeList &selection)
    {
        library.setSelectedItems(selection);
        const QString html = page.generateHTML();
        expectShippedAndStyled(html);
        return html;
    }

    QTemporaryDir settingsFolder;
    Defaults defaults{settingsFolder.filePath("QuillBay.ini")};
    FeedLibrary library;
    HeadlinePage page{library, defaults};
    const QString R = resourcesURL();
};

QString bodyOf(const QString &html)
{
    return html.sliced(html.lastIndexOf("<body"));
}

// The body's list entries (or tiles), each from just after its opening to the next opening.
QStringList entries(const QString &html, const QString &opening = "<div class=\"article\"")
{
    QStringList parts = bodyOf(html).split(opening);
    parts.removeFirst();
    return parts;
}

} // namespace

TEST_F(HeadlinePageTest, ListEntriesShowStateTitleSummaryInfoBarAndEnclosureNewestFirstWithinTheirDay)
{
    const FeedPtr feed = addFeed("Harbour Notes");
    const ArticlePtr fresh = addArticle(feed, "Ferry returns", Article::New, noonOn(2025, 3, 14, 30));
    const ArticlePtr unread = addArticle(feed, "Pier repaired", Article::Unread, noonOn(2025, 3, 14, 10));
    const ArticlePtr read = addArticle(feed, "Storm passes", Article::Read, noonOn(2025, 3, 14, 50));
    auto author = std::make_shared<QBPerson>("Ann Keeper", "", "ann@harbour.example");
    author->setURI(QUrl("http://harbour.example/ann"));
    fresh->addAuthor(author);
    auto enclosure = std::make_shared<Enclosure>();
    enclosure->setTitle("Interview");
    enclosure->setSize(2500000);
    enclosure->setMimeType("audio/mpeg");
    unread->setEnclosure(enclosure);

    const QString html = render({feed});
    EXPECT_TRUE(html.contains(QUrl::fromLocalFile(Resources::path("stylesheet", "css")).toString()));
    EXPECT_EQ(html.count("<div class=\"sortbar\">"), 1);
    EXPECT_LT(html.indexOf("14 March 2025</div>"), html.indexOf("<div class=\"articles\">"));

    const QStringList list = entries(html);
    ASSERT_EQ(list.size(), 3);
    const std::pair<ArticlePtr, QString> expected[] = {
        {read, "read.png"}, {fresh, "new.png"}, {unread, "unread.png"}};
    for (int i = 0; i < 3; ++i) {
        const auto &[article, icon] = expected[i];
        const QString &entry = list.at(i);
        const QString id = article->uniqueID();
        const CalendarDate date = article->legacyPublicationDate();
        SCOPED_TRACE(entry.toStdString());
        EXPECT_TRUE(entry.startsWith(" data-command=\"quillbay:article=" + id + "\">"));
        EXPECT_TRUE(entry.contains(R + icon + "\""));
        EXPECT_TRUE(entry.contains("quillbay:article=" + id + "\">" + article->title() + "</a>"));
        EXPECT_TRUE(entry.contains("quillbay:open=" + id + "\"><img src=\"" + R + "followlink.png\""));
        EXPECT_TRUE(entry.contains("quillbay:date=" + date.toString() + "\">" +
                                   QBUtilities::dateToFriendlyDate(date, true) + "</a>"));
        EXPECT_TRUE(entry.contains("quillbay:feed=" + feed->uniqueID() + "\">Harbour Notes</a>"));
        EXPECT_EQ(entry.contains("class=\"divider\""), i < 2) << "dividers go between entries only";
    }
    EXPECT_TRUE(list.at(1).contains("quillbay:author=Ann%20Keeper\">Ann Keeper</a>"));
    EXPECT_TRUE(list.at(1).contains("mailto:ann@harbour.example"));
    EXPECT_FALSE(html.contains("http://harbour.example/ann")) << "the mail address wins over the web address";
    for (const QString &part : {"quillbay:enclosure=" + unread->uniqueID() + "\">Interview</a>",
                                QBUtilities::longToFileSize(2500000), QString("audio/mpeg")})
        EXPECT_TRUE(list.at(2).contains(part)) << part.toStdString();
    EXPECT_EQ(html.count("class=\"enclosure\""), 1);
    EXPECT_TRUE(render({fresh}).contains("<div class=\"articleInfo\">"));

    // Turned off, only the bar goes: each entry still closes right after its summary.
    defaults.setBoolean("displayShowInfoBar", false);
    const QString bare = render({feed});
    for (const char *absent : {"articleInfo", "quillbay:date=", "quillbay:feed=", "quillbay:author="})
        EXPECT_FALSE(bare.contains(absent)) << absent;
    EXPECT_TRUE(bare.contains("Summary of Ferry returns\n</div>\n\n</div>\n"));
    EXPECT_FALSE(render({fresh}).contains("articleInfo"));

    // Opening in the browser makes titles and clicks open the web page, in tiles too.
    defaults.setBoolean("behaviorOpenInBrowser", true);
    for (const int mode : {HeadlinePage::ListMode, HeadlinePage::TileMode}) {
        page.setDisplayMode(mode);
        const QString opening = render({feed});
        EXPECT_TRUE(opening.contains("quillbay:open=" + fresh->uniqueID() + "\">Ferry returns</a>"));
        EXPECT_FALSE(opening.contains("quillbay:article="));
        EXPECT_FALSE(opening.contains("followlink.png"));
        EXPECT_EQ(opening.contains("data-command=\"quillbay:open=" + fresh->uniqueID()),
                  mode == HeadlinePage::ListMode);
    }
}

TEST_F(HeadlinePageTest, ThePagesOneScriptAndStyleAreAllowedByTheirDigestsAndNothingElseIs)
{
    const FeedPtr feed = addFeed("Harbour Notes");
    for (int i = 0; i < 3; ++i)
        addArticle(feed, QStringLiteral("Item %1").arg(i));
    const QString html = render({feed});

    const qsizetype metaAt = html.indexOf("<meta http-equiv=\"Content-Security-Policy\" content=\"");
    ASSERT_GE(metaAt, 0);
    EXPECT_LT(metaAt, html.indexOf("<script>"));
    const QString policy = html.sliced(metaAt).section('"', 3, 3);
    for (const char *directive :
         {"default-src 'none'", "form-action 'none'", "frame-src 'none'", "connect-src 'none'",
          "object-src 'none'", "base-uri 'none'", "img-src file: http: https:;"})
        EXPECT_TRUE(policy.contains(directive)) << directive;
    EXPECT_FALSE(policy.contains("unsafe-"));
    const auto digest = [](const QString &text) {
        return "'sha256-" +
               QString::fromLatin1(
                   QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256).toBase64()) +
               "'";
    };
    const QString script = html.section("<script>", 1).section("</script>", 0, 0);
    EXPECT_EQ(script, Resources::text("headlines", "js"));
    EXPECT_TRUE(policy.contains("script-src " + digest(script) + ";"));
    const QString style = html.section("<style>", 1).section("</style>", 0, 0);
    EXPECT_TRUE(policy.contains("style-src file: " + digest(style) + ";"));
    // Clicks on an entry are the script's to follow (the render command's hostile pages show that no
    // other script, style or handler gets in).
    EXPECT_EQ(html.count("data-command=\"quillbay:article="), 3);

    // The style sheet fetches nothing but the pictures beside it.
    const QString css = QString::fromUtf8(fileBytes(Resources::path("stylesheet", "css")));
    EXPECT_FALSE(
        css.contains(QRegularExpression("url\\((?![a-z-]+\\.png\\))|@import|@font-face|https?:|file:")));
    for (auto match = QRegularExpression("url\\(([a-z-]+\\.png)\\)").globalMatch(css); match.hasNext();)
        EXPECT_FALSE(QImage(Resources::folder() + "/" + match.next().captured(1)).isNull());

    const QString empty = render({});
    EXPECT_TRUE(empty.contains("style-src file:;")) << "a page without articles has no style element";
    EXPECT_FALSE(bodyOf(render({feed->children().first()})).contains("data-command"));
}

TEST_F(HeadlinePageTest, FeedTextIsSanitisedOnceAndKeptAndPicturesWaitWhileRemoteImagesAreOff)
{
    const FeedPtr feed = addFeed("Harbour <script>x()</script>Notes");
    const ArticlePtr article = addArticle(feed, "Pier <b onclick=\"x()\">open</b><style>.article{}</style>");
    article->setSummary(
        "A <img src=\"pier.jpg\" alt=\"pier\"><img src=\"https://t.example/p\" width=1 height=1>");
    article->setLink(QUrl("http://news.example/pier/today"));
    const ArticlePtr plain = addArticle(feed, "Plain");
    const QString picture = "<img src=\"http://news.example/pier/pier.jpg\" alt=\"pier\">";

    QString html = render({feed});
    EXPECT_TRUE(html.contains("\">Pier <b>open</b></a>&nbsp;"));
    EXPECT_TRUE(html.contains("<div class=\"summary\">\nA " + picture + "\n</div>"));
    EXPECT_TRUE(html.contains("\">Harbour Notes</a> &nbsp;"));
    EXPECT_FALSE(html.contains("t.example"));
    ASSERT_TRUE(article->pageText());
    EXPECT_FALSE(plain->pageText()) << "text without markup is shown as it is and nothing is kept";

    // A page built again reads what was kept; a new title is sanitised anew.
    article->setPageText(
        std::make_shared<Article::PageText>(Article::PageText{"Kept", "Kept summary", false}));
    EXPECT_TRUE(render({feed}).contains("\">Kept</a>&nbsp;"));
    article->setTitle("Pier <i>shut</i>");
    EXPECT_TRUE(render({feed}).contains("\">Pier <i>shut</i></a>&nbsp;"));

    defaults.setBoolean("displayLoadRemoteImages", false);
    html = render({feed});
    EXPECT_TRUE(html.contains("A <span class=\"heldPicture\" data-src=\"http://news.example/pier/pier.jpg\" "
                              "data-alt=\"pier\">pier</span>\n</div>"));
    EXPECT_FALSE(html.contains(picture));
    library.saveSummary("Full " + picture, article);
    EXPECT_TRUE(render({article}).contains("Full <span class=\"heldPicture\""));
}

TEST_F(HeadlinePageTest, OnlyTheFirstTwentyEntriesOfEachGroupCarryAThumbnail)
{
    const FeedPtr feed = addFeed("Harbour Notes");
    QList<ArticlePtr> articles;
    for (int i = 0; i < 25; ++i)
        articles << addArticle(feed, QStringLiteral("March %1").arg(i), Article::Unread,
                               noonOn(2025, 3, 14, 59 - i));
    for (int i = 0; i < 2; ++i)
        articles << addArticle(feed, QStringLiteral("April %1").arg(i), Article::Unread,
                               noonOn(2025, 4, 2, i));
    for (const ArticlePtr &article : articles)
        writeThumbnail(feed, article);
    const ArticlePtr bare = addArticle(feed, "No picture", Article::Unread, noonOn(2025, 4, 2, 30));

    const QString html = render({feed});
    EXPECT_EQ(html.count("class=\"thumbnail\""), 22);
    EXPECT_TRUE(html.contains("<img class=\"thumbnail\" src=\"" + thumbnailURL(feed, articles.at(19)) +
                              "\" width=\"140\" height=\"140\"/>"));
    EXPECT_FALSE(html.contains(thumbnailURL(feed, articles.at(20))));
    EXPECT_TRUE(html.contains(thumbnailURL(feed, articles.at(26))));

    // Without summaries no thumbnail is shown in the list.
    defaults.setBoolean("displayShowArticleSummaries", false);
    const QString plain = render({feed});
    EXPECT_EQ(plain.count("class=\"thumbnail\""), 0);
    EXPECT_FALSE(plain.contains("class=\"summary\""));
}

TEST_F(HeadlinePageTest, TilesShowThePictureWithAStatusIconOrElseTheTitleAsTextAndNothingMore)
{
    page.setDisplayMode(HeadlinePage::TileMode);
    const FeedPtr feed = addFeed("Harbour Notes");
    const ArticlePtr pictured = addArticle(feed, "Ferry returns", Article::New);
    const ArticlePtr bare = addArticle(feed, "Pier repaired", Article::Read);
    writeThumbnail(feed, pictured);
    writeThumbnail(feed, addArticle(feed, "Buoy lit", Article::Unread, noonOn(2025, 3, 13)));

    const QString html = render({feed});
    EXPECT_TRUE(html.contains("<body class=\"tilePage\">"));
    const QStringList tiles = entries(html, "<div class='newsItem");
    ASSERT_EQ(tiles.size(), 5);
    EXPECT_TRUE(tiles.at(4).contains("tileUnread'>\n<img src=\"" + R + "qb-unread.png\""));
    EXPECT_TRUE(tiles.at(0).contains("<h1>14</h1><h3>March<br>Friday</h3>"));
    EXPECT_TRUE(tiles.at(1).contains("tileNew'>\n<img src=\"" + R + "qb-new-unread.png\""));
    EXPECT_TRUE(tiles.at(1).contains("quillbay:open=" + pictured->uniqueID() + "\"><img src=\"" + R +
                                     "qb-followlink.png\""));
    EXPECT_TRUE(tiles.at(1).contains("quillbay:article=" + pictured->uniqueID() + "\"><img src=\"" +
                                     thumbnailURL(feed, pictured) + "\" alt=\"Ferry returns\""));
    EXPECT_TRUE(tiles.at(2).contains("tileRead'>\n<div class=\"textOnlyCell\">"));
    EXPECT_TRUE(tiles.at(2).contains("quillbay:article=" + bare->uniqueID() + "\">Pier repaired</a>"));
    EXPECT_FALSE(tiles.at(2).contains("statusIconPM")) << "a text tile shows no status icon";
    for (const char *absent : {"class=\"summary\"", "articleInfo", "divider", "data-command"})
        EXPECT_FALSE(bodyOf(html).contains(absent)) << absent;
}

TEST_F(HeadlinePageTest, ASingleArticleShowsItsFullSanitisedSummaryOnALightPageInEitherMode)
{
    const FeedPtr feed = addFeed("Harbour Notes");
    const ArticlePtr article = addArticle(feed, "Ferry returns", Article::Read);
    library.saveSummary("<div class=\"lead\" style=\"x\">Full <b>text</b><IMG SRC=\"f.jpg\" WIDTH=\"900\" "
                        "alt=\"ferry\"></div>",
                        article);
    writeThumbnail(feed, article);

    for (const int mode : {HeadlinePage::ListMode, HeadlinePage::TileMode}) {
        page.setDisplayMode(mode);
        defaults.setBoolean("displayShowArticleSummaries", false);
        page.setFilterMethod(11); // unread only: a single article is never filtered
        const QString html = render({article});
        EXPECT_FALSE(html.contains("tilePage"));
        EXPECT_TRUE(html.contains("<div class=\"sortbar\">"));
        EXPECT_TRUE(html.contains("<div class=\"singlearticleTitle\">\n<img src=\"" + R + "read.png\""));
        EXPECT_TRUE(html.contains("quillbay:open=" + article->uniqueID() + "\">Ferry returns</a>"));
        EXPECT_TRUE(html.contains("<div>Full <b>text</b><img src=\"http://news.example/f.jpg\" alt=\"ferry\" "
                                  "width=\"900\"></div>"));
        EXPECT_FALSE(html.contains("class=\"thumbnail\""));
        EXPECT_FALSE(html.contains("followlink.png\" width=\"16\" height=\"16\" class=\"statusIcon\""));
    }
}

TEST_F(HeadlinePageTest, APhotoSiteArticleGetsTheDarkPhotoPageWithItsLargePicture)
{
    const FeedPtr feed = addFeed("Photos");
    const ArticlePtr photo = addArticle(feed, "Dusk");
    photo->setLink(QUrl("http://www.flickr.com/photos/someone/123"));
    library.saveSummary("<p>By someone</p><img src=\"http://farm.example/1234_abcd_m.jpg\" width=\"240\" "
                        "height=\"180\" alt=\"Dusk\" /><p>more</p>",
                        photo);
    const QString html = render({photo});
    for (const char *part : {"<body class=\"photoPage\">", "sortBarPhotoMode", "/photomode.png\"",
                             "<div class=\"singleArticlePhotoMode\">"})
        EXPECT_TRUE(html.contains(part)) << part;
    EXPECT_TRUE(html.contains(
        "<p>By someone</p><img src=\"http://farm.example/1234_abcd_z.jpg\" alt=\"Dusk\"><p>more</p>"));

    // 500px pages already show the large picture; their summary keeps it, sizes included.
    photo->setLink(QUrl("http://500px.com/photo/99"));
    EXPECT_TRUE(render({photo}).contains("1234_abcd_m.jpg\" alt=\"Dusk\" width=\"240\""));

    addArticle(feed, "Second");
    EXPECT_FALSE(render({feed}).contains("photoPage")) << "two articles are never a photo page";
}

TEST_F(HeadlinePageTest, ADayIsNeverSplitAndTheCutFallsAfterTheDayThatPassesTheCap)
{
    const FeedPtr feed = addFeed("Busy");
    for (int i = 0; i < 250; ++i)
        addArticle(feed, QStringLiteral("Busy %1").arg(i), Article::Unread, noonOn(2025, 3, 14));
    const QString oneDay = render({feed});
    EXPECT_EQ(oneDay.count("<div class=\"article\" "), 250);
    EXPECT_GT(oneDay.indexOf("moreArticlesBar"), oneDay.lastIndexOf("<div class=\"article\" "))
        << "the bar ends the page";
    EXPECT_EQ(page.offset(), 1);

    // With a cap of 260 the second day passes it: the page ends there and leaves the third day out.
    page.resetOffset();
    for (int i = 0; i < 40; ++i)
        addArticle(feed, QStringLiteral("Quiet %1").arg(i), Article::Unread, noonOn(2025, 3, 10));
    addArticle(feed, "Oldest", Article::Unread, noonOn(2025, 2, 1));
    defaults.setInteger("displayArticleCap", 260);
    const QString threeDays = render({feed});
    EXPECT_EQ(threeDays.count("<div class=\"article\" "), 290);
    EXPECT_FALSE(threeDays.contains("Oldest"));
    EXPECT_EQ(page.offset(), 1);
    const QString nextPage = render({feed});
    EXPECT_EQ(nextPage.count("<div class=\"article\" "), 291);
    EXPECT_FALSE(nextPage.contains("moreArticlesBar"));
    EXPECT_EQ(page.offset(), 1);
}

TEST_F(HeadlinePageTest, GroupingByFeedCutsEachLongFeedOncePerFeedAndGroupingByStateNeverCuts)
{
    page.setSortMethod(2);
    const FeedPtr zeta = addFeed("Zeta");
    const FeedPtr alpha = addFeed("alpha");
    const FeedPtr beta = addFeed("Beta");
    for (int i = 0; i < 150; ++i) {
        addArticle(zeta, QStringLiteral("Z%1").arg(i));
        addArticle(beta, QStringLiteral("B%1").arg(i));
    }
    addArticle(alpha, "A0");
    defaults.setInteger("displayArticleCap", 0); // zero stands for 100

    const QString html = render({zeta, alpha, beta});
    EXPECT_EQ(html.count("<div class=\"article\" "), 201);
    EXPECT_TRUE(html.contains("Z99<") && !html.contains("Z100<"));
    EXPECT_EQ(html.count("href=\"quillbay:displayArticlesFromOffset\""), 2);
    EXPECT_EQ(page.offset(), 2);
    // Plain character order: capitals first.
    const qsizetype betaAt =
        html.indexOf("/feed32.png\" width=\"16\" height=\"16\" class=\"statusIcon\" /> Beta<");
    const qsizetype zetaAt = html.indexOf("/> Zeta</div>");
    const qsizetype alphaAt = html.indexOf("/> alpha</div>");
    EXPECT_GE(betaAt, 0);
    EXPECT_LT(betaAt, zetaAt);
    EXPECT_LT(zetaAt, alphaAt);

    const QString next = render({zeta, alpha, beta});
    EXPECT_EQ(next.count("<div class=\"article\" "), 301);
    EXPECT_FALSE(next.contains("moreArticlesBar"));
    EXPECT_EQ(page.offset(), 2);

    // Grouping by state never cuts and leaves out empty groups.
    page.resetOffset();
    page.setSortMethod(3);
    for (int i = 0; i < 150; ++i)
        std::static_pointer_cast<Article>(beta->children().at(i))->setState(Article::Read);
    const QString states = render({zeta, beta});
    EXPECT_EQ(states.count("<div class=\"article\" "), 300);
    EXPECT_FALSE(states.contains("moreArticlesBar"));
    EXPECT_FALSE(states.contains("New Unread Articles"));
    EXPECT_LT(
        states.indexOf("/state.png\" width=\"16\" height=\"16\" class=\"statusIcon\" /> Unread Articles<"),
        states.indexOf("> Read Articles</div>"));
    EXPECT_EQ(page.offset(), 0);
}

TEST_F(HeadlinePageTest, AnEmptySelectionGivesTheNoMatchMessageNamingTheGroupingAndFilter)
{
    const auto text = [](const char *key) { return LocalizedStrings::text(key); };
    page.setFilterMethod(10);
    for (const auto &[sort, key] : {std::pair(1, "SortArticlesByDate"), std::pair(2, "SortArticlesByFeed"),
                                    std::pair(3, "SortArticlesByState")}) {
        page.setSortMethod(sort);
        const QString html = render({});
        EXPECT_TRUE(
            html.contains("<body>\n<div class=\"alertBox\"><h2>" + text("NoArticleMatches") + "</h2>"));
        EXPECT_TRUE(html.contains(text("SortBy") + ": " + text(key) + ", " + text("Show") + ": " +
                                  text("FilterNew")));
        EXPECT_FALSE(html.contains("a:hover"));
    }
    page.setFilterMethod(4);
    EXPECT_TRUE(render({}).contains(": Unknown method</b>"));
    page.setSortMethod(9);
    EXPECT_TRUE(render({}).contains("</head><body>\n</body>")) << "an unknown grouping builds an empty body";
}

TEST_F(HeadlinePageTest, FiltersDropArticlesOrShortenGroupsButNeverFilterASingleArticle)
{
    const FeedPtr feed = addFeed("Harbour Notes");
    for (int i = 0; i < 8; ++i)
        addArticle(feed, QStringLiteral("Mar%1").arg(i), i < 3 ? Article::Read : Article::Unread,
                   noonOn(2025, 3, 14, i));
    for (int i = 0; i < 7; ++i)
        addArticle(feed, QStringLiteral("Apr%1").arg(i), Article::New, noonOn(2025, 4, 14, i));

    page.setFilterMethod(11);
    QString html = render({feed});
    EXPECT_EQ(html.count("<div class=\"article\" "), 12);
    EXPECT_FALSE(html.contains("read.png\" class"));

    page.setFilterMethod(12);
    html = render({feed});
    EXPECT_EQ(html.count("<div class=\"article\" "), 3);

    page.setFilterMethod(10);
    EXPECT_EQ(render({feed}).count("<div class=\"article\" "), 7);

    // The recent filters keep every article in the list but show at most five per day.
    page.setFilterMethod(5);
    html = render({feed});
    EXPECT_EQ(page.items().size(), 15);
    EXPECT_EQ(html.count("<div class=\"article\" "), 10);
    EXPECT_EQ(html.count("<div class=\"divider\"></div>"), 8);
}

TEST(HeadlineFilter, TodayAndThisWeekCompareDaysOfTheYearWithinTheCurrentYearOnly)
{
    const QDateTime thirdOfJanuary(QDate(2026, 1, 3), QTime(9, 0));
    const auto article = [](const QDate &day) {
        auto made = std::make_shared<Article>();
        made->setLegacyPublicationDate(CalendarDate(QDateTime(day, QTime(12, 0), Qt::UTC), 0));
        return made;
    };
    const TreeNodeList items = {article(QDate(2025, 12, 27)), article(QDate(2026, 1, 1)),
                                article(QDate(2026, 1, 3)), article(QDate(2026, 3, 1)),
                                std::make_shared<Article>()};
    const TreeNodeList week = HeadlineFilter::filterArticles(items, 2, thirdOfJanuary);
    EXPECT_EQ(week, (TreeNodeList{items.at(1), items.at(2), items.at(3)}));
    const TreeNodeList today = HeadlineFilter::filterArticles(items, 1, thirdOfJanuary);
    EXPECT_EQ(today, (TreeNodeList{items.at(2)}));
}

TEST_F(HeadlinePageTest, TheArticleLengthSliderShortensListSummariesButNeverASingleArticle)
{
    const FeedPtr feed = addFeed("Slider");
    const ArticlePtr first = addArticle(feed, "Long read");
    first->setSummary("<p>" + QString("word ").repeated(200) + "</p>");
    addArticle(feed, "Short read");

    defaults.setDouble("articleLength", 0.1);
    QString html = render({feed});
    EXPECT_TRUE(html.contains(QString("word ").repeated(11) + "word…"));

    defaults.setDouble("articleLength", 0.0);
    html = render({feed});
    EXPECT_FALSE(html.contains("word") || html.contains("Summary of Short read"));
    EXPECT_TRUE(html.contains("Short read")) << "the titles stay";

    library.saveSummary(first->summary(), first);
    EXPECT_TRUE(render({first}).contains(QString("word ").repeated(200)));
}

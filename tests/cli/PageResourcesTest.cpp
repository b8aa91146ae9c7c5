#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

QString resource(const QString &name)
{
    return QStringLiteral(QB_RESOURCE_DIR "/") + name;
}

} // namespace

// The page is shown by an HTML view that draws a broken-image box for a missing file, so every image the
// headline page names must be there, decodable, and at least as large as the page shows it.
TEST(PageResources, EveryImageOfTheHeadlinePageIsThereAndSharpAtItsShownSize)
{
    const struct
    {
        const char *name;
        int shownWidth;
        int shownHeight;
    } images[] = {
        {"new.png", 16, 16},
        {"read.png", 16, 16},
        {"unread.png", 16, 16},
        {"followlink.png", 16, 16},
        {"qb-new-unread.png", 24, 24},
        {"qb-unread.png", 24, 24},
        {"qb-followlink.png", 20, 20},
        {"feed32.png", 16, 16},
        {"Calendar16.png", 16, 16},
        {"state.png", 16, 16},
        {"photomode.png", 20, 20},
        {"dummy-image.png", 140, 140},
        {"showmorebutton.png", 149, 30},
    };
    for (const auto &image : images) {
        const QImage decoded(resource(image.name));
        ASSERT_FALSE(decoded.isNull()) << image.name;
        EXPECT_EQ(decoded.width(), 2 * image.shownWidth) << image.name;
        EXPECT_EQ(decoded.height(), 2 * image.shownHeight) << image.name;
        EXPECT_TRUE(decoded.hasAlphaChannel()) << image.name;
    }
}

// A class the style sheet forgets falls back to the browser's look in the middle of the page.
TEST(PageResources, StyleSheetStylesEveryClassThePageUsesAndReachesNothingOutside)
{
    QFile file(resource("stylesheet.css"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString css = QString::fromUtf8(file.readAll());
    const char *classes[] = {
        "articles",       "article",         "articleTitle",       "singleArticlePhotoMode",
        "statusIcon",     "statusIconPM",    "statusIconPhoto",    "thumbnail",
        "summary",        "enclosure",       "articleInfo",        "divider",
        "articleMessage", "sortbar",         "sortBarPhotoMode",   "newsItem",
        "newsItemRead",   "feedCell",        "calendarCell",       "imageCell",
        "textOnlyCell",   "textCellPadding", "followLink",         "moreArticlesBar",
        "alertBox",       "singlearticle",   "singlearticleTitle", "tileNew",
        "tileUnread",     "tileRead",        "tilePage",           "photoPage",
        "tilesEnd",       "heldPicture"};
    for (const char *name : classes) {
        const QRegularExpression selector(QStringLiteral("\\.%1(?![A-Za-z0-9_-])").arg(QLatin1String(name)));
        EXPECT_TRUE(css.contains(selector)) << name;
    }
    // Pictures beside the style sheet are the page's own; nothing else is fetched.
    EXPECT_FALSE(css.contains(
        QRegularExpression(QStringLiteral("url\\((?![a-z-]+\\.png\\))|@import|@font-face|https?:|file:"))));
}

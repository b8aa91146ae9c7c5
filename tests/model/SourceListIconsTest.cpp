#include "model/SourceListIcons.h"

#include "model/FeedLibrary.h"
#include "model/SettingsTable.h"
#include "model/SourceListImages.h"
#include "platform/Defaults.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QImage named(const char *name)
{
    return SourceListImages::imageNamed(QLatin1String(name));
}

QImage solidImage(const QColor &colour)
{
    QImage image(40, 40, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

class SourceListIconChoice : public ::testing::Test
{
protected:
    void SetUp() override
    {
        SettingsTable::registerWith(defaults);
        QDir().mkpath(FeedLibrary::iconPath());
        root->setUniqueID("root");
        feed->setCustomIconAvailable(false);
    }

    QTemporaryDir scratch;
    Defaults defaults{scratch.filePath("settings.ini")};
    SourceListIcons icons{defaults};
    std::shared_ptr<Folder> root = std::make_shared<Folder>();
    std::shared_ptr<Folder> folder = std::make_shared<Folder>();
    std::shared_ptr<Feed> feed = std::make_shared<Feed>();
    std::shared_ptr<VirtualFolder> search = std::make_shared<VirtualFolder>("Search");
    std::shared_ptr<Article> article = std::make_shared<Article>();
};

} // namespace

TEST(SourceListImages, EveryNamedPictureIsDrawnAtItsSizeAndUnknownNamesHaveNone)
{
    for (const char *name : {"library16", "search16", "folder16", "feed16", "article16"}) {
        const QImage image = named(name);
        EXPECT_EQ(image.size(), QSize(16, 16)) << name;
        EXPECT_GT(qAlpha(image.pixel(8, 8)), 0) << name << " has something drawn in its middle";
    }
    EXPECT_EQ(named("folder").size(), QSize(32, 32));
    EXPECT_EQ(named("feed").size(), QSize(32, 32));
    EXPECT_NE(named("feed16"), named("folder16"));
    EXPECT_TRUE(named("library").isNull());
    EXPECT_TRUE(named("sparkle16").isNull());

    // At 200 % the shapes are drawn again on twice the pixels, not blown up from the small picture.
    const QImage sharp = SourceListImages::imageNamed("folder16", 2.0);
    EXPECT_EQ(sharp.size(), QSize(32, 32));
    EXPECT_EQ(sharp.devicePixelRatio(), 2.0);
    EXPECT_NE(sharp.convertToFormat(QImage::Format_ARGB32),
              named("folder16").scaled(32, 32).convertToFormat(QImage::Format_ARGB32));
}

TEST_F(SourceListIconChoice, TheSmallIconsSettingPicksTheSizeOfFolderAndFeedPictures)
{
    EXPECT_EQ(icons.smallIconForItem(folder), named("folder")) << "regular size unless set";
    EXPECT_EQ(icons.smallIconForItem(feed), named("feed"));
    EXPECT_EQ(icons.smallIconForItem(search), named("search16"));
    EXPECT_EQ(icons.smallIconForItem(article), named("article16"));
    EXPECT_EQ(icons.smallIconForItem(nullptr), named("feed")) << "anything else shows as a feed";

    defaults.setBoolean("displaySmallIcons", true);
    EXPECT_EQ(icons.smallIconForItem(folder), named("folder16"));
    EXPECT_EQ(icons.smallIconForItem(feed), named("feed16"));
    EXPECT_EQ(icons.smallIconForItem(root), named("folder16")) << "the root is a row nowhere";
}

TEST_F(SourceListIconChoice, TinyIconsAlwaysUseTheSmallPicturesAndGiveTheRootItsOwn)
{
    EXPECT_EQ(icons.tinyIconForItem(root), named("library16"));
    EXPECT_EQ(icons.tinyIconForItem(folder), named("folder16"));
    EXPECT_EQ(icons.tinyIconForItem(feed), named("feed16"));
    EXPECT_EQ(icons.tinyIconForItem(search), named("search16"));
    EXPECT_EQ(icons.tinyIconForItem(article), named("article16"));
}

TEST_F(SourceListIconChoice, AFeedsOwnIconComesFromTheIconFolderAndIsKept)
{
    feed->setCustomIconAvailable(true);
    ASSERT_TRUE(solidImage(Qt::red).save(FeedLibrary::iconPath() + "/" + feed->uniqueID() + ".ico", "ICO"));
    const QImage fromIco = icons.smallIconForItem(feed);
    EXPECT_EQ(fromIco.size(), QSize(16, 16));
    EXPECT_EQ(QColor(fromIco.pixel(8, 8)), QColor(Qt::red));
    EXPECT_EQ(feed->favIcon(), fromIco) << "kept as the feed's icon";

    // The PNG wins over the ICO, once the kept icon is let go.
    ASSERT_TRUE(solidImage(Qt::blue).save(FeedLibrary::iconPath() + "/" + feed->uniqueID() + ".png"));
    EXPECT_EQ(QColor(icons.tinyIconForItem(feed).pixel(8, 8)), QColor(Qt::red));
    feed->setFavIcon(QImage());
    EXPECT_EQ(QColor(icons.tinyIconForItem(feed).pixel(8, 8)), QColor(Qt::blue));

    defaults.setBoolean("displayCustomIcons", false);
    EXPECT_EQ(icons.smallIconForItem(feed), named("feed")) << "custom icons off hides even a kept icon";
    EXPECT_EQ(icons.tinyIconForItem(feed), named("feed16"));
}

TEST_F(SourceListIconChoice, NoFileIsLookedAtWhenTheFeedHasNoIconAvailable)
{
    ASSERT_TRUE(solidImage(Qt::green).save(FeedLibrary::iconPath() + "/" + feed->uniqueID() + ".png"));
    EXPECT_EQ(icons.smallIconForItem(feed), named("feed"));
    EXPECT_TRUE(feed->favIcon().isNull());

    feed->setCustomIconAvailable(true);
    auto stranger = std::make_shared<Feed>();
    EXPECT_EQ(icons.smallIconForItem(stranger), named("feed")) << "no file of its name";
}

#include "model/SourceListIcons.h"

#include "TestFiles.h"
#include "model/FeedLibrary.h"
#include "model/SettingsTable.h"
#include "model/SourceListImages.h"
#include "platform/Defaults.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QImage named(const char *name)
{
    return SourceListImages::imageNamed(QLatin1String(name));
}

class SourceListIconChoice : public ::testing::Test
{
protected:
    void SetUp() override
    {
        SettingsTable::registerWith(defaults);
        root->setUniqueID("root");
        feed->setCustomIconAvailable(false);
    }

    QString iconFile(const char *format) const
    {
        return FeedLibrary::iconPath() + "/" + feed->uniqueID() + "." + format;
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

TEST_F(SourceListIconChoice, EachKindOfRowGetsItsPictureAtTheSizeTheSettingAndTheCallAskFor)
{
    for (const char *name : {"library16", "search16", "folder16", "feed16", "article16"}) {
        EXPECT_EQ(named(name).size(), QSize(16, 16)) << name;
        EXPECT_GT(qAlpha(named(name).pixel(8, 8)), 0) << name << " has something drawn in its middle";
    }
    EXPECT_EQ(named("feed").size(), QSize(32, 32));
    EXPECT_NE(named("feed16"), named("folder16"));
    EXPECT_TRUE(named("sparkle16").isNull());

    // At 200 % the shapes are drawn again on twice the pixels, not blown up from the small picture.
    const QImage sharp = SourceListImages::imageNamed("folder16", 2.0);
    EXPECT_EQ(sharp.size(), QSize(32, 32));
    EXPECT_EQ(sharp.devicePixelRatio(), 2.0);
    EXPECT_NE(sharp.convertToFormat(QImage::Format_ARGB32),
              named("folder16").scaled(32, 32).convertToFormat(QImage::Format_ARGB32));

    const std::tuple<TreeNodePtr, const char *, const char *, const char *> rows[] = {
        // row, regular, with small icons set, tiny
        {root, "folder", "folder16", "library16"},
        {folder, "folder", "folder16", "folder16"},
        {feed, "feed", "feed16", "feed16"},
        {search, "search16", "search16", "search16"},
        {article, "article16", "article16", "article16"},
        {nullptr, "feed", "feed16", "feed16"}};
    for (const bool small : {false, true}) {
        defaults.setBoolean("displaySmallIcons", small);
        for (const auto &[row, regular, smallSet, tiny] : rows) {
            SCOPED_TRACE(tiny);
            EXPECT_EQ(icons.smallIconForItem(row), named(small ? smallSet : regular));
            EXPECT_EQ(icons.tinyIconForItem(row), named(tiny));
        }
    }
}

TEST_F(SourceListIconChoice, AFeedsOwnIconIsReadOnlyWhenAvailablePreferringPngAndKeptUntilLetGo)
{
    writeFile(iconFile("png"), pictureBytes("PNG", Qt::green, 40));
    EXPECT_EQ(icons.smallIconForItem(feed), named("feed")) << "no file is looked at";
    EXPECT_TRUE(feed->favIcon().isNull());
    ASSERT_TRUE(QFile::remove(iconFile("png")));

    feed->setCustomIconAvailable(true);
    EXPECT_EQ(icons.smallIconForItem(std::make_shared<Feed>()), named("feed")) << "no file of its name";
    writeFile(iconFile("ico"), pictureBytes("ICO", Qt::red, 40));
    const QImage fromIco = icons.smallIconForItem(feed);
    EXPECT_EQ(fromIco.size(), QSize(16, 16));
    EXPECT_EQ(QColor(fromIco.pixel(8, 8)), QColor(Qt::red));
    EXPECT_EQ(feed->favIcon(), fromIco) << "kept as the feed's icon";

    writeFile(iconFile("png"), pictureBytes("PNG", Qt::blue, 40));
    EXPECT_EQ(QColor(icons.tinyIconForItem(feed).pixel(8, 8)), QColor(Qt::red));
    feed->setFavIcon(QImage());
    EXPECT_EQ(QColor(icons.tinyIconForItem(feed).pixel(8, 8)), QColor(Qt::blue));

    defaults.setBoolean("displayCustomIcons", false);
    EXPECT_EQ(icons.smallIconForItem(feed), named("feed")) << "custom icons off hides even a kept icon";
    EXPECT_EQ(icons.tinyIconForItem(feed), named("feed16"));
}

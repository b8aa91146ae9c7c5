#include "model/SettingsTable.h"

#include "platform/Defaults.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(SettingsTable, AFreshStoreAnswersEveryKeyWithItsDefaultAndType)
{
    const QTemporaryDir dir;
    Defaults store(dir.path() + "/QuillBay.conf");
    SettingsTable::registerWith(store);

    const QList<std::pair<QString, QVariant>> expected{
        {"sortMethod", 0},
        {"filterMethod", 0},
        {"downloadPath", QStandardPaths::writableLocation(QStandardPaths::DownloadLocation)},
        {"firstRun", true},
        {"downloadOpenBT", false},
        {"downloadOpenDocument", true},
        {"downloadOpenImage", true},
        {"downloadOpenMovie", true},
        {"downloadOpenAudio", true},
        {"downloadOpenZip", false},
        {"downloadConcurrent", 5},
        {"displayColourTheme", -1},
        {"displayCustomIcons", true},
        {"displayFontSize", 1},
        {"displayHideSummaryOfReadFeeds", false},
        {"displayShowArticleSummaries", true},
        {"displayShowInfoBar", true},
        {"displayLoadRemoteImages", true},
        {"displayStripHTML", false},
        {"displayUnreadInDockIcon", true},
        {"displayArticleCap", 100},
        {"generalRefreshInterval", 30},
        {"generalExpireAfter", 7},
        {"generalBounceDockIcon", true},
        {"generalPlaySound", true},
        {"downloadPlaySound", true},
        {"generalAlertSound", QString("New Articles")},
        {"downloadAlertSound", QString("Download Completed")},
        {"generalBlogEditor", QString()},
        {"behaviorBrowsing", true},
        {"behaviorLinkClick", true},
        {"behaviorFeedClick", true},
        {"behaviorOnQuit", false},
        {"behaviorWebOpened", true},
        {"behaviorOpenInBackground", false},
        {"behaviorOpenInBrowser", false},
    };
    for (const auto &[key, value] : expected) {
        SCOPED_TRACE(key.toStdString());
        EXPECT_EQ(store.value(key).typeId(), value.typeId());
        EXPECT_EQ(store.value(key), value);
    }
    EXPECT_EQ(SettingsTable::defaultValues().size(), expected.size());
    EXPECT_FALSE(store.value("articleLength").isValid()) << "the side bar registers its own slider value";
    EXPECT_TRUE(QDir::isAbsolutePath(store.string("downloadPath")));
    EXPECT_FALSE(store.string("downloadPath").isEmpty());
}

TEST(SettingsTable, InstallingTwiceKeepsTheFirstInstallationAndUserValuesStillWin)
{
    Defaults &shared = Defaults::standard();
    SettingsTable::install();
    shared.registerDefaults({{"displayFontSize", 3}});
    SettingsTable::install();
    EXPECT_EQ(shared.integer("displayFontSize"), 3);
    shared.registerDefaults({{"displayFontSize", 1}});

    shared.setInteger("downloadConcurrent", 2);
    EXPECT_EQ(shared.integer("downloadConcurrent"), 2);
    shared.removeObject("downloadConcurrent");
    EXPECT_EQ(shared.integer("downloadConcurrent"), 5);
}

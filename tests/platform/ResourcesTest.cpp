#include "platform/Resources.h"

#include "TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(Resources, TheEnvironmentWinsThenTheInstalledFolderThenTheBuildTree)
{
    QTemporaryDir prefix;
    const QString bin = prefix.path() + "/bin";
    const QString installed = prefix.path() + "/share/quillbay/resources";
    ASSERT_TRUE(QDir().mkpath(bin));
    EXPECT_EQ(Resources::folder(QString(), QString()), QStringLiteral(QB_RESOURCE_DIR));
    writeFile(installed, "a file named like the installed folder is passed over");
    EXPECT_EQ(Resources::folder(QString(), bin), QStringLiteral(QB_RESOURCE_DIR));

    ASSERT_TRUE(QFile::remove(installed) && QDir().mkpath(installed));
    EXPECT_EQ(Resources::folder(QString(), bin), QDir::cleanPath(installed));
    EXPECT_EQ(Resources::folder("/elsewhere/resources", bin), QStringLiteral("/elsewhere/resources"));
}

TEST(Resources, PathsAndTextComeFromTheChosenFolder)
{
    qputenv("QUILLBAY_RESOURCES", QByteArray(QB_RESOURCE_DIR));
    EXPECT_EQ(Resources::path("DefaultFeeds", "opml"), QStringLiteral(QB_RESOURCE_DIR "/DefaultFeeds.opml"));
    EXPECT_TRUE(Resources::text("DefaultFeeds", "opml").contains("<opml"));
    EXPECT_TRUE(Resources::text("NoSuchResource", "txt").isEmpty());
    qunsetenv("QUILLBAY_RESOURCES");
}

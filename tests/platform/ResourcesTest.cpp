#include "platform/Resources.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(Resources, TheEnvironmentWinsThenTheInstalledFolderThenTheBuildTree)
{
    QTemporaryDir prefix;
    ASSERT_TRUE(prefix.isValid());
    const QString bin = prefix.path() + "/bin";
    const QString installed = prefix.path() + "/share/quillbay/resources";
    ASSERT_TRUE(QDir().mkpath(bin));

    // Without an installed folder beside the program, the build tree answers.
    EXPECT_EQ(Resources::folder(QString(), bin), QStringLiteral(QB_RESOURCE_DIR));
    EXPECT_EQ(Resources::folder(QString(), QString()), QStringLiteral(QB_RESOURCE_DIR));

    ASSERT_TRUE(QDir().mkpath(installed));
    EXPECT_EQ(Resources::folder(QString(), bin), QDir::cleanPath(installed));
    EXPECT_EQ(Resources::folder("/elsewhere/resources", bin), QStringLiteral("/elsewhere/resources"));
}

TEST(Resources, AFileNamedLikeTheInstalledFolderIsPassedOver)
{
    QTemporaryDir prefix;
    ASSERT_TRUE(prefix.isValid());
    ASSERT_TRUE(QDir().mkpath(prefix.path() + "/bin"));
    ASSERT_TRUE(QDir().mkpath(prefix.path() + "/share/quillbay"));
    QFile stray(prefix.path() + "/share/quillbay/resources");
    ASSERT_TRUE(stray.open(QIODevice::WriteOnly));
    stray.close();

    EXPECT_EQ(Resources::folder(QString(), prefix.path() + "/bin"), QStringLiteral(QB_RESOURCE_DIR));
}

TEST(Resources, PathsAndTextComeFromTheChosenFolder)
{
    qputenv("QUILLBAY_RESOURCES", QByteArray(QB_RESOURCE_DIR));
    EXPECT_EQ(Resources::path("DefaultFeeds", "opml"), QStringLiteral(QB_RESOURCE_DIR "/DefaultFeeds.opml"));
    EXPECT_TRUE(Resources::text("DefaultFeeds", "opml").contains("<opml"));
    EXPECT_TRUE(Resources::text("NoSuchResource", "txt").isEmpty());
    qunsetenv("QUILLBAY_RESOURCES");
}

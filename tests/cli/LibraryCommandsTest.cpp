#include "CliRun.h"
#include "TestFiles.h"
#include "model/FeedLibrary.h"
#include "reading/OPMLImporter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QString importedTree =
    QStringLiteral("Coast/  (0 unread)\n"
                   "  Harbour Notes  <http://harbour.example/rss.xml>  (0 unread)\n"
                   "  Lights/  (0 unread)\n"
                   "    Lighthouse Log  <http://lighthouse.example/atom.xml>  (0 unread)\n"
                   "Fishing Times  <http://fish.example/feed>  (0 unread)\n");

} // namespace

TEST(ImportListAndExport, ALibraryNamedOnTheCommandLineGrowsByEachImportAndExportsAsOPMLThatImportsUnchanged)
{
    QTemporaryDir scratch;
    const QString folder = scratch.filePath("my library");
    const CliRun import({"import", CliRun::dataFile("harbour.opml"), "--library", folder});
    ASSERT_EQ(import.exitCode(), 0) << import.errorText().toStdString();
    EXPECT_EQ(import.outputText(), QStringLiteral("Imported 3 feeds into %1\n").arg(folder));
    // --library names the very folder that holds the library files.
    EXPECT_TRUE(QFileInfo::exists(folder + "/Feeds.library"));
    EXPECT_FALSE(QFileInfo::exists(qEnvironmentVariable("XDG_DATA_HOME") + "/QuillBay"));
    // A new library starts with the default subscriptions; the imported tree follows them.
    const CliRun list({"--library", folder, "list"});
    ASSERT_EQ(list.exitCode(), 0) << list.errorText().toStdString();
    EXPECT_TRUE(list.outputText().endsWith(importedTree)) << list.outputText().toStdString();

    const QString opml = scratch.filePath("Feeds.opml");
    const CliRun exported({"--library", folder, "export", opml});
    ASSERT_EQ(exported.exitCode(), 0) << exported.errorText().toStdString();
    EXPECT_EQ(exported.outputText(), QStringLiteral("Exported %1 feeds to %2\n")
                                         .arg(OPMLImporter::importFeedsFromPath(opml).feeds().size())
                                         .arg(opml));
    const QString second = scratch.filePath("second");
    ASSERT_EQ(CliRun({"--library", second, "import", opml}).exitCode(), 0);
    const QString secondList = CliRun({"--library", second, "list"}).outputText();
    EXPECT_TRUE(secondList.endsWith(list.outputText())) << secondList.toStdString();

    ASSERT_EQ(CliRun({"--library=" + folder, "import", CliRun::dataFile("harbour.opml")}).exitCode(), 0);
    const QString twice = CliRun({"list", "--library", folder}).outputText();
    EXPECT_TRUE(twice.endsWith(importedTree + importedTree)) << "the first import was saved";

    const QString unreachable = scratch.filePath("no such folder/Feeds.opml");
    const CliRun missingFolder({"--library", folder, "export", unreachable});
    EXPECT_EQ(missingFolder.exitCode(), 1);
    EXPECT_TRUE(missingFolder.errorText().contains("cannot write " + unreachable));
    const QString blocked = scratch.filePath("blocked.opml");
    ASSERT_TRUE(QDir().mkpath(blocked + "/inside"));
    EXPECT_EQ(CliRun({"--library", folder, "export", blocked}).exitCode(), 1);
    EXPECT_TRUE(QFileInfo(blocked + "/inside").isDir())
        << "a folder where the file should go is not replaced";

    // Held by another program, the library is refused to writers and still read; damaged, it is kept.
    const QString tree = folder + "/Feeds.library";
    const QByteArray saved = fileBytes(tree);
    FeedLibrary::setLibraryPath(folder);
    {
        FeedLibrary holder;
        ASSERT_TRUE(holder.lockForWriting());
        const CliRun refused({"--library", folder, "import", CliRun::dataFile("harbour.opml")});
        EXPECT_EQ(refused.exitCode(), 3);
        EXPECT_EQ(refused.errorLines(),
                  QStringList(QString("quillbay-cli: the library %1 is in use by cli_tests (process %2), so "
                                      "nothing was changed; run the command again once that program has quit")
                                  .arg(folder)
                                  .arg(QCoreApplication::applicationPid())));
        EXPECT_TRUE(CliRun({"--library", folder, "list"}).outputText().endsWith(importedTree + importedTree));
    }
    FeedLibrary::setLibraryPath({});
    EXPECT_EQ(fileBytes(tree), saved);
    writeFile(tree, "damaged");
    for (const QStringList &command :
         {QStringList{"list"}, QStringList{"import", CliRun::dataFile("harbour.opml")}}) {
        const CliRun damaged(QStringList{"--library", folder} + command);
        EXPECT_EQ(damaged.exitCode(), 1);
        const QString line = damaged.errorLines().filter(QRegularExpression("^quillbay-cli: ")).value(0);
        // The second import's start kept the first one's library as a backup.
        EXPECT_TRUE(
            line.startsWith(QString("quillbay-cli: cannot read %1: it is damaged or not a QuillBay library; "
                                    "it is kept as it is and nothing was changed; the newest readable "
                                    "backup is %1.backup-1, made ")
                                .arg(tree)))
            << line.toStdString();
        EXPECT_TRUE(
            line.endsWith(QString(": copy it over %1 to restore it, or start QuillBay to choose").arg(tree)));
    }
    EXPECT_EQ(fileBytes(tree), "damaged");
}

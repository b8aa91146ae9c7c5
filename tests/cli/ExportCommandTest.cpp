#include "CliRun.h"
#include "reading/OPMLImporter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {
QByteArray fileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

TEST(ExportCommand, ALibraryExportsAsOPMLThatImportsIntoAnotherLibraryUnchanged)
{
    QTemporaryDir scratch;
    const QString first = scratch.filePath("first");
    const QString opml = scratch.filePath("Feeds.opml");
    ASSERT_EQ(CliRun({"--library", first, "import", CliRun::dataFile("harbour.opml")}).exitCode(), 0);

    const CliRun exported({"--library", first, "export", opml});
    ASSERT_EQ(exported.exitCode(), 0) << exported.errorText().toStdString();
    const OPMLImporter importer = OPMLImporter::importFeedsFromPath(opml);
    EXPECT_EQ(exported.outputText(),
              QStringLiteral("Exported %1 feeds to %2\n").arg(importer.feeds().size()).arg(opml));
    const QString text = QString::fromUtf8(fileBytes(opml));
    EXPECT_TRUE(text.startsWith("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<opml version=\"1.1\">\n"));
    // The fixture's type "rss" is not exactly "RSS", so the import counted the feed as Atom until it is read.
    EXPECT_TRUE(text.contains("\t\t<outline text=\"Coast\" title=\"Coast\">\n"
                              "\t\t<outline text=\"Harbour Notes\" title=\"Harbour Notes\" description=\"\" "
                              "type=\"Atom\" version=\"Atom\" htmlUrl=\"http://harbour.example/\" "
                              "xmlUrl=\"http://harbour.example/rss.xml\"/>\n"))
        << text.toStdString();

    const QString second = scratch.filePath("second");
    ASSERT_EQ(CliRun({"--library", second, "import", opml}).exitCode(), 0);
    const CliRun firstList({"--library", first, "list"});
    const CliRun secondList({"--library", second, "list"});
    ASSERT_EQ(secondList.exitCode(), 0);
    // The second library starts with the default subscriptions too, then holds the first one's whole tree.
    EXPECT_TRUE(secondList.outputText().endsWith(firstList.outputText()))
        << secondList.outputText().toStdString();
}

TEST(ExportCommand, AnExportThatCannotBeWrittenFailsWithStatusOneAndLeavesTheOldFile)
{
    QTemporaryDir scratch;
    const QString library = scratch.filePath("library");
    const CliRun missingFolder(
        {"--library", library, "export", scratch.filePath("no such folder/Feeds.opml")});
    EXPECT_EQ(missingFolder.exitCode(), 1);
    EXPECT_TRUE(missingFolder.outputText().isEmpty());
    EXPECT_TRUE(
        missingFolder.errorText().contains("cannot write " + scratch.filePath("no such folder/Feeds.opml")))
        << missingFolder.errorText().toStdString();

    // A folder standing where the file should go is not replaced.
    const QString blocked = scratch.filePath("blocked.opml");
    ASSERT_TRUE(QDir().mkpath(blocked + "/inside"));
    EXPECT_EQ(CliRun({"--library", library, "export", blocked}).exitCode(), 1);
    EXPECT_TRUE(QFileInfo(blocked + "/inside").isDir());

    EXPECT_EQ(CliRun({"--library", library, "export"}).exitCode(), 2);
    EXPECT_EQ(CliRun({"--library", library, "export", "a.opml", "b.opml"}).exitCode(), 2);
    EXPECT_TRUE(CliRun({"--help"}).outputText().contains("export FILE.opml"));
}

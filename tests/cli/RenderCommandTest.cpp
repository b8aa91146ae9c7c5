#include "CliRun.h"
#include "HarbourLibrary.h"
#include "model/FeedLibrary.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QString render(QStringList arguments)
{
    arguments.prepend("render");
    arguments << "--library" << FeedLibrary::libraryPath();
    const CliRun run(arguments);
    EXPECT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
    return run.outputText();
}

} // namespace

TEST(RenderCommand, ListTilesAndSingleArticlePagesOfAFeedAFolderOrAnArticle)
{
    const HarbourIDs ids = storeHarbourLibrary();

    const QString list = render({"--feed", ids.feed});
    EXPECT_TRUE(list.startsWith("<!DOCTYPE html><html>\n<head>\n<title>QuillBay</title>\n"));
    EXPECT_TRUE(list.endsWith("</body>\n</html>\n"));
    EXPECT_TRUE(list.contains("<a href=\"quillbay:article=" + ids.spring + "\">Spring tide</a>&nbsp;"));
    EXPECT_LT(list.indexOf("16 May 2006</div>"), list.indexOf("15 May 2006</div>"));
    EXPECT_LT(list.indexOf("Spring tide"), list.indexOf("Neap tide"));
    EXPECT_TRUE(list.contains("<a href=\"quillbay:enclosure=" + ids.spring + "\">"));
    EXPECT_TRUE(list.contains("<b>Author:</b> <a href=\"quillbay:author=Ann Quay\">Ann Quay</a>"));
    EXPECT_EQ(render({"--folder", ids.folder}), list);

    const QString tiles = render({"--feed=" + ids.feed, "--mode", "tiles", "--sort", "feed"});
    EXPECT_TRUE(tiles.contains("</head>\n<body style=\"background-color: #222;\">\n"));
    EXPECT_TRUE(
        tiles.contains("<div class='newsItem'><div class='feedCell'><h1>Harbour Notes</h1></div></div>"));
    EXPECT_EQ(tiles.count("<div class='imageCell'"), 2);

    // One article: its full stored text, not the short summary, with image sizes stripped.
    const QString single = render({"--article", ids.spring, "--mode", "tiles"});
    EXPECT_TRUE(single.contains("<div class=\"singlearticle\" >"));
    EXPECT_TRUE(single.contains("the harbour master rang the bell twice"));
    EXPECT_FALSE(single.contains("Neap tide"));
    EXPECT_FALSE(single.contains("#222"));

    QTemporaryDir out;
    const QString file = out.filePath("page.html");
    EXPECT_EQ(render({"--feed", ids.feed, "--out", file}), QString());
    QFile written(file);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(written.readAll()), list);
}

TEST(RenderCommand, SelectionsBySearchStateAndFilterAndWrongArguments)
{
    const HarbourIDs ids = storeHarbourLibrary();

    const QString found = render({"--search", "neap"});
    EXPECT_TRUE(found.contains("Neap tide"));
    EXPECT_FALSE(found.contains("Spring tide"));

    const QString byState = render({"--unread", "--sort", "state"});
    EXPECT_TRUE(byState.contains("> Unread Articles</div>"));
    EXPECT_TRUE(byState.contains("Spring tide") && byState.contains("Neap tide"));

    // Both articles are unread, so the read filter leaves nothing to show.
    EXPECT_TRUE(render({"--feed", ids.feed, "--filter", "12"}).contains("<div class=\"alertBox\">"));
    // Articles of 2006 are never today's.
    EXPECT_TRUE(render({"--today"}).contains("<div class=\"alertBox\">"));

    const QString library = FeedLibrary::libraryPath();
    EXPECT_EQ(CliRun({"render", "--mode", "grid", "--library", library}).exitCode(), 2);
    EXPECT_EQ(CliRun({"render", "--sort", "title", "--library", library}).exitCode(), 2);
    EXPECT_EQ(CliRun({"render", "--filter", "many", "--library", library}).exitCode(), 2);
    EXPECT_EQ(CliRun({"render", "--feed", ids.feed, "--unread", "--library", library}).exitCode(), 2);
    EXPECT_EQ(CliRun({"render", "--library", library, "--feed"}).exitCode(), 2);
    const CliRun unknown({"render", "--feed", ids.spring, "--library", library});
    EXPECT_EQ(unknown.exitCode(), 1);
    EXPECT_TRUE(unknown.errorText().contains("no feed with identifier " + ids.spring));
    EXPECT_TRUE(unknown.outputText().isEmpty());
}

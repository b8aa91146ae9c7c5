#include "CliRun.h"
#include "HarbourLibrary.h"
#include "model/FeedLibrary.h"

#include <QFile>
#include <QRegularExpression>
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
    EXPECT_TRUE(list.contains("<b>Author:</b> <a href=\"quillbay:author=Ann%20Quay\">Ann Quay</a>"));
    EXPECT_EQ(render({"--folder", ids.folder}), list);

    const QString tiles = render({"--feed=" + ids.feed, "--mode", "tiles", "--sort", "feed"});
    EXPECT_TRUE(tiles.contains("</head>\n<body class=\"tilePage\">\n"));
    EXPECT_TRUE(
        tiles.contains("<div class='newsItem'><div class='feedCell'><h1>Harbour Notes</h1></div></div>"));
    EXPECT_EQ(tiles.count("<div class='imageCell tileUnread'"), 2);

    // One article: its full stored text, not the short summary.
    const QString single = render({"--article", ids.spring, "--mode", "tiles"});
    EXPECT_TRUE(single.contains("<div class=\"singlearticle\" >"));
    EXPECT_TRUE(single.contains("the harbour master rang the bell twice"));
    EXPECT_FALSE(single.contains("Neap tide"));
    EXPECT_FALSE(single.contains("tilePage"));

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

// Every trick of the hostile fixture, in every kind of page: nothing that styles, positions, runs, frames,
// submits or leaves for a refused address survives; the page's own script and style element are the only
// ones, and the relative picture loads from the article's site.
TEST(RenderCommand, AHostileFeedReachesListTileAndSingleArticlePagesWithNoneOfItsTricks)
{
    const QStringList ids = storeFeedFromFixture("hostile-rss.xml");
    ASSERT_EQ(ids.size(), 3);
    const QString resources = QUrl::fromLocalFile(QStringLiteral(QB_RESOURCE_DIR)).toString();
    const QRegularExpression handler("<[^>]*\\son[a-z]+\\s*=", QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression address("\\s(?:href|src|srcset|data-src|poster)=\"([^\"]*)\"");
    const QStringList pages{render({"--feed", ids.at(0)}), render({"--feed", ids.at(0), "--mode", "tiles"}),
                            render({"--article", ids.at(1)}), render({"--article", ids.at(2)})};
    for (const QString &page : pages) {
            printf("%s\n", qPrintable(page));
        SCOPED_TRACE(page.toStdString());
        EXPECT_FALSE(page.contains(handler));
        EXPECT_EQ(page.count("<script"), 1);
        EXPECT_EQ(page.count("<style"), 1);
        EXPECT_EQ(page.count("<meta"), 2) << "the character set and the page's own policy";
        EXPECT_FALSE(page.contains("style=")) << "the page allows no inline style, its own neither";
        for (const char *trick : {"<iframe", "<frame", "<form", "<input", "<button", "<base", "<object",
                                  "<embed", "<svg", "<template", "<noscript", "display:none", "position",
                                  "z-index", "elsewhere.example", "track.example", "unsafe-"})
            EXPECT_FALSE(page.contains(trick, Qt::CaseInsensitive)) << trick;
        for (auto match = address.globalMatch(page); match.hasNext();) {
            const QString value = match.next().captured(1);
            EXPECT_TRUE(value.startsWith("quillbay:") || value.startsWith("https://") ||
                        value.startsWith("http://") || value.startsWith("mailto:") ||
                        value.startsWith(resources))
                << value.toStdString();
            EXPECT_NE(value, "quillbay:open=quay-1") << "a command link written by the feed";
            EXPECT_FALSE(value.startsWith("mailto:") && value.contains("attach")) << value.toStdString();
        }
    }
    EXPECT_TRUE(pages.at(0).contains(">x</a>")) << "what is left of the overlay title is its text";
    EXPECT_TRUE(pages.at(2).contains("<img src=\"https://pictures.example/ok.jpg\" alt=\"kept picture\">"));
    EXPECT_TRUE(pages.at(2).contains("<a href=\"mailto:ann@quay.example?subject=Hi\">mail Ann</a>"));
    EXPECT_TRUE(pages.at(3).contains("<img src=\"http://quay.example/2006/pier/pier.jpg\" alt=\"The pier\""));
}

#include "CliRun.h"
#include "TestFiles.h"
#include "model/FeedLibrary.h"
#include "reading/QBParser.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct StoredFeed
{
    QString folder;
    QString feed;
    QStringList articles; // in the feed's order
};

// Reads a fixture of tests/data/cli into a new feed at the top of the saved library, or inside a new
// folder at its end when one is named. The harbour fixture gives "Harbour Notes", holding "Spring tide"
// and "Neap tide", both unread.
StoredFeed storeFeedFromFixture(const QString &fixture, const QString &folderTitle = {})
{
    FeedLibrary library;
    library.load();
    StoredFeed stored;
    TreeNodePtr into = library.root();
    if (!folderTitle.isEmpty()) {
        auto folder = std::make_shared<Folder>();
        folder->setTitle(folderTitle);
        library.add(folder, library.root(), library.root()->childCount());
        stored.folder = folder->uniqueID();
        into = folder;
    }
    auto feed = std::make_shared<Feed>();
    feed->setFeed(QUrl("http://harbour.example/rss.xml"));
    library.add(feed, into, 0);
    QBParser parser(library);
    parser.setFeed(feed);
    parser.setEncoding(feed->encoding());
    parser.processData(fileBytes(CliRun::dataFile(fixture)));
    library.save();
    stored.feed = feed->uniqueID();
    for (const TreeNodePtr &child : feed->children())
        stored.articles << child->uniqueID();
    return stored;
}

QString render(QStringList arguments)
{
    arguments.prepend("render");
    arguments << "--library" << FeedLibrary::libraryPath();
    const CliRun run(arguments);
    EXPECT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
    return run.outputText();
}

} // namespace

// What each page holds is the headline page's own business; here, which page each choice asks for.
TEST(RenderAndSearchCommands, EachRenderChoiceReachesThePageWrongOnesEndWithTwoAndSearchFindsTitleOrText)
{
    const StoredFeed ids = storeFeedFromFixture("harbour-rss.xml", "Coast");
    const QString spring = ids.articles.value(0);
    const QString list = render({"--feed", ids.feed});
    EXPECT_TRUE(list.contains("<a href=\"quillbay:article=" + spring + "\">Spring tide</a>"));
    EXPECT_EQ(render({"--folder", ids.folder}), list);
    QTemporaryDir out;
    EXPECT_EQ(render({"--feed", ids.feed, "--out", out.filePath("page.html")}), QString());
    EXPECT_EQ(QString::fromUtf8(fileBytes(out.filePath("page.html"))), list);

    const QString tiles = render({"--feed=" + ids.feed, "--mode", "tiles", "--sort", "feed"});
    EXPECT_TRUE(tiles.contains("<div class='feedCell'><h1>Harbour Notes</h1>"));
    // One article: its full stored text, not the short summary.
    const QString single = render({"--article", spring, "--mode", "tiles"});
    EXPECT_TRUE(single.contains("the harbour master rang the bell twice"));
    EXPECT_FALSE(single.contains("Neap tide") || single.contains("tilePage"));
    const QString found = render({"--search", "neap"});
    EXPECT_TRUE(found.contains("Neap tide") && !found.contains("Spring tide"));
    const QString byState = render({"--unread", "--sort", "state"});
    EXPECT_TRUE(byState.contains("> Unread Articles</div>") && byState.contains("Spring tide"));
    // Both articles are unread, and articles of 2006 are never today's.
    EXPECT_TRUE(render({"--feed", ids.feed, "--filter", "12"}).contains("<div class=\"alertBox\">"));
    EXPECT_TRUE(render({"--today"}).contains("<div class=\"alertBox\">"));

    const QString library = FeedLibrary::libraryPath();
    for (const QStringList &wrong : QList<QStringList>{
             {"--mode", "grid"}, {"--sort", "title"}, {"--filter", "many"}, {"--feed", ids.feed, "--unread"}})
        EXPECT_EQ(CliRun(QStringList{"render", "--library", library} + wrong).exitCode(), 2)
            << wrong.join(' ').toStdString();
    const CliRun unknown({"render", "--feed", spring, "--library", library});
    EXPECT_EQ(unknown.exitCode(), 1);
    EXPECT_TRUE(unknown.errorText().contains("no feed with identifier " + spring));

    // The same library searched by title or stored full text.
    const auto search = [&](const QString &text) {
        const CliRun run({"--library", library, "search", text});
        EXPECT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
        return run.outputText();
    };
    const QString springLine = "Harbour Notes\tSpring tide\thttp://harbour.example/spring\n";
    const QString neapLine = "Harbour Notes\tNeap tide\thttp://harbour.example/neap\n";
    const QString bothTides = search("tide");
    EXPECT_EQ(bothTides.size(), (springLine + neapLine).size());
    EXPECT_TRUE(bothTides.contains(springLine) && bothTides.contains(neapLine)) << bothTides.toStdString();

    EXPECT_EQ(search("harbour master"), springLine) << "only the stored full text holds these words";
    EXPECT_EQ(search("no such words anywhere"), QString());
}

// Every trick of the hostile fixture, in every kind of page: nothing that styles, positions, runs, frames,
// submits or leaves for a refused address survives; the page's own script and style element are the only
// ones, and the relative picture loads from the article's site.
TEST(RenderCommand, AHostileFeedReachesListTileAndSingleArticlePagesWithNoneOfItsTricks)
{
    const StoredFeed hostile = storeFeedFromFixture("hostile-rss.xml");
    ASSERT_EQ(hostile.articles.size(), 2);
    const QString resources = QUrl::fromLocalFile(QStringLiteral(QB_RESOURCE_DIR)).toString();
    const QRegularExpression handler("<[^>]*\\son[a-z]+\\s*=", QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression address("\\s(?:href|src|srcset|data-src|poster)=\"([^\"]*)\"");
    const QStringList pages{
        render({"--feed", hostile.feed}), render({"--feed", hostile.feed, "--mode", "tiles"}),
        render({"--article", hostile.articles.at(0)}), render({"--article", hostile.articles.at(1)})};
    for (const QString &page : pages) {
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

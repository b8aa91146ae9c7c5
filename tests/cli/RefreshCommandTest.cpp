#include "CliRun.h"
#include "LoopbackServer.h"
#include "TestFiles.h"
#include "db/FMDatabase.h"
#include "db/FMResultSet.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <gtest/gtest.h>

namespace {

// The program's resources, with a default feed list naming only feeds of the test's own server, so that
// a new library refreshes from loopback and nowhere else.
QProcessEnvironment resourcesWithDefaultFeeds(const QString &folder, const QList<QUrl> &feeds)
{
    QDir().mkpath(folder);
    for (const QString &name : QDir(QStringLiteral(QB_RESOURCE_DIR)).entryList(QDir::Files))
        QFile::copy(QStringLiteral(QB_RESOURCE_DIR) + "/" + name, folder + "/" + name);
    QByteArray opml = "<?xml version=\"1.0\"?><opml version=\"1.0\"><head><title>t</title></head><body>";
    for (const QUrl &url : feeds)
        opml +=
            "<outline text=\"" + url.path().toUtf8() + "\" type=\"rss\" xmlUrl=\"" + url.toEncoded() + "\"/>";
    QFile::remove(folder + "/DefaultFeeds.opml");
    writeFile(folder + "/DefaultFeeds.opml", opml + "</body></opml>");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUILLBAY_RESOURCES"), folder);
    return environment;
}

} // namespace

// The add command shares the refresh's server: an article page links its feed root-relatively.
TEST(RefreshAndAddCommands, FetchEveryFeedOnceSayWhyOneFailedFetchNewIconsFindLinkedFeedsAndSaveTheLibrary)
{
    LoopbackServer server;
    const QByteArray rss =
        "<rss version=\"2.0\"><channel><title>Good</title><item><title>A</title><guid>cli-a"
        "</guid></item><item><title>B</title><guid>cli-b</guid></item></channel></rss>";
    server.route("/good.xml", LoopbackServer::Response::ok(rss, "application/rss+xml"));
    server.route("/linked.xml", LoopbackServer::Response::ok(rss, "application/rss+xml"));
    // The first icon address answers with the server's HTML 404 page, the second with a picture.
    server.route(QStringLiteral("/apple-touch-icon.png"),
                 LoopbackServer::Response::ok(pictureBytes("PNG"), "image/png"));
    server.route(
        "/2026/04/story.html",
        LoopbackServer::Response::ok("<html><head><link rel=\"alternate\" type=\"application/rss+xml\" "
                                     "href=\"/linked.xml\"></head><body>A story</body></html>",
                                     "text/html"));
    QTemporaryDir scratch;
    const QProcessEnvironment environment = resourcesWithDefaultFeeds(
        scratch.filePath("resources"), {server.url("/good.xml"), server.url("/gone.xml")});
    const QString library = scratch.filePath("library");

    const CliRun refresh({"refresh", "--library", library, "--concurrent", "2"}, 30000, environment);
    ASSERT_TRUE(refresh.finished());
    EXPECT_EQ(refresh.exitCode(), 0) << refresh.errorText().toStdString();
    EXPECT_EQ(refresh.outputText(), "/gone.xml: failed: 404 Not Found\n"
                                    "Refreshed 2 feeds: 2 new articles, 1 failed\n");
    EXPECT_EQ(server.requestCount("/good.xml"), 1);
    EXPECT_EQ(server.requestCount("/gone.xml"), 1);
    const QStringList icons = QDir(library + "/Icons").entryList(QDir::Files);
    ASSERT_EQ(icons.size(), 1) << "a new library's default feeds get their icons";
    EXPECT_FALSE(QImage(library + "/Icons/" + icons.first()).isNull());

    const CliRun list({"list", "--library", library}, 30000, environment);
    EXPECT_TRUE(list.outputText().contains("(2 unread)\n")) << list.outputText().toStdString();
    EXPECT_TRUE(list.outputText().contains("(0 unread)  failed: 404 Not Found\n"))
        << list.outputText().toStdString();

    const CliRun wrong({"refresh", "--library", library, "--concurrent", "none"}, 30000, environment);
    EXPECT_EQ(wrong.exitCode(), 2);

    const auto add = [&](const QStringList &arguments) {
        return CliRun(QStringList{"add", "--library", library} + arguments, 30000, environment);
    };
    const CliRun noFolder = add({server.url("/2026/04/story.html").toString(), "--folder", "Coast"});
    EXPECT_EQ(noFolder.exitCode(), 2);
    EXPECT_TRUE(noFolder.errorText().contains("no folder named 'Coast'"));
    const CliRun found = add({server.url("/2026/04/story.html").toString()});
    EXPECT_EQ(found.exitCode(), 0) << found.errorText().toStdString();
    EXPECT_EQ(found.outputText(), "Added Good  <" + server.url("/linked.xml").toString() + ">\n");
    const CliRun missing = add({server.url("/missing.xml").toString()});
    EXPECT_EQ(missing.exitCode(), 4);
    EXPECT_TRUE(missing.errorText().contains(": 404 Not Found")) << missing.errorText().toStdString();
    EXPECT_TRUE(CliRun({"list", "--library", library}, 30000, environment)
                    .outputText()
                    .startsWith("Good  <" + server.url("/linked.xml").toString() + ">  (2 unread)\n"));
}

TEST(RefreshCommand, ARefreshKilledHalfWayKeepsEveryArticleStoredInADatabaseThatOpensAndFreesTheLibrary)
{
    LoopbackServer server;
    server.route(
        QStringLiteral("/quick.xml"),
        LoopbackServer::Response::ok("<rss version=\"2.0\"><channel><title>Quick</title>"
                                     "<item><title>A</title><guid>kill-a</guid></item>"
                                     "<item><title>B</title><guid>kill-b</guid></item></channel></rss>",
                                     "application/rss+xml"));
    LoopbackServer::Response never;
    never.stall = true;
    server.route(QStringLiteral("/never.xml"), never);
    QTemporaryDir scratch;
    const QProcessEnvironment environment = resourcesWithDefaultFeeds(scratch.filePath("resources"), {});
    const QString library = scratch.filePath("library");
    const QString opml = scratch.filePath("two.opml");
    writeFile(opml, "<opml version=\"1.0\"><body><outline text=\"Quick\" xmlUrl=\"" +
                        server.url("/quick.xml").toEncoded() + "\"/><outline text=\"Never\" xmlUrl=\"" +
                        server.url("/never.xml").toEncoded() + "\"/></body></opml>");
    ASSERT_EQ(CliRun({"--library", library, "import", opml}, 30000, environment).exitCode(), 0);

    QProcess refresh;
    refresh.setProcessEnvironment(environment);
    refresh.start(QStringLiteral(QB_CLI_PATH), {"--library", library, "refresh"});
    const auto storedCount = [&library] {
        auto database = FMDatabase::databaseWithPath(library + "/Articles.db");
        const auto results =
            database->open() ? database->executeQuery("SELECT count(*) AS n FROM articles") : nullptr;
        return results && results->next() ? results->intForColumn("n") : -1;
    };
    QElapsedTimer waited;
    waited.start();
    while (storedCount() < 2 && waited.elapsed() < 20000)
        QThread::msleep(50);
    ASSERT_EQ(storedCount(), 2) << "the quick feed is in while the other one hangs";
    ::kill(pid_t(refresh.processId()), SIGKILL);
    refresh.waitForFinished();

    auto database = FMDatabase::databaseWithPath(library + "/Articles.db");
    ASSERT_TRUE(database->open());
    const auto check = database->executeQuery("PRAGMA integrity_check");
    ASSERT_TRUE(check && check->next());
    EXPECT_EQ(check->stringForColumn("integrity_check"), "ok");
    check->close();
    const CliRun list({"--library", library, "list"}, 30000, environment);
    EXPECT_EQ(list.outputText(),
              QString("Quick  <%1>  (2 unread)\nNever  <%2>  (0 unread)\n")
                  .arg(server.url("/quick.xml").toString(), server.url("/never.xml").toString()));
    EXPECT_EQ(CliRun({"--library", library, "import", opml}, 30000, environment).exitCode(), 0)
        << "the lock of the killed refresh is taken over";
}

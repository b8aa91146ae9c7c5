#include "CliRun.h"
#include "LoopbackServer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The program's resources, with a default feed list naming only feeds of the test's own server, so that
// a new library refreshes from loopback and nowhere else.
QProcessEnvironment resourcesWithDefaultFeeds(const QString &folder, const QList<QUrl> &feeds)
{
    QDir().mkpath(folder);
    for (const QString &name : QDir(QStringLiteral(QB_RESOURCE_DIR)).entryList(QDir::Files))
        QFile::copy(QStringLiteral(QB_RESOURCE_DIR) + "/" + name, folder + "/" + name);
    QFile::remove(folder + "/DefaultFeeds.opml");
    QFile opml(folder + "/DefaultFeeds.opml");
    opml.open(QIODevice::WriteOnly);
    opml.write("<?xml version=\"1.0\"?><opml version=\"1.0\"><head><title>t</title></head><body>");
    for (const QUrl &url : feeds)
        opml.write("<outline text=\"" + url.path().toUtf8() + "\" type=\"rss\" xmlUrl=\"" + url.toEncoded() +
                   "\"/>");
    opml.write("</body></opml>");
    opml.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUILLBAY_RESOURCES"), folder);
    return environment;
}

} // namespace

TEST(RefreshCommand, FetchesEveryFeedOnceCountsNewArticlesAndFailuresAndSavesTheLibrary)
{
    LoopbackServer server;
    server.route(
        QStringLiteral("/good.xml"),
        LoopbackServer::Response::ok("<rss version=\"2.0\"><channel><title>Good</title>"
                                     "<item><title>A</title><guid>cli-a</guid></item>"
                                     "<item><title>B</title><guid>cli-b</guid></item></channel></rss>",
                                     "application/rss+xml"));
    server.route(QStringLiteral("/private.xml"), LoopbackServer::Response::authenticationRequired());
    QTemporaryDir scratch;
    const QProcessEnvironment environment = resourcesWithDefaultFeeds(
        scratch.filePath("resources"), {server.url("/good.xml"), server.url("/private.xml")});
    const QString library = scratch.filePath("library");

    const CliRun refresh({"refresh", "--library", library, "--concurrent", "2"}, 30000, environment);
    ASSERT_TRUE(refresh.finished());
    EXPECT_EQ(refresh.exitCode(), 0) << refresh.errorText().toStdString();
    EXPECT_EQ(refresh.outputText(), "Refreshed 2 feeds: 2 new articles, 1 failed\n");
    EXPECT_EQ(server.requestCount("/good.xml"), 1);
    EXPECT_EQ(server.requestCount("/private.xml"), 1);

    const CliRun list({"list", "--library", library}, 30000, environment);
    EXPECT_TRUE(list.outputText().contains("(2 unread)")) << list.outputText().toStdString();

    const CliRun wrong({"refresh", "--library", library, "--concurrent", "none"}, 30000, environment);
    EXPECT_EQ(wrong.exitCode(), 2);
    const CliRun misplaced({"list", "--library", library, "--concurrent", "2"}, 30000, environment);
    EXPECT_EQ(misplaced.exitCode(), 2);
}

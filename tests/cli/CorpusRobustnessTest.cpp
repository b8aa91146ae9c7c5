#include "CliRun.h"
#include "FeedCorpus.h"
#include "TestFiles.h"
#include "fetch/ImagingService.h"
#include "model/FeedLibrary.h"
#include "reading/QBParser.h"

#include <QElapsedTimer>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// A hang guard, not a speed target: the slowest document reads in milliseconds.
constexpr qint64 documentLimitMs = 2000;
// A child process also starts up and makes its scratch library; that is allowed on top.
constexpr qint64 startUpAllowanceMs = 3000;
constexpr unsigned stallLimitSeconds = 30;

// The document being read, as plain bytes so that a signal handler may write it without allocating:
// a crash, or a stall past the alarm, then names the one file it happened on.
char currentDocument[4096];
const int fatalSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM};

void dieNamingTheDocument(int signal)
{
    const char prefix[] = "\ncorpus document being read: ";
    (void)!write(STDERR_FILENO, prefix, sizeof prefix - 1);
    (void)!write(STDERR_FILENO, currentDocument, std::strlen(currentDocument));
    (void)!write(STDERR_FILENO, "\n", 1);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

TEST(FeedCorpus, EveryDocumentGoesThroughTheParserFrontAndASampleThroughTheProgramWithoutCrashOrHang)
{
    const QStringList files = FeedCorpus::files();
    if (files.isEmpty())
        GTEST_SKIP() << "no feed corpus at " << FeedCorpus::folder().toStdString();

    FeedLibrary library;
    library.load();
    for (const int signal : fatalSignals)
        std::signal(signal, dieNamingTheDocument);
    QStringList slow;
    for (const QString &path : files) {
        std::snprintf(currentDocument, sizeof currentDocument, "%s", qPrintable(path));
        alarm(stallLimitSeconds);
        QElapsedTimer clock;
        clock.start();
        auto feed = std::make_shared<Feed>();
        QBParser parser(library);
        parser.setFeed(feed);
        parser.processData(fileBytes(path));
        // Every stored text is read back, as the printed form of a feed does.
        for (const TreeNodePtr &child : feed->children()) {
            if (const auto article = std::dynamic_pointer_cast<Article>(child))
                library.longSummaryForArticle(article);
        }
        if (clock.elapsed() > documentLimitMs)
            slow << QStringLiteral("%1 (%2 ms)").arg(path).arg(clock.elapsed());
        alarm(0);
        ImagingService &images = ImagingService::sharedImagingService();
        for (const ArticlePtr &article : images.queue())
            images.removeFromQueue(article);
    }
    for (const int signal : fatalSignals)
        std::signal(signal, SIG_DFL);
    EXPECT_TRUE(slow.isEmpty()) << "read too slowly:\n" << slow.join(u'\n').toStdString();

    const qsizetype step = std::max<qsizetype>(1, files.size() / 50);
    for (qsizetype i = 0; i < files.size(); i += step) {
        const CliRun run({"parse", files.at(i)}, int(documentLimitMs + startUpAllowanceMs));
        EXPECT_TRUE(run.finished()) << files.at(i).toStdString();
        EXPECT_EQ(run.exitCode(), 0) << files.at(i).toStdString();
        EXPECT_TRUE(run.json()["articles"].isArray()) << files.at(i).toStdString();
    }
}

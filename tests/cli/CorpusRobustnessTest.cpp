#include "CliRun.h"
#include "CorpusWatchdog.h"
#include "FeedCorpus.h"
#include "fetch/ImagingService.h"
#include "model/FeedLibrary.h"
#include "reading/QBParser.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <gtest/gtest.h>

namespace {

// A hang guard, not a speed target: the slowest document reads in milliseconds.
constexpr qint64 documentLimitMs = 2000;
// A child process also starts up and makes its scratch library; that is allowed on top.
constexpr qint64 startUpAllowanceMs = 3000;
constexpr qsizetype processSampleSize = 50;

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void forgetQueuedThumbnails()
{
    ImagingService &images = ImagingService::sharedImagingService();
    for (const ArticlePtr &article : images.queue())
        images.removeFromQueue(article);
}

// Every stored text is read back, as the printed form of a feed does.
void readBackArticles(FeedLibrary &library, const FeedPtr &feed)
{
    for (const TreeNodePtr &child : feed->children()) {
        if (const auto article = std::dynamic_pointer_cast<Article>(child))
            library.longSummaryForArticle(article);
    }
}

QStringList failuresOfProcessSample(const QStringList &files)
{
    QStringList failures;
    const qsizetype step = std::max<qsizetype>(1, files.size() / processSampleSize);
    for (qsizetype i = 0; i < files.size(); i += step) {
        const QString &path = files.at(i);
        const CliRun run({"parse", path}, int(documentLimitMs + startUpAllowanceMs));
        if (!run.finished()) {
            failures << QStringLiteral("%1: quillbay-cli parse did not finish").arg(path);
            continue;
        }
        if (run.exitCode() != 0) {
            failures << QStringLiteral("%1: quillbay-cli parse ended with %2").arg(path).arg(run.exitCode());
            continue;
        }
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(run.output(), &error);
        if (error.error != QJsonParseError::NoError || !document.object()["articles"].isArray())
            failures
                << QStringLiteral("%1: output is not a feed in JSON (%2)").arg(path, error.errorString());
    }
    return failures;
}

} // namespace

TEST(FeedCorpus, EveryDocumentGoesThroughTheParserFrontWithoutCrashOrHang)
{
    const QStringList files = FeedCorpus::files();
    if (files.isEmpty())
        GTEST_SKIP() << "no feed corpus at " << FeedCorpus::folder().toStdString();

    FeedLibrary library;
    library.load();
    CorpusWatchdog watchdog(std::chrono::seconds(30));
    QStringList slow;
    qint64 slowestMs = 0;
    QString slowest;
    for (const QString &path : files) {
        const QByteArray bytes = bytesOf(path);
        QElapsedTimer clock;
        watchdog.begin(path);
        clock.start();
        auto feed = std::make_shared<Feed>();
        QBParser parser(library);
        parser.setFeed(feed);
        parser.processData(bytes);
        readBackArticles(library, feed);
        const qint64 elapsed = clock.elapsed();
        watchdog.end();
        forgetQueuedThumbnails();
        if (elapsed > documentLimitMs)
            slow << QStringLiteral("%1 (%2 ms)").arg(path).arg(elapsed);
        if (elapsed >= slowestMs) {
            slowestMs = elapsed;
            slowest = path;
        }
    }
    EXPECT_TRUE(slow.isEmpty()) << "read too slowly:\n" << slow.join(u'\n').toStdString();
    std::printf("%lld corpus documents; slowest %lld ms: %s\n", static_cast<long long>(files.size()),
                static_cast<long long>(slowestMs), qPrintable(slowest));

    const QStringList failures = failuresOfProcessSample(files);
    EXPECT_TRUE(failures.isEmpty()) << failures.join(u'\n').toStdString();
}

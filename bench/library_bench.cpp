// Measures the library at a realistic size: 500 feeds holding 100,000 stored articles.
// Prints the time to load (every feed's articles attached and counted), the resident memory after
// loading, the rate of storing new articles and the time of a full-text search.
#include "model/FeedLibrary.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>
#include <malloc.h>

namespace {
constexpr int defaultFeedCount = 500;
constexpr int articlesPerFeed = 200;

QString filler(int length, int seed)
{
    static const QStringList words{"market", "climate", "council", "river", "launch", "report", "quietly",
                                   "season", "engine",  "harbour", "vote",  "orbit",  "budget", "festival"};
    QString text;
    for (int i = 0; text.size() < length; ++i)
        text += words.at((seed + i * 7) % words.size()) + QLatin1Char(' ');
    return text.left(length);
}

long residentKilobytes()
{
    QFile status("/proc/self/status");
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return 0;
}

// Feed addresses under base, "https://feeds.example.org" unless the caller serves the feeds itself.
void generate(int feeds, const QString &base)
{
    FeedLibrary library;
    library.load();
    QElapsedTimer timer;
    timer.start();
    int stored = 0;
    for (int f = 0; f < feeds; ++f) {
        auto feed = std::make_shared<Feed>();
        feed->setTitle(QStringLiteral("Feed %1").arg(f));
        feed->setFeed(QUrl(QStringLiteral("%1/%2.xml").arg(base).arg(f)));
        library.add(feed, nullptr, f);
        for (int a = 0; a < articlesPerFeed; ++a) {
            auto article = std::make_shared<Article>();
            article->setTitle(QStringLiteral("Headline %1 of feed %2: ").arg(a).arg(f) + filler(40, a));
            article->setGuid(QStringLiteral("https://feeds.example.org/%1/item/%2").arg(f).arg(a));
            article->setLink(QUrl(article->guid()));
            article->setSummary(filler(300, a + f));
            article->setParent(feed);
            article->setSource(feed);
            article->addAuthor(std::make_shared<QBPerson>(QStringLiteral("Writer %1").arg(a % 17),
                                                          QStringLiteral("Author"), QString()));
            article->setLegacyPublicationDate(CalendarDate(
                QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC).addSecs(qint64(a) * 3600 + f), 3600));
            library.saveSummary(filler(2000, a * 3 + f), article);
            ++stored;
        }
    }
    const double seconds = timer.elapsed() / 1000.0;
    std::printf("store: %d articles in %.2f s = %.0f articles/s\n", stored, seconds, stored / seconds);
    library.save();
}

void measureLoad()
{
    QElapsedTimer timer;
    timer.start();
    FeedLibrary library;
    library.load();
    const qint64 loadMs = timer.elapsed();
    int articles = 0;
    for (const FeedPtr &feed : library.allFeeds())
        articles += feed->childCount();
    std::printf("load: %d feeds, %d articles, %d unread in %lld ms\n", int(library.allFeeds().size()),
                articles, library.totalUnreadArticleCount(), loadMs);
    const struct mallinfo2 heap = mallinfo2();
    std::printf("memory: %.1f MB resident after load, %.1f MB of it allocated, %.1f MB held free by malloc\n",
                residentKilobytes() / 1024.0, (heap.uordblks + heap.hblkhd) / 1048576.0,
                heap.fordblks / 1048576.0);

    timer.restart();
    library.performSearchWithString(QStringLiteral("harbour"));
    std::printf("search: %d matches in %lld ms\n", library.searchFolder()->childCount(), timer.elapsed());
    timer.restart();
    library.performSearchWithString(QStringLiteral("no such text anywhere"));
    std::printf("search without match: %lld ms\n", timer.elapsed());
}
} // namespace

// Loading runs in a fresh process so that its memory figure holds only what loading keeps.
// "generate DIR" and "load DIR" do one half each, keeping the library in DIR for a profiler.
// "plain" runs without the journalling and indexes the library adds to its database; "feeds=N" sets
// the library's size (loading a plain database of full size takes minutes, so compare at 50 feeds);
// "base=URL" puts the feeds' addresses under URL, for a script that serves them (refresh_writes.sh).
int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const QStringList arguments = app.arguments();
    const bool plain = arguments.contains(QStringLiteral("plain"));
    FeedLibrary::setTunesDatabase(!plain);
    int feedCount = defaultFeedCount;
    QString base = QStringLiteral("https://feeds.example.org");
    for (const QString &argument : arguments) {
        if (argument.startsWith(QLatin1String("feeds=")))
            feedCount = argument.mid(6).toInt();
        if (argument.startsWith(QLatin1String("base=")))
            base = argument.mid(5);
    }
    if (arguments.value(1) == QLatin1String("generate")) {
        qputenv("XDG_DATA_HOME", arguments.value(2).toUtf8());
        generate(feedCount, base);
        return 0;
    }
    if (arguments.value(1) == QLatin1String("load")) {
        qputenv("XDG_DATA_HOME", arguments.value(2).toUtf8());
        measureLoad();
        return 0;
    }
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", scratch.path().toUtf8());
    std::printf("%s database\n", plain ? "plain" : "tuned");
    generate(feedCount, base);
    for (int run = 0; run < 3; ++run) {
        QProcess loader;
        loader.setProcessChannelMode(QProcess::ForwardedChannels);
        loader.start(app.applicationFilePath(),
                     {QStringLiteral("load"), scratch.path(), plain ? "plain" : "tuned"});
        loader.waitForFinished(-1);
    }
    return 0;
}

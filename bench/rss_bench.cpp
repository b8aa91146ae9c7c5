// How fast the RSS reader goes through a large feed: reading a document whose items are all known,
// reading and storing one whose items are all new, and whether a refresh costs more in a feed that
// already holds many articles. Runs in a scratch data folder; prints its figures.
#include "reading/QBLiberalRSSParser.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int runs = 5;

QString item(int number)
{
    const QString filler = QStringLiteral(
        "Lorem ipsum dolor sit amet, consectetur adipiscing elit, sed do eiusmod tempor incididunt ut labore "
        "Lorem ipsum dolor sit amet, consectetur adipiscing elit, sed do eiusmod tempor incididunt ut labore "
        "&amp; dolore magna aliqua; ut enim ad minim veniam, quis nostrud exercitation ullamco laboris nisi "
        "ut "
        "aliquip ex ea commodo consequat &#8212; duis aute irure dolor in reprehenderit in voluptate velit "
        "esse "
        "cillum dolore eu fugiat nulla pariatur, excepteur sint occaecat cupidatat non proident &#8230; ");
    const QString picture =
        number % 2 ? QStringLiteral("&lt;img src=\"/images/%1.jpg\"&gt;").arg(number) : QString();
    return QStringLiteral("<item>\n"
                          "  <title>Headline number %1: markets &amp; more</title>\n"
                          "  <link>http://news.example.com/2024/05/17/story-%1.html</link>\n"
                          "  <guid isPermaLink=\"false\">urn:example:story:%1</guid>\n"
                          "  <pubDate>Fri, 17 May 2024 14:%2:10 GMT</pubDate>\n"
                          "  <dc:creator>Reporter %3</dc:creator>\n"
                          "  <category>World</category>\n"
                          "  <description>&lt;p&gt;%4%5&lt;/p&gt;&lt;p&gt;Read more on our "
                          "site.&lt;/p&gt;</description>\n"
                          "</item>\n")
        .arg(number)
        .arg(number % 60, 2, 10, QLatin1Char('0'))
        .arg(number % 7)
        .arg(picture, filler);
}

QString document(int first, int count)
{
    QString text = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                  "<rss version=\"2.0\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n"
                                  "<channel>\n<title>Benchmark News</title>\n"
                                  "<link>http://news.example.com/</link>\n"
                                  "<description>Everything, all the time</description>\n"
                                  "<lastBuildDate>Fri, 17 May 2024 15:00:00 GMT</lastBuildDate>\n");
    for (int number = first; number < first + count; ++number)
        text += item(number);
    return text + QStringLiteral("</channel>\n</rss>\n");
}

double secondsFor(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void read(const QString &text, const FeedPtr &feed, FeedLibrary &library)
{
    QBLiberalRSSParser parser(text, library);
    parser.setFeed(feed);
    parser.parse();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

// A feed already holding articles with the guids of the given range, as a refresh finds it.
FeedPtr feedHolding(int first, int count)
{
    auto feed = std::make_shared<Feed>();
    feed->setTitle(QStringLiteral("Benchmark News"));
    TreeNodeList children;
    children.reserve(count);
    for (int number = first + count - 1; number >= first; --number) {
        auto article = std::make_shared<Article>();
        article->setGuid(QStringLiteral("urn:example:story:%1").arg(number));
        article->setParent(feed);
        article->setSource(feed);
        article->setState(Article::Unread);
        children.append(article);
    }
    feed->setChildren(children);
    return feed;
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", (scratch.path() + "/data").toUtf8());
    qputenv("XDG_CONFIG_HOME", (scratch.path() + "/config").toUtf8());
    QCoreApplication app(argc, argv);
    FeedLibrary library;
    library.load();

    const QString large = document(0, 10000);
    const double megabytes = double(large.toUtf8().size()) / 1e6;
    std::printf("document: %.2f MB, 10000 items\n", megabytes);

    std::vector<double> newTimes;
    std::vector<double> knownTimes;
    for (int run = 0; run < runs; ++run) {
        const auto feed = std::make_shared<Feed>();
        newTimes.push_back(secondsFor([&] { read(large, feed, library); }));
        knownTimes.push_back(secondsFor([&] { read(large, feed, library); }));
        if (feed->childCount() != 10000)
            std::printf("unexpected: %d articles after reading\n", feed->childCount());
    }
    std::printf("all known:  %.1f MB/s (median of %d, best %.1f)\n", megabytes / median(knownTimes), runs,
                megabytes / *std::min_element(knownTimes.begin(), knownTimes.end()));
    std::printf("all new, parsed and stored: %.2f s (median of %d, best %.2f)\n", median(newTimes), runs,
                *std::min_element(newTimes.begin(), newTimes.end()));

    // A refresh of 1,000 items, once all known and once with 100 newer ones among them. The feed's
    // lookup index is warm, as the library's load leaves it; building it afresh, which the refresh
    // after one that added articles pays, is timed on its own.
    const QString allKnown = document(19000, 1000);
    const QString withNew = document(19100, 1000);
    std::vector<double> knownMedians;
    std::vector<double> withNewMedians;
    for (const int held : {1000, 20000}) {
        std::vector<double> indexTimes;
        std::vector<double> knownTimes;
        std::vector<double> withNewTimes;
        for (int run = 0; run < runs; ++run) {
            const FeedPtr feed = feedHolding(20000 - held, held);
            indexTimes.push_back(secondsFor([&] { feed->childWithGuid(QString()); }));
            knownTimes.push_back(secondsFor([&] { read(allKnown, feed, library); }));
            withNewTimes.push_back(secondsFor([&] { read(withNew, feed, library); }));
        }
        knownMedians.push_back(median(knownTimes));
        withNewMedians.push_back(median(withNewTimes));
        std::printf(
            "feed of %5d articles, 1000 items: all known %.1f ms, 100 new %.1f ms (index build %.1f ms)\n",
            held, knownMedians.back() * 1e3, withNewMedians.back() * 1e3, median(indexTimes) * 1e3);
    }
    std::printf("20000 vs 1000 articles: %.2f all known, %.2f with 100 new\n",
                knownMedians[1] / knownMedians[0], withNewMedians[1] / withNewMedians[0]);
    return 0;
}

// Measures the Atom reader on a document of about 10 MB holding 10,000 entries: the time to store them
// all as new articles, then the reading rate when every entry is already known to the feed (a refresh
// of an unchanged feed, the common case).
#include "model/FeedLibrary.h"
#include "reading/QBAtomParser.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>

namespace {
constexpr int entryCount = 10000;
constexpr int knownRuns = 5;

// At least length bytes of whole words, so that no UTF-8 sequence is cut.
QByteArray words(int length, int seed)
{
    static const QList<QByteArray> pool{"market",  "climate",  "council", "river",   "launch", "report",
                                        "quietly", "season",   "engine",  "harbour", "vote",   "orbit",
                                        "budget",  "festival", "Zürich",  "café",    "naïve",  "années"};
    QByteArray text;
    for (int i = 0; text.size() < length; ++i)
        text += pool.at((seed + i * 7) % pool.size()) + ' ';
    return text;
}

QByteArray entry(int index)
{
    const QByteArray number = QByteArray::number(index);
    const QByteArray day = QByteArray::number(1 + index % 28).rightJustified(2, '0');
    QByteArray text = "<entry>\n<title>Headline " + number + ": " + words(40, index) +
                      "</title>\n<link rel=\"alternate\" type=\"text/html\" "
                      "href=\"https://news.example.org/2026/03/item-" +
                      number + ".html\"/>\n<id>tag:news.example.org,2026:item-" + number +
                      "</id>\n<updated>2026-03-" + day + "T12:34:56Z</updated>\n<published>2026-03-" + day +
                      "T10:00:00+01:00</published>\n<author><name>Writer " + QByteArray::number(index % 17) +
                      "</name><email>writer@example.org</email></author>\n<summary type=\"html\">" +
                      words(150, index + 3) + "</summary>\n";
    // One entry in ten carries inline markup, which the reader re-writes as it goes.
    if (index % 10 == 0)
        text += "<content type=\"xhtml\"><div xmlns=\"http://www.w3.org/1999/xhtml\"><p>" +
                words(190, index) + "</p><p class=\"more\">" + words(190, index + 1) +
                "</p></div></content>\n";
    else
        text += "<content type=\"html\">&lt;p&gt;" + words(190, index) + "&lt;/p&gt;&lt;p&gt;" +
                words(190, index + 1) + " &amp;amp; more&lt;/p&gt;</content>\n";
    return text + "</entry>\n";
}

QByteArray document()
{
    QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<feed xmlns=\"http://www.w3.org/2005/Atom\">\n"
        "<title>Bench News</title>\n<link href=\"https://news.example.org/\"/>\n"
        "<updated>2026-03-28T12:00:00Z</updated>\n<id>urn:bench</id>\n";
    for (int i = 0; i < entryCount; ++i)
        xml += entry(i);
    return xml + "</feed>\n";
}

// Seconds for one reading of the document into the feed.
double read(const QByteArray &xml, const FeedPtr &feed)
{
    QElapsedTimer timer;
    timer.start();
    QBAtomParser parser(xml);
    parser.setFeed(feed);
    if (!parser.parse())
        std::printf("reading failed: %s\n", qPrintable(parser.parserError()));
    return timer.nsecsElapsed() / 1e9;
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", scratch.path().toUtf8());
    FeedLibrary::feedLibrary().load();

    const QByteArray xml = document();
    const double megabytes = xml.size() / 1e6;
    std::printf("document: %.1f MB, %d entries\n", megabytes, entryCount);

    auto feed = std::make_shared<Feed>();
    const double storing = read(xml, feed);
    std::printf("new: %d entries stored in %.2f s (%.0f entries/s)\n", feed->childCount(), storing,
                feed->childCount() / storing);

    QList<double> times;
    for (int run = 0; run < knownRuns; ++run)
        times.append(read(xml, feed));
    std::sort(times.begin(), times.end());
    std::printf("known: best %.0f MB/s (%.3f s), median %.0f MB/s; feed still holds %d articles\n",
                megabytes / times.first(), times.first(), megabytes / times.at(knownRuns / 2),
                feed->childCount());
    return 0;
}

// Measures building the headline page: 10,000 articles of one day grouped by date (a day is never cut,
// so all of them are rendered) and a normal page of 100 articles over several days, in list and tile mode.
// Prints the median time of repeated builds and the page's size; for the articles whose text carries
// markup, the first build also sanitises it, and the later ones use what was kept.
#include "headlines/HeadlinePage.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

FeedPtr makeFeed(FeedLibrary &library, const QString &title, int articles, int days, bool markup = false)
{
    auto feed = std::make_shared<Feed>();
    feed->setTitle(title);
    library.add(feed, library.root(), library.root()->childCount());
    const QDateTime start(QDate(2025, 3, 14), QTime(23, 0), Qt::UTC);
    for (int i = 0; i < articles; ++i) {
        auto article = std::make_shared<Article>();
        article->setTitle(QStringLiteral("%1 article number %2 about the harbour").arg(title).arg(i));
        article->setSummary(
            QStringLiteral("The council met on the pier to talk about the ferry timetable, the "
                           "new lights and the storm of last week (item %1).")
                .arg(i));
        if (markup) {
            article->setTitle(
                QStringLiteral("%1 article <b>number %2</b> about the harbour").arg(title).arg(i));
            article->setSummary(QStringLiteral("<p>The council met <em>on the pier</em> (item %1).</p>"
                                               "<img src=\"pier.jpg\" alt=\"The pier\">")
                                    .arg(i));
        }
        article->setLink(QUrl(QStringLiteral("http://news.example/%1").arg(i)));
        article->setState(i % 3);
        const int day = days > 1 ? i % days : 0;
        article->setLegacyPublicationDate(CalendarDate(start.addDays(-day).addSecs(-i * 7 % 80000), 0));
        article->setSource(feed);
        article->addAuthor(std::make_shared<QBPerson>(QStringLiteral("Ann Keeper"), QString(),
                                                      QStringLiteral("ann@harbour.example")));
        feed->addChild(article, feed->childCount());
    }
    return feed;
}

void measure(const char *name, HeadlinePage &page, FeedLibrary &library, const FeedPtr &feed, int runs,
             double targetMs)
{
    std::vector<double> times;
    double first = 0;
    qsizetype size = 0;
    for (int run = 0; run < runs; ++run) {
        library.setSelectedItems({feed});
        page.resetOffset();
        QElapsedTimer timer;
        timer.start();
        size = page.generateHTML().size();
        times.push_back(timer.nsecsElapsed() / 1e6);
        if (run == 0)
            first = times.back();
    }
    std::sort(times.begin(), times.end());
    const double median = times.at(times.size() / 2);
    std::printf("%-50s median %8.2f ms  best %8.2f ms  first %8.2f ms  page %7lld KB  target < %g ms  %s\n",
                name, median, times.front(), first, static_cast<long long>(size * 2 / 1024), targetMs,
                median < targetMs ? "met" : "MISSED");
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir scratch;
    FeedLibrary::setLibraryPath(scratch.filePath(QStringLiteral("library")));
    FeedLibrary library;
    library.load();
    library.root()->removeChildren();
    Defaults defaults(scratch.filePath(QStringLiteral("settings.ini")));
    SettingsTable::registerWith(defaults);

    const FeedPtr busy = makeFeed(library, QStringLiteral("Busy"), 10000, 1);
    const FeedPtr normal = makeFeed(library, QStringLiteral("Normal"), 100, 5);
    const FeedPtr marked = makeFeed(library, QStringLiteral("Marked"), 10000, 1, true);

    HeadlinePage page(library, defaults);
    page.setSortMethod(1);
    page.setDisplayMode(HeadlinePage::ListMode);
    measure("10,000 articles in one day, list", page, library, busy, 9, 100);
    defaults.setBoolean(QStringLiteral("displayShowInfoBar"), false);
    measure("10,000 articles in one day, list, no info bar", page, library, busy, 9, 100);
    defaults.setBoolean(QStringLiteral("displayShowInfoBar"), true);
    // Each summary is read for its text and cut, instead of copied whole.
    defaults.setDouble(QStringLiteral("articleLength"), 0.1);
    measure("10,000 articles in one day, list, summaries cut", page, library, busy, 9, 100);
    defaults.setDouble(QStringLiteral("articleLength"), 1.0);
    page.setDisplayMode(HeadlinePage::TileMode);
    measure("10,000 articles in one day, tiles", page, library, busy, 9, 100);
    page.setDisplayMode(HeadlinePage::ListMode);
    measure("10,000 articles with markup in their text, list", page, library, marked, 9, 100);
    page.setDisplayMode(HeadlinePage::ListMode);
    measure("100 articles over 5 days, list", page, library, normal, 51, 5);
    page.setDisplayMode(HeadlinePage::TileMode);
    measure("100 articles over 5 days, tiles", page, library, normal, 51, 5);
    return 0;
}

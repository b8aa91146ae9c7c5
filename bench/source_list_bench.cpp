// How long the source list takes to follow the library at thousands of feeds: the main window brings it in
// line after unread-count changes (every row compared, changed rows announced) and updates one feed's row
// and its folders at each download's start and end.
// Prints its figures; run it offscreen: QT_QPA_PLATFORM=offscreen build/bench/source_list_bench [feeds=N]
#include "app/SourceListView.h"
#include "model/FeedLibrary.h"
#include "model/SettingsTable.h"
#include "model/SourceListModel.h"
#include "platform/Defaults.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTemporaryDir>
#include <cstdio>

namespace {

void buildTree(FeedLibrary &library, int feeds)
{
    const int folders = std::max(1, feeds / 50);
    for (int f = 0; f < folders; ++f) {
        auto folder = std::make_shared<Folder>();
        folder->setTitle(QStringLiteral("Folder %1").arg(f));
        library.add(folder, nullptr, f);
        for (int i = 0; i < feeds / folders; ++i) {
            auto feed = std::make_shared<Feed>();
            feed->setTitle(QStringLiteral("Feed %1-%2").arg(f).arg(i));
            library.add(feed, folder, i);
        }
    }
}

template <typename Step> double millisecondsPer(int rounds, Step step)
{
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < rounds; ++i) {
        step();
        QCoreApplication::processEvents();
    }
    return double(clock.nsecsElapsed()) / 1e6 / rounds;
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", scratch.filePath("data").toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    int feeds = 5000;
    for (const QString &argument : QCoreApplication::arguments())
        if (argument.startsWith(QLatin1String("feeds=")))
            feeds = argument.mid(6).toInt();

    Defaults defaults(scratch.filePath("QuillBay.ini"));
    SettingsTable::registerWith(defaults);
    FeedLibrary library;
    library.load();
    library.root()->removeChildren();
    buildTree(library, feeds);
    SourceListModel model(library, defaults);
    SourceListView view(defaults);
    view.setModel(&model);
    view.resize(300, 800);
    view.show();
    // Expanded one by one, as a user would, so that a reload has them all to restore.
    for (int row = 0; row < model.rowCount(); ++row)
        view.expand(model.index(row, 0));
    view.setCurrentIndex(model.index(0, 0));
    QCoreApplication::processEvents();

    const double reload = millisecondsPer(20, [&] { model.reloadData(); });
    // Every feed starts or ends a download between two refreshes: every row is announced.
    const FeedList all = library.allFeeds();
    bool downloading = false;
    const double everyRow = millisecondsPer(20, [&] {
        downloading = !downloading;
        for (const FeedPtr &feed : all)
            feed->setState(downloading ? Feed::Downloading : Feed::Parsed);
        model.reloadData();
    });
    const FeedPtr one = all.value(all.size() / 2);
    const double oneFeed = millisecondsPer(200, [&] {
        one->setState(one->state() == Feed::Downloading ? Feed::Parsed : Feed::Downloading);
        model.reloadItem(one);
    });
    view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
    const int scrolled = view.verticalScrollBar()->value();
    model.reloadData();
    QCoreApplication::processEvents();
    const int afterReload = view.verticalScrollBar()->value();

    std::printf("source list, %d feeds in %d expanded folders\n", feeds, std::max(1, feeds / 50));
    std::printf("  full reload:   %8.2f ms\n", reload);
    std::printf("  every row changed: %8.2f ms\n", everyRow);
    std::printf("  one feed's row: %8.3f ms\n", oneFeed);
    std::printf("  a list scrolled to row %d is at row %d after a reload\n", scrolled, afterReload);
    return 0;
}

// Measures what saving the tree costs the main thread with 5,000 feeds in 100 folders: the archive, the
// private atomic write and the whole save, over 20 saves (median and worst), and how long after a
// change the autosave has the change on disk. "feeds=N" sets the library's size.
#include "model/FeedLibrary.h"
#include "model/LibraryArchive.h"
#include "model/LibraryAutosave.h"
#include "platform/AtomicFile.h"
#include "platform/NotificationCenter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>

namespace {
constexpr int folderCount = 100;
constexpr int runs = 20;

void fill(FeedLibrary &library, int feeds)
{
    library.root()->removeChildren();
    QList<FolderPtr> folders;
    for (int f = 0; f < folderCount; ++f) {
        auto folder = std::make_shared<Folder>();
        folder->setTitle(QStringLiteral("Folder %1").arg(f));
        library.add(folder, nullptr, f);
        folders << folder;
    }
    for (int i = 0; i < feeds; ++i) {
        auto feed = std::make_shared<Feed>();
        feed->setTitle(QStringLiteral("Feed number %1 with a title of usual length").arg(i));
        feed->setFeed(QUrl(QStringLiteral("http://127.0.0.1:9/feeds/%1/rss.xml").arg(i)));
        feed->setLink(QUrl(QStringLiteral("http://127.0.0.1:9/sites/%1/").arg(i)));
        feed->setDescription(QStringLiteral("What feed %1 is about, in a sentence or two.").arg(i));
        const FolderPtr folder = folders.at(i % folderCount);
        library.add(feed, folder, folder->childCount());
    }
}

template <typename Work> void report(const char *what, Work work)
{
    QList<double> times;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        work();
        times << timer.nsecsElapsed() / 1e6;
    }
    std::sort(times.begin(), times.end());
    std::printf("%-28s median %6.1f ms, worst %6.1f ms\n", what, times.at(runs / 2), times.last());
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    int feeds = 5000;
    for (const QString &argument : app.arguments())
        if (argument.startsWith(QLatin1String("feeds=")))
            feeds = argument.mid(6).toInt();
    QTemporaryDir scratch;
    FeedLibrary::setLibraryPath(scratch.filePath(QStringLiteral("QuillBay")));
    FeedLibrary library;
    library.lockForWriting();
    library.load();
    fill(library, feeds);

    QByteArray archive;
    report("archive the tree", [&] { archive = LibraryArchive::archivedData(library.root()); });
    std::printf("%d feeds in %d folders: %.2f MB archived\n", feeds, folderCount, archive.size() / 1048576.0);
    QString error;
    report("private atomic write",
           [&] { AtomicFile::writePrivate(FeedLibrary::libraryFilePath(), archive, &error); });
    report("save (both)", [&] { library.save(); });

    LibraryAutosave autosave(library, NotificationCenter::defaultCenter());
    const QDateTime before = QFileInfo(FeedLibrary::libraryFilePath()).lastModified();
    QElapsedTimer sinceChange;
    sinceChange.start();
    library.treeDidChange();
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (QFileInfo(FeedLibrary::libraryFilePath()).lastModified() != before)
            loop.quit();
    });
    poll.start(5);
    loop.exec();
    std::printf("autosave: the change was on disk %lld ms after it was made\n", sinceChange.elapsed());
    return 0;
}

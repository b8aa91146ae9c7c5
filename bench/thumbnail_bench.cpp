// Measures the thumbnail worker end to end: pictures of about 1 MB, JPEG like most article photographs,
// served from a loopback server, fetched, decoded, cropped, scaled and saved one after another.
// Prints the picture's size and the thumbnails made per second (the target is at least 20).
#include "LoopbackServer.h"
#include "fetch/ImagingService.h"
#include "model/Article.h"
#include "model/Feed.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>

namespace {
constexpr int pictureCount = 60;
constexpr qsizetype targetBytes = 1024 * 1024;

// A photograph-like picture: smooth gradients with a little grain, which JPEG compresses as it does photos.
QImage photograph(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    quint32 seed = 7;
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            seed = seed * 1103515245u + 12345u;
            const int grain = int((seed >> 16) % 24) - 12;
            line[x] = qRgb(std::clamp(x * 255 / width + grain, 0, 255),
                           std::clamp(y * 255 / height + grain, 0, 255), std::clamp(128 + grain * 2, 0, 255));
        }
    }
    return image;
}

QByteArray jpegOfAboutOneMegabyte(QSize &size)
{
    QByteArray bytes;
    for (int width = 1200; bytes.size() < targetBytes; width += 200) {
        size = QSize(width, width * 2 / 3);
        bytes.clear();
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        photograph(size.width(), size.height()).save(&buffer, "JPEG", 85);
    }
    return bytes;
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QTemporaryDir library;
    FeedLibrary::setLibraryPath(library.path());
    QDir().mkpath(FeedLibrary::articleImagePath());

    QSize size;
    const QByteArray picture = jpegOfAboutOneMegabyte(size);
    LoopbackServer server;
    auto feed = std::make_shared<Feed>();
    ImagingService service;
    for (int i = 0; i < pictureCount; ++i) {
        const QString path = QStringLiteral("/photo%1.jpg").arg(i);
        server.route(path, LoopbackServer::Response::ok(picture, "image/jpeg"));
        auto article = std::make_shared<Article>();
        article->setSource(feed);
        article->setImageURL(server.url(path));
        service.addToQueue(article);
    }

    QElapsedTimer timer;
    timer.start();
    service.start();
    while (service.count() < pictureCount) {
        QCoreApplication::processEvents();
        QThread::msleep(1);
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    service.terminate();

    const qsizetype made =
        QDir(FeedLibrary::articleImagePath() + "/" + feed->uniqueID()).entryList(QDir::Files).size();
    std::printf("pictures: %d JPEGs of %d x %d, %.2f MB each\n", pictureCount, size.width(), size.height(),
                double(picture.size()) / (1024.0 * 1024.0));
    std::printf("thumbnails written: %lld\n", static_cast<long long>(made));
    std::printf("thumbnails per second: %.1f (target 20)\n", double(pictureCount) / seconds);
    return made == pictureCount ? 0 : 1;
}

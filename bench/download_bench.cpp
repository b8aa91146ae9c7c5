// Five transfers of 100 KB at a time from a loopback server, repeated: how long the event loop waits
// between passes while they run, and how fast the bytes come in.
#include "EventLoopGapMeter.h"
#include "LoopbackServer.h"
#include "fetch/Downloader.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <cstdio>
#include <memory>
#include <vector>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    constexpr int Parallel = 5;
    constexpr int Rounds = 40;
    constexpr int Size = 100 * 1024;
    LoopbackServer server;
    for (int i = 0; i < Parallel; ++i) {
        LoopbackServer::Response response = LoopbackServer::Response::ok(QByteArray(Size, char('a' + i)));
        response.chunkSize = 16 * 1024;
        server.route(QStringLiteral("/file%1").arg(i), response);
    }

    EventLoopGapMeter meter;
    QElapsedTimer clock;
    qint64 received = 0;
    int failures = 0;
    meter.start();
    clock.start();
    for (int round = 0; round < Rounds; ++round) {
        QEventLoop loop;
        int pending = Parallel;
        std::vector<std::unique_ptr<Downloader>> downloaders;
        for (int i = 0; i < Parallel; ++i) {
            downloaders.push_back(std::make_unique<Downloader>());
            downloaders.back()->beginDownloadFromURL(server.url(QStringLiteral("/file%1").arg(i)), {}, {},
                                                     nullptr, {}, [&](Downloader *done) {
                                                         received += done->receivedData().size();
                                                         failures += done->state() != 0;
                                                         if (--pending == 0)
                                                             loop.quit();
                                                     });
        }
        loop.exec();
    }
    const double seconds = double(clock.nsecsElapsed()) / 1e9;
    meter.stop();
    std::printf("download_bench: %d rounds of %d x 100 KB from loopback, %d failed\n", Rounds, Parallel,
                failures);
    std::printf("  total %.3f s, %.1f MB/s, %lld event-loop passes\n", seconds,
                double(received) / seconds / 1e6, static_cast<long long>(meter.turns()));
    std::printf("  longest gap between event-loop passes: %.3f ms\n", meter.longestGapMs());
    return failures == 0 ? 0 : 1;
}

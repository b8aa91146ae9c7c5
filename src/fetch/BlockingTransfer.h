// Fetches one resource over HTTP into memory, blocking the calling thread: for worker threads only, never
// for the main thread, whose transfers run on its event loop. It follows redirects and reads nothing but
// http and https addresses, so a feed cannot make it read local files.
#pragma once

#include <QByteArray>
#include <QUrl>
#include <functional>
#include <optional>

class BlockingTransfer
{
public:
    // Asked now and then while the transfer runs; answering true abandons it.
    using StopRequest = std::function<bool()>;

    // A body larger than this is refused rather than held in memory.
    static constexpr qint64 maximumBodySize = 32 * 1024 * 1024;

    // The whole body, or nothing when the transfer failed, the server answered an error status or the
    // transfer was stopped.
    static std::optional<QByteArray> dataFromURL(const QUrl &url, const StopRequest &stopRequested = {});
};

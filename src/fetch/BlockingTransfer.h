// Fetches one resource over HTTP into memory, blocking the calling thread: for worker threads only, never
// for the main thread, whose transfers run on its event loop. It follows redirects, reads nothing but
// http and https addresses, so a feed cannot make it read local files, and keeps to the transfer limits.
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

    // The whole body, or nothing when the transfer failed, the server answered an error status, the body
    // grew beyond maxBytes (after decompression) or the transfer was stopped.
    static std::optional<QByteArray> dataFromURL(const QUrl &url, qint64 maxBytes,
                                                 const StopRequest &stopRequested = {});
};

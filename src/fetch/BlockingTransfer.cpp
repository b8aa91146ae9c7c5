#include "fetch/BlockingTransfer.h"

#include "fetch/TransferDefaults.h"

#include <algorithm>
#include <curl/curl.h>
#include <memory>
#include <mutex>

namespace {
struct Transfer
{
    QByteArray body;
    qint64 maxBytes = 0;
    const BlockingTransfer::StopRequest *stopRequested = nullptr;
};

size_t appendBody(char *data, size_t size, size_t count, void *context)
{
    auto *transfer = static_cast<Transfer *>(context);
    const size_t length = size * count;
    if (transfer->body.size() + qint64(length) > transfer->maxBytes)
        return 0;
    transfer->body.append(data, qsizetype(length));
    return length;
}

int reportProgress(void *context, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    const auto *transfer = static_cast<Transfer *>(context);
    return (*transfer->stopRequested && (*transfer->stopRequested)()) ? 1 : 0;
}

void initialiseCurlOnce()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}
} // namespace

std::optional<QByteArray> BlockingTransfer::dataFromURL(const QUrl &url, qint64 maxBytes,
                                                        const StopRequest &stopRequested)
{
    if (!url.isValid())
        return std::nullopt;
    initialiseCurlOnce();
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(), curl_easy_cleanup);
    if (!handle)
        return std::nullopt;
    Transfer transfer;
    transfer.maxBytes = maxBytes;
    transfer.stopRequested = &stopRequested;
    const TransferDefaults::Limits limits = TransferDefaults::limits();
    const QByteArray address = url.toEncoded();
    const QByteArray userAgent = TransferDefaults::userAgent().toUtf8();
    CURL *curl = handle.get();
    curl_easy_setopt(curl, CURLOPT_URL, address.constData());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, long(limits.totalMs));
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, std::max(1L, long(limits.stallMs / 1000)));
    curl_easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE, curl_off_t(maxBytes));
    curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(curl, CURLOPT_USERAGENT, userAgent.constData());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, reportProgress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &transfer);
    if (curl_easy_perform(curl) != CURLE_OK)
        return std::nullopt;
    return transfer.body;
}

// Runs libcurl's multi interface on the Qt event loop of one thread: socket notifiers and one timer stand in
// for curl's own loop. It never blocks, and never tells a transfer's owner it ended from inside a curl call.
#pragma once

#include <QHash>
#include <QObject>
#include <QTimer>
#include <curl/curl.h>
#include <functional>

class QSocketNotifier;

class CurlMulti : public QObject
{
    Q_OBJECT
public:
    using Finished = std::function<void(CURLcode result)>;

    // One engine per thread, made on first use; transfers run on the thread that added them.
    static CurlMulti &forCurrentThread();

    CurlMulti();
    ~CurlMulti() override;

    // Starts the transfer; `finished` is called once, after the handle left the multi, unless it is removed.
    bool add(CURL *easy, Finished finished);
    // Takes the transfer out without a `finished` call; the caller still owns and cleans the handle.
    void remove(CURL *easy);

private:
    struct Watch
    {
        QSocketNotifier *reader = nullptr;
        QSocketNotifier *writer = nullptr;
    };

    static int socketFunction(CURL *easy, curl_socket_t socket, int what, void *self, void *socketData);
    static int timerFunction(CURLM *multi, long timeoutMs, void *self);
    void watch(curl_socket_t socket, int what);
    void forget(curl_socket_t socket);
    void act(curl_socket_t socket, int events);
    void collectFinished();

    CURLM *m_multi = nullptr;
    QTimer m_timer;
    QHash<curl_socket_t, Watch> m_watches;
    QHash<CURL *, Finished> m_finished;
};

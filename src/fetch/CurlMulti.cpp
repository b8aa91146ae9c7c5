#include "fetch/CurlMulti.h"

#include <QSocketNotifier>
#include <memory>
#include <mutex>

CurlMulti &CurlMulti::forCurrentThread()
{
    static std::once_flag globalSetUp;
    std::call_once(globalSetUp, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    thread_local std::unique_ptr<CurlMulti> engine = std::make_unique<CurlMulti>();
    return *engine;
}

CurlMulti::CurlMulti()
{
    m_multi = curl_multi_init();
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &CurlMulti::socketFunction);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &CurlMulti::timerFunction);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
}

CurlMulti::~CurlMulti()
{
    for (auto it = m_finished.cbegin(); it != m_finished.cend(); ++it)
        curl_multi_remove_handle(m_multi, it.key());
    const QList<curl_socket_t> sockets = m_watches.keys();
    for (curl_socket_t socket : sockets)
        forget(socket);
    curl_multi_cleanup(m_multi);
}

bool CurlMulti::add(CURL *easy, Finished finished)
{
    if (curl_multi_add_handle(m_multi, easy) != CURLM_OK)
        return false;
    m_finished.insert(easy, std::move(finished));
    return true;
}

void CurlMulti::remove(CURL *easy)
{
    if (m_finished.remove(easy))
        curl_multi_remove_handle(m_multi, easy);
}

int CurlMulti::socketFunction(CURL *, curl_socket_t socket, int what, void *self, void *)
{
    auto *engine = static_cast<CurlMulti *>(self);
    if (what == CURL_POLL_REMOVE)
        engine->forget(socket);
    else
        engine->watch(socket, what);
    return 0;
}

int CurlMulti::timerFunction(CURLM *, long timeoutMs, void *self)
{
    auto *engine = static_cast<CurlMulti *>(self);
    // curl asks for a zero timeout from inside its own calls; acting at once would re-enter it.
    if (timeoutMs < 0)
        engine->m_timer.stop();
    else
        engine->m_timer.start(int(timeoutMs));
    return 0;
}

void CurlMulti::watch(curl_socket_t socket, int what)
{
    Watch &watch = m_watches[socket];
    const bool wantsRead = what == CURL_POLL_IN || what == CURL_POLL_INOUT;
    const bool wantsWrite = what == CURL_POLL_OUT || what == CURL_POLL_INOUT;
    if (!watch.reader) {
        watch.reader = new QSocketNotifier(qintptr(socket), QSocketNotifier::Read, this);
        connect(watch.reader, &QSocketNotifier::activated, this,
                [this, socket] { act(socket, CURL_CSELECT_IN); });
    }
    if (!watch.writer) {
        watch.writer = new QSocketNotifier(qintptr(socket), QSocketNotifier::Write, this);
        connect(watch.writer, &QSocketNotifier::activated, this,
                [this, socket] { act(socket, CURL_CSELECT_OUT); });
    }
    watch.reader->setEnabled(wantsRead);
    watch.writer->setEnabled(wantsWrite);
}

void CurlMulti::forget(curl_socket_t socket)
{
    const Watch watch = m_watches.take(socket);
    // The notifier may be the one whose signal is running right now, so it goes on the next pass.
    for (QSocketNotifier *notifier : {watch.reader, watch.writer}) {
        if (notifier) {
            notifier->setEnabled(false);
            notifier->deleteLater();
        }
    }
}

void CurlMulti::act(curl_socket_t socket, int events)
{
    int running = 0;
    curl_multi_socket_action(m_multi, socket, events, &running);
    collectFinished();
}

void CurlMulti::collectFinished()
{
    int queued = 0;
    while (CURLMsg *message = curl_multi_info_read(m_multi, &queued)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL *easy = message->easy_handle;
        const CURLcode result = message->data.result;
        const Finished finished = m_finished.take(easy);
        curl_multi_remove_handle(m_multi, easy);
        if (finished)
            finished(result);
    }
}

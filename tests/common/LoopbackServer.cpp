#include "LoopbackServer.h"

#include <QHash>
#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <iterator>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

namespace {

// Short enough that the server's end is noticed at once, long enough not to spin.
constexpr int PollSliceMs = 50;
constexpr int MaxRequestBytes = 1 << 20;

// The piece over and over until the total is reached, deflated as it goes, so that a bomb never exists
// unpacked in the test's memory either.
QByteArray gzipped(const QByteArray &piece, qint64 total)
{
    z_stream stream{};
    // 16 added to the window bits asks zlib for a gzip wrapper instead of a zlib one.
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    QByteArray out;
    char buffer[1 << 16];
    for (qint64 left = total;; left -= piece.size()) {
        const bool last = left <= piece.size();
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(piece.constData()));
        stream.avail_in = uInt(last ? left : piece.size());
        do {
            stream.next_out = reinterpret_cast<Bytef *>(buffer);
            stream.avail_out = sizeof buffer;
            deflate(&stream, last ? Z_FINISH : Z_NO_FLUSH);
            out.append(buffer, qsizetype(sizeof buffer - stream.avail_out));
        } while (stream.avail_out == 0);
        if (last)
            break;
    }
    deflateEnd(&stream);
    return out;
}

QByteArray reasonPhrase(int status)
{
    static const QHash<int, QByteArray> phrases{{200, "OK"},
                                                {301, "Moved Permanently"},
                                                {302, "Found"},
                                                {304, "Not Modified"},
                                                {401, "Unauthorized"},
                                                {404, "Not Found"},
                                                {429, "Too Many Requests"},
                                                {500, "Internal Server Error"},
                                                {503, "Service Unavailable"}};
    return phrases.value(status, "Status");
}

} // namespace

LoopbackServer::Response LoopbackServer::Response::ok(const QByteArray &body, const QByteArray &contentType)
{
    Response response;
    response.body = body;
    response.withHeader("Content-Type", contentType);
    return response;
}

LoopbackServer::Response LoopbackServer::Response::gzipBomb(qint64 inflatedBytes)
{
    Response response = ok(gzipped(QByteArray(1 << 20, '\0'), inflatedBytes), "application/rss+xml");
    response.withHeader("Content-Encoding", "gzip");
    return response;
}

LoopbackServer::Response &LoopbackServer::Response::withHeader(const QByteArray &name,
                                                               const QByteArray &value)
{
    headers.append(qMakePair(name, value));
    return *this;
}

LoopbackServer::LoopbackServer()
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0)
        return;
    const int yes = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener, 64) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length) != 0) {
        ::close(listener);
        return;
    }
    m_listener = listener;
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptLoop(); });
}

LoopbackServer::~LoopbackServer()
{
    m_stopping = true;
    m_wake.notify_all();
    if (m_acceptor.joinable())
        m_acceptor.join();
    std::vector<Connection> connections;
    {
        std::lock_guard locker(m_lock);
        connections.swap(m_connections);
    }
    for (Connection &connection : connections)
        connection.thread.join();
    if (m_listener >= 0)
        ::close(m_listener);
}

QUrl LoopbackServer::url(const QString &path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
}

void LoopbackServer::route(const QString &path, const Response &response)
{
    std::lock_guard locker(m_lock);
    m_routes.insert(path, response);
}

QList<LoopbackServer::Request> LoopbackServer::requests() const
{
    std::lock_guard locker(m_lock);
    return m_requests;
}

int LoopbackServer::requestCount(const QString &path) const
{
    std::lock_guard locker(m_lock);
    return int(std::count_if(m_requests.cbegin(), m_requests.cend(),
                             [&](const Request &request) { return request.path == path; }));
}

LoopbackServer::Request LoopbackServer::lastRequest(const QString &path) const
{
    std::lock_guard locker(m_lock);
    for (auto it = m_requests.crbegin(); it != m_requests.crend(); ++it) {
        if (it->path == path)
            return *it;
    }
    return {};
}

void LoopbackServer::acceptLoop()
{
    while (!m_stopping) {
        pollfd waiting{m_listener, POLLIN, 0};
        if (::poll(&waiting, 1, PollSliceMs) <= 0)
            continue;
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (socket < 0)
            continue;
        joinFinishedConnections();
        auto finished = std::make_shared<std::atomic<bool>>(false);
        std::lock_guard locker(m_lock);
        m_connections.push_back({std::thread([this, socket, finished] {
                                     serve(socket);
                                     ::close(socket);
                                     *finished = true;
                                 }),
                                 finished});
    }
}

void LoopbackServer::joinFinishedConnections()
{
    std::vector<Connection> finished;
    {
        std::lock_guard locker(m_lock);
        const auto done = std::partition(m_connections.begin(), m_connections.end(),
                                         [](const Connection &connection) { return !*connection.finished; });
        std::move(done, m_connections.end(), std::back_inserter(finished));
        m_connections.erase(done, m_connections.end());
    }
    for (Connection &connection : finished)
        connection.thread.join();
}

void LoopbackServer::serve(int socket)
{
    Request request;
    if (!readRequest(socket, request))
        return;
    {
        std::lock_guard locker(m_lock);
        m_requests.append(request);
    }
    answer(socket, responseFor(request));
}

bool LoopbackServer::readRequest(int socket, Request &request) const
{
    QByteArray received;
    qsizetype headEnd = -1;
    while (!m_stopping && headEnd < 0 && received.size() < MaxRequestBytes) {
        pollfd waiting{socket, POLLIN, 0};
        if (::poll(&waiting, 1, PollSliceMs) <= 0)
            continue;
        char buffer[4096];
        const ssize_t count = ::recv(socket, buffer, sizeof buffer, 0);
        if (count <= 0 && !(count < 0 && (errno == EAGAIN || errno == EINTR)))
            return false;
        if (count > 0)
            received.append(buffer, count);
        headEnd = received.indexOf("\r\n\r\n");
    }
    if (headEnd < 0)
        return false;
    const QList<QByteArray> lines = received.left(headEnd).split('\n');
    const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
    if (requestLine.size() < 2)
        return false;
    request.method = requestLine[0];
    request.path = QString::fromUtf8(requestLine[1].split('?').first());
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        if (colon > 0)
            request.headers.insert(lines[i].left(colon).trimmed().toLower(),
                                   lines[i].mid(colon + 1).trimmed());
    }
    return true;
}

LoopbackServer::Response LoopbackServer::responseFor(const Request &request) const
{
    std::lock_guard locker(m_lock);
    const auto found = m_routes.constFind(request.path);
    if (found == m_routes.cend()) {
        Response missing = Response::ok("<html><body>Not found</body></html>", "text/html");
        missing.status = 404;
        return missing;
    }
    const bool conditional =
        request.headers.contains("if-none-match") || request.headers.contains("if-modified-since");
    if (found->notModifiedWhenConditional && conditional) {
        Response notModified;
        notModified.status = 304;
        return notModified;
    }
    return *found;
}

void LoopbackServer::answer(int socket, const Response &response)
{
    if (response.stall) {
        std::unique_lock locker(m_lock);
        m_wake.wait(locker, [this] { return m_stopping.load(); });
        return;
    }
    if (!pause(response.delayMs))
        return;
    const QByteArray body = response.gzip ? gzipped(response.body, response.body.size()) : response.body;
    QByteArray head =
        "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reasonPhrase(response.status) + "\r\n";
    for (const auto &[name, value] : response.headers)
        head += name + ": " + value + "\r\n";
    if (response.gzip)
        head += "Content-Encoding: gzip\r\n";
    if (response.status != 304 && !response.endless)
        head += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    head += "Connection: close\r\n\r\n";
    if (!sendAll(socket, head))
        return;
    if (response.endless) {
        while (sendAll(socket, body)) {
        }
        return;
    }
    const QByteArray sent = response.closeMidBody ? body.left(body.size() / 2) : body;
    const qsizetype piece = response.chunkSize > 0 ? response.chunkSize : qMax<qsizetype>(sent.size(), 1);
    for (qsizetype offset = 0; offset < sent.size(); offset += piece) {
        if (offset > 0 && !pause(response.chunkDelayMs))
            return;
        if (!sendAll(socket, sent.mid(offset, piece)))
            return;
    }
    ::shutdown(socket, SHUT_WR);
}

bool LoopbackServer::sendAll(int socket, const QByteArray &bytes) const
{
    qsizetype offset = 0;
    while (offset < bytes.size()) {
        if (m_stopping)
            return false;
        pollfd waiting{socket, POLLOUT, 0};
        if (::poll(&waiting, 1, PollSliceMs) <= 0)
            continue;
        const ssize_t count =
            ::send(socket, bytes.constData() + offset, size_t(bytes.size() - offset), MSG_NOSIGNAL);
        if (count < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        if (count > 0)
            offset += count;
    }
    return true;
}

bool LoopbackServer::pause(int milliseconds)
{
    if (milliseconds <= 0)
        return !m_stopping;
    std::unique_lock locker(m_lock);
    return !m_wake.wait_for(locker, std::chrono::milliseconds(milliseconds),
                            [this] { return m_stopping.load(); });
}

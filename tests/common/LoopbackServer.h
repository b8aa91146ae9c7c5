// A small HTTP server on 127.0.0.1 that a test starts for itself, answering from a thread of its own so
// that code blocking the test's thread still gets answers. It never listens beyond the loopback address.
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QUrl>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class LoopbackServer
{
public:
    struct Response
    {
        int status = 200;
        QList<QPair<QByteArray, QByteArray>> headers;
        QByteArray body;
        // Waits this long before answering; the server's end still interrupts the wait.
        int delayMs = 0;
        // Reads the request and never answers until the server ends.
        bool stall = false;
        // Announces the whole body, sends the first half and closes the connection.
        bool closeMidBody = false;
        // Sends the body gzip-compressed with "Content-Encoding: gzip".
        bool gzip = false;
        // Answers 304 with no body when the request carries If-None-Match or If-Modified-Since.
        bool notModifiedWhenConditional = false;
        // Sends the body in pieces of this size (0: at once), pausing between them.
        int chunkSize = 0;
        int chunkDelayMs = 0;
        // Sends the body over and over, announcing no length, until the client goes away.
        bool endless = false;

        static Response ok(const QByteArray &body, const QByteArray &contentType = "text/plain");
        // A small gzip answer that unpacks to this many zero bytes.
        static Response gzipBomb(qint64 inflatedBytes);
        Response &withHeader(const QByteArray &name, const QByteArray &value);
    };

    struct Request
    {
        QByteArray method;
        QString path;
        // Keys in lower case, as HTTP header names compare without case.
        QMap<QByteArray, QByteArray> headers;

        QByteArray header(const QByteArray &name) const { return headers.value(name.toLower()); }
    };

    // Listens on a free port of 127.0.0.1 at once; unknown paths are answered 404.
    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer &) = delete;
    LoopbackServer &operator=(const LoopbackServer &) = delete;

    bool isListening() const { return m_listener >= 0; }
    quint16 port() const { return m_port; }
    QUrl url(const QString &path) const;

    void route(const QString &path, const Response &response);

    QList<Request> requests() const;
    int requestCount(const QString &path) const;
    // The latest request for the path, or an empty one when none came.
    Request lastRequest(const QString &path) const;

private:
    void acceptLoop();
    void serve(int socket);
    bool readRequest(int socket, Request &request) const;
    Response responseFor(const Request &request) const;
    void answer(int socket, const Response &response);
    bool sendAll(int socket, const QByteArray &bytes) const;
    // Sleeps for the time unless the server ends first; false when it ended.
    bool pause(int milliseconds);

    int m_listener = -1;
    quint16 m_port = 0;
    std::atomic<bool> m_stopping{false};
    mutable std::mutex m_lock;
    std::condition_variable m_wake;
    QMap<QString, Response> m_routes;
    QList<Request> m_requests;
    struct Connection
    {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> finished;
    };
    // Finished ones are joined as new ones come, so that a long run holds no stacks of old connections.
    void joinFinishedConnections();
    std::vector<Connection> m_connections;
    std::thread m_acceptor;
};

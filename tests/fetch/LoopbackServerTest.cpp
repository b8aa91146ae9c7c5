#include "LoopbackServer.h"

#include <QElapsedTimer>
#include <curl/curl.h>
#include <gtest/gtest.h>

namespace {

struct Fetched
{
    CURLcode result = CURLE_OK;
    long status = 0;
    QByteArray body;
};

size_t collect(char *data, size_t size, size_t count, void *target)
{
    static_cast<QByteArray *>(target)->append(data, qsizetype(size * count));
    return size * count;
}

// A blocking fetch on the test's own thread: the server must answer from its thread for this to return.
Fetched fetch(const QUrl &url, const QList<QByteArray> &headers = {}, bool decode = false,
              long timeoutMs = 5000)
{
    Fetched fetched;
    CURL *easy = curl_easy_init();
    curl_slist *list = nullptr;
    for (const QByteArray &header : headers)
        list = curl_slist_append(list, header.constData());
    const QByteArray address = url.toEncoded();
    curl_easy_setopt(easy, CURLOPT_URL, address.constData());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &fetched.body);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, timeoutMs);
    if (decode)
        curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    fetched.result = curl_easy_perform(easy);
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &fetched.status);
    curl_slist_free_all(list);
    curl_easy_cleanup(easy);
    return fetched;
}

} // namespace

TEST(LoopbackServer, AnswersRoutesLogsRequestsAndGivesUnknownPaths404)
{
    LoopbackServer server;
    ASSERT_TRUE(server.isListening());
    EXPECT_EQ(server.url("/a").host(), "127.0.0.1");
    server.route("/a", LoopbackServer::Response::ok("hello", "text/plain; charset=utf-8"));

    const Fetched page = fetch(server.url("/a"), {"User-Agent: tester/1", "X-Extra: one"});
    EXPECT_EQ(page.result, CURLE_OK);
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.body, "hello");
    const LoopbackServer::Request logged = server.lastRequest("/a");
    EXPECT_EQ(logged.method, "GET");
    EXPECT_EQ(logged.header("user-agent"), "tester/1");
    EXPECT_EQ(logged.header("X-EXTRA"), "one");

    const Fetched missing = fetch(server.url("/nothing?x=1"));
    EXPECT_EQ(missing.status, 404);
    EXPECT_TRUE(missing.body.contains("Not found"));
    EXPECT_EQ(server.requestCount("/nothing"), 1);
    EXPECT_EQ(server.requests().size(), 2);
}

TEST(LoopbackServer, SendsGzipRedirectsChallengesAndNotModified)
{
    LoopbackServer server;
    const QByteArray text = QByteArray("compress me ").repeated(200);
    LoopbackServer::Response zipped = LoopbackServer::Response::ok(text);
    zipped.gzip = true;
    server.route("/zipped", zipped);
    server.route("/moved", LoopbackServer::Response::redirect("/zipped", 301));
    server.route("/locked", LoopbackServer::Response::authenticationRequired());
    LoopbackServer::Response conditional = LoopbackServer::Response::ok("fresh");
    conditional.notModifiedWhenConditional = true;
    server.route("/conditional", conditional);

    const Fetched raw = fetch(server.url("/zipped"));
    EXPECT_LT(raw.body.size(), text.size());
    EXPECT_EQ(fetch(server.url("/zipped"), {}, true).body, text);

    const Fetched moved = fetch(server.url("/moved"));
    EXPECT_EQ(moved.status, 301);
    EXPECT_EQ(server.lastRequest("/moved").path, "/moved");

    EXPECT_EQ(fetch(server.url("/locked")).status, 401);
    EXPECT_EQ(fetch(server.url("/conditional")).body, "fresh");
    const Fetched unchanged = fetch(server.url("/conditional"), {"If-None-Match: \"v1\""});
    EXPECT_EQ(unchanged.status, 304);
    EXPECT_TRUE(unchanged.body.isEmpty());
}

TEST(LoopbackServer, ClosesMidBodyDelaysAndStallsUntilItEnds)
{
    QElapsedTimer clock;
    {
        LoopbackServer server;
        LoopbackServer::Response cut = LoopbackServer::Response::ok(QByteArray(10000, 'x'));
        cut.closeMidBody = true;
        server.route("/cut", cut);
        LoopbackServer::Response slow = LoopbackServer::Response::ok("late");
        slow.delayMs = 300;
        server.route("/slow", slow);
        LoopbackServer::Response stalled;
        stalled.stall = true;
        server.route("/stall", stalled);

        const Fetched partial = fetch(server.url("/cut"));
        EXPECT_EQ(partial.result, CURLE_PARTIAL_FILE);
        EXPECT_EQ(partial.body.size(), 5000);

        EXPECT_EQ(fetch(server.url("/slow"), {}, false, 100).result, CURLE_OPERATION_TIMEDOUT);
        EXPECT_EQ(fetch(server.url("/slow")).body, "late");

        EXPECT_EQ(fetch(server.url("/stall"), {}, false, 200).result, CURLE_OPERATION_TIMEDOUT);
        // A client that stays connected to a stalled route must not keep the server from ending.
        clock.start();
    }
    EXPECT_LT(clock.elapsed(), 2000);
}

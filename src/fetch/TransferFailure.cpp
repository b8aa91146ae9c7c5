#include "fetch/TransferFailure.h"

#include <QHash>

QString TransferFailure::forStatus(int status)
{
    static const QHash<int, const char *> phrases{{304, "Not Modified"},
                                                  {400, "Bad Request"},
                                                  {401, "Unauthorized"},
                                                  {402, "Payment Required"},
                                                  {403, "Forbidden"},
                                                  {404, "Not Found"},
                                                  {405, "Method Not Allowed"},
                                                  {406, "Not Acceptable"},
                                                  {407, "Proxy Authentication Required"},
                                                  {408, "Request Timeout"},
                                                  {410, "Gone"},
                                                  {414, "URI Too Long"},
                                                  {429, "Too Many Requests"},
                                                  {451, "Unavailable For Legal Reasons"},
                                                  {500, "Internal Server Error"},
                                                  {501, "Not Implemented"},
                                                  {502, "Bad Gateway"},
                                                  {503, "Service Unavailable"},
                                                  {504, "Gateway Timeout"}};
    const char *phrase = phrases.value(status);
    return phrase ? QStringLiteral("%1 %2").arg(status).arg(QLatin1String(phrase))
                  : QStringLiteral("HTTP status %1").arg(status);
}

QString TransferFailure::forCurlCode(CURLcode code)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return QStringLiteral("Could not resolve host");
    case CURLE_COULDNT_CONNECT:
        return QStringLiteral("Could not connect");
    case CURLE_OPERATION_TIMEDOUT:
        return timedOut();
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
        return QStringLiteral("Certificate not trusted");
    case CURLE_SSL_CONNECT_ERROR:
        return QStringLiteral("Secure connection failed");
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_GOT_NOTHING:
        return QStringLiteral("Connection lost");
    case CURLE_TOO_MANY_REDIRECTS:
        return QStringLiteral("Too many redirects");
    case CURLE_BAD_CONTENT_ENCODING:
        return QStringLiteral("Damaged compressed answer");
    case CURLE_FILESIZE_EXCEEDED:
        return tooLarge();
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
        return notAWebAddress();
    case CURLE_WEIRD_SERVER_REPLY:
        return QStringLiteral("Not an HTTP answer");
    default:
        return QString::fromLatin1(curl_easy_strerror(code));
    }
}

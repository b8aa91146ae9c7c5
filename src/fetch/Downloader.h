// Fetches one URL per object, into memory (a page) or into a file in a folder, on the calling thread's event
// loop through libcurl, within the transfer limits. It never blocks that thread, never sends the credentials
// it holds, never overwrites a file it did not finish, and never calls its completion from inside a transfer
// callback: the completion runs on a later pass of the event loop.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>
#include <curl/curl.h>
#include <functional>

// Keys of the context dictionary a file transfer carries as its contextInfo.
inline const QString DownloadTypeKey = QStringLiteral("DownloadTypeKey");
inline const QString DownloadFeedKey = QStringLiteral("DownloadFeedKey");
inline const QString IconTypeKey = QStringLiteral("IconTypeKey");
inline const QString DownloadEnclosureKey = QStringLiteral("DownloadEnclosureKey");
inline const QString DownloadPathKey = QStringLiteral("DownloadPathKey");

class Downloader : public QObject
{
    Q_OBJECT
public:
    enum DownloadState
    {
        DownloadStateDone = 0,
        DownloadStateAuthFailed = 1,
        DownloadStateNotModified = 2,
        DownloadStateActive = 3
    };
    enum DownloadType
    {
        DownloadTypeEnclosure = 1,
        DownloadTypeIcon = 2,
        DownloadTypeFeedSource = 4
    };

    // The delegate's completion: called once with this Downloader, on a later pass of the event loop, and
    // never after cancel(). The delegate keeps the Downloader alive until then.
    using Completion = std::function<void(Downloader *)>;

    Downloader();
    ~Downloader() override;

    // A page transfer into receivedData. False when no transfer could be started; then no completion comes.
    bool beginDownloadFromURL(const QUrl &url, const QString &username, const QString &password,
                              QObject *delegate, const QVariant &contextInfo, Completion didEndSelector);
    // A file transfer saved into the destination folder under fileName.
    bool beginDownloadFromURL(const QUrl &url, const QString &destination, const QString &username,
                              const QString &password, QObject *delegate, const QVariant &contextInfo,
                              Completion didEndSelector);
    // Drops the transfer: no further event, notification or completion follows.
    void cancel();

    int state() const { return m_state; }
    void setState(int state) { m_state = state; }
    QByteArray receivedData() const { return m_receivedData; }
    // The character set the response declared, else "ISO-8859-1".
    QString encoding() const { return m_encoding; }
    void setEncoding(const QString &encoding) { m_encoding = encoding; }
    // A FeedPtr for feed pages, a context dictionary (QVariantMap) for file transfers.
    QVariant contextInfo() const { return m_contextInfo; }
    void setContextInfo(const QVariant &contextInfo) { m_contextInfo = contextInfo; }
    QString destination() const { return m_destination; }
    void setDestination(const QString &destination) { m_destination = destination; }
    QString fileName() const { return m_fileName; }
    void setFileName(const QString &fileName) { m_fileName = fileName; }
    double bytes() const { return m_bytes; }
    QMap<QString, QString> responseHeaders() const { return m_responseHeaders; }
    void setResponseHeaders(const QMap<QString, QString> &headers) { m_responseHeaders = headers; }
    QMap<QString, QString> httpHeaders() const { return m_httpHeaders; }
    void setHttpHeaders(const QMap<QString, QString> &headers) { m_httpHeaders = headers; }
    QString username() const { return m_username; }
    void setUsername(const QString &username) { m_username = username; }
    QString password() const { return m_password; }
    void setPassword(const QString &password) { m_password = password; }
    QObject *delegate() const { return m_delegate; }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }

    // A header of the last answer, whatever the case of its name; empty when it sent none.
    QString responseHeader(const QString &name) const;
    // The status of the last answer, 0 before one arrived.
    int statusCode() const { return m_statusCode; }
    // Where the transfer ended up after redirects.
    QUrl effectiveURL() const { return m_effectiveURL; }
    // Why a failed transfer failed ("404 Not Found", "Timed out", "Too large"); empty otherwise.
    QString failureReason() const { return m_failureReason; }

private:
    bool start(const QUrl &url, QObject *delegate, const QVariant &contextInfo, Completion didEndSelector);
    curl_slist *requestHeaders() const;
    static size_t headerCallback(char *data, size_t size, size_t count, void *self);
    static size_t writeCallback(char *data, size_t size, size_t count, void *self);
    size_t inCallback(size_t length, const std::function<bool(Downloader &)> &step);
    bool takeHeaderLine(const QByteArray &line);
    bool endOfHeaders();
    bool refuse(const QString &reason);
    bool pageResponse();
    bool fileResponse();
    bool receive(const char *data, size_t length);
    bool write(const char *data, size_t length);
    QString pendingHeader(const QString &name) const;
    QString suggestedFileName() const;
    void timedOut();
    void finished(CURLcode result);
    void pageFinished(bool succeeded);
    void fileFinished(bool succeeded);
    bool keepFile();
    bool keepUnderFreeName();
    bool keepIcon();
    void informDelegate();
    void stopTransfer();
    void discardPartFile();
    int downloadType() const;

    CURL *m_urlConnection = nullptr;
    CURL *m_urlDownload = nullptr;
    QByteArray m_receivedData;
    QMap<QString, QString> m_httpHeaders;
    QMap<QString, QString> m_responseHeaders;
    QString m_username;
    QString m_password;
    QString m_destination;
    QString m_fileName;
    QString m_encoding;
    QPointer<QObject> m_delegate;
    Completion m_didEndSelector;
    int m_state = DownloadStateDone;
    QVariant m_contextInfo;
    double m_bytes = 0;

    QUrl m_url;
    QUrl m_effectiveURL;
    curl_slist *m_requestHeaderList = nullptr;
    // A file transfer writes here and becomes fileName only once it is complete.
    QFile m_file;
    QTimer m_stallTimer;
    QTimer m_totalTimer;
    int m_stallMs = 0;
    qint64 m_byteLimit = 0; // 0: none
    qint64 m_headerBytes = 0;
    qint64 m_bytesSinceSpaceCheck = 0;
    int m_statusCode = 0;
    int m_pendingStatus = 0;
    QMap<QString, QString> m_pendingHeaders;
    bool m_toFile = false;
    bool m_hadDelegate = false;
    bool m_notModified = false;
    bool m_inCallback = false;
    bool m_cancelled = false;
    QString m_failureReason;
};

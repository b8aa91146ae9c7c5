#include "fetch/Downloader.h"

#include "fetch/CurlMulti.h"
#include "fetch/TransferDefaults.h"
#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"

#include <QFileInfo>

namespace {

int &defaultTimeoutInterval()
{
    static int milliseconds = int(TransferDefaults::timeoutSeconds * 1000);
    return milliseconds;
}

Downloader::IconRequester &iconRequester()
{
    static Downloader::IconRequester requester;
    return requester;
}

QString declaredCharset(const QString &contentType)
{
    const QStringList parameters = contentType.split(u';');
    for (qsizetype i = 1; i < parameters.size(); ++i) {
        const QString parameter = parameters[i].trimmed();
        if (parameter.startsWith(QStringLiteral("charset="), Qt::CaseInsensitive)) {
            QString name = parameter.mid(8).trimmed();
            if (name.size() >= 2 && name.startsWith(u'"') && name.endsWith(u'"'))
                name = name.mid(1, name.size() - 2);
            return name;
        }
    }
    return {};
}

std::shared_ptr<Feed> feedIn(const QVariant &context)
{
    if (context.metaType() == QMetaType::fromType<QVariantMap>())
        return context.toMap().value(DownloadFeedKey).value<std::shared_ptr<Feed>>();
    return context.value<std::shared_ptr<Feed>>();
}

QString siteAuthority(const QUrl &site)
{
    // The port stays with the host: a site served on its own port keeps its icons there too.
    return site.port() < 0 ? site.host() : QStringLiteral("%1:%2").arg(site.host()).arg(site.port());
}

} // namespace

Downloader::Downloader() : m_timeoutInterval(defaultTimeoutInterval())
{
    m_stallTimer.setSingleShot(true);
    connect(&m_stallTimer, &QTimer::timeout, this, [this] {
        CURL *easy = m_urlConnection ? m_urlConnection : m_urlDownload;
        if (!easy)
            return;
        CurlMulti::forCurrentThread().remove(easy);
        m_failureReason = QStringLiteral("The request timed out.");
        finished(CURLE_OPERATION_TIMEDOUT);
    });
}

Downloader::~Downloader()
{
    m_cancelled = true;
    stopTransfer();
}

void Downloader::setDefaultTimeoutInterval(int milliseconds)
{
    defaultTimeoutInterval() = milliseconds;
}

void Downloader::setIconRequester(IconRequester requester)
{
    iconRequester() = std::move(requester);
}

bool Downloader::beginDownloadFromURL(const QUrl &url, const QString &username, const QString &password,
                                      QObject *delegate, const QVariant &contextInfo,
                                      Completion didEndSelector)
{
    m_toFile = false;
    m_username = username;
    m_password = password;
    return start(url, delegate, contextInfo, std::move(didEndSelector));
}

bool Downloader::beginDownloadFromURL(const QUrl &url, const QString &destination, const QString &username,
                                      const QString &password, QObject *delegate, const QVariant &contextInfo,
                                      Completion didEndSelector)
{
    m_toFile = true;
    m_username = username;
    m_password = password;
    m_destination = destination;
    return start(url, delegate, contextInfo, std::move(didEndSelector));
}

bool Downloader::start(const QUrl &url, QObject *delegate, const QVariant &contextInfo,
                       Completion didEndSelector)
{
    m_delegate = delegate;
    m_hadDelegate = delegate != nullptr;
    m_contextInfo = contextInfo;
    m_didEndSelector = std::move(didEndSelector);
    m_url = url;
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != u"http" && scheme != u"https"))
        return false;
    CURL *easy = curl_easy_init();
    if (!easy)
        return false;
    m_requestHeaderList = requestHeaders();
    if (m_toFile)
        NotificationCenter::defaultCenter().post(QStringLiteral("FileDownloadBeginingNotification"),
                                                 QVariant::fromValue(this));
    m_requestHeaderList = curl_slist_append(
        m_requestHeaderList, ("User-agent: " + TransferDefaults::userAgent()).toUtf8().constData());
    m_state = DownloadStateActive;

    const QByteArray address = url.toEncoded();
    curl_easy_setopt(easy, CURLOPT_URL, address.constData());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 20L);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, m_requestHeaderList);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Downloader::headerCallback);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Downloader::writeCallback);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_errorText);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    (m_toFile ? m_urlDownload : m_urlConnection) = easy;
    if (!CurlMulti::forCurrentThread().add(easy, [this](CURLcode result) { finished(result); })) {
        stopTransfer();
        return false;
    }
    m_stallTimer.start(m_timeoutInterval);
    return true;
}

curl_slist *Downloader::requestHeaders() const
{
    // Nothing is kept between runs, so asking caches on the way to skip their copies is all that is left.
    curl_slist *list = curl_slist_append(nullptr, "Cache-Control: no-cache");
    for (auto it = m_httpHeaders.cbegin(); it != m_httpHeaders.cend(); ++it) {
        if (!it.value().isEmpty())
            list =
                curl_slist_append(list, (it.key() + QStringLiteral(": ") + it.value()).toUtf8().constData());
    }
    return list;
}

void Downloader::cancel()
{
    m_cancelled = true;
    // Inside a curl callback the handle cannot leave the multi; the callback refuses and the end cleans up.
    if (!m_inCallback)
        stopTransfer();
}

size_t Downloader::headerCallback(char *data, size_t size, size_t count, void *self)
{
    const size_t length = size * count;
    return static_cast<Downloader *>(self)->inCallback(length, [&](Downloader &downloader) {
        return downloader.takeHeaderLine(QByteArray(data, qsizetype(length)));
    });
}

size_t Downloader::writeCallback(char *data, size_t size, size_t count, void *self)
{
    const size_t length = size * count;
    return static_cast<Downloader *>(self)->inCallback(
        length, [&](Downloader &downloader) { return downloader.receive(data, length); });
}

// Any sign of life restarts the stall timer; a cancel, before or during the step, makes curl stop.
size_t Downloader::inCallback(size_t length, const std::function<bool(Downloader &)> &step)
{
    if (m_cancelled)
        return 0;
    m_stallTimer.start(m_timeoutInterval);
    m_inCallback = true;
    const bool goOn = step(*this);
    m_inCallback = false;
    return goOn && !m_cancelled ? length : 0;
}

bool Downloader::takeHeaderLine(const QByteArray &line)
{
    if (line.startsWith("HTTP/")) {
        m_pendingHeaders.clear();
        m_pendingStatus = line.trimmed().split(' ').value(1).toInt();
        return true;
    }
    const QByteArray trimmed = line.trimmed();
    if (trimmed.isEmpty())
        return endOfHeaders();
    const qsizetype colon = trimmed.indexOf(':');
    if (colon <= 0)
        return true;
    const QString name = QString::fromLatin1(trimmed.left(colon).trimmed());
    const QString value = QString::fromLatin1(trimmed.mid(colon + 1).trimmed());
    const QString earlier = m_pendingHeaders.value(name);
    m_pendingHeaders.insert(name, earlier.isEmpty() ? value : earlier + QStringLiteral(", ") + value);
    return true;
}

bool Downloader::endOfHeaders()
{
    const int status = m_pendingStatus;
    // Interim answers (100 Continue) and redirects that curl follows are not responses of their own.
    if (status < 200)
        return true;
    if (status >= 300 && status < 400 && status != 304 &&
        !pendingHeader(QStringLiteral("Location")).isEmpty())
        return true;
    if (status == 401 && !pendingHeader(QStringLiteral("WWW-Authenticate")).isEmpty()) {
        // The challenge is refused without offering anything; the failure that follows makes it state 1.
        m_state = DownloadStateNotModified;
        m_failureReason = QStringLiteral("The server asked for credentials, and none are sent.");
        return false;
    }
    return m_toFile ? fileResponse() : pageResponse();
}

bool Downloader::pageResponse()
{
    m_bytes = 0;
    m_receivedData.clear();
    m_responseHeaders = m_pendingHeaders;
    if (m_pendingStatus == 304) {
        m_state = DownloadStateNotModified;
        m_notModified = true;
        return false;
    }
    const QString charset = declaredCharset(pendingHeader(QStringLiteral("Content-Type")));
    if (const std::shared_ptr<Feed> feed = m_contextInfo.value<std::shared_ptr<Feed>>())
        feed->setEncoding(charset);
    m_encoding = charset.isEmpty() ? QStringLiteral("ISO-8859-1") : charset;
    return true;
}

bool Downloader::fileResponse()
{
    m_bytes = 0;
    QString name = suggestedFileName();
    const std::shared_ptr<Feed> feed = feedIn(m_contextInfo);
    if (downloadType() == DownloadTypeIcon && feed)
        name = QStringLiteral("%1.%2").arg(feed->uniqueID(), QFileInfo(name).suffix());
    setFileName(name);
    m_file.close();
    m_file.setFileName(QStringLiteral("%1/%2").arg(m_destination, name));
    if (m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return true;
    m_failureReason = m_file.errorString();
    return false;
}

bool Downloader::receive(const char *data, size_t length)
{
    m_bytes += double(length);
    if (!m_toFile) {
        m_receivedData.append(data, qsizetype(length));
        return true;
    }
    if (!m_file.isOpen())
        return true;
    if (m_file.write(data, qint64(length)) != qint64(length)) {
        m_failureReason = m_file.errorString();
        return false;
    }
    NotificationCenter::defaultCenter().post(QStringLiteral("FileDownloadProgressedNotification"),
                                             QVariant::fromValue(this));
    return true;
}

QString Downloader::pendingHeader(const QString &name) const
{
    for (auto it = m_pendingHeaders.cbegin(); it != m_pendingHeaders.cend(); ++it) {
        if (it.key().compare(name, Qt::CaseInsensitive) == 0)
            return it.value();
    }
    return {};
}

QString Downloader::suggestedFileName() const
{
    const QString disposition = pendingHeader(QStringLiteral("Content-Disposition"));
    const qsizetype at = disposition.indexOf(QStringLiteral("filename="), 0, Qt::CaseInsensitive);
    QString name;
    if (at >= 0) {
        name = disposition.mid(at + 9).section(u';', 0, 0).trimmed();
        if (name.startsWith(u'"'))
            name = name.mid(1).section(u'"', 0, 0);
    }
    if (name.isEmpty()) {
        CURL *easy = m_urlDownload;
        const char *effective = nullptr;
        curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &effective);
        name = QUrl(QString::fromUtf8(effective ? effective : "")).fileName();
    }
    // Only the last component counts: a server must not steer the file out of the destination folder.
    name = QFileInfo(name).fileName();
    return name.isEmpty() || name == u".." ? QStringLiteral("download") : name;
}

void Downloader::finished(CURLcode result)
{
    m_stallTimer.stop();
    CURL *&easy = m_toFile ? m_urlDownload : m_urlConnection;
    curl_easy_cleanup(easy);
    easy = nullptr;
    curl_slist_free_all(m_requestHeaderList);
    m_requestHeaderList = nullptr;
    if (m_cancelled) {
        stopTransfer();
        return;
    }
    const bool succeeded = result == CURLE_OK;
    if (!succeeded && m_failureReason.isEmpty())
        m_failureReason = m_errorText[0] ? QString::fromLocal8Bit(m_errorText)
                                         : QString::fromLatin1(curl_easy_strerror(result));
    if (m_toFile)
        fileFinished(succeeded);
    else
        pageFinished(succeeded);
}

void Downloader::pageFinished(bool succeeded)
{
    if (succeeded)
        m_state = DownloadStateDone;
    else if (m_state == DownloadStateNotModified && !m_notModified)
        m_state = DownloadStateAuthFailed;
    informDelegate();
}

void Downloader::fileFinished(bool succeeded)
{
    if (succeeded) {
        m_file.close();
        if (downloadType() == DownloadTypeIcon) {
            if (const std::shared_ptr<Feed> feed = feedIn(m_contextInfo))
                feed->setCustomIconAvailable(true);
        }
        m_state = DownloadStateDone;
        NotificationCenter::defaultCenter().post(QStringLiteral("FileDownloadCompleteNotification"),
                                                 QVariant::fromValue(this));
        informDelegate();
        return;
    }
    if (m_file.isOpen()) {
        m_file.close();
        m_file.remove();
    }
    if (downloadType() == DownloadTypeIcon)
        fallBackToNextIcon();
    else
        Log::write(QStringLiteral("Failed downloading: %1").arg(m_url.toString()));
    if (!m_failureReason.isEmpty())
        Log::write(QStringLiteral("- Cause: %1").arg(m_failureReason));
    if (m_state == DownloadStateNotModified)
        m_state = DownloadStateAuthFailed;
    informDelegate();
}

void Downloader::fallBackToNextIcon() const
{
    const std::shared_ptr<Feed> feed = feedIn(m_contextInfo);
    if (!feed)
        return;
    const int failed = m_contextInfo.toMap().value(IconTypeKey).toInt();
    if (failed != 1 && failed != 2) {
        feed->setCustomIconAvailable(false);
        return;
    }
    const QString site = siteAuthority(feed->link());
    const QUrl next(failed == 1 ? QStringLiteral("http://%1/apple-touch-icon.png").arg(site)
                                : QStringLiteral("http://%1/favicon.ico").arg(site));
    const QVariantMap context{{DownloadTypeKey, int(DownloadTypeIcon)},
                              {DownloadFeedKey, QVariant::fromValue(feed)},
                              {IconTypeKey, failed + 1}};
    if (iconRequester())
        iconRequester()(next, FeedLibrary::iconPath(), context);
}

void Downloader::informDelegate()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_cancelled || (m_hadDelegate && !m_delegate) || !m_didEndSelector)
                return;
            m_didEndSelector(this);
        },
        Qt::QueuedConnection);
}

void Downloader::stopTransfer()
{
    m_stallTimer.stop();
    for (CURL **easy : {&m_urlConnection, &m_urlDownload}) {
        if (*easy) {
            CurlMulti::forCurrentThread().remove(*easy);
            curl_easy_cleanup(*easy);
            *easy = nullptr;
        }
    }
    curl_slist_free_all(m_requestHeaderList);
    m_requestHeaderList = nullptr;
    if (m_file.isOpen()) {
        m_file.close();
        m_file.remove();
    }
}

int Downloader::downloadType() const
{
    return m_contextInfo.toMap().value(DownloadTypeKey).toInt();
}

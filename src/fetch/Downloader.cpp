#include "fetch/Downloader.h"

#include "fetch/CurlMulti.h"
#include "fetch/TransferDefaults.h"
#include "fetch/TransferFailure.h"
#include "model/Feed.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>
#include <QStorageInfo>
#include <cstdio>

namespace {

// Icons larger than this on either side are no icons but pictures someone wants us to decode.
constexpr int largestIconSide = 2048;
// How often an enclosure looks at the free space left on its disk.
constexpr qint64 spaceCheckEvery = 8 * 1024 * 1024;

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

QString headerIn(const QMap<QString, QString> &headers, const QString &name)
{
    for (auto it = headers.cbegin(); it != headers.cend(); ++it) {
        if (it.key().compare(name, Qt::CaseInsensitive) == 0)
            return it.value();
    }
    return {};
}

// A name the server chose is used only as a plain name in the destination folder: no path, no hidden
// file, nothing that a terminal or a file manager would read as control characters.
QString plainFileName(const QString &suggested)
{
    QString name = QFileInfo(suggested).fileName();
    name.removeIf([](QChar c) { return c.unicode() < 0x20 || c == u'\x7f'; });
    while (name.startsWith(u'.'))
        name.remove(0, 1);
    name = name.left(200).trimmed();
    return name.isEmpty() ? QStringLiteral("download") : name;
}

// "name.mp3", then "name (2).mp3", "name (3).mp3" …: the first that neither a file nor an unfinished
// download other than our own holds.
QString freeFileName(const QString &folder, const QString &name, const QString &ownPart = QString())
{
    const QFileInfo info(name);
    const QString stem = info.completeBaseName().isEmpty() ? name : info.completeBaseName();
    const QString suffix = info.completeBaseName().isEmpty() || info.suffix().isEmpty()
                               ? QString()
                               : QStringLiteral(".") + info.suffix();
    for (int number = 1;; ++number) {
        const QString candidate =
            number == 1 ? name : QStringLiteral("%1 (%2)%3").arg(stem).arg(number).arg(suffix);
        const QString path = folder + u'/' + candidate;
        const QString part = path + QStringLiteral(".part");
        if (!QFileInfo::exists(path) && (part == ownPart || !QFileInfo::exists(part)))
            return candidate;
    }
}

} // namespace

Downloader::Downloader()
{
    m_stallTimer.setSingleShot(true);
    m_totalTimer.setSingleShot(true);
    connect(&m_stallTimer, &QTimer::timeout, this, &Downloader::timedOut);
    connect(&m_totalTimer, &QTimer::timeout, this, &Downloader::timedOut);
}

Downloader::~Downloader()
{
    m_cancelled = true;
    stopTransfer();
}

QString Downloader::responseHeader(const QString &name) const
{
    return headerIn(m_responseHeaders, name);
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
    m_effectiveURL = url;
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != u"http" && scheme != u"https"))
        return false;
    CURL *easy = curl_easy_init();
    if (!easy)
        return false;
    const TransferDefaults::Limits limits = TransferDefaults::limits();
    const bool enclosure = m_toFile && downloadType() == DownloadTypeEnclosure;
    m_byteLimit = enclosure ? 0 : (downloadType() == DownloadTypeIcon ? limits.iconBytes : limits.pageBytes);
    m_stallMs = limits.stallMs;
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
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    (m_toFile ? m_urlDownload : m_urlConnection) = easy;
    if (!CurlMulti::forCurrentThread().add(easy, [this](CURLcode result) { finished(result); })) {
        stopTransfer();
        return false;
    }
    m_stallTimer.start(m_stallMs);
    // An enclosure may rightly take an hour; anything else that takes two minutes is being dripped.
    if (!enclosure)
        m_totalTimer.start(limits.totalMs);
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
    m_stallTimer.start(m_stallMs);
    m_inCallback = true;
    const bool goOn = step(*this);
    m_inCallback = false;
    return goOn && !m_cancelled ? length : 0;
}

bool Downloader::refuse(const QString &reason)
{
    m_failureReason = reason;
    return false;
}

bool Downloader::takeHeaderLine(const QByteArray &line)
{
    m_headerBytes += line.size();
    if (m_headerBytes > TransferDefaults::limits().headerBytes)
        return refuse(TransferFailure::tooLarge());
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
    m_statusCode = status;
    m_responseHeaders = m_pendingHeaders;
    const char *effective = nullptr;
    if (CURL *easy = m_toFile ? m_urlDownload : m_urlConnection;
        easy && curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &effective) == CURLE_OK && effective)
        m_effectiveURL = QUrl(QString::fromUtf8(effective));
    if (status == 401 && !pendingHeader(QStringLiteral("WWW-Authenticate")).isEmpty()) {
        // The challenge is refused without offering anything; the failure that follows makes it state 1.
        m_state = DownloadStateNotModified;
        return refuse(TransferFailure::forStatus(status));
    }
    // An error page is no feed, no icon and no episode: nothing of it is read.
    if (status >= 400)
        return refuse(TransferFailure::forStatus(status));
    // A declared length is checked before a byte is held; a compressed body is counted as it unpacks.
    if (m_byteLimit > 0 && pendingHeader(QStringLiteral("Content-Length")).toLongLong() > m_byteLimit)
        return refuse(TransferFailure::tooLarge());
    return m_toFile ? fileResponse() : pageResponse();
}

bool Downloader::pageResponse()
{
    m_bytes = 0;
    m_receivedData.clear();
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
    // No conditional request is made for a file, so this answer has nothing to save.
    if (m_pendingStatus == 304)
        return refuse(TransferFailure::forStatus(304));
    QString name = suggestedFileName();
    const std::shared_ptr<Feed> feed = feedIn(m_contextInfo);
    if (downloadType() == DownloadTypeIcon && feed)
        name = QStringLiteral("%1.%2").arg(feed->uniqueID(), QFileInfo(name).suffix().toLower());
    discardPartFile();
    // Another transfer may take a name between the look and the open; the open then fails and the next
    // free name is tried.
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString chosen = downloadType() == DownloadTypeIcon ? name : freeFileName(m_destination, name);
        const QString part = downloadType() == DownloadTypeIcon
                                 ? freeFileName(m_destination, chosen + QStringLiteral(".part"))
                                 : chosen + QStringLiteral(".part");
        m_file.setFileName(m_destination + u'/' + part);
        if (m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            setFileName(chosen);
            return true;
        }
        if (!QFileInfo::exists(m_file.fileName()))
            break;
    }
    return refuse(m_file.errorString());
}

bool Downloader::receive(const char *data, size_t length)
{
    if (m_byteLimit > 0 && m_bytes + double(length) > double(m_byteLimit)) {
        // Let go of what came so far at once: the completion may be a while off.
        QByteArray().swap(m_receivedData);
        return refuse(TransferFailure::tooLarge());
    }
    m_bytes += double(length);
    if (!m_toFile) {
        m_receivedData.append(data, qsizetype(length));
        return true;
    }
    if (!m_file.isOpen())
        return true;
    if (!write(data, length))
        return false;
    NotificationCenter::defaultCenter().post(QStringLiteral("FileDownloadProgressedNotification"),
                                             QVariant::fromValue(this));
    return true;
}

bool Downloader::write(const char *data, size_t length)
{
    m_bytesSinceSpaceCheck += qint64(length);
    if (m_bytesSinceSpaceCheck >= spaceCheckEvery) {
        m_bytesSinceSpaceCheck = 0;
        const QStorageInfo disk(m_destination);
        if (disk.isValid() && disk.bytesAvailable() < TransferDefaults::limits().reservedDiskBytes)
            return refuse(TransferFailure::diskFull());
    }
    if (m_file.write(data, qint64(length)) != qint64(length))
        return refuse(m_file.errorString());
    return true;
}

QString Downloader::pendingHeader(const QString &name) const
{
    return headerIn(m_pendingHeaders, name);
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
    // The address's last component, without its query: podcast hosts add tracking to every link.
    if (name.isEmpty())
        name = m_effectiveURL.fileName();
    return plainFileName(name);
}

void Downloader::timedOut()
{
    CURL *easy = m_urlConnection ? m_urlConnection : m_urlDownload;
    if (!easy)
        return;
    CurlMulti::forCurrentThread().remove(easy);
    m_failureReason = TransferFailure::timedOut();
    finished(CURLE_OPERATION_TIMEDOUT);
}

void Downloader::finished(CURLcode result)
{
    m_stallTimer.stop();
    m_totalTimer.stop();
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
    if (!succeeded && m_failureReason.isEmpty() && !m_notModified)
        m_failureReason = TransferFailure::forCurlCode(result);
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
    if (!succeeded)
        QByteArray().swap(m_receivedData);
    informDelegate();
}

void Downloader::fileFinished(bool succeeded)
{
    m_file.close();
    if (succeeded && keepFile()) {
        m_state = DownloadStateDone;
        NotificationCenter::defaultCenter().post(QStringLiteral("FileDownloadCompleteNotification"),
                                                 QVariant::fromValue(this));
        informDelegate();
        return;
    }
    discardPartFile();
    // A failed icon is the next candidate's cue, which its delegate queues; no cause for alarm.
    if (downloadType() != DownloadTypeIcon)
        Log::write(QStringLiteral("Failed downloading: %1").arg(m_url.toString()));
    if (!m_failureReason.isEmpty())
        Log::write(QStringLiteral("- Cause: %1").arg(m_failureReason));
    if (m_state == DownloadStateNotModified)
        m_state = DownloadStateAuthFailed;
    informDelegate();
}

// The finished file takes its name only now, so a failed or cancelled transfer leaves any earlier file
// of that name as it was; a name taken meanwhile moves the file on to the next free one.
bool Downloader::keepFile()
{
    const bool kept = downloadType() == DownloadTypeIcon ? keepIcon() : keepUnderFreeName();
    // Renamed away: the name of the unfinished file may be another transfer's by the time we end.
    if (kept)
        m_file.setFileName(QString());
    return kept;
}

bool Downloader::keepUnderFreeName()
{
    const QString part = m_file.fileName();
    for (int attempt = 0; attempt < 3; ++attempt) {
        const QString name = freeFileName(m_destination, m_fileName, part);
        if (QFile::rename(part, m_destination + u'/' + name)) {
            setFileName(name);
            return true;
        }
    }
    return refuse(QStringLiteral("Cannot save the file"));
}

// Only a picture becomes the feed's icon, stored as the format it really is, replacing the feed's
// earlier icon of any format.
bool Downloader::keepIcon()
{
    const std::shared_ptr<Feed> feed = feedIn(m_contextInfo);
    QImageReader reader(m_file.fileName());
    const QSize size = reader.size();
    const QByteArray format = QImageReader::imageFormat(m_file.fileName());
    if (!feed || !size.isValid() || size.width() > largestIconSide || size.height() > largestIconSide)
        return refuse(TransferFailure::notAnImage());
    const QImage image = reader.read();
    if (image.isNull())
        return refuse(TransferFailure::notAnImage());
    const QString stored = format == "ico" ? QStringLiteral("ico") : QStringLiteral("png");
    const QString target = QStringLiteral("%1/%2.%3").arg(m_destination, feed->uniqueID(), stored);
    // A rename replaces the older icon in one step; another format is converted instead.
    const bool converted = format != stored.toLatin1();
    QSaveFile png(target);
    const bool kept = converted ? png.open(QIODevice::WriteOnly) && image.save(&png, "png") && png.commit() &&
                                      m_file.remove()
                                : std::rename(QFile::encodeName(m_file.fileName()).constData(),
                                              QFile::encodeName(target).constData()) == 0;
    if (!kept)
        return refuse(QStringLiteral("Cannot save the file"));
    for (const char *extension : {"png", "ico"}) {
        if (stored != QLatin1String(extension))
            QFile::remove(
                QStringLiteral("%1/%2.%3").arg(m_destination, feed->uniqueID(), QLatin1String(extension)));
    }
    setFileName(QFileInfo(target).fileName());
    feed->setFavIcon(QImage());
    feed->setCustomIconAvailable(true);
    return true;
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
    m_totalTimer.stop();
    for (CURL **easy : {&m_urlConnection, &m_urlDownload}) {
        if (*easy) {
            CurlMulti::forCurrentThread().remove(*easy);
            curl_easy_cleanup(*easy);
            *easy = nullptr;
        }
    }
    curl_slist_free_all(m_requestHeaderList);
    m_requestHeaderList = nullptr;
    discardPartFile();
}

void Downloader::discardPartFile()
{
    m_file.close();
    if (!m_file.fileName().isEmpty())
        m_file.remove();
    m_file.setFileName(QString());
}

int Downloader::downloadType() const
{
    return m_contextInfo.toMap().value(DownloadTypeKey).toInt();
}

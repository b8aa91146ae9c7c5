#include "app/LocalFileGuard.h"

#include <QDir>
#include <QFileInfo>

namespace {

// Folders compared by their real paths, each with its separator, so that "images-extra" is not
// taken for "images" and a symbolic link cannot lead outside.
QString canonicalFolder(const QString &folder)
{
    const QString real = QFileInfo(folder).canonicalFilePath();
    return (real.isEmpty() ? QDir::cleanPath(folder) : real) + u'/';
}

} // namespace

LocalFileGuard::LocalFileGuard(const QStringList &allowedFolders, QObject *parent)
    : QWebEngineUrlRequestInterceptor(parent)
{
    for (const QString &folder : allowedFolders)
        m_allowedFolders.append(canonicalFolder(folder));
}

bool LocalFileGuard::mayLoad(const QUrl &url) const
{
    if (!url.isLocalFile())
        return url.scheme() != QLatin1String("file");
    const QString cleaned = QDir::cleanPath(url.toLocalFile());
    const QString real = QFileInfo(cleaned).canonicalFilePath();
    const QString path = real.isEmpty() ? cleaned : real;
    for (const QString &folder : m_allowedFolders)
        if (path.startsWith(folder))
            return true;
    return false;
}

void LocalFileGuard::interceptRequest(QWebEngineUrlRequestInfo &info)
{
    if (!mayLoad(info.requestUrl()))
        info.block(true);
}

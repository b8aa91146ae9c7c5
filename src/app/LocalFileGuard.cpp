#include "app/LocalFileGuard.h"

#include <QDir>
#include <QFileInfo>

namespace {

// The real path of a file that may not exist: its deepest existing folder resolved, the rest as written,
// so that a symbolic link on the way cannot lead outside unseen.
QString realPath(const QString &path)
{
    QString existing = QDir::cleanPath(path);
    QString rest;
    while (!existing.isEmpty() && !QFileInfo::exists(existing)) {
        const qsizetype slash = existing.lastIndexOf(u'/');
        if (slash < 0)
            return QDir::cleanPath(path);
        rest = existing.mid(slash) + rest;
        existing = existing.left(slash);
    }
    const QString resolved =
        QFileInfo(existing.isEmpty() ? QStringLiteral("/") : existing).canonicalFilePath();
    return resolved == QLatin1String("/") ? rest : resolved + rest;
}

// Folders carry their separator, so that "images-extra" is not taken for "images".
QString canonicalFolder(const QString &folder)
{
    return realPath(folder) + u'/';
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
    const QString path = realPath(url.toLocalFile());
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

#include "platform/Resources.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

QString Resources::folder()
{
    const QString programFolder =
        QCoreApplication::instance() ? QCoreApplication::applicationDirPath() : QString();
    return folder(qEnvironmentVariable("QUILLBAY_RESOURCES"), programFolder);
}

QString Resources::folder(const QString &fromEnvironment, const QString &programFolder)
{
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    // An installed program keeps its resources in <prefix>/share beside <prefix>/bin.
    if (!programFolder.isEmpty()) {
        const QString installed = programFolder + QStringLiteral("/../share/quillbay/resources");
        if (QFileInfo(installed).isDir())
            return QDir::cleanPath(installed);
    }
    return QStringLiteral(QB_RESOURCE_DIR);
}

QUrl Resources::folderUrl()
{
    return QUrl::fromLocalFile(folder());
}

QString Resources::path(const QString &name, const QString &type)
{
    return QStringLiteral("%1/%2.%3").arg(folder(), name, type);
}

QString Resources::text(const QString &name, const QString &type)
{
    QFile file(path(name, type));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

#include "platform/Resources.h"

#include <QFile>

QString Resources::folder()
{
    const QString fromEnvironment = qEnvironmentVariable("QUILLBAY_RESOURCES");
    return fromEnvironment.isEmpty() ? QStringLiteral(QB_RESOURCE_DIR) : fromEnvironment;
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

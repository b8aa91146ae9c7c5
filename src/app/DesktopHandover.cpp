#include "app/DesktopHandover.h"

#include "platform/Log.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

namespace {

bool hasScheme(const QString &argument)
{
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]+:"));
    return scheme.match(argument).hasMatch();
}

} // namespace

bool DesktopHandover::isFeedAddress(const QString &argument)
{
    for (const char *prefix : {"feed:", "http://", "https://"})
        if (argument.startsWith(QLatin1String(prefix), Qt::CaseInsensitive))
            return true;
    return false;
}

QStringList DesktopHandover::argumentsToHandOver(const QStringList &arguments, const QString &workingFolder)
{
    QStringList handed;
    for (const QString &argument : arguments) {
        if (argument.isEmpty() || argument.startsWith(u'-'))
            continue;
        const QString form = handedOverForm(argument, workingFolder);
        if (form.isEmpty())
            Log::write(QStringLiteral("QuillBay can only open files on this computer, not %1").arg(argument));
        else
            handed.append(form);
    }
    return handed;
}

QString DesktopHandover::handedOverForm(const QString &argument, const QString &workingFolder)
{
    const QDir folder(workingFolder);
    if (isFeedAddress(argument))
        return argument;
    // A name such as "notes:2024.opml" in the starting folder is a file, not an address.
    if (!hasScheme(argument) || QFileInfo::exists(folder.absoluteFilePath(argument)))
        return QDir::cleanPath(folder.absoluteFilePath(argument));
    QUrl address(argument);
    if (address.host().compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0)
        address.setHost(QString());
    if (address.isLocalFile() && address.host().isEmpty())
        return QDir::cleanPath(address.toLocalFile());
    return {};
}

QStringList DesktopHandover::feedAddresses(const QStringList &handedOver)
{
    QStringList addresses;
    for (const QString &argument : handedOver)
        if (isFeedAddress(argument))
            addresses.append(argument);
    return addresses;
}

QStringList DesktopHandover::files(const QStringList &handedOver)
{
    QStringList paths;
    for (const QString &argument : handedOver)
        if (!argument.isEmpty() && !isFeedAddress(argument))
            paths.append(argument);
    return paths;
}

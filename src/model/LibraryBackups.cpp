#include "model/LibraryBackups.h"

#include "model/Folder.h"
#include "model/LibraryArchive.h"
#include "platform/AtomicFile.h"
#include "platform/Log.h"

#include <QFile>

namespace {
QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

LibraryBackups::LibraryBackups(const QString &libraryFile) : m_libraryFile(libraryFile) {}

QString LibraryBackups::path(int generation) const
{
    return QStringLiteral("%1.backup-%2").arg(m_libraryFile).arg(generation);
}

void LibraryBackups::keep(const QByteArray &readableLibrary) const
{
    if (contents(path(1)) == readableLibrary)
        return;
    QFile::remove(path(generations));
    for (int generation = generations - 1; generation >= 1; --generation)
        QFile::rename(path(generation), path(generation + 1));
    QString error;
    if (!AtomicFile::writePrivate(path(1), readableLibrary, &error))
        Log::write(
            QStringLiteral("-[FeedLibrary load] could not keep a backup as %1: %2").arg(path(1), error));
}

QString LibraryBackups::newestReadable() const
{
    for (int generation = 1; generation <= generations; ++generation) {
        const QByteArray bytes = contents(path(generation));
        if (std::dynamic_pointer_cast<Folder>(LibraryArchive::unarchiveRoot(bytes)))
            return path(generation);
    }
    return {};
}

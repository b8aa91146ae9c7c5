#include "platform/AtomicFile.h"

#include <QSaveFile>

bool AtomicFile::write(const QString &path, const QByteArray &bytes, QString *errorString)
{
    return write(path, bytes, errorString, false);
}

bool AtomicFile::writePrivate(const QString &path, const QByteArray &bytes, QString *errorString)
{
    return write(path, bytes, errorString, true);
}

bool AtomicFile::write(const QString &path, const QByteArray &bytes, QString *errorString, bool ownerOnly)
{
    QSaveFile file(path);
    // Unbuffered, so that a short write (a full disk) shows here; a buffered one is lost in the flush
    // at commit, which would then put a cut-off file in place of the old one.
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        // The modes go on the temporary file, so that no other user can ever read the new contents.
        const bool modesSet = !ownerOnly || file.setPermissions(privateFileModes);
        const qint64 written = modesSet ? file.write(bytes) : -1;
        if (written == bytes.size() && file.commit())
            return true;
        const bool silentShortWrite = written != bytes.size() && file.error() == QFileDevice::NoError;
        if (errorString)
            *errorString =
                silentShortWrite
                    ? QStringLiteral("only %1 of %2 bytes could be written").arg(written).arg(bytes.size())
                    : file.errorString();
        file.cancelWriting();
        return false;
    }
    if (errorString)
        *errorString = file.errorString();
    return false;
}

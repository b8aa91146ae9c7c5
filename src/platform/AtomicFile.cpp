#include "platform/AtomicFile.h"

#include <QSaveFile>

bool AtomicFile::write(const QString &path, const QByteArray &bytes, QString *errorString)
{
    QSaveFile file(path);
    // Unbuffered, so that a short write (a full disk) shows here; a buffered one is lost in the flush
    // at commit, which would then put a cut-off file in place of the old one.
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        const qint64 written = file.write(bytes);
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

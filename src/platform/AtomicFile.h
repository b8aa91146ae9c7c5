// Replaces a file's contents all at once: the old file stays in place unless every byte of the new
// one reached the disk. It never leaves a temporary file behind.
#pragma once

#include <QByteArray>
#include <QFileDevice>
#include <QString>

class AtomicFile
{
public:
    // False, with the reason in errorString, when the file could not be written whole.
    static bool write(const QString &path, const QByteArray &bytes, QString *errorString);
    // The same for a file only its owner may read or write, whatever modes an older copy had.
    static bool writePrivate(const QString &path, const QByteArray &bytes, QString *errorString);

    static constexpr QFileDevice::Permissions privateFileModes =
        QFileDevice::ReadOwner | QFileDevice::WriteOwner;

private:
    static bool write(const QString &path, const QByteArray &bytes, QString *errorString, bool ownerOnly);
};

// The three rotating copies of the last readable Feeds.library, kept beside it, newest first. They are
// written only from a library that was read whole, and the library file itself is never touched here.
#pragma once

#include <QByteArray>
#include <QString>

class LibraryBackups
{
public:
    static constexpr int generations = 3;

    explicit LibraryBackups(const QString &libraryFile);

    // Generation 1 is the newest copy.
    QString path(int generation) const;
    // Keeps the bytes of a library that was just read as the newest copy, dropping the oldest; bytes
    // the newest copy already holds rotate nothing, so restarts without a change keep older copies.
    void keep(const QByteArray &readableLibrary) const;
    // The newest copy that still decodes; empty when none does.
    QString newestReadable() const;

private:
    QString m_libraryFile;
};

// The library folder's one-writer lock: held by the program that writes Feeds.library and the article
// database, taken over from a program that died holding it. It never takes the folder from a live one.
#pragma once

#include <QString>
#include <chrono>
#include <memory>

class QLockFile;

class LibraryLock
{
public:
    explicit LibraryLock(const QString &folder);
    ~LibraryLock();
    LibraryLock(const LibraryLock &) = delete;
    LibraryLock &operator=(const LibraryLock &) = delete;

    static QString lockFilePath(const QString &folder);
    QString folder() const { return m_folder; }

    // Waits up to `wait` for another writer to let go; true once this program holds the folder.
    bool tryLock(std::chrono::milliseconds wait);
    bool isLocked() const;
    // The program holding the folder, as "quillbay-cli (process 4242)"; empty when nobody does.
    QString holder() const;

private:
    QString m_folder;
    std::unique_ptr<QLockFile> m_file;
};

// One transfer waiting in the feed updater's queue, before a Downloader exists for it.
// A plain record: it never starts, checks or changes anything itself.
#pragma once

#include <QString>
#include <QUrl>
#include <QVariant>

class DownloadItem
{
public:
    DownloadItem();

    QString title() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }
    QUrl downloadURL() const { return m_downloadURL; }
    void setDownloadURL(const QUrl &downloadURL) { m_downloadURL = downloadURL; }
    // A FeedPtr for a refresh, a context dictionary (QVariantMap) for a file transfer.
    QVariant representedObject() const { return m_representedObject; }
    void setRepresentedObject(const QVariant &representedObject) { m_representedObject = representedObject; }
    QString username() const { return m_username; }
    void setUsername(const QString &username) { m_username = username; }
    QString password() const { return m_password; }
    void setPassword(const QString &password) { m_password = password; }
    // Empty for a refresh.
    QString destination() const { return m_destination; }
    void setDestination(const QString &destination) { m_destination = destination; }

private:
    QString m_title;
    QUrl m_downloadURL;
    QVariant m_representedObject;
    QString m_username;
    QString m_password;
    QString m_destination;
};

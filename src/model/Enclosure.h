// The media file attached to an article (a podcast episode and the like), with its dictionary form
// for the article database. It belongs to its article and knows nothing of downloads in progress.
#pragma once

#include "platform/Archivable.h"

#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <memory>

class Enclosure : public Archivable
{
public:
    Enclosure() = default;

    QString title() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }
    QUrl link() const { return m_link; }
    void setLink(const QUrl &link); // a non-empty link also names the enclosure after its file
    QString localFilePath() const { return m_localFilePath; }
    void setLocalFilePath(const QString &path) { m_localFilePath = path; }
    QString mimeType() const { return m_mimeType; }
    void setMimeType(const QString &type) { m_mimeType = type; }
    quint64 size() const { return m_size; }
    void setSize(quint64 size) { m_size = size; }
    int mediaType() const { return m_mediaType; }
    void setMediaType(int type) { m_mediaType = type; }
    bool played() const { return m_played; }
    void setPlayed(bool played) { m_played = played; }

    QVariantMap archiveToDictionary() const;
    static std::shared_ptr<Enclosure> initWithDictionary(const QVariantMap &dictionary);

    QString archiveClassName() const override { return QStringLiteral("Enclosure"); }
    void encodeWithCoder(KeyedArchiver &coder) const override;
    void initWithCoder(KeyedUnarchiver &coder) override;

private:
    static quint64 sizeFromText(const QString &text);

    QString m_title;
    QUrl m_link;
    QString m_localFilePath;
    QString m_mimeType;
    quint64 m_size = 0;
    int m_mediaType = 0;
    bool m_played = false;
};

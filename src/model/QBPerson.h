// The record of an article's author or contributor, in its two stored forms: the dictionary
// of the article database's authors column and the sequential archive of the library file.
#pragma once

#include "platform/Archivable.h"

#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <memory>

class QBPerson : public Archivable
{
public:
    QBPerson() = default;
    QBPerson(const QString &name, const QString &title, const QString &email);

    QString name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    QString title() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }
    QString email() const { return m_email; }
    void setEmail(const QString &email) { m_email = email; }
    QUrl URI() const { return m_URI; }
    void setURI(const QUrl &uri) { m_URI = uri; }

    // Keys "name", "title", "email" and "uri", each only when its field is set.
    QVariantMap archive() const;
    static std::shared_ptr<QBPerson> unarchive(const QVariantMap &dictionary);

    QString archiveClassName() const override { return QStringLiteral("QBPerson"); }
    int archiveClassVersion() const override { return 1; }
    void encodeWithCoder(KeyedArchiver &coder) const override;
    void initWithCoder(KeyedUnarchiver &coder) override;

private:
    QString m_name;
    QString m_title;
    QString m_email;
    QUrl m_URI;
};

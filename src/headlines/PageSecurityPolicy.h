// The Content-Security-Policy the headline page carries, since feed text reaches it unescaped: no script
// but the page's own click handlers, no forms, frames or connections. It never widens what a page may load.
#pragma once

#include <QString>
#include <QStringList>

class PageSecurityPolicy
{
public:
    // Images from the resource and thumbnail folders and the web; style from the style sheet and the page.
    PageSecurityPolicy(const QString &resources, const QString &thumbnails, const QString &styleSheet);

    // The meta tag, allowing exactly the given inline handlers (each the text of one onclick attribute).
    QString metaTag(const QStringList &clickHandlers) const;
    // The source expression that allows one inline handler: its SHA-256 digest in base64.
    static QString hashSource(const QString &handler);

private:
    QString m_resources;
    QString m_thumbnails;
    QString m_styleSheet;
};

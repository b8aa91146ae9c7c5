// The Content-Security-Policy the headline page carries, since feed text reaches it unescaped: no script
// but the page's own click handlers, no forms, frames or connections. Local files are allowed as
// images and style by scheme only (browsers ignore folder paths in file sources); which folders a
// page may actually read is for the program that serves it to decide.
#pragma once

#include <QString>
#include <QStringList>

class PageSecurityPolicy
{
public:
    // The meta tag, allowing exactly the given inline handlers (each the text of one onclick attribute).
    static QString metaTag(const QStringList &clickHandlers);
    // The source expression that allows one inline handler: its SHA-256 digest in base64.
    static QString hashSource(const QString &handler);
};

// The Content-Security-Policy the headline page carries, beneath the sanitiser that feed text passes: no
// script but the page's one script and no inline style but the page's own style element, each allowed by
// its digest; pictures and media from the web and the program's files; no forms, frames, connections or
// plug-ins. Local files are allowed by scheme only (browsers ignore folder paths in file sources); which
// folders a page may actually read is for the program that serves it to decide.
#pragma once

#include <QString>

class PageSecurityPolicy
{
public:
    // The meta tag allowing exactly the given script and style element texts; an empty text allows none.
    static QString metaTag(const QString &script, const QString &style);
    // The source expression that allows one inline element's text: its SHA-256 digest in base64.
    static QString hashSource(const QString &text);
};

// Tells, before any reader sees them, whether downloaded bytes can be a feed at all: an error page or a
// site's home page served with 200 must fail the refresh, not be read into articles. It only looks; it
// never decodes or parses the document.
#pragma once

#include <QByteArray>

class FeedDocumentSniffer
{
public:
    // The document's root element comes before any real content, so only the start is looked at.
    static constexpr qsizetype sniffedBytes = 1024 * 1024;

    // True when an RSS, RDF or Atom root element appears near the start, whatever the case.
    static bool looksLikeFeed(const QByteArray &data);
};

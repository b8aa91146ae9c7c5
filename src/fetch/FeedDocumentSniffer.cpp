#include "fetch/FeedDocumentSniffer.h"

bool FeedDocumentSniffer::looksLikeFeed(const QByteArray &data)
{
    QByteArray start = data.left(sniffedBytes);
    // A UTF-16 document reads as ASCII once its zero bytes are gone.
    start.replace('\0', QByteArray());
    start = start.toLower();
    for (const char *root : {"<rss", "<rdf", "<feed", "<atom:feed", "<channel"}) {
        if (start.contains(root))
            return true;
    }
    return false;
}

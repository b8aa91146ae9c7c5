// The one way downloaded feed bytes become articles: decodes them in the feed's character set,
// tells RSS from Atom and hands the document to that reader. It reports nothing; the feed is the result.
#pragma once

#include "model/FeedLibrary.h"

#include <QByteArray>
#include <QString>

class QBParser
{
public:
    enum SyndicationFormat
    {
        RSSFormat = 1,
        AtomFormat = 4
    };

    // New articles are merged into the program's one library.
    QBParser();
    // The same, merging into the given library (a scratch one in tools and tests).
    explicit QBParser(FeedLibrary &library);

    FeedPtr feed() const { return m_feed; }
    void setFeed(const FeedPtr &feed) { m_feed = feed; }
    QString encoding() const { return m_encoding; }
    void setEncoding(const QString &encoding) { m_encoding = encoding; }
    QString rawXML() const { return m_rawXML; }
    void setRawXML(const QString &text) { m_rawXML = text; }
    int syndicationFormat() const { return m_syndicationFormat; }

    void processData(const QByteArray &data);
    static int idenitfyFeedFormat(const QString &text);
    void parseCachedFeed(const QByteArray &data, int withFormat);
    static QString tag(const QString &tag, const QString &valueForProperty);

private:
    QString decodedText(const QByteArray &data);

    FeedLibrary &m_feedLibrary;
    FeedPtr m_feed;
    QString m_rawXML;
    int m_syndicationFormat = RSSFormat;
    QString m_encoding;
    // What the caller named before the document had its say: the Atom reader decides from it too.
    QString m_servedEncoding;
};

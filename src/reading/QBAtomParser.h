// Reads one Atom document, from its raw bytes, into a feed: channel properties, authors, and new
// articles stored and placed at the top. It never expands an entity the document declares nor touches
// the network; what is not quite XML it mends or recovers from rather than losing the refresh.
#pragma once

#include "model/FeedLibrary.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringDecoder>
#include <QStringList>
#include <QUrl>
#include <optional>

struct _xmlParserCtxt;

class QBAtomParser
{
public:
    using Attributes = QList<QPair<QString, QString>>;

    // New articles are merged into the program's one library.
    explicit QBAtomParser(const QByteArray &data);
    // The same, merging into the given library (a scratch one in tests and benchmarks).
    QBAtomParser(const QByteArray &data, FeedLibrary &library);
    QBAtomParser(const QBAtomParser &) = delete;
    QBAtomParser &operator=(const QBAtomParser &) = delete;

    FeedPtr feed() const { return m_feed; }
    void setFeed(const FeedPtr &feed);
    // The character set the server named for the bytes, if any; the document's own marks decide first.
    void setEncoding(const QString &encoding) { m_servedEncoding = encoding; }

    // False only when there is nothing to read or the document refers to an entity it declares
    // itself (which is never expanded): then no article is added, though what was read before
    // (feed title, known articles marked, summaries stored) stays done. Other faults are recovered
    // from and reported by parserError.
    bool parse();
    QString parserError() const { return m_parserError; }

    void resetContentType();
    QString stringWithDecodedHTMLEntities() const;
    CalendarDate dateFromCurrentValue() const;

    QString currentValue() const { return m_currentValue; }
    void setCurrentValue(const QString &value) { m_currentValue = value; }
    ArticlePtr currentArticle() const { return m_currentArticle; }
    void setCurrentArticle(const ArticlePtr &article) { m_currentArticle = article; }
    std::shared_ptr<QBPerson> currentPerson() const { return m_currentPerson; }
    void setCurrentPerson(const std::shared_ptr<QBPerson> &person) { m_currentPerson = person; }
    // In the order the document wrote them, so that re-written inline markup keeps that order.
    Attributes tagAttribs() const { return m_tagAttribs; }
    void setTagAttribs(const Attributes &attributes) { m_tagAttribs = attributes; }
    ArticleList downloadedArticles() const { return m_articleArray; }
    void setDownloadedArticles(const ArticleList &articles) { m_articleArray = articles; }

private:
    enum Block
    {
        FeedLevel = 0,
        InEntry = 2,
        InPerson = 3
    };
    enum ContentType
    {
        Unset = 0,
        InlineMarkup = 1,
        TextContent = 2
    };

    // A text element's value as written, with whether the element declared xhtml.
    struct Text
    {
        QString value;
        bool xhtml = false;
    };

    // The first link of each kind the feed or an entry names; the alternate one is its link.
    struct Links
    {
        QUrl alternate;
        QUrl first;
        QUrl chosen() const { return alternate.isEmpty() ? first : alternate; }
    };

    // What an entry says that is only worth working out when the entry turns out to be new.
    struct PendingEntry
    {
        Links links;
        std::optional<Text> content;
        std::optional<Text> summary;
        QStringList dateTexts;
        QList<std::shared_ptr<QBPerson>> sourceAuthors;
        bool ownAuthor = false;
        std::shared_ptr<Enclosure> enclosure;
        std::shared_ptr<Enclosure> mediaEnclosure;
        QUrl mediaPicture;
        QString mediaDescription;
    };

    struct SaxEvents; // the libxml2 callbacks, which forward to the members below

    void startElement(const char *name, const char **attributes);
    void endElement(const char *name);
    void appendText(const char *utf8, int length);
    void noteError(const QString &message);
    void refuse(const QString &message);
    QString detachedValue() const;

    void keepAttributes(const char **attributes);
    QString attribute(QLatin1String name) const;
    void appendStartTag(const char *name);
    void enterBase();
    void leaveBase();
    QUrl base() const;
    void takeLink();
    void takeEnclosureLink(const QUrl &href);
    void takeMediaContent();
    void takeMediaThumbnail();
    void takeContentType();
    void takeText(const char *name);
    void finishPerson(bool author);
    void finishEntry();
    void completeNewEntry();
    void takeDate();
    void applyFeedLink();
    void setSummary(const Text &text);
    void freshArticle();
    bool inEntryProper() const;

    QByteArray m_data;
    QString m_servedEncoding;
    FeedLibrary &m_feedLibrary;
    FeedPtr m_feed;
    ArticlePtr m_currentArticle;
    std::shared_ptr<QBPerson> m_currentPerson;
    ArticleList m_articleArray;
    QString m_currentValue;
    Attributes m_tagAttribs;
    int m_block = FeedLevel;
    int m_previousBlock = FeedLevel;
    int m_contentType = Unset;
    QStringDecoder m_utf8{QStringDecoder::Utf8, QStringDecoder::Flag::Stateless};

    // Element depth, and the xml:base in force with the depth at which each was set.
    int m_depth = 0;
    QList<QPair<int, QUrl>> m_bases;
    // Depth of the source element an entry copies from another feed; 0 outside one.
    int m_sourceDepth = 0;
    bool m_feedHadLink = false;
    Links m_feedLinks;
    QList<std::shared_ptr<QBPerson>> m_feedAuthors;
    PendingEntry m_pending;

    _xmlParserCtxt *m_context = nullptr;
    QList<QByteArray> m_declaredEntities;
    QString m_parserError;
    bool m_refused = false;
};

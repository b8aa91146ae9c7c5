// Reads one Atom document, from its raw bytes, into a feed: channel properties, authors, and new
// articles stored and placed at the top. It never expands entities beyond XML's own nor touches the network.
#pragma once

#include "model/FeedLibrary.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringDecoder>

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

    // False when the document is not well-formed: then no article is added, though what was read
    // before the error (feed title, known articles marked, summaries stored) stays done.
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

    struct SaxEvents; // the libxml2 callbacks, which forward to the members below

    void startElement(const char *name, const char **attributes);
    void endElement(const char *name);
    void appendText(const char *utf8, int length);
    void stopWithError(const QString &message);
    QString detachedValue() const;

    void keepAttributes(const char **attributes);
    QString attribute(QLatin1String name) const;
    void appendStartTag(const char *name);
    void takeLink();
    void takeContentType();
    void finishPerson();
    void finishEntry();
    void takeDate();
    void setSummary();
    void freshArticle();

    QByteArray m_data;
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

    _xmlParserCtxt *m_context = nullptr;
    QList<QByteArray> m_declaredEntities;
    QString m_parserError;
};

// Reads RSS 0.9x, 2.0 and 1.0 documents into a feed by scanning the text for tags itself, so that
// badly formed feeds still give articles. It never rejects text and never hands it to an XML parser.
#pragma once

#include "model/FeedLibrary.h"

#include <QList>
#include <QString>
#include <QStringView>
#include <QUrl>

class QBLiberalRSSParser
{
public:
    // Which part of the document the scanner is in; only the channel and its items carry data.
    enum Block
    {
        AfterItem = 0,
        Channel = 1,
        Item = 2,
        Image = 3,
        SkipDays = 4,
        SkipHours = 5,
        TextInput = 6
    };

    // New articles are merged into the program's one library.
    explicit QBLiberalRSSParser(const QString &source);
    // The same, merging into the given library (a scratch one in tests and benchmarks).
    QBLiberalRSSParser(const QString &source, FeedLibrary &library);

    FeedPtr feed() const { return m_feed; }
    void setFeed(const FeedPtr &feed);
    ArticlePtr currentArticle() const { return m_currentArticle; }
    void setCurrentArticle(const ArticlePtr &article) { m_currentArticle = article; }
    QString currentValue() const { return m_currentValue; }
    void setCurrentValue(const QString &value) { m_currentValue = value; }
    int block() const { return m_block; }
    int articleCount() const { return m_articleCount; }

    // Reads the whole document; false only when there is no text at all.
    bool parse();

    // The next tag, comment or CDATA section from the scan position; a null string when none is left.
    QString identifyNextTagFromIndex();
    static bool isClosingTag(QStringView token);
    static bool isSingleTag(QStringView token);
    // The value of an attribute in a tag's text, quoted either way; "" when it has none.
    static QString tag(const QString &tag, const QString &valueForProperty);

    void parserDidStartElement(const QString &tag);
    void parserDidEndElement(const QString &name);

    QString stringWithDecodedHTMLEntities() const;
    QString decodeCharacterEntities() const;
    CalendarDate dateFromCurrentValue() const;

private:
    using ElementAction = void (QBLiberalRSSParser::*)();

    // An element whose end has not been seen yet, and where its text begins.
    struct OpenElement
    {
        QStringView name;
        qsizetype valueStart;
    };

    // What an item says that is only worth working out when the item turns out to be new.
    struct PendingItem
    {
        QString summarySource;
        QString linkText;
        bool hasLink = false;
        QString dateText;
        bool hasDate = false;
        QString mediaDescription;
        QUrl mediaPicture;
        std::shared_ptr<Enclosure> mediaEnclosure;
    };

    // What closing the element does in the current block; null when the element is passed over.
    ElementAction actionForElement(const QString &lowerName) const;
    void handleEndTag(const QString &token, bool cdataSeen);
    void handleStartTag(const QString &token);
    void handleSingleTag(const QString &token);
    qsizetype valueStartFor(QStringView name);
    void readEnclosure(const QString &tagText);
    void readMediaContent(const QString &tagText);
    void readMediaThumbnail(const QString &tagText);
    QString attributeValue(const QString &tagText, QStringView name) const;
    QUrl documentAddress() const;
    void finishItem();
    void completeNewItem();
    void setSummary();
    void applySummary(const QString &source);

    void setChannelTitle();
    void setChannelLink();
    void setChannelDescription();
    void setChannelLanguage();
    void setChannelCopyright();
    void setChannelDate();
    void setItemTitle();
    void setItemLink();
    void setItemGuid();
    void addItemCreator();
    void addItemAuthor();
    void setItemDate();
    void setMediaDescription();

    FeedLibrary *m_feedLibrary;
    QString m_currentValue = QStringLiteral("");
    QString m_source;
    ArticlePtr m_currentArticle;
    FeedPtr m_feed;
    ArticleList m_articleArray;
    qsizetype m_index = 0;
    int m_block = Channel;
    int m_articleCount = 0;
    QList<OpenElement> m_openElements;
    qsizetype m_lastValueStart = 0;
    PendingItem m_pending;
};

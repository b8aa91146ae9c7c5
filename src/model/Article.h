// One item of a feed: the leaf of the library tree. It is recognised by its identifier or its guid,
// and it may sit in a feed and in the clippings at once, so it is always held by shared pointer.
#pragma once

#include "model/Enclosure.h"
#include "model/QBPerson.h"
#include "model/TreeNode.h"
#include "platform/CalendarDate.h"

#include <QDateTime>
#include <QStringList>
#include <QUrl>

class Feed;

class Article : public TreeNode
{
public:
    enum State
    {
        Read = 0,
        Unread = 1,
        New = 2
    };

    Article();

    int kindOfObject() const override { return ArticleKind; }

    QString title() const { return m_title; }
    void setTitle(const QString &title)
    {
        m_title = title;
        m_pageText.reset();
    }
    // Held as text: a parsed address costs several allocations, and a library holds many thousands.
    QUrl link() const { return m_link.isEmpty() ? QUrl() : QUrl(m_link); }
    void setLink(const QUrl &link) { setLinkText(link.toString()); }
    // The same address given as stored text, so that a link equal to the guid shares its storage.
    void setLinkText(const QString &link)
    {
        m_link = link;
        m_pageText.reset();
    }
    // Absent (a null string) answers the uniqueID; an empty guid is answered as it is.
    QString guid() const;
    void setGuid(const QString &guid) { m_guid = guid; }
    bool hasGuid() const { return !m_guid.isNull(); }
    QUrl imageURL() const { return m_imageURL; }
    void setImageURL(const QUrl &url) { m_imageURL = url; }
    // Held as UTF-8, which halves the largest text every loaded article keeps in memory.
    QString summary() const { return QString::fromUtf8(m_summary); }
    void setSummary(const QString &summary);
    QString fullSummary() const { return m_fullSummary; }
    void setFullSummary(const QString &text) { m_fullSummary = text; }
    // What the page's sanitiser made of the title and the summary, kept so that no page build reads the
    // same text twice; it goes whenever the title, the summary or the link they are read against
    // changes. The headline page fills it; the model never looks inside.
    struct PageText
    {
        QString title;             // null until a page needed it
        QString summary;           // null until a page needed it
        bool picturesHeld = false; // the summary's pictures wait for a click
    };
    std::shared_ptr<const PageText> pageText() const { return m_pageText; }
    void setPageText(std::shared_ptr<const PageText> text) { m_pageText = std::move(text); }
    QStringList catagories() const { return m_catagories; }
    void setCatagories(const QStringList &catagories) { m_catagories = catagories; }
    QList<std::shared_ptr<QBPerson>> authors() const { return m_authors; }
    void setAuthors(const QList<std::shared_ptr<QBPerson>> &authors) { m_authors = authors; }
    void addAuthor(const std::shared_ptr<QBPerson> &author) { m_authors.append(author); }

    // An unset source with a pending identifier is looked up in the library on first use.
    std::shared_ptr<Feed> source();
    void setSource(const std::shared_ptr<Feed> &source);
    QString tempSource() const { return m_tempSource; }
    void setTempSource(const QString &identifier) { m_tempSource = identifier; }

    std::shared_ptr<Enclosure> enclosure() const { return m_enclosure; }
    void setEnclosure(const std::shared_ptr<Enclosure> &enclosure) { m_enclosure = enclosure; }

    int state() const { return m_state; }
    void setState(int state) { m_state = state; }
    // The state as it is written anywhere lasting: new exists only in memory.
    int storedState() const { return m_state == New ? Unread : m_state; }
    bool stillInFeed() const { return m_stillInFeed; }
    void setStillInFeed(bool still) { m_stillInFeed = still; }

    CalendarDate legacyPublicationDate() const { return m_legacyPublicationDate; }
    void setLegacyPublicationDate(const CalendarDate &date) { m_legacyPublicationDate = date; }
    CalendarDate legacyCreationDate() const { return m_legacyCreationDate; }
    void setLegacyCreationDate(const CalendarDate &date) { m_legacyCreationDate = date; }
    QDateTime publicationDate() const { return m_publicationDate; }
    void setPublicationDate(const QDateTime &date) { m_publicationDate = date; }
    QDateTime creationDate() const { return m_creationDate; }
    void setCreationDate(const QDateTime &date) { m_creationDate = date; }

    bool isEqual(const TreeNode &other) const override;
    QString description() const override;

    QString archiveClassName() const override { return QStringLiteral("Article"); }
    void encodeWithCoder(KeyedArchiver &coder) const override;
    void initWithCoder(KeyedUnarchiver &coder) override;

private:
    QString m_title;
    QString m_link;
    QString m_guid = QLatin1String("");
    QUrl m_imageURL;
    QByteArray m_summary = QByteArray("");
    QString m_fullSummary;
    std::shared_ptr<const PageText> m_pageText;
    QStringList m_catagories;
    QList<std::shared_ptr<QBPerson>> m_authors;
    std::weak_ptr<Feed> m_source;
    QString m_tempSource;
    std::shared_ptr<Enclosure> m_enclosure;
    int m_state = New;
    bool m_stillInFeed = false;
    CalendarDate m_legacyPublicationDate;
    CalendarDate m_legacyCreationDate;
    QDateTime m_publicationDate;
    QDateTime m_creationDate;
};

using ArticlePtr = std::shared_ptr<Article>;

// A subscribed feed: its channel properties, its download settings and state, and its articles as
// children. Its unread count is a cache that is recomputed only when updateUnreadCount is called.
#pragma once

#include "model/ArticleIndex.h"
#include "model/TreeNode.h"
#include "platform/CalendarDate.h"

#include <QImage>
#include <QStringList>
#include <QUrl>
#include <atomic>

class Feed : public TreeNode
{
public:
    enum State
    {
        Idle = -1,
        Downloading = 1,
        Parsed = 0,
        Failed = -2
    };
    enum FeedType
    {
        UnknownType = -1,
        AtomType = 1,
        RSSType = 2
    };

    Feed();

    int kindOfObject() const override { return FeedKind; }

    QString title() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }
    // The channel's description text: data, not a debugging text (that is debugDescription).
    QString description() const override { return m_description; }
    void setDescription(const QString &description) { m_description = description; }
    QString copyright() const { return m_copyright; }
    void setCopyright(const QString &copyright) { m_copyright = copyright; }
    QString username() const { return m_username; }
    void setUsername(const QString &username) { m_username = username; }
    QString password() const { return m_password; }
    void setPassword(const QString &password) { m_password = password; }
    QString language() const { return m_language; }
    void setLanguage(const QString &language) { m_language = language; }
    QString encoding() const { return m_encoding; }
    void setEncoding(const QString &encoding) { m_encoding = encoding; }
    QStringList keywords() const { return m_keywords; }
    void setKeywords(const QStringList &keywords) { m_keywords = keywords; }
    QUrl link() const { return m_link; }
    void setLink(const QUrl &link) { m_link = link; }
    QUrl feed() const { return m_feed; }
    // A new address forgets the validators of the old one.
    void setFeed(const QUrl &feed);
    CalendarDate publicationDate() const { return m_publicationDate; }
    void setPublicationDate(const CalendarDate &date) { m_publicationDate = date; }
    CalendarDate lastDownloaded() const { return m_lastDownloaded; }
    void setLastDownloaded(const CalendarDate &date) { m_lastDownloaded = date; }
    int state() const { return m_state; }
    void setState(int state) { m_state = state; }
    int feedType() const { return m_feedType; }
    void setFeedType(int type) { m_feedType = type; }
    int updateInterval() const { return m_updateInterval; }
    void setUpdateInterval(int minutes) { m_updateInterval = minutes; }
    int retentionPeriod() const { return m_retentionPeriod; }
    void setRetentionPeriod(int period) { m_retentionPeriod = period; }
    bool customIconAvailable() const { return m_customIconAvailable; }
    void setCustomIconAvailable(bool available) { m_customIconAvailable = available; }
    QImage favIcon() const { return m_favIcon; }
    void setFavIcon(const QImage &icon) { m_favIcon = icon; }
    bool specialSelection() const { return m_specialSelection; }
    void setSpecialSelection(bool selected) { m_specialSelection = selected; }

    // Why the latest refresh failed ("404 Not Found", "Timed out"); empty once one succeeds.
    QString failureReason() const { return m_failureReason; }
    void setFailureReason(const QString &reason) { m_failureReason = reason; }
    // When a refresh last succeeded; invalid before the first.
    QDateTime lastSucceeded() const { return m_lastSucceeded; }
    void setLastSucceeded(const QDateTime &moment) { m_lastSucceeded = moment; }
    // The validators ("ETag", "Last-Modified") of the latest full answer, sent back with the next
    // refresh so that an unchanged feed costs the server a 304.
    QString entityTag() const { return m_entityTag; }
    void setEntityTag(const QString &tag) { m_entityTag = tag; }
    QString lastModified() const { return m_lastModified; }
    void setLastModified(const QString &date) { m_lastModified = date; }
    // The server asked not to be asked again before this moment (429 or 503 with Retry-After).
    QDateTime retryAfter() const { return m_retryAfter; }
    void setRetryAfter(const QDateTime &moment) { m_retryAfter = moment; }
    // When the feed's icon was last looked for; icons are looked for again after a while.
    QDateTime iconChecked() const { return m_iconChecked; }
    void setIconChecked(const QDateTime &moment) { m_iconChecked = moment; }

    int cachedUnreadCount() const { return m_cachedUnreadCount; }
    int unreadCount() const override { return m_cachedUnreadCount; }
    bool hasNewArticles() const override { return m_hasNewArticles; }
    void updateUnreadCount();

    // An article equal to one already held takes that one's place instead of being added twice.
    using TreeNode::addChild;
    void addChild(const TreeNodePtr &child) override;
    // The same rule for many articles at once, in time linear in the feed's size.
    void addChildren(const TreeNodeList &nodes);
    // The first child equal to node (same identifier or guid), found without walking the list.
    TreeNodePtr childEqualTo(const TreeNode &node) const;
    TreeNodePtr childWithGuid(const QString &guid) const;
    // Lets go of the lookup tables until the next lookup needs them, as after loading.
    void releaseArticleIndex();

    QString debugDescription() const;

    QString archiveClassName() const override { return QStringLiteral("Feed"); }
    void encodeWithCoder(KeyedArchiver &coder) const override;
    void initWithCoder(KeyedUnarchiver &coder) override;

    static QSize iconSize() { return {29, 29}; }

private:
    void loadIconFromIconFolder();
    // Brings the index up to date with the children and answers under its lock.
    template <typename Lookup> TreeNodePtr lookUp(Lookup lookup) const;

    QString m_title;
    QString m_description;
    QString m_copyright;
    QString m_username;
    QString m_password;
    QString m_language;
    QString m_encoding = QStringLiteral("ISO-8859-1");
    QStringList m_keywords;
    QUrl m_link;
    QUrl m_feed;
    CalendarDate m_publicationDate;
    CalendarDate m_lastDownloaded;
    std::atomic<int> m_state = Idle;
    int m_feedType = UnknownType;
    int m_updateInterval = -1;
    int m_retentionPeriod = -1;
    int m_cachedUnreadCount = 0;
    bool m_hasNewArticles = false;
    bool m_customIconAvailable = true;
    QImage m_favIcon;
    bool m_specialSelection = false;
    QString m_failureReason;
    QDateTime m_lastSucceeded;
    QString m_entityTag;
    QString m_lastModified;
    QDateTime m_retryAfter;
    QDateTime m_iconChecked;
    mutable QMutex m_indexLock;
    mutable ArticleIndex m_index;
};

#include "model/Feed.h"

#include "model/Article.h"
#include "model/FeedLibrary.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

#include <QFileInfo>

Feed::Feed() : m_lastDownloaded(CalendarDate::distantPast()) {}

void Feed::setFeed(const QUrl &feed)
{
    if (feed != m_feed) {
        m_entityTag.clear();
        m_lastModified.clear();
    }
    m_feed = feed;
}

void Feed::updateUnreadCount()
{
    int count = 0;
    bool hasNew = false;
    for (const TreeNodePtr &child : children()) {
        const auto article = std::dynamic_pointer_cast<Article>(child);
        if (!article)
            continue;
        if (article->state() == Article::Unread) {
            ++count;
        } else if (article->state() == Article::New) {
            ++count;
            hasNew = true;
        }
    }
    m_cachedUnreadCount = count;
    m_hasNewArticles = hasNew;
}

void Feed::addChild(const TreeNodePtr &child)
{
    addChildren({child});
}

void Feed::addChildren(const TreeNodeList &nodes)
{
    QMutexLocker locker(&m_indexLock);
    const TreeNodeList list = children();
    if (!m_index.isCurrent(list))
        m_index.rebuild(list);
    for (const TreeNodePtr &node : nodes) {
        const qsizetype at = m_index.indexOfEqual(*node);
        if (at >= 0)
            m_index.replace(at, node);
        else
            m_index.append(node);
    }
    setChildren(m_index.list());
}

template <typename Lookup> TreeNodePtr Feed::lookUp(Lookup lookup) const
{
    QMutexLocker locker(&m_indexLock);
    const TreeNodeList list = children();
    if (!m_index.isCurrent(list))
        m_index.rebuild(list);
    const qsizetype at = lookup(m_index);
    return at >= 0 ? list.at(at) : TreeNodePtr();
}

TreeNodePtr Feed::childEqualTo(const TreeNode &node) const
{
    return lookUp([&](const ArticleIndex &index) { return index.indexOfEqual(node); });
}

void Feed::releaseArticleIndex()
{
    QMutexLocker locker(&m_indexLock);
    m_index = ArticleIndex();
}

TreeNodePtr Feed::childWithGuid(const QString &guid) const
{
    return lookUp([&](const ArticleIndex &index) { return index.indexOfGuid(guid); });
}

QString Feed::debugDescription() const
{
    const TreeNodePtr parentNode = parent();
    return QStringLiteral("Feed \"%1\"(%2) has %3 children, child of %4 {\n")
               .arg(m_title, uniqueID())
               .arg(childCount())
               .arg(parentNode ? parentNode->uniqueID() : QStringLiteral("(null)")) +
           childrenDescription();
}

void Feed::encodeWithCoder(KeyedArchiver &coder) const
{
    encodeIdentity(coder);
    coder.encodeString(QStringLiteral("title"), m_title);
    coder.encodeString(QStringLiteral("description"), m_description);
    coder.encodeString(QStringLiteral("username"), m_username);
    coder.encodeString(QStringLiteral("password"), m_password);
    coder.encodeString(QStringLiteral("encoding"), m_encoding);
    coder.encodeUrl(QStringLiteral("link"), m_link);
    coder.encodeUrl(QStringLiteral("feed"), m_feed);
    coder.encodeCalendarDate(QStringLiteral("publicationDate"), m_publicationDate);
    coder.encodeInt32(QStringLiteral("state"), m_state);
    coder.encodeInt32(QStringLiteral("feedType"), m_feedType);
    coder.encodeInt32(QStringLiteral("retentionPeriod"), m_retentionPeriod);
    coder.encodeInt32(QStringLiteral("updateInterval"), m_updateInterval);
    coder.encodeBool(QStringLiteral("customIconAvailable"), m_customIconAvailable);
    coder.encodeString(QStringLiteral("failureReason"), m_failureReason);
    coder.encodeDateTime(QStringLiteral("lastSucceeded"), m_lastSucceeded);
    coder.encodeString(QStringLiteral("entityTag"), m_entityTag);
    coder.encodeString(QStringLiteral("lastModified"), m_lastModified);
    coder.encodeDateTime(QStringLiteral("retryAfter"), m_retryAfter);
    coder.encodeDateTime(QStringLiteral("iconChecked"), m_iconChecked);
}

void Feed::initWithCoder(KeyedUnarchiver &coder)
{
    TreeNode::initWithCoder(coder);
    m_title = coder.decodeString(QStringLiteral("title"));
    m_description = coder.decodeString(QStringLiteral("description"));
    m_username = coder.decodeString(QStringLiteral("username"));
    m_password = coder.decodeString(QStringLiteral("password"));
    m_encoding = coder.decodeString(QStringLiteral("encoding"));
    m_link = coder.decodeUrl(QStringLiteral("link"));
    m_feed = coder.decodeUrl(QStringLiteral("feed"));
    m_publicationDate = coder.decodeCalendarDate(QStringLiteral("publicationDate"));
    m_lastDownloaded = CalendarDate::distantPast();
    // A saved download state means nothing in a new run.
    m_state = Parsed;
    m_feedType = coder.decodeInt32(QStringLiteral("feedType"));
    m_retentionPeriod = coder.decodeInt32(QStringLiteral("retentionPeriod"));
    m_updateInterval = coder.decodeInt32(QStringLiteral("updateInterval"));
    m_customIconAvailable = coder.decodeBool(QStringLiteral("customIconAvailable"));
    m_failureReason = coder.decodeString(QStringLiteral("failureReason"));
    m_lastSucceeded = coder.decodeDateTime(QStringLiteral("lastSucceeded"));
    m_entityTag = coder.decodeString(QStringLiteral("entityTag"));
    m_lastModified = coder.decodeString(QStringLiteral("lastModified"));
    m_retryAfter = coder.decodeDateTime(QStringLiteral("retryAfter"));
    m_iconChecked = coder.decodeDateTime(QStringLiteral("iconChecked"));
    updateUnreadCount();
    loadIconFromIconFolder();
}

void Feed::loadIconFromIconFolder()
{
    const QString folder = FeedLibrary::iconPath();
    for (const char *extension : {"png", "ico"}) {
        const QString path = QStringLiteral("%1/%2.%3").arg(folder, uniqueID(), QLatin1String(extension));
        // A site's error page saved under the icon's name is no picture, so no icon.
        const QImage image(path);
        if (image.isNull())
            continue;
        m_customIconAvailable = true;
        m_favIcon = image.scaled(iconSize(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        return;
    }
}

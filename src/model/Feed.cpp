#include "model/Feed.h"

#include "model/Article.h"
#include "model/FeedLibrary.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

#include <QFileInfo>
#include <QHash>

Feed::Feed() : m_lastDownloaded(CalendarDate::distantPast()) {}

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
    TreeNodeList list = children();
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (child->isEqual(*list.at(i))) {
            list[i] = child;
            setChildren(list);
            return;
        }
    }
    list.append(child);
    setChildren(list);
}

void Feed::addChildren(const TreeNodeList &nodes)
{
    TreeNodeList list = children();
    QHash<QString, qsizetype> byIdentifier;
    QHash<QString, qsizetype> byGuid;
    auto guidOf = [](const TreeNodePtr &node) {
        const auto *article = dynamic_cast<const Article *>(node.get());
        return article ? article->guid() : QString();
    };
    // The first equal child wins, as in addChild, so only a key's first position is remembered.
    auto remember = [&](qsizetype index) {
        byIdentifier.insert(list.at(index)->uniqueID(), byIdentifier.value(list.at(index)->uniqueID(), index));
        const QString guid = guidOf(list.at(index));
        if (!guid.isNull())
            byGuid.insert(guid, byGuid.value(guid, index));
    };
    auto forget = [&](qsizetype index) {
        if (byIdentifier.value(list.at(index)->uniqueID()) == index)
            byIdentifier.remove(list.at(index)->uniqueID());
        const QString guid = guidOf(list.at(index));
        if (!guid.isNull() && byGuid.value(guid) == index)
            byGuid.remove(guid);
    };
    for (qsizetype i = 0; i < list.size(); ++i)
        remember(i);
    for (const TreeNodePtr &node : nodes) {
        qsizetype at = byIdentifier.value(node->uniqueID(), -1);
        const QString guid = guidOf(node);
        if (at < 0 && !guid.isNull())
            at = byGuid.value(guid, -1);
        if (at >= 0) {
            forget(at);
            list[at] = node;
        } else {
            at = list.size();
            list.append(node);
        }
        remember(at);
    }
    setChildren(list);
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
    updateUnreadCount();
    loadIconFromIconFolder();
}

void Feed::loadIconFromIconFolder()
{
    const QString folder = FeedLibrary::iconPath();
    for (const char *extension : {"png", "ico"}) {
        const QString path = QStringLiteral("%1/%2.%3").arg(folder, uniqueID(), QLatin1String(extension));
        if (!QFileInfo::exists(path))
            continue;
        m_customIconAvailable = true;
        m_favIcon = QImage(path).scaled(iconSize(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        return;
    }
}

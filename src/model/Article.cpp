#include "model/Article.h"

#include "model/Feed.h"
#include "model/FeedLibrary.h"
#include "platform/KeyedArchiver.h"
#include "platform/KeyedUnarchiver.h"

Article::Article() : m_creationDate(QDateTime::currentDateTimeUtc()) {}

QString Article::guid() const
{
    return m_guid.isNull() ? uniqueID() : m_guid;
}

std::shared_ptr<Feed> Article::source()
{
    auto feed = m_source.lock();
    if (!feed && !m_tempSource.isEmpty()) {
        feed = std::dynamic_pointer_cast<Feed>(FeedLibrary::feedLibrary().itemWithUniqueID(m_tempSource));
        m_source = feed;
    }
    return feed;
}

void Article::setSource(const std::shared_ptr<Feed> &source)
{
    m_source = source;
}

void Article::setSummary(const QString &summary)
{
    m_summary = summary.toUtf8();
    m_pageText.reset();
    // The conversion reserves room for the longest possible encoding; most of it would stay unused.
    m_summary.squeeze();
}

bool Article::isEqual(const TreeNode &other) const
{
    if (this == &other)
        return true;
    const auto *article = dynamic_cast<const Article *>(&other);
    if (!article)
        return false;
    return uniqueID() == article->uniqueID() || guid() == article->guid();
}

QString Article::description() const
{
    return QStringLiteral("[Article:%1] %2").arg(uniqueID(), m_title);
}

void Article::encodeWithCoder(KeyedArchiver &coder) const
{
    TreeNode::encodeWithCoder(coder);
    coder.encodeString(QStringLiteral("title"), m_title);
    coder.encodeUrl(QStringLiteral("link"), link());
    coder.encodeString(QStringLiteral("guid"), m_guid);
    coder.encodeDateTime(QStringLiteral("newPublicationDate"), m_publicationDate);
    coder.encodeDateTime(QStringLiteral("newCreationDate"), m_creationDate);
    if (!m_legacyPublicationDate.isNull())
        coder.encodeCalendarDate(QStringLiteral("publicationDate"), m_legacyPublicationDate);
    if (!m_legacyCreationDate.isNull())
        coder.encodeCalendarDate(QStringLiteral("creationDate"), m_legacyCreationDate);
    if (!m_imageURL.isEmpty())
        coder.encodeUrl(QStringLiteral("imageURL"), m_imageURL);
    coder.encodeString(QStringLiteral("summary"), summary());
    coder.encodeObjectList(QStringLiteral("authors"), {m_authors.cbegin(), m_authors.cend()});
    if (m_enclosure)
        coder.encodeObject(QStringLiteral("enclosure"), m_enclosure);
    const auto sourceFeed = m_source.lock();
    coder.encodeString(QStringLiteral("tempSource"), sourceFeed ? sourceFeed->uniqueID() : m_tempSource);
}

void Article::initWithCoder(KeyedUnarchiver &coder)
{
    TreeNode::initWithCoder(coder);
    if (coder.containsValue(QStringLiteral("source")))
        m_source = std::dynamic_pointer_cast<Feed>(coder.decodeObject(QStringLiteral("source")));
    if (coder.containsValue(QStringLiteral("tempSource")))
        m_tempSource = coder.decodeString(QStringLiteral("tempSource"));
    m_title = coder.decodeString(QStringLiteral("title"));
    setLink(coder.decodeUrl(QStringLiteral("link")));
    m_guid = coder.decodeString(QStringLiteral("guid"));
    m_imageURL = coder.decodeUrl(QStringLiteral("imageURL"));
    setSummary(coder.decodeString(QStringLiteral("summary")));
    m_catagories = coder.decodeStringList(QStringLiteral("catagories"));
    m_legacyPublicationDate = coder.decodeCalendarDate(QStringLiteral("publicationDate"));
    m_publicationDate = coder.decodeDateTime(QStringLiteral("newPublicationDate"));
    m_creationDate = coder.decodeDateTime(QStringLiteral("newCreationDate"));
    m_authors.clear();
    for (const auto &object : coder.decodeObjectList(QStringLiteral("authors"))) {
        if (auto person = std::dynamic_pointer_cast<QBPerson>(object))
            m_authors.append(person);
    }
    m_enclosure = std::dynamic_pointer_cast<Enclosure>(coder.decodeObject(QStringLiteral("enclosure")));
    m_legacyCreationDate = coder.decodeCalendarDate(QStringLiteral("creationDate"));
    m_state = coder.decodeInt32(QStringLiteral("state"));
    m_state = storedState();
    if (m_legacyCreationDate.isNull())
        m_legacyCreationDate = CalendarDate::now();
}

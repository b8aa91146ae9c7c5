#include "model/ArticleIndex.h"

#include "model/Article.h"

namespace {

QString guidOf(const TreeNodePtr &node)
{
    const auto *article = dynamic_cast<const Article *>(node.get());
    return article ? article->guid() : QString();
}

qsizetype firstOf(qsizetype a, qsizetype b)
{
    if (a < 0)
        return b;
    if (b < 0)
        return a;
    return std::min(a, b);
}

} // namespace

void ArticleIndex::rebuild(const TreeNodeList &list)
{
    m_list = list;
    m_byIdentifier.clear();
    m_byGuid.clear();
    m_byIdentifier.reserve(list.size());
    m_byGuid.reserve(list.size());
    for (qsizetype i = 0; i < m_list.size(); ++i)
        remember(i);
}

bool ArticleIndex::isCurrent(const TreeNodeList &list) const
{
    // Sharing the same storage means nobody has replaced the list since the index took it.
    return list.size() == m_list.size() && list.constData() == m_list.constData();
}

qsizetype ArticleIndex::indexOfEqual(const TreeNode &node) const
{
    if (!dynamic_cast<const Article *>(&node))
        return -1;
    const auto &article = static_cast<const Article &>(node);
    return firstOf(m_byIdentifier.value(article.uniqueID(), -1), m_byGuid.value(article.guid(), -1));
}

qsizetype ArticleIndex::indexOfGuid(const QString &guid) const
{
    return m_byGuid.value(guid, -1);
}

void ArticleIndex::replace(qsizetype at, const TreeNodePtr &node)
{
    forget(at);
    m_list[at] = node;
    remember(at);
}

void ArticleIndex::append(const TreeNodePtr &node)
{
    m_list.append(node);
    remember(m_list.size() - 1);
}

// Only a key's first position is kept, because the first equal article is the one that answers.
void ArticleIndex::remember(qsizetype index)
{
    const TreeNodePtr &node = m_list.at(index);
    if (!dynamic_cast<const Article *>(node.get()))
        return;
    m_byIdentifier.insert(node->uniqueID(), m_byIdentifier.value(node->uniqueID(), index));
    const QString guid = guidOf(node);
    m_byGuid.insert(guid, m_byGuid.value(guid, index));
}

void ArticleIndex::forget(qsizetype index)
{
    const TreeNodePtr &node = m_list.at(index);
    if (m_byIdentifier.value(node->uniqueID(), -1) == index)
        m_byIdentifier.remove(node->uniqueID());
    const QString guid = guidOf(node);
    if (m_byGuid.value(guid, -1) == index)
        m_byGuid.remove(guid);
}

#include "model/ArticleRow.h"

#include "model/Feed.h"
#include "platform/PropertyList.h"
#include "reading/QBUtilities.h"

QStringList ArticleRow::columnNames()
{
    return {QStringLiteral("guid"),        QStringLiteral("imageURL"),      QStringLiteral("link"),
            QStringLiteral("parent"),      QStringLiteral("pubDateFormat"), QStringLiteral("publicationDate"),
            QStringLiteral("source"),      QStringLiteral("state"),         QStringLiteral("summary"),
            QStringLiteral("fullSummary"), QStringLiteral("title"),         QStringLiteral("uniqueID"),
            QStringLiteral("authors"),     QStringLiteral("enclosure")};
}

namespace {
QString urlText(const QUrl &url)
{
    return url.isEmpty() ? QStringLiteral("") : url.toString();
}

QVariant textOrNull(const QString &text)
{
    return text.isNull() ? QVariant() : QVariant(text);
}
} // namespace

QVariantList ArticleRow::rowValues(Article &article, Table table, const QString &fullSummary)
{
    const CalendarDate date = article.legacyPublicationDate();
    const TreeNodePtr parent = article.parent();
    const auto source = article.source();
    const auto enclosure = article.enclosure();
    return {
        article.guid().isNull() ? QStringLiteral("") : article.guid(),
        urlText(article.imageURL()),
        urlText(article.link()),
        table == ArticlesTable && parent ? parent->uniqueID() : QStringLiteral(""),
        date.isNull() ? QStringLiteral("") : date.calendarFormat(),
        date.isNull() ? QStringLiteral("") : date.toString(),
        source ? source->uniqueID() : QStringLiteral(""),
        article.storedState(),
        textOrNull(article.summary()),
        textOrNull(fullSummary),
        textOrNull(article.title()),
        article.uniqueID(),
        authorsText(article),
        enclosure ? PropertyList::write(enclosure->archiveToDictionary()) : QStringLiteral(""),
    };
}

QString ArticleRow::authorsText(const Article &article)
{
    QVariantList people;
    for (const auto &person : article.authors())
        people.append(person->archive());
    return PropertyList::write(people);
}

QList<std::shared_ptr<QBPerson>> ArticleRow::authorsFromText(const QString &text)
{
    QList<std::shared_ptr<QBPerson>> people;
    for (const QVariant &entry : PropertyList::read(text).toList())
        people.append(QBPerson::unarchive(entry.toMap()));
    return people;
}

ArticlePtr ArticleRow::articleFromRow(const ArticleRowValues &row, const TreeNodePtr &parent,
                                      const Lookup &lookup)
{
    auto article = std::make_shared<Article>();
    article->setUniqueID(row.uniqueID.isNull() ? QBUtilities::generateUniqueID() : row.uniqueID);
    article->setTitle(row.title);
    // Most feeds use the link as guid: one shared text serves both.
    article->setLinkText(row.link == row.guid ? row.guid : row.link);
    if (row.imageURL.size() >= 2)
        article->setImageURL(QUrl(row.imageURL));
    article->setGuid(row.guid);
    if (!row.authors.isNull())
        article->setAuthors(authorsFromText(row.authors));
    const QVariant enclosure = row.enclosure.isEmpty() ? QVariant() : PropertyList::read(row.enclosure);
    if (enclosure.typeId() == QMetaType::QVariantMap)
        article->setEnclosure(Enclosure::initWithDictionary(enclosure.toMap()));
    if (parent) {
        article->setParent(parent);
        article->setSource(std::dynamic_pointer_cast<Feed>(parent));
    } else {
        article->setSource(std::dynamic_pointer_cast<Feed>(lookup(row.source)));
    }
    if (!row.publicationDate.isEmpty() && !row.pubDateFormat.isEmpty())
        article->setLegacyPublicationDate(CalendarDate::fromString(row.publicationDate, row.pubDateFormat));
    article->setState(row.state);
    article->setSummary(row.summary);
    return article;
}

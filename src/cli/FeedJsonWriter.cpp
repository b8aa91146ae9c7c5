#include "cli/FeedJsonWriter.h"

#include <QJsonArray>

namespace {

QString urlText(const QUrl &url)
{
    return url.isEmpty() ? QStringLiteral("") : url.toString();
}

QString offsetText(int offsetSeconds)
{
    const int minutes = qAbs(offsetSeconds) / 60;
    return QStringLiteral("%1%2:%3")
        .arg(offsetSeconds < 0 ? QStringLiteral("-") : QStringLiteral("+"))
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

FeedJsonWriter::FeedJsonWriter(FeedLibrary &library) : m_library(library) {}

QJsonObject FeedJsonWriter::feedObject(const Feed &feed) const
{
    QJsonArray articles;
    for (const TreeNodePtr &child : feed.children()) {
        if (const auto article = std::dynamic_pointer_cast<Article>(child))
            articles.append(articleObject(article));
    }
    return {
        {QStringLiteral("title"), feed.title()},
        {QStringLiteral("link"), urlText(feed.link())},
        {QStringLiteral("description"), feed.description()},
        {QStringLiteral("language"), feed.language()},
        {QStringLiteral("copyright"), feed.copyright()},
        {QStringLiteral("encoding"), feed.encoding()},
        {QStringLiteral("feedType"), feed.feedType()},
        {QStringLiteral("publicationDate"), dateValue(feed.publicationDate())},
        {QStringLiteral("unreadCount"), feed.unreadCount()},
        {QStringLiteral("articles"), articles},
    };
}

QJsonObject FeedJsonWriter::articleObject(const ArticlePtr &article) const
{
    return {
        {QStringLiteral("title"), article->title()},
        {QStringLiteral("link"), urlText(article->link())},
        {QStringLiteral("guid"), article->guid()},
        {QStringLiteral("state"), article->state()},
        {QStringLiteral("publicationDate"), dateValue(article->legacyPublicationDate())},
        {QStringLiteral("summary"), article->summary()},
        {QStringLiteral("fullSummary"), m_library.longSummaryForArticle(article)},
        {QStringLiteral("authors"), authorsValue(*article)},
        {QStringLiteral("enclosure"), enclosureValue(*article)},
        {QStringLiteral("imageURL"), urlText(article->imageURL())},
    };
}

QJsonValue FeedJsonWriter::dateValue(const CalendarDate &date)
{
    if (date.isNull())
        return QJsonValue::Null;
    const QDateTime local = date.localMoment();
    return local.toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss")) + offsetText(date.offsetSeconds());
}

QJsonValue FeedJsonWriter::authorsValue(const Article &article)
{
    QJsonArray authors;
    for (const std::shared_ptr<QBPerson> &person : article.authors()) {
        if (!person)
            continue;
        authors.append(QJsonObject{
            {QStringLiteral("name"), person->name()},
            {QStringLiteral("title"), person->title()},
            {QStringLiteral("email"), person->email()},
            {QStringLiteral("uri"), urlText(person->URI())},
        });
    }
    return authors;
}

QJsonValue FeedJsonWriter::enclosureValue(const Article &article)
{
    const std::shared_ptr<Enclosure> enclosure = article.enclosure();
    if (!enclosure)
        return QJsonValue::Null;
    return QJsonObject{
        {QStringLiteral("url"), urlText(enclosure->link())},
        {QStringLiteral("mimeType"), enclosure->mimeType()},
        // A negative declared length is kept in the size's bits; shown signed, it reads as declared.
        {QStringLiteral("size"), qint64(enclosure->size())},
    };
}

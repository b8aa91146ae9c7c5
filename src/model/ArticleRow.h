// Turns an article into the fourteen values of an article-database row and a row's values back into
// an article. Pure mapping: it runs no statement and never touches the database itself.
#pragma once

#include "model/Article.h"

#include <QVariantList>
#include <functional>

// A row's columns as read from the database; a null string stands for NULL.
struct ArticleRowValues
{
    QString uniqueID;
    QString title;
    QString link;
    QString imageURL;
    QString guid;
    QString authors;
    QString enclosure;
    QString source;
    QString publicationDate;
    QString pubDateFormat;
    QString summary;
    int state = 0;
};

class ArticleRow
{
public:
    enum Table
    {
        ArticlesTable,
        ClippingsTable
    };

    // The column names in the order of rowValues, as the insert statements list them.
    static QStringList columnNames();

    // The values of one insert: fullSummary is the text to store (the caller chooses it per table).
    static QVariantList rowValues(Article &article, Table table, const QString &fullSummary);

    using Lookup = std::function<TreeNodePtr(const QString &uniqueID)>;

    // With a parent, the article takes it as parent and source (adding it to the parent's children is
    // the caller's, who may add a whole feed's rows at once); without one, the source is looked up by
    // the row's source column and the parent is left to the caller.
    static ArticlePtr articleFromRow(const ArticleRowValues &row, const TreeNodePtr &parent,
                                     const Lookup &lookup);

    static QString authorsText(const Article &article);
    static QList<std::shared_ptr<QBPerson>> authorsFromText(const QString &text);
};

// A cursor over the rows of one query, reading columns by name. It owns its statement and only
// points at its database; it never outlives the connection's open state (closing the database closes it).
#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <memory>

class FMDatabase;
class FMStatement;

class FMResultSet
{
public:
    static std::shared_ptr<FMResultSet> resultSetWithStatement(const std::shared_ptr<FMStatement> &statement,
                                                               const std::shared_ptr<FMDatabase> &parentDB);
    ~FMResultSet();
    FMResultSet(const FMResultSet &) = delete;
    FMResultSet &operator=(const FMResultSet &) = delete;

    QString query() const { return m_query; }
    bool isClosed() const { return !m_statement; }

    // True when positioned on a row; past the last row, or on an error, the result set closes itself.
    bool next();
    void close();

    int columnCount() const;
    int columnIndexForName(const QString &columnName) const;  // any letter case; -1 (logged) when missing
    QString stringForColumn(const QString &columnName) const; // null for NULL or a missing column
    int intForColumn(const QString &columnName) const;
    qint64 longLongIntForColumn(const QString &columnName) const;
    // The current row by lower-cased column name; NULL columns hold a null QVariant.
    QVariantHash resultDictionary() const;

private:
    FMResultSet(const std::shared_ptr<FMStatement> &statement, const std::shared_ptr<FMDatabase> &parentDB);

    QVariant columnValue(int index) const;
    void logStepFailure(int result) const;

    std::shared_ptr<FMStatement> m_statement;
    std::weak_ptr<FMDatabase> m_parentDB;
    QString m_query;
    mutable QHash<QString, int> m_columnNameToIndex;
};

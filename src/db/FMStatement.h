// One prepared SQLite statement with its query text, owned by a result set or the database's cache.
// It finalizes its statement when closed or discarded; it never steps the statement itself.
#pragma once

#include <QString>
#include <QVariantList>

struct sqlite3_stmt;

class FMStatement
{
public:
    FMStatement(sqlite3_stmt *statement, const QString &query);
    ~FMStatement();
    FMStatement(const FMStatement &) = delete;
    FMStatement &operator=(const FMStatement &) = delete;

    sqlite3_stmt *statement() const { return m_statement; }
    QString query() const { return m_query; }
    int useCount() const { return m_useCount; }
    void setUseCount(int useCount) { m_useCount = useCount; }
    // A cached statement held by an open result set must not be handed out again until it is closed.
    bool inUse() const { return m_inUse; }
    void setInUse(bool inUse) { m_inUse = inUse; }

    int parameterCount() const;
    // Binds values to the parameters in order, each by its type; null values (and null strings, byte
    // arrays and dates, which stand for absent ones) become NULL. Values beyond the parameters are ignored.
    void bindValues(const QVariantList &values);

    int close(); // finalizes; answers SQLite's result code
    int reset(); // readies the statement for another run; answers SQLite's result code

private:
    void bindValue(int index, const QVariant &value);

    sqlite3_stmt *m_statement;
    QString m_query;
    int m_useCount = 0;
    bool m_inUse = false;
};

// One connection to an SQLite database: opens it, runs statements with positional parameters and
// brackets writes in transactions. It never throws and never installs SQLite's own busy handler.
#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <memory>
#include <type_traits>
#include <unordered_map>

class FMResultSet;
class FMStatement;
struct sqlite3;
struct sqlite3_stmt;

class FMDatabase : public std::enable_shared_from_this<FMDatabase>
{
public:
    // An unopened database for the file at path (an empty path means an in-memory database);
    // nothing when SQLite was built without thread safety.
    static std::shared_ptr<FMDatabase> databaseWithPath(const QString &path);
    ~FMDatabase();
    FMDatabase(const FMDatabase &) = delete;
    FMDatabase &operator=(const FMDatabase &) = delete;

    QString databasePath() const { return m_databasePath; }
    sqlite3 *sqliteHandle() const { return m_db; }

    bool open();  // true when the connection is (already or now) open
    bool close(); // closes cached statements and open result sets first

    // Retries allowed on a busy or locked database: 0 retries without limit, a negative value not at all.
    int busyRetryTimeout() const { return m_busyRetryTimeout; }
    void setBusyRetryTimeout(int busyRetryTimeout) { m_busyRetryTimeout = busyRetryTimeout; }
    bool logsErrors() const { return m_logsErrors; }
    void setLogsErrors(bool logsErrors) { m_logsErrors = logsErrors; }
    bool shouldCacheStatements() const { return m_shouldCacheStatements; }
    void setShouldCacheStatements(bool shouldCacheStatements);

    bool inTransaction() const { return m_inTransaction; }
    bool hasOpenResultSets() const { return !m_openResultSets.empty(); }

    // Values are bound to the `?` parameters in order; see FMStatement for how each type is stored.
    bool executeUpdate(const QString &sql, const QVariantList &values = {});
    std::shared_ptr<FMResultSet> executeQuery(const QString &sql, const QVariantList &values = {});

    template <typename... Values>
    requires(sizeof...(Values) > 0) bool executeUpdate(const QString &sql, const Values &...values)
    {
        return executeUpdate(sql, QVariantList{asVariant(values)...});
    }

    template <typename... Values>
    requires(sizeof...(Values) > 0) std::shared_ptr<FMResultSet> executeQuery(const QString &sql,
                                                                              const Values &...values)
    {
        return executeQuery(sql, QVariantList{asVariant(values)...});
    }

    bool beginTransaction(); // exclusive, so that a write never waits halfway for another process
    bool commit();
    bool rollback();

    QString lastErrorMessage() const;
    int lastErrorCode() const;
    int changes() const;
    qint64 lastInsertRowId() const;

private:
    friend class FMResultSet;

    explicit FMDatabase(const QString &path);

    template <typename T> static QVariant asVariant(const T &value)
    {
        if constexpr (std::is_constructible_v<QVariant, const T &>)
            return QVariant(value);
        else
            return QVariant::fromValue(value);
    }

    QString describedPath() const;
    bool canExecute() const;
    std::shared_ptr<FMStatement> preparedStatement(const QString &sql, const char *operation);
    void bindValues(FMStatement &statement, const QVariantList &values, const char *operation) const;
    void logUpdateStepResult(int result, const QString &sql) const;
    void finishUpdate(FMStatement &statement);
    // Steps with the busy retry; gaveUp tells a busy answer that outlasted the limit from other results.
    int stepWithRetry(sqlite3_stmt *statement, const char *operation, const char *tag, bool &gaveUp) const;
    bool waitAfterBusy(int &retries, const char *operation, int line) const;
    bool finalizeLeakedStatements(); // true when there were any
    void clearCachedStatements();
    void closeOpenResultSets();
    void resultSetDidClose(FMResultSet *resultSet);

    QString m_databasePath;
    sqlite3 *m_db = nullptr;
    int m_busyRetryTimeout = 0;
    bool m_logsErrors = false;
    bool m_shouldCacheStatements = false;
    bool m_inTransaction = false;
    bool m_isExecutingStatement = false;
    std::unordered_map<FMResultSet *, std::weak_ptr<FMResultSet>> m_openResultSets;
    QHash<QString, std::shared_ptr<FMStatement>> m_cachedStatements;
};

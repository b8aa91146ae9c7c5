#include "db/FMDatabase.h"

#include "db/FMResultSet.h"
#include "db/FMStatement.h"
#include "platform/Log.h"

#include <QScopeGuard>
#include <chrono>
#include <sqlite3.h>
#include <thread>

namespace {
constexpr std::chrono::microseconds busySleep(20);

bool isBusy(int result)
{
    return result == SQLITE_BUSY || result == SQLITE_LOCKED;
}
} // namespace

std::shared_ptr<FMDatabase> FMDatabase::databaseWithPath(const QString &path)
{
    if (!sqlite3_threadsafe()) {
        Log::write(QStringLiteral("-[FMDatabase databaseWithPath:] SQLite was built without thread safety; "
                                  "no database made for %1")
                       .arg(path));
        return nullptr;
    }
    return std::shared_ptr<FMDatabase>(new FMDatabase(path));
}

FMDatabase::FMDatabase(const QString &path) : m_databasePath(path) {}

FMDatabase::~FMDatabase()
{
    close();
}

QString FMDatabase::describedPath() const
{
    return m_databasePath.isEmpty() ? QStringLiteral(":memory:") : m_databasePath;
}

bool FMDatabase::open()
{
    if (m_db)
        return true;
    const QByteArray path = describedPath().toUtf8();
    const int result =
        sqlite3_open_v2(path.constData(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    if (result != SQLITE_OK) {
        Log::write(QStringLiteral("error opening!: %1").arg(result));
        sqlite3_close(m_db);
        m_db = nullptr;
        return false;
    }
    return true;
}

bool FMDatabase::close()
{
    clearCachedStatements();
    closeOpenResultSets();
    if (!m_db)
        return true;
    int retries = 0;
    for (;;) {
        const int result = sqlite3_close(m_db);
        if (result == SQLITE_OK)
            break;
        if (!isBusy(result)) {
            Log::write(QStringLiteral("error closing!: %1").arg(result));
            return false;
        }
        if (finalizeLeakedStatements())
            continue;
        std::this_thread::sleep_for(busySleep);
        if (m_busyRetryTimeout != 0 && ++retries > m_busyRetryTimeout) {
            Log::write(QStringLiteral("Database busy, unable to close"));
            return false;
        }
    }
    m_db = nullptr;
    m_inTransaction = false;
    return true;
}

bool FMDatabase::finalizeLeakedStatements()
{
    bool any = false;
    while (sqlite3_stmt *statement = sqlite3_next_stmt(m_db, nullptr)) {
        Log::write(QStringLiteral("Closing leaked statement"));
        sqlite3_finalize(statement);
        any = true;
    }
    return any;
}

void FMDatabase::setShouldCacheStatements(bool shouldCacheStatements)
{
    m_shouldCacheStatements = shouldCacheStatements;
    if (!shouldCacheStatements)
        clearCachedStatements();
}

void FMDatabase::clearCachedStatements()
{
    // A statement an open result set still reads from is finalized when that result set lets go of it.
    for (const std::shared_ptr<FMStatement> &statement : std::as_const(m_cachedStatements)) {
        if (!statement->inUse())
            statement->close();
    }
    m_cachedStatements.clear();
}

void FMDatabase::closeOpenResultSets()
{
    const auto openResultSets = m_openResultSets;
    for (const auto &entry : openResultSets) {
        if (const std::shared_ptr<FMResultSet> resultSet = entry.second.lock())
            resultSet->close();
    }
    m_openResultSets.clear();
}

void FMDatabase::resultSetDidClose(FMResultSet *resultSet)
{
    m_openResultSets.erase(resultSet);
}

bool FMDatabase::canExecute() const
{
    if (!m_db) {
        Log::write(QStringLiteral("The FMDatabase %1 is not open.").arg(describedPath()));
        return false;
    }
    if (m_isExecutingStatement) {
        Log::write(QStringLiteral("The FMDatabase %1 is currently in use.").arg(describedPath()));
        return false;
    }
    return true;
}

bool FMDatabase::executeUpdate(const QString &sql, const QVariantList &values)
{
    if (!canExecute())
        return false;
    m_isExecutingStatement = true;
    const auto clearGuard = qScopeGuard([this] { m_isExecutingStatement = false; });

    const std::shared_ptr<FMStatement> statement = preparedStatement(sql, "executeUpdate");
    if (!statement)
        return false;
    bindValues(*statement, values, "executeUpdate:");
    bool gaveUp = false;
    const int result = stepWithRetry(statement->statement(), "executeUpdate", "eu", gaveUp);
    if (!gaveUp)
        logUpdateStepResult(result, sql);
    finishUpdate(*statement);
    return result == SQLITE_DONE || result == SQLITE_OK;
}

std::shared_ptr<FMResultSet> FMDatabase::executeQuery(const QString &sql, const QVariantList &values)
{
    if (!canExecute())
        return nullptr;
    m_isExecutingStatement = true;
    const auto clearGuard = qScopeGuard([this] { m_isExecutingStatement = false; });

    const std::shared_ptr<FMStatement> statement = preparedStatement(sql, "executeQuery");
    if (!statement)
        return nullptr;
    bindValues(*statement, values, "executeQuery:");
    std::shared_ptr<FMResultSet> resultSet =
        FMResultSet::resultSetWithStatement(statement, shared_from_this());
    m_openResultSets.emplace(resultSet.get(), resultSet);
    statement->setUseCount(statement->useCount() + 1);
    return resultSet;
}

std::shared_ptr<FMStatement> FMDatabase::preparedStatement(const QString &sql, const char *operation)
{
    if (m_shouldCacheStatements) {
        const std::shared_ptr<FMStatement> cached = m_cachedStatements.value(sql);
        if (cached && !cached->inUse()) {
            cached->reset();
            return cached;
        }
    }

    const QByteArray utf8 = sql.toUtf8();
    sqlite3_stmt *handle = nullptr;
    int retries = 0;
    int result;
    while (isBusy(result = sqlite3_prepare_v2(m_db, utf8.constData(), int(utf8.size()), &handle, nullptr))) {
        if (!waitAfterBusy(retries, operation, __LINE__))
            return nullptr;
    }
    if (result != SQLITE_OK) {
        if (m_logsErrors) {
            Log::write(QStringLiteral("DB Error: %1 \"%2\"")
                           .arg(QString::number(lastErrorCode()), lastErrorMessage()));
            Log::write(QStringLiteral("DB Query: %1").arg(sql));
            Log::write(QStringLiteral("DB Path: %1").arg(describedPath()));
        }
        sqlite3_finalize(handle);
        return nullptr;
    }
    if (!handle) {
        Log::write(
            QStringLiteral("-[FMDatabase %1:] no statement in '%2'").arg(QLatin1String(operation), sql));
        return nullptr;
    }

    auto statement = std::make_shared<FMStatement>(handle, sql);
    if (m_shouldCacheStatements && !m_cachedStatements.contains(sql))
        m_cachedStatements.insert(sql, statement);
    return statement;
}

void FMDatabase::bindValues(FMStatement &statement, const QVariantList &values, const char *operation) const
{
    const int parameters = statement.parameterCount();
    if (values.size() < parameters) {
        Log::write(QStringLiteral("-[FMDatabase %1] %2 parameters but %3 values in '%4'; the rest are NULL")
                       .arg(QLatin1String(operation), QString::number(parameters),
                            QString::number(values.size()), statement.query()));
    }
    statement.bindValues(values);
}

void FMDatabase::logUpdateStepResult(int result, const QString &sql) const
{
    const QString message = QString::fromUtf8(sqlite3_errmsg(m_db));
    switch (result) {
    case SQLITE_DONE:
    case SQLITE_OK:
        return;
    case SQLITE_ROW:
        Log::write(QStringLiteral("A executeUpdate is being called with a query string '%1'").arg(sql));
        return;
    case SQLITE_ERROR:
        Log::write(QStringLiteral("Error calling sqlite3_step (%1: %2) SQLITE_ERROR")
                       .arg(QString::number(result), message));
        break;
    case SQLITE_MISUSE:
        Log::write(QStringLiteral("Error calling sqlite3_step (%1: %2) SQLITE_MISUSE")
                       .arg(QString::number(result), message));
        break;
    default:
        Log::write(QStringLiteral("Unknown error calling sqlite3_step (%1: %2) eu")
                       .arg(QString::number(result), message));
        break;
    }
    Log::write(QStringLiteral("DB Query: %1").arg(sql));
}

void FMDatabase::finishUpdate(FMStatement &statement)
{
    int result;
    if (m_cachedStatements.value(statement.query()).get() == &statement) {
        statement.setUseCount(statement.useCount() + 1);
        result = statement.reset();
    } else {
        result = statement.close();
    }
    if (result != SQLITE_OK) {
        Log::write(QStringLiteral("Unknown error finalizing or resetting statement (%1: %2)")
                       .arg(QString::number(result), lastErrorMessage()));
        Log::write(QStringLiteral("DB Query: %1").arg(statement.query()));
    }
}

int FMDatabase::stepWithRetry(sqlite3_stmt *statement, const char *operation, const char *tag,
                              bool &gaveUp) const
{
    int retries = 0;
    gaveUp = false;
    for (;;) {
        const int result = sqlite3_step(statement);
        if (!isBusy(result))
            return result;
        if (result == SQLITE_LOCKED) {
            const int resetResult = sqlite3_reset(statement);
            if (resetResult != SQLITE_LOCKED) {
                Log::write(QStringLiteral("Unexpected result from sqlite3_reset (%1) %2")
                               .arg(QString::number(resetResult), QLatin1String(tag)));
            }
        }
        if (!waitAfterBusy(retries, operation, __LINE__)) {
            gaveUp = true;
            return result;
        }
    }
}

bool FMDatabase::waitAfterBusy(int &retries, const char *operation, int line) const
{
    std::this_thread::sleep_for(busySleep);
    if (m_busyRetryTimeout == 0 || ++retries <= m_busyRetryTimeout)
        return true;
    Log::write(QStringLiteral("%1:%2 Database busy (%3)")
                   .arg(QLatin1String(operation), QString::number(line), describedPath()));
    Log::write(QStringLiteral("Database busy"));
    return false;
}

bool FMDatabase::beginTransaction()
{
    const bool began = executeUpdate(QStringLiteral("begin exclusive transaction"));
    if (began)
        m_inTransaction = true;
    return began;
}

bool FMDatabase::commit()
{
    const bool committed = executeUpdate(QStringLiteral("commit transaction"));
    if (committed)
        m_inTransaction = false;
    return committed;
}

bool FMDatabase::rollback()
{
    const bool rolledBack = executeUpdate(QStringLiteral("rollback transaction"));
    if (rolledBack)
        m_inTransaction = false;
    return rolledBack;
}

QString FMDatabase::lastErrorMessage() const
{
    return m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QString();
}

int FMDatabase::lastErrorCode() const
{
    return m_db ? sqlite3_errcode(m_db) : SQLITE_OK;
}

int FMDatabase::changes() const
{
    return m_db ? sqlite3_changes(m_db) : 0;
}

qint64 FMDatabase::lastInsertRowId() const
{
    return m_db ? sqlite3_last_insert_rowid(m_db) : 0;
}

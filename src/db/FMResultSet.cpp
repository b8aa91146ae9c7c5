#include "db/FMResultSet.h"

#include "db/FMDatabase.h"
#include "db/FMStatement.h"
#include "platform/Log.h"

#include <sqlite3.h>

std::shared_ptr<FMResultSet>
FMResultSet::resultSetWithStatement(const std::shared_ptr<FMStatement> &statement,
                                    const std::shared_ptr<FMDatabase> &parentDB)
{
    return std::shared_ptr<FMResultSet>(new FMResultSet(statement, parentDB));
}

FMResultSet::FMResultSet(const std::shared_ptr<FMStatement> &statement,
                         const std::shared_ptr<FMDatabase> &parentDB)
    : m_statement(statement), m_parentDB(parentDB), m_query(statement->query())
{
    m_statement->setInUse(true);
}

FMResultSet::~FMResultSet()
{
    close();
}

bool FMResultSet::next()
{
    const std::shared_ptr<FMDatabase> database = m_parentDB.lock();
    if (!m_statement || !database) {
        close();
        return false;
    }
    bool gaveUp = false;
    const int result = database->stepWithRetry(m_statement->statement(), "next", "rs", gaveUp);
    if (result == SQLITE_ROW)
        return true;
    if (!gaveUp && result != SQLITE_DONE)
        logStepFailure(result);
    close();
    return false;
}

void FMResultSet::logStepFailure(int result) const
{
    const QString message = QString::fromUtf8(sqlite3_errmsg(sqlite3_db_handle(m_statement->statement())));
    if (result == SQLITE_ERROR || result == SQLITE_MISUSE)
        Log::write(
            QStringLiteral("Error calling sqlite3_step (%1: %2) rs").arg(QString::number(result), message));
    else
        Log::write(QStringLiteral("Unknown error calling sqlite3_step (%1: %2) rs")
                       .arg(QString::number(result), message));
}

void FMResultSet::close()
{
    if (!m_statement)
        return;
    m_statement->reset();
    m_statement->setInUse(false);
    m_statement.reset();
    if (const std::shared_ptr<FMDatabase> database = m_parentDB.lock())
        database->resultSetDidClose(this);
}

int FMResultSet::columnCount() const
{
    return m_statement ? sqlite3_column_count(m_statement->statement()) : 0;
}

int FMResultSet::columnIndexForName(const QString &columnName) const
{
    if (m_columnNameToIndex.isEmpty()) {
        // Walking backwards lets the first of two same-named columns win, as SQL readers expect.
        for (int index = columnCount() - 1; index >= 0; --index) {
            const char *name = sqlite3_column_name(m_statement->statement(), index);
            m_columnNameToIndex.insert(QString::fromUtf8(name).toLower(), index);
        }
    }
    const int index = m_columnNameToIndex.value(columnName.toLower(), -1);
    if (index < 0)
        Log::write(QStringLiteral("Warning: I could not find the column named '%1'.").arg(columnName));
    return index;
}

QString FMResultSet::stringForColumn(const QString &columnName) const
{
    const int index = columnIndexForName(columnName);
    if (index < 0 || !m_statement)
        return {};
    sqlite3_stmt *statement = m_statement->statement();
    if (sqlite3_column_type(statement, index) == SQLITE_NULL)
        return {};
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, index));
    return QString::fromUtf8(text, sqlite3_column_bytes(statement, index));
}

int FMResultSet::intForColumn(const QString &columnName) const
{
    const int index = columnIndexForName(columnName);
    return index < 0 || !m_statement ? 0 : sqlite3_column_int(m_statement->statement(), index);
}

qint64 FMResultSet::longLongIntForColumn(const QString &columnName) const
{
    const int index = columnIndexForName(columnName);
    return index < 0 || !m_statement ? 0 : sqlite3_column_int64(m_statement->statement(), index);
}

QVariantHash FMResultSet::resultDictionary() const
{
    QVariantHash row;
    for (int index = 0; index < columnCount(); ++index) {
        const char *name = sqlite3_column_name(m_statement->statement(), index);
        row.insert(QString::fromUtf8(name).toLower(), columnValue(index));
    }
    return row;
}

QVariant FMResultSet::columnValue(int index) const
{
    sqlite3_stmt *statement = m_statement->statement();
    switch (sqlite3_column_type(statement, index)) {
    case SQLITE_INTEGER:
        return QVariant(qint64(sqlite3_column_int64(statement, index)));
    case SQLITE_FLOAT:
        return QVariant(sqlite3_column_double(statement, index));
    case SQLITE_TEXT: {
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, index));
        return QVariant(QString::fromUtf8(text, sqlite3_column_bytes(statement, index)));
    }
    case SQLITE_BLOB: {
        const auto *data = static_cast<const char *>(sqlite3_column_blob(statement, index));
        return QVariant(QByteArray(data ? data : "", sqlite3_column_bytes(statement, index)));
    }
    default:
        return QVariant();
    }
}

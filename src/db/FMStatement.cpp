#include "db/FMStatement.h"

#include <QByteArray>
#include <QDateTime>
#include <sqlite3.h>

FMStatement::FMStatement(sqlite3_stmt *statement, const QString &query)
    : m_statement(statement), m_query(query)
{
}

FMStatement::~FMStatement()
{
    close();
}

int FMStatement::parameterCount() const
{
    return m_statement ? sqlite3_bind_parameter_count(m_statement) : 0;
}

void FMStatement::bindValues(const QVariantList &values)
{
    if (!m_statement)
        return;
    // A reused statement must not keep the values of its previous run for parameters left unbound.
    sqlite3_clear_bindings(m_statement);
    const int count = std::min<qsizetype>(parameterCount(), values.size());
    for (int index = 0; index < count; ++index)
        bindValue(index + 1, values.at(index));
}

void FMStatement::bindValue(int index, const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        sqlite3_bind_null(m_statement, index);
        break;
    case QMetaType::QByteArray: {
        const QByteArray data = value.toByteArray();
        if (data.isNull())
            sqlite3_bind_null(m_statement, index);
        else
            sqlite3_bind_blob64(m_statement, index, data.constData(), sqlite3_uint64(data.size()),
                                SQLITE_TRANSIENT);
        break;
    }
    case QMetaType::QDateTime: {
        const QDateTime moment = value.toDateTime();
        if (moment.isValid())
            sqlite3_bind_double(m_statement, index, double(moment.toMSecsSinceEpoch()) / 1000.0);
        else
            sqlite3_bind_null(m_statement, index);
        break;
    }
    case QMetaType::Bool:
        sqlite3_bind_int64(m_statement, index, value.toBool() ? 1 : 0);
        break;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
        sqlite3_bind_int64(m_statement, index, value.toLongLong());
        break;
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        // Unsigned values keep their bits; the largest ones read back as negative numbers.
        sqlite3_bind_int64(m_statement, index, static_cast<sqlite3_int64>(value.toULongLong()));
        break;
    case QMetaType::Float:
    case QMetaType::Double:
        sqlite3_bind_double(m_statement, index, value.toDouble());
        break;
    default: {
        const QString text = value.toString();
        if (value.typeId() == QMetaType::QString && text.isNull()) {
            sqlite3_bind_null(m_statement, index);
            break;
        }
        const QByteArray utf8 = text.toUtf8();
        sqlite3_bind_text64(m_statement, index, utf8.constData(), sqlite3_uint64(utf8.size()),
                            SQLITE_TRANSIENT, SQLITE_UTF8);
        break;
    }
    }
}

int FMStatement::close()
{
    if (!m_statement)
        return SQLITE_OK;
    const int result = sqlite3_finalize(m_statement);
    m_statement = nullptr;
    return result;
}

int FMStatement::reset()
{
    return m_statement ? sqlite3_reset(m_statement) : SQLITE_OK;
}

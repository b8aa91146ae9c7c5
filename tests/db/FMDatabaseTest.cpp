#include "db/FMDatabase.h"

#include "LogCapture.h"
#include "db/FMResultSet.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QUrl>
#include <atomic>
#include <gtest/gtest.h>
#include <limits>
#include <sqlite3.h>
#include <thread>

namespace {
struct BusyObserver
{
    QSemaphore seen;
    std::atomic<int> count = 0;
};

// Installed by the tests only to watch: answering 0 hands SQLITE_BUSY straight back to the layer.
int observeBusy(void *observer, int)
{
    auto *busy = static_cast<BusyObserver *>(observer);
    ++busy->count;
    busy->seen.release();
    return 0;
}

std::shared_ptr<FMDatabase> openedDatabase(const QString &path = QString(), BusyObserver *busy = nullptr)
{
    std::shared_ptr<FMDatabase> db = FMDatabase::databaseWithPath(path);
    EXPECT_TRUE(db->open());
    if (busy)
        sqlite3_busy_handler(db->sqliteHandle(), observeBusy, busy);
    return db;
}

bool loggedBusy(const LogCapture &log, const QString &operation, const QString &path)
{
    const QRegularExpression line(
        QStringLiteral("^%1:\\d+ Database busy \\(%2\\)$").arg(operation, QRegularExpression::escape(path)));
    return log.lines().indexOf(line) >= 0 && log.contains("Database busy");
}

QVariant firstValue(const std::shared_ptr<FMDatabase> &db, const QString &sql)
{
    const std::shared_ptr<FMResultSet> rows = db->executeQuery(sql);
    EXPECT_TRUE(rows && rows->next()) << sql.toStdString();
    return rows && !rows->isClosed() ? rows->resultDictionary().value("x") : QVariant();
}
} // namespace

TEST(FMDatabase, OpensOnceRefusesWorkWhenNotOpenAndClosingFinalizesEverythingLeftOpen)
{
    LogCapture log;
    const std::shared_ptr<FMDatabase> db = FMDatabase::databaseWithPath(QString());
    EXPECT_FALSE(db->executeUpdate("create table t (a)"));
    EXPECT_EQ(db->executeQuery("select 1"), nullptr);
    EXPECT_TRUE(log.contains("The FMDatabase :memory: is not open."));

    ASSERT_TRUE(db->open());
    sqlite3 *const handle = db->sqliteHandle();
    ASSERT_TRUE(db->executeUpdate("create table t (a)"));
    EXPECT_TRUE(db->open());
    EXPECT_EQ(db->sqliteHandle(), handle);
    EXPECT_TRUE(
        db->executeUpdate("insert into t values (1)")); // a reopened in-memory database would be empty

    const std::shared_ptr<FMDatabase> unreachable =
        FMDatabase::databaseWithPath("/nonexistent/x/Articles.db");
    EXPECT_FALSE(unreachable->open());
    EXPECT_TRUE(log.contains(QStringLiteral("error opening!: %1").arg(SQLITE_CANTOPEN)));

    // Closing closes the result sets and finalizes statements leaked past the wrapper.
    log.clear();
    const std::shared_ptr<FMResultSet> rows = db->executeQuery("select 1");
    ASSERT_TRUE(rows->next());
    sqlite3_stmt *leaked = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db->sqliteHandle(), "select 2", -1, &leaked, nullptr), SQLITE_OK);
    EXPECT_TRUE(db->close());
    EXPECT_EQ(db->sqliteHandle(), nullptr);
    EXPECT_TRUE(rows->isClosed());
    EXPECT_FALSE(db->hasOpenResultSets());
    EXPECT_EQ(log.lines(), QStringList({"Closing leaked statement"}));
}

TEST(FMDatabase, BindsEachValueByItsTypeOnlyAsManyAsThereAreParametersAndReadsThemBackExactly)
{
    const std::shared_ptr<FMDatabase> db = openedDatabase();
    ASSERT_TRUE(db->executeUpdate("create table v (x, y)")); // no declared types, so nothing is converted
    const QDateTime moment = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC).addMSecs(250);
    const QList<std::tuple<QVariant, QString, QVariant>> cases = {
        {QVariant(), "null", QVariant()},
        {QVariant(QString()), "null", QVariant()},
        {QVariant(QString("")), "text", QString("")},
        {QVariant(42), "integer", 42LL},
        {QVariant(true), "integer", 1LL},
        {QVariant(2.5), "real", 2.5},
        {QVariant(QByteArray("\x01\x02", 2)), "blob", QByteArray("\x01\x02", 2)},
        {QVariant(moment), "real", 1700000000.25},
        {QVariant(QUrl("https://example.org/feed")), "text", QString("https://example.org/feed")},
        {QVariant::fromValue(4000000000u), "integer", 4000000000LL},
    };
    for (const auto &[value, type, stored] : cases) {
        ASSERT_TRUE(db->executeUpdate("delete from v"));
        ASSERT_TRUE(db->executeUpdate("insert into v (x) values (?)", value, "ignored"));
        EXPECT_EQ(firstValue(db, "select typeof(x) as x from v").toString(), type) << value.typeName();
        EXPECT_EQ(firstValue(db, "select x from v"), stored) << value.typeName();
    }

    LogCapture log;
    EXPECT_TRUE(db->executeUpdate("insert into v values (?, ?)", 7));
    EXPECT_FALSE(firstValue(db, "select y as x from v where x = 7").isValid());
    EXPECT_EQ(log.lines().size(), 1);

    // Text, bytes and 64-bit numbers come back exactly, and empty text stays apart from NULL.
    ASSERT_TRUE(db->executeUpdate("create table t (id integer primary key, s text, b blob, n integer)"));
    const QString text = QString::fromUtf8("Gr\xC3\xBC\xC3\x9F"
                                           "e \xE2\x80\x93 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x8E\x89 "
                                           "\"quoted\" 'single' ; drop table t; --") +
                         QChar(0) + "after nul";
    QByteArray blob;
    for (int byte = 0; byte < 256; ++byte)
        blob.append(char(byte));
    const QVariantList numbers = {std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min(),
                                  std::numeric_limits<quint64>::max()};
    for (const QVariant &number : numbers)
        ASSERT_TRUE(db->executeUpdate("insert into t (s, b, n) values (?, ?, ?)", text, blob, number));
    ASSERT_TRUE(
        db->executeUpdate("insert into t (s, b, n) values (?, ?, ?)", QString(""), QByteArray(""), 0));

    const std::shared_ptr<FMResultSet> rows = db->executeQuery("select * from t order by id");
    for (const qint64 number :
         {std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min(), -1LL}) {
        ASSERT_TRUE(rows->next());
        EXPECT_EQ(rows->stringForColumn("s"), text);
        EXPECT_EQ(rows->resultDictionary().value("b").toByteArray(), blob);
        EXPECT_EQ(rows->longLongIntForColumn("n"), number);
    }
    ASSERT_TRUE(rows->next());
    EXPECT_FALSE(rows->stringForColumn("s").isNull()); // empty text stays apart from NULL
    EXPECT_EQ(rows->resultDictionary().value("b").typeId(), QMetaType::QByteArray);
}

TEST(FMDatabase, LogsStepFailuresAndRowYieldingUpdates)
{
    LogCapture log;
    const std::shared_ptr<FMDatabase> db = openedDatabase();
    ASSERT_TRUE(db->executeUpdate("create table u (id integer primary key)"));
    EXPECT_FALSE(db->executeUpdate("insert into u values (abs(-9223372036854775808))"));
    EXPECT_TRUE(log.contains("Error calling sqlite3_step (1: integer overflow) SQLITE_ERROR"));
    EXPECT_TRUE(log.contains("DB Query: insert into u values (abs(-9223372036854775808))"));
    ASSERT_TRUE(db->executeUpdate("insert into u values (1)"));
    EXPECT_FALSE(db->executeUpdate("insert into u values (1)"));
    EXPECT_TRUE(log.contains("Unknown error calling sqlite3_step (19: UNIQUE constraint failed: u.id) eu"));
    EXPECT_FALSE(db->executeUpdate("select id from u"));
    EXPECT_TRUE(log.contains("A executeUpdate is being called with a query string 'select id from u'"));

    log.clear();
    EXPECT_FALSE(db->executeUpdate("insert into missing values (1)"));
    EXPECT_EQ(db->executeQuery("select nothing from u"), nullptr);
    EXPECT_TRUE(log.lines().isEmpty()); // prepare errors stay quiet unless asked for
    db->setLogsErrors(true);
    EXPECT_FALSE(db->executeUpdate("insert into missing values (1)"));
    EXPECT_EQ(log.lines(), QStringList({"DB Error: 1 \"no such table: missing\"",
                                        "DB Query: insert into missing values (1)", "DB Path: :memory:"}));
    EXPECT_TRUE(db->executeUpdate("insert into u values (2)")); // the failures left the connection usable
}

TEST(FMDatabase, RejectsAStatementStartedWhileAnotherIsExecuting)
{
    LogCapture log;
    const std::shared_ptr<FMDatabase> db = openedDatabase();
    ASSERT_TRUE(db->executeUpdate("create table t (x)"));
    const auto reenter = [](sqlite3_context *context, int, sqlite3_value **) {
        auto *database = static_cast<FMDatabase *>(sqlite3_user_data(context));
        sqlite3_result_int(context, database->executeUpdate("insert into t values (99)") ? 1 : 2);
    };
    sqlite3_create_function_v2(db->sqliteHandle(), "reenter", 0, SQLITE_UTF8, db.get(), reenter, nullptr,
                               nullptr, nullptr);
    EXPECT_TRUE(db->executeUpdate("insert into t values (reenter())"));
    EXPECT_TRUE(log.contains("The FMDatabase :memory: is currently in use."));
    EXPECT_EQ(firstValue(db, "select group_concat(x) as x from t").toString(), "2");
}

TEST(FMDatabase, CachedStatementsRebindAndNeverShareACursorAndTransactionsCommitAndRollBack)
{
    const std::shared_ptr<FMDatabase> db = openedDatabase();
    db->setShouldCacheStatements(true);
    ASSERT_TRUE(db->executeUpdate("create table t (a, x)"));
    ASSERT_TRUE(db->executeUpdate("insert into t values (?, ?)", 1, "x"));
    ASSERT_TRUE(db->executeUpdate("insert into t values (?, ?)", 2));
    EXPECT_FALSE(firstValue(db, "select x from t where a = 2").isValid());

    int pairs = 0;
    const std::shared_ptr<FMResultSet> outer = db->executeQuery("select a from t order by a");
    while (outer->next() && pairs < 10) {
        const std::shared_ptr<FMResultSet> inner = db->executeQuery("select a from t order by a");
        while (inner->next())
            pairs += outer->intForColumn("a");
    }
    EXPECT_EQ(pairs, 6);

    ASSERT_TRUE(db->executeUpdate("delete from t"));
    for (const bool keep : {false, true}) {
        ASSERT_TRUE(db->beginTransaction());
        EXPECT_TRUE(db->inTransaction());
        ASSERT_TRUE(db->executeUpdate("insert into t (a) values (1)"));
        ASSERT_TRUE(keep ? db->commit() : db->rollback());
        EXPECT_FALSE(db->inTransaction());
        EXPECT_EQ(firstValue(db, "select count(*) as x from t").toInt(), keep ? 1 : 0);
    }
}

TEST(FMDatabaseBusy, ALimitedRetryGivesUpWhileAnotherConnectionHoldsTheLockAndAnUnlimitedOneWaitsForIt)
{
    QTemporaryDir folder;
    const QString path = folder.filePath("Articles.db");
    BusyObserver busy;
    const std::shared_ptr<FMDatabase> db = openedDatabase(path, &busy);
    ASSERT_TRUE(db->executeUpdate("create table t (a)"));
    ASSERT_TRUE(db->executeUpdate("insert into t values (1)"));
    const std::shared_ptr<FMResultSet> prepared = db->executeQuery("select a from t");
    const std::shared_ptr<FMDatabase> holder = openedDatabase(path);
    ASSERT_TRUE(holder->beginTransaction());

    LogCapture log;
    db->setBusyRetryTimeout(3);
    EXPECT_FALSE(db->executeUpdate("insert into t values (2)"));
    EXPECT_TRUE(loggedBusy(log, "executeUpdate", path));
    EXPECT_GE(busy.count, 4);
    EXPECT_FALSE(prepared->next());
    EXPECT_TRUE(loggedBusy(log, "next", path));
    const std::shared_ptr<FMDatabase> fresh = openedDatabase(path); // has yet to read the schema
    fresh->setBusyRetryTimeout(2);
    EXPECT_EQ(fresh->executeQuery("select a from t"), nullptr);
    EXPECT_TRUE(loggedBusy(log, "executeQuery", path));

    db->setBusyRetryTimeout(0);
    ASSERT_TRUE(holder->executeUpdate("insert into t values (2)"));
    while (busy.seen.tryAcquire()) {
    }
    std::thread releaser([&] {
        busy.seen.acquire(); // the writer below has met the lock at least once
        holder->commit();
    });
    log.clear();
    EXPECT_TRUE(db->executeUpdate("insert into t values (3)"));
    releaser.join();
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_EQ(firstValue(db, "select count(*) as x from t").toInt(), 3);
}

TEST(FMResultSet, FindsColumnsInAnyLetterCaseWarnsAboutMissingOnesAndClosesItselfWhenDone)
{
    LogCapture log;
    const std::shared_ptr<FMDatabase> db = openedDatabase();
    ASSERT_TRUE(
        db->executeUpdate("create table articles (id integer primary key, uniqueID text, state number)"));
    ASSERT_TRUE(db->executeUpdate("insert into articles (uniqueID, state) values (?, ?)", "A-1", 1));
    ASSERT_TRUE(db->executeUpdate("insert into articles (uniqueID, state) values (?, ?)", QString(), 0));
    const std::shared_ptr<FMResultSet> rows = db->executeQuery("select * from articles order by id");
    ASSERT_TRUE(rows->next());
    EXPECT_EQ(rows->stringForColumn("UniqueID"), "A-1");
    EXPECT_EQ(rows->intForColumn("STATE"), 1);
    EXPECT_EQ(rows->resultDictionary(), QVariantHash({{"id", 1LL}, {"uniqueid", "A-1"}, {"state", 1LL}}));
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_TRUE(rows->stringForColumn("title").isNull());
    EXPECT_TRUE(log.contains("Warning: I could not find the column named 'title'."));

    ASSERT_TRUE(rows->next());
    EXPECT_TRUE(rows->stringForColumn("uniqueID").isNull());
    EXPECT_TRUE(rows->resultDictionary().contains("uniqueid"));
    EXPECT_FALSE(rows->resultDictionary().value("uniqueid").isValid());
    EXPECT_FALSE(rows->next());
    EXPECT_TRUE(rows->isClosed());

    // A set closes itself after the last row, when let go and after an error, and leaves the open sets.
    const std::shared_ptr<FMResultSet> none =
        db->executeQuery("SELECT * FROM articles where uniqueID = ?", "B-9");
    EXPECT_TRUE(db->hasOpenResultSets());
    EXPECT_FALSE(none->next());
    EXPECT_TRUE(none->isClosed());
    EXPECT_FALSE(db->hasOpenResultSets());

    std::shared_ptr<FMResultSet> early = db->executeQuery("select * from articles");
    ASSERT_TRUE(early->next());
    early.reset(); // letting go closes it as well
    EXPECT_FALSE(db->hasOpenResultSets());
    EXPECT_TRUE(db->executeUpdate("drop table articles")); // no statement was left reading the table

    const std::shared_ptr<FMResultSet> failing = db->executeQuery("select abs(-9223372036854775808) as x");
    EXPECT_FALSE(failing->next());
    EXPECT_TRUE(failing->isClosed());
    EXPECT_TRUE(log.contains("Error calling sqlite3_step (1: integer overflow) rs"));
}

#include "db/FMResultSet.h"

#include "LogCapture.h"
#include "db/FMDatabase.h"

#include <gtest/gtest.h>

namespace {
std::shared_ptr<FMDatabase> articleDatabase()
{
    std::shared_ptr<FMDatabase> db = FMDatabase::databaseWithPath(QString());
    EXPECT_TRUE(db->open());
    EXPECT_TRUE(
        db->executeUpdate("create table articles (id integer primary key, uniqueID text, state number)"));
    EXPECT_TRUE(db->executeUpdate("insert into articles (uniqueID, state) values (?, ?)", "A-1", 1));
    EXPECT_TRUE(db->executeUpdate("insert into articles (uniqueID, state) values (?, ?)", QString(), 0));
    return db;
}
} // namespace

TEST(FMResultSet, FindsColumnsInAnyLetterCaseWarnsAboutMissingOnesAndClosesItselfWhenDone)
{
    LogCapture log;
    const std::shared_ptr<FMDatabase> db = articleDatabase();
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

#include "platform/QBCollections.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

namespace {
struct Described
{
    QString description() const { return QStringLiteral("a described thing"); }
};
struct Plain
{
};
} // namespace

TEST(QBCollections, AddingSkipsNullsAConstListNeverGrowsAndAMapKeepsOnlyValuesThatAreNotNull)
{
    LogCapture log;
    QList<std::shared_ptr<Described>> list;
    qb_addObject(list, std::make_shared<Described>());
    qb_addObject(list, nullptr);
    const QList<std::shared_ptr<Described>> &fixed = list;
    qb_addObject(fixed, std::make_shared<Described>());
    EXPECT_EQ(list.size(), 1);
    EXPECT_EQ(log.lines(), QStringList({"Attempt to insert nil object into mutable array",
                                        "Attempt to insert object a described thing into immutable array"}));

    QVariantList variants;
    for (const QVariant &value : {QVariant(), QVariant(QString()), QVariant(0)})
        qb_addObject(variants, value);
    EXPECT_EQ(variants, QVariantList({0}));
    QVariantMap map;
    addObject(map, "kept", 0);
    addObject(map, "empty text", QString(""));
    addObject(map, "null text", QString());
    addObject(map, "nothing", QVariant());
    EXPECT_EQ(map.keys(), QStringList({"empty text", "kept"}));
}

TEST(QBCollections, AnIndexOutsideTheListGivesNullAndOnlyTheConstFormLogsNamingTheLastObject)
{
    LogCapture log;
    QVariantList list = {"first", "last"};
    EXPECT_EQ(qb_objectAtIndex(list, 1), QVariant("last"));
    EXPECT_FALSE(qb_objectAtIndex(list, 2).isValid());
    EXPECT_FALSE(qb_objectAtIndex(list, -1).isValid());
    EXPECT_TRUE(log.lines().isEmpty());

    const QVariantList &fixed = list;
    EXPECT_EQ(qb_objectAtIndex(fixed, qint64(0)), QVariant("first"));
    EXPECT_FALSE(qb_objectAtIndex(fixed, qint64(2)).isValid());
    EXPECT_EQ(qb_objectAtIndex(QList<std::shared_ptr<Plain>>(), qint64(-5)), nullptr);
    EXPECT_EQ(log.lines(),
              QStringList({"Index 2 is out of bounds 2", "Last known object in array: last",
                           "Index -5 is out of bounds 0", "Last known object in array: (null)"}));
}

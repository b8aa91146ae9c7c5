#include "platform/CalendarDate.h"

#include <gtest/gtest.h>

namespace {
CalendarDate dateAt(QDate date, QTime time, int offsetSeconds,
                    const QString &format = CalendarDate::defaultFormat())
{
    return CalendarDate(QDateTime(date, time, Qt::OffsetFromUTC, offsetSeconds), offsetSeconds, format);
}
} // namespace

TEST(CalendarDate, WritesEverySpecifierAtItsOwnOffset)
{
    const CalendarDate date = dateAt(QDate(2007, 6, 5), QTime(9, 5, 3), 5 * 3600 + 45 * 60);
    EXPECT_EQ(date.moment().time(), QTime(3, 20, 3));
    EXPECT_EQ(date.toString("%Y %y %m %d %e %H %I %M %S %p %j"), "2007 07 06 05 5 09 09 05 03 AM 156");
    EXPECT_EQ(date.toString("%A %a %B %b %z %Z 100%% %q"), "Tuesday Tue June Jun +0545 GMT+0545 100% %q");
    EXPECT_EQ(date.toString(), "2007-06-05 09:05:03 +0545");

    EXPECT_EQ(dateAt(QDate(2007, 6, 5), QTime(0, 10), 0).toString("%I %p"), "12 AM");
    EXPECT_EQ(dateAt(QDate(2007, 6, 5), QTime(12, 10), 0).toString("%I %p"), "12 PM");
    EXPECT_EQ(dateAt(QDate(2007, 6, 5), QTime(21, 10), -(9 * 3600 + 30 * 60)).toString("%I %p %z"),
              "09 PM -0930");
    EXPECT_EQ(CalendarDate::distantPast().toString(), "0001-01-01 00:00:00 +0000");
    EXPECT_TRUE(CalendarDate().toString().isEmpty());
}

TEST(CalendarDate, DefaultTextReadsBackToTheSameMomentAndOffset)
{
    for (const int offset : {5 * 3600 + 45 * 60, -(9 * 3600 + 30 * 60), 0, 14 * 3600}) {
        const CalendarDate date = dateAt(QDate(2012, 2, 29), QTime(23, 59, 58), offset);
        const CalendarDate back = CalendarDate::fromString(date.toString(), CalendarDate::defaultFormat());
        EXPECT_EQ(back, date) << date.toString().toStdString();
        EXPECT_EQ(back.offsetSeconds(), offset);
    }
    EXPECT_EQ(CalendarDate::fromString(CalendarDate::distantPast().toString(), CalendarDate::defaultFormat()),
              CalendarDate::distantPast());
}

TEST(CalendarDate, ReadsNamesTwelveHourClocksAndZonesWithTheirFormat)
{
    const QString format = "%A, %e %B %Y %I:%M %p %Z";
    const CalendarDate date = CalendarDate::fromString("tuesday, 5 JUNE 2007 09:05 pm GMT-0930", format);
    ASSERT_FALSE(date.isNull());
    EXPECT_EQ(date.localMoment().toString(Qt::ISODate), "2007-06-05T21:05:00-09:30");
    EXPECT_EQ(date.calendarFormat(), format);
    EXPECT_EQ(date.toString(), "Tuesday, 5 June 2007 09:05 PM GMT-0930");

    EXPECT_EQ(CalendarDate::fromString("12:30 AM", "%I:%M %p").localMoment().time(), QTime(0, 30));
    EXPECT_EQ(CalendarDate::fromString("Mar 7 99 UTC", "%b %e %y %Z").moment(),
              QDateTime(QDate(1999, 3, 7), QTime(0, 0), Qt::UTC));
    EXPECT_EQ(CalendarDate::fromString("2008 060", "%Y %j").localMoment().date(), QDate(2008, 2, 29));
}

TEST(CalendarDate, TextThatDoesNotMatchItsFormatGivesANullDate)
{
    const QString format = CalendarDate::defaultFormat();
    for (const char *text :
         {"", "hello", "2007-06-05", "2007-06-05 09:05:03", "2007-13-05 09:05:03 +0000",
          "2007-02-30 09:05:03 +0000", "2007-06-05 24:05:03 +0000", "2007-06-05 09:05:03 +0000 x",
          "2007/06/05 09:05:03 +0000", "2007-06-05 09:05:03 0000"}) {
        EXPECT_TRUE(CalendarDate::fromString(text, format).isNull()) << text;
    }
    EXPECT_TRUE(CalendarDate::fromString("Tusday", "%A").isNull());
    EXPECT_TRUE(CalendarDate::fromString("2007 367", "%Y %j").isNull());
    EXPECT_FALSE(CalendarDate::fromString("17%", "%d%%").isNull());
}

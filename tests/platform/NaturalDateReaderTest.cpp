#include "platform/NaturalDateReader.h"

#include <gtest/gtest.h>

namespace {
QDateTime utc(int year, int month, int day, int hour, int minute, int second)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::UTC);
}

struct Expected
{
    const char *text;
    QDateTime moment;
    int offsetSeconds;
};
} // namespace

TEST(NaturalDateReader, ReadsTheDatesTheWebSends)
{
    const Expected cases[] = {
        {"Tue, 5 Jun 2007 9:05:00 +0000", utc(2007, 6, 5, 9, 5, 0), 0},
        {"Sat, 07 Sep 2002 00:00:01 GMT", utc(2002, 9, 7, 0, 0, 1), 0},
        {"07 Sep 2002 00:00 EDT", utc(2002, 9, 7, 4, 0, 0), -4 * 3600},
        {"Wed, 17 May 2006 14:32:10 +0200", utc(2006, 5, 17, 12, 32, 10), 7200},
        {"wed,17 may 06 14:32:10 pdt", utc(2006, 5, 17, 21, 32, 10), -7 * 3600},
        {"Mon, 06 Sep 2010 10:15:00 -05:30", utc(2010, 9, 6, 15, 45, 0), -(5 * 3600 + 30 * 60)},
        {"  Tue,   5   JUN  2007\t09:05 \n", utc(2007, 6, 5, 9, 5, 0), 0},
        {"Thursday, 01 January 1970 00:00:00 UT", utc(1970, 1, 1, 0, 0, 0), 0},
        {"Sunday, 06-Nov-94 08:49:37 GMT", utc(1994, 11, 6, 8, 49, 37), 0},
        {"Sun Nov 6 08:49:37 1994", utc(1994, 11, 6, 8, 49, 37), 0},
        {"Tues. Sept. 4, 2001 8:05 pm CST", utc(2001, 9, 5, 2, 5, 0), -6 * 3600},
        {"Fri, 21 Nov 1997 09:55:06 -0600 (MDT)", utc(1997, 11, 21, 15, 55, 6), -6 * 3600},
        {"21 Nov 1997 09:55:06 A", utc(1997, 11, 21, 8, 55, 6), 3600},
        {"21 Nov 1997 09:55:06 N", utc(1997, 11, 21, 10, 55, 6), -3600},
        {"21 Nov 1997 09:55:06 GMT+01:00", utc(1997, 11, 21, 8, 55, 6), 3600},
        {"2006-05-17 14:32:10", utc(2006, 5, 17, 14, 32, 10), 0},
        {"2006-05-17T14:32:10.25-05:00", utc(2006, 5, 17, 19, 32, 10), -5 * 3600},
        {"2006-05-17", utc(2006, 5, 17, 0, 0, 0), 0},
        {"2006-05", utc(2006, 5, 1, 0, 0, 0), 0},
        {"20060517T143210.5+0530", utc(2006, 5, 17, 9, 2, 10), 5 * 3600 + 30 * 60},
        {"Wed, 17 May 2006 14:32:10 ACST", utc(2006, 5, 17, 5, 2, 10), 9 * 3600 + 30 * 60},
    };
    for (const Expected &expected : cases) {
        const CalendarDate date = NaturalDateReader::dateFromString(expected.text);
        EXPECT_EQ(date.moment(), expected.moment) << expected.text;
        EXPECT_EQ(date.offsetSeconds(), expected.offsetSeconds) << expected.text;
        EXPECT_EQ(date.calendarFormat(), CalendarDate::defaultFormat());
    }
}

TEST(NaturalDateReader, TextItCannotPlaceInFullGivesANullDate)
{
    for (const char *text : {"", "   ", "hello", "yesterday", "Tue, 5 Jun 9:05", "32 Jun 2007",
                             "5 Jun 2007 25:00", "5 Jun 2007 10:00 XYZ", "5 Jun 2007 10:00 +0200 GMT",
                             "5 Jun Jul 2007", "5 Jun 2007 10:00 J", "5 Jun 2007 10:00 +2500", "29 Feb 2007",
                             "5 6 7 2007 June", "2007-06-05T10", "5 Jun 2007 10:00 IST", "20070605T10"}) {
        EXPECT_TRUE(NaturalDateReader::dateFromString(text).isNull()) << text;
    }
}

#include "reading/QBUtilities.h"

#include "LogCapture.h"

#include <QLocale>
#include <QRegularExpression>
#include <ctime>
#include <gtest/gtest.h>

namespace {
CalendarDate dateAt(int year, int month, int day, int hour, int minute, int offsetSeconds = 0)
{
    return CalendarDate(
        QDateTime(QDate(year, month, day), QTime(hour, minute), Qt::OffsetFromUTC, offsetSeconds),
        offsetSeconds);
}

QString timeText(int hour, int minute)
{
    return QLocale().toString(QTime(hour, minute), QLocale::ShortFormat);
}

// Monday 17 May 2010, noon.
const QDateTime mondayNoon(QDate(2010, 5, 17), QTime(12, 0), Qt::UTC);

// The user's time zone for the length of a test.
class TimeZoneOfTheUser
{
public:
    explicit TimeZoneOfTheUser(const char *zone)
        : m_saved(qgetenv("TZ")), m_wasSet(qEnvironmentVariableIsSet("TZ"))
    {
        qputenv("TZ", zone);
        tzset();
    }
    ~TimeZoneOfTheUser()
    {
        if (m_wasSet)
            qputenv("TZ", m_saved);
        else
            qunsetenv("TZ");
        tzset();
    }

private:
    QByteArray m_saved;
    bool m_wasSet;
};
} // namespace

TEST(FriendlyDate, TodayAndTheDaysAroundItAreNamedOtherYearsShowTheYearAndNothingBefore1980IsKnown)
{
    const TimeZoneOfTheUser utc("UTC");
    const QDateTime thursday(QDate(2012, 3, 8), QTime(9, 0), Qt::UTC);
    const QDateTime newYear(QDate(2011, 1, 2), QTime(9, 0), Qt::UTC);
    // The day and the time are the user's, wherever the feed wrote the date.
    const CalendarDate sundayNightInChicago = dateAt(2010, 5, 16, 23, 30, -5 * 3600);
    const QList<std::tuple<CalendarDate, bool, QDateTime, QString>> rows = {
        {dateAt(2010, 5, 17, 10, 30), true, mondayNoon, "Today, " + timeText(10, 30)},
        {dateAt(2010, 5, 17, 23, 59), false, mondayNoon, "Today"},
        {dateAt(2010, 12, 31, 8, 0), false, mondayNoon, "Friday, 31 December"},
        {dateAt(2010, 5, 11, 8, 0), true, mondayNoon, "Tuesday, 11 May, " + timeText(8, 0)},
        {dateAt(2010, 5, 10, 8, 0), true, mondayNoon, "10 May, " + timeText(8, 0)},
        {sundayNightInChicago, true, mondayNoon, "Today, " + timeText(4, 30)},
        {dateAt(2012, 3, 5, 10, 30), true, thursday, "Monday, 5 March, " + timeText(10, 30)},
        {dateAt(2012, 3, 5, 10, 30), false, thursday, "Monday, 05 March"},
        {dateAt(2009, 3, 5, 10, 30), true, mondayNoon, "5 March 2009, " + timeText(10, 30)},
        {dateAt(2010, 12, 30, 9, 0), false, newYear, "30 December 2010"},
        {dateAt(1979, 12, 31, 23, 59), true, mondayNoon, "Unknown date"},
        {CalendarDate(), false, mondayNoon, "Unknown date"},
        {dateAt(1980, 1, 1, 0, 0), false, mondayNoon, "1 January 1980"}};
    for (const auto &[date, withTime, now, expected] : rows)
        EXPECT_EQ(QBUtilities::dateToFriendlyDate(date, withTime, now), expected)
            << date.moment().toString(Qt::ISODate).toStdString() << " seen on "
            << now.toString().toStdString();
    EXPECT_EQ(QBUtilities::dateToFriendlyDate(CalendarDate::now(), false), "Today");

    const TimeZoneOfTheUser tokyo("Asia/Tokyo");
    EXPECT_EQ(QBUtilities::dateToFriendlyDate(sundayNightInChicago, true, mondayNoon),
              "Today, " + timeText(13, 30));
    EXPECT_EQ(QBUtilities::dateToFriendlyDate(dateAt(2010, 5, 17, 20, 0), false, mondayNoon),
              "Tuesday, 18 May")
        << "already tomorrow in Tokyo";
}

TEST(EntityDecoding, NamedEntitiesOfTheWholeHtmlSetAreDecodedExactlyAsWritten)
{
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&copy; 2006 &ndash; &amp;"),
              u"\u00A9 2006 \u2013 &amp;");
    EXPECT_EQ(
        QBUtilities::decodeCharacterEntitiesIn("&nbsp;&shy;&times;&ETH;&THORN;&szlig;&eth;&divide;&yuml;"),
        u"\u00A0\u00AD\u00D7\u00D0\u00DE\u00DF\u00F0\u00F7\u00FF");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&Eacute;&eacute;&EACUTE;&eacute"),
              u"\u00C9\u00E9&EACUTE;&eacute");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&OElig;&Yuml;&circ;&rsquo;&hellip;&rsaquo;&euro;&lt;"),
              u"\u0152\u0178\u02C6\u2019\u2026\u203A\u20AC&lt;");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&&eacute;&eac&eacute;&foo;&eacute;&amp;eacute;"),
              u"&\u00E9&eac\u00E9&foo;\u00E9&amp;eacute;");

    const QString plain = "no entities here; none at all";
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn(plain).constData(), plain.constData());
    EXPECT_TRUE(QBUtilities::decodeCharacterEntitiesIn(QString()).isNull());
}

TEST(EntityDecoding, OnlyShortNumericReferencesAreDecodedAndTheFirstObstacleEndsThePass)
{
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("It&#39;s"), "It's");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&#65;&#66;&#xa;&#x4a;"), "AB\n&#x4a;");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("caf&#233;"), "caf&#233;");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("a; b &#39;"), "a; b &#39;");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&#65;&#8217;&#66;"), "A&#8217;&#66;");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&#X4;&#;"), QString(QChar(0)) + QChar(0));
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&#-1;"), QString(QChar(0xFFFF)));
    // A decoded '&' can start a reference of its own with what follows.
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&#38;#65;"), "A");
    EXPECT_EQ(QBUtilities::decodeCharacterEntitiesIn("&#6"), "&#6");
}

TEST(TagRemoval, CutsFromEachLessThanToTheNextGreaterThanAndFallsBackOnCdata)
{
    EXPECT_EQ(QBUtilities::removeTagsFromString("<b>bold</b> text"), "bold text");
    EXPECT_EQ(QBUtilities::removeTagsFromString("a > b <i>c</i>"), "a > b <i>c</i>");
    EXPECT_EQ(QBUtilities::removeTagsFromString("<p>Hi</p> > <b>x</b>"), "Hi > <b>x</b>");
    EXPECT_EQ(QBUtilities::removeTagsFromString(" <p>untrimmed</p> "), " untrimmed ");
    EXPECT_EQ(QBUtilities::removeTagsFromString("<![CDATA[x]]>"), "x");
    EXPECT_EQ(QBUtilities::removeTagsFromString("<p><![cdata[inside]] more]]></p>"), "inside");
    EXPECT_EQ(QBUtilities::removeTagsFromString("<a]><b CDATA[x]>"), "x");
    EXPECT_EQ(QBUtilities::removeTagsFromString("<br/>"), "<br/>");
    EXPECT_EQ(QBUtilities::removeTagsFromString(" <p>\t</p> "), " <p>\t</p> ");
    EXPECT_EQ(QBUtilities::removeTagsFromString("<x CDATA[ no bracket>"), "<x CDATA[ no bracket>");
    EXPECT_EQ(QBUtilities::removeTagsFromString(""), "");
}

TEST(FileSize, TruncatesAndSwitchesToMegabytesOneKilobyteLate)
{
    EXPECT_EQ(QBUtilities::longToFileSize(0), "Unknown");
    EXPECT_EQ(QBUtilities::longToFileSize(1023), "0 KB");
    EXPECT_EQ(QBUtilities::longToFileSize(1049599), "1024 KB");
    EXPECT_EQ(QBUtilities::longToFileSize(1049600), "1 MB");
    EXPECT_EQ(QBUtilities::longToFileSize(std::numeric_limits<quint64>::max()), "17592186044415 MB");
}

TEST(FeedDateRule, IsoTextIsReadWholeToTheSecondWithItsOffsetOtherTextLenientlyAndEmptyTextMeansNow)
{
    const QList<std::pair<const char *, const char *>> rows = {
        {"2006-05-17T14:32:10-05:30", "2006-05-17T14:32:10-05:30"},
        {"2006-05-17T14:32:10-0530", "2006-05-17T14:32:10-05:30"},
        {"2006-05-17 14:32:10+02", "2006-05-17T14:32:10+02:00"},
        {"2006-05-17t14:32:10z", "2006-05-17T14:32:10Z"},
        {"20060517T143210Z", "2006-05-17T14:32:10Z"},
        {"2006-05-17", "2006-05-17T00:00:00Z"},
        {"Wed, 17 May 2006 14:32:10 +0200", "2006-05-17T14:32:10+02:00"},
        {"2006-05-17 14:32", "2006-05-17T14:32:00Z"}};
    LogCapture log;
    for (const auto &[text, expected] : rows)
        EXPECT_EQ(QBUtilities::dateFromCurrentValue(text).localMoment().toString(Qt::ISODate), expected)
            << text;
    EXPECT_TRUE(log.lines().isEmpty());

    for (const char *unreadable : {"2006-05-17T14:3", "2006-05-17T14:32:10x02:00", "2006-05-17T25:00:00Z",
                                   "T006-05-17T14:32:10Z", "2006-13-17T14:32:10Z", "soon"})
        EXPECT_TRUE(QBUtilities::dateFromCurrentValue(unreadable).isNull())
            << "never a wrong instant: " << unreadable;
    EXPECT_TRUE(log.contains("-[QBUtilities dateFromCurrentValue] cannot read the date \"soon\""));

    const CalendarDate now = QBUtilities::dateFromCurrentValue("");
    EXPECT_LT(qAbs(now.moment().secsTo(QDateTime::currentDateTimeUtc())), 60);
}

TEST(QBUtilities, FileNamesUniqueIDsColoursAndTheDataFolder)
{
    EXPECT_EQ(QBUtilities::makeStringFileNameSafe("a/b:c|d#e\\f \u00E9t\u00E9 9"),
              "a-b-c-d-e-f \u00E9t\u00E9 9");
    EXPECT_EQ(QBUtilities::makeStringFileNameSafe(QString()), "Untitled");
    EXPECT_EQ(QBUtilities::makeStringFileNameSafe(""), "");

    const QString id = QBUtilities::generateUniqueID();
    EXPECT_TRUE(QRegularExpression("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$")
                    .match(id)
                    .hasMatch())
        << id.toStdString();

    EXPECT_EQ(QBUtilities::hexRGBValueOfColor(QColor::fromRgbF(1.0, 0.5, 0.0)), "#FF7F00");
    EXPECT_EQ(QBUtilities::hexRGBValueOfColor(QColor(10, 171, 255)), "#0AABFF");
    LogCapture log;
    EXPECT_TRUE(QBUtilities::hexRGBValueOfColor(QColor()).isEmpty());
    EXPECT_EQ(log.lines().size(), 1);

    EXPECT_EQ(QBUtilities::applicationSupportPath(), qEnvironmentVariable("XDG_DATA_HOME"));
}

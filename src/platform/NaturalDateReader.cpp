#include "platform/NaturalDateReader.h"

#include <QHash>
#include <QRegularExpression>
#include <QStringList>
#include <array>
#include <optional>

namespace {
const std::array<QString, 7> weekdayNames = {"monday", "tuesday",  "wednesday", "thursday",
                                             "friday", "saturday", "sunday"};
const std::array<QString, 12> monthNames = {"january",   "february", "march",    "april",
                                            "may",       "june",     "july",     "august",
                                            "september", "october",  "november", "december"};

// Minutes from UTC of the zone names mail and feeds use; single military letters are handled apart.
// Names that stand for more than one zone (IST, AST in Arabia) are left out: no reading is better
// than a wrong one.
const QHash<QString, int> &zoneMinutes()
{
    static const QHash<QString, int> table = {
        {"ut", 0},     {"utc", 0},    {"gmt", 0},    {"z", 0},      {"est", -300},  {"edt", -240},
        {"et", -300},  {"cst", -360}, {"cdt", -300}, {"ct", -360},  {"mst", -420},  {"mdt", -360},
        {"mt", -420},  {"pst", -480}, {"pdt", -420}, {"pt", -480},  {"akst", -540}, {"akdt", -480},
        {"hst", -600}, {"adt", -180}, {"nst", -210}, {"ndt", -150}, {"brt", -180},  {"art", -180},
        {"wet", 0},    {"west", 60},  {"bst", 60},   {"cet", 60},   {"cest", 120},  {"mez", 60},
        {"mesz", 120}, {"eet", 120},  {"eest", 180}, {"msk", 180},  {"sast", 120},  {"eat", 180},
        {"wat", 60},   {"pkt", 300},  {"ict", 420},  {"wib", 420},  {"sgt", 480},   {"hkt", 480},
        {"awst", 480}, {"jst", 540},  {"kst", 540},  {"acst", 570}, {"acdt", 630},  {"aest", 600},
        {"aedt", 660}, {"nzst", 720}, {"nzdt", 780}};
    return table;
}

// A..M east of Greenwich (skipping J, which means local time), N..Y west, as the military writes them.
std::optional<int> militaryMinutes(const QString &name)
{
    if (name.size() != 1 || name == QLatin1String("j"))
        return std::nullopt;
    const char letter = name[0].toLatin1();
    if (letter >= 'a' && letter <= 'i')
        return (letter - 'a' + 1) * 60;
    if (letter >= 'k' && letter <= 'm')
        return (letter - 'k' + 10) * 60;
    if (letter >= 'n' && letter <= 'y')
        return -(letter - 'n' + 1) * 60;
    return std::nullopt;
}

// The parts read so far; a part given twice, or a token nobody can place, breaks the reading.
struct DateParts
{
    std::optional<int> year;
    std::optional<int> month;
    std::optional<int> day;
    std::optional<int> hour;
    int minute = 0;
    int second = 0;
    std::optional<bool> afternoon;
    std::optional<int> offsetSeconds;
    bool broken = false;

    void set(std::optional<int> &part, int value)
    {
        broken = broken || part.has_value();
        part = value;
    }
};

int fullYear(const QString &digits)
{
    const int year = digits.toInt();
    if (digits.size() <= 2)
        return year < 50 ? 2000 + year : 1900 + year;
    return digits.size() == 3 ? 1900 + year : year;
}

// Names are matched whole or by any beginning of three letters or more ("Tues", "Sept").
int nameIndex(const QString &token, const QString *names, int count)
{
    if (token.size() < 3)
        return -1;
    for (int i = 0; i < count; ++i) {
        if (names[i].startsWith(token))
            return i;
    }
    return -1;
}

bool readNumericOffset(const QString &token, DateParts &parts)
{
    static const QRegularExpression pattern(QStringLiteral("^([+-])(\\d{1,2})(?::?(\\d{2}))?$"));
    const QRegularExpressionMatch match = pattern.match(token);
    if (!match.hasMatch())
        return false;
    const int hours = match.captured(2).toInt();
    const int minutes = match.captured(3).toInt();
    if (hours > 23 || minutes > 59)
        parts.broken = true;
    const int sign = match.captured(1) == QLatin1String("-") ? -1 : 1;
    parts.set(parts.offsetSeconds, sign * (hours * 3600 + minutes * 60));
    return true;
}

// "GMT", "EDT", "Z", or a name followed at once by a numeric offset ("GMT+02:00").
bool readZone(const QString &token, DateParts &parts)
{
    static const QRegularExpression pattern(QStringLiteral("^([a-z]+)([+-].*)?$"));
    const QRegularExpressionMatch match = pattern.match(token);
    if (!match.hasMatch())
        return false;
    const QString name = match.captured(1);
    const std::optional<int> minutes =
        zoneMinutes().contains(name) ? std::optional<int>(zoneMinutes().value(name)) : militaryMinutes(name);
    if (!minutes)
        return false;
    if (match.hasCaptured(2) && !match.captured(2).isEmpty())
        return *minutes == 0 && readNumericOffset(match.captured(2), parts);
    parts.set(parts.offsetSeconds, *minutes * 60);
    return true;
}

bool readMeridiem(const QString &token, DateParts &parts)
{
    if (token != QLatin1String("am") && token != QLatin1String("pm"))
        return false;
    parts.broken = parts.broken || parts.afternoon.has_value();
    parts.afternoon = token == QLatin1String("pm");
    return true;
}

// What may follow a time in the same token: a zone or a meridiem ("14:32:10Z", "9:05pm").
bool readTimeSuffix(const QString &suffix, DateParts &parts)
{
    return suffix.isEmpty() || readMeridiem(suffix, parts) || readNumericOffset(suffix, parts) ||
           readZone(suffix, parts);
}

// "14:32", "14:32:10.25+02:00", and after an ISO date's "T" the basic "143210Z" as well.
bool readTime(const QString &token, DateParts &parts, bool basicAllowed = false)
{
    static const QRegularExpression extended(
        QStringLiteral("^(\\d{1,2}):(\\d{2})(?::(\\d{2})(?:[.,]\\d+)?)?(.*)$"));
    static const QRegularExpression basic(QStringLiteral("^(\\d{2})(\\d{2})(?:(\\d{2})(?:[.,]\\d+)?)?(.*)$"));
    QRegularExpressionMatch match = extended.match(token);
    if (!match.hasMatch() && basicAllowed)
        match = basic.match(token);
    if (!match.hasMatch())
        return false;
    parts.set(parts.hour, match.captured(1).toInt());
    parts.minute = match.captured(2).toInt();
    parts.second = match.captured(3).toInt();
    parts.broken = parts.broken || !readTimeSuffix(match.captured(4), parts);
    return true;
}

// "2006-05-17", "2006/05/17", the basic "20060517", the month alone "2006-05", and the same with a
// "T" and a time joined on.
bool readIsoDate(const QString &token, DateParts &parts)
{
    static const QRegularExpression extended(
        QStringLiteral("^(\\d{4})[-/](\\d{1,2})(?:[-/](\\d{1,2}))?(?:t(.+))?$"));
    static const QRegularExpression basic(QStringLiteral("^(\\d{4})(\\d{2})(\\d{2})(?:t(.+))?$"));
    QRegularExpressionMatch match = extended.match(token);
    if (!match.hasMatch())
        match = basic.match(token);
    if (!match.hasMatch())
        return false;
    parts.set(parts.year, match.captured(1).toInt());
    parts.set(parts.month, match.captured(2).toInt());
    parts.set(parts.day, match.hasCaptured(3) ? match.captured(3).toInt() : 1);
    if (match.hasCaptured(4) && !readTime(match.captured(4), parts, true))
        parts.broken = true;
    return true;
}

bool readName(const QString &token, DateParts &parts)
{
    const QString word = token.endsWith(QLatin1Char('.')) ? token.chopped(1) : token;
    if (nameIndex(word, weekdayNames.data(), 7) >= 0)
        return true;
    const int month = nameIndex(word, monthNames.data(), 12);
    if (month < 0)
        return false;
    parts.set(parts.month, month + 1);
    return true;
}

// A lone number is a four-digit year, else the day, else a short year.
bool readNumber(const QString &token, DateParts &parts)
{
    static const QRegularExpression pattern(QStringLiteral("^\\d{1,4}$"));
    if (!pattern.match(token).hasMatch())
        return false;
    if (token.size() >= 3 || parts.day)
        parts.set(parts.year, fullYear(token));
    else
        parts.set(parts.day, token.toInt());
    return true;
}

// The old "06-Nov-94" form, which arrives as one token.
bool readDashedDate(const QString &token, DateParts &parts)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d{1,2})-([a-z]+\\.?)-(\\d{2,4})$"));
    const QRegularExpressionMatch match = pattern.match(token);
    if (!match.hasMatch())
        return false;
    parts.set(parts.day, match.captured(1).toInt());
    parts.set(parts.year, fullYear(match.captured(3)));
    return readName(match.captured(2), parts);
}

bool readToken(const QString &token, DateParts &parts)
{
    return readNumber(token, parts) || readTime(token, parts) || readName(token, parts) ||
           readZone(token, parts) || readNumericOffset(token, parts) || readMeridiem(token, parts) ||
           readIsoDate(token, parts) || readDashedDate(token, parts);
}

QStringList tokensOf(const QString &text)
{
    static const QRegularExpression comment(QStringLiteral("\\([^)]*\\)"));
    static const QRegularExpression separators(QStringLiteral("[\\s,]+"));
    QString cleaned = text.toLower();
    cleaned.replace(comment, QStringLiteral(" "));
    return cleaned.split(separators, Qt::SkipEmptyParts);
}

QTime timeOf(const DateParts &parts)
{
    int hour = parts.hour.value_or(0);
    if (parts.afternoon && hour <= 12)
        hour = hour % 12 + (*parts.afternoon ? 12 : 0);
    return QTime(hour, parts.minute, parts.second);
}
} // namespace

CalendarDate NaturalDateReader::dateFromString(const QString &text)
{
    // No date is written in more, and a hostile feed's megabyte of text is not read as one.
    constexpr qsizetype longestDate = 200;
    if (text.size() > longestDate)
        return CalendarDate();
    DateParts parts;
    const QStringList tokens = tokensOf(text);
    for (const QString &token : tokens) {
        if (!readToken(token, parts) || parts.broken)
            return CalendarDate();
    }
    if (!parts.year || !parts.month || !parts.day)
        return CalendarDate();
    const QDate date(*parts.year, *parts.month, *parts.day);
    const QTime time = timeOf(parts);
    if (!date.isValid() || !time.isValid())
        return CalendarDate();
    const int offset = parts.offsetSeconds.value_or(0);
    return CalendarDate(QDateTime(date, time, Qt::OffsetFromUTC, offset), offset);
}

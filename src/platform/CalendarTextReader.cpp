#include "platform/CalendarTextReader.h"

#include "platform/CalendarDate.h"

bool CalendarTextReader::matches(const QString &format)
{
    for (qsizetype i = 0; i < format.size(); ++i) {
        const bool matched = format[i] == QLatin1Char('%') && i + 1 < format.size()
                                 ? readSpecifier(format[++i])
                                 : readLiteral(format[i]);
        if (!matched)
            return false;
    }
    skipSpaces();
    return m_pos == m_text.size();
}

bool CalendarTextReader::readSpecifier(QChar letter)
{
    switch (letter.unicode()) {
    case 'Y':
        return readSignedNumber(1, 4, m_year);
    case 'y':
        return readShortYear();
    case 'm':
        return readDatePart(m_month);
    case 'd':
    case 'e':
        return readDatePart(m_day);
    case 'j':
        return readNumber(1, 3, m_dayOfYear);
    case 'H':
    case 'I':
        return readNumber(1, 2, m_hour);
    case 'M':
        return readNumber(1, 2, m_minute);
    case 'S':
        return readNumber(1, 2, m_second);
    case 'p':
        return readName({"AM", "PM"}, 2, m_meridiem);
    case 'A':
    case 'a':
        return readWeekday();
    case 'B':
    case 'b':
        return readMonth();
    case 'z':
        return readOffset();
    case 'Z':
        return readZone();
    default:
        return readLiteral(QLatin1Char('%')) && (letter == QLatin1Char('%') || readLiteral(letter));
    }
}

bool CalendarTextReader::readLiteral(QChar expected)
{
    if (expected.isSpace()) {
        const qsizetype start = m_pos;
        skipSpaces();
        return m_pos > start;
    }
    if (m_pos < m_text.size() && m_text[m_pos] == expected) {
        ++m_pos;
        return true;
    }
    return false;
}

void CalendarTextReader::skipSpaces()
{
    while (m_pos < m_text.size() && m_text[m_pos].isSpace())
        ++m_pos;
}

bool CalendarTextReader::readNumber(int minDigits, int maxDigits, int &value)
{
    int count = 0;
    value = 0;
    while (count < maxDigits && m_pos < m_text.size() && m_text[m_pos].isDigit()) {
        value = value * 10 + m_text[m_pos].digitValue();
        ++m_pos;
        ++count;
    }
    return count >= minDigits;
}

bool CalendarTextReader::readSignedNumber(int minDigits, int maxDigits, int &value)
{
    const bool negative = readLiteral(QLatin1Char('-'));
    if (!readNumber(minDigits, maxDigits, value))
        return false;
    value = negative ? -value : value;
    return true;
}

bool CalendarTextReader::readDatePart(int &value)
{
    m_hasMonthOrDay = true;
    return readNumber(1, 2, value);
}

bool CalendarTextReader::readShortYear()
{
    int year = 0;
    if (!readNumber(2, 2, year))
        return false;
    m_year = year < 69 ? 2000 + year : 1900 + year;
    return true;
}

// Full names are tried before their abbreviations, so "May" and "March" both read whole.
bool CalendarTextReader::readName(const QStringList &names, int abbreviation, int &index)
{
    for (const int length : {-1, abbreviation}) {
        for (int i = 0; i < names.size(); ++i) {
            const QString name = length < 0 ? names[i] : names[i].left(length);
            if (QStringView(m_text).mid(m_pos).startsWith(name, Qt::CaseInsensitive)) {
                m_pos += name.size();
                index = i;
                return true;
            }
        }
    }
    return false;
}

bool CalendarTextReader::readWeekday()
{
    int ignored = 0;
    return readName(CalendarDate::weekdayNames(), 3, ignored);
}

bool CalendarTextReader::readMonth()
{
    m_hasMonthOrDay = true;
    if (!readName(CalendarDate::monthNames(), 3, m_month))
        return false;
    ++m_month;
    return true;
}

bool CalendarTextReader::readOffset()
{
    const bool negative = readLiteral(QLatin1Char('-'));
    if (!negative && !readLiteral(QLatin1Char('+')))
        return false;
    int hours = 0;
    int minutes = 0;
    if (!readNumber(2, 2, hours))
        return false;
    readLiteral(QLatin1Char(':'));
    if (!readNumber(2, 2, minutes) || hours > 23 || minutes > 59)
        return false;
    m_offsetSeconds = (negative ? -1 : 1) * (hours * 3600 + minutes * 60);
    return true;
}

// "GMT+0545" as written; plain "GMT", "UTC" or "UT" read as no offset.
bool CalendarTextReader::readZone()
{
    int ignored = 0;
    if (!readName({"GMT", "UTC", "UT"}, 3, ignored))
        return false;
    m_offsetSeconds = 0;
    const bool signFollows = m_pos < m_text.size() && (m_text[m_pos] == '+' || m_text[m_pos] == '-');
    return !signFollows || readOffset();
}

QDate CalendarTextReader::date() const
{
    if (m_dayOfYear == 0 || m_hasMonthOrDay)
        return QDate(m_year, m_month, m_day);
    const QDate first(m_year, 1, 1);
    return m_dayOfYear <= first.daysInYear() ? first.addDays(m_dayOfYear - 1) : QDate();
}

QTime CalendarTextReader::time() const
{
    int hour = m_hour;
    if (m_meridiem >= 0 && hour <= 12)
        hour = hour % 12 + (m_meridiem == 1 ? 12 : 0);
    return QTime(hour, m_minute, m_second);
}

QDateTime CalendarTextReader::localMoment() const
{
    const QDate day = date();
    const QTime clock = time();
    if (!day.isValid() || !clock.isValid())
        return QDateTime();
    return QDateTime(day, clock, Qt::OffsetFromUTC, m_offsetSeconds);
}

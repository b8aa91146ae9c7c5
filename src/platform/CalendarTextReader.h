// Reads text written with a strftime-style calendar format back into a moment and its offset.
// It never half-accepts: any text the format does not account for, to the last character, is a mismatch.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

class CalendarTextReader
{
public:
    explicit CalendarTextReader(const QString &text) : m_text(text) {}

    // Whether the whole text matches the format; fields the format does not name keep 1970-01-01 00:00 UTC.
    bool matches(const QString &format);

    // The moment at the offset read, or an invalid one when the fields name no real date or time.
    QDateTime localMoment() const;
    int offsetSeconds() const { return m_offsetSeconds; }

private:
    bool readSpecifier(QChar letter);
    bool readLiteral(QChar expected);
    void skipSpaces();
    bool readNumber(int minDigits, int maxDigits, int &value);
    bool readSignedNumber(int minDigits, int maxDigits, int &value);
    bool readDatePart(int &value);
    bool readShortYear();
    bool readName(const QStringList &names, int abbreviation, int &index);
    bool readWeekday();
    bool readMonth();
    bool readOffset();
    bool readZone();
    QDate date() const;
    QTime time() const;

    const QString m_text;
    qsizetype m_pos = 0;
    int m_year = 1970;
    int m_month = 1;
    int m_day = 1;
    int m_dayOfYear = 0;
    bool m_hasMonthOrDay = false;
    int m_hour = 0;
    int m_minute = 0;
    int m_second = 0;
    int m_meridiem = -1; // -1 none, 0 AM, 1 PM
    int m_offsetSeconds = 0;
};

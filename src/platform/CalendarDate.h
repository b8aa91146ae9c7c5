// A moment together with its own fixed UTC offset and strftime-style format; it writes itself
// with that format and reads such text back. It never consults the machine's time zone by itself.
#pragma once

#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QStringList>

class CalendarDate
{
public:
    // The format new dates get unless told otherwise; it keeps the offset, so text round-trips.
    static QString defaultFormat();

    CalendarDate() = default;
    CalendarDate(const QDateTime &moment, int offsetSeconds, const QString &format = defaultFormat());

    static CalendarDate now();         // the present moment at the machine's current local offset
    static CalendarDate distantPast(); // 1 January of year 1, UTC

    // Reads text written with the format; a null date when the text does not match it.
    static CalendarDate fromString(const QString &text, const QString &format);

    // English names as the formats write them: weekdays from Monday, months from January.
    static QStringList weekdayNames();
    static QStringList monthNames();

    bool isNull() const { return !m_moment.isValid(); }
    QDateTime moment() const { return m_moment; } // in UTC
    QDateTime localMoment() const;                // the same moment shown at the date's own offset
    int offsetSeconds() const { return m_offsetSeconds; }
    QString calendarFormat() const { return m_format; }
    void setCalendarFormat(const QString &format) { m_format = format; }

    int year() const;      // at the date's own offset
    int dayOfYear() const; // 1 to 366, at the date's own offset

    QString toString() const; // with the date's own format
    QString toString(const QString &format) const;

    bool operator==(const CalendarDate &other) const;
    bool operator!=(const CalendarDate &other) const { return !(*this == other); }

private:
    QDateTime m_moment;
    int m_offsetSeconds = 0;
    QString m_format;
};

Q_DECLARE_METATYPE(CalendarDate)

#include "platform/CalendarDate.h"

#include "platform/CalendarTextReader.h"

namespace {
QString padded(int value, int width)
{
    const QString digits = QString::number(qAbs(value)).rightJustified(width, QLatin1Char('0'));
    return value < 0 ? QLatin1Char('-') + digits : digits;
}

QString offsetText(int offsetSeconds)
{
    const int minutes = qAbs(offsetSeconds) / 60;
    return QLatin1Char(offsetSeconds < 0 ? '-' : '+') + padded(minutes / 60, 2) + padded(minutes % 60, 2);
}

int twelveHourClock(int hour)
{
    return hour % 12 == 0 ? 12 : hour % 12;
}

// The text of one specifier, or a null string for a letter that is no specifier.
QString specifierText(QChar letter, const QDateTime &local, int offsetSeconds)
{
    const QDate date = local.date();
    const QTime time = local.time();
    switch (letter.unicode()) {
    case 'Y':
        return padded(date.year(), 4);
    case 'y':
        return padded(qAbs(date.year()) % 100, 2);
    case 'm':
        return padded(date.month(), 2);
    case 'd':
        return padded(date.day(), 2);
    case 'e':
        return QString::number(date.day());
    case 'j':
        return padded(date.dayOfYear(), 3);
    case 'H':
        return padded(time.hour(), 2);
    case 'I':
        return padded(twelveHourClock(time.hour()), 2);
    case 'M':
        return padded(time.minute(), 2);
    case 'S':
        return padded(time.second(), 2);
    case 'p':
        return time.hour() < 12 ? QStringLiteral("AM") : QStringLiteral("PM");
    case 'A':
        return CalendarDate::weekdayNames().at(date.dayOfWeek() - 1);
    case 'a':
        return CalendarDate::weekdayNames().at(date.dayOfWeek() - 1).left(3);
    case 'B':
        return CalendarDate::monthNames().at(date.month() - 1);
    case 'b':
        return CalendarDate::monthNames().at(date.month() - 1).left(3);
    case 'z':
        return offsetText(offsetSeconds);
    case 'Z':
        return QStringLiteral("GMT") + offsetText(offsetSeconds);
    case '%':
        return QStringLiteral("%");
    default:
        return QString();
    }
}

} // namespace

QString CalendarDate::defaultFormat()
{
    return QStringLiteral("%Y-%m-%d %H:%M:%S %z");
}

CalendarDate::CalendarDate(const QDateTime &moment, int offsetSeconds, const QString &format)
    : m_moment(moment.toUTC()), m_offsetSeconds(offsetSeconds), m_format(format)
{
}

CalendarDate CalendarDate::now()
{
    const QDateTime local = QDateTime::currentDateTime();
    return CalendarDate(local, local.offsetFromUtc());
}

CalendarDate CalendarDate::distantPast()
{
    return CalendarDate(QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC), 0);
}

CalendarDate CalendarDate::fromString(const QString &text, const QString &format)
{
    CalendarTextReader reader(text);
    if (!reader.matches(format))
        return CalendarDate();
    const QDateTime local = reader.localMoment();
    return local.isValid() ? CalendarDate(local, reader.offsetSeconds(), format) : CalendarDate();
}

QStringList CalendarDate::weekdayNames()
{
    static const QStringList names = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                      "Friday", "Saturday", "Sunday"};
    return names;
}

QStringList CalendarDate::monthNames()
{
    static const QStringList names = {"January", "February", "March",     "April",   "May",      "June",
                                      "July",    "August",   "September", "October", "November", "December"};
    return names;
}

QDateTime CalendarDate::localMoment() const
{
    return m_moment.toOffsetFromUtc(m_offsetSeconds);
}

int CalendarDate::year() const
{
    return localMoment().date().year();
}

int CalendarDate::dayOfYear() const
{
    return localMoment().date().dayOfYear();
}

QString CalendarDate::toString() const
{
    return toString(m_format);
}

QString CalendarDate::toString(const QString &format) const
{
    if (isNull())
        return QString();
    const QDateTime local = localMoment();
    QString text;
    for (qsizetype i = 0; i < format.size(); ++i) {
        if (format[i] != QLatin1Char('%') || i + 1 == format.size()) {
            text += format[i];
            continue;
        }
        const QString part = specifierText(format[++i], local, m_offsetSeconds);
        text += part.isNull() ? QLatin1Char('%') + format[i] : part;
    }
    return text;
}

bool CalendarDate::operator==(const CalendarDate &other) const
{
    return m_moment == other.m_moment && m_offsetSeconds == other.m_offsetSeconds &&
           m_format == other.m_format;
}

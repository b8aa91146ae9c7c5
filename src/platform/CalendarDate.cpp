#include "platform/CalendarDate.h"



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

bool CalendarDate::operator==(const CalendarDate &other) const
{
    return m_moment == other.m_moment && m_offsetSeconds == other.m_offsetSeconds && m_format == other.m_format;
}

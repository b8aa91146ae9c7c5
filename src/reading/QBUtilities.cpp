#include "reading/QBUtilities.h"

#include "platform/Log.h"
#include "platform/NaturalDateReader.h"
#include "reading/QBStringExtras.h"

#include <QDir>
#include <QLocale>
#include <QStandardPaths>
#include <QUuid>
#include <array>
#include <libxml/HTMLparser.h>
#include <optional>

namespace {
// Optional spaces and sign, then digits; 0 when there are none.
qint64 leadingInteger(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    const bool negative = i < text.size() && text[i] == QLatin1Char('-');
    if (i < text.size() && (text[i] == QLatin1Char('-') || text[i] == QLatin1Char('+')))
        ++i;
    qint64 value = 0;
    for (; i < text.size() && text[i].isDigit(); ++i)
        value = value * 10 + text[i].digitValue();
    return negative ? -value : value;
}

qint64 leadingHexInteger(QStringView text)
{
    qint64 value = 0;
    for (qsizetype i = 0; i < text.size() && QBStringExtras::hexDigitValue(text[i]) >= 0; ++i)
        value = value * 16 + QBStringExtras::hexDigitValue(text[i]);
    return value;
}

bool isEntityNameCharacter(QChar c)
{
    return c.unicode() < 128 && c.isLetterOrNumber();
}

// XML's own five are left for the XML decoding, so that text decoded by it is never decoded twice.
bool isXmlEntityName(QByteArrayView name)
{
    return name == "amp" || name == "lt" || name == "gt" || name == "quot" || name == "apos";
}

// HTML's meaning of a named reference, from libxml2's table of the HTML entities; none for other names.
std::optional<char32_t> htmlEntity(QStringView name)
{
    constexpr qsizetype longestName = 16;
    if (name.size() > longestName)
        return std::nullopt;
    const QByteArray latin = name.toLatin1();
    if (isXmlEntityName(latin))
        return std::nullopt;
    const htmlEntityDesc *entity = htmlEntityLookup(reinterpret_cast<const xmlChar *>(latin.constData()));
    return entity ? std::optional<char32_t>(entity->value) : std::nullopt;
}

// One pass over the text. A name begins with '&', ends with ';' and holds neither, so no two
// occurrences overlap and no decoded character can complete a new one.
QString decodeNamedEntities(const QString &text)
{
    QString decoded;
    qsizetype copiedUpTo = 0;
    for (qsizetype at = text.indexOf(QLatin1Char('&')); at >= 0;
         at = text.indexOf(QLatin1Char('&'), at + 1)) {
        qsizetype end = at + 1;
        while (end < text.size() && isEntityNameCharacter(text[end]))
            ++end;
        if (end == text.size() || text[end] != QLatin1Char(';'))
            continue;
        const std::optional<char32_t> character = htmlEntity(QStringView(text).sliced(at + 1, end - at - 1));
        if (!character)
            continue;
        decoded.append(QStringView(text).mid(copiedUpTo, at - copiedUpTo));
        decoded.append(QString::fromUcs4(&*character, 1));
        copiedUpTo = end + 1;
        at = end;
    }
    if (copiedUpTo == 0)
        return text;
    decoded.append(QStringView(text).mid(copiedUpTo));
    return decoded;
}

// Only references with at most two characters between "&#" and ";" are decoded; any other
// shape, or a ';' standing before the next "&#", ends the pass.
void decodeShortNumericReferences(QString &text)
{
    qsizetype position = 0;
    while (position < text.size()) {
        const qsizetype start = text.indexOf(QLatin1String("&#"), position);
        const qsizetype end = text.indexOf(QLatin1Char(';'), position);
        if (start < 0 || end < 0)
            return;
        const qsizetype distance = end - start;
        if (distance <= 0 || distance > 4)
            return;
        const QString body = text.mid(start + 2, distance - 1);
        text.remove(start, distance + 1);
        const qint64 number = body.startsWith(QLatin1Char('x')) ? leadingHexInteger(QStringView(body).mid(1))
                                                                : leadingInteger(body);
        text.insert(start, QChar(char16_t(number & 0xFFFF)));
        position = start;
    }
}

QString timeText(const CalendarDate &date)
{
    return QLocale().toString(date.localMoment().time(), QLocale::ShortFormat);
}

} // namespace

QString QBUtilities::applicationSupportPath()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return path.isEmpty() ? QDir::tempPath() : path;
}

QString QBUtilities::dateToFriendlyDate(const CalendarDate &date, bool withTime)
{
    return dateToFriendlyDate(date, withTime, QDateTime::currentDateTime());
}

// The day and the time are those of the user's own time zone, wherever the feed wrote the date.
QString QBUtilities::dateToFriendlyDate(const CalendarDate &written, bool withTime, const QDateTime &now)
{
    if (written.isNull())
        return QStringLiteral("Unknown date");
    const QDateTime local = written.moment().toLocalTime();
    const CalendarDate date(local, local.offsetFromUtc());
    if (date.year() <= 1979)
        return QStringLiteral("Unknown date");
    const QDate today = now.toLocalTime().date();
    const bool sameYear = date.year() == today.year();
    // The time text is appended, never formatted, so nothing in it is taken for a specifier.
    const QString time = withTime ? timeText(date) : QString();
    if (sameYear && date.dayOfYear() == today.dayOfYear())
        return withTime ? QStringLiteral("Today, ") + time : QStringLiteral("Today");
    if (sameYear && today.dayOfYear() - date.dayOfYear() <= 6)
        return withTime ? date.toString(QStringLiteral("%A, %e %B, ")) + time
                        : date.toString(QStringLiteral("%A, %d %B"));
    if (sameYear)
        return withTime ? date.toString(QStringLiteral("%e %B, ")) + time
                        : date.toString(QStringLiteral("%e %B"));
    return withTime ? date.toString(QStringLiteral("%e %B %Y, ")) + time
                    : date.toString(QStringLiteral("%e %B %Y"));
}

QString QBUtilities::decodeCharacterEntitiesIn(const QString &text)
{
    if (!text.contains(QLatin1Char('&')))
        return text;
    QString copy = decodeNamedEntities(text);
    decodeShortNumericReferences(copy);
    return copy;
}

QString QBUtilities::longToFileSize(quint64 bytes)
{
    if (bytes == 0)
        return QStringLiteral("Unknown");
    // The switch to megabytes comes one kilobyte late, so that "1024 KB" can be shown.
    if (bytes < 1049600)
        return QStringLiteral("%1 KB").arg(bytes >> 10);
    return QStringLiteral("%1 MB").arg(bytes >> 20);
}

QString QBUtilities::removeTagsFromString(const QString &text)
{
    QString stripped = text;
    for (;;) {
        const qsizetype open = stripped.indexOf(QLatin1Char('<'));
        const qsizetype close = stripped.indexOf(QLatin1Char('>'));
        if (open < 0 || close < 0 || open > close)
            break;
        stripped.remove(open, close - open + 1);
    }
    const bool blank = std::all_of(stripped.cbegin(), stripped.cend(),
                                   [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); });
    if (!blank)
        return stripped;
    // Text wrapped whole in a CDATA section would otherwise vanish with its tags.
    const qsizetype cdata = text.indexOf(QLatin1String("CDATA["), 0, Qt::CaseInsensitive);
    const qsizetype bracket = cdata < 0 ? -1 : text.indexOf(QLatin1Char(']'), cdata + 6);
    if (bracket < 0)
        return text;
    return text.mid(cdata + 6, bracket - cdata - 6);
}

QString QBUtilities::makeStringFileNameSafe(const QString &text)
{
    if (text.isNull())
        return QStringLiteral("Untitled");
    QString safe = text;
    for (const QChar unsafe : {u'#', u'/', u':', u'\\', u'|'})
        safe.replace(unsafe, QLatin1Char('-'));
    return safe;
}

QString QBUtilities::generateUniqueID()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QString QBUtilities::hexRGBValueOfColor(const QColor &colour)
{
    if (!colour.isValid()) {
        Log::write(QStringLiteral("-[QBUtilities hexRGBValueOfColor] called with an invalid colour"));
        return QString();
    }
    const QColor rgb = colour.toRgb();
    const auto component = [](float value) {
        return QStringLiteral("%1").arg(int(value * 255), 2, 16, QLatin1Char('0')).toUpper();
    };
    return QLatin1Char('#') + component(rgb.redF()) + component(rgb.greenF()) + component(rgb.blueF());
}

// W3C and RFC 3339 dates are read whole, with their seconds and offset, by the same reader as the mail
// dates, so that no shape of either falls to a reading by position.
CalendarDate QBUtilities::dateFromCurrentValue(const QString &text)
{
    if (text.isEmpty())
        return CalendarDate::now();
    const CalendarDate date = NaturalDateReader::dateFromString(text);
    // A text far longer than any date is quoted only in part.
    if (date.isNull())
        Log::write(QStringLiteral("-[QBUtilities dateFromCurrentValue] cannot read the date \"%1\"")
                       .arg(text.left(200)));
    return date;
}

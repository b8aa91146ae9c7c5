#include "reading/QBUtilities.h"

#include "platform/Log.h"
#include "platform/NaturalDateReader.h"
#include "reading/QBStringExtras.h"

#include <QDir>
#include <QHash>
#include <QLocale>
#include <QStandardPaths>
#include <QUuid>
#include <array>

namespace {
// HTML 4.01's Latin-1 entities in code-point order: the name at index i stands for U+00A0 + i.
const std::array<const char *, 96> latin1Entities = {
    "&nbsp;",   "&iexcl;",  "&cent;",   "&pound;",  "&curren;", "&yen;",    "&brvbar;", "&sect;",
    "&uml;",    "&copy;",   "&ordf;",   "&laquo;",  "&not;",    "&shy;",    "&reg;",    "&macr;",
    "&deg;",    "&plusmn;", "&sup2;",   "&sup3;",   "&acute;",  "&micro;",  "&para;",   "&middot;",
    "&cedil;",  "&sup1;",   "&ordm;",   "&raquo;",  "&frac14;", "&frac12;", "&frac34;", "&iquest;",
    "&Agrave;", "&Aacute;", "&Acirc;",  "&Atilde;", "&Auml;",   "&Aring;",  "&AElig;",  "&Ccedil;",
    "&Egrave;", "&Eacute;", "&Ecirc;",  "&Euml;",   "&Igrave;", "&Iacute;", "&Icirc;",  "&Iuml;",
    "&ETH;",    "&Ntilde;", "&Ograve;", "&Oacute;", "&Ocirc;",  "&Otilde;", "&Ouml;",   "&times;",
    "&Oslash;", "&Ugrave;", "&Uacute;", "&Ucirc;",  "&Uuml;",   "&Yacute;", "&THORN;",  "&szlig;",
    "&agrave;", "&aacute;", "&acirc;",  "&atilde;", "&auml;",   "&aring;",  "&aelig;",  "&ccedil;",
    "&egrave;", "&eacute;", "&ecirc;",  "&euml;",   "&igrave;", "&iacute;", "&icirc;",  "&iuml;",
    "&eth;",    "&ntilde;", "&ograve;", "&oacute;", "&ocirc;",  "&otilde;", "&ouml;",   "&divide;",
    "&oslash;", "&ugrave;", "&uacute;", "&ucirc;",  "&uuml;",   "&yacute;", "&thorn;",  "&yuml;"};

struct SpecialEntity
{
    const char *name;
    char16_t character;
};

const std::array<SpecialEntity, 22> specialEntities = {
    {{"&OElig;", 0x0152},  {"&oelig;", 0x0153},  {"&Scaron;", 0x0160}, {"&scaron;", 0x0161},
     {"&Yuml;", 0x0178},   {"&circ;", 0x02C6},   {"&tilde;", 0x02DC},  {"&ndash;", 0x2013},
     {"&mdash;", 0x2014},  {"&lsquo;", 0x2018},  {"&rsquo;", 0x2019},  {"&sbquo;", 0x201A},
     {"&ldquo;", 0x201C},  {"&rdquo;", 0x201D},  {"&bdquo;", 0x201E},  {"&dagger;", 0x2020},
     {"&Dagger;", 0x2021}, {"&hellip;", 0x2026}, {"&permil;", 0x2030}, {"&lsaquo;", 0x2039},
     {"&rsaquo;", 0x203A}, {"&euro;", 0x20AC}}};

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

// Every name of both tables with its character; no name is in both.
const QHash<QString, QChar> &namedEntities()
{
    static const QHash<QString, QChar> names = [] {
        QHash<QString, QChar> table;
        for (std::size_t i = 0; i < latin1Entities.size(); ++i)
            table.insert(QLatin1String(latin1Entities[i]), QChar(char16_t(0x00A0 + i)));
        for (const SpecialEntity &entity : specialEntities)
            table.insert(QLatin1String(entity.name), QChar(entity.character));
        return table;
    }();
    return names;
}

bool isEntityNameCharacter(QChar c)
{
    return c.unicode() < 128 && c.isLetterOrNumber();
}

// One pass instead of one search per table entry. A name begins with '&', ends with ';' and holds
// neither, so no two occurrences overlap and no decoded character can complete a new one: replacing
// them in table order and replacing them where they stand give the same text.
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
        const auto found = namedEntities().constFind(text.mid(at, end - at + 1));
        if (found == namedEntities().constEnd())
            continue;
        decoded.append(QStringView(text).mid(copiedUpTo, at - copiedUpTo));
        decoded.append(*found);
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

// The positional reading of "2006-05-17T14:32:10+02:00"; only that exact length carries a zone.
CalendarDate isoDateByPosition(const QString &text)
{
    const auto field = [&text](int from, int length) {
        return int(leadingInteger(QStringView(text).mid(from, length)));
    };
    int offset = 0;
    if (text.size() == 25) {
        const int sign = text[19] == QLatin1Char('-') ? -1 : 1;
        offset = sign * (field(20, 2) * 3600 + field(23, 2) * 60);
    }
    const QDate date(field(0, 4), field(5, 2), field(8, 2));
    const QTime time(field(11, 2), field(14, 2), 0);
    if (!date.isValid() || !time.isValid())
        return CalendarDate();
    return CalendarDate(QDateTime(date, time, Qt::OffsetFromUTC, offset), offset);
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

QString QBUtilities::dateToFriendlyDate(const CalendarDate &date, bool withTime, const QDateTime &now)
{
    if (date.isNull() || date.year() <= 1979)
        return QStringLiteral("Unknown date");
    const QDate today = now.date();
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

CalendarDate QBUtilities::dateFromCurrentValue(const QString &text)
{
    if (text.isEmpty())
        return CalendarDate::now();
    const bool positional = !text[0].isLetter() && text.size() >= 15 && text[10] == QLatin1Char('T');
    const CalendarDate date = positional ? isoDateByPosition(text) : NaturalDateReader::dateFromString(text);
    if (date.isNull())
        Log::write(
            QStringLiteral("-[QBUtilities dateFromCurrentValue] cannot read the date \"%1\"").arg(text));
    return date;
}

#include "headlines/SummaryExcerpt.h"

#include <QHash>
#include <algorithm>
#include <cmath>

namespace {

// Enough to read the words of a cut summary; any other named entity stays as it is written.
const QHash<QString, QChar> &namedEntities()
{
    static const QHash<QString, QChar> entities{
        {QStringLiteral("amp"), u'&'},    {QStringLiteral("lt"), u'<'},    {QStringLiteral("gt"), u'>'},
        {QStringLiteral("quot"), u'"'},   {QStringLiteral("apos"), u'\''}, {QStringLiteral("nbsp"), u' '},
        {QStringLiteral("hellip"), u'…'}, {QStringLiteral("mdash"), u'—'}, {QStringLiteral("ndash"), u'–'},
        {QStringLiteral("lsquo"), u'‘'},  {QStringLiteral("rsquo"), u'’'}, {QStringLiteral("ldquo"), u'“'},
        {QStringLiteral("rdquo"), u'”'}};
    return entities;
}

// The entity starting at position (after its '&'), appended decoded; the answer is where reading goes on.
qsizetype appendEntity(const QString &html, qsizetype position, QString &text)
{
    const qsizetype end = html.indexOf(u';', position);
    if (end < 0 || end - position > 10) {
        text += u'&';
        return position;
    }
    const QString name = html.mid(position, end - position);
    bool ok = false;
    uint code = 0;
    if (name.startsWith(QLatin1String("#x")) || name.startsWith(QLatin1String("#X")))
        code = name.mid(2).toUInt(&ok, 16);
    else if (name.startsWith(u'#'))
        code = name.mid(1).toUInt(&ok, 10);
    if (ok && code > 0 && code <= 0x10FFFF) {
        const char32_t character = code;
        text += QString::fromUcs4(&character, 1);
    } else if (const auto found = namedEntities().constFind(name); found != namedEntities().cend()) {
        text += *found;
    } else {
        text += u'&';
        return position;
    }
    return end + 1;
}

// Script and style elements hold no readable text; the answer is where the element ends.
qsizetype skipUnreadableElement(const QString &html, qsizetype tagStart, qsizetype tagEnd)
{
    for (const QLatin1String name : {QLatin1String("script"), QLatin1String("style")}) {
        if (html.mid(tagStart + 1, name.size()).compare(name, Qt::CaseInsensitive) != 0)
            continue;
        const qsizetype close = html.indexOf(QLatin1String("</") + name, tagEnd, Qt::CaseInsensitive);
        if (close < 0)
            return html.size();
        const qsizetype closeEnd = html.indexOf(u'>', close);
        return closeEnd < 0 ? html.size() : closeEnd + 1;
    }
    return tagEnd + 1;
}

// Tags inside a run of text join what stands around them; any other tag breaks words apart.
bool isInlineTag(const QString &html, qsizetype tagStart, qsizetype tagEnd)
{
    static const QStringList inlineNames{
        QStringLiteral("a"),   QStringLiteral("abbr"),  QStringLiteral("b"),    QStringLiteral("code"),
        QStringLiteral("em"),  QStringLiteral("font"),  QStringLiteral("i"),    QStringLiteral("mark"),
        QStringLiteral("s"),   QStringLiteral("small"), QStringLiteral("span"), QStringLiteral("strong"),
        QStringLiteral("sub"), QStringLiteral("sup"),   QStringLiteral("u")};
    qsizetype start = tagStart + 1;
    if (start < tagEnd && html.at(start) == u'/')
        ++start;
    qsizetype end = start;
    while (end < tagEnd && html.at(end).isLetter())
        ++end;
    return inlineNames.contains(html.mid(start, end - start).toLower());
}

} // namespace

QString SummaryExcerpt::plainText(const QString &html)
{
    QString text;
    text.reserve(html.size());
    qsizetype position = 0;
    while (position < html.size()) {
        const QChar c = html.at(position);
        if (c == u'<') {
            const qsizetype tagEnd = html.indexOf(u'>', position);
            if (tagEnd < 0)
                break;
            if (!isInlineTag(html, position, tagEnd))
                text += u' ';
            position = skipUnreadableElement(html, position, tagEnd);
        } else if (c == u'&') {
            position = appendEntity(html, position + 1, text);
        } else {
            text += c;
            ++position;
        }
    }
    return text.simplified();
}

QString SummaryExcerpt::excerpt(const QString &summaryHTML, double length)
{
    if (length >= 1.0)
        return summaryHTML;
    if (length <= 0.0 || std::isnan(length))
        return {};
    const QString text = plainText(summaryHTML);
    const qsizetype budget = std::max<qsizetype>(1, std::lround(length * longestExcerpt));
    if (text.size() <= budget)
        return text.toHtmlEscaped();
    qsizetype cut = text.lastIndexOf(u' ', budget);
    // One long word (an address, say) is cut where the budget ends rather than dropped whole.
    if (cut < budget / 2)
        cut = budget;
    if (cut > 0 && text.at(cut - 1).isHighSurrogate())
        --cut;
    return text.left(cut).trimmed().toHtmlEscaped() + QStringLiteral("…");
}

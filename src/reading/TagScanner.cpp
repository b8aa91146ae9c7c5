#include "reading/TagScanner.h"

#include <algorithm>

QString TagScanner::nextTag(const QString &text, qsizetype &index)
{
    const QStringView span = QStringView(text).first(std::max<qsizetype>(text.size() - 1, 0));
    for (;;) {
        if (index >= span.size())
            return {};
        const qsizetype open = span.indexOf(u'<', index);
        const qsizetype close = span.indexOf(u'>', index);
        if (close >= 0 && (open < 0 || close < open)) {
            // A stray '>' in text: the next tag starts at the next '<', if any.
            if (open < 0)
                return {};
            index = open;
            continue;
        }
        if (open < 0 || close < 0)
            return {};
        const QStringView candidate = span.sliced(open, close - open + 1);
        if (!candidate.startsWith(cdataOpening)) {
            index = close + 1;
            return candidate.toString();
        }
        const qsizetype end = span.indexOf(cdataClosing, index);
        if (end < 0)
            return candidate.toString();
        return tagFollowingCDATA(text, index, open, end);
    }
}

// The section's text, then a space and whatever text follows the section up to the next tag, so
// that text written after a CDATA section inside one element is not lost.
QString TagScanner::tagFollowingCDATA(const QString &text, qsizetype &index, qsizetype start, qsizetype end)
{
    index = end + cdataClosing.size();
    qsizetype nextTag = text.indexOf(u'<', index);
    if (nextTag < 0)
        nextTag = text.size();
    const QStringView view(text);
    QString token;
    token.reserve(nextTag - start + 1);
    token += view.sliced(start, end - start);
    token += u' ';
    token += view.sliced(index, nextTag - index);
    token += cdataClosing;
    return token;
}

QString TagScanner::valueForProperty(const QString &tag, const QString &name)
{
    if (tag.isEmpty())
        return QStringLiteral("");
    const qsizetype found = tag.indexOf(name, 0, Qt::CaseInsensitive);
    if (found < 0)
        return QStringLiteral("");
    const QStringView span = QStringView(tag).first(tag.size() - 1);
    qsizetype open = span.indexOf(u'"', found);
    if (open < 0)
        open = span.indexOf(u'\'', found);
    if (open < 0)
        return QStringLiteral("");
    qsizetype close = tag.indexOf(u'"', open + 1);
    if (close < 0)
        close = tag.indexOf(u'\'', open + 1);
    if (close < 0)
        return QStringLiteral("");
    return tag.sliced(open + 1, close - open - 1);
}

QString TagScanner::attribute(QStringView tagText, QStringView name)
{
    const auto isSpace = [](QChar c) { return c.isSpace() || c == u'/'; };
    qsizetype at = 0;
    // The element's own name comes first.
    while (at < tagText.size() && !isSpace(tagText[at]))
        ++at;
    while (at < tagText.size()) {
        while (at < tagText.size() && isSpace(tagText[at]))
            ++at;
        const qsizetype nameStart = at;
        while (at < tagText.size() && !isSpace(tagText[at]) && tagText[at] != u'=')
            ++at;
        const QStringView attributeName = tagText.sliced(nameStart, at - nameStart);
        while (at < tagText.size() && tagText[at].isSpace())
            ++at;
        QStringView value;
        if (at < tagText.size() && tagText[at] == u'=') {
            ++at;
            while (at < tagText.size() && tagText[at].isSpace())
                ++at;
            const QChar quote = at < tagText.size() ? tagText[at] : QChar();
            const bool quoted = quote == u'"' || quote == u'\'';
            const qsizetype valueStart = quoted ? at + 1 : at;
            qsizetype valueEnd = valueStart;
            while (valueEnd < tagText.size() &&
                   (quoted ? tagText[valueEnd] != quote : !tagText[valueEnd].isSpace()))
                ++valueEnd;
            value = tagText.sliced(valueStart, valueEnd - valueStart);
            at = quoted ? std::min(valueEnd + 1, tagText.size()) : valueEnd;
        }
        if (!attributeName.isEmpty() && attributeName.compare(name, Qt::CaseInsensitive) == 0)
            return value.isNull() ? QStringLiteral("") : value.toString();
        if (attributeName.isEmpty() && at == nameStart)
            ++at;
    }
    return QString();
}

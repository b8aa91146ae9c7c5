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

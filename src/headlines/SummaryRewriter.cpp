#include "headlines/SummaryRewriter.h"

#include "reading/QBLiberalRSSParser.h"

namespace {
// Shorter image tags carry no sizing worth replacing, so a photo page keeps them.
constexpr qsizetype shortestRewrittenPhotoTag = 70;
// Photo sites end their picture addresses with a size marker and ".jpg"; the large form ends "_z.jpg".
constexpr qsizetype photoSizeSuffixLength = 6;
} // namespace

QString SummaryRewriter::stripImagingSizesFromSummary(const QString &summary)
{
    return stripAtribsFromTag(QStringLiteral("div"), stripAtribsFromTag(QStringLiteral("img"), summary));
}

QString SummaryRewriter::stripAtribsFromTag(const QString &tag, const QString &inSource)
{
    QString text = inSource;
    const QString opening = u'<' + tag;
    qsizetype position = 0;
    while (position < text.size()) {
        const qsizetype start = text.indexOf(opening, position, Qt::CaseInsensitive);
        if (start < 0)
            break;
        const qsizetype end = text.indexOf(u'>', start);
        if (end < 0)
            break;
        const QString replacement = strippedTag(tag, text.sliced(start, end - start + 1));
        text.replace(start, end - start + 1, replacement);
        position = start + replacement.size();
    }
    return text;
}

QString SummaryRewriter::strippedTag(const QString &name, const QString &tagText)
{
    if (name == QLatin1String("img")) {
        const QString source = QBLiberalRSSParser::tag(tagText, QStringLiteral("src"));
        if (!source.startsWith(QLatin1String("http://")))
            return tagText;
        return QStringLiteral("<img src=\"") + source + QStringLiteral("\" alt=\"") +
               QBLiberalRSSParser::tag(tagText, QStringLiteral("alt")) + QStringLiteral("\"/>");
    }
    if (name == QLatin1String("div")) {
        const QString className = QBLiberalRSSParser::tag(tagText, QStringLiteral("class"));
        return className.isEmpty() ? QStringLiteral("<div>")
                                   : QStringLiteral("<div class=\"") + className + QStringLiteral("\">");
    }
    return u'<' + name + u'>';
}

QString SummaryRewriter::modifiedPhotoSummary(const QString &summary)
{
    const qsizetype start = summary.indexOf(QLatin1String("<img"), 0, Qt::CaseInsensitive);
    if (start < 0)
        return summary;
    const qsizetype end = summary.indexOf(u'>', start);
    if (end < 0)
        return summary;
    const qsizetype length = end - start + 1;
    const QString tagText = summary.sliced(start, length);
    if (length < shortestRewrittenPhotoTag)
        return summary;
    const QString source = QBLiberalRSSParser::tag(tagText, QStringLiteral("src"));
    if (source.size() < photoSizeSuffixLength)
        return summary;
    const QString large = QStringLiteral("<img src=\"") + source.chopped(photoSizeSuffixLength) +
                          QStringLiteral("_z.jpg\" alt=\"") +
                          QBLiberalRSSParser::tag(tagText, QStringLiteral("alt")) + QStringLiteral("\"/>");
    QString text = summary;
    text.replace(start, length, large);
    return text;
}

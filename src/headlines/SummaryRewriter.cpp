#include "headlines/SummaryRewriter.h"

#include "reading/QBLiberalRSSParser.h"

namespace {
// Shorter image tags carry no sizing worth replacing, so a photo page keeps them.
constexpr qsizetype shortestRewrittenPhotoTag = 70;
// Photo sites end their picture addresses with a size marker and ".jpg"; the large form ends "_z.jpg".
constexpr qsizetype photoSizeSuffixLength = 6;
} // namespace

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

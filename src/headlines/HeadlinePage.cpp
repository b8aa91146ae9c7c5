// Pages are built from many short pieces: each expression makes one allocation instead of one per piece.
#define QT_USE_QSTRINGBUILDER

#include "headlines/HeadlinePage.h"

#include "headlines/HeadlineArrangement.h"
#include "headlines/HeadlineFilter.h"
#include "headlines/HeadlineRenderer.h"
#include "headlines/PageSecurityPolicy.h"
#include "platform/Defaults.h"
#include "platform/Resources.h"
#include "reading/QBUtilities.h"

#include <QUrl>
#include <algorithm>

namespace {
const QString flickrPhotos = QStringLiteral("http://www.flickr.com/photos");
const QString feeds500px = QStringLiteral("http://feed.500px.com/");
const QString web500px = QStringLiteral("http://500px.com/");
constexpr int fallbackCap = 100;

QString fileURL(const QString &path)
{
    return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
}
} // namespace

HeadlinePage::HeadlinePage(FeedLibrary &feedLibrary, Defaults &defaults)
    : m_feedLibrary(feedLibrary), m_defaults(defaults)
{
}

bool HeadlinePage::isPhotoLink(const QString &link)
{
    return link.startsWith(flickrPhotos) || is500pxLink(link);
}

bool HeadlinePage::is500pxLink(const QString &link)
{
    return link.startsWith(feeds500px) || link.startsWith(web500px);
}

void HeadlinePage::decidePhotoMode()
{
    m_photoMode = false;
    if (m_items.size() != 1 || !m_items.first() || m_items.first()->kindOfObject() != TreeNode::ArticleKind)
        return;
    m_photoMode = isPhotoLink(std::static_pointer_cast<Article>(m_items.first())->link().toString());
}

qsizetype HeadlinePage::cap() const
{
    const int stored = m_defaults.integer(QStringLiteral("displayArticleCap"));
    return qsizetype(stored == 0 ? fallbackCap : stored) * (m_offset + 1);
}

QString HeadlinePage::generateHTML()
{
    const QDateTime now = QDateTime::currentDateTime();
    m_items = HeadlineFilter::filterArticles(m_feedLibrary.selectedArticles(), m_filterMethod, now);
    decidePhotoMode();

    HeadlineRenderer::Page page;
    page.resources = fileURL(Resources::folder()) + u'/';
    page.thumbnailFolder = FeedLibrary::articleImagePath();
    page.articleCount = m_items.size();
    page.now = now;
    page.displayMode = m_displayMode;
    page.sortMethod = m_sortMethod;
    page.filterMethod = m_filterMethod;
    page.photoMode = m_photoMode;
    page.photoSummaryAsIs =
        m_photoMode && is500pxLink(std::static_pointer_cast<Article>(m_items.first())->link().toString());
    page.openInBrowser = m_defaults.boolean(QStringLiteral("behaviorOpenInBrowser"));
    page.showInfoBar = m_defaults.boolean(QStringLiteral("displayShowInfoBar"));
    page.showSummaries = m_defaults.boolean(QStringLiteral("displayShowArticleSummaries"));
    page.holdRemotePictures = !m_defaults.boolean(QStringLiteral("displayLoadRemoteImages"));
    page.articleLength = articleLength();
    HeadlineRenderer renderer(
        page, [this](const ArticlePtr &article) { return m_feedLibrary.longSummaryForArticle(article); });

    HeadlineArrangement arrangement(renderer, cap());
    const QString body = arrangement.displayArrangedHeadlines(m_items);
    m_offset += arrangement.cuts();

    const QString script = Resources::text(QStringLiteral("headlines"), QStringLiteral("js"));
    QString html = head(script, page.articleCount);
    html.reserve(html.size() + body.size() + script.size() + 128);
    // The page allows no inline style: its dark backgrounds are classes of the stylesheet.
    const bool tilePage = renderer.isTilePage();
    if (tilePage)
        html += QStringLiteral("</head>\n<body class=\"tilePage\">\n");
    html += m_photoMode ? QStringLiteral("</head><body class=\"photoPage\">\n")
                        : QStringLiteral("</head><body>\n");
    html += body;
    if (tilePage)
        html += QStringLiteral("<br clear=\"both\"><div class=\"tilesEnd\"></div>\n");
    html += QStringLiteral("</body>\n</html>\n");
    return html;
}

// The slider registers its own default; a page built where there is no slider shows whole summaries.
double HeadlinePage::articleLength() const
{
    const QVariant length = m_defaults.value(QStringLiteral("articleLength"));
    return length.isValid() ? std::clamp(length.toDouble(), 0.0, 1.0) : 1.0;
}

// The policy names the page's one script and its one style element by their digests, so that nothing
// else of the kind can run or style the page. The script listens on the whole document, so it may
// come before the body.
QString HeadlinePage::head(const QString &script, qsizetype articleCount) const
{
    const QString hover = articleCount > 0 ? QStringLiteral(".articleTitle a:hover { background-color: ") +
                                                 QBUtilities::hexRGBValueOfColor(m_hoverColour) +
                                                 QStringLiteral("; border-bottom: 1px solid #aaa; }")
                                           : QString();
    QString html = QStringLiteral("<!DOCTYPE html>") +
                   (m_darkAppearance ? QStringLiteral("<html class=\"dark\">") : QStringLiteral("<html>")) +
                   QStringLiteral("\n<head>\n<title>QuillBay</title>\n<meta charset=\"UTF-8\">\n") +
                   PageSecurityPolicy::metaTag(script, hover) + QStringLiteral("<link href=\"") +
                   fileURL(Resources::path(QStringLiteral("stylesheet"), QStringLiteral("css"))) +
                   QStringLiteral("\" rel=\"stylesheet\" type=\"text/css\" />\n");
    if (!hover.isEmpty())
        html += QStringLiteral("<style>") + hover + QStringLiteral("</style>\n");
    if (!script.isEmpty())
        html += QStringLiteral("<script>") + script + QStringLiteral("</script>\n");
    return html;
}

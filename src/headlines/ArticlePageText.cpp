#include "headlines/ArticlePageText.h"

#include "model/Feed.h"
#include "reading/FeedReaderSupport.h"
#include "reading/HTMLSanitiser.h"

namespace {

// A page text that came out empty must still count as made.
QString made(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

Article::PageText keptOrNew(const Article &article)
{
    const std::shared_ptr<const Article::PageText> kept = article.pageText();
    return kept ? *kept : Article::PageText{};
}

} // namespace

QString ArticlePageText::title(Article &article)
{
    const QString raw = article.title();
    if (!HTMLSanitiser::mayChange(raw))
        return raw;
    if (const auto kept = article.pageText(); kept && !kept->title.isNull())
        return kept->title;
    Article::PageText text = keptOrNew(article);
    text.title = made(HTMLSanitiser::sanitised(raw, {QUrl(), HTMLSanitiser::Phrasing, false}));
    article.setPageText(std::make_shared<const Article::PageText>(text));
    return text.title;
}

QString ArticlePageText::summary(Article &article, bool holdRemotePictures)
{
    const QString raw = article.summary();
    if (!HTMLSanitiser::mayChange(raw))
        return raw;
    if (const auto kept = article.pageText();
        kept && !kept->summary.isNull() && kept->picturesHeld == holdRemotePictures)
        return kept->summary;
    Article::PageText text = keptOrNew(article);
    text.summary =
        made(HTMLSanitiser::sanitised(raw, {baseAddress(article), HTMLSanitiser::Flow, holdRemotePictures}));
    text.picturesHeld = holdRemotePictures;
    article.setPageText(std::make_shared<const Article::PageText>(text));
    return text.summary;
}

QUrl ArticlePageText::baseAddress(Article &article)
{
    const QUrl link = article.link();
    if (FeedReaderSupport::isWebAddress(link))
        return link;
    const std::shared_ptr<Feed> feed = article.source();
    return feed ? feed->link() : QUrl();
}

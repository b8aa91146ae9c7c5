#include "headlines/HeadlineLinkPolicy.h"

#include "headlines/HeadlineActions.h"
#include "model/Enclosure.h"
#include "platform/CalendarDate.h"
#include "platform/Defaults.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"
#include "reading/OutsideAddress.h"
#include "reading/QBUtilities.h"

namespace {

const QString commandScheme = QStringLiteral("quillbay");
// "quillbay:" is nine characters; the command word follows it.
constexpr qsizetype commandStart = 9;

QString valueAfter(const QString &command, qsizetype position)
{
    return command.size() > position ? command.sliced(position) : QString();
}

QString unescaped(const QString &value)
{
    return QUrl::fromPercentEncoding(value.toUtf8());
}

void logInvalidUniqueID(const QString &uniqueID)
{
    Log::write(
        QStringLiteral("-[TidewireUtilityCatagory processURLCommandString:] invalid unid! %1").arg(uniqueID));
}

} // namespace

HeadlineLinkPolicy::HeadlineLinkPolicy(FeedLibrary &feedLibrary, Defaults &defaults, HeadlineActions &actions,
                                       NotificationCenter &notificationCenter)
    : m_feedLibrary(feedLibrary), m_defaults(defaults), m_actions(actions),
      m_notificationCenter(notificationCenter)
{
}

bool HeadlineLinkPolicy::isCommandAddress(const QString &address)
{
    return address.startsWith(commandScheme, Qt::CaseInsensitive);
}

HeadlineLinkPolicy::Decision
HeadlineLinkPolicy::decidePolicyForNavigationAction(const NavigationAction &action)
{
    const QString address = action.url.toString(QUrl::FullyEncoded);
    if (isCommandAddress(address)) {
        // A page script that sets its location to a command must achieve nothing.
        if (action.origin != ClickedLink)
            return Refused;
        processURLCommandString(address);
        return CarriedOutCommand;
    }
    if (action.origin == PageLoad)
        return LoadInView;
    if (action.origin != ClickedLink)
        return Refused;
    const bool admitted = !OutsideAddress::admitted(action.url).isEmpty();
    if (admitted && m_defaults.boolean(QStringLiteral("behaviorLinkClick")))
        markLastSelectedArticleRead();
    // Even in the background the view stays on its page: the outside page would not carry our policy.
    // A refused address goes to the window too, whose gate tells the user why nothing opened.
    m_actions.doOpenURL(action.url, action.modifiers.testFlag(Qt::AltModifier));
    return admitted ? OpenedOutside : Refused;
}

void HeadlineLinkPolicy::processURLCommandString(const QString &address)
{
    const QString command = valueAfter(address, commandStart);
    if (command.startsWith(QLatin1String("open")))
        openArticle(valueAfter(command, 5));
    else if (command.startsWith(QLatin1String("displayArticlesFromOffset")))
        m_actions.reloadRespectingOffset();
    else if (command.startsWith(QLatin1String("enclosure")))
        showEnclosure(valueAfter(command, 10));
    else if (command.startsWith(QLatin1String("feed")))
        showFeed(valueAfter(command, 5));
    else if (command.startsWith(QLatin1String("article")))
        showArticle(valueAfter(command, 8));
    else if (command.startsWith(QLatin1String("date")))
        showDay(valueAfter(command, 5));
    else if (command.startsWith(QLatin1String("author")))
        showAuthor(valueAfter(command, 7));
    else
        Log::write(
            QStringLiteral(
                "-[TidewireUtilityCategory processURLCommandString] Unregonised URL command string: %1")
                .arg(address));
}

void HeadlineLinkPolicy::openArticle(const QString &uniqueID)
{
    const ArticlePtr article = articleWithUniqueID(uniqueID, true);
    if (!article) {
        Log::write(
            QStringLiteral("-[MainController processURLCommandString:] could not find article with UNID %1")
                .arg(uniqueID));
        return;
    }
    if (m_defaults.boolean(QStringLiteral("behaviorLinkClick")) &&
        !OutsideAddress::admitted(article->link()).isEmpty())
        markRead(article);
    m_actions.doOpenURL(article->link(), false);
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
    m_notificationCenter.post(QStringLiteral("SummaryWebViewNeedsReload"));
}

// An unknown article still reaches the download window, as an empty enclosure it shows as nothing.
void HeadlineLinkPolicy::showEnclosure(const QString &uniqueID)
{
    const ArticlePtr article = articleWithUniqueID(uniqueID, false);
    const std::shared_ptr<Enclosure> enclosure = article ? article->enclosure() : nullptr;
    m_notificationCenter.post(QStringLiteral("EnclosureSelectionChanged"), QVariant::fromValue(enclosure));
    m_actions.showEnclosureWindow();
}

void HeadlineLinkPolicy::showFeed(const QString &uniqueID)
{
    m_actions.setBreadCrumbMode(HeadlineActions::NormalMode);
    const TreeNodePtr feed = m_feedLibrary.itemWithUniqueID(uniqueID);
    if (!feed || feed->kindOfObject() != TreeNode::FeedKind) {
        logInvalidUniqueID(uniqueID);
        return;
    }
    m_feedLibrary.setSelectedItems({feed});
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"), QVariant::fromValue(feed));
}

void HeadlineLinkPolicy::showArticle(const QString &uniqueID)
{
    const ArticlePtr article = articleWithUniqueID(uniqueID, true);
    if (!article) {
        logInvalidUniqueID(uniqueID);
        return;
    }
    if (m_defaults.boolean(QStringLiteral("behaviorFeedClick"))) {
        markRead(article);
        m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
    }
    const TreeNodePtr node = article;
    m_feedLibrary.setSelectedItems({node});
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"), QVariant::fromValue(node));
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"),
                              QVariant::fromValue(node));
}

// The link carries the article date's whole text, possibly escaped by the view; the day is its first
// ten characters. Without a readable day there is no day to show, so nothing changes.
void HeadlineLinkPolicy::showDay(const QString &value)
{
    const CalendarDate day = CalendarDate::fromString(unescaped(value).left(10), QStringLiteral("%Y-%m-%d"));
    if (day.isNull())
        return;
    m_actions.setBreadCrumbMode(HeadlineActions::DayMode);
    auto folder = std::make_shared<VirtualFolder>(
        QStringLiteral("Published: %1").arg(QBUtilities::dateToFriendlyDate(day, false)));
    const ArticleList articles = m_feedLibrary.articlesMatchingDate(day);
    folder->addChildren(TreeNodeList(articles.begin(), articles.end()));
    selectResults(folder);
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"), QVariant::fromValue(day));
}

void HeadlineLinkPolicy::showAuthor(const QString &value)
{
    m_actions.setBreadCrumbMode(HeadlineActions::AuthorMode);
    const QString name = unescaped(value);
    auto folder = std::make_shared<VirtualFolder>(QStringLiteral("Author: %1").arg(name));
    const ArticleList articles = m_feedLibrary.articlesMatchingAuthorName(name);
    folder->addChildren(TreeNodeList(articles.begin(), articles.end()));
    selectResults(folder);
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"), name);
}

void HeadlineLinkPolicy::markLastSelectedArticleRead()
{
    const TreeNodeList selected = m_feedLibrary.selectedArticles();
    const ArticlePtr article =
        selected.isEmpty() ? nullptr : std::dynamic_pointer_cast<Article>(selected.last());
    if (!article)
        return;
    markRead(article);
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
    m_actions.reload();
}

// Day and author views are not part of the tree: they live as the search folder until the next one.
void HeadlineLinkPolicy::selectResults(const VirtualFolderPtr &folder)
{
    m_feedLibrary.setSelectedItems({folder});
    m_feedLibrary.setSearchFolder(folder);
}

ArticlePtr HeadlineLinkPolicy::articleWithUniqueID(const QString &uniqueID, bool includingClippings) const
{
    TreeNodePtr item = m_feedLibrary.itemWithUniqueID(uniqueID);
    if (!item && includingClippings)
        item = m_feedLibrary.itemWithUniqueIDInClippings(uniqueID);
    return std::dynamic_pointer_cast<Article>(item);
}

void HeadlineLinkPolicy::markRead(const ArticlePtr &article)
{
    article->setState(Article::Read);
    m_feedLibrary.saveStateForArticle(article);
}

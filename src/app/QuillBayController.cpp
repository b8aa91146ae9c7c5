#include "app/QuillBayController.h"

#include "app/AuxiliaryWindows.h"
#include "app/DesktopServices.h"
#include "app/HeadlineDisplay.h"
#include "app/MailtoAddress.h"
#include "app/MainWindow.h"
#include "app/NavigationBar.h"
#include "app/RemovalQuestion.h"
#include "app/SideBarActions.h"
#include "app/SourceListView.h"
#include "app/SplitViewFrames.h"
#include "app/WindowTheme.h"
#include "fetch/Downloader.h"
#include "fetch/FeedUpdater.h"
#include "model/SourceListModel.h"
#include "platform/Defaults.h"
#include "platform/LocalizedStrings.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"
#include "reading/QBStringExtras.h"
#include "reading/QBUtilities.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QScreen>
#include <QSplitter>
#include <QThread>
#include <QToolButton>

namespace {

const QString displayModeKey = QStringLiteral("ArticleDisplayModeKey");
const QString windowFrameKey = QStringLiteral("MainWindowFrame");
constexpr int firstRunWidth = 970;
constexpr int firstRunHeight = 700;
constexpr int firstRunSourceListWidth = 250;

template <typename T> std::shared_ptr<T> as(const TreeNodePtr &item)
{
    return std::dynamic_pointer_cast<T>(item);
}

bool contains(const TreeNodeList &items, const TreeNodePtr &item)
{
    return std::find(items.begin(), items.end(), item) != items.end();
}

} // namespace

QuillBayController::QuillBayController(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater, Defaults &defaults,
                                       NotificationCenter &notificationCenter, DesktopServices &desktop,
                                       HeadlineDisplay &display)
    : m_feedLibrary(feedLibrary), m_feedUpdater(feedUpdater), m_defaults(defaults),
      m_notificationCenter(notificationCenter), m_desktop(desktop),
      m_outsideLinks(desktop, notificationCenter), m_display(display), m_page(feedLibrary, defaults),
      m_linkPolicy(feedLibrary, defaults, *this, notificationCenter)
{
    m_page.setDisplayMode(m_defaults.integer(displayModeKey));
    // The side bar shows the grouping and filter it was left with; the first page uses them too.
    m_page.setSortMethod(
        HeadlinePage::sortMethodForMenuPosition(m_defaults.integer(QStringLiteral("sortMethod"))));
    m_page.setFilterMethod(m_defaults.integer(QStringLiteral("filterMethod")));
    registerObservers();
}

QuillBayController::~QuillBayController()
{
    for (int token : m_observerTokens)
        m_notificationCenter.removeObserver(token);
}

// ---- observers

void QuillBayController::registerObservers()
{
    observe(QStringLiteral("ActiveTaskNotification"),
            [this](const Notification &n) { updateActiveTaskView(n); });
    for (const QString &name : {QStringLiteral("ChangeBreadcrumbModeNormalNotification"),
                                QStringLiteral("ChangeBreadcrumbModeSearchNotificationi"),
                                QStringLiteral("ChangeBreadcrumbModeDateNotification"),
                                QStringLiteral("ChangeBreadcrumbModeUnreadNotification"),
                                QStringLiteral("ChangeBreadcrumbModeAuthorNotification")})
        observe(name, [this](const Notification &n) { updateBreadCrumbMode(n); });
    observe(QStringLiteral("StatusBarMessageNotification"),
            [this](const Notification &n) { updateStatusBar(n); });
    observe(QStringLiteral("FeedSearchPerformedWithString"),
            [this](const Notification &) { updateBreadCrumbs(); });
    observe(QStringLiteral("FileDownloadCompleteNotification"),
            [this](const Notification &n) { fileDownloadNotifications(n); });
    for (const QString &name :
         {QStringLiteral("ThemeChangedNotification"), QStringLiteral("SummaryWebViewFontSizeChanged"),
          QStringLiteral("FeedDownloadBeginingNotification"), QStringLiteral("feedDownloaded"),
          QStringLiteral("feedLibraryModified"), QStringLiteral("feedSelectionChanged"),
          QStringLiteral("ArticleSortOrderChangeNotification"), QStringLiteral("ArticleFilteringChanged"),
          QStringLiteral("ArticleLengthChanged"), QStringLiteral("FeedUnreadCountChangedNotification"),
          QStringLiteral("SummaryWebViewNeedsReload")})
        observe(name, [this](const Notification &n) { update(n); });
}

// Notifications arrive on the poster's thread; the windows are only ever touched on their own.
void QuillBayController::observe(const QString &name, std::function<void(const Notification &)> handler)
{
    m_observerTokens.append(m_notificationCenter.addObserver(name, [this, handler](const Notification &n) {
        if (QThread::currentThread() == thread())
            handler(n);
        else
            QMetaObject::invokeMethod(
                this, [handler, n] { handler(n); }, Qt::QueuedConnection);
    }));
}

void QuillBayController::update(const Notification &notification)
{
    updateBreadCrumbs();
    const QString &name = notification.name;
    if (name == QLatin1String("ThemeChangedNotification")) {
        applyColourTheme();
    } else if (name == QLatin1String("SummaryWebViewFontSizeChanged")) {
        applyFontSize();
    } else if (name == QLatin1String("FeedDownloadBeginingNotification")) {
        reloadSourceListItem(notification.object.value<FeedPtr>());
    } else if (name == QLatin1String("feedDownloaded")) {
        const TreeNodePtr feed = notification.object.value<FeedPtr>();
        reloadSourceListItem(feed);
        if (!exactlyOneArticleSelected() && feed && contains(m_feedLibrary.selectedItems(), feed))
            reload();
    } else if (name == QLatin1String("feedLibraryModified")) {
        applyRowHeight();
        reloadSourceList();
        reload();
    } else if (name == QLatin1String("feedSelectionChanged")) {
        selectFeedOfSingleArticle();
        m_page.resetOffset();
        reload();
    } else if (name == QLatin1String("ArticleSortOrderChangeNotification")) {
        m_page.setSortMethod(notification.object.toInt());
        reload();
    } else if (name == QLatin1String("ArticleFilteringChanged")) {
        m_page.setFilterMethod(notification.object.toInt());
        reload();
    } else if (name == QLatin1String("ArticleLengthChanged")) {
        reload();
    } else if (name == QLatin1String("FeedUnreadCountChangedNotification")) {
        m_feedLibrary.updateUnreadCounts();
        reloadSourceList();
        m_feedUpdater.updateDockIcon();
    } else if (name == QLatin1String("SummaryWebViewNeedsReload") && !exactlyOneArticleSelected()) {
        reload();
    }
}

void QuillBayController::updateActiveTaskView(const Notification &notification)
{
    if (notification.userInfo.isEmpty()) {
        Log::write(QStringLiteral("-[_updateActiveTaskView:] called with no userInfo dictionary"));
        return;
    }
    if (!m_window)
        return;
    QProgressBar *task = m_window->taskView();
    const double maximum = notification.userInfo.value(QStringLiteral("ActiveTaskMaxValueKey")).toDouble();
    const double value = notification.userInfo.value(QStringLiteral("ActiveTaskValueKey")).toDouble();
    task->setRange(0, int(maximum));
    task->setValue(int(value));
    task->setVisible(maximum > 0 && value < maximum);
    m_window->statusMessage()->setText(
        notification.userInfo.value(QStringLiteral("ActiveTaskNameKey")).toString());
}

void QuillBayController::updateBreadCrumbMode(const Notification &notification)
{
    static const QStringList names = {QStringLiteral("ChangeBreadcrumbModeNormalNotification"),
                                      QStringLiteral("ChangeBreadcrumbModeSearchNotificationi"),
                                      QStringLiteral("ChangeBreadcrumbModeDateNotification"),
                                      QStringLiteral("ChangeBreadcrumbModeUnreadNotification"),
                                      QStringLiteral("ChangeBreadcrumbModeAuthorNotification")};
    m_breadCrumbMode = int(names.indexOf(notification.name)) + 1;
}

void QuillBayController::updateStatusBar(const Notification &notification)
{
    if (!m_window)
        return;
    m_window->statusMessage()->setText(notification.object.toString());
    m_window->statusMessage()->repaint();
}

void QuillBayController::fileDownloadNotifications(const Notification &notification)
{
    const Downloader *download = notification.object.value<Downloader *>();
    if (!download)
        return;
    const QVariantMap context = download->contextInfo().toMap();
    const int type = context.value(QStringLiteral("DownloadTypeKey")).toInt();
    if (type == 2) {
        reloadSourceListItem(context.value(DownloadFeedKey).value<FeedPtr>());
    } else if (type == 4) {
        const QString downloaded = QStringLiteral("%1/%2").arg(download->destination(), download->fileName());
        const QString target = context.value(QStringLiteral("DownloadPathKey")).toString();
        QFile::remove(target);
        if (QFile::rename(downloaded, target))
            m_desktop.openFile(target);
    }
}

void QuillBayController::taskEnded()
{
    if (m_window)
        m_window->statusMessage()->clear();
}

// ---- breadcrumbs

// Search results, one day's or one author's articles: a list of its own, not a place in the tree.
bool QuillBayController::showsResults() const
{
    return m_breadCrumbMode == 2 || m_breadCrumbMode == DayMode || m_breadCrumbMode == AuthorMode;
}

QString QuillBayController::breadCrumbTitle() const
{
    const TreeNodePtr last = lastSelectedItem();
    if (showsResults()) {
        if (last && last->kindOfObject() == TreeNode::ArticleKind)
            return SourceListModel::objectValueForItem(last);
        const TreeNodePtr folder = m_feedLibrary.selectedFolder();
        return folder ? SourceListModel::objectValueForItem(folder) : QString();
    }
    return last ? SourceListModel::objectValueForItem(last) : tr("Empty library");
}

bool QuillBayController::isBackEnabled() const
{
    const TreeNodePtr last = lastSelectedItem();
    if (showsResults())
        return last && last->kindOfObject() == TreeNode::ArticleKind;
    if (!last)
        return false;
    const TreeNodePtr parent = last->parent();
    return last != m_feedLibrary.root() && parent && parent != m_feedLibrary.root();
}

void QuillBayController::updateBreadCrumbs()
{
    // The unread-only view keeps whatever the side bar showed.
    if (!m_window || m_breadCrumbMode == 4)
        return;
    const QString title = breadCrumbTitle();
    m_window->mainNavBar()->setTitle(title);
    m_window->mainNavBar()->setBackEnabled(isBackEnabled());
    // The task bar shows what is being read, as browsers show the page.
    m_window->setWindowTitle(title.isEmpty() ? QStringLiteral("QuillBay")
                                             : title + QStringLiteral(" — QuillBay"));
}

void QuillBayController::doBreadCrumbClick()
{
    const TreeNodePtr last = lastSelectedItem();
    if (!last || last == m_feedLibrary.root())
        return;
    if (showsResults()) {
        if (const VirtualFolderPtr results = m_feedLibrary.searchFolder())
            m_feedLibrary.setSelectedItems({results});
    } else if (const TreeNodePtr parent = last->parent()) {
        m_feedLibrary.setSelectedItems({parent});
        selectRowsSilently({parent});
    }
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"));
}

// ---- selection

TreeNodeList QuillBayController::selectedRowItems() const
{
    QModelIndexList rows = m_window->sourceList()->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(), [this](const QModelIndex &a, const QModelIndex &b) {
        return m_window->sourceList()->visualRect(a).top() < m_window->sourceList()->visualRect(b).top();
    });
    TreeNodeList items;
    for (const QModelIndex &row : rows)
        if (const TreeNodePtr item = m_model->itemForIndex(row))
            items.append(item);
    return items;
}

void QuillBayController::outlineViewSelectionDidChange()
{
    if (m_selectingSilently || !m_window)
        return;
    m_breadCrumbMode = NormalMode;
    const TreeNodeList items = selectedRowItems();
    for (const TreeNodePtr &item : items) {
        const FeedPtr feed = as<Feed>(item);
        if (feed && feed->state() != Feed::Parsed && feed->state() != Feed::Downloading)
            m_feedUpdater.requestFeedDownload(feed);
    }
    m_feedLibrary.setSelectedItems(items);
    if (m_sideBar)
        m_sideBar->clearSelection();
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"));
    reload();
}

// Selects the rows of the tree as the user would, running the selection handler.
void QuillBayController::selectItems(const TreeNodeList &items)
{
    selectRowsSilently(items);
    outlineViewSelectionDidChange();
}

void QuillBayController::selectRowsSilently(const TreeNodeList &items)
{
    if (!m_window)
        return;
    SourceListView *list = m_window->sourceList();
    // A node added a moment ago has no row until the list has been brought in line with the tree.
    if (std::any_of(items.cbegin(), items.cend(),
                    [this](const TreeNodePtr &item) { return !m_model->indexForItem(item).isValid(); }))
        m_model->reloadData();
    const bool wasSilent = m_selectingSilently;
    m_selectingSilently = true;
    QItemSelection selection;
    QModelIndex current;
    for (const TreeNodePtr &item : items) {
        const QModelIndex row = m_model->indexForItem(item);
        if (!row.isValid())
            continue;
        for (QModelIndex parent = row.parent(); parent.isValid(); parent = parent.parent())
            list->expand(parent);
        selection.select(row, row);
        current = row;
    }
    if (current.isValid()) {
        list->selectionModel()->select(selection,
                                       QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        list->selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
        list->scrollTo(current);
    }
    m_selectingSilently = wasSilent;
}

void QuillBayController::selectFeedOfSingleArticle()
{
    const TreeNodeList selected = m_feedLibrary.selectedItems();
    if (m_breadCrumbMode != NormalMode || selected.size() != 1 || !as<Article>(selected.first()))
        return;
    if (const TreeNodePtr feed = selected.first()->parent())
        selectRowsSilently({feed});
}

// ---- navigation

void QuillBayController::markReadWhileBrowsing(const ArticlePtr &article)
{
    if (!article || !m_defaults.boolean(QStringLiteral("behaviorBrowsing")))
        return;
    article->setState(Article::Read);
    m_feedLibrary.saveStateForArticle(article);
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
}

void QuillBayController::selectArticle(const ArticlePtr &article)
{
    if (!article)
        return;
    m_feedLibrary.setSelectedItems({article});
    markReadWhileBrowsing(article);
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"));
}

void QuillBayController::doNextItem()
{
    const TreeNodeList articles = m_feedLibrary.selectedArticles();
    ArticlePtr next;
    if (articles.size() < 2) {
        const ArticlePtr last = articles.isEmpty() ? nullptr : as<Article>(articles.last());
        next = m_breadCrumbMode == NormalMode ? m_feedLibrary.nextArticleAfter(last)
                                              : m_feedLibrary.nextArticleInSearchFolderAfter(last);
    } else if (m_breadCrumbMode != NormalMode) {
        const VirtualFolderPtr results = m_feedLibrary.searchFolder();
        if (!results || results->children().isEmpty())
            return;
        next = as<Article>(results->children().first());
    } else {
        const FeedList feeds = m_feedLibrary.selectedFeeds();
        const TreeNodeList first =
            feeds.isEmpty() ? TreeNodeList() : m_feedLibrary.articlesForFeed(feeds.first());
        next = first.isEmpty() ? nullptr : as<Article>(first.first());
    }
    selectArticle(next);
}

void QuillBayController::doPreviousItem()
{
    const TreeNodeList articles = m_feedLibrary.selectedArticles();
    const ArticlePtr first = articles.isEmpty() ? nullptr : as<Article>(articles.first());
    selectArticle(m_breadCrumbMode == NormalMode ? m_feedLibrary.previousArticleBefore(first)
                                                 : m_feedLibrary.previousArticleInSearchFolderBefore(first));
}

ArticlePtr QuillBayController::nextUnreadFrom(const ArticlePtr &start, const TreeNodeList &list) const
{
    qsizetype from = start ? list.indexOf(start) : 0;
    if (from < 0)
        from = 0;
    for (qsizetype i = from; i < list.size(); ++i) {
        const ArticlePtr article = as<Article>(list.at(i));
        if (article && article->state() != Article::Read)
            return article;
    }
    return list.isEmpty() ? nullptr : as<Article>(list.first());
}

void QuillBayController::doNextUnreadItem()
{
    m_feedUpdater.setPauseScheduledUpdates(true);
    const auto resume = qScopeGuard([this] { m_feedUpdater.setPauseScheduledUpdates(false); });
    const TreeNodeList articles = m_feedLibrary.selectedArticles();
    ArticlePtr start;
    if (articles.size() < 2) {
        start = m_feedLibrary.nextArticleAfter(articles.isEmpty() ? nullptr : as<Article>(articles.first()));
    } else if (m_breadCrumbMode == NormalMode) {
        const FeedList feeds = m_feedLibrary.selectedFeeds();
        const TreeNodeList first =
            feeds.isEmpty() ? TreeNodeList() : m_feedLibrary.articlesForFeed(feeds.first());
        start = first.isEmpty() ? nullptr : as<Article>(first.first());
    }
    TreeNodeList scan;
    if (m_breadCrumbMode == NormalMode) {
        const ArticleList all = m_feedLibrary.allArticles();
        scan = TreeNodeList(all.begin(), all.end());
    } else if (const VirtualFolderPtr results = m_feedLibrary.searchFolder()) {
        scan = results->children();
    } else {
        return;
    }
    selectArticle(nextUnreadFrom(start, scan));
}

// ---- items

void QuillBayController::doAddItem(bool optionHeld)
{
    if (optionHeld)
        doAddFolder();
    else
        doAddFeed(QUrl());
}

void QuillBayController::doAddFeed(const QUrl &address)
{
    if (!m_windows || !m_windows->runAddFeedSheet(address))
        return;
    const FeedList feeds = m_feedLibrary.selectedFeeds();
    if (!feeds.isEmpty())
        selectRowsSilently({feeds.last()});
}

void QuillBayController::doAddFolder()
{
    auto folder = std::make_shared<Folder>();
    folder->setTitle(QStringLiteral("Untitled folder"));
    m_feedLibrary.add(folder, nullptr, 0);
    reloadSourceList();
}

void QuillBayController::doRemoveItem()
{
    if (!m_window)
        return;
    const TreeNodeList rows = selectedRowItems();
    const int selectedRow = rows.isEmpty() ? 0 : visibleRowOf(rows.first());
    const TreeNodeList items = m_feedLibrary.selectedItems();
    TreeNodeList deleting;
    std::copy_if(items.cbegin(), items.cend(), std::back_inserter(deleting), [this](const TreeNodePtr &item) {
        return !item->parent() || item->parent() != m_feedLibrary.newsClippings();
    });
    if (!RemovalQuestion::confirm(m_desktop, deleting, m_breadCrumbMode != NormalMode))
        return;
    for (const TreeNodePtr &item : items) {
        if (item->kindOfObject() == TreeNode::FolderKind &&
            !m_desktop.confirm(LocalizedStrings::text(QStringLiteral("RemoveFolderWarning")),
                               LocalizedStrings::text(QStringLiteral("RemoveFolder")),
                               LocalizedStrings::text(QStringLiteral("Cancel")),
                               LocalizedStrings::text(QStringLiteral("RemoveFolderMessage"))))
            break;
        const TreeNodePtr parent = item->parent();
        if (parent && parent == m_feedLibrary.newsClippings()) {
            if (m_sideBar)
                m_sideBar->doRemove(item);
            continue;
        }
        m_feedLibrary.deleteHistoryFor(item, parent);
        m_feedLibrary.remove(item, parent);
    }
    reloadSourceList();
    SourceListView *list = m_window->sourceList();
    QModelIndex row = list->model()->index(0, 0);
    for (int i = 0; i < selectedRow && list->indexBelow(row).isValid(); ++i)
        row = list->indexBelow(row);
    if (row.isValid())
        selectItems({m_model->itemForIndex(row)});
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
}

// The row counted among the rows the tree shows, from the top.
int QuillBayController::visibleRowOf(const TreeNodePtr &item) const
{
    SourceListView *list = m_window->sourceList();
    int row = 0;
    for (QModelIndex index = list->model()->index(0, 0); index.isValid();
         index = list->indexBelow(index), ++row)
        if (m_model->itemForIndex(index) == item)
            return row;
    return 0;
}

// ---- feed commands

void QuillBayController::doOpenFeedLink()
{
    if (const FeedPtr feed = lastSelectedFeed())
        doOpenURL(feed->link(), false);
}

void QuillBayController::doCopyFeedLink()
{
    if (const FeedPtr feed = lastSelectedFeed())
        m_desktop.setClipboardText(feed->link().toString());
}

void QuillBayController::doEmailFeedLink()
{
    const FeedPtr feed = lastSelectedFeed();
    if (!feed)
        return;
    // The title is feed text that the page reads as markup; the message gets what the page would show.
    const QString title = QBStringExtras::removeTags(feed->title()).simplified();
    const QString body =
        QStringLiteral("Hi\n\nCheck out the RSS feed for %1\n\n%2\n\n").arg(title, feed->feed().toString());
    m_outsideLinks.open(MailtoAddress::forMessage(title, body), false);
}

void QuillBayController::doViewFeedSource()
{
    const FeedPtr feed = lastSelectedFeed();
    if (!feed)
        return;
    const QString target =
        QStringLiteral("/tmp/%1.txt").arg(QBUtilities::makeStringFileNameSafe(feed->title()));
    m_feedUpdater.requestDownload(
        feed->feed(), QStringLiteral("/tmp"),
        {{QStringLiteral("DownloadTypeKey"), 4}, {QStringLiteral("DownloadPathKey"), target}});
}

// ---- display

void QuillBayController::doToggleDisplayMode(int mode)
{
    m_page.setDisplayMode(mode);
    reload();
    m_defaults.setInteger(displayModeKey, mode);
    updateDisplayModeButtons();
}

void QuillBayController::updateDisplayModeButtons()
{
    const int mode = m_defaults.integer(displayModeKey);
    if (m_window) {
        m_window->normalViewModeButton()->setChecked(mode == HeadlinePage::ListMode);
        m_window->pictureViewModeButton()->setChecked(mode == HeadlinePage::TileMode);
    }
    emit displayModeChanged(mode);
}

void QuillBayController::doArticleActionMenu(QWidget *sender)
{
    if (m_articleContextualMenu && sender)
        m_articleContextualMenu->popup(sender->mapToGlobal(QPoint(0, sender->height())));
}

void QuillBayController::openSideBar()
{
    if (m_window)
        m_window->setSideBarDivider(m_window->sideBarSplitView()->width() - SplitViewFrames::sideBarWidth);
}

void QuillBayController::doToggleSideBar()
{
    if (!m_window)
        return;
    if (m_window->isSideBarCollapsed())
        openSideBar();
    else
        m_window->setSideBarDivider(m_window->width());
}

// The bars take the theme's colours, the desktop's own with "Default"; the page and the lists always
// follow the desktop's light or dark look.
void QuillBayController::applyColourTheme()
{
    const int theme = m_defaults.integer(QStringLiteral("displayColourTheme"));
    const QPalette desktop = QApplication::palette();
    if (m_window)
        m_window->applyTheme(WindowTheme::tint(theme, desktop), WindowTheme::textColour(theme, desktop));
    const bool dark = WindowTheme::isDark(desktop);
    const QColor hover = desktop.color(QPalette::Highlight);
    if (dark == m_page.darkAppearance() && hover == m_page.hoverColour())
        return;
    m_page.setDarkAppearance(dark);
    m_page.setHoverColour(hover);
    reload();
}

void QuillBayController::applyFontSize()
{
    const int size = m_defaults.integer(QStringLiteral("displayFontSize"));
    m_display.setTextSizeMultiplier(size == 2 ? 1.25 : size == 3 ? 1.5 : 1.0);
}

void QuillBayController::applyRowHeight()
{
    if (m_window)
        m_window->sourceList()->setSmallIcons(m_defaults.boolean(QStringLiteral("displaySmallIcons")));
}

// ---- browser and search

void QuillBayController::doOpenURL(const QUrl &url, bool forceBackground)
{
    m_outsideLinks.open(url,
                        forceBackground || m_defaults.boolean(QStringLiteral("behaviorOpenInBackground")));
}

void QuillBayController::doOpenInDefaultBrowser(const QUrl &url)
{
    doOpenURL(url, false);
}

void QuillBayController::doFind(const QString &text, bool forward)
{
    m_display.findText(text, forward);
}

void QuillBayController::printPage()
{
    m_display.printPage();
}

// ---- the headline page

void QuillBayController::reload()
{
    if (m_reloadQueued)
        return;
    m_reloadQueued = true;
    QMetaObject::invokeMethod(this, &QuillBayController::rebuildNow, Qt::QueuedConnection);
}

void QuillBayController::reloadRespectingOffset()
{
    reload();
}

void QuillBayController::rebuildNow()
{
    m_reloadQueued = false;
    m_pageLoading = true;
    m_display.showPage(m_page.generateHTML());
}

void QuillBayController::showEnclosureWindow()
{
    if (m_windows)
        m_windows->showEnclosureWindow();
}

// Only the rows that changed are redrawn, so the selection, the scroll position, the expanded folders and
// a rename in progress all stay as they were.
void QuillBayController::reloadSourceList()
{
    if (m_model)
        m_model->reloadData();
}

// One feed's download changes its row and the badges of the folders above it, nothing else; without a
// feed to go by, every row is looked at.
void QuillBayController::reloadSourceListItem(const TreeNodePtr &item)
{
    if (!m_model)
        return;
    if (item)
        m_model->reloadItem(item);
    else
        m_model->reloadData();
}

// ---- the headline view's questions

bool QuillBayController::acceptNavigation(const HeadlineLinkPolicy::NavigationAction &action)
{
    return m_linkPolicy.decidePolicyForNavigationAction(action) == HeadlineLinkPolicy::LoadInView;
}

void QuillBayController::linkHovered(const QUrl &url)
{
    if (!m_window || url.isEmpty() || HeadlineLinkPolicy::isCommandAddress(url.toString()))
        return;
    m_window->statusMessage()->setText(url.toDisplayString());
}

void QuillBayController::pageFinishedLoading()
{
    m_pageLoading = false;
    if (const TreeNodePtr last = lastSelectedItem())
        m_display.scrollPageTo(last->scrollPosition());
}

void QuillBayController::pageScrolled(const QPointF &position)
{
    if (m_pageLoading)
        return;
    if (const TreeNodePtr last = lastSelectedItem())
        last->setScrollPosition(position);
}

// ---- the selection's parts

TreeNodePtr QuillBayController::lastSelectedItem() const
{
    const TreeNodeList selected = m_feedLibrary.selectedItems();
    return selected.isEmpty() ? nullptr : selected.last();
}

FeedPtr QuillBayController::lastSelectedFeed() const
{
    const FeedList feeds = m_feedLibrary.selectedFeeds();
    return feeds.isEmpty() ? nullptr : feeds.last();
}

ArticlePtr QuillBayController::lastSelectedArticle() const
{
    const TreeNodeList articles = m_feedLibrary.selectedArticles();
    return articles.isEmpty() ? nullptr : as<Article>(articles.last());
}

bool QuillBayController::exactlyOneArticleSelected() const
{
    return m_feedLibrary.selectedArticleCount() == 1;
}

// ---- the window

void QuillBayController::setupMainWindow()
{
    m_window = std::make_unique<MainWindow>(m_defaults, m_display.widget());
    m_model = new SourceListModel(m_feedLibrary, m_defaults, m_window.get());
    m_window->sourceList()->setModel(m_model);
    m_window->sourceList()->restoreExpandedItems();
    applyRowHeight();
    wireWindow();
    restoreWindowFrame();
    m_window->show();
    restoreSplitViews();
    applyColourTheme();
    updateDisplayModeButtons();
    updateBreadCrumbs();
    m_notificationCenter.post(QStringLiteral("SummaryWebViewFontSizeChanged"));
    selectStartingRow();
}

// The source list never shows nothing selected: a start without a selection begins at the first row.
void QuillBayController::selectStartingRow()
{
    const TreeNodeList remembered = m_feedLibrary.selectedItems();
    const QModelIndex first = m_model->index(0, 0);
    if (remembered.isEmpty() && first.isValid())
        selectItems({m_model->itemForIndex(first)});
    else
        reload();
}

void QuillBayController::wireWindow()
{
    MainWindow *window = m_window.get();
    connect(window->sourceList(), &SourceListView::selectionChangedByUser, this,
            &QuillBayController::outlineViewSelectionDidChange);
    connect(window->mainNavBar(), &NavigationBar::backClicked, this, &QuillBayController::doBreadCrumbClick);
    connect(window->normalViewModeButton(), &QToolButton::clicked, this,
            [this] { doToggleDisplayMode(HeadlinePage::ListMode); });
    connect(window->pictureViewModeButton(), &QToolButton::clicked, this,
            [this] { doToggleDisplayMode(HeadlinePage::TileMode); });
    connect(window, &MainWindow::sideBarToggled, this, &QuillBayController::doToggleSideBar);
    connect(window->articleActionButton(), &QToolButton::clicked, this,
            [this] { doArticleActionMenu(m_window->articleActionButton()); });
    connect(window->addButton(), &QToolButton::clicked, this,
            [this] { doAddItem(QGuiApplication::keyboardModifiers().testFlag(Qt::AltModifier)); });
    connect(window->removeButton(), &QToolButton::clicked, this, &QuillBayController::doRemoveItem);
    window->sourceList()->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(window->sourceList(), &QWidget::customContextMenuRequested, this,
            &QuillBayController::showSourceListMenu);
}

void QuillBayController::showSourceListMenu(const QPoint &position)
{
    if (!lastSelectedFeed())
        return;
    auto *menu = new QMenu(m_window.get());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Open Web Page"), this, &QuillBayController::doOpenFeedLink);
    menu->addAction(tr("Copy Feed Link"), this, &QuillBayController::doCopyFeedLink);
    menu->addAction(tr("Email Feed Link"), this, &QuillBayController::doEmailFeedLink);
    menu->addAction(tr("View Feed Source"), this, &QuillBayController::doViewFeedSource);
    menu->addSeparator();
    menu->addAction(tr("Refresh"), this, &QuillBayController::refreshFeedRequested);
    menu->addAction(tr("Mark as Read"), this, &QuillBayController::markFeedReadRequested);
    menu->addAction(tr("Mark as Unread"), this, &QuillBayController::markFeedUnreadRequested);
    menu->addAction(tr("Edit Feed..."), this, &QuillBayController::editFeedRequested);
    menu->popup(m_window->sourceList()->viewport()->mapToGlobal(position));
}

void QuillBayController::restoreWindowFrame()
{
    const QByteArray frame = QByteArray::fromBase64(m_defaults.string(windowFrameKey).toLatin1());
    const bool restored = !frame.isEmpty() && m_window->restoreGeometry(frame);
    const QSize minimum = m_window->minimumSize();
    if (m_defaults.boolean(QStringLiteral("firstRun")) || !restored || m_window->width() < minimum.width() ||
        m_window->height() < minimum.height()) {
        m_window->resize(firstRunWidth, firstRunHeight);
        if (const QScreen *screen = m_window->screen())
            m_window->move(screen->availableGeometry().center() - m_window->rect().center());
        m_defaults.setValue(SplitViewFrames::mainSplitViewKey(),
                            QStringList{SplitViewFrames::frameText(
                                QRect(0, 0, firstRunSourceListWidth, firstRunHeight), false)});
        m_defaults.setValue(SplitViewFrames::subSplitViewKey(),
                            QStringList{QString(), SplitViewFrames::frameText(
                                                       QRect(firstRunWidth, 0, 0, firstRunHeight), true)});
    }
}

void QuillBayController::restoreSplitViews()
{
    m_window->setSourceListWidth(SplitViewFrames::sourceListWidth(
        m_defaults.value(SplitViewFrames::mainSplitViewKey()).toStringList()));
    const std::optional<int> divider =
        SplitViewFrames::sideBarDivider(m_defaults.value(SplitViewFrames::subSplitViewKey()).toStringList(),
                                        m_window->width(), m_window->sideBarSplitView()->width());
    if (divider)
        m_window->setSideBarDivider(*divider);
}

void QuillBayController::saveWindowState()
{
    if (!m_window)
        return;
    m_defaults.setString(windowFrameKey, QString::fromLatin1(m_window->saveGeometry().toBase64()));
    m_defaults.setValue(SplitViewFrames::mainSplitViewKey(), m_window->mainSplitFrames());
    m_defaults.setValue(SplitViewFrames::subSplitViewKey(), m_window->subSplitFrames());
}

#include "app/ApplicationController.h"

#include "app/AuxiliaryWindows.h"
#include "app/BlogEditorCommand.h"
#include "app/DesktopHandover.h"
#include "app/DesktopServices.h"
#include "app/FindPanel.h"
#include "app/HeadlineDisplay.h"
#include "app/MainMenu.h"
#include "app/MainWindow.h"
#include "app/QuillBayController.h"
#include "app/SideBarActions.h"
#include "app/WindowActivation.h"
#include "fetch/AddFeedController.h"
#include "fetch/Downloader.h"
#include "fetch/FeedUpdater.h"
#include "fetch/URLHandlerCommand.h"
#include "headlines/HeadlinePage.h"
#include "model/LibraryAutosave.h"
#include "model/OPMLExporter.h"
#include "platform/Defaults.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"
#include "platform/Resources.h"
#include "reading/OutsideAddress.h"
#include "reading/TextDecoder.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QLocale>
#include <QTimer>
#include <QWidget>

namespace {

const QString productPage = QStringLiteral("https://quillbay.org/");
const QString supportForum = QStringLiteral("https://quillbay.org/support/");

} // namespace

ApplicationController::ApplicationController(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater,
                                             Defaults &defaults, NotificationCenter &notificationCenter,
                                             DesktopServices &desktop, DisplayFactory displayFactory)
    : m_feedLibrary(feedLibrary), m_feedUpdater(feedUpdater), m_defaults(defaults),
      m_notificationCenter(notificationCenter), m_desktop(desktop),
      m_displayFactory(std::move(displayFactory))
{
    m_feedLibrary.load();
    m_autosave = std::make_unique<LibraryAutosave>(m_feedLibrary, m_notificationCenter);
    // The view announces itself with this from its first request.
    m_defaults.setString(QStringLiteral("UserAgent"),
                         QStringLiteral("QuillBay/%1 Macintosh").arg(QCoreApplication::applicationVersion()));
    m_display = m_displayFactory();
    m_displayWidget = m_display->widget();
    m_mainController = std::make_unique<QuillBayController>(m_feedLibrary, m_feedUpdater, m_defaults,
                                                            m_notificationCenter, m_desktop, *m_display);
    connect(m_mainController.get(), &QuillBayController::refreshFeedRequested, this,
            &ApplicationController::doRefreshSelectedFeed);
    connect(m_mainController.get(), &QuillBayController::markFeedReadRequested, this,
            &ApplicationController::doMarkSelectedFeedAsRead);
    connect(m_mainController.get(), &QuillBayController::markFeedUnreadRequested, this,
            &ApplicationController::doMarkSelectedFeedAsUnread);
    connect(m_mainController.get(), &QuillBayController::editFeedRequested, this,
            &ApplicationController::doEditSelectedFeed);
    // Until the inspector is first opened nobody listens, so the selection's feeds are not gathered.
    m_selectionObserver = m_notificationCenter.addObserver(QStringLiteral("feedSelectionChanged"),
                                                           [this](const Notification &) {
                                                               if (m_inspectorOpened)
                                                                   postChannelSelection();
                                                           });
}

ApplicationController::~ApplicationController()
{
    m_notificationCenter.removeObserver(m_selectionObserver);
    m_menu.reset();
    m_mainController.reset();
    m_autosave.reset();
    delete m_displayWidget;
}

void ApplicationController::setSideBar(SideBarActions *sideBar)
{
    m_sideBar = sideBar;
    m_mainController->setSideBar(sideBar);
}

void ApplicationController::setAuxiliaryWindows(AuxiliaryWindows *windows)
{
    m_windows = windows;
    m_mainController->setAuxiliaryWindows(windows);
}

// ---- start and end

void ApplicationController::applicationDidFinishLaunching()
{
    m_mainController->setupMainWindow();
    MainWindow *window = m_mainController->window();
    m_menu = std::make_unique<MainMenu>(*this, *window);
    connect(m_mainController.get(), &QuillBayController::displayModeChanged, m_menu.get(),
            &MainMenu::markDisplayMode);
    m_mainController->updateDisplayModeButtons();
    m_mainController->setArticleContextualMenu(m_menu->articleMenu());
    m_findPanel = new FindPanel(window);
    connect(m_findPanel, &FindPanel::findNextRequested, this,
            [this](bool fromField) { doFindNext(fromField); });
    connect(m_findPanel, &FindPanel::findPreviousRequested, this,
            [this](bool fromField) { doFindPrevious(fromField); });
    m_feedUpdater.resetDockIcon();
    m_appLoaded = true;
    if (m_performAddChannel) {
        m_performAddChannel = false;
        doNewFeed(m_newFeedURL);
    }
    if (m_performFileDrag && !m_draggedFiles.isEmpty()) {
        m_performFileDrag = false;
        openFiles(m_draggedFiles);
    }
    answerTreeTrouble();
}

// Asked once the window is there: the library holds an empty tree and saves nothing until the user
// has chosen what becomes of a Feeds.library that could not be read.
void ApplicationController::answerTreeTrouble()
{
    if (m_feedLibrary.treeTrouble() == FeedLibrary::TreeTrouble::Unreadable) {
        answerUnreadableTree();
        return;
    }
    if (m_feedLibrary.treeTrouble() != FeedLibrary::TreeTrouble::Unopenable)
        return;
    if (m_desktop.confirm(
            tr("Your feed library cannot be opened: %1.").arg(m_feedLibrary.treeTroubleReason()), tr("Quit"),
            tr("Continue Without Saving"),
            tr("QuillBay never replaces a library it cannot open, so nothing you change now "
               "would be saved. Make %1 readable and start QuillBay again.")
                .arg(FeedLibrary::libraryFilePath())))
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
}

void ApplicationController::answerUnreadableTree()
{
    const QString kept = m_feedLibrary.keepUnreadableTreeAside();
    const QString backup = m_feedLibrary.newestReadableBackup();
    const QString message = tr("Your feed library could not be read.");
    if (backup.isEmpty()) {
        if (m_desktop.confirm(message, tr("Start a New Library"), tr("Quit"),
                              tr("The damaged file has been kept as %1. There is no readable backup of it, "
                                 "so QuillBay can only start with a new, empty library.")
                                  .arg(kept)))
            m_feedLibrary.startNewLibrary();
        else
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        return;
    }
    const QString saved = QLocale().toString(QFileInfo(backup).lastModified(), QLocale::LongFormat);
    if (!m_desktop.confirm(message, tr("Restore Backup"), tr("Start a New Library"),
                           tr("The damaged file has been kept as %1. The newest readable backup, %2, was "
                              "made on %3: restoring it brings back your feeds and folders as they were "
                              "then, with the articles stored since.")
                               .arg(kept, backup, saved))) {
        m_feedLibrary.startNewLibrary();
        return;
    }
    if (m_feedLibrary.restoreBackup(backup))
        m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
    else
        m_desktop.beep();
}

void ApplicationController::applicationWillTerminate()
{
    if (m_defaults.boolean(QStringLiteral("behaviorOnQuit")))
        doMarkAllFeedsAsRead();
    m_defaults.setBoolean(QStringLiteral("firstRun"), false);
    m_mainController->saveWindowState();
    m_feedLibrary.save();
    m_feedLibrary.compactDatabase();
    m_feedUpdater.resetDockIcon();
}

void ApplicationController::applicationWillEndSession()
{
    m_mainController->saveWindowState();
    m_feedLibrary.save();
}

void ApplicationController::applicationDidBecomeActive()
{
    m_mainController->reloadSourceList();
}

bool ApplicationController::applicationShouldHandleReopen(const QString &activationToken)
{
    doOpenMainWindow(activationToken);
    return true;
}

// ---- files and addresses

void ApplicationController::openHandedOver(const QStringList &handedOver)
{
    for (const QString &address : DesktopHandover::feedAddresses(handedOver))
        URLHandlerCommand(
            address, [this] { m_desktop.beep(); },
            [this](const QUrl &webAddress) { requestNewChannel(webAddress); })
            .performDefaultImplementation();
    const QStringList files = DesktopHandover::files(handedOver);
    if (!files.isEmpty())
        openFiles(files);
}

bool ApplicationController::openFile(const QString &path)
{
    openFiles({path});
    return true;
}

void ApplicationController::openFiles(const QStringList &paths)
{
    if (!m_appLoaded) {
        m_performFileDrag = true;
        m_draggedFiles = paths;
        return;
    }
    for (const QString &path : paths)
        if (path.endsWith(QLatin1String(".opml")) || path.endsWith(QLatin1String(".xml")))
            doImportFeeds(path);
}

void ApplicationController::requestNewChannel(const QUrl &address)
{
    if (!m_appLoaded) {
        m_newFeedURL = address;
        m_performAddChannel = true;
        return;
    }
    doNewFeed(address);
}

// ---- validation

QString ApplicationController::menuItemHint(MenuCommand command) const
{
    if (command == MenuCommand::PostToBlog &&
        !BlogEditorCommand(m_defaults.string(QStringLiteral("generalBlogEditor"))).isSet())
        return BlogEditorCommand::notSetHint();
    return {};
}

bool ApplicationController::validateMenuItem(MenuCommand command) const
{
    using C = MenuCommand;
    const qsizetype feeds = m_feedLibrary.selectedFeeds().size();
    switch (command) {
    case C::OpenSelectedFeedLink:
    case C::EditSelectedFeed:
    case C::EditSelectedFeedTags:
    case C::RefreshSelectedFeed:
    case C::MarkSelectedFeedAsUnread:
    case C::MarkSelectedFeedAsRead:
    case C::DeleteAllArticlesForSelectedFeed:
        return feeds > 0;
    case C::RemoveSelectedFeed:
        return feeds > 0 || !m_feedLibrary.selectedItems().isEmpty();
    case C::PostToBlog:
        return m_feedLibrary.selectedArticleCount() == 1 &&
               BlogEditorCommand(m_defaults.string(QStringLiteral("generalBlogEditor"))).isSet();
    case C::OpenLink:
    case C::OpenLinkInBackground:
    case C::AddToNewsBin:
    case C::SpeakArticle:
    case C::EmailArticle:
    case C::PostToInstapaper:
    case C::PostToDelicious:
    case C::PostToTwitter:
    case C::PostToFacebook:
    case C::PostToDigg:
        return m_feedLibrary.selectedArticleCount() == 1;
    case C::ShowPreviousArticle:
    case C::ShowNextArticle:
    case C::ShowNextUnreadArticle:
    case C::BackToParent:
        return m_feedLibrary.selectedArticleCount() > 0;
    default:
        return true;
    }
}

// ---- dispatch

void ApplicationController::perform(MenuCommand command)
{
    if (command <= MenuCommand::FindPrevious)
        performFileOrWindowCommand(command);
    else if (command <= MenuCommand::DeleteAllArticlesForSelectedFeed)
        performFeedCommand(command);
    else
        performArticleCommand(command);
}

void ApplicationController::performFileOrWindowCommand(MenuCommand command)
{
    using C = MenuCommand;
    switch (command) {
    case C::About:
        if (m_windows)
            m_windows->showAboutBox();
        break;
    case C::Preferences:
        if (m_windows)
            m_windows->showPreferences();
        break;
    case C::Quit:
        QCoreApplication::quit();
        break;
    case C::NewFeed:
        doNewFeed(QUrl());
        break;
    case C::NewGroup:
        m_mainController->doAddFolder();
        break;
    case C::CloseWindow:
        if (QWidget *window = QApplication::activeWindow())
            window->close();
        break;
    case C::ImportFeeds:
        doImportFeeds(QString());
        break;
    case C::ExportFeeds:
        doExportFeeds();
        break;
    case C::Print:
        m_mainController->printPage();
        break;
    case C::Find:
        if (m_findPanel)
            m_findPanel->present();
        break;
    case C::FindNext:
        doFindNext();
        break;
    default:
        doFindPrevious();
        break;
    }
}

void ApplicationController::performFeedCommand(MenuCommand command)
{
    using C = MenuCommand;
    switch (command) {
    case C::OpenSelectedFeedLink:
        doOpenSelectedFeedLink();
        break;
    case C::EditSelectedFeed:
        doEditSelectedFeed();
        break;
    case C::EditSelectedFeedTags:
        doEditSelectedFeedTags();
        break;
    case C::RemoveSelectedFeed:
        m_mainController->doRemoveItem();
        break;
    case C::RefreshSelectedFeed:
        doRefreshSelectedFeed();
        break;
    case C::RefreshAllFeeds:
        doRefreshAllFeeds();
        break;
    case C::MarkSelectedFeedAsUnread:
        doMarkSelectedFeedAsUnread();
        break;
    case C::MarkSelectedFeedAsRead:
        doMarkSelectedFeedAsRead();
        break;
    case C::MarkAllFeedsAsRead:
        doMarkAllFeedsAsRead();
        break;
    default:
        doDeleteAllArticlesForSelectedFeed();
        break;
    }
}

void ApplicationController::performArticleCommand(MenuCommand command)
{
    using C = MenuCommand;
    switch (command) {
    case C::OpenLink:
    case C::OpenLinkInBackground:
        doOpenLink(command == C::OpenLinkInBackground);
        break;
    case C::AddToNewsBin:
        doAddToNewsBin();
        break;
    case C::SpeakArticle:
        forwardToSideBar([](SideBarActions &bar, const ArticlePtr &a) { bar.speakArticle(a); });
        break;
    case C::PostToBlog:
        forwardToSideBar([](SideBarActions &bar, const ArticlePtr &a) { bar.postArticleToWeblogEditor(a); });
        break;
    case C::EmailArticle:
        forwardToSideBar([](SideBarActions &bar, const ArticlePtr &a) { bar.postArticleInEmail(a); });
        break;
    case C::PostToDigg:
    case C::PostToDelicious:
    case C::PostToInstapaper:
    case C::PostToTwitter:
    case C::PostToFacebook: {
        const int service = int(command) - int(C::PostToDigg) + 1;
        forwardToSideBar(
            [service](SideBarActions &bar, const ArticlePtr &a) { bar.postArticle(a, service); });
        break;
    }
    case C::ShowPreviousArticle:
        m_mainController->doPreviousItem();
        break;
    case C::ShowNextArticle:
        m_mainController->doNextItem();
        break;
    case C::ShowNextUnreadArticle:
        m_mainController->doNextUnreadItem();
        break;
    case C::BackToParent:
        m_mainController->doBreadCrumbClick();
        break;
    case C::ViewAsList:
    case C::ViewAsPictureTiles:
        doViewAs(command == C::ViewAsList ? HeadlinePage::ListMode : HeadlinePage::TileMode);
        break;
    case C::OpenMainWindow:
        doOpenMainWindow();
        break;
    case C::ShowHelp:
        showHelpBookAnchor(QString());
        break;
    case C::ShowProductPage:
        m_desktop.openUrl(QUrl(productPage), false);
        break;
    default:
        m_desktop.openUrl(QUrl(supportForum), false);
        break;
    }
}

// ---- commands

// The help book is a page among the resources, read in the browser; an anchor names one of its sections.
void ApplicationController::showHelpBookAnchor(const QString &anchor)
{
    const QString book = Resources::folder() + QStringLiteral("/help/index.html");
    if (!QFileInfo::exists(book)) {
        Log::write(QStringLiteral("QuillBay Help is missing: %1").arg(book));
        m_desktop.beep();
        return;
    }
    QUrl address = QUrl::fromLocalFile(book);
    if (!anchor.isEmpty())
        address.setFragment(anchor);
    m_desktop.openUrl(address, false);
}

void ApplicationController::doNewFeed(const QUrl &address)
{
    m_mainController->doAddFeed(address);
}

void ApplicationController::doImportFeeds(const QString &path)
{
    if (m_windows)
        m_windows->runOPMLImporter(path);
}

void ApplicationController::doExportFeeds()
{
    const QString path =
        QFileDialog::getSaveFileName(m_mainController->window(), tr("Export Feeds"),
                                     QStringLiteral("Feeds.opml"), tr("OPML files (*.opml *.xml)"));
    if (path.isEmpty())
        return;
    if (!OPMLExporter(m_feedLibrary.root()).saveToOPMLFile(path))
        m_desktop.beep();
}

void ApplicationController::find(bool forward, bool fromFindField)
{
    const QString text = m_findPanel ? m_findPanel->text() : QString();
    if (text.isEmpty()) {
        m_desktop.beep();
        return;
    }
    m_mainController->doFind(text, forward);
    if (fromFindField) {
        m_findPanel->hide();
        doOpenMainWindow();
    }
}

void ApplicationController::doFindNext(bool fromFindField)
{
    find(true, fromFindField);
}

void ApplicationController::doFindPrevious(bool fromFindField)
{
    find(false, fromFindField);
}

void ApplicationController::doOpenSelectedFeedLink()
{
    const bool markRead = m_defaults.boolean(QStringLiteral("behaviorWebOpened"));
    for (const FeedPtr &feed : m_feedLibrary.selectedFeeds()) {
        m_mainController->doOpenURL(feed->link(), false);
        // A site the gate refused was not seen, so its articles were not read either.
        if (markRead && !OutsideAddress::admitted(feed->link()).isEmpty())
            m_feedLibrary.applyArticleState(Article::Read, feed, false);
    }
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
    if (markRead)
        m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
}

void ApplicationController::doEditSelectedFeed()
{
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"));
    if (m_windows)
        m_windows->showFeedEditor();
    const FeedList feeds = m_feedLibrary.selectedFeeds();
    if (!feeds.isEmpty())
        fetchSiteIcon(feeds.first());
}

void ApplicationController::doEditSelectedFeedTags()
{
    if (m_windows)
        m_windows->showInspector();
    m_inspectorOpened = true;
    postChannelSelection();
}

void ApplicationController::postChannelSelection()
{
    m_notificationCenter.post(QStringLiteral("channelSelectionChanged"),
                              QVariant::fromValue(m_feedLibrary.selectedFeeds()));
}

// While the editor is open, the feed's own site is asked for a better icon than the feed named.
void ApplicationController::fetchSiteIcon(const FeedPtr &feed)
{
    auto *download = new Downloader;
    const auto arrived = [this, feed](Downloader *page) {
        siteIconPageArrived(*page, feed);
        page->deleteLater();
    };
    if (!download->beginDownloadFromURL(feed->link(), QString(), QString(), this, QVariant(), arrived))
        delete download;
}

void ApplicationController::siteIconPageArrived(const Downloader &page, const FeedPtr &feed)
{
    if (page.state() != Downloader::DownloadStateDone)
        return;
    // A page that names no character set is read as UTF-8, as most of the web is written.
    const bool declared = page.responseHeader(QStringLiteral("Content-Type"))
                              .contains(QLatin1String("charset="), Qt::CaseInsensitive);
    const QString html =
        TextDecoder::decode(page.receivedData(), declared ? page.encoding() : QStringLiteral("UTF-8"))
            .value_or(QString::fromUtf8(page.receivedData()));
    const QMap<QString, QUrl> properties =
        AddFeedController::websitePropertiesFromHTML(html, page.effectiveURL());
    const QUrl icon =
        properties.value(QStringLiteral("apple-touch-icon"), properties.value(QStringLiteral("icon")));
    if (icon.isValid())
        m_feedUpdater.downloadIconFromURL(icon, feed);
}

void ApplicationController::doRefreshSelectedFeed()
{
    for (const FeedPtr &feed : m_feedLibrary.selectedFeeds())
        m_feedUpdater.requestFeedDownload(feed);
}

void ApplicationController::doRefreshAllFeeds()
{
    for (const FeedPtr &feed : m_feedLibrary.allFeeds())
        m_feedUpdater.requestFeedDownload(feed);
}

void ApplicationController::applySelectedFeedState(int state)
{
    for (const FeedPtr &feed : m_feedLibrary.selectedFeeds())
        m_feedLibrary.applyArticleState(state, feed, false);
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
}

void ApplicationController::doMarkSelectedFeedAsUnread()
{
    applySelectedFeedState(Article::Unread);
}

void ApplicationController::doMarkSelectedFeedAsRead()
{
    applySelectedFeedState(Article::Read);
}

void ApplicationController::doMarkAllFeedsAsRead()
{
    for (const FeedPtr &feed : m_feedLibrary.allFeeds())
        m_feedLibrary.applyArticleState(Article::Read, feed, false);
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
}

void ApplicationController::doDeleteAllArticlesForSelectedFeed()
{
    const FeedList feeds = m_feedLibrary.selectedFeeds();
    if (feeds.isEmpty())
        return;
    m_feedLibrary.removeChildrenForItem(feeds.last(), true);
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
    m_notificationCenter.post(QStringLiteral("FeedUnreadCountChangedNotification"));
}

ArticlePtr ApplicationController::selectedArticle() const
{
    const TreeNodeList articles = m_feedLibrary.selectedArticles();
    return articles.isEmpty() ? nullptr : std::dynamic_pointer_cast<Article>(articles.first());
}

void ApplicationController::doOpenLink(bool inBackground)
{
    if (const ArticlePtr article = selectedArticle())
        m_mainController->doOpenURL(article->link(), inBackground);
}

void ApplicationController::doAddToNewsBin()
{
    m_mainController->openSideBar();
    forwardToSideBar([](SideBarActions &bar, const ArticlePtr &a) { bar.doAdd(a); });
}

void ApplicationController::forwardToSideBar(
    const std::function<void(SideBarActions &, const ArticlePtr &)> &action)
{
    const ArticlePtr article = selectedArticle();
    if (m_sideBar && article)
        action(*m_sideBar, article);
    else
        m_desktop.beep();
}

void ApplicationController::doViewAs(int displayMode)
{
    m_defaults.setInteger(QStringLiteral("ArticleDisplayModeKey"), displayMode);
    m_mainController->headlinePage().setDisplayMode(displayMode);
    m_mainController->updateDisplayModeButtons();
    m_mainController->reload();
}

void ApplicationController::doOpenMainWindow(const QString &activationToken)
{
    if (MainWindow *window = m_mainController->window())
        WindowActivation::bringForward(window, activationToken);
}

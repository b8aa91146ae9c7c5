// The program's delegate: it loads the library before any window exists, builds the main window,
// parks files and feed addresses that arrive early, carries out the menu commands and saves the tree
// soon after every change, at the end of a session and on quit.
// It owns the long-lived controllers; it never draws anything itself.
#pragma once

#include "app/MenuCommand.h"
#include "model/FeedLibrary.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <memory>

class AuxiliaryWindows;
class Defaults;
class DesktopServices;
class Downloader;
class FeedUpdater;
class FindPanel;
class HeadlineDisplay;
class LibraryAutosave;
class MainMenu;
class NotificationCenter;
class QuillBayController;
class SideBarActions;
class QWidget;

class ApplicationController : public QObject
{
    Q_OBJECT

public:
    // The headline view is made when the window is, after the library has loaded.
    using DisplayFactory = std::function<HeadlineDisplay *()>;

    ApplicationController(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater, Defaults &defaults,
                          NotificationCenter &notificationCenter, DesktopServices &desktop,
                          DisplayFactory displayFactory);
    ~ApplicationController() override;

    void setSideBar(SideBarActions *sideBar);
    void setAuxiliaryWindows(AuxiliaryWindows *windows);

    void applicationDidFinishLaunching();
    void applicationWillTerminate();
    // The desktop session is ending and the program may be killed without a quit.
    void applicationWillEndSession();
    void applicationDidBecomeActive();
    // The token, when the desktop gave one, lets a Wayland compositor bring the window forward.
    bool applicationShouldHandleReopen(const QString &activationToken = QString());

    // Files and feed addresses handed to the program, on its command line or by a second start, in the
    // form DesktopHandover::argumentsToHandOver gives them: the addresses go to the subscribe sheet
    // first, then the files to the import sheet.
    void openHandedOver(const QStringList &handedOver);
    bool openFile(const QString &path);
    void openFiles(const QStringList &paths);
    void requestNewChannel(const QUrl &address);
    bool appLoaded() const { return m_appLoaded; }

    QuillBayController *mainWindowController() const { return m_mainController.get(); }
    FindPanel *findPanel() const { return m_findPanel; }

    bool validateMenuItem(MenuCommand command) const;
    // Why an item is disabled, when that is not plain to see; empty otherwise.
    QString menuItemHint(MenuCommand command) const;
    void perform(MenuCommand command);
    // Opens the help in the browser, at the section of that anchor when one is given.
    void showHelpBookAnchor(const QString &anchor);

    // The commands.
    void doNewFeed(const QUrl &address);
    void doImportFeeds(const QString &path);
    void doExportFeeds();
    void doFindNext(bool fromFindField = false);
    void doFindPrevious(bool fromFindField = false);
    void doOpenSelectedFeedLink();
    void doEditSelectedFeed();
    void doEditSelectedFeedTags();
    void doRefreshSelectedFeed();
    void doRefreshAllFeeds();
    void doMarkSelectedFeedAsUnread();
    void doMarkSelectedFeedAsRead();
    void doMarkAllFeedsAsRead();
    void doDeleteAllArticlesForSelectedFeed();
    void doOpenLink(bool inBackground);
    void doAddToNewsBin();
    void doViewAs(int displayMode);
    void doOpenMainWindow(const QString &activationToken = QString());

private:
    void answerTreeTrouble();
    void answerUnreadableTree();
    void applySelectedFeedState(int state);
    void fetchSiteIcon(const FeedPtr &feed);
    void siteIconPageArrived(const Downloader &page, const FeedPtr &feed);
    void forwardToSideBar(const std::function<void(SideBarActions &, const ArticlePtr &)> &action);
    void find(bool forward, bool fromFindField);
    ArticlePtr selectedArticle() const;
    void performFileOrWindowCommand(MenuCommand command);
    void performFeedCommand(MenuCommand command);
    void performArticleCommand(MenuCommand command);
    void postChannelSelection();

    FeedLibrary &m_feedLibrary;
    FeedUpdater &m_feedUpdater;
    Defaults &m_defaults;
    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    DisplayFactory m_displayFactory;
    HeadlineDisplay *m_display = nullptr;
    // The window owns the view once it exists; until then nobody else does.
    QPointer<QWidget> m_displayWidget;
    std::unique_ptr<LibraryAutosave> m_autosave;
    std::unique_ptr<QuillBayController> m_mainController;
    std::unique_ptr<MainMenu> m_menu;
    FindPanel *m_findPanel = nullptr;
    SideBarActions *m_sideBar = nullptr;
    AuxiliaryWindows *m_windows = nullptr;
    int m_selectionObserver = 0;
    bool m_inspectorOpened = false;
    bool m_appLoaded = false;
    bool m_performFileDrag = false;
    QStringList m_draggedFiles;
    bool m_performAddChannel = false;
    QUrl m_newFeedURL;
};

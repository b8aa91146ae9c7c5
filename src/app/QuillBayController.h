// The main window's behaviour: it follows the source-list selection, rebuilds the headline page on the
// program's notifications, moves between articles, keeps the breadcrumb title and scroll places, adds
// and removes items and acts on the page's links. It never parses, downloads or stores by itself.
#pragma once

#include "app/HeadlineViewDelegate.h"
#include "app/OutsideLinkGate.h"
#include "headlines/HeadlineActions.h"
#include "headlines/HeadlineLinkPolicy.h"
#include "headlines/HeadlinePage.h"
#include "model/FeedLibrary.h"

#include <QObject>
#include <functional>
#include <memory>

class AuxiliaryWindows;
class Defaults;
class DesktopServices;
class FeedUpdater;
class HeadlineDisplay;
class MainWindow;
class QMenu;
class NotificationCenter;
class SideBarActions;
class SourceListModel;
struct Notification;

class QuillBayController : public QObject, public HeadlineActions, public HeadlineViewDelegate
{
    Q_OBJECT

public:
    QuillBayController(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater, Defaults &defaults,
                       NotificationCenter &notificationCenter, DesktopServices &desktop,
                       HeadlineDisplay &display);
    ~QuillBayController() override;

    void setSideBar(SideBarActions *sideBar) { m_sideBar = sideBar; }
    void setAuxiliaryWindows(AuxiliaryWindows *windows) { m_windows = windows; }

    // Builds the window, restores its frame and panes and shows it.
    void setupMainWindow();
    MainWindow *window() const { return m_window.get(); }
    SourceListModel *sourceListModel() const { return m_model; }
    HeadlinePage &headlinePage() { return m_page; }
    void applyColourTheme();
    // The window frame and pane frames, for the next start.
    void saveWindowState();

    int breadCrumbMode() const { return m_breadCrumbMode; }
    void setBreadCrumbMode(int mode) override { m_breadCrumbMode = mode; }
    QString breadCrumbTitle() const;
    bool isBackEnabled() const;

    // Selection and navigation.
    void outlineViewSelectionDidChange();
    void selectItems(const TreeNodeList &items);
    void doNextItem();
    void doPreviousItem();
    void doNextUnreadItem();
    void doBreadCrumbClick();

    // Items.
    void doAddItem(bool optionHeld);
    void doAddFeed(const QUrl &address);
    void doAddFolder();
    void doRemoveItem();

    // Feed commands on the last selected feed.
    void doOpenFeedLink();
    void doCopyFeedLink();
    void doEmailFeedLink();
    void doViewFeedSource();

    // Display.
    void doToggleDisplayMode(int mode);
    void updateDisplayModeButtons();
    void setArticleContextualMenu(QMenu *menu) { m_articleContextualMenu = menu; }
    // Pops the article menu up below the button, as a right-click there would.
    void doArticleActionMenu(QWidget *sender);
    void openSideBar();
    void doToggleSideBar();

    // Browser and search.
    void doOpenURL(const QUrl &url, bool forceBackground) override;
    void doOpenInDefaultBrowser(const QUrl &url);
    void doFind(const QString &text, bool forward);
    void printPage();

    // The headline page: rebuilt once on the next pass of the event loop, however often it is asked.
    void reload() override;
    void reloadRespectingOffset() override;
    void showEnclosureWindow() override;
    void reloadSourceList();
    void reloadSourceListItem(const TreeNodePtr &item);
    void taskEnded();

    // The headline view's questions.
    bool acceptNavigation(const HeadlineLinkPolicy::NavigationAction &action) override;
    void linkHovered(const QUrl &url) override;
    void pageFinishedLoading() override;
    void pageScrolled(const QPointF &position) override;
    void openInDefaultBrowser(const QUrl &url) override { doOpenInDefaultBrowser(url); }

signals:
    // The commands the application carries out for the whole program.
    void refreshFeedRequested();
    void markFeedReadRequested();
    void markFeedUnreadRequested();
    void editFeedRequested();
    void displayModeChanged(int mode);

private:
    void registerObservers();
    void observe(const QString &name, std::function<void(const Notification &)> handler);
    void update(const Notification &notification);
    void updateActiveTaskView(const Notification &notification);
    void updateBreadCrumbMode(const Notification &notification);
    void updateStatusBar(const Notification &notification);
    void fileDownloadNotifications(const Notification &notification);
    void updateBreadCrumbs();
    bool showsResults() const;
    void rebuildNow();
    void applyFontSize();
    void applyRowHeight();
    void selectFeedOfSingleArticle();
    void selectRowsSilently(const TreeNodeList &items);
    void restoreWindowFrame();
    void restoreSplitViews();
    void wireWindow();
    void selectStartingRow();
    void showSourceListMenu(const QPoint &position);
    void selectArticle(const ArticlePtr &article);
    void markReadWhileBrowsing(const ArticlePtr &article);
    ArticlePtr nextUnreadFrom(const ArticlePtr &start, const TreeNodeList &list) const;
    TreeNodeList selectedRowItems() const;
    TreeNodePtr lastSelectedItem() const;
    FeedPtr lastSelectedFeed() const;
    ArticlePtr lastSelectedArticle() const;
    bool exactlyOneArticleSelected() const;
    int visibleRowOf(const TreeNodePtr &item) const;

    FeedLibrary &m_feedLibrary;
    FeedUpdater &m_feedUpdater;
    Defaults &m_defaults;
    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    OutsideLinkGate m_outsideLinks;
    HeadlineDisplay &m_display;
    HeadlinePage m_page;
    HeadlineLinkPolicy m_linkPolicy;
    SideBarActions *m_sideBar = nullptr;
    QMenu *m_articleContextualMenu = nullptr;
    AuxiliaryWindows *m_windows = nullptr;
    std::unique_ptr<MainWindow> m_window;
    SourceListModel *m_model = nullptr;
    QList<int> m_observerTokens;
    int m_breadCrumbMode = NormalMode;
    bool m_reloadQueued = false;
    bool m_selectingSilently = false;
    bool m_pageLoading = false;
};

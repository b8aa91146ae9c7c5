// The tools beside the headlines: quick browsing, search, grouping and filtering, article length and the
// news bin of saved articles with its sharing commands. It changes the library's selection and tells the
// program by notification; it never builds the headline page and never touches a feed.
#pragma once

#include "app/OutsideLinkGate.h"
#include "app/SideBarActions.h"
#include "model/FeedLibrary.h"

#include <QObject>
#include <QUrl>
#include <QVoice>

class Defaults;
class DesktopServices;
class NavigationBar;
class NewsBinModel;
class NotificationCenter;
class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QMenu;
class QSlider;
class QTextToSpeech;
class QToolButton;
class QWidget;

class SideBarController : public QObject, public SideBarActions
{
    Q_OBJECT

public:
    // What an item of the news bin's menu runs; it travels in the item's data.
    enum Command
    {
        OpenInBrowser = 1,
        SendInEmail,
        OpenInBlogEditor,
        SpeakArticle,
        PostToDigg,
        PostToDelicious,
        PostToInstapaper,
        PostToTwitter,
        PostToFaceBook,
        RemoveClipping,
        EmptyNewsBin
    };

    static constexpr int Digg = 1;
    static constexpr int Delicious = 2;
    static constexpr int Instapaper = 3;
    static constexpr int Twitter = 4;
    static constexpr int FaceBook = 5;

    // Fills the pane with the controls and loads the clippings from the library.
    SideBarController(QWidget *pane, FeedLibrary &feedLibrary, Defaults &defaults,
                      NotificationCenter &notificationCenter, DesktopServices &desktop);
    ~SideBarController() override;

    NavigationBar *navigationBar() const { return m_navBar; }
    VirtualFolderPtr newsBin() const { return m_newsBin; }
    void setNewsBin(const VirtualFolderPtr &newsBin);
    void loadNewsBin();

    QLineEdit *searchField() const { return m_searchField; }
    QSlider *articleSlider() const { return m_articleSlider; }
    QComboBox *sortPopUp() const { return m_sortPopUp; }
    QComboBox *filterPopUp() const { return m_filterPopUp; }
    QLabel *sortByLabel() const { return m_sortByLabel; }
    QLabel *showLabel() const { return m_showLabel; }
    QListView *newsBinTable() const { return m_newsBinTable; }
    QMenu *contextualMenu() const { return m_contextualMenu; }
    QToolButton *contextMenuButton() const { return m_contextMenuButton; }
    QToolButton *addButton() const { return m_addButton; }
    QToolButton *removeButton() const { return m_removeButton; }
    QToolButton *browseAllUnreadButton() const { return m_browseAllUnreadButton; }
    QToolButton *browseTodayButton() const { return m_browseTodayButton; }
    QAction *menuItem(Command command) const;

    // Asked by the main window and the menus.
    void clearSelection() override;
    // Keeps every article selected in the library; the article handed in is kept when nothing is.
    void doAdd(const ArticlePtr &article) override;
    // Drops the selected clippings; the clipping handed in is dropped when no row is selected.
    void doRemove(const TreeNodePtr &clipping) override;
    void speakArticle(const ArticlePtr &article) override;
    void postArticleToWeblogEditor(const ArticlePtr &article) override;
    void postArticleInEmail(const ArticlePtr &article) override;
    void postArticle(const ArticlePtr &article, int toService) override;

    // The controls' commands.
    void doQuickBrowseUnread();
    void doQuickBrowseToday();
    void doPerformSearch();
    void doChangeArticleLength();
    void doChangeSortMethod();
    void doChangeFilterMethod();
    void doEmptyNewsBin();
    void doContextualMenu();
    void doOpenInBrowser();
    void doOpenInBlogEditor();
    void doSendInEmail();
    void doSpeakArticle();
    void doPostToDigg();
    void doPostToDelicious();
    void doPostToInstapaper();
    void doPostToTwitter();
    void doPostToFaceBook();

    // The news bin as a table.
    int numberOfRows() const;
    void tableViewSelectionDidChange();
    bool validateDrop(const QString &draggedText) const;
    bool acceptDrop(const QString &draggedText, int row);
    // True for items of other menus; the news bin's own items follow its contents and selection.
    bool validateMenuItem(const QAction *item) const;

private:
    void buildControls(QWidget *pane);
    QWidget *buildQuickBrowse(QWidget *pane);
    QWidget *buildPopUps(QWidget *pane);
    QWidget *buildNewsBin(QWidget *pane);
    void buildContextualMenu();
    void restorePopUps();
    void applyColourTheme();
    void runCommand(Command command);
    void validateContextualMenu();
    bool isBlogEditorSet() const;
    void reloadTable();
    void selectRow(int row);
    int selectedRow() const;
    QList<int> selectedRows() const;
    ArticlePtr selectedClipping() const;
    ArticlePtr articleForDrop(const QString &draggedText) const;
    bool storeClipping(const ArticlePtr &article, int row);
    QTextToSpeech *synth();

    FeedLibrary &m_feedLibrary;
    Defaults &m_defaults;
    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    OutsideLinkGate m_outsideLinks;
    VirtualFolderPtr m_newsBin;
    NewsBinModel *m_model = nullptr;
    QTextToSpeech *m_synth = nullptr;
    QVoice m_defaultVoice;
    int m_themeObserver = 0;

    NavigationBar *m_navBar = nullptr;
    QLineEdit *m_searchField = nullptr;
    QSlider *m_articleSlider = nullptr;
    QComboBox *m_sortPopUp = nullptr;
    QComboBox *m_filterPopUp = nullptr;
    QLabel *m_sortByLabel = nullptr;
    QLabel *m_showLabel = nullptr;
    QListView *m_newsBinTable = nullptr;
    QMenu *m_contextualMenu = nullptr;
    QAction *m_blogEditorAction = nullptr;
    QToolButton *m_contextMenuButton = nullptr;
    QToolButton *m_addButton = nullptr;
    QToolButton *m_removeButton = nullptr;
    QToolButton *m_browseAllUnreadButton = nullptr;
    QToolButton *m_browseTodayButton = nullptr;
};

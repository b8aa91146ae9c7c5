// The preferences window: five panes that edit every user setting, each change written to the store at
// once. It never keeps a setting of its own: the store is the only place a value lives.
#pragma once

#include <QDir>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>

class Defaults;
class DesktopServices;
class FeedUpdater;
class NotificationCenter;
class QAction;
class QBUserAlert;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QPushButton;
class QToolBar;
class QVBoxLayout;

class PreferencesController : public QWidget
{
    Q_OBJECT

public:
    // Runs a program with its arguments, without a shell, and answers what it wrote to standard output.
    using CommandRunner = std::function<QString(const QString &program, const QStringList &arguments)>;

    enum Pane
    {
        General = 0,
        Display = 1,
        Downloads = 2,
        Behavior = 3,
        Update = 4
    };

    PreferencesController(FeedUpdater &feedUpdater, Defaults &defaults,
                          NotificationCenter &notificationCenter, DesktopServices &desktop,
                          QWidget *parentWindow = nullptr,
                          const QString &systemSoundFolder = QStringLiteral("/usr/share/sounds"),
                          const QString &userSoundFolder = QDir::homePath() +
                                                           QStringLiteral("/.local/share/sounds"));

    // The runner and the folders are used whenever the reader list is built: tests set them before the
    // first present() or loadWindow().
    void setCommandRunner(CommandRunner runner) { m_commandRunner = std::move(runner); }
    // Folders searched for .desktop files, later ones overriding earlier ones of the same name.
    void setApplicationFolders(const QStringList &folders) { m_applicationFolders = folders; }
    // Plays the chosen alert sounds; without one, choosing a sound stays silent.
    void setUserAlert(QBUserAlert *alert) { m_userAlert = alert; }

    // Fills every list from the store and the system, once; present() does it on first use.
    void loadWindow();
    bool isLoaded() const { return m_loaded; }
    // Loads the window when needed and brings it up on the General pane.
    void present();

    // Shows the pane of that tag and selects its toolbar item; any other tag logs and shows General.
    void switchView(int tag);
    // The shown pane's tag; -1 before the window loads.
    int selectedPane() const { return m_selectedPane; }
    QWidget *paneView(int tag) const;

    void doChangeTheme();
    void doSoundChanged(QObject *sender);
    void doFontSizeChanged();
    void doPreferencesChanged();
    // Lets the user pick the downloads folder in a sheet; choosing one stores it and rebuilds the list.
    void doSetDownloadPath();
    void setDownloadPath(const QString &path);
    // Acts on the feed-reader list's chosen item: "Select..." asks for an application, others become the
    // reader.
    void selectDefaultRSSReaderPopUpButton();
    void selectRSSReader();
    // Makes the application of that .desktop file the system's reader of feed: addresses.
    void setDefaultLinksHandler(const QString &desktopFile);

    void buildFeedReaderList();
    void buildSoundLists();
    void buildDownloadLocationList();
    void buildColourThemeList();

    QHash<QString, QString> appPathDictionary() const { return m_appPathDictionary; }

    QToolBar *toolbar() const { return m_toolbar; }
    QAction *toolbarItem(int tag) const;
    QComboBox *colourThemePopUp() const { return m_colourThemePopUp; }
    QComboBox *fontSizePopUp() const { return m_fontSizePopUp; }
    QComboBox *newArticlesSoundPopUp() const { return m_newArticlesSoundPopUp; }
    QComboBox *downloadSoundPopUp() const { return m_downloadSoundPopUp; }
    QComboBox *downloadLocationPopUp() const { return m_downloadLocationPopUp; }
    QComboBox *feedReaderPopUp() const { return m_feedReaderPopUp; }
    QComboBox *blogEditorPopUp() const { return m_blogEditorPopUp; }
    QCheckBox *updateCheckBox() const { return m_updateCheckBox; }
    QPushButton *updateCheckButton() const { return m_updateCheckButton; }

    // The setting that keeps the automatic update check.
    static QString autoUpdateKey() { return QStringLiteral("updateCheckAutomatically"); }

private:
    QWidget *makeGeneralPane();
    void addBlogEditorField(QFormLayout *form);
    void buildBlogEditorList();
    QWidget *makeDisplayPane();
    QWidget *makeDownloadsPane();
    QWidget *makeBehaviorPane();
    QWidget *makeUpdatePane();
    void makeToolbar();
    QCheckBox *addCheckBox(QFormLayout *form, const QString &key, const QString &title);
    void addSpinBox(QFormLayout *form, const QString &key, const QString &title, int minimum, int maximum,
                    const QString &suffix);
    QComboBox *addPopUp(QFormLayout *form, const QString &title);
    void showSettings();
    void fillSoundList(QComboBox *popUp, const QString &key);
    void soundChosen(QComboBox *popUp, const QString &key);
    void downloadLocationChosen();
    void selectDownloadPath();
    void addFeedReader(const QString &name, const QString &desktopFile, const QString &iconName);

    FeedUpdater &m_feedUpdater;
    Defaults &m_defaults;
    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    QBUserAlert *m_userAlert = nullptr;
    const QString m_systemSoundFolder;
    const QString m_userSoundFolder;
    QStringList m_applicationFolders;
    CommandRunner m_commandRunner;
    QHash<QString, QString> m_appPathDictionary;
    bool m_loaded = false;
    int m_selectedPane = -1; // none until the window loads

    QToolBar *m_toolbar;
    QVBoxLayout *m_paneContainer;
    QList<QWidget *> m_panes;
    QComboBox *m_colourThemePopUp = nullptr;
    QComboBox *m_fontSizePopUp = nullptr;
    QComboBox *m_newArticlesSoundPopUp = nullptr;
    QComboBox *m_downloadSoundPopUp = nullptr;
    QComboBox *m_downloadLocationPopUp = nullptr;
    QComboBox *m_feedReaderPopUp = nullptr;
    QComboBox *m_blogEditorPopUp = nullptr;
    QCheckBox *m_updateCheckBox = nullptr;
    QPushButton *m_updateCheckButton = nullptr;
};

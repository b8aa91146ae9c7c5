// The import sheet for OPML subscription lists: everything (with or without the file's folders) or only the
// ticked feeds. Nothing reaches the library before the sheet ends, and a cancelled sheet adds nothing.
#pragma once

#include "model/FeedLibrary.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <memory>

class FeedUpdater;
class NotificationCenter;
class QCheckBox;
class QDialog;
class QFileDialog;
class QLabel;
class QListWidget;
class QPushButton;
class QStackedWidget;
class QTabBar;
class QWidget;

class OPMLImportController : public QObject
{
    Q_OBJECT

public:
    OPMLImportController(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater,
                         NotificationCenter &notificationCenter);
    ~OPMLImportController() override;

    // Lets the user choose one .opml or .xml file in a chooser on the window, then shows the sheet.
    void runOPMLImporterForWindow(QWidget *window);
    // Reads the file and shows the sheet on the window; it returns at once, the buttons end the sheet.
    // A file that comes while the sheet is up (several handed over at once) waits until it has ended.
    void runOPMLImporterWithFile(const QString &path, QWidget *forWindow);

    // Row 0 shows the import-all pane, any other row the pane with the tick list.
    void doChangeImportMethod(int row);
    void doImportAll();
    void doImportSelected();
    void doCancel();
    // 1 imports everything, -1 the ticked feeds, 0 nothing; the library is saved in every case.
    void sheetDidEnd(int returnCode);

    QList<FeedPtr> importedFeeds() const { return m_importedFeeds; }
    void setImportedFeeds(const QList<FeedPtr> &feeds) { m_importedFeeds = feeds; }
    FolderPtr importedFolder() const { return m_importedFolder; }
    void setImportedFolder(const FolderPtr &folder) { m_importedFolder = folder; }

    QDialog *window();
    // The file chooser while it is open.
    QFileDialog *openPanel() const;
    QTabBar *importMethodSelector() const { return m_importMethodSelector; }
    QStackedWidget *containerView() const { return m_containerView; }
    QWidget *importAllView() const { return m_importAllView; }
    QWidget *importSelectedView() const { return m_importSelectedView; }
    QCheckBox *preserveFoldersCheckBox() const { return m_preserveFoldersCheckBox; }
    QLabel *feedCountLabel() const { return m_feedCountLabel; }
    QListWidget *feedList() const { return m_feedList; }
    QPushButton *importAllButton() const { return m_importAllButton; }
    QPushButton *importSelectedButton() const { return m_importSelectedButton; }
    QPushButton *cancelButton() const { return m_cancelButton; }

private:
    void buildWindow();
    QWidget *buildImportAllView();
    QWidget *buildImportSelectedView();
    void fillFeedList();
    void placeOn(QWidget *window);
    void importKeepingFolders();
    void importFlattened();
    void importSelected();
    void downloadIcons(const QList<FeedPtr> &feeds);
    void runNextWaitingFile();

    FeedLibrary &m_feedLibrary;
    FeedUpdater &m_feedUpdater;
    NotificationCenter &m_notificationCenter;
    QList<FeedPtr> m_importedFeeds;
    FolderPtr m_importedFolder;

    // The sheet lives on whichever window it was last shown on, which may delete it first.
    QPointer<QDialog> m_window;
    QPointer<QFileDialog> m_openPanel;
    QList<QPair<QString, QPointer<QWidget>>> m_waitingFiles;
    QTabBar *m_importMethodSelector = nullptr;
    QStackedWidget *m_containerView = nullptr;
    QWidget *m_importAllView = nullptr;
    QWidget *m_importSelectedView = nullptr;
    QCheckBox *m_preserveFoldersCheckBox = nullptr;
    QLabel *m_feedCountLabel = nullptr;
    QListWidget *m_feedList = nullptr;
    QPushButton *m_importAllButton = nullptr;
    QPushButton *m_importSelectedButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};

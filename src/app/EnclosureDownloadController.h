// The window that downloads the chosen enclosure and opens what it fetched. It never runs a transfer
// itself: the feed updater queues and runs it, and the window only follows the notices about its own file.
#pragma once

#include "model/Enclosure.h"

#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <memory>

class Defaults;
class DesktopServices;
class Downloader;
class FeedUpdater;
class NotificationCenter;
class QLabel;
class QProgressBar;
class QPushButton;
class QWidget;
struct Notification;

class EnclosureDownloadController : public QObject
{
    Q_OBJECT

public:
    // The center must be the one the download engine posts its file notices on.
    EnclosureDownloadController(FeedUpdater &feedUpdater, Defaults &defaults,
                                NotificationCenter &notificationCenter, DesktopServices &desktop,
                                QWidget *parentWindow = nullptr);
    ~EnclosureDownloadController() override;

    std::shared_ptr<Enclosure> enclosure() const { return m_enclosure; }
    // Shows the enclosure and brings the window up; a null enclosure changes nothing.
    void setEnclosure(const std::shared_ptr<Enclosure> &enclosure);
    Downloader *downloader() const { return m_downloader; }
    void setDownloader(Downloader *downloader);

    QWidget *window() const { return m_window; }
    // Brings the window to the front, showing it first when hidden.
    void showWindow();

    void downloadAction();
    void cancelAction();
    void openAction();

    // Extensions (lower case, no dot) of the kinds of file that may open by themselves once downloaded.
    static QStringList documentFileTypes();
    static QStringList imageFileTypes();
    static QStringList movieFileTypes();
    static QStringList audioFileTypes();
    static QStringList zipFileTypes();

    QPushButton *actionButton() const { return m_actionButton; }
    QLabel *iconView() const { return m_iconView; }
    QLabel *fileNameField() const { return m_fileNameField; }
    QLabel *fileSizeField() const { return m_fileSizeField; }
    QLabel *locationField() const { return m_locationField; }
    QProgressBar *progressBar() const { return m_progressBar; }

private:
    using Action = void (EnclosureDownloadController::*)();

    void buildWindow(QWidget *parentWindow);
    void enclosureChangedNotification(const Notification &notification);
    void downloadUpdated(const Notification &notification);
    void setButtonAction();
    void setButton(const QString &title, Action action);
    void handleAutoOpening();
    void followDownloader(Downloader *downloader);
    void forgetDownloader();
    void downloaderWentAway();
    void showFailure(const QString &reason);

    FeedUpdater &m_feedUpdater;
    Defaults &m_defaults;
    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    std::shared_ptr<Enclosure> m_enclosure;
    Downloader *m_downloader = nullptr;
    // Only the updater learns that a transfer failed; the window sees its Downloader go without a finish.
    QMetaObject::Connection m_downloaderGone;
    Action m_action = nullptr;
    QList<int> m_observers;

    // Owned here, though it may sit on the main window, which can delete it first at the end.
    QPointer<QWidget> m_window;
    QPushButton *m_actionButton = nullptr;
    QLabel *m_iconView = nullptr;
    QLabel *m_fileNameField = nullptr;
    QLabel *m_fileSizeField = nullptr;
    QLabel *m_locationField = nullptr;
    QProgressBar *m_progressBar = nullptr;
};

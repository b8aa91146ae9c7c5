// The subscribe sheet over the main window: an address field, the folder for the new feed, Add and
// Cancel, and a spinner while it downloads. The work is its AddFeedController's; the sheet only shows it.
#pragma once

#include "fetch/AddFeedController.h"

#include <QDialog>
#include <QList>

class Defaults;
class DesktopServices;
class QComboBox;
class QLineEdit;
class QProgressBar;
class QPushButton;

class AddFeedPanel : public QDialog
{
    Q_OBJECT

public:
    AddFeedPanel(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater, Defaults &defaults,
                 NotificationCenter &notificationCenter, DesktopServices &desktop, QWidget *parentWindow);

    // Runs the sheet until it closes; true when a feed was added and selected.
    bool run(const QUrl &address);
    // Shows the sheet without waiting, with the address when one is given, else the clipboard's.
    void present(const QUrl &address);

    void setFeedAddressFromClipboard();
    void setURL(const QUrl &url);
    // Fills the folder pop-up afresh: the library itself, then every folder.
    void windowDidBecomeKey();

    void doAddFeed();
    void doCancel();
    // Escape and the window's close button cancel like the Cancel button.
    void reject() override;

    AddFeedController &controller() { return m_controller; }
    QLineEdit *addressField() const { return m_addressField; }
    QComboBox *folderPopUpButton() const { return m_folderPopUpButton; }
    QPushButton *addButton() const { return m_addButton; }
    QProgressBar *spinner() const { return m_spinner; }

protected:
    bool event(QEvent *event) override;

private:
    void applyControllerState();
    void chooseFolder(int index);

    FeedLibrary &m_feedLibrary;
    Defaults &m_defaults;
    DesktopServices &m_desktop;
    AddFeedController m_controller;
    QList<TreeNodePtr> m_folders;
    QLineEdit *m_addressField;
    QComboBox *m_folderPopUpButton;
    QPushButton *m_addButton;
    QPushButton *m_cancelButton;
    QProgressBar *m_spinner;
};

// The windows beside the main window, each made once on first use and kept: the subscribe sheet, the
// feed editor, the OPML import sheet, the enclosure downloads, the tag inspector and the about box.
// It only opens them; each window does its own work.
#pragma once

#include "app/AboutBoxController.h"
#include "app/AuxiliaryWindows.h"

#include <QPointer>
#include <functional>
#include <memory>

class AddFeedPanel;
class DesktopServices;
class Defaults;
class EnclosureDownloadController;
class FeedEditorController;
class FeedLibrary;
class FeedUpdater;
class InspectorController;
class NotificationCenter;
class OPMLImportController;
class PreferencesController;
class QBUserAlert;
class QWidget;

class DesktopWindows : public AuxiliaryWindows
{
public:
    // The main window is asked for when a sheet first needs it, since it is made after this.
    using MainWindowProvider = std::function<QWidget *()>;

    DesktopWindows(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater, Defaults &defaults,
                   NotificationCenter &notificationCenter, DesktopServices &desktop,
                   MainWindowProvider mainWindow);
    ~DesktopWindows() override;

    // What plays a sound the user picks in the preferences.
    void setUserAlert(QBUserAlert *alert) { m_userAlert = alert; }

    bool runAddFeedSheet(const QUrl &address) override;
    void showFeedEditor() override;
    void showEnclosureWindow() override;
    void showPreferences() override;
    void showAboutBox() override;
    void showInspector() override;
    void runOPMLImporter(const QString &filePath) override;

private:
    FeedLibrary &m_feedLibrary;
    FeedUpdater &m_feedUpdater;
    Defaults &m_defaults;
    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    MainWindowProvider m_mainWindow;
    QBUserAlert *m_userAlert = nullptr;
    // Made at once: it follows every enclosure chosen anywhere from the start.
    std::unique_ptr<EnclosureDownloadController> m_enclosures;
    std::unique_ptr<OPMLImportController> m_importer;
    QPointer<AddFeedPanel> m_addFeedPanel;
    QPointer<FeedEditorController> m_feedEditor;
    QPointer<PreferencesController> m_preferences;
    std::unique_ptr<InspectorController> m_inspector;
    AboutBoxController m_aboutBox;
};

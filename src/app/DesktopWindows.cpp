#include "app/DesktopWindows.h"

#include "app/AddFeedPanel.h"
#include "app/DesktopServices.h"
#include "app/EnclosureDownloadController.h"
#include "app/FeedEditorController.h"
#include "app/InspectorController.h"
#include "app/OPMLImportController.h"
#include "app/PreferencesController.h"

DesktopWindows::DesktopWindows(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater, Defaults &defaults,
                               NotificationCenter &notificationCenter, DesktopServices &desktop,
                               MainWindowProvider mainWindow)
    : m_feedLibrary(feedLibrary), m_feedUpdater(feedUpdater), m_defaults(defaults),
      m_notificationCenter(notificationCenter), m_desktop(desktop), m_mainWindow(std::move(mainWindow)),
      m_enclosures(
          std::make_unique<EnclosureDownloadController>(feedUpdater, defaults, notificationCenter, desktop)),
      m_importer(std::make_unique<OPMLImportController>(feedLibrary, feedUpdater, notificationCenter))
{
}

// The sheets are children of the main window, which deletes them; the guards then read empty.
DesktopWindows::~DesktopWindows() = default;

bool DesktopWindows::runAddFeedSheet(const QUrl &address)
{
    if (!m_addFeedPanel)
        m_addFeedPanel = new AddFeedPanel(m_feedLibrary, m_feedUpdater, m_defaults, m_notificationCenter,
                                          m_desktop, m_mainWindow());
    return m_addFeedPanel->run(address);
}

void DesktopWindows::showFeedEditor()
{
    if (!m_feedEditor)
        m_feedEditor =
            new FeedEditorController(m_feedLibrary, m_notificationCenter, m_desktop, m_mainWindow());
    // A new editor missed the selection notice that came before this call.
    m_feedEditor->feedSelectionChanged();
    m_feedEditor->present();
}

void DesktopWindows::showEnclosureWindow()
{
    m_enclosures->showWindow();
}

void DesktopWindows::showPreferences()
{
    if (!m_preferences) {
        m_preferences = new PreferencesController(m_feedUpdater, m_defaults, m_notificationCenter, m_desktop,
                                                  m_mainWindow());
        m_preferences->setUserAlert(m_userAlert);
    }
    m_preferences->present();
}

void DesktopWindows::showInspector()
{
    if (!m_inspector)
        m_inspector = std::make_unique<InspectorController>(m_notificationCenter, m_desktop);
    m_inspector->showInspector();
}

void DesktopWindows::showAboutBox()
{
    m_aboutBox.showAboutBox();
}

void DesktopWindows::runOPMLImporter(const QString &filePath)
{
    if (filePath.isEmpty())
        m_importer->runOPMLImporterForWindow(m_mainWindow());
    else
        m_importer->runOPMLImporterWithFile(filePath, m_mainWindow());
}

// The plain forms of the auxiliary windows: an address prompt for subscribing, the OPML file chooser
// that imports with the file's folders, the about box, and enclosures handed to the browser. They keep
// every command usable; none of them edits a feed or a setting.
#pragma once

#include "app/AuxiliaryWindows.h"
#include "model/Enclosure.h"

#include <memory>

class DesktopServices;
class FeedLibrary;
class FeedUpdater;
class NotificationCenter;
class QWidget;

class BasicWindows : public AuxiliaryWindows
{
public:
    BasicWindows(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater, NotificationCenter &notificationCenter,
                 DesktopServices &desktop);
    ~BasicWindows() override;

    void setParentWindow(QWidget *window) { m_parentWindow = window; }

    bool runAddFeedSheet(const QUrl &address) override;
    void showFeedEditor() override;
    void showEnclosureWindow() override;
    void showPreferences() override;
    void showAboutBox() override;
    void runOPMLImporter(const QString &filePath) override;

    // Subscribes to the address: a new feed at the top level, selected and downloading at once.
    // False, with nothing added, for an address that is not a web or feed address.
    bool subscribe(const QUrl &address);
    // The file's feeds and folders added after the library's own; the number of feeds added.
    int importFile(const QString &path);

private:
    FeedLibrary &m_feedLibrary;
    FeedUpdater &m_feedUpdater;
    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    QWidget *m_parentWindow = nullptr;
    std::shared_ptr<Enclosure> m_enclosure;
    int m_enclosureObserver = 0;
};

// The windows the main window and the menus open besides themselves: subscribing, the feed editor, the
// enclosure downloads, preferences, the about box, the tag inspector and the OPML import. Each opens on
// request only.
#pragma once

#include <QString>
#include <QUrl>

class AuxiliaryWindows
{
public:
    virtual ~AuxiliaryWindows() = default;

    // Runs the subscription sheet; true when it ended with a new feed added and selected.
    virtual bool runAddFeedSheet(const QUrl &address) = 0;
    virtual void showFeedEditor() = 0;
    virtual void showEnclosureWindow() = 0;
    virtual void showPreferences() = 0;
    virtual void showAboutBox() = 0;
    // The tag editor, following "channelSelectionChanged".
    virtual void showInspector() = 0;
    // An empty path lets the user choose the file.
    virtual void runOPMLImporter(const QString &filePath) = 0;
};

// Saves the library's tree soon after it changes, so that a crash or a power cut loses at most the
// last two seconds of what the user made. It saves on its own thread only, once per burst of changes.
#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>

class FeedLibrary;
class NotificationCenter;

class LibraryAutosave : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultDelay{2000};

    // Listens to the library's own changes and to the notification that follows the user's edits in
    // place (the feed editor, preferences, imports). A refresh alone saves nothing: what it changes in
    // the tree is fetched again by the next one, and saving after every feed would cost a busy refresh.
    LibraryAutosave(FeedLibrary &library, NotificationCenter &notificationCenter,
                    std::chrono::milliseconds delay = defaultDelay);
    ~LibraryAutosave() override;

    // Safe from any thread: the save comes at most the delay after the first change not yet saved;
    // later changes do not push it back.
    void libraryDidChange();
    bool savePending() const { return m_timer.isActive(); }
    // Writes a pending change at once, for the end of a session.
    void saveNow();

private:
    void save();

    FeedLibrary &m_library;
    NotificationCenter &m_notificationCenter;
    QTimer m_timer;
    int m_observer = 0;
};

#include "model/LibraryAutosave.h"

#include "model/FeedLibrary.h"
#include "platform/NotificationCenter.h"

#include <QThread>

LibraryAutosave::LibraryAutosave(FeedLibrary &library, NotificationCenter &notificationCenter,
                                 std::chrono::milliseconds delay)
    : m_library(library), m_notificationCenter(notificationCenter)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(delay);
    connect(&m_timer, &QTimer::timeout, this, &LibraryAutosave::save);
    m_library.setTreeChangeObserver([this] { libraryDidChange(); });
    m_observer = m_notificationCenter.addObserver(QStringLiteral("feedLibraryModified"),
                                                  [this](const Notification &) { libraryDidChange(); });
}

LibraryAutosave::~LibraryAutosave()
{
    m_library.setTreeChangeObserver({});
    m_notificationCenter.removeObserver(m_observer);
}

void LibraryAutosave::libraryDidChange()
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, &LibraryAutosave::libraryDidChange, Qt::QueuedConnection);
        return;
    }
    if (!m_timer.isActive())
        m_timer.start();
}

void LibraryAutosave::saveNow()
{
    if (m_timer.isActive())
        save();
}

void LibraryAutosave::save()
{
    m_timer.stop();
    m_library.save();
}

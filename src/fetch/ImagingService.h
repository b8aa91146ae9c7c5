// Makes the square JPEG thumbnails of article pictures on a worker thread of its own: the feed readers
// queue articles from the main thread, the worker fetches, crops, scales and saves one picture at a time.
// On the worker thread it reads nothing of an article but its identifier; changes go to the main thread.
#pragma once

#include "model/FeedLibrary.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

class ImagingService
{
public:
    // Seconds the worker sleeps between polls while it has nothing to do.
    static constexpr int hibernatingHeartBeat = 2;
    // The thumbnail bound and the pictures too small to make one from.
    static constexpr int thumbnailSide = 280;
    static constexpr int smallestSide = 50;
    static constexpr float thumbnailQuality = 0.75f;
    // The headline page is reloaded after this many thumbnails, and once more when the queue drains.
    static constexpr int reloadEvery = 10;

    // The service of the run. Its worker waits for start(), so that reading feeds where nothing is
    // meant to be fetched (tests, tools, fuzzing) only fills the queue.
    static ImagingService &sharedImagingService();

    ImagingService();
    ~ImagingService();
    ImagingService(const ImagingService &) = delete;
    ImagingService &operator=(const ImagingService &) = delete;

    // Starts the worker thread once; later calls, and calls after terminate, do nothing.
    void start();
    void addToQueue(const ArticlePtr &article);
    void removeFromQueue(const ArticlePtr &article);
    ArticleList queue() const;
    // Ends the worker: a fetch under way is abandoned, the article stays queued and untouched, and the
    // call returns when the thread has finished.
    void terminate();
    void hibernate();
    void wake();

    bool active() const { return m_active; }
    int heartBeat() const;
    // Thumbnails attempted since the worker started.
    int count() const { return m_count; }

private:
    struct Entry
    {
        ArticlePtr article;
        QUrl imageURL;
        QString feedID;
    };

    void run();
    // The first queued entry, or none; when none, the worker goes to sleep between polls.
    std::optional<Entry> takeFirstOrHibernate();
    // False when the pass was cut short by terminate().
    bool makeThumbnail(const Entry &entry);
    void finishEntry(const Entry &entry);
    void sleepForHeartBeat();
    static void postReload();
    static void onMainThread(std::function<void()> work);

    // Standard primitives rather than Qt's, so that ThreadSanitizer sees every hand-over.
    mutable std::mutex m_lock;
    std::condition_variable m_wakeUp;
    QList<Entry> m_queue;
    int m_heartBeat = 0;
    std::atomic<bool> m_active{true};
    std::atomic<int> m_count{0};
    std::thread m_worker;
};

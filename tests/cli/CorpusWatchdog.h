// Names the corpus document being read when the test program dies on it or stalls on it, so that a
// crash or a hang points at one file. It watches only; it never retries or skips a document.
#pragma once

#include <QString>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

class CorpusWatchdog
{
public:
    // Past the limit on one document the program is stopped with that document's name on standard error.
    explicit CorpusWatchdog(std::chrono::seconds limit);
    ~CorpusWatchdog();
    CorpusWatchdog(const CorpusWatchdog &) = delete;
    CorpusWatchdog &operator=(const CorpusWatchdog &) = delete;

    void begin(const QString &path);
    void end();

private:
    void watch();

    std::chrono::seconds m_limit;
    std::mutex m_lock;
    std::condition_variable m_wake;
    std::chrono::steady_clock::time_point m_started;
    bool m_busy = false;
    bool m_stopping = false;
    std::thread m_thread;
};

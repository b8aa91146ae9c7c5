#include "CorpusWatchdog.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

// Kept as plain bytes so that a signal handler may write it without allocating.
char currentDocument[4096];

void reportAndDie(int signal)
{
    const char prefix[] = "\ncorpus document being read: ";
    (void)!write(STDERR_FILENO, prefix, sizeof prefix - 1);
    (void)!write(STDERR_FILENO, currentDocument, std::strlen(currentDocument));
    (void)!write(STDERR_FILENO, "\n", 1);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

CorpusWatchdog::CorpusWatchdog(std::chrono::seconds limit) : m_limit(limit), m_thread([this] { watch(); })
{
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        std::signal(signal, reportAndDie);
}

CorpusWatchdog::~CorpusWatchdog()
{
    {
        std::lock_guard<std::mutex> locker(m_lock);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        std::signal(signal, SIG_DFL);
}

void CorpusWatchdog::begin(const QString &path)
{
    std::lock_guard<std::mutex> locker(m_lock);
    std::snprintf(currentDocument, sizeof currentDocument, "%s", path.toLocal8Bit().constData());
    m_started = std::chrono::steady_clock::now();
    m_busy = true;
}

void CorpusWatchdog::end()
{
    std::lock_guard<std::mutex> locker(m_lock);
    m_busy = false;
}

void CorpusWatchdog::watch()
{
    std::unique_lock<std::mutex> locker(m_lock);
    while (!m_stopping) {
        m_wake.wait_for(locker, std::chrono::milliseconds(200));
        if (m_busy && std::chrono::steady_clock::now() - m_started > m_limit) {
            std::fprintf(stderr, "corpus document still being read after %lld s: %s\n",
                         static_cast<long long>(m_limit.count()), currentDocument);
            std::abort();
        }
    }
}

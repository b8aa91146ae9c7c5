#include "platform/TerminationSignals.h"

#include "platform/Log.h"

#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {
int pipeEnds[2] = {-1, -1};
constexpr int handledSignals[] = {SIGTERM, SIGINT, SIGHUP};
struct sigaction previousActions[std::size(handledSignals)];
} // namespace

TerminationSignals::TerminationSignals(QObject *parent) : QObject(parent)
{
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0) {
        Log::write(QStringLiteral("-[TerminationSignals init] no pipe: %1").arg(qt_error_string(errno)));
        return;
    }
    m_notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &TerminationSignals::readPipe);
    struct sigaction action = {};
    action.sa_handler = &TerminationSignals::handle;
    sigemptyset(&action.sa_mask);
    // The first signal asks for a proper quit; should that hang, the next one ends the program.
    action.sa_flags = SA_RESTART | SA_RESETHAND;
    for (std::size_t i = 0; i < std::size(handledSignals); ++i)
        sigaction(handledSignals[i], &action, &previousActions[i]);
}

TerminationSignals::~TerminationSignals()
{
    if (!m_notifier)
        return;
    for (std::size_t i = 0; i < std::size(handledSignals); ++i)
        sigaction(handledSignals[i], &previousActions[i], nullptr);
    for (int &end : pipeEnds) {
        close(end);
        end = -1;
    }
}

void TerminationSignals::handle(int signalNumber)
{
    const int savedErrno = errno;
    const char byte = char(signalNumber);
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
    errno = savedErrno;
}

void TerminationSignals::readPipe()
{
    char byte = 0;
    while (read(pipeEnds[0], &byte, 1) == 1)
        emit received(int(byte));
}

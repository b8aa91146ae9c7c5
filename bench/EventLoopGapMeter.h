// Measures how long the event loop of the calling thread goes between passes, by a zero-interval timer
// that notes when each of its turns comes. It only watches: it must never do work of its own in the loop.
#pragma once

#include <QElapsedTimer>
#include <QTimer>

class EventLoopGapMeter
{
public:
    EventLoopGapMeter()
    {
        m_timer.setInterval(0);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { note(); });
    }

    void start()
    {
        m_longestNs = 0;
        m_turns = 0;
        m_clock.start();
        m_last = 0;
        m_timer.start();
    }
    void stop() { m_timer.stop(); }

    double longestGapMs() const { return double(m_longestNs) / 1e6; }
    qint64 turns() const { return m_turns; }

private:
    void note()
    {
        const qint64 now = m_clock.nsecsElapsed();
        m_longestNs = qMax(m_longestNs, now - m_last);
        m_last = now;
        ++m_turns;
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    qint64 m_longestNs = 0;
    qint64 m_turns = 0;
};

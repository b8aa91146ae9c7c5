// Turns SIGTERM, SIGINT and SIGHUP into a Qt signal on the thread that made the object, so that the
// program ends through its normal quit path. The handler only writes one byte into a pipe: no other
// work is ever done inside a signal handler. A second signal of the same kind ends the program at once.
#pragma once

#include <QObject>

class QSocketNotifier;

class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    // Only one may exist at a time; the previous dispositions come back when it goes.
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

signals:
    void received(int signalNumber);

private:
    static void handle(int signalNumber);
    void readPipe();

    QSocketNotifier *m_notifier = nullptr;
};

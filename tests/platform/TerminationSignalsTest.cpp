#include "platform/TerminationSignals.h"

#include <QEventLoop>
#include <QTimer>
#include <csignal>
#include <gtest/gtest.h>

TEST(TerminationSignals, EachEndingSignalArrivesOnTheEventLoopInsteadOfEndingTheProgram)
{
    for (const int signalNumber : {SIGTERM, SIGINT, SIGHUP}) {
        TerminationSignals termination;
        QEventLoop loop;
        int received = 0;
        QObject::connect(&termination, &TerminationSignals::received, &loop, [&](int number) {
            received = number;
            loop.quit();
        });
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        std::raise(signalNumber);
        EXPECT_EQ(received, 0) << "nothing is done inside the handler";
        loop.exec();
        EXPECT_EQ(received, signalNumber);
    }
}

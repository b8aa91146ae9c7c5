#include "platform/TerminationSignals.h"

#include "EventLoopWait.h"

#include <csignal>
#include <gtest/gtest.h>

TEST(TerminationSignals, EachEndingSignalArrivesOnTheEventLoopInsteadOfEndingTheProgram)
{
    for (const int signalNumber : {SIGTERM, SIGINT, SIGHUP}) {
        TerminationSignals termination;
        int received = 0;
        QObject::connect(&termination, &TerminationSignals::received, [&](int number) { received = number; });
        std::raise(signalNumber);
        EXPECT_EQ(received, 0) << "nothing is done inside the handler";
        waitUntil([&] { return received != 0; }, 5000);
        EXPECT_EQ(received, signalNumber);
    }
}

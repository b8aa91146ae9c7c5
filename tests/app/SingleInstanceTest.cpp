#include "app/SingleInstance.h"

#include <QSignalSpy>
#include <QUuid>
#include <gtest/gtest.h>

TEST(SingleInstance, ASecondStartHandsItsArgumentsToTheRunningOneAndAFirstStartFindsNobody)
{
    const QString name = "QuillBay-test-" + QUuid::createUuid().toString(QUuid::Id128);
    SingleInstance first(name);
    EXPECT_FALSE(first.forwardToRunningInstance({"feed://127.0.0.1/x"})) << "nobody runs yet";
    ASSERT_TRUE(first.listen());
    QSignalSpy received(&first, &SingleInstance::argumentsReceived);

    const SingleInstance second(name);
    EXPECT_TRUE(second.forwardToRunningInstance({"feed://127.0.0.1/x", "/home/ré/list\nwith a break.opml"},
                                                "wayland-token"));
    ASSERT_TRUE(received.wait(3000));
    EXPECT_EQ(received.first().first().toStringList(),
              QStringList({"feed://127.0.0.1/x", "/home/ré/list\nwith a break.opml"}));
    EXPECT_EQ(received.first().last().toString(), "wayland-token") << "the launcher's token comes along";

    EXPECT_TRUE(second.forwardToRunningInstance({}));
    ASSERT_TRUE(received.wait(3000));
    EXPECT_TRUE(received.last().first().toStringList().isEmpty())
        << "a bare second start only raises the window";
}

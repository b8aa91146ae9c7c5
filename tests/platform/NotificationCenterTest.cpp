#include "platform/NotificationCenter.h"

#include <gtest/gtest.h>

TEST(NotificationCenter, AnObserverMayRemoveItselfAndPostWhileBeingNotified)
{
    NotificationCenter center;
    int first = 0;
    int second = 0;
    int token = 0;
    token = center.addObserver("a", [&](const Notification &) {
        ++first;
        center.removeObserver(token);
        center.post("b");
    });
    center.addObserver("b", [&](const Notification &) { ++second; });
    center.post("a");
    center.post("a");
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

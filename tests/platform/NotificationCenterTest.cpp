#include "platform/NotificationCenter.h"

#include <gtest/gtest.h>

TEST(NotificationCenter, DeliversToObserversOfTheNameAndToObserversOfEverything)
{
    NotificationCenter center;
    QStringList heard;
    const int named = center.addObserver("feedDownloaded", [&](const Notification &n) {
        heard << "named:" + n.object.toString() + ":" + n.userInfo.value("ActiveTaskValueKey").toString();
    });
    const int all = center.addObserver(QString(), [&](const Notification &n) { heard << "all:" + n.name; });

    center.post("feedDownloaded", QString("F1"), {{"ActiveTaskValueKey", 3}});
    center.post("feedLibraryModified");
    EXPECT_EQ(heard, QStringList({"named:F1:3", "all:feedDownloaded", "all:feedLibraryModified"}));

    center.removeObserver(named);
    center.removeObserver(all);
    heard.clear();
    center.post("feedDownloaded");
    EXPECT_TRUE(heard.isEmpty());
}

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

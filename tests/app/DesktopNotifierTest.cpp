#include "app/DesktopNotifier.h"

#include "app/NotificationController.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"

#include <QDBusConnection>
#include <QWidget>
#include <gtest/gtest.h>

TEST(DesktopNotifier, WithoutASessionBusDeliversNothingSaysSoOnceAndIgnoresClicksOnWhatItDidNotShow)
{
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qunsetenv("DISPLAY");
    if (QDBusConnection::sessionBus().isConnected())
        GTEST_SKIP() << "a session bus was reached all the same";
    QStringList lines;
    const int token = Log::addListener([&lines](const QString &line) { lines.append(line); });
    DesktopNotifier notifier;
    int clicks = 0;
    QObject::connect(&notifier, &DesktopNotifier::clicked, [&clicks] { ++clicks; });
    notifier.deliver("New articles", "3 unread articles");
    notifier.deliver("New articles", "4 unread articles");
    notifier.actionInvoked(42, "default");
    Log::removeListener(token);
    EXPECT_EQ(lines.filter("Desktop notifications are not shown").size(), 1)
        << lines.join('\n').toStdString();
    EXPECT_EQ(clicks, 0);
}

TEST(NotificationController, AClickedNotificationBringsTheMinimisedMainWindowForwardStillMaximised)
{
    NotificationCenter center;
    DesktopNotifier notifier;
    {
        // Gone, it hears nothing more.
        NotificationController gone(center, notifier);
    }
    NotificationController controller(center, notifier);
    EXPECT_EQ(controller.applicationNameForGrowl(), "QuillBay");
    EXPECT_TRUE(controller.registrationDictionaryForGrowl().isEmpty());
    // Before a window is handed over a click has nothing to raise.
    controller.growlNotificationWasClicked();

    QWidget window;
    controller.setWindow(&window);
    window.setWindowState(Qt::WindowMaximized | Qt::WindowMinimized);
    window.hide();
    center.post("New articles downloaded");
    center.post("Podcast downloaded");
    EXPECT_FALSE(window.isVisible());

    QMetaObject::invokeMethod(&controller, "growlNotificationWasClicked");
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.windowState(), Qt::WindowMaximized);
}

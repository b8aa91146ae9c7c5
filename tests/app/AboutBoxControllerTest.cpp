#include "app/AboutBoxController.h"

#include <QCoreApplication>
#include <QScrollBar>
#include <QTextBrowser>
#include <QWidget>
#include <gtest/gtest.h>

TEST(AboutBoxController, ShowsTheVersionAndCreditsInOneWindowKeptForLater)
{
    const QString oldVersion = QCoreApplication::applicationVersion();
    QCoreApplication::setApplicationVersion("2.7.1");
    AboutBoxController about;
    EXPECT_EQ(about.window(), nullptr);
    about.showAboutBox();
    ASSERT_NE(about.window(), nullptr);
    EXPECT_TRUE(about.window()->isVisible());
    EXPECT_EQ(about.versionString(), "Version 2.7.1");
    for (const char *library : {"Qt", "SQLite", "libxml2", "libcurl"})
        EXPECT_TRUE(about.creditsText().contains(library)) << library;
    const QTextBrowser *credits = about.window()->findChild<QTextBrowser *>();
    ASSERT_GT(credits->verticalScrollBar()->maximum(), 0) << "the credits are longer than their view";
    EXPECT_EQ(credits->verticalScrollBar()->value(), 0) << "they are read from the top";

    QWidget *first = about.window();
    about.window()->hide();
    about.showAboutBox();
    EXPECT_EQ(about.window(), first);
    EXPECT_EQ(about.creditsText().count("libcurl"), 1);
    QCoreApplication::setApplicationVersion(oldVersion);
}

// The web view tests start here: the page schemes are registered before the application exists, as
// the web engine requires, and the per-user folders point into a scratch folder.
#include "app/HeadlinePageSchemeHandler.h"

#include <QApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", (scratch.path() + "/data").toUtf8());
    qputenv("XDG_CONFIG_HOME", (scratch.path() + "/config").toUtf8());
    qputenv("XDG_CACHE_HOME", (scratch.path() + "/cache").toUtf8());
    HeadlinePageSchemeHandler::registerSchemes();
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

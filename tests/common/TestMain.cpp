// Every test program starts here: the per-user folders point into a scratch folder so that no
// test reads or writes the real library or settings, and a GUI application exists for images.
#include <QGuiApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", (scratch.path() + "/data").toUtf8());
    qputenv("XDG_CONFIG_HOME", (scratch.path() + "/config").toUtf8());
    qputenv("XDG_CACHE_HOME", (scratch.path() + "/cache").toUtf8());
    qputenv("XDG_RUNTIME_DIR", scratch.path().toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

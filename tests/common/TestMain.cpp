// Every test program starts here: the per-user folders point into a scratch folder so that no
// test reads or writes the real library or settings, and a GUI application exists for images.
#include <QDir>
#include <QGuiApplication>
#ifdef QB_WIDGET_TESTS
#include <QApplication>
#endif
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Each test starts with no library on disk, whether the tests run one per process or all in one.
class FreshDataFolder : public ::testing::EmptyTestEventListener
{
public:
    explicit FreshDataFolder(const QString &path) : m_path(path) {}
    void OnTestStart(const ::testing::TestInfo &) override { QDir(m_path).removeRecursively(); }

private:
    QString m_path;
};

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir scratch;
    qputenv("XDG_DATA_HOME", (scratch.path() + "/data").toUtf8());
    qputenv("XDG_CONFIG_HOME", (scratch.path() + "/config").toUtf8());
    qputenv("XDG_CACHE_HOME", (scratch.path() + "/cache").toUtf8());
    qputenv("XDG_RUNTIME_DIR", scratch.path().toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#ifdef QB_WIDGET_TESTS
    QApplication app(argc, argv);
#else
    QGuiApplication app(argc, argv);
#endif
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new FreshDataFolder(scratch.path() + "/data"));
    return RUN_ALL_TESTS();
}

#include "app/DesktopAppearance.h"

#include "app/WindowTheme.h"

#include <QApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// A session bus of the test's own with the stand-in settings portal on it, which prefers dark to start.
class PortalBus
{
public:
    PortalBus()
    {
        m_daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
        if (!m_daemon.waitForReadyRead(5000))
            return;
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SESSION_BUS_ADDRESS", m_address);
        m_portal.setProcessEnvironment(environment);
        m_portal.start(QB_APPEARANCE_PORTAL, {"dark"});
        if (!m_portal.waitForReadyRead(5000) || m_portal.readLine().trimmed() != "ready")
            m_address.clear();
    }
    ~PortalBus()
    {
        m_portal.closeWriteChannel();
        m_portal.waitForFinished(3000);
        m_daemon.kill();
        m_daemon.waitForFinished(3000);
    }

    QString address() const { return m_address; }
    void switchTo(const char *scheme) { m_portal.write(QByteArray(scheme) + '\n'); }

private:
    QProcess m_daemon;
    QProcess m_portal;
    QString m_address;
};

bool darkNow()
{
    return WindowTheme::isDark(QApplication::palette());
}

} // namespace

TEST(DesktopAppearance, ADesktopThatPrefersDarkGetsADarkPaletteUntilItSwitchesBackToLight)
{
    const QPalette platform = QApplication::palette();
    ASSERT_FALSE(WindowTheme::isDark(platform)) << "Qt's own palette here is a light one";
    EXPECT_TRUE(WindowTheme::isDark(DesktopAppearance::darkPalette()));

    PortalBus portal;
    ASSERT_FALSE(portal.address().isEmpty()) << "dbus-daemon and the stand-in portal must run here";
    {
        DesktopAppearance appearance(QDBusConnection::connectToBus(portal.address(), "appearance-test"));
        QSignalSpy changed(&appearance, &DesktopAppearance::changed);
        appearance.start();
        ASSERT_TRUE(QTest::qWaitFor(darkNow, 5000));
        EXPECT_EQ(appearance.colourScheme(), DesktopAppearance::PrefersDark);
        EXPECT_GE(changed.size(), 1);

        portal.switchTo("light");
        ASSERT_TRUE(QTest::qWaitFor([] { return !darkNow(); }, 5000));
        EXPECT_EQ(QApplication::palette(), platform) << "the platform's own palette comes back";
        portal.switchTo("dark");
        ASSERT_TRUE(QTest::qWaitFor(darkNow, 5000));
        portal.switchTo("none");
        ASSERT_TRUE(QTest::qWaitFor([] { return !darkNow(); }, 5000));
    }
    QDBusConnection::disconnectFromBus("appearance-test");
}

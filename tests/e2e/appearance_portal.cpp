// A stand-in for the desktop's settings portal that answers only the colour-scheme preference, as GNOME
// and KDE answer it: "dark", "light" or "none" on the command line, then one of those words per line on
// standard input to change it, which the portal announces as a desktop does when the user switches.
// It prints "ready" once it serves the session bus in DBUS_SESSION_BUS_ADDRESS, and ends with its input.
// For tests and screenshots only.
//
//   qb-appearance-portal dark|light|none
#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QSocketNotifier>
#include <QTextStream>
#include <cstdio>
#include <unistd.h>

namespace {

uint schemeNamed(const QString &word)
{
    return word == QLatin1String("dark") ? 1 : word == QLatin1String("light") ? 2 : 0;
}

class Settings : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit Settings(uint scheme) : m_scheme(scheme) {}

    void change(uint scheme)
    {
        m_scheme = scheme;
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                         QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        signal << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme")
               << QVariant::fromValue(QDBusVariant(m_scheme));
        QDBusConnection::sessionBus().send(signal);
    }

public slots:
    // The portal's Read wraps the value in a variant inside the reply's variant.
    QDBusVariant Read(const QString &group, const QString &key)
    {
        if (group != QLatin1String("org.freedesktop.appearance") || key != QLatin1String("color-scheme"))
            return QDBusVariant(QVariant::fromValue(QDBusVariant(QString())));
        return QDBusVariant(QVariant::fromValue(QDBusVariant(m_scheme)));
    }

private:
    uint m_scheme;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    Settings settings(schemeNamed(application.arguments().value(1)));
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &settings,
                            QDBusConnection::ExportAllSlots) ||
        !bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"))) {
        std::fprintf(stderr, "qb-appearance-portal: cannot serve the session bus\n");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QTextStream lines(stdin);
    QObject::connect(&input, &QSocketNotifier::activated, [&] {
        QString line;
        if (!lines.readLineInto(&line)) {
            QCoreApplication::quit();
            return;
        }
        settings.change(schemeNamed(line.trimmed()));
    });
    return QCoreApplication::exec();
}

#include "appearance_portal.moc"

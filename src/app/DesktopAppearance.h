// Keeps the program in the desktop's light or dark look. The platform's palette is followed as it
// changes; where the desktop says it prefers dark through the settings portal but the platform hands Qt a
// light palette (as on GNOME), a dark palette of the program's own is installed, and taken back when the
// preference goes. It tells when the look changed; it never draws anything.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QPalette>

class DesktopAppearance : public QObject
{
    Q_OBJECT

public:
    // The freedesktop colour-scheme values.
    enum ColourScheme
    {
        NoPreference = 0,
        PrefersDark = 1,
        PrefersLight = 2
    };

    explicit DesktopAppearance(const QDBusConnection &bus = QDBusConnection::sessionBus(),
                               QObject *parent = nullptr);

    // Asks the portal once, without waiting for its answer, and listens to its changes from then on.
    void start();
    ColourScheme colourScheme() const { return m_scheme; }

    // Dark windows, light text, the usual roles and the disabled group.
    static QPalette darkPalette();

signals:
    // The application's palette changed, from the platform or from here.
    void changed();

public slots:
    void settingChanged(const QDBusMessage &message);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void takeScheme(uint scheme);
    void applyScheme();

    QDBusConnection m_bus;
    ColourScheme m_scheme = NoPreference;
    // What the platform gave, to go back to when the desktop stops preferring dark.
    QPalette m_platformPalette;
    bool m_ownPalette = false;
    bool m_settingPalette = false;
};

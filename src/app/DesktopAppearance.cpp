#include "app/DesktopAppearance.h"

#include "app/WindowTheme.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QScopedValueRollback>

namespace {

const QString PortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString PortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString SettingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString AppearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString ColourSchemeKey = QStringLiteral("color-scheme");

// Read answers the value wrapped in one variant more than SettingChanged does.
QVariant unwrapped(QVariant value)
{
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

DesktopAppearance::DesktopAppearance(const QDBusConnection &bus, QObject *parent)
    : QObject(parent), m_bus(bus), m_platformPalette(QApplication::palette())
{
    qApp->installEventFilter(this);
}

void DesktopAppearance::start()
{
    if (!m_bus.isConnected())
        return;
    m_bus.connect(PortalService, PortalPath, SettingsInterface, QStringLiteral("SettingChanged"), this,
                  SLOT(settingChanged(QDBusMessage)));
    QDBusMessage read =
        QDBusMessage::createMethodCall(PortalService, PortalPath, SettingsInterface, QStringLiteral("Read"));
    read << AppearanceGroup << ColourSchemeKey;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *finished) {
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        // No portal, or one without the setting: the platform's palette is all there is to follow.
        if (!reply.isError())
            takeScheme(unwrapped(reply.value().variant()).toUInt());
        finished->deleteLater();
    });
}

// Taken as the whole message: QtDBus will not hand a variant argument to a slot of its own.
void DesktopAppearance::settingChanged(const QDBusMessage &message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() == 3 && arguments.at(0).toString() == AppearanceGroup &&
        arguments.at(1).toString() == ColourSchemeKey)
        takeScheme(unwrapped(arguments.at(2)).toUInt());
}

void DesktopAppearance::takeScheme(uint scheme)
{
    m_scheme = scheme == PrefersDark || scheme == PrefersLight ? ColourScheme(scheme) : NoPreference;
    applyScheme();
}

void DesktopAppearance::applyScheme()
{
    const bool wantOwn = m_scheme == PrefersDark && !WindowTheme::isDark(m_platformPalette);
    if (wantOwn == m_ownPalette)
        return;
    m_ownPalette = wantOwn;
    const QScopedValueRollback setting(m_settingPalette, true);
    QApplication::setPalette(wantOwn ? darkPalette() : m_platformPalette);
}

bool DesktopAppearance::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) {
        // A palette from the platform (a desktop switching its look) is the new one to go back to.
        if (!m_settingPalette && !m_ownPalette)
            m_platformPalette = QApplication::palette();
        emit changed();
    }
    return QObject::eventFilter(watched, event);
}

QPalette DesktopAppearance::darkPalette()
{
    const QColor window(0x2b, 0x2d, 0x30), base(0x1e, 0x1f, 0x22), text(0xe6, 0xe8, 0xea);
    const QColor button(0x3a, 0x3d, 0x41), highlight(0x3d, 0x7b, 0xd9), muted(0x8e, 0x99, 0xa4);
    QPalette palette(button, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, muted);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x6c, 0xc2, 0xf0));
    palette.setColor(QPalette::LinkVisited, QColor(0xb4, 0x9c, 0xf0));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, muted.darker(130));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, window.lighter(130));
    return palette;
}

#include "app/OutsideLinkGate.h"

#include "app/DesktopServices.h"
#include "platform/NotificationCenter.h"
#include "reading/OutsideAddress.h"

OutsideLinkGate::OutsideLinkGate(DesktopServices &desktop, NotificationCenter &notificationCenter)
    : m_desktop(desktop), m_notificationCenter(notificationCenter)
{
}

bool OutsideLinkGate::open(const QUrl &url, bool inBackground) const
{
    if (!admits(url))
        return false;
    m_desktop.openUrl(OutsideAddress::admitted(url), inBackground);
    return true;
}

bool OutsideLinkGate::admits(const QUrl &url) const
{
    if (!OutsideAddress::admitted(url).isEmpty())
        return true;
    m_desktop.beep();
    m_notificationCenter.post(QStringLiteral("StatusBarMessageNotification"),
                              OutsideAddress::refusalMessage(url));
    return false;
}

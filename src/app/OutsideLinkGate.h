// The one door to the desktop's browser and mail program for addresses that come from feeds or the
// library: web, ftp and cleaned mail addresses pass; anything else is refused with a beep and a status-line
// message that names its scheme. The program's own pages (help, product page) do not come this way.
#pragma once

#include <QUrl>

class DesktopServices;
class NotificationCenter;

class OutsideLinkGate
{
public:
    OutsideLinkGate(DesktopServices &desktop, NotificationCenter &notificationCenter);

    // True when the address was handed to the desktop.
    bool open(const QUrl &url, bool inBackground) const;
    // True when the address may leave; a refusal is told to the user as open() tells it.
    bool admits(const QUrl &url) const;

private:
    DesktopServices &m_desktop;
    NotificationCenter &m_notificationCenter;
};

// Brings a window forward as the desktop means it to be: shown, raised and made active, out of the dock
// when it was minimised, but maximised or full screen still when it was. It never resizes a window.
#pragma once

#include <QString>

class QWidget;

class WindowActivation
{
public:
    // The token is an XDG activation token handed over by whoever asked (a clicked notification, a
    // second start); on Wayland the compositor lets the window come forward with it.
    static void bringForward(QWidget *window, const QString &activationToken = QString());
};

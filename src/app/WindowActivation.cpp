#include "app/WindowActivation.h"

#include <QWidget>

void WindowActivation::bringForward(QWidget *window, const QString &activationToken)
{
    if (!window)
        return;
    // Qt's Wayland window asks for activation with the token it finds here, and uses it up.
    if (!activationToken.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    const Qt::WindowStates state = window->windowState();
    if (state.testFlag(Qt::WindowMinimized))
        window->setWindowState(state & ~Qt::WindowMinimized);
    // show() keeps a maximised or full-screen state, where showNormal() would throw it away.
    window->show();
    window->raise();
    window->activateWindow();
}

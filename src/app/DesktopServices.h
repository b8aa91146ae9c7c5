// What the windows ask of the desktop: the browser, the beep, the clipboard, a question to the user
// and files opened by their own programs. The desktop program answers through the system; tests record.
#pragma once

#include <QString>
#include <QUrl>

class DesktopServices
{
public:
    virtual ~DesktopServices() = default;

    // Linux browsers offer no way to open a page behind the current window; the wish is passed on
    // where a service can honour it.
    virtual void openUrl(const QUrl &url, bool inBackground) = 0;
    virtual void openFile(const QString &path) = 0;
    virtual void beep() = 0;
    virtual void setClipboardText(const QString &text) = 0;
    // True only when the user chose the default button.
    virtual bool confirm(const QString &message, const QString &defaultButton, const QString &cancelButton,
                         const QString &details) = 0;
};

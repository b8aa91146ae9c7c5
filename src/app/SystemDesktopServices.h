// The desktop's own answers to the windows' requests: the default browser and programs, the system
// beep, the clipboard and a modal question. It keeps no state of its own.
#pragma once

#include "app/DesktopServices.h"

class QWidget;

class SystemDesktopServices : public DesktopServices
{
public:
    void setDialogParent(QWidget *parent) { m_dialogParent = parent; }

    void openUrl(const QUrl &url, bool inBackground) override;
    void openFile(const QString &path) override;
    void beep() override;
    void setClipboardText(const QString &text) override;
    bool confirm(const QString &message, const QString &defaultButton, const QString &cancelButton,
                 const QString &details) override;

private:
    QWidget *m_dialogParent = nullptr;
};

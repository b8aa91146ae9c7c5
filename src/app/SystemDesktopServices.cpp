#include "app/SystemDesktopServices.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>

void SystemDesktopServices::openUrl(const QUrl &url, bool)
{
    QDesktopServices::openUrl(url);
}

void SystemDesktopServices::openFile(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void SystemDesktopServices::beep()
{
    QApplication::beep();
}

void SystemDesktopServices::setClipboardText(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

bool SystemDesktopServices::confirm(const QString &message, const QString &defaultButton,
                                    const QString &cancelButton, const QString &details)
{
    QMessageBox box(QMessageBox::Warning, QString(), message, QMessageBox::NoButton, m_dialogParent);
    box.setInformativeText(details);
    QPushButton *accept = box.addButton(defaultButton, QMessageBox::AcceptRole);
    box.addButton(cancelButton, QMessageBox::RejectRole);
    box.setDefaultButton(accept);
    box.setWindowModality(Qt::WindowModal);
    box.exec();
    return box.clickedButton() == accept;
}

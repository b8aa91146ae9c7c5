// Plays the program's alert sounds, beeps and asks the desktop for attention. It only makes noise
// and flashes the window; it never decides when the user should be told.
#pragma once

#include "platform/QBUserAlert.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

class QSoundEffect;
class QMediaPlayer;

class DesktopAlert : public QObject, public QBUserAlert
{
    Q_OBJECT

public:
    explicit DesktopAlert(QObject *parent = nullptr);

    void setWindow(QWidget *window);

    // A name is a file path, one of the program's own sounds ("New Articles", "Download Completed") or
    // the base name of a file in the desktop's sound folders.
    bool playSound(const QString &name) override;
    void beep() override;
    void requestAttention() override;

    // The file a name stands for; empty when there is none.
    static QString soundFile(const QString &name);

private:
    static QString findInFolder(const QString &folder, const QString &baseName);

    QPointer<QWidget> m_window;
    QSoundEffect *m_effect = nullptr;
    QMediaPlayer *m_player = nullptr;
};

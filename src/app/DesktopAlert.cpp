#include "app/DesktopAlert.h"

#include "platform/Resources.h"

#include <QApplication>
#include <QAudioOutput>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QMediaPlayer>
#include <QSoundEffect>
#include <QUrl>
#include <QWidget>

DesktopAlert::DesktopAlert(QObject *parent) : QObject(parent) {}

void DesktopAlert::setWindow(QWidget *window)
{
    m_window = window;
}

bool DesktopAlert::playSound(const QString &name)
{
    const QString file = soundFile(name);
    if (file.isEmpty())
        return false;
    const QUrl source = QUrl::fromLocalFile(file);
    // The light-weight effect player only reads WAV; the desktop's themes mostly ship Ogg files.
    if (file.endsWith(QStringLiteral(".wav"), Qt::CaseInsensitive)) {
        if (!m_effect)
            m_effect = new QSoundEffect(this);
        m_effect->setSource(source);
        m_effect->play();
        return true;
    }
    if (!m_player) {
        m_player = new QMediaPlayer(this);
        m_player->setAudioOutput(new QAudioOutput(m_player));
    }
    m_player->setSource(source);
    m_player->play();
    return true;
}

void DesktopAlert::beep()
{
    QApplication::beep();
}

void DesktopAlert::requestAttention()
{
    if (m_window)
        QApplication::alert(m_window);
}

QString DesktopAlert::soundFile(const QString &name)
{
    if (name.isEmpty())
        return {};
    if (QFileInfo(name).isAbsolute())
        return QFileInfo(name).isFile() ? name : QString();
    const QString own = Resources::path(QString(name).remove(QLatin1Char(' ')), QStringLiteral("wav"));
    if (QFileInfo(own).isFile())
        return own;
    for (const QString &folder :
         {QDir::homePath() + QStringLiteral("/.local/share/sounds"), QStringLiteral("/usr/share/sounds")}) {
        const QString found = findInFolder(folder, name);
        if (!found.isEmpty())
            return found;
    }
    return {};
}

QString DesktopAlert::findInFolder(const QString &folder, const QString &baseName)
{
    QDirIterator files(folder, {QStringLiteral("*.wav"), QStringLiteral("*.oga"), QStringLiteral("*.ogg")},
                       QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QFileInfo file(files.next());
        if (file.completeBaseName() == baseName)
            return file.filePath();
    }
    return {};
}

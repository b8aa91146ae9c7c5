#include "app/DesktopAlert.h"

#include "TestFiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(DesktopAlert, OwnSoundsAreSmallMonoWavesAndOthersAreFoundByPathOrInTheUsersSoundFolder)
{
    DesktopAlert alert;
    QByteArray bytes;
    for (const QString &name : {QStringLiteral("New Articles"), QStringLiteral("Download Completed")}) {
        QFile wav(DesktopAlert::soundFile(name));
        ASSERT_TRUE(wav.open(QIODevice::ReadOnly)) << name.toStdString();
        bytes = wav.readAll();
        EXPECT_LT(bytes.size(), 60 * 1024);
        ASSERT_GE(bytes.size(), 44);
        EXPECT_TRUE(bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WAVE");
        // One channel at 44100 Hz (0xAC44) in 16 bits, little-endian in the plain PCM header.
        EXPECT_EQ(bytes.mid(22, 2), QByteArray("\x01\x00", 2));
        EXPECT_EQ(bytes.mid(24, 4), QByteArray("\x44\xAC\x00\x00", 4));
        EXPECT_EQ(bytes.mid(34, 2), QByteArray("\x10\x00", 2));
        EXPECT_TRUE(alert.playSound(name));
    }
    for (const char *unknown : {"No Such Chime Anywhere", "", "/nonexistent/folder/chime.wav"})
        EXPECT_FALSE(alert.playSound(unknown)) << unknown;

    QTemporaryDir home;
    const QByteArray oldHome = qgetenv("HOME");
    qputenv("HOME", home.path().toUtf8());
    const QString themed = home.path() + "/.local/share/sounds/theme/stereo/harbour-bell.wav";
    writeFile(themed, bytes);
    EXPECT_EQ(DesktopAlert::soundFile("harbour-bell"), themed);
    EXPECT_TRUE(alert.playSound("harbour-bell"));
    EXPECT_TRUE(alert.playSound(themed));
    qputenv("HOME", oldHome);
}

#include "app/DesktopAlert.h"

#include "platform/Resources.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Reads the format fields of a plain PCM WAV header.
struct WavFormat
{
    int channels = 0;
    int rate = 0;
    int bits = 0;
};

WavFormat formatOf(const QByteArray &wav)
{
    if (wav.size() < 44 || !wav.startsWith("RIFF") || wav.mid(8, 4) != "WAVE")
        return {};
    auto little = [&wav](int at, int size) {
        int value = 0;
        for (int i = size - 1; i >= 0; --i)
            value = value * 256 + quint8(wav.at(at + i));
        return value;
    };
    return {little(22, 2), little(24, 4), little(34, 2)};
}

} // namespace

TEST(DesktopAlert, OwnSoundsAreSmallMonoWavesAndPlay)
{
    DesktopAlert alert;
    for (const QString &name : {QStringLiteral("New Articles"), QStringLiteral("Download Completed")}) {
        const QString file = DesktopAlert::soundFile(name);
        ASSERT_FALSE(file.isEmpty()) << name.toStdString();
        QFile wav(file);
        ASSERT_TRUE(wav.open(QIODevice::ReadOnly));
        const QByteArray bytes = wav.readAll();
        EXPECT_LT(bytes.size(), 60 * 1024);
        const WavFormat format = formatOf(bytes);
        EXPECT_EQ(format.channels, 1);
        EXPECT_EQ(format.rate, 44100);
        EXPECT_EQ(format.bits, 16);
        EXPECT_TRUE(alert.playSound(name));
    }
}

TEST(DesktopAlert, UnknownNamesAndMissingPathsPlayNothing)
{
    DesktopAlert alert;
    EXPECT_FALSE(alert.playSound("No Such Chime Anywhere"));
    EXPECT_FALSE(alert.playSound(""));
    EXPECT_FALSE(alert.playSound("/nonexistent/folder/chime.wav"));
}

TEST(DesktopAlert, SoundsAreFoundByPathAndInTheUsersSoundFolder)
{
    QFile own(Resources::path("NewArticles", "wav"));
    ASSERT_TRUE(own.open(QIODevice::ReadOnly));
    const QByteArray bytes = own.readAll();

    QTemporaryDir home;
    const QByteArray oldHome = qgetenv("HOME");
    qputenv("HOME", home.path().toUtf8());
    ASSERT_TRUE(QDir(home.path()).mkpath(".local/share/sounds/theme/stereo"));
    const QString themed = home.path() + "/.local/share/sounds/theme/stereo/harbour-bell.wav";
    QFile copy(themed);
    ASSERT_TRUE(copy.open(QIODevice::WriteOnly));
    copy.write(bytes);
    copy.close();

    DesktopAlert alert;
    EXPECT_EQ(DesktopAlert::soundFile("harbour-bell"), themed);
    EXPECT_TRUE(alert.playSound("harbour-bell"));
    EXPECT_TRUE(alert.playSound(themed));
    qputenv("HOME", oldHome);
}

#include "app/PreferencesController.h"

#include "AppTestDoubles.h"
#include "AppTestLibrary.h"
#include "LogCapture.h"
#include "TestFiles.h"
#include "platform/QBUserAlert.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStandardPaths>
#include <gtest/gtest.h>

namespace {

class RecordingAlert : public QBUserAlert
{
public:
    bool playSound(const QString &name) override
    {
        played.append(name);
        return true;
    }
    void beep() override {}
    void requestAttention() override {}

    QStringList played;
};

class PreferencesWindowTest : public ::testing::Test
{
protected:
    PreferencesWindowTest()
    {
        QDir(folders.path()).mkpath("system/stereo");
        QDir(folders.path()).mkpath("user");
        QDir(folders.path()).mkpath("applications");
        prefs.setApplicationFolders({folders.filePath("applications")});
        prefs.setCommandRunner([this](const QString &program, const QStringList &arguments) {
            commands.append((QStringList{program} + arguments).join(' '));
            return arguments.value(0) == "query" ? currentReader : QString();
        });
        prefs.setUserAlert(&alert);
    }

    void writeFile(const QString &relativePath, const QByteArray &content = {})
    {
        ::writeFile(folders.filePath(relativePath), content);
    }

    void writeApplication(const QString &fileName, const QString &name, bool opensFeeds)
    {
        writeFile("applications/" + fileName,
                  QString("[Desktop Entry]\nType=Application\nName=%1\nExec=true\n%2")
                      .arg(name, opensFeeds ? "MimeType=text/html;x-scheme-handler/feed;\n" : "")
                      .toUtf8());
    }

    // Separators read as "-", so that a list reads as the user sees it.
    static QStringList titles(const QComboBox *popUp)
    {
        QStringList titles;
        for (int i = 0; i < popUp->count(); ++i)
            titles.append(popUp->itemData(i, Qt::AccessibleDescriptionRole).toString() == "separator"
                              ? QString("-")
                              : popUp->itemText(i));
        return titles;
    }

    static void choose(QComboBox *popUp, int index)
    {
        popUp->setCurrentIndex(index);
        emit popUp->activated(index);
    }

    AppTestLibrary t;
    QTemporaryDir folders;
    RecordingDesktop desktop;
    RecordingAlert alert;
    QStringList commands;
    QString currentReader;
    PreferencesController prefs{t.updater,
                                t.defaults,
                                t.center,
                                desktop,
                                nullptr,
                                folders.filePath("system"),
                                folders.filePath("user")};
};

TEST_F(PreferencesWindowTest, DownloadPathOutsideTheUsualFoldersAddsOneItemNamedAfterItJustAboveSelect)
{
    const QString custom = folders.filePath("Podcasts/Radio");
    t.defaults.setString("downloadPath", custom);
    prefs.loadWindow();

    QComboBox *popUp = prefs.downloadLocationPopUp();
    EXPECT_EQ(titles(popUp), QStringList({"Downloads", "Desktop", "Documents", "-", "Radio", "Select..."}));
    EXPECT_EQ(popUp->currentIndex(), 4);
    EXPECT_EQ(popUp->itemData(4).toString(), custom);

    // Choosing a usual folder stores it and the custom item goes.
    choose(popUp, 0);
    const QString downloads =
        QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    EXPECT_EQ(Defaults(t.defaults.filePath()).string("downloadPath"), downloads);
    EXPECT_EQ(titles(popUp), QStringList({"Downloads", "Desktop", "Documents", "-", "Select..."}));
    EXPECT_EQ(popUp->currentIndex(), 0);

    prefs.setDownloadPath(folders.filePath("Elsewhere/"));
    EXPECT_EQ(t.defaults.string("downloadPath"), folders.filePath("Elsewhere"));
    EXPECT_EQ(popUp->currentText(), "Elsewhere");
    EXPECT_EQ(popUp->count(), 6);
}

TEST_F(PreferencesWindowTest, SoundListsAddTheUserFolderOnlyWhenItHoldsAnything)
{
    writeFile("system/stereo/glass.wav");
    writeFile("system/bell.oga");
    writeFile("system/chime.ogg");
    writeFile("system/stereo/chime.oga");
    writeFile("system/readme.txt");
    prefs.loadWindow();

    const QStringList systemOnly{"New Articles", "Download Completed", "-", "bell", "chime", "glass"};
    EXPECT_EQ(titles(prefs.newArticlesSoundPopUp()), systemOnly);
    EXPECT_EQ(prefs.newArticlesSoundPopUp()->currentText(), "New Articles");
    EXPECT_EQ(prefs.downloadSoundPopUp()->currentText(), "Download Completed");

    writeFile("user/notes.txt");
    prefs.buildSoundLists();
    EXPECT_EQ(titles(prefs.newArticlesSoundPopUp()), systemOnly + QStringList{"-"});

    writeFile("user/Knock.aiff");
    prefs.buildSoundLists();
    EXPECT_EQ(titles(prefs.downloadSoundPopUp()), systemOnly + QStringList({"-", "Knock"}));

    // Choosing writes the sound's name and plays it.
    choose(prefs.downloadSoundPopUp(), 5);
    EXPECT_EQ(t.defaults.string("downloadAlertSound"), "glass");
    EXPECT_EQ(t.defaults.string("generalAlertSound"), "New Articles");
    EXPECT_EQ(alert.played, QStringList{"glass"});
}

TEST_F(PreferencesWindowTest, PanesAreChosenFromTheToolbarAndAnInvalidNumberLogsAndShowsGeneral)
{
    prefs.loadWindow();
    prefs.toolbarItem(PreferencesController::Behavior)->trigger();
    EXPECT_EQ(prefs.selectedPane(), PreferencesController::Behavior);
    EXPECT_TRUE(prefs.paneView(PreferencesController::Behavior)->isVisibleTo(&prefs));

    LogCapture log;
    prefs.switchView(7);
    EXPECT_EQ(log.lines(),
              QStringList{"-[PreferencesController switchView] Invalid preference pane number: 7"});
    EXPECT_EQ(prefs.selectedPane(), PreferencesController::General);
    EXPECT_TRUE(prefs.toolbarItem(PreferencesController::General)->isChecked());
    EXPECT_TRUE(prefs.paneView(PreferencesController::General)->isVisibleTo(&prefs));

    prefs.switchView(PreferencesController::Update);
    prefs.present();
    EXPECT_EQ(prefs.selectedPane(), PreferencesController::General);
}

TEST_F(PreferencesWindowTest, QuillBayIsListedOnceAndFirstWhenItIsTheCurrentReader)
{
    writeApplication("quillbay.desktop", "QuillBay", true);
    writeApplication("otter.desktop", "Otter News", true);
    writeApplication("pad.desktop", "Note Pad", false);
    currentReader = "quillbay.desktop\n";
    prefs.loadWindow();
    EXPECT_EQ(titles(prefs.feedReaderPopUp()),
              QStringList({"QuillBay", "-", "Otter News", "-", "Select..."}));
    EXPECT_EQ(commands, QStringList{"xdg-mime query default x-scheme-handler/feed"});

    // Choosing another reader hands it the scheme and the list shows it first.
    currentReader = "otter.desktop";
    choose(prefs.feedReaderPopUp(), 2);
    EXPECT_EQ(commands.at(1), "xdg-mime default otter.desktop x-scheme-handler/feed");
    EXPECT_EQ(titles(prefs.feedReaderPopUp()),
              QStringList({"Otter News", "-", "QuillBay", "-", "Select..."}));

    // No reader at all: this program counts as the current one, still only once.
    QFile::remove(folders.filePath("applications/quillbay.desktop"));
    currentReader.clear();
    prefs.buildFeedReaderList();
    EXPECT_EQ(titles(prefs.feedReaderPopUp()),
              QStringList({"QuillBay", "-", "Otter News", "-", "Select..."}));
    EXPECT_EQ(prefs.appPathDictionary().value("QuillBay"), "quillbay.desktop");
}

TEST_F(PreferencesWindowTest, ControlsWriteTheirKeysAtOnceAndBeforeTheirNoticesArePosted)
{
    QStringList seen;
    for (const auto &[notice, key] : {std::pair("ThemeChangedNotification", "displayColourTheme"),
                                      std::pair("SummaryWebViewFontSizeChanged", "displayFontSize"),
                                      std::pair("feedLibraryModified", "behaviorOnQuit")})
        t.center.addObserver(notice, [&, key](const Notification &notification) {
            seen.append(notification.name + " " + t.defaults.value(key).toString());
        });
    prefs.loadWindow();

    QComboBox *themes = prefs.colourThemePopUp();
    EXPECT_EQ(themes->currentText(), "Default") << "the desktop's own colours come first and by default";
    choose(themes, 5);
    choose(prefs.fontSizePopUp(), 2);
    auto *onQuit = prefs.findChild<QCheckBox *>("behaviorOnQuit");
    ASSERT_NE(onQuit, nullptr);
    onQuit->click();
    EXPECT_EQ(seen, QStringList({"ThemeChangedNotification 4", "SummaryWebViewFontSizeChanged 3",
                                 "feedLibraryModified true"}));
    prefs.findChild<QSpinBox *>("downloadConcurrent")->setValue(2);
    const Defaults reread(t.defaults.filePath());
    EXPECT_EQ(reread.integer("displayColourTheme"), 4);
    EXPECT_TRUE(reread.boolean("behaviorOnQuit"));
    EXPECT_EQ(reread.integer("downloadConcurrent"), 2);

    // Another window changed a setting: showing the window again reads it.
    t.defaults.setBoolean("behaviorOnQuit", false);
    prefs.present();
    EXPECT_FALSE(onQuit->isChecked());

    prefs.updateCheckBox()->click();
    EXPECT_TRUE(t.defaults.boolean(PreferencesController::autoUpdateKey()));
    prefs.updateCheckButton()->click();
    ASSERT_EQ(desktop.opened.size(), 1);
    EXPECT_EQ(desktop.opened.first().first, QUrl("https://quillbay.org/"));
}

TEST_F(PreferencesWindowTest, TheWeblogEditorIsAnyCommandLineWithTheEditorsFoundHereOffered)
{
    QDir(folders.path()).mkpath("bin");
    writeFile("bin/kate", "#!/bin/sh\n");
    QFile(folders.filePath("bin/kate")).setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", folders.filePath("bin").toUtf8());
    prefs.loadWindow();
    qputenv("PATH", path);

    QComboBox *editor = prefs.blogEditorPopUp();
    EXPECT_EQ(titles(editor), QStringList{"kate {file}"}) << "only what is installed is offered";
    EXPECT_EQ(editor->currentText(), "") << "none is chosen until the user does";
    choose(editor, 0);
    EXPECT_EQ(t.defaults.string("generalBlogEditor"), "kate {file}");
    editor->setEditText("  my-blog --post {title} {link}  ");
    emit editor->lineEdit()->editingFinished();
    EXPECT_EQ(t.defaults.string("generalBlogEditor"), "my-blog --post {title} {link}");
}

} // namespace

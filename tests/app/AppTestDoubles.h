// Stand-ins for the web view, the desktop and the later windows, so that the window controllers run
// offscreen without a web engine and every request they make can be checked.
#pragma once

#include "app/AuxiliaryWindows.h"
#include "app/DesktopServices.h"
#include "app/HeadlineDisplay.h"

#include <QList>
#include <QPointF>
#include <QStringList>
#include <QWidget>

class RecordingDisplay : public HeadlineDisplay
{
public:
    QWidget *widget() override { return m_widget; }
    void showPage(const QString &html) override { pages.append(html); }
    void findText(const QString &text, bool forward) override { searches.append({text, forward}); }
    void setTextSizeMultiplier(double multiplier) override { textSize = multiplier; }
    void scrollPageTo(const QPointF &position) override { scrolls.append(position); }
    void printPage() override { ++printed; }

    QStringList pages;
    QList<std::pair<QString, bool>> searches;
    QList<QPointF> scrolls;
    double textSize = 0;
    int printed = 0;

private:
    QWidget *m_widget = new QWidget;
};

class RecordingDesktop : public DesktopServices
{
public:
    void openUrl(const QUrl &url, bool inBackground) override { opened.append({url, inBackground}); }
    void openFile(const QString &path) override { openedFiles.append(path); }
    void beep() override { ++beeps; }
    void setClipboardText(const QString &text) override { clipboard = text; }
    bool confirm(const QString &message, const QString &, const QString &, const QString &details) override
    {
        ++questions;
        asked << message + "\n" + details;
        return answers.isEmpty() ? true : answers.takeFirst();
    }

    QList<std::pair<QUrl, bool>> opened;
    QStringList openedFiles;
    QString clipboard;
    QList<bool> answers;
    QStringList asked; // each question's message and details, a line apart
    int beeps = 0;
    int questions = 0;
};

class RecordingWindows : public AuxiliaryWindows
{
public:
    bool runAddFeedSheet(const QUrl &address) override
    {
        calls.append("add " + address.toString());
        return false;
    }
    void showFeedEditor() override { calls.append("editor"); }
    void showEnclosureWindow() override { calls.append("enclosure"); }
    void showPreferences() override { calls.append("preferences"); }
    void showAboutBox() override { calls.append("about"); }
    void showInspector() override { calls.append("inspector"); }
    void runOPMLImporter(const QString &filePath) override { calls.append("import " + filePath); }

    QStringList calls;
};

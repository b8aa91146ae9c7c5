// The about box: the program's icon, its version and the credits. It only shows them; it is built
// the first time it is shown and kept for later showings.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

class QLabel;
class QTextBrowser;

class AboutBoxController : public QObject
{
    Q_OBJECT

public:
    explicit AboutBoxController(QObject *parent = nullptr);
    ~AboutBoxController() override;

    void showAboutBox();

    // Null until the box was first shown.
    QWidget *window() const { return m_window; }
    QString versionString() const;
    QString creditsText() const;

private:
    void loadWindow();

    QPointer<QWidget> m_window;
    QLabel *m_versionString = nullptr;
    QTextBrowser *m_creditsText = nullptr;
};

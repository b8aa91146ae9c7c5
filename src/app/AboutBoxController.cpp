#include "app/AboutBoxController.h"

#include "app/WindowIconTile.h"
#include "platform/QuillBayIcon.h"
#include "platform/Resources.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QLabel>
#include <QPixmap>
#include <QScreen>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTextCursor>
#include <QVBoxLayout>
#include <QWidget>

AboutBoxController::AboutBoxController(QObject *parent) : QObject(parent) {}

AboutBoxController::~AboutBoxController()
{
    delete m_window;
}

void AboutBoxController::showAboutBox()
{
    if (!m_window)
        loadWindow();
    const bool wasVisible = m_window->isVisible();
    m_versionString->setText(QStringLiteral("Version %1").arg(QCoreApplication::applicationVersion()));
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        QRect frame = m_window->frameGeometry();
        frame.moveCenter(screen->availableGeometry().center());
        m_window->move(frame.topLeft());
    }
    if (!wasVisible)
        m_creditsText->verticalScrollBar()->setValue(0);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

QString AboutBoxController::versionString() const
{
    return m_versionString ? m_versionString->text() : QString();
}

QString AboutBoxController::creditsText() const
{
    return m_creditsText ? m_creditsText->toPlainText() : QString();
}

void AboutBoxController::loadWindow()
{
    m_window = new QWidget(nullptr, Qt::Dialog);
    m_window->setWindowTitle(QStringLiteral("About QuillBay"));
    auto *icon = new QLabel;
    icon->setPixmap(QPixmap::fromImage(QuillBayIcon::draw(WindowIconTile::iconSize)));
    icon->setAlignment(Qt::AlignCenter);
    auto *name = new QLabel(QStringLiteral("<b>QuillBay</b>"));
    name->setAlignment(Qt::AlignCenter);
    m_versionString = new QLabel;
    m_versionString->setAlignment(Qt::AlignCenter);
    m_creditsText = new QTextBrowser;
    m_creditsText->setOpenExternalLinks(true);
    QTextCursor start(m_creditsText->document());
    start.insertHtml(Resources::text(QStringLiteral("Credits"), QStringLiteral("html")));
    // The view's own cursor was pushed past the inserted text, and a first showing scrolls to it.
    m_creditsText->moveCursor(QTextCursor::Start);
    auto *layout = new QVBoxLayout(m_window);
    layout->addWidget(icon);
    layout->addWidget(name);
    layout->addWidget(m_versionString);
    layout->addWidget(m_creditsText);
    m_window->resize(360, 440);
}

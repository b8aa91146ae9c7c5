#include "app/QBHeadlineWebView.h"

#include "app/HeadlinePageSchemeHandler.h"
#include "app/HeadlineViewDelegate.h"
#include "app/LocalFileGuard.h"
#include "app/QBHeadlineWebPage.h"
#include "model/FeedLibrary.h"
#include "platform/LocalizedStrings.h"
#include "platform/Resources.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPrintDialog>
#include <QPrinter>
#include <QWebEngineContextMenuRequest>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineSettings>

namespace {

// A navigation this soon after the user's click or key press is taken as theirs.
constexpr int userInputWindowMs = 1500;

bool isCommandLink(const QUrl &url)
{
    return HeadlineLinkPolicy::isCommandAddress(url.toString());
}

} // namespace

QBHeadlineWebView::QBHeadlineWebView(const QString &userAgent, QWidget *parent)
    : QWebEngineView(parent), m_profile(new QWebEngineProfile(this)),
      m_pages(new HeadlinePageSchemeHandler(this)),
      m_fileGuard(new LocalFileGuard(
          {Resources::folder(), FeedLibrary::articleImagePath(), FeedLibrary::iconPath()}, this))
{
    m_profile->setHttpUserAgent(userAgent);
    m_profile->installUrlSchemeHandler(HeadlinePageSchemeHandler::schemeName(), m_pages);
    // Without a handler the engine blocks script-set command addresses before asking the page; with
    // one they reach the policy, which never lets them load.
    m_profile->installUrlSchemeHandler(QByteArrayLiteral("quillbay"), m_pages);
    m_profile->setUrlRequestInterceptor(m_fileGuard);
    m_page = new QBHeadlineWebPage(m_profile, *m_pages, this);
    m_page->setUserActedRecently([this] { return userActedRecently(); });
    setPage(m_page);
    configureSettings();
    connect(m_page, &QWebEnginePage::loadStarted, this, [this] { m_loading = true; });
    connect(m_page, &QWebEnginePage::loadFinished, this, [this] {
        m_loading = false;
        if (m_delegate)
            m_delegate->pageFinishedLoading();
    });
    connect(m_page, &QWebEnginePage::scrollPositionChanged, this, [this](const QPointF &position) {
        if (m_delegate && !m_loading)
            m_delegate->pageScrolled(position);
    });
    connect(m_page, &QWebEnginePage::linkHovered, this, [this](const QString &url) {
        if (m_delegate)
            m_delegate->linkHovered(QUrl(url));
    });
    qApp->installEventFilter(this);
}

QBHeadlineWebView::~QBHeadlineWebView()
{
    qApp->removeEventFilter(this);
    // The page must go before the profile it was made in.
    setPage(nullptr);
    delete m_page;
}

void QBHeadlineWebView::setDelegate(HeadlineViewDelegate *delegate)
{
    m_delegate = delegate;
    m_page->setDelegate(delegate);
}

void QBHeadlineWebView::configureSettings()
{
    QWebEngineSettings *settings = m_page->settings();
    // Scripts stay on for the page's own script; its security policy refuses every other script.
    settings->setAttribute(QWebEngineSettings::JavascriptEnabled, true);
    settings->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false);
    settings->setAttribute(QWebEngineSettings::JavascriptCanAccessClipboard, false);
    settings->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, false);
    settings->setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, false);
    settings->setAttribute(QWebEngineSettings::PluginsEnabled, false);
    settings->setAttribute(QWebEngineSettings::FullScreenSupportEnabled, false);
    settings->setAttribute(QWebEngineSettings::PdfViewerEnabled, false);
    settings->setAttribute(QWebEngineSettings::ErrorPageEnabled, false);
    settings->setAttribute(QWebEngineSettings::ScreenCaptureEnabled, false);
    settings->setAttribute(QWebEngineSettings::WebGLEnabled, false);
}

void QBHeadlineWebView::showPage(const QString &html)
{
    m_loading = true;
    m_page->load(m_pages->setPage(html));
}

void QBHeadlineWebView::findText(const QString &text, bool forward)
{
    // The engine wraps at the end by itself and ignores case unless told otherwise.
    m_page->findText(text, forward ? QWebEnginePage::FindFlags() : QWebEnginePage::FindBackward);
}

void QBHeadlineWebView::setTextSizeMultiplier(double multiplier)
{
    setZoomFactor(multiplier);
}

void QBHeadlineWebView::scrollPageTo(const QPointF &position)
{
    m_page->runJavaScript(QStringLiteral("window.scrollTo(%1, %2);").arg(position.x()).arg(position.y()),
                          QWebEngineScript::ApplicationWorld);
}

void QBHeadlineWebView::printPage()
{
    auto *printer = new QPrinter(QPrinter::HighResolution);
    QPrintDialog dialog(printer, this);
    if (dialog.exec() != QDialog::Accepted) {
        delete printer;
        return;
    }
    // The printer must outlive the engine's asynchronous rendering of the page.
    connect(
        this, &QWebEngineView::printFinished, this, [printer] { delete printer; }, Qt::SingleShotConnection);
    print(printer);
}

void QBHeadlineWebView::contextMenuEvent(QContextMenuEvent *event)
{
    const QWebEngineContextMenuRequest *request = lastContextMenuRequest();
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QUrl link = request ? request->linkUrl() : QUrl();
    if (link.isValid() && !isCommandLink(link)) {
        menu->addAction(LocalizedStrings::text(QStringLiteral("OpenInDefaultBrowser")), this, [this, link] {
            if (m_delegate)
                m_delegate->openInDefaultBrowser(link);
        });
        menu->addSeparator();
    }
    for (QWebEnginePage::WebAction action :
         {QWebEnginePage::CopyLinkToClipboard, QWebEnginePage::CopyImageToClipboard, QWebEnginePage::Copy}) {
        QAction *item = m_page->action(action);
        if (item->isEnabled())
            menu->addAction(item);
    }
    if (menu->isEmpty())
        delete menu;
    else
        menu->popup(event->globalPos());
}

// The engine draws into a child widget of its own, so the user's input is watched application-wide
// and kept when it lands inside this view.
bool QBHeadlineWebView::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease || type == QEvent::KeyPress) {
        auto *widget = qobject_cast<QWidget *>(watched);
        if (widget && (widget == this || isAncestorOf(widget)))
            noteUserInput();
    }
    return QWebEngineView::eventFilter(watched, event);
}

void QBHeadlineWebView::noteUserInput()
{
    m_userInputWindow.setRemainingTime(userInputWindowMs);
}

bool QBHeadlineWebView::userActedRecently() const
{
    return !m_userInputWindow.hasExpired();
}

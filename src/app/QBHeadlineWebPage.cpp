#include "app/QBHeadlineWebPage.h"

#include "app/HeadlinePageSchemeHandler.h"
#include "app/HeadlineViewDelegate.h"

#include <QGuiApplication>

namespace {

// Asked to open a window, the view hands back this page instead: its first navigation is decided as
// a click in the main page would be, and the page goes away without ever showing anything.
class NewWindowCatcher : public QWebEnginePage
{
public:
    NewWindowCatcher(QWebEngineProfile *profile, HeadlineViewDelegate *delegate, bool userActed,
                     QObject *parent)
        : QWebEnginePage(profile, parent), m_delegate(delegate), m_userActed(userActed)
    {
    }

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType, bool) override
    {
        if (m_delegate)
            m_delegate->acceptNavigation(
                {url, m_userActed ? HeadlineLinkPolicy::ClickedLink : HeadlineLinkPolicy::ScriptOrRedirect,
                 QGuiApplication::queryKeyboardModifiers()});
        deleteLater();
        return false;
    }

private:
    HeadlineViewDelegate *m_delegate;
    bool m_userActed;
};

} // namespace

QBHeadlineWebPage::QBHeadlineWebPage(QWebEngineProfile *profile, HeadlinePageSchemeHandler &pages,
                                     QObject *parent)
    : QWebEnginePage(profile, parent), m_pages(pages)
{
}

HeadlineLinkPolicy::Origin QBHeadlineWebPage::originOf(NavigationType type, bool isMainFrame, bool isOwnPage,
                                                       bool userActedRecently)
{
    if (isOwnPage && isMainFrame && type != NavigationTypeLinkClicked && type != NavigationTypeRedirect)
        return HeadlineLinkPolicy::PageLoad;
    if (type == NavigationTypeLinkClicked && userActedRecently)
        return HeadlineLinkPolicy::ClickedLink;
    return HeadlineLinkPolicy::ScriptOrRedirect;
}

bool QBHeadlineWebPage::acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame)
{
    if (!m_delegate)
        return false;
    const bool userActed = m_userActedRecently && m_userActedRecently();
    const bool ownPage = m_pages.isPageAddress(url);
    return m_delegate->acceptNavigation(
        {url, originOf(type, isMainFrame, ownPage, userActed), QGuiApplication::queryKeyboardModifiers()});
}

QWebEnginePage *QBHeadlineWebPage::createWindow(WebWindowType)
{
    const bool userActed = m_userActedRecently && m_userActedRecently();
    return new NewWindowCatcher(profile(), m_delegate, userActed, this);
}

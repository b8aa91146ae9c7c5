// The headline view's page: it turns every navigation into a question to the window's link policy and
// never opens a window of its own. It tells a user's click from what the page does by itself.
#pragma once

#include "headlines/HeadlineLinkPolicy.h"

#include <QWebEnginePage>
#include <functional>

class HeadlineViewDelegate;
class HeadlinePageSchemeHandler;

class QBHeadlineWebPage : public QWebEnginePage
{
    Q_OBJECT

public:
    // The user's last click or key press in the view, for telling their navigations from the page's own.
    using UserActedRecently = std::function<bool()>;

    QBHeadlineWebPage(QWebEngineProfile *profile, HeadlinePageSchemeHandler &pages,
                      QObject *parent = nullptr);

    void setDelegate(HeadlineViewDelegate *delegate) { m_delegate = delegate; }
    void setUserActedRecently(UserActedRecently test) { m_userActedRecently = std::move(test); }

    // A link click counts as the user's only when the user acted just before; the engine reports a
    // script's location change as a link click too.
    static HeadlineLinkPolicy::Origin originOf(NavigationType type, bool isMainFrame, bool isOwnPage,
                                               bool userActedRecently);

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage *createWindow(WebWindowType type) override;
    // Feed text trips the page's security policy all the time; those refusals are the policy working.
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &, int,
                                  const QString &) override
    {
    }

private:
    HeadlinePageSchemeHandler &m_pages;
    HeadlineViewDelegate *m_delegate = nullptr;
    UserActedRecently m_userActedRecently;
};

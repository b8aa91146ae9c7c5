// Decides what becomes of every navigation the headline view is about to make, and carries out the
// page's "quillbay:" commands on the library. The page is hostile ground: nothing a script or a
// redirect asks for is ever acted on, and the view itself never leaves the generated page.
#pragma once

#include "model/FeedLibrary.h"

#include <QString>
#include <QUrl>
#include <Qt>

class Defaults;
class HeadlineActions;
class NotificationCenter;

class HeadlineLinkPolicy
{
public:
    enum Origin
    {
        PageLoad,        // the view loading the page the window gave it
        ClickedLink,     // the user's click, on a link or on an element whose own click handler navigates
        ScriptOrRedirect // anything else: a script on its own, a refresh, a redirect
    };

    struct NavigationAction
    {
        QUrl url;
        Origin origin = ScriptOrRedirect;
        Qt::KeyboardModifiers modifiers; // Alt stands for the Option key
    };

    enum Decision
    {
        LoadInView,       // the only answer on which the view goes on
        Refused,          // ignored, nothing done
        OpenedOutside,    // ignored by the view, handed to the browser
        CarriedOutCommand // ignored by the view, a "quillbay:" command
    };

    HeadlineLinkPolicy(FeedLibrary &feedLibrary, Defaults &defaults, HeadlineActions &actions,
                       NotificationCenter &notificationCenter);

    Decision decidePolicyForNavigationAction(const NavigationAction &action);
    // The full address text, scheme included; the command starts after "quillbay:".
    void processURLCommandString(const QString &address);

    static bool isCommandAddress(const QString &address);

private:
    void openArticle(const QString &uniqueID);
    void showEnclosure(const QString &uniqueID);
    void showFeed(const QString &uniqueID);
    void showArticle(const QString &uniqueID);
    void showDay(const QString &value);
    void showAuthor(const QString &value);
    void markLastSelectedArticleRead();
    void selectResults(const VirtualFolderPtr &folder);
    ArticlePtr articleWithUniqueID(const QString &uniqueID, bool includingClippings) const;
    void markRead(const ArticlePtr &article);

    FeedLibrary &m_feedLibrary;
    Defaults &m_defaults;
    HeadlineActions &m_actions;
    NotificationCenter &m_notificationCenter;
};

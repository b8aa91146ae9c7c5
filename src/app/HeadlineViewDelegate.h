// What the headline view asks of the main window while the user reads: may this navigation go on, what
// the pointer is over, where the page was scrolled. The window answers; the view only asks.
#pragma once

#include "headlines/HeadlineLinkPolicy.h"

#include <QPointF>
#include <QUrl>

class HeadlineViewDelegate
{
public:
    virtual ~HeadlineViewDelegate() = default;

    // True when the view may go on to the address; every other answer keeps it on its page.
    virtual bool acceptNavigation(const HeadlineLinkPolicy::NavigationAction &action) = 0;
    virtual void linkHovered(const QUrl &url) = 0;
    virtual void pageFinishedLoading() = 0;
    virtual void pageScrolled(const QPointF &position) = 0;
    virtual void openInDefaultBrowser(const QUrl &url) = 0;
};

// What the main window does when a click in the headline page asks for something only a window can do:
// open an address in the browser, rebuild the page, show the enclosure downloads, change the selection kind.
// The window implements it; the link logic never touches a widget itself.
#pragma once

#include <QUrl>

class HeadlineActions
{
public:
    // Selection kinds the breadcrumb shows.
    enum BreadCrumbMode
    {
        NormalMode = 1,
        DayMode = 3,
        AuthorMode = 5
    };

    virtual ~HeadlineActions() = default;

    // In the user's browser; in the background when forced or when the user asked for it always. The
    // window refuses, with a word to the user, any address that may not leave the program.
    virtual void doOpenURL(const QUrl &url, bool forceBackground) = 0;
    // Rebuilds the headline page from the first page of articles.
    virtual void reload() = 0;
    // Rebuilds the headline page keeping the paging counter, so one more cap of articles shows.
    virtual void reloadRespectingOffset() = 0;
    // Brings the enclosure download window to the front as the key window.
    virtual void showEnclosureWindow() = 0;
    virtual void setBreadCrumbMode(int mode) = 0;
};

// The headline pane's page without its window: which articles of the selection are shown, how they are
// grouped, filtered and paged, and the page's HTML. The desktop view loads what this builds; building a
// page never changes an article's state.
#pragma once

#include "model/FeedLibrary.h"

#include <QColor>
#include <QString>

class Defaults;

class HeadlinePage
{
public:
    enum DisplayMode
    {
        ListMode = 0,
        TileMode = 1
    };

    HeadlinePage(FeedLibrary &feedLibrary, Defaults &defaults);

    // Takes the library's selected articles into items, filters, arranges and renders them.
    QString generateHTML();
    void resetOffset() { m_offset = 0; }

    TreeNodeList items() const { return m_items; }
    void setItems(const TreeNodeList &items) { m_items = items; }
    int displayMode() const { return m_displayMode; }
    void setDisplayMode(int mode) { m_displayMode = mode; }
    int sortMethod() const { return m_sortMethod; }
    // The grouping the side bar's sort menu stands for: positions 0 to 2 are by date, feed and state,
    // and any later position is by date.
    static int sortMethodForMenuPosition(int position)
    {
        return position >= 0 && position <= 2 ? position + 1 : 1;
    }
    void setSortMethod(int method) { m_sortMethod = method; }
    int filterMethod() const { return m_filterMethod; }
    void setFilterMethod(int method) { m_filterMethod = method; }
    int offset() const { return m_offset; }
    bool photoMode() const { return m_photoMode; }
    void setPhotoMode(bool photoMode) { m_photoMode = photoMode; }
    // The desktop's selection colour; the core knows no palette, so it starts with a plain blue.
    // The page's dark variant, for a desktop with a dark look; the style sheet holds both.
    bool darkAppearance() const { return m_darkAppearance; }
    void setDarkAppearance(bool dark) { m_darkAppearance = dark; }
    QColor hoverColour() const { return m_hoverColour; }
    void setHoverColour(const QColor &colour) { m_hoverColour = colour; }

    // A single article from one of the photo sites gets the dark photo page.
    static bool isPhotoLink(const QString &link);
    // 500px summaries already show the large picture and pass unchanged.
    static bool is500pxLink(const QString &link);

private:
    void decidePhotoMode();
    qsizetype cap() const;
    QString head(const QString &script, qsizetype articleCount) const;
    double articleLength() const;

    FeedLibrary &m_feedLibrary;
    Defaults &m_defaults;
    TreeNodeList m_items;
    int m_displayMode = TileMode;
    int m_sortMethod = 1;
    int m_filterMethod = 0;
    int m_offset = 0;
    bool m_photoMode = false;
    QColor m_hoverColour = QColor(0x38, 0x75, 0xd7);
    bool m_darkAppearance = false;
};

// The program's icon as the desktop shows it: drawn here, set as every window's icon and, where the
// launcher listens, accompanied by the unread count. It shows what it is given; it never counts.
#pragma once

#include "platform/QBDockTile.h"

#include <QImage>
#include <functional>

class WindowIconTile : public QBDockTile
{
public:
    // Sets the plain icon as the application's window icon.
    WindowIconTile();

    // Where the count comes from, e.g. the library's total of unread articles.
    void setUnreadCount(std::function<int()> unreadCount);

    QImage dockImage() const override { return m_plainIcon; }
    void setIcon(const QImage &image) override;
    void resetIcon() override;

    // The side of the icon the tile starts from and the badge is drawn on.
    static constexpr int iconSize = 128;

private:
    void sendLauncherCount() const;

    QImage m_plainIcon;
    std::function<int()> m_unreadCount;
};

#include "app/WindowIconTile.h"

#include "fetch/QBDockBadge.h"

#include <QApplication>
#include <QIcon>
#include <gtest/gtest.h>

namespace {

QImage windowIconImage()
{
    return QApplication::windowIcon().pixmap(128, 128).toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

TEST(WindowIconTile, DrawsItsIconAndSwapsTheWindowIconBackAndForth)
{
    WindowIconTile tile;
    const QImage plain = tile.dockImage();
    ASSERT_EQ(plain.size(), QSize(128, 128));
    // Something is drawn, and not over the whole square: the corners stay clear.
    EXPECT_EQ(qAlpha(plain.pixel(0, 0)), 0);
    EXPECT_GT(qAlpha(plain.pixel(64, 110)), 0);
    EXPECT_EQ(windowIconImage(), plain.convertToFormat(QImage::Format_ARGB32));

    int asked = 0;
    tile.setUnreadCount([&asked] {
        ++asked;
        return 7;
    });
    const QImage badged = QBDockBadge::image(tile.dockImage(), 7);
    tile.setIcon(badged);
    EXPECT_EQ(windowIconImage(), badged.convertToFormat(QImage::Format_ARGB32));
    EXPECT_NE(windowIconImage(), plain.convertToFormat(QImage::Format_ARGB32));
    EXPECT_EQ(tile.dockImage(), plain);

    tile.resetIcon();
    EXPECT_EQ(windowIconImage(), plain.convertToFormat(QImage::Format_ARGB32));
}

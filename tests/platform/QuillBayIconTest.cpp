#include "platform/QuillBayIcon.h"

#include <QImage>
#include <gtest/gtest.h>

// The installed icon files are committed; they must be what the program draws, or the desktop and the
// program's own windows would show two different icons.
TEST(QuillBayIcon, TheCommittedIconFilesAreTheProgramsOwnDrawing)
{
    for (const int size : {16, 32, 48, 64, 128, 256}) {
        const QImage committed(
            QStringLiteral(QB_TEST_DATA "/../../packaging/icons/quillbay-%1.png").arg(size));
        ASSERT_FALSE(committed.isNull()) << size;
        const QImage drawn = QuillBayIcon::draw(size);
        ASSERT_EQ(drawn.size(), QSize(size, size));
        EXPECT_EQ(drawn.convertToFormat(QImage::Format_ARGB32),
                  committed.convertToFormat(QImage::Format_ARGB32))
            << "redraw them: cmake --build build --target make-icons && build/packaging/make-icons "
               "packaging/icons";
    }
    const QImage icon = QuillBayIcon::draw(128);
    EXPECT_EQ(qAlpha(icon.pixel(0, 0)), 0) << "the corners stay clear";
    EXPECT_EQ(qAlpha(icon.pixel(64, 64)), 255);
}

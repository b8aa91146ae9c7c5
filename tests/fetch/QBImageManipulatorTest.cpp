#include "fetch/QBImageManipulator.h"

#include "CentredGreen.h"
#include "TestFiles.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {
bool isGreenish(const QColor &colour)
{
    return colour.green() > 200 && colour.red() < 60 && colour.blue() < 60;
}

// Noise compresses badly, so the quality setting shows in the file's size.
QImage noise(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    quint32 seed = 12345;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            seed = seed * 1103515245u + 12345u;
            image.setPixel(x, y, 0xff000000u | (seed >> 8));
        }
    return image;
}

} // namespace

TEST(ImageManipulator, SquareThumbnailsCropTheCentredSquareAndScaleItToFillTheBound)
{
    struct Case
    {
        QSize picture;
        int bound;
        int side;
    };
    // The thumbnail worker's tests show wide pictures above and below the bound; here the other edges.
    for (const Case &c : {Case{{120, 360}, 280, 280}, Case{{501, 500}, 280, 280}}) {
        QBImageManipulator manipulator(centredGreen(c.picture.width(), c.picture.height()));
        manipulator.setSquare(true);
        manipulator.scaleImageMaxWidth(c.bound, c.bound);
        const QImage result = manipulator.image();
        SCOPED_TRACE(testing::Message() << c.picture.width() << "x" << c.picture.height());
        ASSERT_EQ(result.size(), QSize(c.side, c.side));
        const int last = c.side - 2;
        for (const QPoint &point : {QPoint(1, 1), QPoint(last, 1), QPoint(1, last), QPoint(last, last),
                                    QPoint(c.side / 2, c.side / 2)})
            EXPECT_TRUE(isGreenish(result.pixelColor(point)))
                << "only the centred square is drawn; at " << point.x() << "," << point.y() << " found "
                << result.pixelColor(point).name().toStdString();
    }
    for (int width = 281; width < 3000; width += 7) {
        QBImageManipulator manipulator(QImage(width, 100, QImage::Format_RGB32));
        manipulator.setSquare(true);
        manipulator.scaleImageMaxWidth(280, 280);
        ASSERT_EQ(manipulator.image().width(), 280)
            << "every picture larger than the bound fills it: " << width;
    }
}

TEST(ImageManipulator, PlainScalingKeepsTheProportionsTruncatesAndNeverEnlarges)
{

    QBImageManipulator truncated(QImage(333, 100, QImage::Format_RGB32));
    truncated.scaleImageMaxWidth(100, 100);
    EXPECT_EQ(truncated.image().size(), QSize(100, 30)) << "30.03 pixels high truncates to 30";

    QBImageManipulator tall(QImage(300, 900, QImage::Format_RGB32));
    EXPECT_TRUE(tall.isImagePortrait());
    tall.scaleImageMaxWidth(280, 280);
    EXPECT_EQ(tall.image().size(), QSize(93, 280)) << "the tighter bound decides";

    QBImageManipulator small(QImage(60, 40, QImage::Format_RGB32));
    small.scaleImageMaxWidth(280, 280);
    EXPECT_EQ(small.image().size(), QSize(60, 40));

    QBImageManipulator squareish(QImage(50, 50, QImage::Format_RGB32));
    EXPECT_FALSE(squareish.isImagePortrait()) << "portrait means strictly taller than wide";
}

TEST(ImageManipulator, SavingWritesABaselineJPEGOnWhiteAtTheGivenQualityReplacingAnyFile)
{
    QTemporaryDir folder;
    const QString path = folder.filePath("thumb.jpg");
    writeFile(path, QByteArray(200000, 'x'));
    QBImageManipulator manipulator(noise(280, 280));
    ASSERT_TRUE(manipulator.saveImageToLocation(path, 0.75f));
    const QByteArray good = fileBytes(path);
    ASSERT_TRUE(good.startsWith("\xff\xd8")) << "a JPEG file";
    EXPECT_LT(good.size(), 200000) << "the old file's bytes are gone";
    EXPECT_TRUE(good.contains("\xff\xc0")) << "baseline frame";
    EXPECT_FALSE(good.contains("\xff\xc2")) << "no progressive frame";

    const QString poorPath = folder.filePath("poor.jpg");
    ASSERT_TRUE(manipulator.saveImageToLocation(poorPath, 0.1f));
    EXPECT_LT(fileBytes(poorPath).size() * 2, good.size()) << "the quality level reaches the encoder";

    EXPECT_FALSE(manipulator.saveImageToLocation(folder.filePath("missing/folder/t.jpg"), 0.75f));
    EXPECT_FALSE(QBImageManipulator().saveImageToLocation(folder.filePath("empty.jpg"), 0.75f));

    QImage clear(100, 100, QImage::Format_ARGB32);
    clear.fill(Qt::transparent);
    ASSERT_TRUE(QBImageManipulator(clear).saveImageToLocation(folder.filePath("clear.jpg"), 0.75f));
    EXPECT_GT(QImage(folder.filePath("clear.jpg")).pixelColor(50, 50).lightness(), 240) << "saved on white";
}

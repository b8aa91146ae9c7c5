// One picture on its way to a thumbnail: loaded from an address, scaled (optionally to a centred square)
// and written as JPEG. It never enlarges a picture beyond its bound and never touches the main thread's
// objects, so the thumbnail worker may use it freely.
#pragma once

#include "fetch/BlockingTransfer.h"

#include <QImage>
#include <QString>
#include <QStringList>
#include <QUrl>

class QBImageManipulator
{
public:
    QBImageManipulator() = default;
    explicit QBImageManipulator(const QImage &image);

    // A picture file larger than this is not fetched whole, and one of more pixels than this is not
    // decoded at full size: a thumbnail never needs either, and a hostile server could send both.
    static constexpr qint64 largestPictureBytes = 16 * 1024 * 1024;
    static constexpr qint64 largestPixelCount = 40 * 1000 * 1000;

    // Fetches the whole resource and decodes it; bytes that decode to no picture give the "dummy-image"
    // picture instead. False, with the image left as it was, when nothing could be fetched.
    bool loadImageFromURL(const QUrl &url, const BlockingTransfer::StopRequest &stopRequested = {});
    // Decodes a picture file's bytes within largestPixelCount; a null image when they are none.
    static QImage decodedPicture(const QByteArray &data);

    // The factor the next scaling applies: the tightest of the two bounds, never above 1.
    float scaleFactor() const;
    bool isImagePortrait() const;
    void scaleImageMaxWidth(int maxWidth, int maxHeight);
    bool saveImageToLocation(const QString &path, float atQualityLevel) const;

    QImage image() const { return m_image; }
    void setImage(const QImage &image) { m_image = image; }
    bool square() const { return m_square; }
    void setSquare(bool square) { m_square = square; }
    float maxPixelsWide() const { return m_maxPixelsWide; }
    float maxPixelsHigh() const { return m_maxPixelsHigh; }

    static QStringList imageTypes();
    // Stands in for a picture whose bytes could not be decoded.
    static QImage dummyImage();

private:
    QRect centredSquare() const;

    QImage m_image;
    float m_maxPixelsWide = 640;
    float m_maxPixelsHigh = 480;
    bool m_square = false;
};

#include "fetch/QBImageManipulator.h"

#include "platform/Resources.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <algorithm>
#include <cmath>

QBImageManipulator::QBImageManipulator(const QImage &image) : m_image(image) {}

bool QBImageManipulator::loadImageFromURL(const QUrl &url, const BlockingTransfer::StopRequest &stopRequested)
{
    const std::optional<QByteArray> data =
        BlockingTransfer::dataFromURL(url, largestPictureBytes, stopRequested);
    if (!data)
        return false;
    const QImage decoded = decodedPicture(*data);
    m_image = decoded.isNull() ? dummyImage() : decoded;
    return true;
}

// A JPEG decodes straight to a smaller size at little cost; other formats would decode whole first, so
// an oversized one is refused rather than allocated.
QImage QBImageManipulator::decodedPicture(const QByteArray &data)
{
    QBuffer buffer;
    buffer.setData(data);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (!size.isValid())
        return reader.read();
    const qint64 pixels = qint64(size.width()) * size.height();
    if (pixels > largestPixelCount) {
        if (reader.format() != "jpeg")
            return {};
        const double shrink = std::sqrt(double(largestPixelCount) / double(pixels));
        reader.setScaledSize(
            QSize(std::max(1, int(size.width() * shrink)), std::max(1, int(size.height() * shrink))));
    }
    return reader.read();
}

float QBImageManipulator::scaleFactor() const
{
    if (m_image.isNull())
        return 1.0f;
    return std::min(
        {m_maxPixelsWide / float(m_image.width()), m_maxPixelsHigh / float(m_image.height()), 1.0f});
}

bool QBImageManipulator::isImagePortrait() const
{
    return m_image.height() > m_image.width();
}

QRect QBImageManipulator::centredSquare() const
{
    const int edge = std::min(m_image.width(), m_image.height());
    if (isImagePortrait())
        return QRect(0, m_image.height() / 2 - edge / 2, edge, edge);
    return QRect(m_image.width() / 2 - edge / 2, 0, edge, edge);
}

namespace {
// Truncates a scaled length, allowing for the rounding of the float product: 280 / 501 * 501 must give
// 280, not 279.
int truncated(float length)
{
    return int(length + 1e-3f);
}
} // namespace

void QBImageManipulator::scaleImageMaxWidth(int maxWidth, int maxHeight)
{
    m_maxPixelsWide = float(maxWidth);
    m_maxPixelsHigh = float(maxHeight);
    if (m_image.isNull())
        return;
    const float factor = scaleFactor();
    QSize size(truncated(float(m_image.width()) * factor), truncated(float(m_image.height()) * factor));
    QRect source = m_image.rect();
    if (m_square) {
        const int side = truncated(factor * float(std::max(m_image.width(), m_image.height())));
        size = QSize(side, side);
        source = centredSquare();
    }
    if (size.isEmpty()) {
        m_image = QImage();
        return;
    }
    QImage scaled(size, QImage::Format_ARGB32_Premultiplied);
    scaled.fill(Qt::transparent);
    QPainter painter(&scaled);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(scaled.rect(), m_image, source);
    painter.end();
    m_image = scaled;
}

bool QBImageManipulator::saveImageToLocation(const QString &path, float atQualityLevel) const
{
    if (m_image.isNull())
        return false;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QImageWriter writer(&file, "jpeg");
    writer.setQuality(int(atQualityLevel * 100.0f + 0.5f));
    writer.setProgressiveScanWrite(false);
    // JPEG holds no transparency: a transparent picture is laid on white rather than on black.
    QImage flattened(m_image.size(), QImage::Format_RGB32);
    flattened.fill(Qt::white);
    QPainter painter(&flattened);
    painter.drawImage(0, 0, m_image);
    painter.end();
    return writer.write(flattened);
}

QStringList QBImageManipulator::imageTypes()
{
    return {QStringLiteral(".jpg"), QStringLiteral(".png"), QStringLiteral(".tif"), QStringLiteral(".tiff"),
            QStringLiteral(".psd"), QStringLiteral(".gif"), QStringLiteral(".jpeg")};
}

QImage QBImageManipulator::dummyImage()
{
    const QImage shipped(Resources::path(QStringLiteral("dummy-image"), QStringLiteral("png")));
    if (!shipped.isNull())
        return shipped;
    // Without the shipped picture, a plain grey tile of the size the page shows thumbnails at.
    QImage drawn(140, 140, QImage::Format_RGB32);
    drawn.fill(QColor(0xd8, 0xd8, 0xd8));
    return drawn;
}

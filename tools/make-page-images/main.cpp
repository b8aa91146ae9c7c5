// Draws the headline page's images (status icons, group icons, placeholders, the show-more button) at
// twice the size the page shows them, and optionally the sample feeds' pictures; it never reads an image.
// Re-run: cmake --build build --target make-page-images && build/tools/make-page-images/make-page-images
//         resources [--samples docs/sample-feeds/images]

#include <QDir>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QRandomGenerator>
#include <QTextStream>
#include <functional>

namespace {

// The tile colours of the three article states; the list icons share them so both modes read alike.
const QColor newGreen(0x8c, 0xbe, 0x3d);
const QColor unreadBlue(0x00, 0xa0, 0xda);
const QColor readGrey(0xaa, 0xaa, 0xaa);
const QColor ink(0x3b, 0x45, 0x4f);

using Drawing = std::function<void(QPainter &, qreal side)>;

QImage canvas(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

bool save(const QImage &image, const QString &path)
{
    if (!image.save(path, "PNG")) {
        QTextStream(stderr) << "could not write " << path << "\n";
        return false;
    }
    return true;
}

// Every icon is drawn on a 32-unit grid and scaled to its pixel size, so shapes stay in proportion.
QImage squareIcon(int pixels, const Drawing &draw)
{
    QImage image = canvas(pixels, pixels);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / 32.0, pixels / 32.0);
    draw(painter, 32.0);
    return image;
}

void drawSparkle(QPainter &p, QPointF centre, qreal radius, const QColor &colour)
{
    QPainterPath star;
    for (int i = 0; i < 8; ++i) {
        const qreal r = (i % 2 == 0) ? radius : radius * 0.38;
        const qreal angle = i * M_PI / 4 - M_PI / 2;
        const QPointF point = centre + QPointF(std::cos(angle) * r, std::sin(angle) * r);
        i == 0 ? star.moveTo(point) : star.lineTo(point);
    }
    star.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawPath(star);
}

void drawDot(QPainter &p, QPointF centre, qreal radius, const QColor &colour)
{
    QRadialGradient shade(centre - QPointF(radius * 0.35, radius * 0.35), radius * 1.4);
    shade.setColorAt(0, colour.lighter(118));
    shade.setColorAt(1, colour.darker(108));
    p.setPen(QPen(colour.darker(125), 1.2));
    p.setBrush(shade);
    p.drawEllipse(centre, radius, radius);
}

void drawNew(QPainter &p, qreal)
{
    drawDot(p, {16, 16}, 13.5, newGreen);
    drawSparkle(p, {16, 16}, 9.5, Qt::white);
}

void drawUnread(QPainter &p, qreal)
{
    drawDot(p, {16, 16}, 12.5, unreadBlue);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, 90));
    p.drawEllipse(QPointF(12.5, 12.5), 3.5, 3.5);
}

void drawRead(QPainter &p, qreal)
{
    p.setPen(QPen(readGrey, 2.6));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QPointF(16, 16), 9.5, 9.5);
    QPainterPath tick;
    tick.moveTo(11.5, 16.5);
    tick.lineTo(14.8, 19.6);
    tick.lineTo(20.8, 12.6);
    p.setPen(QPen(readGrey, 2.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawPath(tick);
}

// An arrow leaving a box: "open the web page".
void drawFollowArrow(QPainter &p, const QColor &colour, qreal width)
{
    QPainterPath box;
    box.moveTo(15, 7);
    box.lineTo(9, 7);
    box.quadTo(6, 7, 6, 10);
    box.lineTo(6, 23);
    box.quadTo(6, 26, 9, 26);
    box.lineTo(22, 26);
    box.quadTo(25, 26, 25, 23);
    box.lineTo(25, 17);
    QPen pen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    p.drawPath(box);
    QPainterPath arrow;
    arrow.moveTo(14, 18);
    arrow.lineTo(26, 6);
    arrow.moveTo(18.5, 6);
    arrow.lineTo(26, 6);
    arrow.lineTo(26, 13.5);
    p.drawPath(arrow);
}

void drawFollowLink(QPainter &p, qreal)
{
    drawFollowArrow(p, unreadBlue.darker(115), 2.6);
}

// Tile badges sit on photographs, so they carry a white rim and a soft shadow.
void drawBadgeBase(QPainter &p, const QColor &colour)
{
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0, 0, 0, 70));
    p.drawEllipse(QPointF(16, 17.2), 13, 13);
    p.setBrush(Qt::white);
    p.drawEllipse(QPointF(16, 16), 12.6, 12.6);
    drawDot(p, {16, 16}, 10, colour);
}

void drawTileNew(QPainter &p, qreal)
{
    drawBadgeBase(p, newGreen);
    drawSparkle(p, {16, 16}, 7, Qt::white);
}

void drawTileUnread(QPainter &p, qreal)
{
    drawBadgeBase(p, unreadBlue);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, 110));
    p.drawEllipse(QPointF(13, 13), 3, 3);
}

void drawTileFollowLink(QPainter &p, qreal)
{
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0, 0, 0, 70));
    p.drawRoundedRect(QRectF(2, 3.2, 28, 28), 8, 8);
    p.setBrush(QColor(255, 255, 255, 235));
    p.drawRoundedRect(QRectF(2, 2, 28, 28), 8, 8);
    p.save();
    p.translate(16, 16);
    p.scale(0.72, 0.72);
    p.translate(-16, -16);
    drawFollowArrow(p, ink, 3.2);
    p.restore();
}

void drawFeed(QPainter &p, qreal)
{
    QLinearGradient orange(0, 0, 0, 32);
    orange.setColorAt(0, QColor(0xf7, 0x9a, 0x3e));
    orange.setColorAt(1, QColor(0xe2, 0x6a, 0x1b));
    p.setPen(Qt::NoPen);
    p.setBrush(orange);
    p.drawRoundedRect(QRectF(1, 1, 30, 30), 7, 7);
    p.setBrush(Qt::white);
    p.drawEllipse(QPointF(9.5, 22.5), 3.2, 3.2);
    QPen arc(Qt::white, 3.6, Qt::SolidLine, Qt::RoundCap);
    p.setPen(arc);
    p.setBrush(Qt::NoBrush);
    p.drawArc(QRectF(6.3 - 10, 25.7 - 10, 20, 20), 0, 90 * 16);
    p.drawArc(QRectF(6.3 - 17.5, 25.7 - 17.5, 35, 35), 0, 90 * 16);
}

void drawCalendar(QPainter &p, qreal)
{
    const QRectF page(4, 6, 24, 23);
    p.setPen(QPen(ink.lighter(130), 1.2));
    p.setBrush(Qt::white);
    p.drawRoundedRect(page, 3.5, 3.5);
    QPainterPath band;
    band.addRoundedRect(QRectF(4, 6, 24, 8), 3.5, 3.5);
    band.addRect(QRectF(4, 10, 24, 4));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xe0, 0x4f, 0x4f));
    p.drawPath(band.simplified());
    p.setBrush(ink.lighter(120));
    p.drawRoundedRect(QRectF(9, 3, 3, 6), 1.5, 1.5);
    p.drawRoundedRect(QRectF(20, 3, 3, 6), 1.5, 1.5);
    p.setBrush(ink.lighter(150));
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            p.drawRect(QRectF(7.5 + column * 4.6, 16.5 + row * 3.9, 2.6, 2.4));
        }
    }
}

// Three stacked bars in the state colours: "grouped by read state".
void drawState(QPainter &p, qreal)
{
    const QColor colours[] = {newGreen, unreadBlue, readGrey};
    for (int i = 0; i < 3; ++i) {
        const qreal y = 5 + i * 8.5;
        drawDot(p, {8, y + 2.5}, 3.6, colours[i]);
        p.setPen(Qt::NoPen);
        p.setBrush(ink.lighter(100 + i * 35));
        p.drawRoundedRect(QRectF(14, y + 0.5, 14, 4), 2, 2);
    }
}

void drawLandscapeGlyph(QPainter &p, const QRectF &frame, const QColor &hill, const QColor &sun)
{
    p.setPen(Qt::NoPen);
    p.setBrush(sun);
    p.drawEllipse(QPointF(frame.left() + frame.width() * 0.7, frame.top() + frame.height() * 0.3),
                  frame.width() * 0.1, frame.width() * 0.1);
    QPainterPath hills;
    hills.moveTo(frame.left(), frame.bottom());
    hills.lineTo(frame.left(), frame.top() + frame.height() * 0.75);
    hills.lineTo(frame.left() + frame.width() * 0.35, frame.top() + frame.height() * 0.42);
    hills.lineTo(frame.left() + frame.width() * 0.58, frame.top() + frame.height() * 0.66);
    hills.lineTo(frame.left() + frame.width() * 0.72, frame.top() + frame.height() * 0.54);
    hills.lineTo(frame.right(), frame.top() + frame.height() * 0.8);
    hills.lineTo(frame.right(), frame.bottom());
    hills.closeSubpath();
    p.setBrush(hill);
    p.drawPath(hills);
}

void drawPhotoMode(QPainter &p, qreal)
{
    const QRectF frame(3, 6, 26, 20);
    QPainterPath clip;
    clip.addRoundedRect(frame, 4, 4);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x5d, 0xa9, 0xd6));
    p.drawPath(clip);
    p.save();
    p.setClipPath(clip);
    drawLandscapeGlyph(p, frame, QColor(0x4c, 0x8b, 0x3a), QColor(0xff, 0xd5, 0x4f));
    p.restore();
    p.setPen(QPen(Qt::white, 1.6));
    p.setBrush(Qt::NoBrush);
    p.drawRoundedRect(frame.adjusted(0.8, 0.8, -0.8, -0.8), 3.4, 3.4);
}

QImage dummyImage(int pixels)
{
    QImage image = canvas(pixels, pixels);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient wash(0, 0, 0, pixels);
    wash.setColorAt(0, QColor(0xe9, 0xec, 0xef));
    wash.setColorAt(1, QColor(0xdb, 0xe0, 0xe5));
    p.fillRect(image.rect(), wash);
    const qreal side = pixels * 0.36;
    const QRectF frame((pixels - side) / 2, (pixels - side * 0.8) / 2, side, side * 0.8);
    QPainterPath clip;
    clip.addRoundedRect(frame, side * 0.1, side * 0.1);
    p.setClipPath(clip);
    drawLandscapeGlyph(p, frame, QColor(0xc4, 0xcb, 0xd3), QColor(0xcd, 0xd3, 0xda));
    p.setClipping(false);
    p.setPen(QPen(QColor(0xc4, 0xcb, 0xd3), pixels / 70.0));
    p.setBrush(Qt::NoBrush);
    p.drawPath(clip);
    return image;
}

QImage showMoreButton(int width, int height)
{
    QImage image = canvas(width, height);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    const QRectF pill(1, 1, width - 2, height - 2);
    QLinearGradient fill(0, 0, 0, height);
    fill.setColorAt(0, QColor(0x1a, 0xac, 0xe4));
    fill.setColorAt(1, QColor(0x00, 0x8c, 0xc2));
    p.setPen(QPen(QColor(0x00, 0x7a, 0xab), height / 30.0));
    p.setBrush(fill);
    p.drawRoundedRect(pill, height / 2.0 - 1, height / 2.0 - 1);

    QFont font(QStringLiteral("DejaVu Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(qRound(height * 0.4));
    font.setWeight(QFont::DemiBold);
    p.setFont(font);
    p.setPen(Qt::white);
    const QRectF label = pill.adjusted(0, 0, -height * 0.55, 0);
    p.drawText(label, Qt::AlignCenter, QStringLiteral("Show more"));

    const qreal cx = width - height * 0.9;
    const qreal cy = height / 2.0;
    const qreal arm = height * 0.14;
    QPainterPath chevron;
    chevron.moveTo(cx - arm * 1.3, cy - arm * 0.6);
    chevron.lineTo(cx, cy + arm * 0.7);
    chevron.lineTo(cx + arm * 1.3, cy - arm * 0.6);
    p.setPen(QPen(Qt::white, height / 12.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(chevron);
    return image;
}

bool writePageImages(const QDir &folder)
{
    struct Icon
    {
        const char *name;
        int pixels;
        Drawing draw;
    };
    const Icon icons[] = {
        {"new.png", 32, drawNew},
        {"unread.png", 32, drawUnread},
        {"read.png", 32, drawRead},
        {"followlink.png", 32, drawFollowLink},
        {"qb-new-unread.png", 48, drawTileNew},
        {"qb-unread.png", 48, drawTileUnread},
        {"qb-followlink.png", 40, drawTileFollowLink},
        {"feed32.png", 32, drawFeed},
        {"Calendar16.png", 32, drawCalendar},
        {"state.png", 32, drawState},
        {"photomode.png", 40, drawPhotoMode},
    };
    bool ok = true;
    for (const Icon &icon : icons) {
        ok &= save(squareIcon(icon.pixels, icon.draw), folder.filePath(QLatin1String(icon.name)));
    }
    ok &= save(dummyImage(280), folder.filePath(QStringLiteral("dummy-image.png")));
    ok &= save(showMoreButton(298, 60), folder.filePath(QStringLiteral("showmorebutton.png")));
    return ok;
}

// Sample pictures for the demonstration feeds: calm scenes from gradients and hills, seeded so that
// every run draws the same ones.
QImage samplePicture(int index)
{
    struct Scene
    {
        QColor skyTop, skyBottom, sun, nearHill, farHill;
    };
    const Scene scenes[] = {
        {QColor(0xff, 0x9a, 0x6b), QColor(0xff, 0xe0, 0xa3), QColor(0xff, 0xf4, 0xd6),
         QColor(0x5a, 0x3d, 0x5c), QColor(0xa8, 0x6a, 0x7c)},
        {QColor(0x4f, 0x9b, 0xd9), QColor(0xc9, 0xe8, 0xf7), QColor(0xff, 0xfb, 0xe6),
         QColor(0x2f, 0x6b, 0x3f), QColor(0x7f, 0xae, 0x8a)},
        {QColor(0x14, 0x1e, 0x3c), QColor(0x3d, 0x4f, 0x8a), QColor(0xf3, 0xf1, 0xd8),
         QColor(0x0d, 0x14, 0x26), QColor(0x27, 0x33, 0x5c)},
        {QColor(0x8f, 0xc9, 0xc4), QColor(0xe6, 0xf4, 0xee), QColor(0xff, 0xff, 0xff),
         QColor(0x1f, 0x5e, 0x73), QColor(0x57, 0x97, 0xa3)},
        {QColor(0xd9, 0x7b, 0x4a), QColor(0xf6, 0xd2, 0x9c), QColor(0xff, 0xee, 0xc4),
         QColor(0x6b, 0x4a, 0x2b), QColor(0xb0, 0x7a, 0x4c)},
        {QColor(0x9d, 0xb7, 0xe0), QColor(0xf2, 0xf0, 0xf7), QColor(0xff, 0xff, 0xff),
         QColor(0x5b, 0x6f, 0x8f), QColor(0xa9, 0xb6, 0xcf)},
    };
    const Scene &scene = scenes[index % 6];
    const int width = 640;
    const int height = 480;
    QImage image(width, height, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, height);
    sky.setColorAt(0, scene.skyTop);
    sky.setColorAt(0.7, scene.skyBottom);
    p.fillRect(image.rect(), sky);
    QRadialGradient glow(QPointF(width * (0.3 + 0.08 * index), height * 0.38), 90);
    glow.setColorAt(0, scene.sun);
    glow.setColorAt(0.45, scene.sun);
    glow.setColorAt(1, QColor(255, 255, 255, 0));
    p.fillRect(image.rect(), glow);

    QRandomGenerator random(1000 + index);
    const QColor layers[] = {scene.farHill, scene.nearHill};
    for (int layer = 0; layer < 2; ++layer) {
        const qreal base = height * (0.6 + 0.16 * layer);
        QPainterPath hills;
        hills.moveTo(0, height);
        hills.lineTo(0, base);
        for (int x = 0; x <= width; x += 80) {
            const qreal y = base - random.bounded(60) + 10 * layer;
            hills.quadTo(x + 40, y - 30, x + 80, y);
        }
        hills.lineTo(width, height);
        hills.closeSubpath();
        p.setPen(Qt::NoPen);
        p.setBrush(layers[layer]);
        p.drawPath(hills);
    }
    return image;
}

bool writeSamplePictures(const QDir &folder)
{
    bool ok = true;
    for (int i = 0; i < 6; ++i) {
        const QString path = folder.filePath(QStringLiteral("scene-%1.jpg").arg(i + 1));
        ok &= samplePicture(i).save(path, "JPEG", 88);
    }
    return ok;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 2 && !(arguments.size() == 4 && arguments.at(2) == QLatin1String("--samples"))) {
        QTextStream(stderr) << "usage: make-page-images RESOURCE_DIR [--samples PICTURE_DIR]\n";
        return 2;
    }
    QDir resources(arguments.at(1));
    bool ok = resources.mkpath(QStringLiteral(".")) && writePageImages(resources);
    if (arguments.size() == 4) {
        QDir samples(arguments.at(3));
        ok = ok && samples.mkpath(QStringLiteral(".")) && writeSamplePictures(samples);
    }
    return ok ? 0 : 1;
}

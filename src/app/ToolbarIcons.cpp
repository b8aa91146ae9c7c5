#include "app/ToolbarIcons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>

namespace {

// Every picture is drawn on a 32-unit grid.
constexpr qreal grid = 32;

void drawList(QPainter &painter)
{
    for (int row = 0; row < 3; ++row) {
        const int y = 8 + row * 7;
        painter.drawEllipse(QPointF(7, y), 1.5, 1.5);
        painter.drawLine(QPointF(12, y), QPointF(26, y));
    }
}

void drawTiles(QPainter &painter)
{
    for (int column = 0; column < 2; ++column)
        for (int row = 0; row < 2; ++row)
            painter.drawRoundedRect(QRectF(6 + column * 11, 6 + row * 11, 9, 9), 1.5, 1.5);
}

void drawSideBar(QPainter &painter, bool shown)
{
    painter.drawRoundedRect(QRectF(4, 7, 24, 18), 2, 2);
    painter.drawLine(QPointF(20, 7), QPointF(20, 25));
    const qreal tip = shown ? 15 : 11;
    const qreal back = shown ? 11 : 15;
    painter.drawPolyline(QPolygonF({QPointF(back, 12), QPointF(tip, 16), QPointF(back, 20)}));
}

// A box with an arrow leaving it: the article's actions (open, share, keep).
void drawAction(QPainter &painter)
{
    painter.drawPolyline(QPolygonF({QPointF(12, 12), QPointF(8, 12), QPointF(8, 26), QPointF(24, 26),
                                    QPointF(24, 12), QPointF(20, 12)}));
    painter.drawLine(QPointF(16, 5), QPointF(16, 19));
    painter.drawPolyline(QPolygonF({QPointF(12, 9), QPointF(16, 5), QPointF(20, 9)}));
}

void drawNamed(QPainter &painter, const QString &name)
{
    if (name == QLatin1String("list"))
        drawList(painter);
    else if (name == QLatin1String("tiles"))
        drawTiles(painter);
    else if (name == QLatin1String("action"))
        drawAction(painter);
    else if (name == QLatin1String("expand") || name == QLatin1String("collapse"))
        drawSideBar(painter, name == QLatin1String("collapse"));
    else {
        painter.drawLine(QPointF(9, 16), QPointF(23, 16));
        if (name == QLatin1String("add"))
            painter.drawLine(QPointF(16, 9), QPointF(16, 23));
    }
}

// Draws the picture anew for every size and screen density it is asked for, so that it is as sharp at
// 200 % as at 100 %, rather than scaling one bitmap.
class DrawnIconEngine : public QIconEngine
{
public:
    DrawnIconEngine(const QString &name, const QColor &colour) : m_name(name), m_colour(colour) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        QColor colour = m_colour;
        if (mode == QIcon::Disabled)
            colour.setAlphaF(colour.alphaF() * 0.4);
        painter->setPen(QPen(colour, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const qreal side = qMin(rect.width(), rect.height());
        painter->translate(rect.x() + (rect.width() - side) / 2.0, rect.y() + (rect.height() - side) / 2.0);
        painter->scale(side / grid, side / grid);
        drawNamed(*painter, m_name);
        painter->restore();
    }

    // Qt asks for the size in device pixels and sets the density itself.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override { return size; }
    QIconEngine *clone() const override { return new DrawnIconEngine(m_name, m_colour); }
    QString key() const override { return QStringLiteral("QuillBayDrawnIcon"); }

private:
    QString m_name;
    QColor m_colour;
};

} // namespace

QIcon ToolbarIcons::icon(const QString &name, const QColor &colour)
{
    return QIcon(new DrawnIconEngine(name, colour));
}

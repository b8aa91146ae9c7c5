#include "app/NewsBinDelegate.h"

#include "app/NewsBinModel.h"

#include <QApplication>
#include <QPainter>
#include <algorithm>

namespace {
constexpr int margin = 6;
}

NewsBinDelegate::NewsBinDelegate(QObject *parent) : QStyledItemDelegate(parent) {}

void NewsBinDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, option.widget);

    const bool selected = option.state & QStyle::State_Selected;
    const QRect area = option.rect.adjusted(margin, 2, -margin, -2);
    const QRect titleArea(area.left(), area.top(), area.width(), area.height() / 2);
    const QRect subtitleArea(area.left(), titleArea.bottom() + 1, area.width(),
                             area.height() - titleArea.height());

    // Summaries may run over several lines; the row has room for one.
    const QString title = index.data(Qt::DisplayRole).toString().simplified();
    const QString subtitle = index.data(NewsBinModel::SubtitleRole).toString().simplified();

    painter->save();
    QFont titleFont = option.font;
    titleFont.setBold(true);
    painter->setFont(titleFont);
    painter->setPen(option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
    painter->drawText(titleArea, Qt::AlignLeft | Qt::AlignVCenter,
                      QFontMetrics(titleFont).elidedText(title, Qt::ElideRight, titleArea.width()));

    QFont subtitleFont = option.font;
    if (subtitleFont.pointSizeF() > 0)
        subtitleFont.setPointSizeF(subtitleFont.pointSizeF() * 0.85);
    else
        subtitleFont.setPixelSize(std::max(1, subtitleFont.pixelSize() * 85 / 100));
    painter->setFont(subtitleFont);
    painter->setPen(selected ? option.palette.color(QPalette::HighlightedText)
                             : option.palette.color(QPalette::Disabled, QPalette::Text));
    painter->drawText(subtitleArea, Qt::AlignLeft | Qt::AlignVCenter,
                      QFontMetrics(subtitleFont).elidedText(subtitle, Qt::ElideRight, subtitleArea.width()));
    painter->restore();
}

QSize NewsBinDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return QSize(QStyledItemDelegate::sizeHint(option, index).width(), NewsBinModel::RowHeight);
}

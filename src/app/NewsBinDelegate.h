// Draws a news-bin row as two lines: the article's title in the list font and, below it, a smaller
// grey subtitle, both elided to the row. It only paints; it never edits a row.
#pragma once

#include <QStyledItemDelegate>

class NewsBinDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit NewsBinDelegate(QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

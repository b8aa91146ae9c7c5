// Draws one source-list row (icon, title, failure mark, unread badge, new-articles dot, activity
// spinner) and edits its title in place. It reads rows only through the model's roles and never changes
// the library itself.
#pragma once

#include <QStyledItemDelegate>

class SourceListDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    static constexpr int SmallRowHeight = 20;
    static constexpr int LargeRowHeight = 38;
    static constexpr int SpinnerSpokes = 12;

    explicit SourceListDelegate(QObject *parent = nullptr);

    int rowHeight() const { return m_rowHeight; }
    void setRowHeight(int height) { m_rowHeight = height; }
    // 16 pixels in small rows, 32 in large ones.
    int iconExtent() const;

    // Which spoke of the activity indicator is brightest; the view moves it on while feeds download.
    int spinnerPhase() const { return m_spinnerPhase; }
    void advanceSpinner();

    // Where the parts of a row go, so that the editor covers exactly the drawn title.
    QRect iconRect(const QStyleOptionViewItem &option) const;
    QRect trailingRect(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    QRect titleRect(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    // Where the mark of a feed whose latest refresh failed goes; empty on other rows.
    QRect failureMarkRect(const QStyleOptionViewItem &option, const QModelIndex &index) const;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;
    // A row whose badge or spinner changes while it is being renamed keeps what the user typed.
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;

private:
    QFont titleFont(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    QFont badgeFont(const QStyleOptionViewItem &option) const;
    QString badgeText(const QModelIndex &index) const;
    int rightOfNextMark(const QStyleOptionViewItem &option, const QModelIndex &index, int marksOutside) const;
    QRect newDotRect(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void drawIcon(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void drawTitle(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void drawBadge(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void drawNewDot(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void drawFailureMark(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const;
    void drawSpinner(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;

    int m_rowHeight = LargeRowHeight;
    int m_spinnerPhase = 0;
};

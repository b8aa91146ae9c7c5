#include "app/SourceListDelegate.h"

#include "model/SourceListModel.h"
#include "model/TreeNode.h"

#include <QApplication>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

namespace {

constexpr int Margin = 4;
constexpr int Gap = 4;
constexpr int NewDotDiameter = 6;
constexpr int FailureMarkExtent = 12;
constexpr int SpinnerExtent = 16;
constexpr int BadgePadding = 6;

bool isSelected(const QStyleOptionViewItem &option)
{
    return option.state.testFlag(QStyle::State_Selected);
}

bool isDownloading(const QModelIndex &index)
{
    return index.data(SourceListModel::DownloadingRole).toBool();
}

QColor foreground(const QStyleOptionViewItem &option)
{
    return option.palette.color(isSelected(option) ? QPalette::HighlightedText : QPalette::Text);
}

// Between the list's text and its background, so that the badge reads on a light or a dark list alike.
QColor badgeColour(const QPalette &palette)
{
    const QColor text = palette.color(QPalette::Text);
    const QColor base = palette.color(QPalette::Base);
    const auto mix = [](int a, int b) { return (a * 45 + b * 55) / 100; };
    return QColor(mix(text.red(), base.red()), mix(text.green(), base.green()),
                  mix(text.blue(), base.blue()));
}

QRect centredSquare(int right, const QRect &row, int side)
{
    return QRect(right - side + 1, row.top() + (row.height() - side) / 2, side, side);
}

} // namespace

SourceListDelegate::SourceListDelegate(QObject *parent) : QStyledItemDelegate(parent) {}

int SourceListDelegate::iconExtent() const
{
    return m_rowHeight >= LargeRowHeight ? 32 : 16;
}

void SourceListDelegate::advanceSpinner()
{
    m_spinnerPhase = (m_spinnerPhase + 1) % SpinnerSpokes;
}

QFont SourceListDelegate::titleFont(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QFont font = option.font;
    if (index.data(SourceListModel::KindRole).toInt() == TreeNode::FolderKind)
        font.setBold(true);
    return font;
}

QFont SourceListDelegate::badgeFont(const QStyleOptionViewItem &option) const
{
    QFont font = option.font;
    font.setBold(true);
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * 0.85);
    return font;
}

QString SourceListDelegate::badgeText(const QModelIndex &index) const
{
    const QVariant count = index.data(SourceListModel::UnreadCountRole);
    return count.isValid() && count.toInt() > 0 ? QString::number(count.toInt()) : QString();
}

QRect SourceListDelegate::iconRect(const QStyleOptionViewItem &option) const
{
    const int extent = iconExtent();
    const QRect &row = option.rect;
    return QRect(row.left() + Margin / 2, row.top() + (row.height() - extent) / 2, extent, extent);
}

// The spinner while the feed downloads, else the unread badge; an empty rect at the right margin when
// the row shows neither.
QRect SourceListDelegate::trailingRect(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const QRect &row = option.rect;
    const int right = row.right() - Margin;
    if (isDownloading(index))
        return centredSquare(right, row, qMin(SpinnerExtent, row.height() - 4));
    const QString text = badgeText(index);
    if (text.isEmpty())
        return QRect(right + 1, row.center().y(), 0, 0);
    const QFontMetrics metrics(badgeFont(option));
    const int height = qMin(metrics.height() + 2, row.height() - 4);
    const int width = qMax(metrics.horizontalAdvance(text) + 2 * BadgePadding, height);
    return QRect(right - width + 1, row.top() + (row.height() - height) / 2, width, height);
}

// The marks sit at the row's right end: spinner or badge, then the new dot, then the failure mark, each
// just left of the nearest one shown, or at the right margin when none is.
int SourceListDelegate::rightOfNextMark(const QStyleOptionViewItem &option, const QModelIndex &index,
                                        int marksOutside) const
{
    const QRect trailing = trailingRect(option, index);
    QRect nearest = trailing;
    if (marksOutside > 1) {
        if (const QRect dot = newDotRect(option, index); dot.isValid())
            nearest = dot;
    }
    if (marksOutside > 2) {
        if (const QRect mark = failureMarkRect(option, index); mark.isValid())
            nearest = mark;
    }
    return nearest.isEmpty() ? nearest.left() - 1 : nearest.left() - Gap;
}

QRect SourceListDelegate::newDotRect(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    if (!index.data(SourceListModel::HasNewArticlesRole).toBool())
        return {};
    return centredSquare(rightOfNextMark(option, index, 1), option.rect, NewDotDiameter);
}

QRect SourceListDelegate::failureMarkRect(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    if (index.data(SourceListModel::FailureReasonRole).toString().isEmpty())
        return {};
    return centredSquare(rightOfNextMark(option, index, 2), option.rect,
                         qMin(FailureMarkExtent, option.rect.height() - 4));
}

QRect SourceListDelegate::titleRect(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const int left = iconRect(option).right() + 1 + Gap;
    const int right = rightOfNextMark(option, index, 3);
    return QRect(left, option.rect.top(), qMax(0, right - left + 1), option.rect.height());
}

void SourceListDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                               const QModelIndex &index) const
{
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QStyle *style = opt.widget ? opt.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &opt, painter, opt.widget);

    painter->save();
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform |
                            QPainter::TextAntialiasing);
    drawIcon(painter, opt, index);
    drawTitle(painter, opt, index);
    if (isDownloading(index))
        drawSpinner(painter, opt, index);
    else
        drawBadge(painter, opt, index);
    drawNewDot(painter, opt, index);
    drawFailureMark(painter, opt, index);
    painter->restore();
}

// Drawn into a rect in logical pixels, so that a sharper image shows its extra pixels on a
// high-density screen instead of being scaled down to the logical size first.
void SourceListDelegate::drawIcon(QPainter *painter, const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    const QImage image = index.data(Qt::DecorationRole).value<QImage>();
    if (!image.isNull())
        painter->drawImage(QRectF(iconRect(option)), image);
}

void SourceListDelegate::drawTitle(QPainter *painter, const QStyleOptionViewItem &option,
                                   const QModelIndex &index) const
{
    const QRect rect = titleRect(option, index);
    const QFont font = titleFont(option, index);
    const QString title = QFontMetrics(font).elidedText(option.text, Qt::ElideRight, rect.width());
    painter->setFont(font);
    painter->setPen(foreground(option));
    painter->drawText(rect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, title);
}

void SourceListDelegate::drawBadge(QPainter *painter, const QStyleOptionViewItem &option,
                                   const QModelIndex &index) const
{
    const QString text = badgeText(index);
    if (text.isEmpty())
        return;
    const QRectF pill = trailingRect(option, index);
    const bool selected = isSelected(option);
    const QColor fill =
        selected ? option.palette.color(QPalette::HighlightedText) : badgeColour(option.palette);
    const QColor ink =
        selected ? option.palette.color(QPalette::Highlight) : option.palette.color(QPalette::Base);
    painter->setPen(Qt::NoPen);
    painter->setBrush(fill);
    painter->drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
    painter->setFont(badgeFont(option));
    painter->setPen(ink);
    painter->drawText(pill, Qt::AlignCenter | Qt::TextSingleLine, text);
}

void SourceListDelegate::drawNewDot(QPainter *painter, const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const
{
    const QRect dot = newDotRect(option, index);
    if (!dot.isValid())
        return;
    const QColor colour =
        option.palette.color(isSelected(option) ? QPalette::HighlightedText : QPalette::Highlight);
    painter->setPen(Qt::NoPen);
    painter->setBrush(colour);
    painter->drawEllipse(QRectF(dot));
}

// A red disc with a white exclamation mark: the feed's latest refresh failed, and the tool tip says why.
void SourceListDelegate::drawFailureMark(QPainter *painter, const QStyleOptionViewItem &option,
                                         const QModelIndex &index) const
{
    const QRect square = failureMarkRect(option, index);
    if (!square.isValid())
        return;
    const QRectF mark = square;
    const bool selected = isSelected(option);
    const QColor disc = selected ? option.palette.color(QPalette::HighlightedText) : QColor(204, 54, 45);
    const QColor ink = selected ? option.palette.color(QPalette::Highlight) : QColor(Qt::white);
    painter->setPen(Qt::NoPen);
    painter->setBrush(disc);
    painter->drawEllipse(mark);
    const qreal unit = mark.width() / 12.0;
    const QPointF centre = mark.center();
    painter->setPen(QPen(ink, 1.8 * unit, Qt::SolidLine, Qt::RoundCap));
    painter->drawLine(centre + QPointF(0, -3.2 * unit), centre + QPointF(0, 1.0 * unit));
    painter->drawPoint(centre + QPointF(0, 3.4 * unit));
}

// Twelve spokes; the brightest follows the phase and the ones behind it fade, so it reads as turning.
void SourceListDelegate::drawSpinner(QPainter *painter, const QStyleOptionViewItem &option,
                                     const QModelIndex &index) const
{
    const QRectF square = trailingRect(option, index);
    const qreal outer = square.width() / 2;
    const qreal inner = outer * 0.45;
    QColor colour = foreground(option);
    painter->translate(square.center());
    for (int spoke = 0; spoke < SpinnerSpokes; ++spoke) {
        const int behind = (m_spinnerPhase - spoke + SpinnerSpokes) % SpinnerSpokes;
        colour.setAlphaF(1.0 - 0.85 * behind / SpinnerSpokes);
        painter->setPen(QPen(colour, qMax(1.5, outer / 4), Qt::SolidLine, Qt::RoundCap));
        const qreal angle = qDegreesToRadians(360.0 * spoke / SpinnerSpokes - 90.0);
        const QPointF direction(qCos(angle), qSin(angle));
        painter->drawLine(direction * inner, direction * (outer - 1));
    }
    painter->translate(-square.center());
}

QSize SourceListDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return QSize(QStyledItemDelegate::sizeHint(option, index).width(), m_rowHeight);
}

QWidget *SourceListDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                          const QModelIndex &index) const
{
    auto *editor = new QLineEdit(parent);
    editor->setFrame(false);
    editor->setFont(titleFont(option, index));
    return editor;
}

void SourceListDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                              const QModelIndex &index) const
{
    editor->setGeometry(titleRect(option, index));
}

void SourceListDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    const auto *field = qobject_cast<QLineEdit *>(editor);
    if (field && field->isModified())
        return;
    QStyledItemDelegate::setEditorData(editor, index);
}

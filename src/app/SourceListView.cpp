#include "app/SourceListView.h"

#include "app/SourceListDelegate.h"
#include "model/SourceListModel.h"
#include "platform/Defaults.h"

#include <QMouseEvent>
#include <QScopedValueRollback>
#include <QSet>
#include <functional>

namespace {

constexpr int SpinnerFramesPerSecond = 12;

} // namespace

SourceListView::SourceListView(Defaults &defaults, QWidget *parent)
    : QTreeView(parent), m_defaults(defaults), m_delegate(new SourceListDelegate(this))
{
    setItemDelegate(m_delegate);
    setHeaderHidden(true);
    setIndentation(20);
    setUniformRowHeights(true);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(EditKeyPressed | SelectedClicked);
    setDragDropMode(InternalMove);
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(true);
    setAccessibleName(tr("Feeds"));
    setSmallIcons(defaults.boolean(QStringLiteral("displaySmallIcons")));

    m_spinnerTimer.setInterval(1000 / SpinnerFramesPerSecond);
    connect(&m_spinnerTimer, &QTimer::timeout, this, &SourceListView::advanceSpinner);
    connect(this, &QTreeView::expanded, this, &SourceListView::saveExpandedItems);
    connect(this, &QTreeView::collapsed, this, &SourceListView::saveExpandedItems);
}

void SourceListView::setModel(QAbstractItemModel *newModel)
{
    if (newModel == model())
        return;
    if (model())
        disconnect(model(), nullptr, this, nullptr);
    // Rows that come, go or move shift the selection's ranges, and the selection model says so; that is
    // not the user choosing. These come before the selection model's own handlers, the ends after them.
    const auto changing = [this] { m_modelChanging = true; };
    const auto changed = [this] { m_modelChanging = false; };
    if (newModel) {
        connect(newModel, &QAbstractItemModel::rowsAboutToBeInserted, this, changing);
        connect(newModel, &QAbstractItemModel::rowsAboutToBeRemoved, this, changing);
        connect(newModel, &QAbstractItemModel::rowsAboutToBeMoved, this, changing);
    }
    QTreeView::setModel(newModel);
    if (!newModel)
        return;
    connect(newModel, &QAbstractItemModel::rowsInserted, this, changed);
    connect(newModel, &QAbstractItemModel::rowsRemoved, this, changed);
    connect(newModel, &QAbstractItemModel::rowsMoved, this, changed);
    // Connected after the view's own reset handling, so the rows exist again when they are expanded.
    connect(newModel, &QAbstractItemModel::modelReset, this, &SourceListView::restoreExpandedItems);
    connect(newModel, &QAbstractItemModel::rowsInserted, this, &SourceListView::restoreExpandedRows);
    connect(newModel, &QAbstractItemModel::rowsRemoved, this, &SourceListView::updateSpinner);
    connect(newModel, &QAbstractItemModel::layoutChanged, this, &SourceListView::updateSpinner);
    if (const auto *sourceList = qobject_cast<SourceListModel *>(newModel))
        connect(sourceList, &SourceListModel::itemsDropped, this, &SourceListView::selectDroppedRow);
    restoreExpandedItems();
}

void SourceListView::setSmallIcons(bool small)
{
    m_delegate->setRowHeight(small ? SourceListDelegate::SmallRowHeight : SourceListDelegate::LargeRowHeight);
    // Uniform row heights are measured once per layout, so the new height needs a fresh one.
    doItemsLayout();
    viewport()->update();
}

bool SourceListView::smallIcons() const
{
    return m_delegate->rowHeight() == SourceListDelegate::SmallRowHeight;
}

void SourceListView::saveExpandedItems() const
{
    // Half-way through a restore the list would lose the rows not yet expanded again.
    if (m_restoring || !model())
        return;
    QStringList identifiers;
    collectExpanded(rootIndex(), identifiers);
    m_defaults.setValue(expandedItemsKey(), identifiers);
}

// Rows inside a collapsed folder keep their own state, so the walk goes through every row.
void SourceListView::collectExpanded(const QModelIndex &parent, QStringList &identifiers) const
{
    for (int row = 0; row < model()->rowCount(parent); ++row) {
        const QModelIndex index = model()->index(row, 0, parent);
        if (!model()->hasChildren(index))
            continue;
        if (isExpanded(index))
            identifiers << index.data(SourceListModel::UniqueIDRole).toString();
        collectExpanded(index, identifiers);
    }
}

void SourceListView::restoreExpandedItems()
{
    if (model())
        restoreExpandedRows(rootIndex(), 0, model()->rowCount(rootIndex()) - 1);
}

// Rows that arrive later (an import, a restored backup) open as they were left too.
void SourceListView::restoreExpandedRows(const QModelIndex &parent, int first, int last)
{
    const QStringList saved = m_defaults.value(expandedItemsKey()).toStringList();
    const QSet<QString> identifiers(saved.cbegin(), saved.cend());
    const QScopedValueRollback restoring(m_restoring, true);
    const std::function<void(const QModelIndex &, int, int)> expandSaved = [&](const QModelIndex &holder,
                                                                               int from, int to) {
        for (int row = from; row <= to; ++row) {
            const QModelIndex index = model()->index(row, 0, holder);
            if (!model()->hasChildren(index))
                continue;
            if (identifiers.contains(index.data(SourceListModel::UniqueIDRole).toString()))
                expand(index);
            expandSaved(index, 0, model()->rowCount(index) - 1);
        }
    };
    expandSaved(parent, first, last);
    updateSpinner();
}

void SourceListView::selectItemSilently(const QModelIndex &index)
{
    if (!selectionModel())
        return;
    const QScopedValueRollback silent(m_silent, true);
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    reveal(index);
}

void SourceListView::reveal(const QModelIndex &index)
{
    for (QModelIndex parent = index.parent(); parent.isValid(); parent = parent.parent())
        expand(parent);
    scrollTo(index);
}

void SourceListView::selectDroppedRow(const QModelIndex &index)
{
    if (!index.isValid() || !selectionModel())
        return;
    reveal(index);
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void SourceListView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    if (!m_silent && !m_modelChanging)
        emit selectionChangedByUser();
}

// Once something is selected, a click on empty space or a toggle of the only selected row would leave
// the list with nothing selected; both are ignored instead.
QItemSelectionModel::SelectionFlags SourceListView::selectionCommand(const QModelIndex &index,
                                                                     const QEvent *event) const
{
    const QItemSelectionModel::SelectionFlags command = QTreeView::selectionCommand(index, event);
    const QItemSelectionModel *selection = selectionModel();
    if (!selection || !selection->hasSelection())
        return command;
    if (!index.isValid())
        return QItemSelectionModel::NoUpdate;
    const bool deselects =
        command.testFlag(QItemSelectionModel::Toggle) || command.testFlag(QItemSelectionModel::Deselect);
    if (deselects && selection->isSelected(index) && selection->selectedIndexes().size() == 1)
        return QItemSelectionModel::NoUpdate;
    return command;
}

// Qt would rename on any click on a selected row, and would then skip the click's own selection change:
// a Ctrl-click could no longer deselect, nor a click narrow a wider selection. So only a plain click on
// the one selected row renames.
bool SourceListView::edit(const QModelIndex &index, EditTrigger trigger, QEvent *event)
{
    if (trigger == SelectedClicked) {
        const auto *mouse = dynamic_cast<const QMouseEvent *>(event);
        if ((mouse && mouse->modifiers() != Qt::NoModifier) || selectionModel()->selectedRows().size() != 1)
            return false;
    }
    return QTreeView::edit(index, trigger, event);
}

void SourceListView::dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                                 const QList<int> &roles)
{
    QTreeView::dataChanged(topLeft, bottomRight, roles);
    if (roles.isEmpty() || roles.contains(SourceListModel::DownloadingRole))
        updateSpinner();
}

// The pictures follow the screen the list is on, also after a move to another screen.
bool SourceListView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::Paint)
        if (auto *sourceList = qobject_cast<SourceListModel *>(model()))
            sourceList->setDevicePixelRatio(viewport()->devicePixelRatioF());
    return QTreeView::viewportEvent(event);
}

void SourceListView::updateSpinner()
{
    const auto *sourceList = qobject_cast<SourceListModel *>(model());
    if (!sourceList || !sourceList->isAnyRowDownloading())
        m_spinnerTimer.stop();
    else if (!m_spinnerTimer.isActive())
        m_spinnerTimer.start();
}

void SourceListView::advanceSpinner()
{
    m_delegate->advanceSpinner();
    viewport()->update();
}
